// Replaces the system log: every line goes to a function of the program.

#ifndef SQLW_TEST_SYSTEM_LOG_H
#define SQLW_TEST_SYSTEM_LOG_H

#include <cstdarg>

namespace platform
{

/// Takes a line, as vsyslog does.
using LineSink = void (*)(int priority, const char* format, va_list args);

/// Where lines go; null drops them, as at first.
void setLineSink(LineSink sink);

} // namespace platform

#endif
