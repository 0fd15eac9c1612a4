#include <climits>

#include <sqlite3.h>

#include "Trace.h"

namespace scenario
{

static const sql::Field itemFields[] = {
    sql::Field("id", sql::type_int, sql::flag_primary_key),
    sql::Field("name", sql::type_text, sql::flag_unique),
    sql::Field("price", sql::type_float, 0),
    sql::Field("active", sql::type_bool, 0),
    sql::Field("changed", sql::type_time, 0),
    sql::Field(),
};

static const sql::Field codeFields[] = {
    sql::Field("code", sql::type_text, sql::flag_primary_key),
    sql::Field("count", sql::type_int, 0),
    sql::Field(),
};

static sql::Record item(const sql::Table& table, sql::integer id, const sql::string& name)
{
    sql::Record record(table.fields());
    record.setInteger("id", id);
    record.setString("name", name);
    record.setDouble("price", static_cast<double>(id % 1000) / 8);
    record.setBool("active", id % 2 != 0);
    record.setTime("changed", sql::Time(id % 1000000000));
    return record;
}

void databases()
{
    heading("Databases");
    STEP(sql::Database database);
    ASK(database.isOpen());
    ASK(static_cast<const void*>(database.getHandle()));
    ASK(database.getUserVersion());
    ASK(database.setUserVersion(1));
    ASK(database.transactionBegin());
    ASK(database.open("/nonexistent/file", sql::Database::read_only, true, 10));
    ASK(database.isOpen());
    ASK(database.open(":memory:", static_cast<sql::Database::AccessMode>(9), true, 10));
    ASK(database.open(":memory:", sql::Database::read_write_create, false, 10));
    ASK(database.isOpen());
    ASK(database.getUserVersion());
    ASK(database.setUserVersion(INT_MAX));
    ASK(database.getUserVersion());
    ASK(database.setUserVersion(2147483648U));
    ASK(sql::runOneStepSqlStmt(database.getHandle(), "PRAGMA user_version=-1;"));
    ASK(database.getUserVersion());

    ASK(database.transactionCommit());
    ASK(database.transactionRollback());
    ASK(database.transactionBegin());
    ASK(database.transactionBegin());
    ASK(database.transactionRollback());
    ASK(database.transactionBegin());
    ASK(database.transactionCommit());

    sqlite3_stmt* unfinished = nullptr;
    sqlite3* handle = database.getHandle();
    sqlite3_prepare_v2(handle, "select 1", -1, &unfinished, nullptr);
    STEP(database.close());
    ASK(database.isOpen());
    sqlite3_finalize(unfinished);
    sqlite3_close(handle);
}

static void tellRecordSet(sql::RecordSet& set)
{
    STEP(const sql::RecordSet& readOnly = set);
    ASK(set.isResultOk());
    ASK(set.count());
    ASK(set.fields().toSql());
    ASK(set.getRecord(0));
    ASK(set.getRecord(-1));
    ASK(readOnly.getRecord(1));
    ASK(readOnly.getTopRecord());
    ASK(readOnly.getTopRecordFirstValue());
    ASK(set.toString());
}

void recordSets()
{
    heading("Record sets");
    sql::Database database;
    database.open(":memory:", sql::Database::read_write_create, false, 0);
    STEP(sql::RecordSet unconnected);
    ASK(unconnected.query("select 1"));
    tellRecordSet(unconnected);
    ASK(unconnected.initRecordSet(database.getHandle(), itemFields));
    ASK(unconnected.query("select 9223372036854775807, 'a|b', 0.1, 1, -1, 'dropped'"));
    tellRecordSet(unconnected);

    STEP(sql::RecordSet floats(database.getHandle(), itemFields));
    ASK(floats.query("select 1, 0.1, 1.0 / 3, 2.0 / 3 * 1e15, 123456789012345678 * 1.0"));
    ASK(floats.query("select 1, 1e22, 1e-7, 1.7976931348623157e308, 5e-324"));
    ASK(floats.query("select 1, 9007199254740993.0, 1e23, 0.3 - 0.1, 123456.789e3"));

    STEP(sql::RecordSet columnless(database.getHandle()));
    ASK(columnless.query("select 1 union select 2"));
    tellRecordSet(columnless);

    STEP(sql::RecordSet set(database.getHandle(), codeFields));
    ASK(set.query("select 'a', 1 union select 'b', null order by 1"));
    tellRecordSet(set);
    ASK(set.query("select 'c', 1; nonsense"));
    tellRecordSet(set);
    ASK(set.query("select 'd' where 0"));
    tellRecordSet(set);
    STEP(set.close());
    tellRecordSet(set);

    STEP(sql::RecordSet other(database.getHandle(), set.fields()));
    char cell[] = "e";
    char* cells[] = {cell, nullptr};
    ASK(sql::RecordSet::on_next_record(&other, 2, cells, nullptr));
    tellRecordSet(other);
}

static void unconnectedTable()
{
    heading("A table without connection");
    STEP(sql::Table table("item"));
    ASK(table.name());
    ASK(static_cast<const void*>(table.getHandle()));
    ASK(table.exists());
    ASK(table.create());
    ASK(table.open());
    ASK(table.truncate());
    ASK(table.remove());
    ASK(table.totalRecordCount());
    ASK(table.getDefinition());
    ASK(table.toString());
    ASK(table.getRecordByKeyId(1));
    ASK(table.deleteRecord("a"));
    ASK(table.hasRecordWithKeyId(1));
    ASK(table.hasRecordWithKeyId("a"));
    ASK(table.deleteRecord(1));
    ASK(table.getRecordByKeyId("a"));
    STEP(const sql::Record empty(table.fields()));
    ASK(table.addRecord(empty));
    ASK(table.updateRecord(empty));
    ASK(table.addOrUpdateRecord(1, empty));
    ASK(table.addOrUpdateRecord("a", empty));
}

void tables()
{
    unconnectedTable();

    heading("A table");
    sql::Database database;
    database.open(":memory:", sql::Database::read_write_create, false, 0);
    STEP(sql::Table table("item"));
    ASK(table.initTable(database.getHandle(), itemFields));
    ASK(table.getDefinition());
    ASK(table.toString());
    ASK(table.totalRecordCount());
    ASK(table.create());
    ASK(table.create());
    ASK(table.addRecord(item(table, 1, "b")));
    ASK(table.addRecord(item(table, 2, "a")));
    ASK(table.addRecord(item(table, 3, "a")));
    ASK(table.open());
    ASK(table.recordCount());
    ASK(table.getTopRecord());
    ASK(table.open("id > 1"));
    ASK(table.open("", "name"));
    ASK(table.open("id > 0", "name desc"));
    ASK(table.getRecord(0));
    ASK(table.getRecord(2));
    ASK(table.open("nonsense ="));
    ASK(table.query("select 7, 'x'"));
    ASK(table.getTopRecord());
    ASK(table.updateRecord(item(table, 2, "it's")));
    ASK(table.updateRecord(item(table, 99, "z")));
    ASK(table.deleteRecords("id = 1"));
    ASK(table.totalRecordCount());
    ASK(table.deleteRecords(""));
    ASK(table.truncate());
    ASK(table.remove());
    ASK(table.remove());
    ASK(static_cast<const void*>(table.getHandle()));
}

static void integerKeys(sql::Table& table)
{
    for (sql::integer key : {-5LL, 4294967296LL, LLONG_MIN, LLONG_MAX}) {
        STEP(const sql::string name = "n" + sql::intToStr(key));
        ASK(table.hasRecordWithKeyId(key));
        ASK(table.addOrUpdateRecord(key, item(table, key, name)));
        ASK(table.hasRecordWithKeyId(key));
        ASK(table.addOrUpdateRecord(key, item(table, key, name + "'")));
        ASK(table.getRecordByKeyId(key));
    }
    ASK(table.deleteRecord(4294967296LL));
    ASK(table.deleteRecord(4294967296LL));
    ASK(table.getRecordByKeyId(4294967296LL));
    ASK(table.open("", "id"));
}

static void textKeys(sql::Table& table)
{
    STEP(sql::Record record(table.fields()));
    for (const char* key : {"A-17", "\xC3\xA4\x80\xFF", "code", "a\"b"}) {
        STEP(record.setString("code", key));
        ASK(table.hasRecordWithKeyId(key));
        ASK(table.addOrUpdateRecord(key, record));
        ASK(table.getRecordByKeyId(key));
        ASK(table.addOrUpdateRecord(key, record));
        ASK(table.deleteRecord(key));
    }
}

void keys()
{
    heading("Keys");
    sql::Database database;
    database.open(":memory:", sql::Database::read_write_create, false, 0);
    STEP(sql::Table items(database.getHandle(), "item", itemFields));
    ASK(items.create());
    integerKeys(items);
    STEP(sql::Table codes(database.getHandle(), "code_table", sql::FieldSet(codeFields)));
    ASK(codes.create());
    textKeys(codes);
}

void copies()
{
    heading("Copies");
    sql::Database database;
    database.open(":memory:", sql::Database::read_write_create, false, 0);
    STEP(sql::Table source(database.getHandle(), "source", itemFields));
    STEP(sql::Table copy(database.getHandle(), "copy", itemFields));
    ASK(copy.backup(source));
    ASK(source.create());
    ASK(source.addRecord(item(source, 1, "a")));
    ASK(source.addRecord(item(source, 1LL << 40, "\xE4\xB8\xAD")));
    ASK(copy.copyRecords(source));
    ASK(copy.backup(source));
    ASK(copy.copyRecords(source));
    STEP(sql::Table twin(copy));
    ASK(twin.open());
    STEP(twin = source);
    ASK(twin.recordCount());
    ASK(twin.getTopRecord());
}

} // namespace scenario
