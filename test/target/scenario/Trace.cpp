#include "Trace.h"

#include <cstdarg>
#include <cstdio>
#include <ctime>

#include <dlfcn.h>
#include <sqlite3.h>

#include "platform/Platform.h"
#include "platform/SystemLog.h"

// SQLite calls its own functions as well, which does not count.
static int sqliteDepth = 0;

class WithinSqlite
{
public:
    WithinSqlite() { ++sqliteDepth; }
    ~WithinSqlite() { --sqliteDepth; }
    WithinSqlite(const WithinSqlite&) = delete;
    WithinSqlite& operator=(const WithinSqlite&) = delete;
};

// One event a line, also where a text has several.
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

template <typename Function> static Function* real(Function*, const char* name)
{
    return reinterpret_cast<Function*>(dlsym(RTLD_NEXT, name));
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
    const WithinSqlite scope;
    writeSql("sqlite3_exec", sql);
    return real(&sqlite3_exec, "sqlite3_exec")(db, sql, callback, param, errorText);
}

int sqlite3_prepare_v2(sqlite3* db, const char* sql, int length, sqlite3_stmt** stmt,
                       const char** tail)
{
    const WithinSqlite scope;
    writeSql("sqlite3_prepare_v2", sql);
    return real(&sqlite3_prepare_v2, "sqlite3_prepare_v2")(db, sql, length, stmt, tail);
}

int sqlite3_step(sqlite3_stmt* stmt)
{
    const WithinSqlite scope;
    return real(&sqlite3_step, "sqlite3_step")(stmt);
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

void answer(bool truth)
{
    std::printf("  = %s\n", truth ? "true" : "false");
}

void answer(int number)
{
    std::printf("  = %d\n", number);
}

void answer(sql::integer number)
{
    std::printf("  = %lld\n", number);
}

void answer(double number)
{
    std::printf("  = %.17g\n", number);
}

void answer(const char* text)
{
    answer(sql::string(text));
}

void answer(const sql::string& text)
{
    writeEvent("=", '"' + text + '"');
}

void answer(const std::vector<sql::string>& items)
{
    for (const sql::string& item : items)
        answer(item);
    std::printf("  = %d items\n", static_cast<int>(items.size()));
}

void answer(const sql::Field* field)
{
    answer(field ? field->dump() : "no field");
}

void answer(const sql::Value* value)
{
    answer(value ? value->dump(true) : "no value");
}

void answer(const sql::Record* record)
{
    answer(record ? record->dump(true) : "no record");
}

void answer(const void* pointer)
{
    answer(pointer ? "not null" : "null");
}

} // namespace scenario
