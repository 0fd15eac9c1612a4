#include <gtest/gtest.h>

#include "Locks.h"

bool bringUpToDate(sql::Database& database);
int versionOf(sql::Database& database);

namespace
{

const char file[] = "locks-schema-versions.db";

bool make(sql::Database& database, const std::string& statements)
{
    database.close();
    removeDatabase(file);
    return database.open(file, sql::Database::read_write_create, false, 0) &&
           sql::RecordSet(database.getHandle()).query(statements);
}

const char unstamped[] = "create table device (id INTEGER PRIMARY KEY, name TEXT NOT NULL);"
                         "insert into device values (1, ' pump ')";

} // namespace

TEST(SchemaVersionsGuide, MigratesAllOrNothingUnderLocks)
{
    sql::Database database;
    Work work;
    work.files = {file};
    work.databases = {&database};
    work.prepare = [&] { return make(database, unstamped); };
    work.run = [&] { return bringUpToDate(database); };
    work.isDone = [] {
        return numberIn(file, "PRAGMA user_version") == 3 &&
               numberIn(file, "select count(*) from pragma_table_info('device')") == 4 &&
               numberIn(file, "select count(*) from device where name = 'pump'") == 1;
    };
    EXPECT_LT(5, runWithLocks(work));
}

TEST(SchemaVersionsGuide, TellsANewFileFromAnUnstampedOne)
{
    sql::Database database;
    ASSERT_TRUE(make(database, ""));
    EXPECT_EQ(0, versionOf(database));
    ASSERT_TRUE(make(database, unstamped));
    EXPECT_EQ(1, versionOf(database));
}

TEST(SchemaVersionsGuide, LeavesFilesAloneThatItDoesNotKnow)
{
    const char foreign[] = "create table device (id INTEGER PRIMARY KEY, title TEXT)";
    for (const std::string statements :
         {foreign, "create view v as select 1", "create table device (id); PRAGMA user_version = 4",
          "create table device (id); PRAGMA user_version = -1"}) {
        sql::Database database;
        ASSERT_TRUE(make(database, statements));
        const int before = numberIn(file, "PRAGMA schema_version");
        EXPECT_FALSE(bringUpToDate(database)) << statements;
        EXPECT_EQ(before, numberIn(file, "PRAGMA schema_version")) << statements;
    }
}
