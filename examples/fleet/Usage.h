/// @file
/// The command lines of the programs.

#ifndef SQLW_EXAMPLE_FLEET_USAGE_H
#define SQLW_EXAMPLE_FLEET_USAGE_H

#include <string>
#include <vector>

#include <SqlCommon.h>

namespace fleet
{

/// The number in a word. Throws `support::Failure` for any other word, and beyond the bounds.
sql::integer numberIn(const std::string& word, sql::integer fewest, sql::integer most);

/// Words, then options with a value each. Throws `support::Failure` for wrong usage.
class Options
{
public:
    Options(const std::vector<std::string>& arguments, std::size_t words,
            const std::vector<std::string>& known);

    /// The word at a position.
    const std::string& word(std::size_t index) const { return _arguments[index]; }
    bool has(const std::string& option) const;
    /// The value of an option; empty without it.
    std::string text(const std::string& option) const;
    /// The number that it gives.
    sql::integer number(const std::string& option, sql::integer otherwise) const;

private:
    std::vector<std::string> _arguments;
    std::size_t _words;
};

} // namespace fleet

#endif
