#include <gtest/gtest.h>

#include "Locks.h"

bool createCounter(sql::Database& database);
bool countOnce(sql::Database& database);

namespace
{

const char file[] = "locks-two-processes.db";

bool reopen(sql::Database& database)
{
    database.close();
    removeDatabase(file);
    return database.open(file, sql::Database::read_write_create, false, 0) &&
           database.setUserVersion(1);
}

} // namespace

TEST(TwoProcessesGuide, CreatesAllOrNothingUnderLocks)
{
    sql::Database database;
    Work work;
    work.files = {file};
    work.databases = {&database};
    work.prepare = [&] { return reopen(database); };
    work.run = [&] { return createCounter(database); };
    work.isDone = [] {
        return numberIn(file, "select count(*) from sqlite_master") == 1 &&
               numberIn(file, "select count(*) from counter") == 1;
    };
    EXPECT_LT(5, runWithLocks(work));
}

TEST(TwoProcessesGuide, CountsOnceOrNotUnderLocks)
{
    sql::Database database;
    Work work;
    work.files = {file};
    work.databases = {&database};
    work.prepare = [&] { return reopen(database) && createCounter(database); };
    work.run = [&] { return countOnce(database); };
    work.isDone = [] { return numberIn(file, "select value from counter") == 1; };
    EXPECT_LT(3, runWithLocks(work));
}
