// Writing in transactions: all or nothing, and who may write when.

#include <cstdio>
#include <iostream>

#include <Sql.h>

#include "Transaction.h"

const sql::Field tankColumns[] = {sql::Field("id", sql::type_int, sql::flag_primary_key),
                                  sql::Field("litres", sql::type_int, sql::flag_not_null),
                                  sql::Field()};

bool add(sql::Table& tanks, sql::integer id, sql::integer litres)
{
    const sql::Record* found = tanks.getRecordByKeyId(id);
    if (!found)
        return false;
    sql::Record tank(*found);
    tank.setInteger("litres", tank.getValue("litres")->asInteger() + litres);
    return tank.getValue("litres")->asInteger() >= 0 && tanks.updateRecord(tank);
}

bool pump(sql::Database& database, int from, int to, int litres)
{
    sql::Table tanks(database.getHandle(), "tank", tankColumns);
    Transaction transaction(database);
    return transaction.isOpen() && add(tanks, to, litres) && add(tanks, from, -litres) &&
           transaction.commit();
}

bool fill(sql::Database& database)
{
    Transaction transaction(database);
    sql::Table tanks(database.getHandle(), "tank", tankColumns);
    sql::Record tank(tanks.fields());
    if (!transaction.isOpen() || !tanks.create())
        return false;
    for (const int id : {1, 2}) {
        tank.setInteger("id", id);
        tank.setInteger("litres", 100);
        if (!tanks.addRecord(tank))
            return false;
    }
    return transaction.commit();
}

void show(sql::Database& database)
{
    sql::Table tanks(database.getHandle(), "tank", tankColumns);
    if (tanks.open())
        std::cout << tanks.getRecord(0)->toString() << "  " << tanks.getRecord(1)->toString()
                  << "\n";
}

// Both have read before either writes. One of them cannot go on, and has to begin again.
void readFirst(sql::Database& first, sql::Database& second)
{
    sql::Table mine(first.getHandle(), "tank", tankColumns);
    sql::Table yours(second.getHandle(), "tank", tankColumns);
    Transaction one(first, "BEGIN");
    {
        Transaction two(second, "BEGIN");
        mine.open();
        yours.open();
        std::cout << "first writes: " << add(mine, 1, 1) << "\n";
        std::cout << "second writes: " << add(yours, 1, 1) << "\n";
        std::cout << "first commits: " << one.commit() << "\n";
    }
    std::cout << "first commits again: " << one.commit() << "\n";
}

// The second writer waits, or learns that it cannot write, before it has done any work.
void beginAtOnce(sql::Database& first, sql::Database& second)
{
    Transaction mine(first);
    std::cout << "first begins: " << mine.isOpen() << "\n";
    Transaction yours(second);
    std::cout << "second begins: " << yours.isOpen() << "\n";
}

int main()
{
    std::remove("tanks.db");
    sql::Database first;
    sql::Database second;
    if (!first.open("tanks.db", sql::Database::read_write_create, false, 100) || !fill(first) ||
        !second.open("tanks.db", sql::Database::read_write, false, 100))
        return 1;

    std::cout << std::boolalpha;
    std::cout << pump(first, 1, 2, 30) << "\n";
    show(first);
    std::cout << pump(first, 1, 2, 300) << "\n"; // tank 2 has them for a moment
    show(first);

    readFirst(first, second);
    beginAtOnce(first, second);
    return 0;
}
