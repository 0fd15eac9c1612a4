/// @file
/// What a gateway knows, as tables for people.

#ifndef SQLW_EXAMPLE_FLEET_REPORT_H
#define SQLW_EXAMPLE_FLEET_REPORT_H

#include <string>

namespace fleet
{

/// Prints "report", "conflicts" or "events" of a gateway's database.
/// @return false when it knows no such table. Throws `support::Failure`.
bool report(const std::string& file, const std::string& what);

} // namespace fleet

#endif
