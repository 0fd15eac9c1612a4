// Counts what the library reports.

#ifndef SQLW_FAULTS_TOLD_H
#define SQLW_FAULTS_TOLD_H

namespace faults
{

/// What the library has reported on a thread.
struct Told
{
    long errors = 0;     ///< ERROR lines
    long assertions = 0; ///< assertion reports
    long badCloses = 0;  ///< those of a connection that would not close
    char last[512] = ""; ///< the last ERROR line
};
extern thread_local Told told;

/// Whether the last ERROR line holds a text.
bool lastLineHas(const char* text);

/// Counts from here on, at the trace level of errors.
void listen();

} // namespace faults

#endif
