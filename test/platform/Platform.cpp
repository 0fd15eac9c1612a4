#include "Platform.h"

#include <cstdint>

// Initialised by constants, so that static objects of a program may already use it.
static std::int32_t theLevel = 0;
static struct TraceObject
{
    std::int32_t* level;
} traceObject = {&theLevel};
static platform::ReportSink reportSink = nullptr;

extern "C" {

TraceObject* g_traceObject = nullptr;

void logAssertFailed(const char* expression, const char* path, int line, const char* function)
{
    if (reportSink)
        reportSink(expression, path, line, function);
}

} // extern "C"

namespace platform
{

void setTraceLevel(int level)
{
    theLevel = level;
    traceObject.level = &theLevel;
    g_traceObject = &traceObject;
}

void dropTraceObject()
{
    g_traceObject = nullptr;
}

void dropTraceLevel()
{
    traceObject.level = nullptr;
    g_traceObject = &traceObject;
}

void setReportSink(ReportSink sink)
{
    reportSink = sink;
}

} // namespace platform
