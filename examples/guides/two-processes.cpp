// Two processes and one file: each counts in the same row, and no count is lost.

#include <cstdio>
#include <iostream>

#include <sys/wait.h>
#include <unistd.h>

#include <Sql.h>

#include "Transaction.h"

const char file[] = "counter.db";
const int rounds = 50;
const int waitMs = 10000; // for the lock; longer than any process holds it

const sql::Field counterColumns[] = {sql::Field("id", sql::type_int, sql::flag_primary_key),
                                     sql::Field("value", sql::type_int, sql::flag_not_null),
                                     sql::Field()};

// The transaction makes the second process wait until the first has created the table.
bool createCounter(sql::Database& database)
{
    Transaction transaction(database);
    sql::Table counters(database.getHandle(), "counter", counterColumns);
    if (!transaction.isOpen() || !counters.create() || !counters.open("id = 1"))
        return false;
    sql::Record counter(counters.fields());
    counter.setInteger("id", 1);
    counter.setInteger("value", 0);
    return (counters.recordCount() > 0 || counters.addRecord(counter)) && transaction.commit();
}

bool countOnce(sql::Database& database)
{
    Transaction transaction(database);
    sql::Table counters(database.getHandle(), "counter", counterColumns);
    sql::Record* counter = transaction.isOpen() ? counters.getRecordByKeyId(1) : nullptr;
    if (!counter)
        return false;
    counter->setInteger("value", counter->getValue("value")->asInteger() + 1);
    return counters.updateRecord(*counter) && transaction.commit();
}

// What each process does, on a connection that it opens itself.
bool count()
{
    sql::Database database;
    if (!database.open(file, sql::Database::read_write_create, false, waitMs) ||
        !createCounter(database))
        return false;
    for (int i = 0; i < rounds; ++i)
        if (!countOnce(database))
            return false;
    return true;
}

bool printCounter()
{
    sql::Database database;
    if (!database.open(file, sql::Database::read_write, false, waitMs))
        return false;
    std::cout << sql::queryNumber(database.getHandle(), "select value from counter") << "\n";
    return true;
}

int main()
{
    std::remove(file);
    const pid_t child = fork();
    if (child == 0)
        _exit(count() ? 0 : 1);
    const bool mine = count();
    int theirs = 1;
    if (child < 0 || waitpid(child, &theirs, 0) != child || !mine || theirs != 0)
        return 1;
    return printCounter() ? 0 : 1;
}
