// A database file of any bytes: no crash, no hang, and every result, every row and every byte of
// the file as SQLite itself has it on the same file.

#include <fstream>

#include <sqlite3.h>
#include <unistd.h>

#include "Compared.h"

namespace
{

const sql::Field itemFields[] = {
    sql::Field("id", sql::type_int, sql::flag_primary_key),
    sql::Field("name", sql::type_text, 0),
    sql::Field("price", sql::type_float, 0),
    sql::Field(),
};

int giveUp(void* steps)
{
    return ++*static_cast<int*>(steps) > 200;
}

void use(sql::Database& database)
{
    fuzz::Compared compared(database.getHandle());
    compared.number("PRAGMA user_version;", database.getUserVersion());
    sql::Table table(database.getHandle(), "item", itemFields);
    compared.rows("select * from item", table.open(), table);
    sql::Record record(table.fields());
    record.setInteger("id", 1);
    record.setString("name", "a name");
    record.setDouble("price", 2.5);
    compared.either("select count(*) from item where id = 1",
                    "update item set name='a name', price=2.50000000 where id = 1",
                    "insert into item (id, name, price) values (1, 'a name', 2.50000000)",
                    table.addOrUpdateRecord(1, record));
    compared.statement("delete from item where id = 2", table.deleteRecord(2));
    compared.number("select count(*) from item", table.totalRecordCount());
    sql::Table copy(database.getHandle(), "copy", itemFields);
    compared.backup("item", "copy", copy.backup(table));
}

} // namespace

void fuzz::tryInput(FuzzedDataProvider& input)
{
    static const std::string path = "/dev/shm/sqlwrapper-fuzz-" + std::to_string(getpid()) + ".db";
    std::ofstream(path, std::ios::binary) << input.ConsumeRemainingBytesAsString();
    {
        sql::Database database;
        require(database.open(path, sql::Database::read_write, false, 0), "opened");
        int steps = 0;
        sqlite3_progress_handler(database.getHandle(), 1000, giveUp, &steps);
        use(database);
    }
    unlink(path.c_str());
    unlink((path + "-journal").c_str());
}
