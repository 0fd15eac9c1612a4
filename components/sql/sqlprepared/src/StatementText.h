// The texts of the statements that this library writes. Not for users.

#ifndef SQLW_STATEMENT_TEXT_H
#define SQLW_STATEMENT_TEXT_H

#include "Companion.h"
#include "SqlTable.h"

namespace sql
{

/// Appends a pattern in which these take the place of what the table has. Parameter i + 1 is
/// column i.
///     %t  its name
///     %n  the columns: "id, name"
///     %p  a parameter for each: "?1, ?2"
///     %a  assignments to those that are no keys, or to all where there are only keys: "name=?2"
///     %k  the key columns: "id"
///     %c  the condition that they are equal: "id=?1"
SQLW_INTERNAL void addStatement(string& sql, const char* pattern, const Table& table);

} // namespace sql

#endif
