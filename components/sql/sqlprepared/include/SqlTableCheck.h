/// @file
/// Checks the description of a table, by itself and beside the table in the file.

#ifndef SQLW_SQL_TABLE_CHECK_H
#define SQLW_SQL_TABLE_CHECK_H

#include <vector>

#include "SqlTable.h"

namespace sql
{

/// One thing that is wrong with a description, or that differs from the file.
///
/// A value type: copied freely, owns nothing outside itself.
struct Finding
{
    /// What was found. Those up to `not_numbered` are of the description by itself.
    enum Kind : int {
        no_columns,
        no_key,
        two_keys,
        key_last,
        key_only,
        key_type,
        text_key,
        text_key_nullable,
        name_twice,
        name_reserved,
        name_needs_quotes,
        not_numbered,
        no_table,
        table_spelled_otherwise,
        column_missing,
        column_extra,
        column_extra_not_null,
        column_elsewhere,
        affinity_differs,
        not_null_differs,
        unique_differs,
        key_differs,
        failed
    };

    Kind kind;     ///< what was found
    string column; ///< the column; empty for the table as a whole
    string text;   ///< a sentence for people: what goes wrong, and what to do
};

/// Checks the description of a table by itself.
/// @return what was found, in the order of the kinds; empty when all is well. Without memory
///         `failed` alone; without memory even for that, none, after an ERROR line.
std::vector<Finding> checkDescription(const string& table, const FieldSet& fields);

/// Checks the description of a table, and compares it with the table in the file.
/// @return what was found, as by `checkDescription`. Without a connection, which is reported as an
///         assertion, and when the file can't be read, after the ERROR lines of `Statement`,
///         `failed` comes after the findings of the description.
std::vector<Finding> checkTable(Table& table);

} // namespace sql

#endif
