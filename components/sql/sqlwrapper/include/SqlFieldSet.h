/// @file
/// The ordered set of columns of a table or of a query's result.

#ifndef SQLW_SQL_FIELD_SET_H
#define SQLW_SQL_FIELD_SET_H

#include <vector>

#include "SqlField.h"

namespace sql
{

/// The columns of a table, in order.
///
/// A value type: copied freely, owns its fields. Pointers to its fields are valid while the set
/// lives unchanged.
///
/// A valid description has at least one PRIMARY KEY column, and each of these is of type_int or
/// type_text. The first of them is the key column of the table. Only `initFieldSet` checks this.
class FieldSet
{
public:
    /// A copy of `fields`, neither checked nor numbered.
    FieldSet(const std::vector<Field>& fields);

    /// The set of an array that ends in a field without a name; null gives the empty set. Reports
    /// faults as `initFieldSet` does, but drops its result.
    FieldSet(const Field* fields);

    /// Appends an array that ends in a field without a name, and checks the description. The
    /// positions of the array are written to the first fields of the set, so only a set
    /// that was empty is numbered throughout. Null changes nothing and returns true.
    /// @return false after an assertion report when the set has no PRIMARY KEY column (the fields
    ///         stay), or when a PRIMARY KEY column is neither integer nor text (an ERROR line comes
    ///         first, and the set is emptied).
    bool initFieldSet(const Field* fields);

    /// The number of columns.
    int count() const;

    /// The column at `index`, from 0. Null when there is none, and nothing is logged.
    const Field* getByIndex(int index) const;

    /// The first column whose name equals `name` byte for byte. Null when there is none, and
    /// nothing is logged.
    const Field* getByName(const string& name) const;

    /// The column part of CREATE TABLE: "id INTEGER PRIMARY KEY, name TEXT NOT NULL".
    string getDefinition() const;

    /// The names of the columns, as INSERT lists them: "id, name".
    string toSql() const;

    /// A line for each column, for people, separated by CR LF.
    string dump() const;

    /// The name of the key column, which is the first PRIMARY KEY column.
    /// The empty text when there is none, after an ERROR line and an assertion report.
    string getKeyIdName() const;

private:
    friend class Record; // looks up its key, and adds names to its statements
    friend class Table;  // adds the name of its key to its statements

    SQLW_INTERNAL const Field* keyField() const;
    SQLW_INTERNAL bool getKeyIdName(TextBuffer& sql) const;
    SQLW_INTERNAL void toSql(TextBuffer& sql) const;

    std::vector<Field> _fields;
};

} // namespace sql

#endif
