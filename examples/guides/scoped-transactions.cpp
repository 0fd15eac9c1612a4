// Scoped transactions: ended on every path, nested, and with the reason of a failure.

#include <cstdio>
#include <iostream>

#include <Sql.h>
#include <SqlPrepared.h>

const sql::Field tankColumns[] = {sql::Field("id", sql::type_int, sql::flag_primary_key),
                                  sql::Field("litres", sql::type_int, sql::flag_not_null),
                                  sql::Field()};

bool add(sql::Table& tanks, sql::integer id, sql::integer litres)
{
    sql::Statement change;
    return change.prepare(tanks.getHandle(), "update tank set litres = litres + ?1 "
                                             "where id = ?2 and litres + ?1 >= 0") &&
           change.bindInteger(1, litres) && change.bindInteger(2, id) && change.run() &&
           change.changes() == 1;
}

bool pump(sql::Table& tanks, int from, int to, int litres)
{
    sql::Transaction transaction(tanks.getHandle());
    return transaction.isOpen() && add(tanks, to, litres) && add(tanks, from, -litres) &&
           transaction.commit();
}

// Within another transaction, it is a savepoint: what fails is undone, and the rest goes on.
int pumpMany(sql::Table& tanks)
{
    sql::Transaction transaction(tanks.getHandle());
    int done = 0;
    for (const int litres : {30, 300, 20})
        if (transaction.isOpen()) // it is not, once SQLite has rolled back all of it
            done += pump(tanks, 1, 2, litres) ? 1 : 0;
    return transaction.commit() ? done : 0;
}

bool fill(sql::Table& tanks)
{
    sql::Transaction transaction(tanks.getHandle());
    sql::TableWriter writer(tanks);
    if (!transaction.isOpen() || !tanks.create())
        return false;
    for (const int id : {1, 2}) {
        writer.setInteger("id", id);
        writer.setInteger("litres", 100);
        if (!writer.upsert())
            return false;
    }
    return transaction.commit();
}

void show(sql::Table& tanks)
{
    sql::Statement all;
    if (!all.select(tanks, "", "id"))
        return;
    while (all.next())
        std::cout << "tank " << all.getInteger(0) << ": " << all.getInteger(1) << "  ";
    std::cout << "\n";
}

// A reader keeps a commit waiting. It stays open, and can be tried again.
void commitTwice(sql::Table& tanks, sql::Table& others)
{
    sql::Transaction writing(tanks.getHandle());
    add(tanks, 1, 1);
    {
        sql::Transaction reading(others.getHandle(), sql::Transaction::deferred);
        others.open();
        std::cout << "commits: " << writing.commit();
        std::cout << ", " << writing.error().code() << " " << writing.error().text();
        std::cout << ", open: " << writing.isOpen() << "\n";
    }
    std::cout << "commits: " << writing.commit() << ", open: " << writing.isOpen() << "\n";
}

int main()
{
    std::remove("tanks.db");
    sql::Database first;
    sql::Database second;
    if (!first.open("tanks.db", sql::Database::read_write_create, false, 100) ||
        !second.open("tanks.db", sql::Database::read_write, false, 100))
        return 1;
    sql::Table tanks(first.getHandle(), "tank", tankColumns);
    sql::Table others(second.getHandle(), "tank", tankColumns);
    if (!fill(tanks))
        return 1;

    std::cout << std::boolalpha << pump(tanks, 1, 2, 300) << "\n";
    show(tanks);
    std::cout << pumpMany(tanks) << " of 3\n";
    show(tanks);
    commitTwice(tanks, others);
    return 0;
}
