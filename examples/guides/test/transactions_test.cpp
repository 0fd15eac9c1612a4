#include <gtest/gtest.h>

#include "Locks.h"

bool fill(sql::Database& database);
bool pump(sql::Database& database, int from, int to, int litres);

namespace
{

const char file[] = "locks-transactions.db";

int litres(int tank)
{
    return numberIn(file, "select litres from tank where id = " + sql::intToStr(tank));
}

bool reopen(sql::Database& database)
{
    database.close();
    removeDatabase(file);
    return database.open(file, sql::Database::read_write_create, false, 0);
}

} // namespace

TEST(TransactionsGuide, PumpsAllOrNothingUnderLocks)
{
    sql::Database database;
    Work work;
    work.files = {file};
    work.databases = {&database};
    work.prepare = [&] { return reopen(database) && fill(database); };
    work.run = [&] { return pump(database, 1, 2, 30); };
    work.isDone = [] { return litres(1) == 70 && litres(2) == 130; };
    EXPECT_LT(5, runWithLocks(work));
}

TEST(TransactionsGuide, FillsAllOrNothingUnderLocks)
{
    sql::Database database;
    Work work;
    work.files = {file};
    work.databases = {&database};
    work.prepare = [&] { return reopen(database) && database.setUserVersion(1); };
    work.run = [&] { return fill(database); };
    work.isDone = [] {
        return numberIn(file, "select count(*) from sqlite_master") == 1 && litres(2) == 100;
    };
    EXPECT_LT(5, runWithLocks(work));
}
