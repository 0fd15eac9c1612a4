// What a program of another project looks like that uses the companion library.

#include <cstdio>

#include <Sql.h>
#include <SqlPrepared.h>

int main()
{
    const sql::Field fields[] = {sql::Field("id", sql::type_int, sql::flag_primary_key),
                                 sql::Field("name", sql::type_text, sql::flag_not_null),
                                 sql::Field()};
    sql::Database database;
    database.open(":memory:", sql::Database::read_write_create, false, 0);
    sql::Table table(database.getHandle(), "item", fields);
    sql::Record record(table.fields());
    record.setInteger("id", 7);
    record.setString("name", "O'Neil");
    if (!table.create() || !table.addRecord(record))
        return 1;

    sql::Statement statement;
    statement.selectByKey(table);
    if (!statement.find(7))
        return 1;
    const std::string name = statement.getString("name");
    std::puts(name.c_str());
    return name == "O'Neil" ? 0 : 1;
}
