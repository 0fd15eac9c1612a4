// Threads: a connection for each, and what two users of one connection do to each other.

#include <cstdio>
#include <iostream>
#include <thread>

#include <Sql.h>

#include "Transaction.h"

const char file[] = "threads.db";
const int rows = 50;
const int waitMs = 10000;

const sql::Field eventColumns[] = {sql::Field("id", sql::type_int, sql::flag_primary_key),
                                   sql::Field("code", sql::type_int, 0), sql::Field()};

bool open(sql::Database& database)
{
    return database.open(file, sql::Database::read_write_create, false, waitMs);
}

bool addEvent(sql::Database& database, int code)
{
    sql::Table events(database.getHandle(), "event", eventColumns);
    sql::Record event(events.fields());
    event.setInteger("code", code);
    return events.addRecord(event);
}

// What each thread runs, on a connection and with objects of its own.
void addEvents(int code, bool& done)
{
    sql::Database database;
    done = open(database);
    for (int i = 0; done && i < rows; ++i)
        done = addEvent(database, code);
}

// Two parts of a program that share a connection share its transaction, too.
void share(sql::Database& database)
{
    Transaction readings(database);                            // one part begins,
    std::cout << "alarm: " << addEvent(database, 911) << "\n"; // the other one writes,
} // and the first one rolls back

int main()
{
    std::remove(file);
    sql::Database database;
    if (!open(database) || !sql::Table(database.getHandle(), "event", eventColumns).create())
        return 1;

    bool firstDone = false;
    bool secondDone = false;
    std::thread first(addEvents, 1, std::ref(firstDone));
    std::thread second(addEvents, 2, std::ref(secondDone));
    first.join();
    second.join();
    std::cout << std::boolalpha << firstDone << " " << secondDone << "\n";
    std::cout << sql::queryNumber(database.getHandle(), "select count(*) from event") << "\n";

    share(database);
    std::cout << sql::queryNumber(database.getHandle(),
                                  "select count(*) from event where code = 911")
              << " alarms\n";
    return 0;
}
