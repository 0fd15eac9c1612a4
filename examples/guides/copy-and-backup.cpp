// Copy and backup, so that what is there is always a whole one.

#include <cstdio>
#include <iostream>

#include <Sql.h>

const sql::Field routeColumns[] = {sql::Field("id", sql::type_int, sql::flag_primary_key),
                                   sql::Field("name", sql::type_text, sql::flag_not_null),
                                   sql::Field("active", sql::type_bool, sql::flag_not_null),
                                   sql::Field()};

bool fill(sql::Table& routes)
{
    sql::Record route(routes.fields());
    if (!routes.create())
        return false;
    for (int id = 1; id <= 3; ++id) {
        route.setInteger("id", id);
        route.setString("name", "Route " + sql::intToStr(id));
        route.setBool("active", id != 2);
        if (!routes.addRecord(route))
            return false;
    }
    return true;
}

// The source is read in a transaction, so that it stays as it is meanwhile. The copy is written in
// one, so that a failure leaves the copy of before.
bool backup(sql::Database& database, sql::Database& copy)
{
    sql::Table routes(database.getHandle(), "route", routeColumns);
    sql::Table copied(copy.getHandle(), "route", routeColumns);
    if (!database.transactionBegin() || !sql::RecordSet(copy.getHandle()).query("BEGIN IMMEDIATE"))
        return false;
    const bool ok = copied.backup(routes) && copy.transactionCommit();
    if (!ok)
        copy.transactionRollback();
    database.transactionRollback(); // it has only read
    return ok;
}

// The rows of the last read, in one transaction as well.
bool copyActive(sql::Database& database)
{
    sql::Table routes(database.getHandle(), "route", routeColumns);
    sql::Table active(database.getHandle(), "active_route", routeColumns);
    if (!sql::RecordSet(database.getHandle()).query("BEGIN IMMEDIATE"))
        return false;
    const bool ok = active.create() && active.truncate() && routes.open("active = 1") &&
                    active.copyRecords(routes) && database.transactionCommit();
    if (!ok)
        database.transactionRollback();
    return ok;
}

int main()
{
    for (const char* file : {"routes.db", "copy.db", "whole.db"})
        std::remove(file);
    sql::Database database;
    sql::Database copy;
    if (!database.open("routes.db", sql::Database::read_write_create, false, 1000) ||
        !copy.open("copy.db", sql::Database::read_write_create, false, 1000))
        return 1;
    sql::Table routes(database.getHandle(), "route", routeColumns);
    if (!fill(routes))
        return 1;

    std::cout << std::boolalpha << backup(database, copy) << "\n";
    std::cout << sql::queryNumber(copy.getHandle(), "select count(*) from route") << "\n";

    // A second one that fails: the first stays.
    sql::Table lost(database.getHandle(), "route", routeColumns);
    lost.remove();
    std::cout << backup(database, copy) << "\n";
    std::cout << sql::queryNumber(copy.getHandle(), "select count(*) from route") << "\n";

    // Back again.
    std::cout << backup(copy, database) << "\n";
    std::cout << copyActive(database) << "\n";
    std::cout << sql::queryNumber(database.getHandle(), "select count(*) from active_route")
              << "\n";

    // The whole file, with all tables, indices and the stamp: SQLite makes it by itself.
    std::cout << sql::RecordSet(database.getHandle()).query("vacuum into 'whole.db'") << "\n";
    return 0;
}
