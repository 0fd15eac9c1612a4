#include "BothWays.h"

#include <cmath>
#include <cstring>

namespace sqltest
{

std::string rowsOf(sql::Table& table)
{
    std::string cells;
    for (int i = 0; i < table.fields().count(); ++i) {
        const std::string column = table.fields().getByIndex(i)->getName();
        cells += (i == 0 ? "" : " || ' ' || ");
        cells += "typeof(" + column + ") || ' ' || quote(" + column + ")";
    }
    const std::string key = table.fields().getByIndex(0)->getName();
    std::string rows;
    sql::Statement statement;
    statement.prepare(table.getHandle(),
                      "select " + cells + " from " + table.name() + " order by " + key + ", rowid");
    while (statement.next())
        rows += statement.getString(0) + "\n";
    return statement.error() ? statement.error().text() : rows;
}

unsigned long long Choices::manyBits()
{
    const unsigned long long high = bits();
    return high << 32 | bits();
}

std::string Choices::digits(unsigned most)
{
    std::string result;
    for (unsigned left = below(most + 1); left > 0; --left)
        result += static_cast<char>('0' + below(10));
    return result;
}

std::string Choices::decimal()
{
    const char* const signs[] = {"", "", "-", "+"};
    std::string wholes = digits(below(4) == 0 ? 25 : 9);
    const std::string decimals = digits(below(4) == 0 ? 20 : 4);
    if (wholes.empty() && decimals.empty())
        wholes = "0";
    std::string result = signs[below(4)] + wholes;
    if (wholes.empty() || below(2) == 0)
        result += "." + decimals;
    if (below(8) == 0)
        result += "e" + std::to_string(static_cast<int>(below(80)) - 40);
    return result;
}

// Compilers take the operands of an expression in different orders, but the choices have one.
double Choices::real()
{
    switch (below(4)) {
        case 0:
            return below(100000) / 100.0;
        case 1: {
            const double dividend = static_cast<double>(bits()) - 2147483648.0;
            return dividend / (1 + below(1000));
        }
        case 2: {
            const double fraction = bits();
            return std::ldexp(fraction, static_cast<int>(below(200)) - 100);
        }
        default: {
            const unsigned long long all = manyBits();
            double value;
            std::memcpy(&value, &all, sizeof(value));
            return value;
        }
    }
}

BothWays::BothWays(sql::field_type keyType)
    : _keyType(keyType),
      _columns({sql::Field("id", keyType, sql::flag_primary_key), sql::Field("i", sql::type_int, 0),
                sql::Field("f", sql::type_float, sql::flag_not_null),
                sql::Field("b", sql::type_bool, 0), sql::Field("t", sql::type_time, 0),
                sql::Field("s", sql::type_text, sql::flag_not_null),
                sql::Field("u", sql::type_int, sql::flag_unique),
                sql::Field("w", sql::type_text, sql::flag_unique), sql::Field()})
{
    _first.open(":memory:", sql::Database::read_write_create, false, 0);
    _second.open(":memory:", sql::Database::read_write_create, false, 0);
    _byTable.initTable(_first.getHandle(), _columns.data());
    _byWriter.initTable(_second.getHandle(), _columns.data());
    _byTable.create();
    _byWriter.create();
}

// Whether the column takes it.
bool BothWays::setCell(sql::Record& record, int column, Choices& choices) const
{
    const sql::field_type type = record.getValue(column)->getType();
    switch (choices.below(type == sql::type_text ? 9 : 8)) {
        case 0:
            record.setNull(column);
            return true;
        case 1:
            record.setInteger(column, static_cast<int>(choices.below(2000)) - 1000);
            return true;
        case 2:
            record.setInteger(column, static_cast<sql::integer>(choices.manyBits()));
            return true;
        case 3:
            record.setBool(column, choices.below(2) == 0);
            return true;
        case 4:
            record.setTime(column, sql::Time(choices.below(2000000000)));
            return true;
        case 5: {
            const double value = choices.real();
            record.setDouble(column, value);
            return std::isfinite(value) || type == sql::type_text || type == sql::type_time;
        }
        case 6:
        case 7:
            record.setString(column, choices.decimal());
            return true;
        default:
            record.setString(column, choices.text());
            return true;
    }
}

void BothWays::setKey(sql::Record& record, Choices& choices) const
{
    const int key = static_cast<int>(choices.below(300));
    if (_keyType == sql::type_text && choices.below(2) == 0)
        record.setString(0, choices.text());
    else if (choices.below(4) == 0)
        record.setString(0, (choices.below(2) == 0 ? "00" : "+") + std::to_string(key));
    else
        record.setInteger(0, key);
}

std::string BothWays::write(Choices& choices)
{
    sql::Record record(_byTable.fields());
    setKey(record, choices);
    bool isTaken = true;
    for (int column = 1; column < record.columnCount(); ++column)
        isTaken = setCell(record, column, choices) && isTaken;
    bool byTable = false, byWriter = false;
    switch (choices.below(8)) {
        case 0:
            return erase(*record.getValue(0)) ? "" : "a row is erased one way alone";
        case 1:
        case 2:
            byTable = isTaken && update(record);
            byWriter = _writer.update(record);
            break;
        case 3:
        case 4:
            byTable = isTaken && upsert(record);
            byWriter = _writer.upsert(record);
            break;
        default:
            byTable = isTaken && _byTable.addRecord(record);
            byWriter = _writer.insert(record);
            break;
    }
    _accepted += byWriter ? 1 : 0;
    return byTable == byWriter ? ""
                               : "one way alone accepts " + record.dump(true) +
                                     ", the writer says " + _writer.error().text();
}

// `Table` can't update rows by a text key: what it would run, with its own literals.

static std::string literal(const sql::Record& record, int column)
{
    return record.getValue(column)->toSql(record.fields()->getByIndex(column)->getType());
}

bool BothWays::update(const sql::Record& record)
{
    if (_keyType == sql::type_int)
        return _byTable.updateRecord(record);
    std::string sql = "update item set ";
    for (int i = 1; i < record.columnCount(); ++i)
        sql += (i == 1 ? "" : ", ") + record.fields()->getByIndex(i)->getName() + "=" +
               literal(record, i);
    return sql::RecordSet(_first.getHandle()).query(sql + " where id = " + literal(record, 0));
}

bool BothWays::upsert(const sql::Record& record)
{
    const std::string sql = "select count(*) from item where id = " + literal(record, 0);
    return sql::queryNumber(_first.getHandle(), sql) == 0 ? _byTable.addRecord(record)
                                                          : update(record);
}

bool BothWays::erase(const sql::Value& key)
{
    return sql::RecordSet(_first.getHandle())
               .query("delete from item where id = " + key.toSql(_keyType)) &&
           (_keyType == sql::type_int ? _writer.erase(key.asInteger())
                                      : _writer.erase(key.asString()));
}

std::string BothWays::difference()
{
    const std::string first = rowsOf(_byTable), second = rowsOf(_byWriter);
    if (first != second)
        return "Table stores\n" + first + "TableWriter stores\n" + second;
    sql::Statement statement;
    if (!_byTable.open("", "id") || !statement.select(_byWriter, "", "id"))
        return "the rows cannot be read";
    sql::Record record(_byWriter.fields());
    for (int i = 0; i < _byTable.recordCount(); ++i)
        if (!statement.next() || !statement.read(record) ||
            _byTable.getRecord(i)->dump(true) != record.dump(true))
            return "Table reads " + _byTable.getRecord(i)->dump(true) + ", Statement " +
                   record.dump(true);
    return statement.next() ? "Statement reads more rows" : "";
}

void BothWays::clear()
{
    for (sql::Database* database : {&_first, &_second})
        sql::RecordSet(database->getHandle()).query("delete from item");
    _byTable.open("0");
}

} // namespace sqltest
