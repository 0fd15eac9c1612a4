/// @file
/// The description of one column of a table.

#ifndef SQLW_SQL_FIELD_H
#define SQLW_SQL_FIELD_H

#include "SqlCommon.h"

namespace sql
{

/// @name Constraints of a column
/// Joined by `|`; 0 for none. Other bits are kept but mean nothing.
/// @{

enum : int {
    flag_not_null = 1,    ///< may not hold NULL
    flag_primary_key = 2, ///< is the key of the table, or part of it
    flag_unique = 4       ///< holds no value twice, but NULL any number of times
};
/// @}

/// One column of a table: its name, its type, its constraints and its position.
///
/// A value type: copied freely, owns nothing outside itself. A table is described by an array of
/// fields that ends in a default-constructed one:
///
///     const sql::Field itemFields[] = {
///         sql::Field("id", sql::type_int, sql::flag_primary_key),
///         sql::Field("name", sql::type_text, sql::flag_not_null),
///         sql::Field()
///     };
class Field
{
public:
    /// The end marker of a description: no name, type_int, position -1, no flags.
    Field();

    /// A column. `name` goes into SQL unquoted and unchecked. A text column that is the key
    /// needs `flag_not_null` too: SQLite accepts NULL keys of text any number of times, and no
    /// operation finds, updates or deletes them by key.
    /// REQUIRES: `name` is not empty. An empty one is reported as an assertion and kept: the field
    /// then acts as an end marker.
    Field(const string& name, field_type type, int flags);

    /// True when the name is empty, which ends a description.
    bool isEndingField() const;

    /// The type of its values.
    field_type getType() const;
    /// The position of the column in its set, from 0; -1 while it belongs to none.
    int getIndex() const;
    /// Its name, as it was given.
    string getName() const;

    /// The storage word: "INTEGER" (also for bool and time), "TEXT" or "REAL".
    /// The empty text for a type of another value, after an assertion report.
    string getTypeStr() const;

    /// Whether `flag_not_null` is among its flags.
    bool isNotNull() const;
    /// Whether `flag_primary_key` is among its flags.
    bool isPrimaryKey() const;
    /// Whether `flag_unique` is among its flags.
    bool isUnique() const;

    /// The constraint words, each with its leading blank: " PRIMARY KEY NOT NULL UNIQUE".
    string getFlags() const;

    /// The column's part of CREATE TABLE, such as "name TEXT NOT NULL".
    /// Reports what `getTypeStr` reports.
    string getDefinition() const;

    /// A line for people, such as "0: name=id, type=integer, flags: PRIMARY KEY".
    /// Reports what `type2Str` reports.
    string dump() const;

private:
    friend class FieldSet; // numbers its fields
    friend class Record;   // reads names without copying them

    // What a field is, and nothing that a set could derive from it.
    string _name;
    field_type _type;
    int _index;
    int _flags;
};

} // namespace sql

#endif
