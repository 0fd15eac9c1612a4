// Counts what the library reports.

#ifndef SQLW_FAULTS_REPORTS_H
#define SQLW_FAULTS_REPORTS_H

namespace faults
{

/// What the library has reported on a thread.
struct Reports
{
    long errors = 0;     ///< ERROR lines
    long assertions = 0; ///< assertion reports
    long badCloses = 0;  ///< assertion reports of a connection that would not close
    char last[512] = ""; ///< the last ERROR line
};
extern thread_local Reports reports;

/// Whether the last ERROR line contains a text.
bool lastLineHas(const char* text);

/// Starts counting, at the trace level of errors.
void listen();

} // namespace faults

#endif
