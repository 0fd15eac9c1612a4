// The write-ahead log: how to switch it on, and what changes.

#include <cstdio>
#include <cstdlib>
#include <initializer_list>
#include <iostream>
#include <string>

#include <Sql.h>

#include "Transaction.h"

const sql::Field eventColumns[] = {sql::Field("id", sql::type_int, sql::flag_primary_key),
                                   sql::Field("code", sql::type_int, 0), sql::Field()};

// Returns the mode that is then in force, which need not be the one that was asked for.
std::string setJournal(sql::Database& database, const std::string& mode)
{
    const sql::Field columns[] = {sql::Field("mode", sql::type_text, sql::flag_primary_key),
                                  sql::Field()};
    sql::RecordSet answer(database.getHandle(), columns);
    if (!answer.query("PRAGMA journal_mode = " + mode) || answer.count() == 0)
        return "refused";
    return answer.getTopRecordFirstValue()->asString();
}

int count(sql::Database& database)
{
    return sql::queryNumber(database.getHandle(), "select count(*) from event");
}

bool add(sql::Database& database)
{
    sql::Table events(database.getHandle(), "event", eventColumns);
    return events.addRecord(sql::Record(events.fields()));
}

bool open(sql::Database& database, const char* file)
{
    return database.open(file, sql::Database::read_write_create, false, 100);
}

// A reader holds its transaction while a writer commits.
void readWhileWriting(sql::Database& reader, sql::Database& writer)
{
    Transaction reading(reader, "BEGIN");
    std::cout << "reader sees " << count(reader) << "\n";
    std::cout << "writer adds: " << add(writer) << "\n";
    std::cout << "reader sees " << count(reader) << "\n";
}

// What a plain copy of the file has.
int countInPlainCopy()
{
    sql::Database copy;
    return std::system("cp log.db plain.db") == 0 && open(copy, "plain.db") ? count(copy) : -1;
}

int countInSqliteCopy(sql::Database& database)
{
    sql::Database copy;
    return sql::RecordSet(database.getHandle()).query("vacuum into 'copy.db'") &&
                   open(copy, "copy.db")
               ? count(copy)
               : -1;
}

int main()
{
    for (const char* name : {"log.db", "plain.db", "copy.db"})
        for (const char* suffix : {"", "-wal", "-shm"})
            std::remove((std::string(name) + suffix).c_str());
    sql::Database writer;
    sql::Database reader;
    if (!open(writer, "log.db") || !open(reader, "log.db") ||
        !sql::Table(writer.getHandle(), "event", eventColumns).create())
        return 1;

    std::cout << std::boolalpha;
    readWhileWriting(reader, writer);
    std::cout << setJournal(writer, "WAL") << "\n";
    readWhileWriting(reader, writer);
    std::cout << "then reader sees " << count(reader) << "\n";

    std::cout << "in a plain copy: " << countInPlainCopy() << "\n";
    std::cout << "in SQLite's copy: " << countInSqliteCopy(writer) << "\n";

    std::cout << setJournal(writer, "DELETE") << "\n"; // the reader has the file open
    reader.close();
    std::cout << setJournal(writer, "DELETE") << "\n";
    return 0;
}
