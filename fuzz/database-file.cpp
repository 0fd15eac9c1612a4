// A database file of any bytes: no crash, no hang, and every failure told by its result.

#include <fstream>

#include <sqlite3.h>
#include <unistd.h>

#include "Fuzz.h"

static int giveUp(void* steps)
{
    return ++*static_cast<int*>(steps) > 200;
}

static const sql::Field itemFields[] = {
    sql::Field("id", sql::type_int, sql::flag_primary_key),
    sql::Field("name", sql::type_text, 0),
    sql::Field("price", sql::type_float, 0),
    sql::Field(),
};

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    static const std::string path = "/dev/shm/sqlwrapper-fuzz-" + std::to_string(getpid()) + ".db";
    std::ofstream(path, std::ios::binary)
        .write(reinterpret_cast<const char*>(data), static_cast<std::streamsize>(size));

    sql::Database database;
    if (database.open(path, sql::Database::read_write, false, 0)) {
        int steps = 0;
        sqlite3_progress_handler(database.getHandle(), 1000, giveUp, &steps);
        database.getUserVersion();
        sql::Table table(database.getHandle(), "item", itemFields);
        if (table.open()) {
            for (int i = 0; i < table.recordCount(); ++i)
                table.getRecord(i)->toString();
        }
        sql::Record record(table.fields());
        record.setInteger("id", 1);
        record.setString("name", "a name");
        record.setDouble("price", 2.5);
        table.addOrUpdateRecord(1, record);
        table.deleteRecord(2);
        table.totalRecordCount();
        sql::Table copy(database.getHandle(), "copy", itemFields);
        copy.backup(table);
    }
    database.close();
    unlink(path.c_str());
    unlink((path + "-journal").c_str());
    return 0;
}
