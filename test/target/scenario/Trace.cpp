#include "Trace.h"

#include <cstdarg>
#include <cstdio>
#include <ctime>

#include <sqlite3.h>

#include "platform/Interposed.h"
#include "platform/Platform.h"
#include "platform/SystemLog.h"

// SQLite calls its own functions as well, which does not count.
static int sqliteDepth = 0;

// One event per line, even if its text has several lines.
static void writeEvent(const char* head, const sql::string& text)
{
    std::printf("  %s ", head);
    for (char byte : text) {
        if (byte == '\n')
            std::fputs("\\n", stdout);
        else if (byte == '\r')
            std::fputs("\\r", stdout);
        else
            std::fputc(byte, stdout);
    }
    std::fputc('\n', stdout);
}

static void writeSql(const char* function, const char* sql)
{
    if (sqliteDepth == 1)
        writeEvent(function, sql);
}

static void writeLine(int priority, const char* format, va_list args)
{
    char message[1 << 12];
    std::vsnprintf(message, sizeof(message), format, args);
    writeEvent(("syslog " + sql::intToStr(priority) + " \"" + format + "\"").c_str(), message);
}

static void writeReport(const char* expression, const char* path, int line, const char* function)
{
    std::printf("  assertion \"%s\" %s:%d \"%s\"\n", expression, path, line, function);
}

extern "C" {

time_t time(time_t* seconds) noexcept
{
    const time_t now = 1700000000;
    if (seconds)
        *seconds = now;
    return now;
}

int sqlite3_exec(sqlite3* db, const char* sql, int (*callback)(void*, int, char**, char**),
                 void* param, char** errorText)
{
    const platform::Within sqlite(sqliteDepth);
    writeSql("sqlite3_exec", sql);
    return SQLW_REAL(sqlite3_exec)(db, sql, callback, param, errorText);
}

int sqlite3_prepare_v2(sqlite3* db, const char* sql, int length, sqlite3_stmt** stmt,
                       const char** tail)
{
    const platform::Within sqlite(sqliteDepth);
    writeSql("sqlite3_prepare_v2", sql);
    return SQLW_REAL(sqlite3_prepare_v2)(db, sql, length, stmt, tail);
}

int sqlite3_step(sqlite3_stmt* stmt)
{
    const platform::Within sqlite(sqliteDepth);
    return SQLW_REAL(sqlite3_step)(stmt);
}

} // extern "C"

namespace scenario
{

void start()
{
    platform::setReportSink(writeReport);
    platform::setLineSink(writeLine);
    platform::setTraceLevel(9);
}

void setTraceLevel(int level)
{
    if (level < 0)
        platform::dropTraceLevel();
    else
        platform::setTraceLevel(level);
}

void heading(const char* title)
{
    std::printf("\n%s\n\n", title);
}

void call(const char* text)
{
    std::printf("%s\n", text);
}

void result(bool truth)
{
    std::printf("  = %s\n", truth ? "true" : "false");
}

void result(int number)
{
    std::printf("  = %d\n", number);
}

void result(sql::integer number)
{
    std::printf("  = %lld\n", number);
}

void result(double number)
{
    std::printf("  = %.17g\n", number);
}

void result(const char* text)
{
    result(sql::string(text));
}

void result(const sql::string& text)
{
    writeEvent("=", '"' + text + '"');
}

void result(const std::vector<sql::string>& items)
{
    for (const sql::string& item : items)
        result(item);
    std::printf("  = %d items\n", static_cast<int>(items.size()));
}

void result(const sql::Field* field)
{
    result(field ? field->dump() : "no field");
}

void result(const sql::Value* value)
{
    result(value ? value->dump(true) : "no value");
}

void result(const sql::Record* record)
{
    result(record ? record->dump(true) : "no record");
}

void result(const void* pointer)
{
    result(pointer ? "not null" : "null");
}

} // namespace scenario
