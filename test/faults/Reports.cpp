#include "Reports.h"

#include <cstdio>
#include <cstring>

#include "platform/Platform.h"
#include "platform/SystemLog.h"

namespace faults
{

thread_local Reports reports;

// Formats every line, so that its arguments are read.
static void noteLine(int, const char* format, va_list args)
{
    static thread_local char line[sizeof(reports.last)];
    std::vsnprintf(line, sizeof(line), format, args);
    if (std::strncmp(line, "[ERROR]", 7) != 0)
        return;
    std::strcpy(reports.last, line);
    ++reports.errors;
}

static void noteReport(const char* expression, const char*, int, const char*)
{
    ++reports.assertions;
    if (std::strcmp(expression, "rc == SQLITE_OK") == 0)
        ++reports.badCloses;
}

bool lastLineHas(const char* text)
{
    return std::strstr(reports.last, text) != nullptr;
}

void listen()
{
    platform::setLineSink(noteLine);
    platform::setReportSink(noteReport);
    platform::setTraceLevel(3);
}

} // namespace faults
