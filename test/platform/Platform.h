// The two symbols that the library takes from its platform, under the control of a program.

#ifndef SQLW_TEST_PLATFORM_H
#define SQLW_TEST_PLATFORM_H

namespace platform
{

/// The trace level. Until it is set there is no trace object, and the library is silent.
void setTraceLevel(int level);

/// There is no trace object, or one without a level, until the level is set again.
void dropTraceObject();
void dropTraceLevel();

/// Takes an assertion report.
using ReportSink = void (*)(const char* expression, const char* path, int line,
                            const char* function);

/// Where reports go; null drops them, as at first.
void setReportSink(ReportSink sink);

} // namespace platform

#endif
