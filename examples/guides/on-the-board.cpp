// On the board: a program that is the library's platform itself, and sets the trace level as it
// runs.

#include <cstdint>
#include <cstdio>
#include <cstdlib>

#include <syslog.h>

#include <Sql.h>

namespace
{

std::int32_t traceLevel = 3;
int failedAssertions = 0;

} // namespace

// What the library reads, under the name by which the linker compares it with the library's own.
struct SqlwTraceObject
{
    const std::int32_t* level;
};

// The rest is the platform's own.
struct Platform
{
    SqlwTraceObject trace;
    const char* name;
};

extern "C" {

const SqlwTraceObject* g_traceObject = nullptr; // no lines before the platform is up

void logAssertFailed(const char* expression, const char* path, int line, const char* function)
{
    ++failedAssertions;
    syslog(LOG_ERR, "assertion %s failed in %s, %s:%d", expression, function, path, line);
}

} // extern "C"

int main()
{
    static const Platform platform = {{&traceLevel}, "board"};
    openlog(platform.name, LOG_PERROR, LOG_LOCAL0); // to standard error as well
    g_traceObject = &platform.trace;

    const sql::Field columns[] = {sql::Field("id", sql::type_int, sql::flag_primary_key),
                                  sql::Field("state", sql::type_text, 0), sql::Field()};
    sql::Database database;
    if (!database.open(":memory:", sql::Database::read_write_create, false, 0))
        return EXIT_FAILURE;
    sql::Table modules(database.getHandle(), "module", columns);
    modules.create(); // writes no line: nothing fails, and the level asks for no more

    traceLevel = 8; // from here on, statements are logged
    sql::Record module(modules.fields());
    module.setInteger("id", 1);
    modules.addRecord(module);

    traceLevel = 3;
    module.setString("state", "PIN 4711");
    modules.addRecord(module);        // there is a row with this key
    module.setString("status", "on"); // the column is called state

    traceLevel = 0; // not even errors; assertions are reported at any level
    module.setString("status", "on");

    std::fprintf(stderr, "%d failed assertions\n", failedAssertions);
    return EXIT_SUCCESS;
}
