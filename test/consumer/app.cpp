// What a program of another project looks like.

#include <cstdio>
#include <string>

#include <Sql.h>

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

    if (!table.create() || !table.addRecord(record) || !table.open("id = 7"))
        return 1;
    const std::string row = table.getTopRecord()->toString();
    std::puts(row.c_str());
    return row == "7|O'Neil" ? 0 : 1;
}
