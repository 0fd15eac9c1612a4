// Brings one line or report out of every source file of the library that has any.

#include <Sql.h>

int main()
{
    const sql::Field described[] = {sql::Field("ratio", sql::type_float, sql::flag_primary_key),
                                    sql::Field()};
    const sql::FieldSet fields(described);
    const sql::Record record(fields);
    record.getValue("nosuch");
    sql::Field("", sql::type_int, 0);
    sql::type2Str(static_cast<sql::field_type>(7));

    sql::Database database;
    database.open("", static_cast<sql::Database::AccessMode>(7), false, 0);
    database.open(":memory:", sql::Database::read_write_create, false, 0);
    sql::Table table(database.getHandle(), "item", fields);
    table.create();
    table.query("select nothing");
    return 0;
}
