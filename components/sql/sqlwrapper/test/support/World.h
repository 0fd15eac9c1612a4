// The world around the library, replaced so that a test sees all that the library does to it: log
// lines, assertion reports and SQLite calls, in the order in which they happen.

#ifndef SQLW_TEST_WORLD_H
#define SQLW_TEST_WORLD_H

#include <cstddef>
#include <cstdio>
#include <locale>
#include <string>
#include <vector>

#include <gtest/gtest.h>

struct sqlite3;

namespace sqltest
{

/// One event per line. Compared as one text, so that a failure prints the difference.
std::string trace(const std::vector<std::string>& events);

/// A call of an SQLite function, and what it was given: `sqlite("exec", "COMMIT TRANSACTION")`.
std::string sqlite(const std::string& function, const std::string& argument = "");

/// The bytes 1 to 255, but for the single quote: all that a text in a statement may hold as it is.
std::string allBytesButQuote();

const char* const sourceFolder = "components/sql/sqlwrapper/src/";

/// What a source file of the library writes, or of another library that logs as it does.
class Source
{
public:
    explicit Source(const std::string& stem, const std::string& folder = sourceFolder)
        : _name(stem + ".cpp"), _folder(folder)
    {}

    /// A line at a level: the format without its head, and the arguments of the message.
    template <typename... Args>
    std::string error(const char* function, const char* text, Args... args) const
    {
        return line(3, "[ERROR]", function, text, formatted(text, args...));
    }
    template <typename... Args>
    std::string debug1(const char* function, const char* text, Args... args) const
    {
        return line(7, "[DEBUG1]", function, text, formatted(text, args...));
    }
    template <typename... Args>
    std::string debug2(const char* function, const char* text, Args... args) const
    {
        return line(7, "[DEBUG2]", function, text, formatted(text, args...));
    }
    template <typename... Args>
    std::string debug3(const char* function, const char* text, Args... args) const
    {
        return line(7, "[DEBUG3]", function, text, formatted(text, args...));
    }

    /// An assertion report: the condition as written, and the signature of the function.
    std::string asserted(const char* expression, const char* signature) const;

private:
    static std::string formatted(const char* text) { return text; }
    template <typename... Args> static std::string formatted(const char* text, Args... args)
    {
        std::string result(static_cast<std::size_t>(std::snprintf(nullptr, 0, text, args...)), ' ');
        std::snprintf(&result[0], result.size() + 1, text, args...);
        return result;
    }
    std::string line(int priority, const char* tag, const char* function, const std::string& text,
                     const std::string& message) const;

    std::string _name;
    std::string _folder;
};

/// What goes wrong in the world until the end of the test.
struct Faults
{
    bool openGivesNoHandle = false; ///< sqlite3_open_v2 returns 0 with a null handle
    int busyTimeoutResult = 0;      ///< what sqlite3_busy_timeout returns
    bool noErrorText = false;       ///< sqlite3_exec hands back no error text
    int execResult = 0;             ///< what sqlite3_exec returns once all rows have come
    bool clockFails = false;        ///< time returns -1
    bool localTimeFails = false;    ///< localtime_r returns null
    /// Takes the place of strftime: fills the buffer and returns the count.
    std::size_t (*strftime)(char* text, std::size_t size) = nullptr;
    int allocationsLeft = -1;        ///< operator new throws once after as many; -1 for never
    bool allocationsStayOut = false; ///< it throws from then on
    int levelAfterNextLine = -1;     ///< the trace level once a line is written; -1 for no change
};

/// A test in such a world. Everything is recorded from its start, at trace level 9. The clock does
/// not move, so that two runs record the same. The events of each test also go to a file of its
/// name in the folder that SQLW_TEST_TRACES names, if the environment has it.
class Test : public ::testing::Test
{
protected:
    Test();
    ~Test() override;

    /// The events since the last call, one per line.
    std::string takeEvents();
    /// The same without SQLite's calls.
    std::string takeDiagnostics();
    /// Drops the events so far.
    void forgetEvents();

    /// Sets the platform's trace level.
    void setTraceLevel(int level);
    /// The platform has no trace object, or one without a level.
    void dropTraceObject();
    void dropTraceLevel();

    Faults& faults;
};

/// A connection of the test's own, and SQL run on it unrecorded.
class Connection
{
public:
    explicit Connection(const std::string& path);
    ~Connection();
    Connection(const Connection&) = delete;
    Connection& operator=(const Connection&) = delete;

    /// Runs statements, which must succeed.
    void run(const std::string& statements);
    /// The first cell of the first row; "(none)" without a row, "(null)" for NULL.
    std::string cell(const std::string& query);

    sqlite3* db = nullptr;
};

/// A test with an open database in memory.
class DatabaseTest : public Test, protected Connection
{
protected:
    DatabaseTest() : Connection(":memory:") {}
};

/// A file name that nothing else uses; the file is removed with the object.
class TemporaryFile
{
public:
    TemporaryFile();
    ~TemporaryFile();
    TemporaryFile(const TemporaryFile&) = delete;
    TemporaryFile& operator=(const TemporaryFile&) = delete;

    const std::string path;
};

/// The time zone of the program while this lives: a rule such as "CET-1".
class TimeZone
{
public:
    explicit TimeZone(const std::string& rule);
    ~TimeZone();
    TimeZone(const TimeZone&) = delete;
    TimeZone& operator=(const TimeZone&) = delete;

private:
    const bool _hadRule;
    const std::string _formerRule;
};

/// The locale of the program while this lives: for C one of those that the build makes, which
/// LOCPATH leads to; for C++ one that writes 1.234.567,5.
class ProgramLocale
{
public:
    explicit ProgramLocale(const char* name);
    ~ProgramLocale();
    ProgramLocale(const ProgramLocale&) = delete;
    ProgramLocale& operator=(const ProgramLocale&) = delete;

private:
    const std::string _formerC;
    const std::locale _former;
};

/// The number of calls of operator new since the start of the program.
long allocations();

/// SQLite is called unrecorded and faultless while this lives.
class Unrecorded
{
public:
    Unrecorded();
    ~Unrecorded();
    Unrecorded(const Unrecorded&) = delete;
    Unrecorded& operator=(const Unrecorded&) = delete;
};

} // namespace sqltest

#endif
