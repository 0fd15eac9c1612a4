#include "SqlCommon.h"

#include <cctype>
#include <cstring>
#include <ctime>
#include <type_traits>

#include <sqlite3.h>
#include <syslog.h>

#include "NumberText.h"
#include "SqlTime.h"
#include "TextBuffer.h"

#define SQLW_SOURCE_NAME "SqlCommon.cpp"

namespace sql
{

// Running one statement

const char* sqliteRc2Str(int rc)
{
    // Texts of one length, not pointers: those would be filled in whenever a program starts.
    static const char names[][sizeof("SQLITE_CONSTRAINT")] = {
        "SQLITE_OK",       "SQLITE_ERROR",     "SQLITE_INTERNAL", "SQLITE_PERM",
        "SQLITE_ABORT",    "SQLITE_BUSY",      "SQLITE_LOCKED",   "SQLITE_NOMEM",
        "SQLITE_READONLY", "SQLITE_INTERRUPT", "SQLITE_IOERR",    "SQLITE_CORRUPT",
        "SQLITE_NOTFOUND", "SQLITE_FULL",      "SQLITE_CANTOPEN", "SQLITE_PROTOCOL",
        "SQLITE_EMPTY",    "SQLITE_SCHEMA",    "SQLITE_TOOBIG",   "SQLITE_CONSTRAINT",
        "SQLITE_MISMATCH", "SQLITE_MISUSE",    "SQLITE_NOLFS",    "SQLITE_AUTH",
        "SQLITE_FORMAT",   "SQLITE_RANGE",     "SQLITE_NOTADB"};
    const int count = sizeof(names) / sizeof(names[0]);
    static_assert(count == SQLITE_NOTADB + 1, "the codes from SQLITE_OK on have no gap");
    if (rc >= 0 && rc < count)
        return names[rc];
    if (rc == SQLITE_ROW)
        return "SQLITE_ROW";
    // Deliberate: Extended result codes have no name
    return rc == SQLITE_DONE ? "SQLITE_DONE" : "unknown";
}

bool runOneStepSqlStmt(sqlite3* db, const string& stmt)
{
    SQLW_SIGNATURE("bool sql::runOneStepSqlStmt(sqlite3*, const string&)");
    if (!SQLW_ASSERT(db))
        return false;
    SQLW_DEBUG2("stmt='%s'", stmt.c_str());

    sqlite3_stmt* handle = nullptr;
    int rc = sqlite3_prepare_v2(db, stmt.c_str(), -1, &handle, nullptr);
    if (rc != SQLITE_OK) {
        SQLW_ERROR("Failed to prepare the SQL statement '%s': ", stmt.c_str());
        SQLW_ERROR(" rc=%d=%s: %s", rc, sqliteRc2Str(rc), sqlite3_errmsg(db));
        return false;
    }

    // Deliberate: runOneStepSqlStmt takes a row for a failure
    rc = sqlite3_step(handle);
    if (rc != SQLITE_DONE) {
        SQLW_ERROR("Running the SQL stmt '%s' failed", stmt.c_str());
        SQLW_ERROR("  SQLite returned %d=%s instead of SQLITE_DONE: %s", rc, sqliteRc2Str(rc),
                   sqlite3_errmsg(db));
    }
    sqlite3_finalize(handle);
    return rc == SQLITE_DONE;
}

static int queryNumber(sqlite3* db, const char* query)
{
    SQLW_SIGNATURE("int sql::queryNumber(sqlite3*, const string&)");
    if (!SQLW_ASSERT(db))
        return -1;
    SQLW_DEBUG2("stmt='%s'", query);

    sqlite3_stmt* handle = nullptr;
    int rc = sqlite3_prepare_v2(db, query, -1, &handle, nullptr);
    if (rc != SQLITE_OK) {
        SQLW_ERROR("Failed to prepare the SQL query '%s': ", query);
        SQLW_ERROR("  rc=%d=%s: %s", rc, sqliteRc2Str(rc), sqlite3_errmsg(db));
        return -1;
    }

    rc = sqlite3_step(handle);
    const int columns = rc == SQLITE_ROW ? sqlite3_column_count(handle) : 0;
    // Deliberate: queryNumber cuts to 32 bits, and -1 is a failure
    const int number = columns == 1 ? sqlite3_column_int(handle, 0) : -1;
    sqlite3_finalize(handle);
    if (rc != SQLITE_ROW) {
        SQLW_ERROR("The SQL query '%s' failed", query);
        SQLW_ERROR("   the query returned %d=%s instead of SQLITE_ROW: %s", rc, sqliteRc2Str(rc),
                   sqlite3_errmsg(db));
        return -1;
    }
    if (columns != 1) {
        SQLW_ERROR(
            "The SQL query '%s' failed: query returned %d columns in result while 1 is expected",
            query, columns);
        return -1;
    }
    if (number < 0) {
        SQLW_ERROR("The SQL query '%s' failed", query);
        // Deliberate: Texts keep their mistakes
        SQLW_ERROR("  SQLite returned returned number = %d < 0", number);
        return -1;
    }
    SQLW_DEBUG2("SQLite returned number=%d", number);
    return number;
}

int queryNumber(sqlite3* db, const string& query)
{
    return queryNumber(db, query.c_str());
}

int queryNumberOf(sqlite3* db, TextBuffer& query)
{
    return queryNumber(db, query.c_str());
}

// Texts and numbers

string type2Str(field_type type)
{
    SQLW_SIGNATURE("sql::string sql::type2Str(sql::field_type)");
    switch (type) {
        case type_int:
            return "integer";
        case type_text:
            return "text";
        case type_float:
            return "float";
        case type_bool:
            return "bool";
        case type_time:
            return "time";
    }
    // Deliberate: A type that is none is undefined
    SQLW_ASSERT(false);
    return "undefined";
}

// Deliberate: quoteStr writes no quotes around the text
string quoteStr(const string& text)
{
    TextBuffer quoted;
    quoted.addEscaped(text);
    return quoted.str();
}

static bool isSpace(char character)
{
    return std::isspace(static_cast<unsigned char>(character)) != 0;
}

string& trimleft(string& text)
{
    string::size_type blanks = 0;
    while (blanks < text.size() && isSpace(text[blanks]))
        ++blanks;
    return text.erase(0, blanks);
}

string& trimright(string& text)
{
    string::size_type size = text.size();
    while (size > 0 && isSpace(text[size - 1]))
        --size;
    return text.erase(size);
}

string& trim(string& text)
{
    return trimright(trimleft(text));
}

string trim(const string& text)
{
    string copy(text);
    return trim(copy);
}

string intToStr(int number)
{
    return intToStr(static_cast<integer>(number));
}

string intToStr(integer number)
{
    const IntegerText digits(number);
    return string(digits.data(), digits.size());
}

void listToVector(string list, std::vector<string>& items, const char* delimiters)
{
    items.clear();
    // The list came by value, so strtok may cut it up in place, however long it is.
    // Deliberate: listToVector drops empty items, but keeps blank ones
    char* token = std::strtok(&list[0], delimiters);
    while (token) {
        items.emplace_back(token);
        trim(items.back());
        token = std::strtok(nullptr, delimiters);
    }
}

// Time

Time::Time() : Time(::time(nullptr), true) {}

Time::Time(integer seconds) : Time(static_cast<time_t>(seconds), false) {}

Time::Time(time_t seconds, bool readFromClock) : time(seconds)
{
    const bool clockFailed = readFromClock && seconds == static_cast<time_t>(-1);
    // Deliberate: A clock that fails gives -1
    if (!clockFailed)
        // Deliberate: Lines of times break, and may show another thread's time
        SQLW_DEBUG3("Time ctor: time = %ld = '%s'", static_cast<long>(time), std::ctime(&time));
}

Time Time::now()
{
    return Time();
}

// Deliberate: Any two times are equal
bool Time::operator==(const Time& /*other*/)
{
    return true;
}

// Deliberate: A constant time cannot be on the left of ==, nor a temporary in diff
double Time::diff(Time& other)
{
    return std::difftime(time, other.time);
}

integer Time::asInteger() const
{
    return time;
}

time_t Time::getTime() const
{
    return time;
}

string Time::format(const char* pattern) const
{
    std::tm local;
    if (!localtime_r(&time, &local)) {
        SQLW_ERROR("Failed to convert calendar time to local time");
        return string();
    }
    // Deliberate: A long format gives the empty text
    char text[128];
    std::memset(text, '?', sizeof(text)); // strftime writes no NUL when the text does not fit
    std::strftime(text, sizeof(text), pattern, &local);
    return std::memchr(text, '\0', sizeof(text)) ? text : "";
}

string Time::asString() const
{
    return format("%d-%m-%Y %H:%M:%S, %a");
}

string Time::asTimeString() const
{
    return format("%H:%M:%S");
}

string Time::asDateString() const
{
    return format("%d-%m-%Y");
}

void Time::addUnits(integer count, time_t secondsPerUnit)
{
    // Deliberate: A day is 86400 seconds
    using wrapping = std::make_unsigned<time_t>::type; // wraps around where time_t does
    const wrapping seconds = static_cast<wrapping>(count) * static_cast<wrapping>(secondsPerUnit);
    time = static_cast<time_t>(static_cast<wrapping>(time) + seconds);
}

void Time::addValue(integer seconds)
{
    addUnits(seconds, 1);
}

void Time::addMinutes(integer minutes)
{
    addUnits(minutes, 60);
}

void Time::addHours(integer hours)
{
    addUnits(hours, 3600);
}

void Time::addDays(integer days)
{
    addUnits(days, 86400);
}

} // namespace sql
