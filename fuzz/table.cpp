// Hostile names, keys and conditions: whatever they make of the SQL, an answer comes back.

#include <sqlite3.h>

#include "Fuzz.h"

static int refuseFiles(void*, int action, const char*, const char*, const char*, const char*)
{
    return action == SQLITE_ATTACH || action == SQLITE_PRAGMA ? SQLITE_DENY : SQLITE_OK;
}

static int giveUp(void* steps)
{
    return ++*static_cast<int*>(steps) > 200;
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    FuzzedDataProvider input(data, size);
    const std::string column = input.ConsumeRandomLengthString(16);
    const sql::Field fields[] = {
        sql::Field(column, sql::type_text, sql::flag_primary_key),
        sql::Field("value", sql::type_int, 0),
        sql::Field(),
    };
    sql::Database database;
    database.open(":memory:", sql::Database::read_write_create, false, 0);
    int steps = 0;
    sqlite3_set_authorizer(database.getHandle(), refuseFiles, nullptr);
    sqlite3_progress_handler(database.getHandle(), 1000, giveUp, &steps);
    sqlite3_limit(database.getHandle(), SQLITE_LIMIT_LENGTH, 100000);

    sql::Table table(database.getHandle(), input.ConsumeRandomLengthString(16), fields);
    const std::string key = input.ConsumeRandomLengthString(24);
    const std::string where = input.ConsumeRandomLengthString(48);
    const std::string order = input.ConsumeRandomLengthString(24);
    table.create();
    sql::Record record(table.fields());
    record.setString(0, key);
    record.setString(1, input.ConsumeRandomLengthString(16));
    table.addRecord(record);
    table.addOrUpdateRecord(key, record);
    table.hasRecordWithKeyId(key);
    if (const sql::Record* found = table.getRecordByKeyId(key))
        fuzz::require(found == table.getRecord(0), "the first row held");
    table.open(where, order);
    for (int i = 0; i < table.recordCount(); ++i)
        fuzz::require(table.getRecord(i)->columnCount() == table.fields().count(), "whole rows");
    table.deleteRecords(where);
    table.deleteRecord(key);
    table.exists();
    table.totalRecordCount();
    sql::Table copy(database.getHandle(), "copy", fields);
    copy.backup(table);
    table.remove();
    return 0;
}
