// A program that uses the library before main and in main, and prints on standard output what
// arrives in the system log. Its argument is the number of assertions that fail in main.

#include <cstdarg>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "platform/SystemLog.h"
#include "Sql.h"
#include "SqlStandalone.h"

struct TraceObject
{
    const std::int32_t* level;
};

extern "C" {
extern const TraceObject* g_traceObject;
void logAssertFailed(const char* expression, const char* path, int line, const char* function);
}

// The library's own lines by their tag alone, for the rest of them is not of this test.
static void print(int priority, const char* format, va_list args)
{
    std::printf("syslog %d ", priority);
    if (*format == '[')
        std::printf("%.*s", static_cast<int>(std::strcspn(format, " ")), format);
    else
        std::vprintf(format, args);
    std::printf("\n");
}

// Every tag once.
static void useLibrary()
{
    sql::Database database;
    database.open(":memory:", sql::Database::read_write_create, false, 0);
    sql::runOneStepSqlStmt(database.getHandle(), "create table t (a)");
    sql::Time(0);
    database.setUserVersion(4294967295U);
}

static struct EarlyUser
{
    EarlyUser()
    {
        platform::setLineSink(print);
        std::printf("before main: level %d\n", static_cast<int>(*g_traceObject->level));
        useLibrary();
    }
} earlyUser;

int main(int argc, char** argv)
{
    std::printf("main: level %d\n", static_cast<int>(*g_traceObject->level));
    const int failures = argc > 1 ? std::atoi(argv[1]) : 0;
    for (int i = 0; i < failures; ++i)
        logAssertFailed("door.isShut()", "house/Door.cpp", 7 + i, "void Door::lock()");
    std::printf("%u reports\n", sqlwrapper_standalone::assertionReports());
}
