/// @file
/// Why the database did not do what it was asked.

#ifndef SQLW_EXAMPLE_DATABASE_FAILURE_H
#define SQLW_EXAMPLE_DATABASE_FAILURE_H

#include <string>

#include "Failure.h"

struct sqlite3;

namespace inventory
{

/// Words for what last failed on the open connection `db`. The library's log has the statement;
/// the user needs to know what to do.
Failure databaseFailure(sqlite3* db, const std::string& path);

} // namespace inventory

#endif
