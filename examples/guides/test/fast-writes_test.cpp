#include <gtest/gtest.h>

#include "Locks.h"

bool addParts(sql::Table& parts, int count, std::string& reason);

namespace
{

const char file[] = "locks-fast-writes.db";
const sql::Field columns[] = {
    sql::Field("code", sql::type_text, sql::flag_primary_key | sql::flag_not_null),
    sql::Field("stock", sql::type_int, sql::flag_not_null), sql::Field("price", sql::type_float, 0),
    sql::Field()};

} // namespace

TEST(FastWritesGuide, AddsAllOrNothingUnderLocksAndSaysWhy)
{
    sql::Database database;
    Work work;
    work.files = {file};
    work.databases = {&database};
    work.prepare = [&] {
        database.close();
        removeDatabase(file);
        return database.open(file, sql::Database::read_write_create, false, 0) &&
               database.setUserVersion(1);
    };
    work.run = [&] {
        sql::Table parts(database.getHandle(), "part", columns);
        std::string reason;
        const bool done = addParts(parts, 10, reason);
        EXPECT_EQ(done ? "" : "database is locked", reason);
        return done;
    };
    work.isDone = [] {
        return numberIn(file, "select count(*) from sqlite_master where type = 'table'") == 1 &&
               numberIn(file, "select count(*) from part") == 10;
    };
    EXPECT_LT(3, runWithLocks(work));
}
