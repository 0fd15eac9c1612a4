// The companion on damaged files.

#ifndef SQLW_FAULTS_COMPANION_DAMAGE_H
#define SQLW_FAULTS_COMPANION_DAMAGE_H

#include <string>

#include "Item.h"
#include "Sql.h"

namespace faults
{

/// How often SQLite may ask whether to go on with a damaged file, and what it asks, as its progress
/// handler.
const int patience = 5000;
int giveUp(void* calls);

/// Uses a damaged file through the companion, and a copy of it through SQLite's own interface: both
/// must give the same results and rows. Returns how many results reported the damage.
long compareCompanion(const Point& point, const std::string& bytes, const char* table,
                      const sql::Field* fields);

} // namespace faults

#endif
