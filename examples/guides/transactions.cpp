// Writing in transactions: all or nothing, and who may write when.

#include <cstdio>
#include <iostream>

#include <Sql.h>

const sql::Field accountColumns[] = {sql::Field("id", sql::type_int, sql::flag_primary_key),
                                     sql::Field("litres", sql::type_int, sql::flag_not_null),
                                     sql::Field()};

// Undoes what was written, unless it is committed. It takes the lock for writing at once.
class Transaction
{
public:
    explicit Transaction(sql::Database& database) : _database(database)
    {
        _open = sql::RecordSet(database.getHandle()).query("BEGIN IMMEDIATE");
    }
    ~Transaction()
    {
        if (_open)
            _database.transactionRollback();
    }
    Transaction(const Transaction&) = delete;
    Transaction& operator=(const Transaction&) = delete;

    bool isOpen() const { return _open; }
    bool commit()
    {
        if (_open && _database.transactionCommit())
            _open = false;
        return !_open;
    }

private:
    sql::Database& _database;
    bool _open;
};

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
    sql::Table tanks(database.getHandle(), "tank", accountColumns);
    Transaction transaction(database);
    return transaction.isOpen() && add(tanks, to, litres) && add(tanks, from, -litres) &&
           transaction.commit();
}

bool fill(sql::Database& database)
{
    sql::Table tanks(database.getHandle(), "tank", accountColumns);
    sql::Record tank(tanks.fields());
    if (!tanks.create())
        return false;
    for (const int id : {1, 2}) {
        tank.setInteger("id", id);
        tank.setInteger("litres", 100);
        if (!tanks.addRecord(tank))
            return false;
    }
    return true;
}

void show(sql::Database& database)
{
    sql::Table tanks(database.getHandle(), "tank", accountColumns);
    if (tanks.open())
        std::cout << tanks.getRecord(0)->toString() << "  " << tanks.getRecord(1)->toString()
                  << "\n";
}

// Both have read before either writes. One of them cannot go on, and has to begin anew.
void readFirst(sql::Database& first, sql::Database& second)
{
    sql::Table mine(first.getHandle(), "tank", accountColumns);
    sql::Table yours(second.getHandle(), "tank", accountColumns);
    first.transactionBegin();
    second.transactionBegin();
    mine.open();
    yours.open();
    std::cout << "first writes: " << add(mine, 1, 1) << "\n";
    std::cout << "second writes: " << add(yours, 1, 1) << "\n";
    second.transactionRollback();
    std::cout << "first commits: " << first.transactionCommit() << "\n";
}

// Who comes second learns it before any work is done, or waits.
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
