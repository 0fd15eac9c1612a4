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
        no_columns,        ///< there are none
        no_key,            ///< no column has `flag_primary_key`
        two_keys,          ///< one finding for each key column after the first
        key_last,          ///< a key is the last column
        key_only,          ///< there are only key columns
        key_type,          ///< a key is neither an integer nor a text
        text_key,          ///< a key is a text
        text_key_nullable, ///< a text that is a key lacks `flag_not_null`
        name_twice,        ///< a column has the name of one before it, in whichever case
        name_reserved,     ///< SQLite refuses the name of a column or of the table as a keyword
        name_needs_quotes, ///< SQLite takes the name of a column or of the table only in quotes
        not_numbered,      ///< the first column that does not have its position as its number
        no_table,          ///< the file has no table of this name, in whichever case
        table_spelled_otherwise, ///< the file has its name in other capitals
        column_missing,          ///< a column is not in the file, or is generated there
        column_extra,            ///< a column is only in the file
        column_extra_not_null,   ///< likewise, and it is NOT NULL without a default
        column_elsewhere,        ///< a column is in another position in the file
        affinity_differs,        ///< the type in the file makes SQLite store other values
        not_null_differs,        ///< a column is NOT NULL on one side only
        unique_differs,          ///< a column is UNIQUE on one side only
        key_differs,             ///< a column is a key on one side only
        failed                   ///< the table could not be compared
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
