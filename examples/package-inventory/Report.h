/// @file
/// The inventory for people.

#ifndef SQLW_EXAMPLE_REPORT_H
#define SQLW_EXAMPLE_REPORT_H

#include <iosfwd>

#include "Options.h"
#include "Store.h"

namespace inventory
{

/// Prints what is installed, the largest first, and what changed. `seconds` is how long it took.
void printReport(std::ostream& out, const Summary& summary, const Options& options, double seconds);

} // namespace inventory

#endif
