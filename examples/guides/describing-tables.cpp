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

const sql::Field keyless[] = {sql::Field("name", sql::type_text, 0), sql::Field()};

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

    // What a description cannot say, a statement can.
    const bool indexed = pumps.query("create index if not exists pump_serviced on pump (serviced)");
    std::cout << indexed << "\n";

    std::cout << std::flush; // what the platform says of the next one goes to standard error
    sql::Table names("name");
    const bool valid = names.initTable(database.getHandle(), keyless);
    std::cout << valid << "\n";
    return 0;
}
