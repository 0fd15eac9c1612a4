#include "Told.h"

#include <cstdio>
#include <cstring>

#include "platform/Platform.h"
#include "platform/SystemLog.h"

namespace faults
{

thread_local Told told;

// Formats every line, so that its arguments are read.
static void noteLine(int, const char* format, va_list args)
{
    static thread_local char line[sizeof(told.last)];
    std::vsnprintf(line, sizeof(line), format, args);
    if (std::strncmp(line, "[ERROR]", 7) != 0)
        return;
    std::strcpy(told.last, line);
    ++told.errors;
}

static void noteReport(const char* expression, const char*, int, const char*)
{
    ++told.assertions;
    if (std::strcmp(expression, "rc == SQLITE_OK") == 0)
        ++told.badCloses;
}

bool lastLineHas(const char* text)
{
    return std::strstr(told.last, text) != nullptr;
}

void listen()
{
    platform::setLineSink(noteLine);
    platform::setReportSink(noteReport);
    platform::setTraceLevel(3);
}

} // namespace faults
