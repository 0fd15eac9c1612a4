// An application within a scenario: an open database and its tables.

#ifndef SQLW_FAULTS_SESSION_H
#define SQLW_FAULTS_SESSION_H

#include <functional>
#include <string>
#include <vector>

#include "Witness.h"
#include "Workload.h"

namespace faults
{

const int rowsOfMany = 24;
const std::size_t textOfMany = 1000;
const char* const longName = "a name of more bytes than a string holds inside itself, isn't it";

/// A query that counts rows.
inline std::string countWhere(const std::string& condition, const std::string& table = "item")
{
    return "select count(*) from " + table + " where " + condition;
}

/// Expects a text. Returns true, so that an operation can end with it.
inline bool same(Witness& witness, const std::string& text, const std::string& expected)
{
    witness.expect(text == expected, "'" + text + "' in place of '" + expected + "'");
    return true;
}

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
        if (witness.demandsUse())
            witness.expect(usable(), "the objects are unusable after the fault");
    }

    // Whether the objects work now that no fault is injected.
    bool usable()
    {
        if (!database.isOpen() && !database.open(path, mode, false, 0))
            return false;
        if (!item.initTable(database.getHandle(), itemFields) || item.recordCount() != 0)
            return false;
        return item.query("select 1, 'a text that does not fit inside a string object'") &&
               item.recordCount() == 1 && item.getTopRecord()->getValue(0)->asInteger() == 1 &&
               database.getUserVersion() >= 0;
    }

    // Sets the cells with faults on. Returns false when memory ran out: such a record is not
    // written.
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

    // Runs `use` with a filled record for the table, if there was memory for one.
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

} // namespace faults

#endif
