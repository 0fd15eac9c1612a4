// Two processes and one file: each counts to the same number, and none is lost.

#include <cstdio>
#include <iostream>

#include <sys/wait.h>
#include <unistd.h>

#include <Sql.h>

const char file[] = "counter.db";
const int rounds = 50;
const int waitMs = 10000; // for the lock; longer than anybody holds it

const sql::Field counterColumns[] = {sql::Field("id", sql::type_int, sql::flag_primary_key),
                                     sql::Field("value", sql::type_int, sql::flag_not_null),
                                     sql::Field()};

bool countOnce(sql::Database& database)
{
    sql::Table counters(database.getHandle(), "counter", counterColumns);
    if (!sql::RecordSet(database.getHandle()).query("BEGIN IMMEDIATE"))
        return false;
    sql::Record* counter = counters.getRecordByKeyId(1);
    if (counter)
        counter->setInteger("value", counter->getValue("value")->asInteger() + 1);
    if (counter && counters.updateRecord(*counter) && database.transactionCommit())
        return true;
    database.transactionRollback();
    return false;
}

// What each process does, on a connection that it opened itself.
int count()
{
    sql::Database database;
    if (!database.open(file, sql::Database::read_write, false, waitMs))
        return 1;
    for (int i = 0; i < rounds; ++i)
        if (!countOnce(database))
            return 1;
    return 0;
}

bool createCounter()
{
    sql::Database database;
    if (!database.open(file, sql::Database::read_write_create, false, waitMs))
        return false;
    sql::Table counters(database.getHandle(), "counter", counterColumns);
    sql::Record counter(counters.fields());
    counter.setInteger("id", 1);
    counter.setInteger("value", 0);
    return counters.create() && counters.addRecord(counter);
}

bool printCounter()
{
    sql::Database database;
    if (!database.open(file, sql::Database::read_only, false, waitMs))
        return false;
    std::cout << sql::queryNumber(database.getHandle(), "select value from counter") << "\n";
    return true;
}

int main()
{
    std::remove(file);
    if (!createCounter())
        return 1;

    const pid_t child = fork();
    if (child == 0)
        _exit(count());
    const int mine = count();
    int theirs = 1;
    if (child < 0 || waitpid(child, &theirs, 0) != child || mine != 0 || theirs != 0)
        return 1;
    return printCounter() ? 0 : 1;
}
