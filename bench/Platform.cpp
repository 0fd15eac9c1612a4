#include "Platform.h"

#include <cstdint>
#include <cstdlib>

static std::int32_t traceLevel;
static struct TraceObject
{
    const std::int32_t* level;
} traceObject = {&traceLevel};

extern "C" {

const TraceObject* g_traceObject = nullptr;

void logAssertFailed(const char*, const char*, int, const char*)
{
    std::abort(); // no contestant breaks a precondition
}

} // extern "C"

namespace bench
{

void setTraceLevel(int level)
{
    traceLevel = level;
    g_traceObject = &traceObject;
}

} // namespace bench
