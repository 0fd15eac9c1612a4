// Moving here: the same ten lines as in the folder moving-here, where they are in other libraries.

#include <cstdio>

#include <Sql.h>

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
    sql::Record item(items.fields());
    item.setInteger("id", 7);
    item.setString("name", "Driver's cab");
    item.setDouble("price", 2.5);
    if (!items.create() || !items.addRecord(item) || !items.open("price > 2"))
        return 1;
    for (int i = 0; i < items.recordCount(); ++i)
        std::printf("%s: %g\n", items.getRecord(i)->getValue("name")->asString().c_str(),
                    items.getRecord(i)->getValue("price")->asDouble());
    return 0;
}
