// Describing tables: columns of every type, constraints, and what makes a description valid.

#include <iostream>

#include <Sql.h>

const sql::Field pumpColumns[] = {
    sql::Field("id", sql::type_int, sql::flag_primary_key),
    sql::Field("serial", sql::type_text, sql::flag_not_null | sql::flag_unique),
    sql::Field("bar", sql::type_float, 0),
    sql::Field("running", sql::type_bool, sql::flag_not_null),
    sql::Field("serviced", sql::type_time, 0),
    sql::Field()};

const sql::Field bearingColumns[] = {sql::Field("id", sql::type_int, sql::flag_primary_key),
                                     sql::Field("pump", sql::type_int, sql::flag_not_null),
                                     sql::Field("microns", sql::type_float, 0), sql::Field()};

const sql::Field keyless[] = {sql::Field("name", sql::type_text, 0), sql::Field()};

// Foreign keys, checks and other keys belong in the statement that creates the table.
bool createBearings(sql::Database& database)
{
    sql::RecordSet statement(database.getHandle());
    sql::Table bearings(database.getHandle(), "bearing", bearingColumns);
    return statement.query("PRAGMA foreign_keys = ON") && // after each open
           (bearings.exists() ||
            statement.query("create table bearing (id INTEGER PRIMARY KEY, "
                            "pump INTEGER NOT NULL references pump(id), microns REAL)"));
}

bool addBearing(sql::Database& database, int id, int pump)
{
    sql::Table bearings(database.getHandle(), "bearing", bearingColumns);
    sql::Record bearing(bearings.fields());
    bearing.setInteger("id", id);
    bearing.setInteger("pump", pump);
    return bearings.addRecord(bearing);
}

int main()
{
    sql::Database database;
    if (!database.open(":memory:", sql::Database::read_write_create, false, 0))
        return 1;

    sql::Table pumps("pump");
    if (!pumps.initTable(database.getHandle(), pumpColumns) || !pumps.create())
        return 1;
    std::cout << pumps.getDefinition() << "\n\n" << pumps.fields().dump() << "\n\n";

    sql::Record pump(pumps.fields());
    pump.setInteger("id", 1);
    pump.setString("serial", "P-100");
    pump.setDouble("bar", 2.5);
    pump.setBool("running", true);
    pump.setTime("serviced", sql::Time(1700000000));
    std::cout << pump.toSqlInsert("pump") << "\n";
    std::cout << std::boolalpha << pumps.addRecord(pump) << "\n";

    pump.setInteger("id", 2); // the same serial number once more
    std::cout << pumps.addRecord(pump) << "\n";

    std::cout << sql::RecordSet(database.getHandle())
                     .query("create index if not exists pump_serviced on pump (serviced)")
              << "\n";
    std::cout << createBearings(database) << "\n";
    std::cout << addBearing(database, 1, 1) << "\n";
    std::cout << addBearing(database, 2, 7) << "\n"; // there is no pump 7

    std::cout << std::flush; // the report of the next mistake goes to standard error
    sql::Table names("name");
    const bool valid = names.initTable(database.getHandle(), keyless);
    std::cout << valid << "\n";
    return 0;
}
