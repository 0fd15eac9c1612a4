// Runs every scenario once for each call that can fail, and looks at what is left.

#ifndef SQLW_FAULTS_SWEEP_H
#define SQLW_FAULTS_SWEEP_H

namespace faults
{

/// The body of an item's `main`. In quick mode every `stride`-th point is tried, and always the
/// first hundred of a scenario; a seventh of them again at the trace level that writes every line.
int sweep(int argc, char** argv, long stride);

} // namespace faults

#endif
