// The scenarios that use the companion.

#include <memory>

#include <sqlite3.h>

#include "Session.h"
#include "SqlPrepared.h"

namespace faults
{

namespace
{

// An operation of the companion throws nothing, and has an error exactly when it failed.
template <typename Object>
bool operation(Witness& witness, const char* name, const Object& object,
               const std::function<bool()>& run, const Witness::Effects& effects = {})
{
    const long throws = witness.outOfMemory();
    const bool succeeded = witness.operation(name, run, effects);
    witness.expect(witness.outOfMemory() == throws, std::string(name) + " throws");
    witness.expect(succeeded != bool(object.error()),
                   std::string(name) + " has an error when it failed");
    return succeeded;
}

// Adds rows from the writer's cells, up to the first that fails. Returns whether all were added.
bool addRows(Witness& witness, Session& session, sql::TableWriter& writer, sql::integer first,
             sql::integer last)
{
    const std::string name = longName;
    bool ok = true;
    for (sql::integer id = first; ok && id <= last; ++id)
        ok = operation(witness, "insert", writer,
                       [&] {
                           writer.setInteger(0, id);
                           writer.setString(1, name);
                           writer.setDouble(2, 2.5);
                           writer.setBool(3, true);
                           writer.setTime(4, sql::Time(86400));
                           return writer.insert();
                       },
                       {{countWhere("id = " + std::to_string(id)) + " and price = 2.5", "1"}});
    witness.expect(session.item.recordCount() == 0, "the rows held are left alone");
    return ok;
}

void writeCells(Witness& witness, const std::string& path)
{
    Session session(witness, path);
    sql::TableWriter writer(session.item);
    addRows(witness, session, writer, 10, 12);
}

void writeRecords(Witness& witness, const std::string& path)
{
    witness.either("select name from item where id = 2", longName, "renamed");
    Session session(witness, path);
    sql::TableWriter writer(session.item);
    session.withRecord(2, "renamed", [&](const sql::Record& record) {
        operation(witness, "update", writer, [&] { return writer.update(record); },
                  {{countWhere("id = 2 and name = 'renamed'"), "1"}});
    });
    for (const sql::integer id : {3, 30})
        session.withRecord(id, "either", [&](const sql::Record& record) {
            operation(witness, "upsert", writer, [&] { return writer.upsert(record); },
                      {{countWhere("name = 'either' and id = " + std::to_string(id)), "1"}});
        });
    session.withRecord(40, "added", [&](const sql::Record& record) {
        operation(witness, "insert", writer, [&] { return writer.insert(record); },
                  {{countWhere("name = 'added' and id = 40"), "1"}});
    });
    operation(witness, "erase", writer, [&] { return writer.erase(1); },
              {{countWhere("id = 1"), "0"}});
}

void streamRows(Witness& witness, const std::string& path)
{
    Session session(witness, path);
    sql::Table many("many");
    witness.operation("initTable",
                      [&] { return many.initTable(session.database.getHandle(), itemFields); });
    sql::Statement statement;
    if (many.fields().count() != 5 ||
        !operation(witness, "select", statement, [&] { return statement.select(many); }))
        return;
    int rows = 0;
    bool more = true;
    while (more && operation(witness, "next", statement, [&] {
               more = statement.next();
               return more || !statement.error();
           }))
        if (more) {
            ++rows;
            witness.expect(statement.getInteger(0) == rows &&
                               statement.getSize(1) == static_cast<int>(textOfMany),
                           "row " + std::to_string(rows) + " is whole");
        }
    witness.expect(statement.error() || rows == rowsOfMany, "the end comes after the last row");
}

// SQLite needs memory for each text of a number, and makes the number NULL when it has none.
void readNumberAsText(Witness& witness, const std::string& path)
{
    Session session(witness, path);
    static const sql::Field texts[] = {sql::Field("id", sql::type_text, sql::flag_primary_key),
                                       sql::Field()};
    sql::Table table("item");
    sql::Statement statement;
    if (!witness.operation("initTable",
                           [&] { return table.initTable(session.database.getHandle(), texts); }) ||
        !operation(witness, "select", statement, [&] { return statement.select(table); }) ||
        !operation(witness, "next", statement, [&] { return statement.next(); }))
        return;
    sql::Record record(table.fields());
    if (operation(witness, "read", statement, [&] { return statement.read(record); }))
        same(witness, record.getValue(0)->asString(), "1");
    std::string text;
    const auto getString = [&] {
        text = statement.getString(0);
        return !statement.error();
    };
    if (operation(witness, "getString", statement, getString))
        same(witness, text, "1");
}

void findRows(Witness& witness, const std::string& path)
{
    Session session(witness, path);
    if (session.item.fields().count() != 5)
        return;
    sql::Statement statement;
    if (!operation(witness, "selectByKey", statement,
                   [&] { return statement.selectByKey(session.item); }))
        return;
    session.withRecord(0, "to be replaced", [&](const sql::Record& record) {
        sql::Record found(record);
        const bool there =
            operation(witness, "find", statement, [&] { return statement.find(4, found); });
        same(witness, found.getValue("name")->asString(), there ? longName : "to be replaced");
    });
}

void runStatement(Witness& witness, const std::string& path)
{
    witness.either(countWhere("id > 3"), "2", "0");
    Session session(witness, path);
    const std::string sql = "delete from item where id > :id";
    sql::Statement statement;
    if (!operation(witness, "prepare", statement,
                   [&] { return statement.prepare(session.database.getHandle(), sql); }))
        return;
    operation(witness, "bindInteger", statement, [&] { return statement.bindInteger(1, 3); });
    if (operation(witness, "run", statement, [&] { return statement.run(); },
                  {{countWhere("id > 3"), "0"}}))
        witness.expect(statement.changes() == 2, "two rows are gone");
}

// One transaction is committed, and one ends with its scope.
void guard(Witness& witness, const std::string& path)
{
    witness.either("select count(*) from item where id between 20 and 23", "0", "4");
    witness.either("select count(*) from item where id <= 5", "5", "5");
    Session session(witness, path);
    sqlite3* const db = session.database.getHandle();
    sql::TableWriter writer(session.item);
    const long throws = witness.outOfMemory();
    {
        std::unique_ptr<sql::Transaction> transaction;
        const bool begun = witness.begin([&] {
            transaction.reset(new sql::Transaction(db));
            return transaction->isOpen();
        });
        if (begun) {
            if (addRows(witness, session, writer, 20, 23))
                witness.end("transactionCommit", [&] { return transaction->commit(); });
            else
                witness.end("rollback", [&] { return transaction->rollback(); });
        }
    }
    {
        std::unique_ptr<sql::Transaction> transaction;
        witness.operation("Transaction", [&] {
            transaction.reset(new sql::Transaction(db));
            return !transaction->isOpen() || writer.erase(2);
        });
    }
    witness.expect(witness.outOfMemory() <= throws + 2,
                   "at most the construction of the guards throws");
    witness.expect(!db || sqlite3_get_autocommit(db), "no transaction is left open");
}

void backUp(Witness& witness, const std::string& path)
{
    Session session(witness, path);
    sql::Database copy;
    const bool opened = witness.operation("open", [&] {
        return copy.open(path + "-new", sql::Database::read_write_create, false, 0);
    });
    if (!opened || !session.database.getHandle())
        return;
    bool done = false;
    {
        std::unique_ptr<sql::Backup> backup;
        const long throws = witness.outOfMemory();
        const bool ran = witness.operation("Backup", [&] {
            backup.reset(new sql::Backup(copy.getHandle(), session.database.getHandle()));
            while (backup->step(2)) {
            }
            return backup->isDone();
        });
        witness.expect(witness.outOfMemory() == throws || !backup, "step throws");
        witness.expect(!backup || ran != bool(backup->error()), "it has an error when it failed");
        done = backup && backup->isDone();
    }
    if (done)
        witness.expect(sql::queryNumber(copy.getHandle(), "select count(*) from many") ==
                           rowsOfMany,
                       "the copy has every row");
}

void check(Witness& witness, const std::string& path)
{
    Session session(witness, path);
    if (session.item.fields().count() != 5)
        return;
    witness.operation("checkTable", [&] {
        for (const sql::Finding& finding : sql::checkTable(session.item))
            witness.expect(finding.kind == sql::Finding::failed, finding.text);
        return true;
    });
}

} // namespace

std::vector<Scenario> companionScenarios()
{
    return {{"write-cells", writeCells},
            {"write-records", writeRecords},
            {"stream-rows", streamRows},
            {"number-as-text", readNumberAsText},
            {"find-rows", findRows},
            {"run-statement", runStatement},
            {"guard", guard},
            {"back-up", backUp},
            {"check", check}};
}

} // namespace faults
