// The same ten lines with the companion library.

#include <cstdio>

#include <Sql.h>
#include <SqlPrepared.h>

int main()
{
    std::remove("items.db");
    const sql::Field columns[] = {sql::Field("id", sql::type_int, sql::flag_primary_key),
                                  sql::Field("name", sql::type_text, sql::flag_not_null),
                                  sql::Field("price", sql::type_float, 0), sql::Field()};
    sql::Database database;
    if (!database.open("items.db", sql::Database::read_write_create, false, 1000))
        return 1;
    sql::Table items(database.getHandle(), "item", columns);
    if (!items.create())
        return 1;
    sql::TableWriter writer(items);
    writer.setInteger("id", 7);
    writer.setString("name", "Driver's cab");
    writer.setDouble("price", 2.5);
    sql::Statement select;
    if (!writer.insert() || !select.select(items, "price > ?1") || !select.bindDouble(1, 2.0))
        return 1;
    while (select.next())
        std::printf("%s: %g\n", select.getText(1), select.getDouble(2));
    if (select.error())
        return 1;
    return 0;
}
