// Runs every scenario once for each call that can fail, and checks what it leaves.

#ifndef SQLW_FAULTS_SWEEP_H
#define SQLW_FAULTS_SWEEP_H

namespace faults
{

/// The body of an item's `main`. Quick mode tries the first hundred points of each scenario and
/// every `stride`-th one after them, and every seventh again at the trace level that writes every
/// line.
int sweep(int argc, char** argv, long stride);

} // namespace faults

#endif
