// The platform's side of the library: the trace level, of which there is none at first.

#ifndef SQLW_BENCH_PLATFORM_H
#define SQLW_BENCH_PLATFORM_H

namespace bench
{

/// Gives the platform a trace object with this level.
void setTraceLevel(int level);

} // namespace bench

#endif
