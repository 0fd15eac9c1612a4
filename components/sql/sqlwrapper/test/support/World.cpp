#include "World.h"

#include <algorithm>
#include <cerrno>
#include <clocale>
#include <cstdarg>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <fstream>
#include <new>

#include <sqlite3.h>
#include <unistd.h>

#include "platform/Interposed.h"
#include "platform/Platform.h"
#include "platform/SystemLog.h"

namespace
{

using platform::Within;

std::vector<std::string> events;
std::ofstream traceFile;
sqltest::Faults theFaults;
bool recording = false;
int recorderDepth = 0; // above 0 while the recorder itself is at work
int sqliteDepth = 0;   // above 0 within SQLite, whose own calls of its functions do not count
long allocationCount = 0;

// One event per line, even if its text has several lines.
void writeTrace(const std::string& event)
{
    for (const char byte : event)
        traceFile << (byte == '\n' ? "\\n" : std::string(1, byte));
    traceFile << '\n';
}

void record(const std::string& event)
{
    if (!recording)
        return;
    events.push_back(event);
    if (traceFile.is_open())
        writeTrace(event);
}

void openTraceFile()
{
    const char* const folder = std::getenv("SQLW_TEST_TRACES");
    if (!folder)
        return;
    const ::testing::TestInfo& test = *::testing::UnitTest::GetInstance()->current_test_info();
    std::string name = std::string(program_invocation_short_name) + "." + test.test_suite_name() +
                       "." + test.name();
    std::replace(name.begin(), name.end(), '/', '-');
    traceFile.open(std::string(folder) + "/" + name);
    EXPECT_TRUE(traceFile.is_open()) << "no file " << name << " in " << folder;
}

// `argument` renders what the function was given.
template <typename Argument> void recordCall(const char* function, Argument argument)
{
    const Within recorder(recorderDepth);
    if (sqliteDepth == 1)
        record(sqltest::sqlite(function, argument()));
}

void recordCall(const char* function)
{
    recordCall(function, [] { return std::string(); });
}

bool faulty()
{
    return recording && sqliteDepth == 1;
}

std::string sourceLine(const std::string& path, int wanted)
{
    std::ifstream file(std::string(SQLW_TEST_SOURCE_ROOT "/") + path);
    std::string text;
    for (int number = 1; std::getline(file, text); ++number)
        if (number == wanted)
            return text;
    return std::string();
}

// A call that spans lines may be numbered by its first or its last.
void expectCallAt(const std::string& path, int line)
{
    std::string around;
    for (int i = line - 2; i <= line + 1; ++i)
        around += sourceLine(path, i) + "\n";
    EXPECT_NE(std::string::npos, around.find("SQLW_")) << path << ":" << line << "\n" << around;
}

// A line names its file without the folder.
std::string pathOf(const std::string& file)
{
    for (const char* folder :
         {"components/sql/sqlwrapper/test/", "components/sql/sqlprepared/src/"})
        if (std::ifstream(std::string(SQLW_TEST_SOURCE_ROOT "/") + folder + file).good())
            return folder + file;
    return sqltest::sourceFolder + file;
}

void writeLine(int priority, const char* format, va_list args)
{
    const Within recorder(recorderDepth);
    va_list head;
    va_copy(head, args);
    const std::string file = va_arg(head, const char*);
    const int line = va_arg(head, int);
    va_end(head);

    char* message = nullptr;
    ASSERT_LE(0, vasprintf(&message, format, args));
    std::string text = message;
    std::free(message);
    const std::string place = file + ":" + std::to_string(line);
    const std::size_t at = text.find(place);
    ASSERT_NE(std::string::npos, at) << text;
    text.replace(at, place.size(), file); // the lines of a source move, its texts don't
    record("syslog " + std::to_string(priority) + " \"" + format + "\" " + text);
    expectCallAt(pathOf(file), line);

    if (theFaults.levelAfterNextLine >= 0)
        platform::setTraceLevel(theFaults.levelAfterNextLine);
    theFaults.levelAfterNextLine = -1;
}

void writeReport(const char* expression, const char* path, int line, const char* function)
{
    const Within recorder(recorderDepth);
    record(std::string("logAssertFailed \"") + expression + "\" " + path + " \"" + function + "\"");
    expectCallAt(path, line);
}

// Not from the named locale, which the C library leaks when it is made for C++.
class GroupingNumbers : public std::numpunct<char>
{
protected:
    char do_decimal_point() const override { return ','; }
    char do_thousands_sep() const override { return '.'; }
    std::string do_grouping() const override { return "\3"; }
};

} // namespace

namespace sqltest
{

std::string trace(const std::vector<std::string>& events)
{
    std::string text;
    for (const std::string& event : events)
        text += event + "\n";
    return text;
}

std::string allBytesButQuote()
{
    std::string bytes;
    for (int byte = 1; byte < 256; ++byte)
        if (byte != '\'')
            bytes += static_cast<char>(byte);
    return bytes;
}

std::string sqlite(const std::string& function, const std::string& argument)
{
    return "sqlite3_" + function + "(" + argument + ")";
}

std::string Source::line(int priority, const char* tag, const char* function,
                         const std::string& text, const std::string& message) const
{
    return "syslog " + std::to_string(priority) + " \"" + tag + " %s:%d (%s) - " + text + "\" " +
           tag + " " + _name + " (" + function + ") - " + message;
}

std::string Source::asserted(const char* expression, const char* signature) const
{
    return std::string("logAssertFailed \"") + expression + "\" " + _folder + _name + " \"" +
           signature + "\"";
}

long allocations()
{
    return allocationCount;
}

Unrecorded::Unrecorded()
{
    recording = false;
}

Unrecorded::~Unrecorded()
{
    recording = true;
}

TemporaryFile::TemporaryFile()
    : path(::testing::TempDir() + "sqlwrapper-" + std::to_string(getpid()) + "-" +
           std::to_string(reinterpret_cast<std::uintptr_t>(this)))
{}

TemporaryFile::~TemporaryFile()
{
    std::remove(path.c_str());
}

TimeZone::TimeZone(const std::string& rule)
    : _hadRule(std::getenv("TZ") != nullptr), _formerRule(_hadRule ? std::getenv("TZ") : "")
{
    setenv("TZ", rule.c_str(), 1);
    tzset();
}

TimeZone::~TimeZone()
{
    if (_hadRule)
        setenv("TZ", _formerRule.c_str(), 1);
    else
        unsetenv("TZ");
    tzset();
}

ProgramLocale::ProgramLocale(const char* name)
    : _formerC(std::setlocale(LC_ALL, nullptr)),
      _former(std::locale::global(std::locale(std::locale(), new GroupingNumbers)))
{
    EXPECT_NE(nullptr, std::setlocale(LC_ALL, name))
        << name << " is not in LOCPATH, which ctest sets to the locales of the build";
}

ProgramLocale::~ProgramLocale()
{
    std::locale::global(_former);
    std::setlocale(LC_ALL, _formerC.c_str());
}

} // namespace sqltest

// The system

extern "C" {

time_t time(time_t* seconds) noexcept
{
    const time_t now = theFaults.clockFails ? -1 : 1700000000;
    if (seconds)
        *seconds = now;
    return now;
}

std::tm* localtime_r(const time_t* seconds, std::tm* local) noexcept
{
    // Its name in the C library follows the width of time_t.
    const char* const name = sizeof(time_t) > sizeof(long) ? "__localtime64_r" : "localtime_r";
    return theFaults.localTimeFails ? nullptr : platform::real(&localtime_r, name)(seconds, local);
}

size_t strftime(char* text, size_t size, const char* pattern, const std::tm* local) noexcept
{
    return theFaults.strftime ? theFaults.strftime(text, size)
                              : SQLW_REAL(strftime)(text, size, pattern, local);
}

// SQLite

int sqlite3_open_v2(const char* path, sqlite3** db, int flags, const char* vfs)
{
    const Within sqlite(sqliteDepth);
    recordCall("open_v2", [=] {
        return std::string(path) + ", " + std::to_string(flags) + (vfs ? ", vfs" : "");
    });
    if (faulty() && theFaults.openGivesNoHandle) {
        *db = nullptr;
        return SQLITE_OK;
    }
    return SQLW_REAL(sqlite3_open_v2)(path, db, flags, vfs);
}

int sqlite3_busy_timeout(sqlite3* db, int milliseconds)
{
    const Within sqlite(sqliteDepth);
    recordCall("busy_timeout", [=] { return std::to_string(milliseconds); });
    const int fault = faulty() ? theFaults.busyTimeoutResult : 0;
    return fault ? fault : SQLW_REAL(sqlite3_busy_timeout)(db, milliseconds);
}

int sqlite3_close(sqlite3* db)
{
    const Within sqlite(sqliteDepth);
    recordCall("close");
    return SQLW_REAL(sqlite3_close)(db);
}

int sqlite3_exec(sqlite3* db, const char* sql, int (*callback)(void*, int, char**, char**),
                 void* param, char** errorText)
{
    const Within sqlite(sqliteDepth);
    recordCall("exec", [=] { return std::string(sql); });
    const int rc = SQLW_REAL(sqlite3_exec)(db, sql, callback, param, errorText);
    if (faulty() && theFaults.noErrorText && errorText && *errorText) {
        SQLW_REAL(sqlite3_free)(*errorText);
        *errorText = nullptr;
    }
    return faulty() && theFaults.execResult ? theFaults.execResult : rc;
}

int sqlite3_prepare_v2(sqlite3* db, const char* sql, int length, sqlite3_stmt** stmt,
                       const char** tail)
{
    const Within sqlite(sqliteDepth);
    recordCall("prepare_v2", [=] {
        return std::string(sql) + ", " + std::to_string(length) + (tail ? ", tail" : "");
    });
    return SQLW_REAL(sqlite3_prepare_v2)(db, sql, length, stmt, tail);
}

int sqlite3_step(sqlite3_stmt* stmt)
{
    const Within sqlite(sqliteDepth);
    recordCall("step");
    return SQLW_REAL(sqlite3_step)(stmt);
}

int sqlite3_column_count(sqlite3_stmt* stmt)
{
    const Within sqlite(sqliteDepth);
    recordCall("column_count");
    return SQLW_REAL(sqlite3_column_count)(stmt);
}

int sqlite3_column_int(sqlite3_stmt* stmt, int column)
{
    const Within sqlite(sqliteDepth);
    recordCall("column_int", [=] { return std::to_string(column); });
    return SQLW_REAL(sqlite3_column_int)(stmt, column);
}

int sqlite3_finalize(sqlite3_stmt* stmt)
{
    const Within sqlite(sqliteDepth);
    recordCall("finalize");
    return SQLW_REAL(sqlite3_finalize)(stmt);
}

const char* sqlite3_errmsg(sqlite3* db)
{
    const Within sqlite(sqliteDepth);
    recordCall("errmsg");
    return SQLW_REAL(sqlite3_errmsg)(db);
}

void sqlite3_free(void* memory)
{
    const Within sqlite(sqliteDepth);
    recordCall("free");
    SQLW_REAL(sqlite3_free)(memory);
}

} // extern "C"

// Memory

void* operator new(std::size_t size)
{
    if (recorderDepth == 0) {
        ++allocationCount;
        int& left = theFaults.allocationsLeft;
        if (left == 0) {
            if (!theFaults.allocationsStayOut)
                left = -1;
            throw std::bad_alloc();
        }
        if (left > 0)
            --left;
    }
    if (void* memory = std::malloc(size ? size : 1))
        return memory;
    throw std::bad_alloc();
}

// Inlined, the compiler would see what operator new gave handed to free.
[[gnu::noinline]] void operator delete(void* memory) noexcept
{
    std::free(memory);
}

[[gnu::noinline]] void operator delete(void* memory, std::size_t) noexcept
{
    std::free(memory);
}

// The fixtures

namespace sqltest
{

Test::Test() : faults(theFaults)
{
    events.clear();
    theFaults = Faults();
    openTraceFile();
    recording = true;
    platform::setReportSink(writeReport);
    platform::setLineSink(writeLine);
    setTraceLevel(9);
}

Test::~Test()
{
    recording = false;
    traceFile.close();
    theFaults = Faults();
}

void Test::setTraceLevel(int level)
{
    platform::setTraceLevel(level);
}

void Test::dropTraceObject()
{
    platform::dropTraceObject();
}

void Test::dropTraceLevel()
{
    platform::dropTraceLevel();
}

void Test::forgetEvents()
{
    events.clear();
}

std::string Test::takeEvents()
{
    std::vector<std::string> taken;
    taken.swap(events);
    return trace(taken);
}

std::string Test::takeDiagnostics()
{
    std::vector<std::string> kept;
    for (const std::string& event : events)
        if (event.compare(0, 8, "sqlite3_") != 0)
            kept.push_back(event);
    events.clear();
    return trace(kept);
}

Connection::Connection(const std::string& path)
{
    Unrecorded setup;
    EXPECT_EQ(SQLITE_OK, sqlite3_open_v2(path.c_str(), &db,
                                         SQLITE_OPEN_READWRITE | SQLITE_OPEN_CREATE, nullptr));
}

Connection::~Connection()
{
    Unrecorded teardown;
    EXPECT_EQ(SQLITE_OK, sqlite3_close(db));
}

void Connection::run(const std::string& statements)
{
    Unrecorded direct;
    char* errorText = nullptr;
    EXPECT_EQ(SQLITE_OK, sqlite3_exec(db, statements.c_str(), nullptr, nullptr, &errorText))
        << statements << ": " << (errorText ? errorText : "");
    sqlite3_free(errorText);
}

std::string Connection::cell(const std::string& query)
{
    Unrecorded direct;
    std::string result = "(none)";
    const auto keepFirst = [](void* first, int, char** cells, char**) {
        std::string& kept = *static_cast<std::string*>(first);
        if (kept == "(none)")
            kept = cells[0] ? cells[0] : "(null)";
        return 0;
    };
    EXPECT_EQ(SQLITE_OK, sqlite3_exec(db, query.c_str(), keepFirst, &result, nullptr)) << query;
    return result;
}

} // namespace sqltest
