/// @file
/// Types of columns, single statements, and helpers for texts and numbers. The macros for the log
/// lines and assertions of every source file are at the end.
///
/// The library throws nothing of its own; `std::bad_alloc` passes to the caller, except where a
/// `RecordSet` collects rows.
///
/// Threads: one thread at a time per connection, and per object. Objects that share a connection
/// count as one, because they share its transaction and its errors. Functions without a connection
/// may run on any number of threads, except `listToVector`. At trace level 9, two threads that
/// construct a `Time` share the buffer of `ctime`: the line of one may show the text of the other.

#ifndef SQLW_SQL_COMMON_H
#define SQLW_SQL_COMMON_H

#include <string>
#include <vector>

struct sqlite3;

/// Marks functions that the library keeps to itself: they are not exported.
#ifndef SQLW_INTERNAL
#define SQLW_INTERNAL __attribute__((visibility("hidden")))
#endif

namespace sql
{

/// Names, SQL and cell contents: byte strings that are never converted between encodings.
using string = std::string;

/// Integer cell values and integer keys: 64 bits, signed, and exactly what "%lld" prints.
using integer = long long;
static_assert(sizeof(integer) == 8, "integer cells hold 64 bits");

/// The type of a column and of a value.
enum field_type : int {
    type_int = 0,   ///< `sql::integer`, stored as INTEGER
    type_text = 1,  ///< `sql::string`, stored as TEXT
    type_float = 2, ///< `double`, stored as REAL with eight decimals
    type_bool = 3,  ///< `bool`, stored as INTEGER 1 or 0
    type_time = 4   ///< `sql::Time`, stored as INTEGER seconds since the epoch
};

/// @name Running one statement
/// The connection is borrowed and must not be null: a null one is reported as an assertion, and the
/// failure value is returned. Statements end at their first NUL byte.
/// @{

/// The name of an SQLite result code, such as "SQLITE_BUSY" for 5.
/// @return a constant text; "unknown" for any number that is not a primary code.
const char* sqliteRc2Str(int rc);

/// Runs a statement that finishes in one step and yields no row.
/// @return true when it ran to its end. False on failure, and when it yields a row, after two ERROR
///         lines: the statement, then SQLite's code and words. The statement is logged at DEBUG2.
bool runOneStepSqlStmt(sqlite3* db, const string& stmt);

/// Runs a query that yields a single number, such as a count.
/// @return the first column of the first row, cut to 32 bits; further rows are not read. On failure
///         -1 after ERROR lines: the query cannot be prepared or run, yields no row, more than one
///         column, or a negative number. The query and its number are logged at DEBUG2.
int queryNumber(sqlite3* db, const string& query);

/// @}
/// @name Texts and numbers
/// @{

/// The lower-case name of a type: "integer", "text", "float", "bool" or "time".
/// @return "undefined" for any other value, after an assertion report.
string type2Str(field_type type);

/// Doubles every single quote, as an SQL literal needs it. The caller adds the enclosing quotes:
/// `"name = '" + sql::quoteStr(name) + "'"`.
string quoteStr(const string& text);

/// Removes white space, as `isspace` has it, from the front of `text`, and returns `text`.
string& trimleft(string& text);
/// Removes white space, as `isspace` has it, from the end of `text`, and returns `text`.
string& trimright(string& text);
/// Removes white space from both ends of `text`, and returns `text`.
string& trim(string& text);
/// A copy of `text` without white space at its ends.
string trim(const string& text);

/// The number in decimal, the same in every locale. A `long`, `unsigned` or `size_t` converts to
/// both overloads and must be cast: `sql::intToStr(static_cast<sql::integer>(text.size()))`.
string intToStr(int number);
/// The same for 64 bits.
string intToStr(integer number);

/// Splits a list at each of the characters of `delimiters`. Runs of delimiters count as one and
/// give no empty item, but an item of white space alone is kept as an empty one. `items` receives
/// the trimmed items; what it held is dropped.
/// @note Not for two threads at once: `strtok` keeps a hidden state.
void listToVector(string list, std::vector<string>& items, const char* delimiters);

/// @}

} // namespace sql

// The rest is for the sources of the library, and no part of its interface. A source that uses it
// names itself in SQLW_SOURCE_NAME and includes <syslog.h>.
/// @cond

namespace sql
{

class TextBuffer;

/// The same as `queryNumber`, which has no overload so that users can take its address.
SQLW_INTERNAL int queryNumberOf(sqlite3* db, TextBuffer& query);

/// True when the platform's trace level is above `threshold`; false when the platform has none.
SQLW_INTERNAL bool traceLevelExceeds(int threshold);

/// Hands a failed condition to the platform's assertion reporter, at every trace level.
/// @return false.
SQLW_INTERNAL bool assertionFailed(const char* expression, const char* path, int line,
                                   const char* function);

} // namespace sql

/// One line of the system log: `SQLW_ERROR("rc=%d", rc)`. Its arguments are computed only when the
/// line is written.
#define SQLW_ERROR(...) SQLW_LOG(2, LOG_ERR, "[ERROR]", __VA_ARGS__)
#define SQLW_DEBUG1(...) SQLW_LOG(6, LOG_DEBUG, "[DEBUG1]", __VA_ARGS__)
#define SQLW_DEBUG2(...) SQLW_LOG(7, LOG_DEBUG, "[DEBUG2]", __VA_ARGS__)
#define SQLW_DEBUG3(...) SQLW_LOG(8, LOG_DEBUG, "[DEBUG3]", __VA_ARGS__)

/// The signature that assertion reports of a function carry: its first line, under its definition.
/// Written out, because no two compilers spell `__PRETTY_FUNCTION__` alike.
#define SQLW_SIGNATURE(text) static const char signature[] = text

/// Whether `condition` holds. If not, reports it as it is written, under the `signature` of the
/// function, which it reads. A guard: `if (!SQLW_ASSERT(db)) return false;`.
#define SQLW_ASSERT(condition)                                                                     \
    ((condition) || ::sql::assertionFailed(#condition, SQLW_SOURCE_PATH, __LINE__, signature))

/// An ERROR line, then the report of a branch that should not have been reached, under the
/// `signature` of the function, which it reads.
#define SQLW_FAULT(...)                                                                            \
    do {                                                                                           \
        SQLW_ERROR(__VA_ARGS__);                                                                   \
        SQLW_ASSERT(false);                                                                        \
    } while (false)

// Not __FILE__: that is whatever path the build happened to pass. A library that compiles
// Diagnostics.cpp in defines the folder of its own sources.
#ifndef SQLW_SOURCE_FOLDER
#define SQLW_SOURCE_FOLDER "components/sql/sqlwrapper/src/"
#endif
#define SQLW_SOURCE_PATH SQLW_SOURCE_FOLDER SQLW_SOURCE_NAME

#define SQLW_LOG(threshold, priority, tag, ...)                                                    \
    do {                                                                                           \
        if (::sql::traceLevelExceeds(threshold))                                                   \
            SQLW_PICK(__VA_ARGS__, SQLW_LINE, SQLW_LINE, SQLW_LINE, SQLW_LINE, SQLW_PLAIN_LINE, )  \
        (priority, tag, __VA_ARGS__);                                                              \
    } while (false)

// C++11 has no empty variadic tail, so a message without arguments takes a macro of its own.
#define SQLW_PICK(_1, _2, _3, _4, _5, picked, ...) picked
#define SQLW_PLAIN_LINE(priority, tag, text)                                                       \
    ::syslog(priority, tag " %s:%d (%s) - " text, SQLW_SOURCE_NAME, __LINE__, __func__)
#define SQLW_LINE(priority, tag, text, ...)                                                        \
    ::syslog(priority, tag " %s:%d (%s) - " text, SQLW_SOURCE_NAME, __LINE__, __func__, __VA_ARGS__)

/// @endcond

#endif
