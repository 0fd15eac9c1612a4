#include "SqlStandalone.h"

#include <atomic>
#include <cstdint>
#include <cstdio>
#include <cstdlib>

#include <syslog.h>

// What the library imports. It must find both symbols in the program, however that is compiled.
#define SQLW_PROVIDED __attribute__((visibility("default")))

struct SqlwTraceObject
{
    const std::int32_t* level;
};

extern "C" {
extern SQLW_PROVIDED const SqlwTraceObject* g_traceObject;
SQLW_PROVIDED void logAssertFailed(const char* expression, const char* path, int line,
                                   const char* function);
}

// All of this is initialised by constants, so that it is there before any code runs.
static std::int32_t traceLevel = 3;
static const SqlwTraceObject traceObject = {&traceLevel};
const SqlwTraceObject* g_traceObject = &traceObject;
static std::atomic<unsigned int> reports(0);

// Of all that programs may run before main, this comes first: static objects without a priority of
// their own already find the level.
__attribute__((constructor(101))) static void readTraceLevel()
{
    const char* text = std::getenv("SQLWRAPPER_TRACE_LEVEL");
    if (!text)
        return;
    if (text[0] >= '0' && text[0] <= '9' && text[1] == '\0')
        traceLevel = text[0] - '0';
    else // the text is not repeated: it might hold line breaks
        std::fputs("SQLWRAPPER_TRACE_LEVEL must be one digit from 0 to 9; the trace level is 3\n",
                   stderr);
}

void logAssertFailed(const char* expression, const char* path, int line, const char* function)
{
    ++reports;
    ::syslog(LOG_ERR, "Assertion '%s' failed in %s (%s:%d)", expression, function, path, line);
    std::fprintf(stderr, "Assertion '%s' failed in %s (%s:%d)\n", expression, function, path, line);
}

unsigned int sqlwrapper_standalone::assertionReports()
{
    return reports;
}
