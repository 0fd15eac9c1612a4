// Items as records of the library.

#ifndef SQLW_BENCH_RECORDS_H
#define SQLW_BENCH_RECORDS_H

#include <Sql.h>

#include "../Contestant.h"

namespace bench
{

enum Column { id, name, price, active, created, columnsPerItem };

/// The two ways to name a column of the item that begins at column `first`.
struct ByPosition
{
    static int of(int first, Column column) { return first + column; }
};
struct ByName
{
    static const char* of(int, Column column)
    {
        static const char* const names[] = {"id", "name", "price", "active", "created"};
        return names[column];
    }
};

inline sql::FieldSet describe(std::size_t itemsPerRow)
{
    std::vector<sql::Field> fields;
    for (std::size_t i = 0; i < itemsPerRow; ++i) {
        const std::string suffix = i > 0 ? "_" + std::to_string(i + 1) : "";
        const int key = i == 0 ? sql::flag_primary_key : 0;
        fields.emplace_back("id" + suffix, sql::type_int, key);
        fields.emplace_back("name" + suffix, sql::type_text, sql::flag_not_null);
        fields.emplace_back("price" + suffix, sql::type_float, 0);
        fields.emplace_back("active" + suffix, sql::type_bool, 0);
        fields.emplace_back("created" + suffix, sql::type_time, 0);
    }
    fields.emplace_back();
    return sql::FieldSet(fields.data());
}

template <typename Columns> void fill(sql::Record& record, const Item* row)
{
    for (int first = 0; first < record.columnCount(); first += columnsPerItem, ++row) {
        record.setInteger(Columns::of(first, id), row->id);
        record.setString(Columns::of(first, name), row->name);
        record.setDouble(Columns::of(first, price), row->price);
        record.setBool(Columns::of(first, active), row->active);
        record.setTime(Columns::of(first, created), sql::Time(sql::integer{row->created}));
    }
}

template <typename Columns> void add(const sql::Record& record, Reading& reading)
{
    for (int first = 0; first < record.columnCount(); first += columnsPerItem)
        reading.add(record.getValue(Columns::of(first, id))->asInteger(),
                    record.getValue(Columns::of(first, name))->asString().size(),
                    record.getValue(Columns::of(first, price))->asDouble(),
                    record.getValue(Columns::of(first, active))->asBool(),
                    record.getValue(Columns::of(first, created))->asTime().asInteger());
}

} // namespace bench

#endif
