// What the sources of this library share. Not for users.

#ifndef SQLW_COMPANION_H
#define SQLW_COMPANION_H

#include <exception>

#include <sqlite3.h>
#include <syslog.h>

#include "SqlError.h"
#include "SqlFieldSet.h"

// The folder that assertion reports name.
#undef SQLW_SOURCE_FOLDER
#define SQLW_SOURCE_FOLDER "components/sql/sqlprepared/src/"

/// Marks what runs when something fails, so that it adds nothing to the way of what succeeds.
#define SQLW_COLD __attribute__((cold, noinline))

namespace sql
{

/// The number of key columns.
SQLW_INTERNAL int countKeys(const FieldSet& fields);

/// Appends a pattern up to its next '%'.
/// @return the character after that, which is what to put there; at the end, a NUL.
SQLW_INTERNAL const char* addPlainPart(string& text, const char* pattern);

/// The position of the first column with the name; -1 when there is none.
SQLW_INTERNAL int positionOf(const FieldSet& fields, const string& name);

} // namespace sql

#endif
