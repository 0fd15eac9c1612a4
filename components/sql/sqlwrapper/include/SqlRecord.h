/// @file
/// One row of a table.

#ifndef SQLW_SQL_RECORD_H
#define SQLW_SQL_RECORD_H

#include <vector>

#include "SqlFieldSet.h"
#include "SqlValue.h"

namespace sql
{

/// A row: one value for each column of a column set.
///
/// Owns its values and borrows its column set, which must outlive it unchanged. Copies and moves
/// share the column set. A `Record*` from a table or a record set belongs to it, until its next
/// read; a copy of such a record still needs the column set of that table or record set.
///
/// A column is named by its position, from 0, or by its name, byte for byte. Where there is no such
/// column, each operation returns its failure value after an ERROR line and an assertion report.
///
/// A row that was read, changed and written back with `Table::updateRecord` is written whole, from
/// the texts that were read: a stored float that needs more than 15 digits, a text with a NUL byte
/// or a BLOB in another column changes with it. Update single columns in SQL, by `Table::query`.
class Record
{
public:
    /// A row for `fields`, every cell NULL and of its column's type.
    Record(const FieldSet& fields);

    /// The values of `other`, for the same column set.
    Record(const Record& other) = default;
    Record(Record&& other) = default;
    /// A copy of `*other`, which must not be null.
    Record(const Record* other);
    /// Takes over the values and the column set of `other`.
    Record& operator=(const Record& other) = default;
    Record& operator=(Record&& other) = default;

    /// The borrowed column set, never null.
    const FieldSet* fields() const;
    /// The number of cells.
    int columnCount() const;

    /// @name A cell
    /// Null when there is no such column. The record owns the value.
    /// @{

    /// The cell at `index`, from 0.
    Value* getValue(int index);
    const Value* getValue(int index) const;
    /// The cell of the column `name`.
    Value* getValue(const string& name);
    const Value* getValue(const string& name) const;
    /// The cell of the key column, which is the first PRIMARY KEY column.
    const Value* getKeyIdValue() const;
    /// @}

    /// The column `name`, owned by the column set. Null when there is none.
    const Field* fieldByName(const string& name) const;

    /// Stores `text`, or NULL for a null pointer, in the cell at `index` and gives it the type.
    /// @return false when there is no such column.
    bool initColumnValue(int index, const char* text, field_type type);

    /// @name Setters
    /// They store as the `Value` operation of the same name does, whatever the column's type, and
    /// change nothing when there is no such column.
    /// @{

    /// Makes the cell NULL.
    void setNull(int index);
    void setNull(const string& name);
    /// Stores a text.
    void setString(int index, const string& value);
    void setString(const string& name, const string& value);
    /// Stores a number, in decimal.
    void setInteger(int index, integer value);
    void setInteger(const string& name, integer value);
    /// Stores a number, with eight decimals.
    void setDouble(int index, double value);
    void setDouble(const string& name, double value);
    /// Stores "1" for true and "0" for false.
    void setBool(int index, bool value);
    void setBool(const string& name, bool value);
    /// Stores the seconds since the epoch.
    void setTime(int index, Time value);
    void setTime(const string& name, Time value);
    /// @}

    /// Whether both records have the column `name` with equal values (`Value::equals`).
    /// False for a null `other`.
    bool equalsColumnValue(const Record* other, const string& name) const;

    /// Whether no column outside the key differs (`Value::equals`). A column that `other` lacks
    /// counts as equal, and one that only `other` has is ignored. False for a null `other`.
    bool equalsValues(const Record* other) const;

    /// The values for people: "7|Bob|null|2.5".
    string toString() const;

    /// The names and values for people: "id = 7|name = Bob", and "id = 7 (integer)" with types.
    string dump(bool withType) const;

    /// @name Statements
    /// The empty text on failure, after an ERROR line and an assertion report. Names of tables and
    /// columns are unquoted.
    /// @{

    /// The values as SQL literals: "7, 'Bob', null".
    string toSql() const;

    /// An INSERT of every column: "insert into item (id, name) values (7, 'Bob')".
    string toSqlInsert(const string& table) const;

    /// An UPDATE of every column outside the key, for the row with this record's key:
    /// "update item set name='Bob' where id = 7". A text key is written unquoted, after an
    /// assertion report: SQLite may read it as a number, a name or a condition and update other
    /// rows. When the key is the last column, the list ends in a comma, and SQLite refuses it.
    string toSqlUpdate(const string& table) const;

    /// @}

private:
    friend class RecordSet; // fills records from rows, and moves copies to its own column set
    friend class Table;     // has statements written to where it runs them

    class Cells;

    SQLW_INTERNAL Record(const FieldSet& fields, int count, const char* const* texts);
    SQLW_INTERNAL const Value* getValue(int index, const char* signature) const;
    SQLW_INTERNAL const Value* getValue(const string& name, const char* signature,
                                        const char* byIndex) const;
    SQLW_INTERNAL bool hasColumn(int index) const;
    SQLW_INTERNAL string::size_type statementSize(const string& table) const;
    SQLW_INTERNAL void toSql(TextBuffer& sql) const;
    SQLW_INTERNAL bool toSqlInsert(const string& table, TextBuffer& sql) const;
    SQLW_INTERNAL bool toSqlUpdate(const string& table, TextBuffer& sql) const;
    SQLW_INTERNAL void adopt(const FieldSet& fields);

    const FieldSet* _fields;
    std::vector<Value> _values;
};

} // namespace sql

#endif
