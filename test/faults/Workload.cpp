#include "Workload.h"

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <functional>

#include <sqlite3.h>

#include "Reports.h"
#include "Session.h"

namespace faults
{

const sql::Field itemFields[] = {
    sql::Field("id", sql::type_int, sql::flag_primary_key),
    sql::Field("name", sql::type_text, sql::flag_not_null),
    sql::Field("price", sql::type_float, 0),
    sql::Field("active", sql::type_bool, 0),
    sql::Field("created", sql::type_time, 0),
    sql::Field(),
};

namespace
{

void openModes(Witness& witness, const std::string& path)
{
    Session(witness, path, sql::Database::read_only);
    Session(witness, path, sql::Database::read_write);
    Session created(witness, path + "-new", sql::Database::read_write_create);
    witness.operation("create", [&] { return created.item.create(); });
    witness.operation(
        "reopen", [&] { return created.database.open(path, sql::Database::read_only, false, 0); });
}

void create(Witness& witness, const std::string& path)
{
    Session session(witness, path);
    sql::Table fresh("fresh");
    witness.operation("initTable",
                      [&] { return fresh.initTable(session.database.getHandle(), itemFields); });
    if (fresh.fields().count() != 5)
        return;
    // create() returns true when it cannot find out whether the table exists, and logs a line.
    const long errors = reports.errors;
    const auto createSilently = [&] { return fresh.create() && reports.errors == errors; };
    witness.operation("create", createSilently, {{"select count(*) from fresh", "0"}});
}

void add(Witness& witness, const std::string& path)
{
    Session session(witness, path);
    for (sql::integer id = 10; id < 13; ++id)
        session.add(session.item, "item", id);
}

void update(Witness& witness, const std::string& path)
{
    witness.either("select name || price from item where id = 2", longName + std::string("2.5"),
                   "renamed2.5");
    Session session(witness, path);
    session.withRecord(2, "renamed", [&](const sql::Record& record) {
        witness.operation("updateRecord", [&] { return session.item.updateRecord(record); },
                          {{countWhere("id = 2 and name = 'renamed' and price = 2.5"), "1"}});
    });
}

void addOrUpdate(Witness& witness, const std::string& path)
{
    Session session(witness, path);
    for (const sql::integer id : {3, 30})
        session.withRecord(id, "either", [&](const sql::Record& record) {
            witness.operation(
                "addOrUpdateRecord", [&] { return session.item.addOrUpdateRecord(id, record); },
                {{countWhere("name = 'either' and id = " + std::to_string(id)), "1"}});
        });
}

void fetch(Witness& witness, const std::string& path)
{
    Session session(witness, path);
    const sql::Record* record = nullptr;
    const bool found = witness.operation("getRecordByKeyId", [&] {
        record = session.item.getRecordByKeyId(4);
        return record != nullptr;
    });
    if (found && session.item.fields().count() == 5) {
        std::string text;
        const bool read = witness.operation("toString", [&] {
            text = record->getValue("name")->asString() + record->getValue("price")->asString();
            return true;
        });
        if (read)
            same(witness, text, std::string(longName) + "4.5");
    }
    witness.operation("hasRecordWithKeyId", [&] { return session.item.hasRecordWithKeyId(5); });
    witness.operation("totalRecordCount", [&] { return session.item.totalRecordCount() == 5; });
    witness.operation("exists", [&] { return session.item.exists(); });
}

// Reads rows, and compares them with those that SQLite itself delivered. All of them must be held,
// even when the read failed after some. Where memory ran out, the last ones may be missing.
bool readRows(Witness& witness, Session& session, sql::Table& table, const char* name,
              const std::function<bool()>& read)
{
    long delivered = 0;
    const auto count = [](unsigned, void* counter, void* statement, void*) {
        const char* sql = sqlite3_sql(static_cast<sqlite3_stmt*>(statement));
        if (sql && std::strncmp(sql, "select * from ", 14) == 0) // and not what SQLite reads itself
            ++*static_cast<long*>(counter);
        return 0;
    };
    sqlite3* const db = session.database.getHandle();
    if (db)
        sqlite3_trace_v2(db, SQLITE_TRACE_ROW, count, &delivered);
    const long throws = witness.outOfMemory();
    reports.last[0] = '\0';
    const bool succeeded = witness.operation(name, read);
    if (db)
        sqlite3_trace_v2(db, 0, nullptr, nullptr);
    const bool shortOfMemory = witness.outOfMemory() != throws || lastLineHas("=SQLITE_NOMEM");
    witness.expect(shortOfMemory ? table.recordCount() <= delivered
                                 : table.recordCount() == delivered,
                   std::string(name) + " holds " + std::to_string(table.recordCount()) + " of " +
                       std::to_string(delivered) + " rows that SQLite delivered");
    return succeeded;
}

void openWhereOrder(Witness& witness, const std::string& path)
{
    Session session(witness, path);
    sql::Table& item = session.item;
    if (readRows(witness, session, item, "open", [&] { return item.open(); }))
        witness.expect(item.recordCount() == 5, "open returned true and lacks rows");
    const bool some = readRows(witness, session, item, "open where",
                               [&] { return item.open("id > 2", "id desc"); });
    if (some)
        witness.expect(item.recordCount() == 3, "open with a condition lacks rows");
    if (some && item.fields().count() == 5)
        witness.expect(item.getTopRecord()->getValue(0)->asInteger() == 5,
                       "open with an order gave another first row");
}

// Rows of several pages, so that a read can fail after some of them.
void openMany(Witness& witness, const std::string& path)
{
    Session session(witness, path);
    sql::Table many("many");
    witness.operation("initTable",
                      [&] { return many.initTable(session.database.getHandle(), itemFields); });
    const bool ok = readRows(witness, session, many, "open", [&] { return many.open(); });
    if (ok)
        witness.expect(many.recordCount() == rowsOfMany, "open returned true and lacks rows");
    if (many.fields().count() != 5)
        return;
    for (int i = 0; i < many.recordCount(); ++i) {
        const sql::Value& id = *many.getRecord(i)->getValue(0);
        const bool isLast = i + 1 == many.recordCount();
        // SQLite makes NULL of a number for whose text it has no memory, and fails after that row.
        witness.expect((id.asInteger() == i + 1 || (!ok && isLast && id.isNull())) &&
                           many.getRecord(i)->getValue(1)->asString().size() == textOfMany,
                       "row " + std::to_string(i + 1) + " is not whole");
    }
}

void remove(Witness& witness, const std::string& path)
{
    witness.either(countWhere("id > 3"), "2", "0");
    Session session(witness, path);
    witness.operation("deleteRecord", [&] { return session.item.deleteRecord(1); },
                      {{countWhere("id = 1"), "0"}});
    witness.operation("deleteRecords", [&] { return session.item.deleteRecords("id > 3"); },
                      {{countWhere("id > 3"), "0"}});
}

void truncate(Witness& witness, const std::string& path)
{
    witness.either("select count(*) from item", "5", "0");
    Session session(witness, path);
    witness.operation("truncate", [&] { return session.item.truncate(); },
                      {{"select count(*) from item", "0"}});
}

void drop(Witness& witness, const std::string& path)
{
    Session session(witness, path);
    witness.operation("remove", [&] { return session.item.remove(); },
                      {{"select count(*) from sqlite_master where name = 'item'", "0"}});
}

void copyRows(Witness& witness, const std::string& path)
{
    Session session(witness, path);
    witness.operation("truncate", [&] { return session.copy.truncate(); },
                      {{"select count(*) from copy", "0"}});
    if (witness.operation("open", [&] { return session.item.open("id < 4"); }))
        witness.operation(
            "copyRecords", [&] { return session.copy.copyRecords(session.item); },
            {{countWhere("id < 4", "copy"), "3"}, {"select count(*) from copy", "3"}});
}

void backup(Witness& witness, const std::string& path)
{
    Session session(witness, path);
    witness.operation("backup", [&] { return session.copy.backup(session.item); },
                      {{"select count(*) from copy", "5"}});
}

void transaction(Witness& witness, const std::string& path)
{
    witness.either("select count(*) from item where id between 20 and 23", "0", "4");
    witness.either("select count(*) from item where id <= 5", "5", "5");
    Session session(witness, path);
    sql::Database& database = session.database;
    const auto commit = [&] { return database.transactionCommit(); };
    const auto rollback = [&] { return database.transactionRollback(); };
    if (witness.begin([&] { return database.transactionBegin(); })) {
        bool ok = true;
        for (sql::integer id = 20; ok && id < 24; ++id)
            ok = session.add(session.item, "item", id);
        if (ok)
            witness.end("transactionCommit", commit);
        else
            witness.end("transactionRollback", rollback);
    }

    if (witness.begin([&] { return database.transactionBegin(); })) {
        witness.operation("deleteRecords", [&] { return session.item.deleteRecords("id <= 5"); });
        witness.end("transactionRollback", rollback);
    }
}

void versionStamp(Witness& witness, const std::string& path)
{
    Session session(witness, path);
    witness.operation("setUserVersion", [&] { return session.database.setUserVersion(7); },
                      {{"pragma user_version", "7"}});
    witness.operation("getUserVersion", [&] { return session.database.getUserVersion() >= 0; });
}

// Copies of what holds rows and descriptions: whole, or not made.
void copies(Witness& witness, const std::string& path)
{
    Session session(witness, path);
    const sql::FieldSet* fields = &session.item.fields();
    if (!witness.operation("open", [&] { return session.item.open(); }) || fields->count() != 5)
        return;
    sql::Table assigned("nothing");
    witness.operation("copy a table", [&] {
        sql::Table table(session.item);
        assigned = table;
        return same(witness, std::to_string(table.recordCount()), "5");
    });
    // An assignment that runs out of memory leaves the old content whole.
    same(witness, assigned.name() + std::to_string(assigned.recordCount()),
         assigned.recordCount() ? "item5" : assigned.name() + "0");
    witness.operation("sets", [&] {
        sql::RecordSet none;
        sql::RecordSet set(session.database.getHandle(), *fields);
        none.initRecordSet(session.database.getHandle(), itemFields);
        if (!set.query("select * from item order by id"))
            return false;
        const sql::RecordSet& read = set;
        same(witness, read.getTopRecordFirstValue()->toString(), "1");
        same(witness, read.getRecord(4)->toString().substr(0, 2), "5|");
        return same(witness, set.toString().substr(0, 5), "1. 1|");
    });
    witness.operation("records", [&] {
        sql::Record record(session.item.getTopRecord());
        sql::Record other(record);
        other.setNull(1);
        other.initColumnValue(1, longName, sql::type_text);
        witness.expect(other.equalsValues(&record), "a copy is not equal");
        other = record;
        return same(witness, other.fields()->getKeyIdName(), "id");
    });
    witness.operation("descriptions", [&] {
        const sql::FieldSet set(std::vector<sql::Field>(itemFields, itemFields + 5));
        same(witness, set.toSql(), fields->toSql());
        same(witness, set.getDefinition(), fields->getDefinition());
        return same(witness, session.item.getDefinition().substr(0, 17), "CREATE TABLE item");
    });
}

// Texts of objects that belong to no table.
void objects(Witness& witness)
{
    witness.operation("values", [&] {
        sql::Value value(sql::type_text);
        value.setString(longName);
        same(witness, value.toSql(sql::type_text).substr(0, 7), "'a name");
        same(witness, sql::quoteStr(value.asString()).substr(0, 6), "a name");
        value.setDouble(2.5e40);
        witness.expect(value.asDouble() == 2.5e40 && !value.isNull(), "a double is not read back");
        value.setBool(true);
        witness.expect(value.asBool(), "a Boolean is not read back");
        value.dump(true);
        sql::Value other(value);
        value.setNull();
        return !value.equals(other) && sql::type2Str(sql::type_time) == "time";
    });
    witness.operation("times", [&] {
        sql::Time time(sql::Time::now());
        sql::Time another(0);
        another.addDays(1);
        another.addHours(1);
        another.addMinutes(1);
        another.addValue(1);
        same(witness, std::to_string(another.asInteger()), "90061");
        same(witness, time.format("a text of a time that is longer than most"),
             "a text of a time that is longer than most");
        time.asString();
        time.asDateString();
        time.asTimeString();
        return time == another;
    });
    witness.operation("lists", [&] {
        std::vector<sql::string> items;
        sql::listToVector(longName + std::string("; ") + longName, items, ";");
        std::string blanks = " " + items.at(1) + " ";
        return same(witness, sql::trim(blanks), items.at(0));
    });
}

// The texts of every object of a session.
void texts(Witness& witness, const std::string& path)
{
    Session session(witness, path);
    const bool read = witness.operation("open", [&] { return session.item.open("id = 1"); });
    witness.operation("descriptions", [&] {
        session.item.fields().dump();
        session.item.name();
        session.item.toString();
        return session.item.getHandle() == session.database.getHandle();
    });
    sql::Record* const record = session.item.getRecord(0);
    if (read && record && record->columnCount() == 5)
        witness.operation("record", [&] {
            same(witness, record->toSql().substr(0, 3), "1, ");
            same(witness, record->dump(true).substr(0, 2), "id");
            return same(witness, record->toString(), record->toString());
        });
    objects(witness);
}

std::vector<Scenario> allScenarios()
{
    std::vector<Scenario> all = {
        {"open-modes", openModes},
        {"create", create},
        {"add", add},
        {"update", update},
        {"add-or-update", addOrUpdate},
        {"fetch", fetch},
        {"open-where-order", openWhereOrder},
        {"open-many", openMany},
        {"delete", remove},
        {"truncate", truncate},
        {"remove", drop},
        {"copy", copyRows},
        {"backup", backup},
        {"transaction", transaction},
        {"version-stamp", versionStamp},
        {"copies", copies},
        {"texts", texts},
    };
    const std::vector<Scenario> companion = companionScenarios();
    all.insert(all.end(), companion.begin(), companion.end());
    return all;
}

} // namespace

const std::vector<Scenario>& scenarios()
{
    static const std::vector<Scenario> all = allScenarios();
    return all;
}

void makeDatabase(const std::string& path)
{
    const char* const columns = "(id INTEGER PRIMARY KEY, name TEXT NOT NULL, price REAL,"
                                " active INTEGER, created INTEGER)";
    std::string sql;
    for (const char* table : {"item", "copy", "many"})
        sql += std::string("create table ") + table + " " + columns + ";";
    const auto insert = [&](const char* table, int id, const std::string& name, double price) {
        char row[1100];
        std::snprintf(row, sizeof(row), "insert into %s values (%d, '%s', %.1f, 1, 86400);", table,
                      id, sql::quoteStr(name).c_str(), price);
        sql += row;
    };
    for (int id = 1; id <= 5; ++id)
        insert("item", id, longName, id + 0.5);
    insert("copy", 1, longName, 2.5);
    for (int id = 1; id <= rowsOfMany; ++id)
        insert("many", id, std::string(textOfMany, 'm'), id);

    sqlite3* db = nullptr;
    sqlite3_open(path.c_str(), &db);
    if (sqlite3_exec(db, ("begin;" + sql + "commit").c_str(), nullptr, nullptr, nullptr))
        std::abort();
    sqlite3_close(db);
}

} // namespace faults
