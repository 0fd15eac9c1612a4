// Rounds of open, add, read and close with library and companion: memory and descriptors stay
// constant after the warm-up.

#include <fstream>

#include <unistd.h>

#include "Item.h"
#include "Sql.h"
#include "SqlPrepared.h"

using faults::Point;

namespace
{

const sql::Field rowFields[] = {
    sql::Field("id", sql::type_int, sql::flag_primary_key),
    sql::Field("text", sql::type_text, 0),
    sql::Field(),
};

bool useTable(sql::Table& table, const sql::Record& record, sql::integer id)
{
    if (!table.deleteRecord(id) || !table.addRecord(record) || !table.open())
        return false;
    const sql::Record* read = table.getRecordByKeyId(id);
    return read && read->equalsValues(&record);
}

bool backUp(sqlite3* db)
{
    sql::Database memory;
    memory.open(":memory:", sql::Database::read_write_create, false, 0);
    sql::Backup backup(memory.getHandle(), db);
    while (backup.step(5)) {
    }
    return backup.isDone();
}

bool useCompanion(sqlite3* db, sql::Table& table, const sql::Record& record, sql::integer id)
{
    sql::TableWriter writer(table);
    {
        sql::Transaction transaction(db);
        if (!writer.erase(id) || !writer.insert(record) || !writer.upsert(record) ||
            !transaction.commit())
            return false;
        const sql::Transaction undone(db);
        if (!undone.isOpen() || !writer.erase(id))
            return false;
    }
    sql::Statement rows, row;
    sql::Record read(table.fields());
    bool found = false;
    if (!rows.select(table) || !row.selectByKey(table) || !row.find(id, read))
        return false;
    while (rows.next())
        found = found || rows.getString(1) == read.getValue(1)->asString();
    return found && !rows.error() && read.equalsValues(&record) && sql::checkTable(table).empty() &&
           backUp(db);
}

bool round(const std::string& path, sql::integer number)
{
    sql::Database database;
    if (!database.open(path, sql::Database::read_write_create, false, 0))
        return false;
    sql::RecordSet(database.getHandle()).query("pragma synchronous = off");
    sql::Table table(database.getHandle(), "rows", rowFields);
    sql::Record record(table.fields());
    const sql::integer id = number % 100; // so that the file does not grow either
    record.setInteger("id", id);
    record.setString("text",
                     "a text too long to fit inside a string object " + sql::intToStr(number));
    if (!table.create())
        return false;
    return number % 2 ? useCompanion(database.getHandle(), table, record, id)
                      : useTable(table, record, id);
}

long residentKilobytes()
{
    long total = 0, resident = 0;
    std::ifstream("/proc/self/statm") >> total >> resident;
    return resident * (sysconf(_SC_PAGESIZE) / 1024);
}

void runRounds(long rounds)
{
    const faults::Folder folder;
    const std::string path = folder.path + "/soak.db";
    long memory = 0, files = 0;
    for (long number = 0; number < rounds; ++number) {
        if (number == rounds / 10) {
            memory = residentKilobytes();
            files = faults::openFiles();
        }
        const std::string name = std::to_string(number);
        if (!faults::isWanted(name))
            round(path, number); // the wanted one may fail only after those before it
        else if (!Point(name).expect(round(path, number), "the round succeeds"))
            break;
    }
    if (!faults::isWanted("-"))
        return;
    const long grown = residentKilobytes() - memory;
    const Point end("-");
    end.expect(grown <= 256, "memory stays level");
    end.expect(faults::openFiles() == files, "no descriptor leaks");
    faults::figure("%ld KiB resident after the warm-up, %+ld KiB at the end", memory, grown);
}

} // namespace

int main(int argc, char** argv)
{
    return faults::run(argc, argv, [](bool quick) { runRounds(quick ? 5000 : 1000000); });
}
