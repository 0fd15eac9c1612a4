// Connections: what several of them see and do to each other, in one program.

#include <cstdio>
#include <initializer_list>
#include <iostream>
#include <string>

#include <Sql.h>

#include "Transaction.h"

const sql::Field eventColumns[] = {sql::Field("id", sql::type_int, sql::flag_primary_key),
                                   sql::Field("code", sql::type_int, 0), sql::Field()};

bool open(sql::Database& database, const std::string& file)
{
    return database.open(file, sql::Database::read_write_create, false, 100);
}

// What a part of a program, a thread or a process has for itself.
struct Part
{
    explicit Part(const std::string& file)
        : isOpen(open(database, file)), events(database.getHandle(), "event", eventColumns)
    {}

    bool add(int code)
    {
        sql::Record event(events.fields()); // its key is NULL: SQLite gives the next number
        event.setInteger("code", code);
        return events.addRecord(event);
    }
    int number(const char* query) { return sql::queryNumber(database.getHandle(), query); }

    sql::Database database;
    bool isOpen;
    sql::Table events;
};

void show(const char* what, int result)
{
    std::cout << what << ": " << result << "\n";
}

// What belongs to a connection, and what to the file.
void compare(Part& first, Part& second)
{
    first.add(1);
    show("rows, seen by the second", second.number("select count(*) from event"));
    show("last key, first", first.number("select last_insert_rowid()"));
    show("last key, second", second.number("select last_insert_rowid()"));

    sql::RecordSet settings(first.database.getHandle());
    settings.query(
        "PRAGMA foreign_keys = ON; create temporary table note (id INTEGER PRIMARY KEY)");
    show("foreign keys, first", first.number("PRAGMA foreign_keys"));
    show("foreign keys, second", second.number("PRAGMA foreign_keys"));
    show("temporary tables, first", first.number("select count(*) from sqlite_temp_master"));
    show("temporary tables, second", second.number("select count(*) from sqlite_temp_master"));
    first.database.setUserVersion(3);
    show("version stamp, second", second.database.getUserVersion());
}

// A transaction is seen by others when it is committed.
void writeUnseen(Part& writer, Part& reader)
{
    Transaction transaction(writer.database);
    writer.add(2);
    show("uncommitted, seen by itself", writer.number("select count(*) from event"));
    show("uncommitted, seen by the other", reader.number("select count(*) from event"));
    show("the other writes", reader.add(3));
    transaction.commit();
    show("committed, seen by the other", reader.number("select count(*) from event"));
}

// Both read, and then want to write: neither can wait for the other.
void upgrade(Part& first, Part& second, const char* begin)
{
    Transaction one(first.database, begin);
    Transaction other(second.database, begin);
    show("first began", one.isOpen());
    show("second began", other.isOpen());
    if (one.isOpen())
        first.number("select count(*) from event");
    if (other.isOpen())
        second.number("select count(*) from event");
    show("first writes", one.isOpen() && first.add(4));
    show("second writes", other.isOpen() && second.add(5));
    show("first commits", one.commit());
}

int main()
{
    for (const char* suffix : {"", "-journal"})
        std::remove((std::string("events.db") + suffix).c_str());
    Part first("events.db");
    Part second("events.db");
    if (!first.isOpen || !second.isOpen || !first.events.create())
        return 1;
    compare(first, second);
    writeUnseen(first, second);
    upgrade(first, second, "BEGIN");
    upgrade(first, second, "BEGIN IMMEDIATE");
    Part alone(":memory:");
    Part another(":memory:");
    alone.events.create();
    show("in memory, first", alone.events.exists());
    show("in memory, second", another.events.exists());
    return 0;
}
