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

/// Replaces `error`. Without memory for the words it keeps the code.
SQLW_INTERNAL void setError(Error& error, int extendedCode, const char* text);

/// Replaces `error` with what the connection says of its last call, which returned `rc`.
SQLW_INTERNAL void setError(Error& error, int rc, sqlite3* db);

/// Forgets what failed before.
SQLW_INTERNAL inline void clear(Error& error)
{
    if (error)
        error = Error();
}

/// The key column of a table that has exactly one; otherwise null.
SQLW_INTERNAL const Field* onlyKey(const FieldSet& fields);

/// The position of the first column with the name; -1 when there is none.
SQLW_INTERNAL int positionOf(const FieldSet& fields, const string& name);

} // namespace sql

#endif
