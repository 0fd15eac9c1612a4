// How the log and the assertions of SqlCommon.h reach the platform.

#include <cstdint>

#include "SqlCommon.h"

// What the platform provides. Only the first member of its trace object is known here.
struct SqlwTraceObject
{
    const std::int32_t* level;
};

extern "C" {
extern const SqlwTraceObject* g_traceObject;
void logAssertFailed(const char* expression, const char* path, int line, const char* function);
}

namespace sql
{

bool traceLevelExceeds(int threshold)
{
    // Deliberate: A message of two lines may lose its second
    return g_traceObject && g_traceObject->level && *g_traceObject->level > threshold;
}

bool assertionFailed(const char* expression, const char* path, int line, const char* function)
{
    // Deliberate: An assertion ends nothing
    logAssertFailed(expression, path, line, function);
    return false;
}

} // namespace sql
