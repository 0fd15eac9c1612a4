#include <gtest/gtest.h>

#include "Locks.h"

bool fill(sql::Database& database, sql::Table& samples);
bool sum(sql::Database& database, sql::integer& total);

namespace
{

const char file[] = "locks-large-tables.db";
const sql::Field columns[] = {sql::Field("id", sql::type_int, sql::flag_primary_key),
                              sql::Field("value", sql::type_int, sql::flag_not_null), sql::Field()};

bool make(sql::Database& database)
{
    database.close();
    removeDatabase(file);
    return database.open(file, sql::Database::read_write_create, false, 0) &&
           sql::Table(database.getHandle(), "sample", columns).create();
}

} // namespace

// A lock at each of its 10,000 rows would take hours: they are alike.
TEST(LargeTablesGuide, FillsAllOrNothingUnderALock)
{
    sql::Database database;
    ASSERT_TRUE(make(database));
    sql::Table samples(database.getHandle(), "sample", columns);

    sql::Database other;
    ASSERT_TRUE(other.open(file, sql::Database::read_write, false, 0));
    ASSERT_TRUE(other.transactionBegin());
    ASSERT_EQ(0, sql::queryNumber(other.getHandle(), "select count(*) from sample"));
    EXPECT_FALSE(fill(database, samples)); // at its commit
    ASSERT_TRUE(other.transactionRollback());
    EXPECT_EQ(0, numberIn(file, "select count(*) from sample"));

    EXPECT_TRUE(fill(database, samples));
    EXPECT_EQ(10000, numberIn(file, "select count(*) from sample"));
}

TEST(LargeTablesGuide, SumsUnderLocks)
{
    sql::Database database;
    sql::integer total = 0;
    Work work;
    work.files = {file};
    work.databases = {&database};
    work.prepare = [&] {
        total = 0;
        return make(database) && sql::RecordSet(database.getHandle())
                                     .query("insert into sample values (-5, 1), (0, 2), (7, 4)");
    };
    work.run = [&] {
        total = 0;
        return sum(database, total);
    };
    work.isDone = [&] { return total == 7; }; // rows with keys of 0 and below are rows, too
    EXPECT_LT(0, runWithLocks(work));
}
