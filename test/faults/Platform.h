// The platform and the system log, for programs that count what the library tells.

#ifndef SQLW_FAULTS_PLATFORM_H
#define SQLW_FAULTS_PLATFORM_H

namespace faults
{

/// What the library has told since the start of the program.
struct Told
{
    long errors = 0;     ///< ERROR lines
    long assertions = 0; ///< assertion reports
    long badCloses = 0;  ///< those of a connection that would not close
    char last[512] = ""; ///< the last ERROR line
};
extern Told told;

} // namespace faults

#endif
