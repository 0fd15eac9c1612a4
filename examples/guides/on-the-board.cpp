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

// The library reads the first member alone. What follows is the platform's own.
struct TraceObject
{
    const std::int32_t* level;
    const char* owner;
};

extern "C" {

TraceObject* g_traceObject = nullptr; // no lines before the platform is up

void logAssertFailed(const char* expression, const char* path, int line, const char* function)
{
    ++failedAssertions;
    syslog(LOG_ERR, "assertion %s failed in %s, %s:%d", expression, function, path, line);
}

} // extern "C"

int main()
{
    openlog("board", LOG_PERROR, LOG_LOCAL0); // to standard error as well
    static TraceObject traceObject = {&traceLevel, "board"};
    g_traceObject = &traceObject;

    const sql::Field columns[] = {sql::Field("id", sql::type_int, sql::flag_primary_key),
                                  sql::Field("state", sql::type_text, 0), sql::Field()};
    sql::Database database;
    if (!database.open(":memory:", sql::Database::read_write_create, false, 0))
        return EXIT_FAILURE;
    sql::Table modules(database.getHandle(), "module", columns);
    modules.create(); // silent: no errors, and the level asks for nothing else

    traceLevel = 8; // from here on, statements are logged
    sql::Record module(modules.fields());
    module.setInteger("id", 1);
    modules.addRecord(module);

    traceLevel = 3;
    module.setString("status", "on"); // the column is called state
    modules.addRecord(module);        // there is a row with this key

    traceLevel = 0; // not even errors; assertions are reported at any level
    module.setString("status", "on");

    std::fprintf(stderr, "%d failed assertions\n", failedAssertions);
    return EXIT_SUCCESS;
}
