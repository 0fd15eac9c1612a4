#include "Platform.h"

#include <cstdarg>
#include <cstdint>
#include <cstdio>
#include <cstring>

namespace faults
{
Told told;
}

static std::int32_t level = 3;
static struct TraceObject
{
    std::int32_t* level;
} traceObject = {&level};

static void note(const char* format, va_list args)
{
    std::vsnprintf(faults::told.last, sizeof(faults::told.last), format, args);
    ++faults::told.errors;
}

extern "C" {

TraceObject* g_traceObject = &traceObject;

void logAssertFailed(const char* expression, const char*, int, const char*)
{
    ++faults::told.assertions;
    if (std::strcmp(expression, "rc == SQLITE_OK") == 0)
        ++faults::told.badCloses;
}

void syslog(int, const char* format, ...)
{
    va_list args;
    va_start(args, format);
    note(format, args);
    va_end(args);
}

void __syslog_chk(int, int, const char* format, ...)
{
    va_list args;
    va_start(args, format);
    note(format, args);
    va_end(args);
}

} // extern "C"
