// A record with well-typed cells renders statements that SQLite parses and that store its cells.

#include <sqlite3.h>

#include "Fuzz.h"

static const sql::Field itemFields[] = {
    sql::Field("id", sql::type_int, sql::flag_primary_key),
    sql::Field("name", sql::type_text, 0),
    sql::Field("price", sql::type_float, 0),
    sql::Field("active", sql::type_bool, 0),
    sql::Field("created", sql::type_time, 0),
    sql::Field(),
};

static void fill(sql::Record& record, FuzzedDataProvider& input)
{
    if (input.ConsumeBool())
        record.setString("name", input.ConsumeRandomLengthString(64));
    else
        record.setNull("name");
    record.setDouble("price", input.ConsumeFloatingPointInRange<double>(-1e18, 1e18));
    record.setBool("active", input.ConsumeBool());
    record.setTime("created", sql::Time(input.ConsumeIntegral<std::int32_t>()));
}

void fuzz::tryInput(FuzzedDataProvider& input)
{
    static sql::Database database;
    static sql::Table table("item");
    if (!database.isOpen()) {
        database.open(":memory:", sql::Database::read_write_create, false, 0);
        table.initTable(database.getHandle(), itemFields);
        table.create();
    }

    sql::Record record(table.fields());
    const auto id = input.ConsumeIntegral<long long>();
    record.setInteger("id", id);
    fill(record, input);
    const std::string text = record.getValue("name")->asString();
    const bool whole = text.find('\0') == std::string::npos; // a NUL byte ends a statement
    table.truncate();
    require(table.addRecord(record) == whole, "added");
    if (!whole)
        return;

    const sql::Record* read = table.getRecordByKeyId(id);
    require(read != nullptr, "found");
    require(read->equalsColumnValue(&record, "name"), "the name comes back");
    require(read->equalsColumnValue(&record, "active"), "the truth comes back");
    require(read->getValue("created")->asInteger() == record.getValue("created")->asInteger(),
            "the time comes back");
    fill(record, input);
    if (record.getValue("name")->asString().find('\0') == std::string::npos)
        require(table.updateRecord(record), "updated");
}
