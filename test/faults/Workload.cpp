#include "Workload.h"

#include <new>

#include <sqlite3.h>

#include "Injector.h"
#include "Platform.h"
#include "Sql.h"

namespace faults
{

Injector injector;

// The witness

bool Witness::operation(const char* name, const std::function<bool()>& run, const Effects& effects)
{
    const Told before = told;
    bool answer = false;
    bool threw = false;
    injector.resume();
    try {
        answer = run();
    } catch (const std::bad_alloc&) {
        threw = true;
    }
    injector.pause();

    if (threw)
        ++_outOfMemory;
    else if (!answer && told.errors == before.errors && told.assertions == before.assertions)
        complain(std::string(name) + " answered false and told nothing");
    settle(effects, answer);
    return answer;
}

void Witness::settle(const Effects& effects, bool answer)
{
    Effects& owed = _inTransaction ? _pending : _due;
    for (const auto& effect : effects) {
        if (answer) {
            owed[effect.first] = effect.second;
        } else {
            owed.erase(effect.first);
            _due.erase(effect.first); // the file may hold what was there before, or what is new
        }
    }
}

bool Witness::begin(const std::function<bool()>& run)
{
    _inTransaction = operation("transactionBegin", run);
    return _inTransaction;
}

void Witness::end(const char* name, const std::function<bool()>& run)
{
    const bool answer = operation(name, run);
    const Effects effects = std::move(_pending);
    _pending.clear();
    _inTransaction = false;
    settle(effects, answer && std::string(name) == "transactionCommit");
}

void Witness::complain(const std::string& what)
{
    _failures.push_back(what);
}

// The scenarios

namespace
{

const sql::Field itemFields[] = {
    sql::Field("id", sql::type_int, sql::flag_primary_key),
    sql::Field("name", sql::type_text, sql::flag_not_null),
    sql::Field("price", sql::type_float, 0),
    sql::Field("active", sql::type_bool, 0),
    sql::Field("created", sql::type_time, 0),
    sql::Field(),
};

const char* const longName = "a name of more bytes than a string holds inside itself, isn't it";

std::string countWhere(const std::string& condition, const std::string& table = "item")
{
    return "select count(*) from " + table + " where " + condition;
}

// An open database and its tables, as an application has them.
struct Session
{
    Session(Witness& theWitness, const std::string& thePath,
            sql::Database::AccessMode theMode = sql::Database::read_write)
        : witness(theWitness), path(thePath), mode(theMode)
    {
        witness.operation("open", [&] { return database.open(path, mode, false, 0); });
        witness.operation("initTable item",
                          [&] { return item.initTable(database.getHandle(), itemFields); });
        witness.operation("initTable copy",
                          [&] { return copy.initTable(database.getHandle(), itemFields); });
    }
    ~Session()
    {
        if (witness.demandsUse() && !usable())
            witness.complain("the objects are of no use after the fault");
    }

    // Whether the objects work now that no fault is injected.
    bool usable()
    {
        if (!database.isOpen() && !database.open(path, mode, false, 0))
            return false;
        if (!item.initTable(database.getHandle(), itemFields) || item.recordCount() != 0)
            return false;
        return item.query("select 1, 'a text that does not stand inside of a string object'") &&
               item.recordCount() == 1 && item.getTopRecord()->getValue(0)->asInteger() == 1 &&
               database.getUserVersion() >= 0;
    }

    // Sets the cells with faults on; a record that was not filled is not written.
    bool fill(sql::Record& record, sql::integer id, const std::string& name)
    {
        return witness.operation("fill", [&] {
            record.setInteger("id", id);
            record.setString("name", name);
            record.setDouble("price", 2.5);
            record.setBool("active", true);
            record.setTime("created", sql::Time(86400));
            return true;
        });
    }

    // Runs `use` with a filled record for the table, if memory sufficed to build one.
    void withRecord(sql::integer id, const std::string& name,
                    const std::function<void(const sql::Record&)>& use)
    {
        std::vector<sql::Record> made;
        made.reserve(1);
        const bool built = witness.operation("Record", [&] {
            made.emplace_back(item.fields());
            return true;
        });
        if (built && made[0].columnCount() == 5 && fill(made[0], id, name))
            use(made[0]);
    }

    bool add(sql::Table& table, const std::string& tableName, sql::integer id)
    {
        bool added = false;
        withRecord(id, longName, [&](const sql::Record& record) {
            added = witness.operation("addRecord", [&] { return table.addRecord(record); },
                                      {{countWhere("id = " + std::to_string(id), tableName), "1"}});
        });
        return added;
    }

    Witness& witness;
    const std::string path;
    const sql::Database::AccessMode mode;
    sql::Database database;
    sql::Table item{"item"};
    sql::Table copy{"copy"};
};

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
    // create() answers true when it cannot tell whether the table exists; a line tells that.
    const long errors = told.errors;
    const auto createOrTell = [&] { return fresh.create() && told.errors == errors; };
    witness.operation("create", createOrTell, {{"select count(*) from fresh", "0"}});
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
        if (read && text != std::string(longName) + "4.5")
            witness.complain("getRecordByKeyId gave '" + text + "'");
    }
    witness.operation("hasRecordWithKeyId", [&] { return session.item.hasRecordWithKeyId(5); });
    witness.operation("totalRecordCount", [&] { return session.item.totalRecordCount() == 5; });
    witness.operation("exists", [&] { return session.item.exists(); });
}

void openWhereOrder(Witness& witness, const std::string& path)
{
    Session session(witness, path);
    const bool all = witness.operation("open", [&] { return session.item.open(); });
    if (all && session.item.recordCount() != 5)
        witness.complain("open answered true and lacks rows");
    const bool some =
        witness.operation("open where", [&] { return session.item.open("id > 2", "id desc"); });
    if (some && session.item.recordCount() != 3)
        witness.complain("open with a condition answered true and lacks rows");
    if (some && session.item.fields().count() == 5 &&
        session.item.getTopRecord()->getValue(0)->asInteger() != 5)
        witness.complain("open with an order gave another first row");
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

// Complains when a text is another than expected. True, so that an operation may end with it.
bool same(Witness& witness, const std::string& text, const std::string& expected)
{
    if (text != expected)
        witness.complain("'" + text + "' in place of '" + expected + "'");
    return true;
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
    // Assigning keeps all that was there when there is no room for what is to come.
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
        if (!other.equalsValues(&record))
            witness.complain("a copy is not equal");
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

// Texts of all that is held.
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
    witness.operation("values", [&] {
        sql::Value value(sql::type_text);
        value.setString(longName);
        same(witness, value.toSql(sql::type_text).substr(0, 7), "'a name");
        same(witness, sql::quoteStr(value.asString()).substr(0, 6), "a name");
        value.setDouble(2.5e40);
        if (value.asDouble() != 2.5e40 || value.isNull())
            witness.complain("a double does not come back");
        value.setBool(true);
        if (!value.asBool())
            witness.complain("a truth does not come back");
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

} // namespace

const std::vector<Scenario>& scenarios()
{
    static const std::vector<Scenario> all = {
        {"open-modes", openModes},
        {"create", create},
        {"add", add},
        {"update", update},
        {"add-or-update", addOrUpdate},
        {"fetch", fetch},
        {"open-where-order", openWhereOrder},
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
    return all;
}

void makeDatabase(const std::string& path)
{
    Witness witness;
    Session session(witness, path, sql::Database::read_write_create);
    witness.operation("create", [&] { return session.item.create() && session.copy.create(); });
    for (sql::integer id = 1; id <= 5; ++id)
        session.withRecord(id, longName, [&](const sql::Record& record) {
            sql::Record priced(record);
            priced.setString("price", std::to_string(id) + ".5");
            witness.operation("addRecord", [&] { return session.item.addRecord(priced); });
        });
    session.add(session.copy, "copy", 1);
}

// Reading the file

namespace
{

std::string firstCell(sqlite3* db, const std::string& query)
{
    std::string cell = "(none)";
    const auto keep = [](void* kept, int, char** cells, char**) {
        *static_cast<std::string*>(kept) = cells[0] ? cells[0] : "(null)";
        return 1;
    };
    const int rc = sqlite3_exec(db, query.c_str(), keep, &cell, nullptr);
    return rc == SQLITE_OK || rc == SQLITE_ABORT ? cell : sqlite3_errmsg(db);
}

} // namespace

void verifyFile(Witness& witness, const std::string& path, bool durable)
{
    sqlite3* db = nullptr;
    if (sqlite3_open_v2(path.c_str(), &db, SQLITE_OPEN_READWRITE, nullptr) != SQLITE_OK) {
        witness.complain("the file cannot be opened any more");
        sqlite3_close(db);
        return;
    }
    const std::string integrity = firstCell(db, "pragma integrity_check");
    if (integrity != "ok")
        witness.complain("integrity_check: " + integrity);
    for (const auto& choice : witness.choices()) {
        const std::string found = firstCell(db, choice.first);
        if (found != choice.second.first && found != choice.second.second)
            witness.complain("'" + choice.first + "' gives " + found + ", neither " +
                             choice.second.first + " nor " + choice.second.second);
    }
    for (const auto& effect : durable ? witness.due() : Witness::Effects()) {
        const std::string found = firstCell(db, effect.first);
        if (found != effect.second)
            witness.complain("answered true, but '" + effect.first + "' gives " + found +
                             " instead of " + effect.second);
    }
    sqlite3_close(db);
}

} // namespace faults
