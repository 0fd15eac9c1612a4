/// @file
/// Where samples of counters come from.

#ifndef SQLW_EXAMPLE_COUNTERS_H
#define SQLW_EXAMPLE_COUNTERS_H

#include <fstream>
#include <map>
#include <optional>
#include <string>
#include <vector>

#include <Sql.h>

namespace recorder
{

/// The counters at one moment. One that is not there at that moment is empty.
struct Sample
{
    sql::integer atMs = 0; ///< milliseconds since the epoch
    std::vector<std::optional<sql::integer>> values;
};

/// Gives samples of the same counters, one after another.
class Source
{
public:
    virtual ~Source() = default;

    /// The counters, by names that SQL takes without quotes.
    const std::vector<std::string>& names() const { return _names; }

    /// Fills the next sample. False when there are no more.
    virtual bool next(Sample& sample) = 0;

protected:
    std::vector<std::string> _names;
};

/// The counters of the kernel, in files such as /proc/stat.
class Kernel : public Source
{
public:
    /// The counters that are there now; those that come later are left out.
    /// @throws support::Failure when there is none.
    explicit Kernel(const std::string& folder);
    bool next(Sample& sample) override;

private:
    template <typename Found> void read(const Found& found) const;

    const std::string _folder;
    std::map<std::string, std::size_t> _positions;
};

/// What `export` wrote.
class Recorded : public Source
{
public:
    /// @throws support::Failure for a file that cannot be read, as `next` does for a bad line.
    explicit Recorded(const std::string& path);
    bool next(Sample& sample) override;

private:
    [[noreturn]] void refuse(const std::string& reason) const;
    std::optional<sql::integer> number(const char*& text) const;

    const std::string _path;
    std::ifstream _file;
    std::string _text;
    long long _line = 1;
};

} // namespace recorder

#endif
