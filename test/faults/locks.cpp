// What each operation of the companion leaves locked: only what its contract names.

#include <sqlite3.h>

#include "Item.h"
#include "Sql.h"
#include "SqlPrepared.h"

using faults::Point;

namespace
{

const sql::Field itemFields[] = {
    sql::Field("id", sql::type_int, sql::flag_primary_key),
    sql::Field("name", sql::type_text, sql::flag_unique),
    sql::Field("number", sql::type_int, 0),
    sql::Field(),
};

enum Lock {
    none,
    reading,
    writing,
};

// A file with the rows 1 to 4, and another connection, which runs into the locks.
struct Bench
{
    Bench()
    {
        database.open(path, sql::Database::read_write_create, false, 0);
        item.initTable(database.getHandle(), itemFields);
        item.create();
        run("insert into item values (1, 'a', 1), (2, 'b', 2), (3, 'c', 3),"
            " (4, 'd', -9223372036854775808);"
            "create trigger kept before delete on item when old.id = 1"
            " begin select raise(abort, 'is kept'); end");
        others.open(path, sql::Database::read_write, false, 0);
        all.select(item, "", "id");
        failing.prepare(database.getHandle(), "select abs(number) from item order by id");
        byKey.selectByKey(item);
    }

    bool run(const std::string& sql) { return sql::RecordSet(database.getHandle()).query(sql); }
    static bool does(sql::Database& connection, const std::string& sql)
    {
        return sqlite3_exec(connection.getHandle(), sql.c_str(), nullptr, nullptr, nullptr) ==
               SQLITE_OK;
    }
    Lock held()
    {
        if (does(others, "begin exclusive; rollback"))
            return none;
        return does(others, "begin immediate; rollback") ? reading : writing;
    }
    void setRow(sql::integer id, const char* name)
    {
        writer.setInteger(0, id);
        writer.setString(1, name);
    }

    const faults::Folder folder;
    const std::string path = folder.path + "/item.db";
    sql::Database database, others;
    sql::Table item{"item"};
    sql::Statement all, failing, byKey, change;
    sql::TableWriter writer{item};
};

// An operation, which returns whether it went as it should, and what it leaves locked.
struct Use
{
    const char* name;
    Lock left;
    bool (*run)(Bench& bench);
};

bool failsOnARow(Bench& bench)
{
    while (bench.failing.next()) {
    }
    return bool(bench.failing.error());
}

bool findsAnotherRecord(Bench& bench)
{
    const sql::FieldSet one({sql::Field("id", sql::type_int, 0)});
    sql::Record record(one);
    return !bench.byKey.find(2, record) && bench.byKey.error().code() == SQLITE_MISMATCH;
}

bool findsRecord(Bench& bench)
{
    sql::Record record(bench.item.fields());
    return bench.byKey.find(2, record);
}

bool insertsWhereLocked(Bench& bench)
{
    Bench::does(bench.others, "begin immediate");
    bench.setRow(5, "e");
    const bool refused = !bench.writer.insert() && bench.writer.error().code() == SQLITE_BUSY;
    return Bench::does(bench.others, "rollback") && refused;
}

bool stepsOfBackup(Bench& bench, bool isDestination)
{
    static sql::Database memory;
    memory.open(":memory:", sql::Database::read_write_create, false, 0);
    sqlite3* const from = isDestination ? memory.getHandle() : bench.database.getHandle();
    sqlite3* const to = isDestination ? bench.database.getHandle() : memory.getHandle();
    Bench::does(memory, "create table a(b); create table c(d)");
    sql::Backup backup(to, from);
    return backup.step(1) && !backup.isBusy() && bench.held() == (isDestination ? writing : none);
}

const Use uses[] = {
    {"select", none, [](Bench& bench) { return bench.all.select(bench.item); }},
    {"prepare-refused", none,
     [](Bench& bench) { return !bench.all.prepare(bench.database.getHandle(), "select x"); }},
    {"next", reading, [](Bench& bench) { return bench.all.next(); }},
    {"next-last", none,
     [](Bench& bench) {
         while (bench.all.next()) {
         }
         return !bench.all.error();
     }},
    {"next-failing", none, failsOnARow},
    {"bind-on-row", none,
     [](Bench& bench) { return bench.byKey.find(2) && bench.byKey.bindInteger(1, 3); }},
    {"bind-refused-on-row", none,
     [](Bench& bench) { return bench.byKey.find(2) && !bench.byKey.bindInteger(9, 3); }},
    {"reset-on-row", none,
     [](Bench& bench) { return bench.all.next() && (bench.all.reset(), true); }},
    {"close-on-row", none,
     [](Bench& bench) { return bench.all.next() && (bench.all.close(), true); }},
    {"prepare-on-row", none,
     [](Bench& bench) { return bench.all.next() && bench.all.select(bench.item); }},
    {"find", reading, [](Bench& bench) { return bench.byKey.find(2); }},
    {"find-nothing", none,
     [](Bench& bench) { return !bench.byKey.find(9) && !bench.byKey.error(); }},
    {"find-record", none, findsRecord},
    {"find-another-record", none, findsAnotherRecord},
    {"run", none, [](Bench& bench) { return bench.all.next() && bench.all.run(); }},
    {"run-failing", none, [](Bench& bench) { return !bench.failing.run(); }},
    {"run-change", none,
     [](Bench& bench) {
         return bench.change.prepare(bench.database.getHandle(), "delete from item where id > 2") &&
                bench.change.run() && bench.change.changes() == 2;
     }},
    {"insert", none, [](Bench& bench) { return bench.setRow(5, "e"), bench.writer.insert(); }},
    {"insert-refused", none,
     [](Bench& bench) { return bench.setRow(5, "a"), !bench.writer.insert(); }},
    {"insert-locked", none, insertsWhereLocked},
    {"update", none, [](Bench& bench) { return bench.setRow(2, "e"), bench.writer.update(); }},
    {"update-refused", none,
     [](Bench& bench) { return bench.setRow(2, "a"), !bench.writer.update(); }},
    {"upsert", none, [](Bench& bench) { return bench.setRow(2, "e"), bench.writer.upsert(); }},
    {"upsert-refused", none,
     [](Bench& bench) { return bench.setRow(9, "a"), !bench.writer.upsert(); }},
    {"erase", none, [](Bench& bench) { return bench.writer.erase(2); }},
    {"erase-refused", none, [](Bench& bench) { return !bench.writer.erase(1); }},
    {"deferred", none,
     [](Bench& bench) {
         sql::Transaction transaction(bench.database.getHandle(), sql::Transaction::deferred);
         return transaction.isOpen() && bench.held() == none && bench.all.run() &&
                bench.held() == reading;
     }},
    {"immediate", none,
     [](Bench& bench) {
         sql::Transaction transaction(bench.database.getHandle());
         return transaction.isOpen() && bench.held() == writing;
     }},
    {"savepoint", none,
     [](Bench& bench) {
         sql::Transaction around(bench.database.getHandle(), sql::Transaction::deferred);
         sql::Transaction within(bench.database.getHandle());
         return within.isOpen() && bench.held() == none;
     }},
    {"commit", none,
     [](Bench& bench) {
         sql::Transaction transaction(bench.database.getHandle());
         return bench.writer.erase(2) && transaction.commit() && bench.held() == none;
     }},
    {"commit-busy", none,
     [](Bench& bench) {
         sql::Transaction transaction(bench.database.getHandle());
         sql::Statement reader;
         return bench.writer.erase(2) &&
                reader.prepare(bench.others.getHandle(), "select * from item") && reader.next() &&
                !transaction.commit() && transaction.isOpen();
     }},
    {"rollback", none,
     [](Bench& bench) {
         sql::Transaction transaction(bench.database.getHandle());
         return bench.writer.erase(2) && transaction.rollback() && bench.held() == none;
     }},
    {"begin-refused", none,
     [](Bench& bench) {
         Bench::does(bench.others, "begin immediate");
         const sql::Transaction transaction(bench.database.getHandle());
         return Bench::does(bench.others, "rollback") && !transaction.isOpen() &&
                bench.held() == none;
     }},
    {"backup-source", none, [](Bench& bench) { return stepsOfBackup(bench, false); }},
    {"backup-destination", none, [](Bench& bench) { return stepsOfBackup(bench, true); }},
    {"check-table", none,
     [](Bench& bench) { return !sql::checkTable(bench.item).empty() || true; }},
};

void use(const Point& point, const Use& each)
{
    static const char* const locks[] = {"nothing", "what readers hold", "what writers hold"};
    Bench bench;
    point.expect(bench.held() == none, "nothing is locked at first");
    point.expect(each.run(bench), "it goes as it should");
    const Lock left = bench.held();
    point.expect(left == each.left,
                 std::string("it leaves ") + locks[left] + ", in place of " + locks[each.left]);
}

} // namespace

int main(int argc, char** argv)
{
    std::vector<faults::Trial> trials;
    for (const Use& each : uses)
        trials.push_back({each.name, [&each](const Point& point) { use(point, each); }});
    return faults::run(argc, argv, trials);
}
