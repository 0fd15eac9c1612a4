#include "SystemLog.h"

static platform::LineSink lineSink = nullptr;

// Found before the C library's own, since the program defines them.
extern "C" {

void syslog(int priority, const char* format, ...)
{
    va_list args;
    va_start(args, format);
    if (lineSink)
        lineSink(priority, format, args);
    va_end(args);
}

// What glibc's headers make of syslog under _FORTIFY_SOURCE.
void __syslog_chk(int priority, int, const char* format, ...)
{
    va_list args;
    va_start(args, format);
    if (lineSink)
        lineSink(priority, format, args);
    va_end(args);
}

} // extern "C"

namespace platform
{

void setLineSink(LineSink sink)
{
    lineSink = sink;
}

} // namespace platform
