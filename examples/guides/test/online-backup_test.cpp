#include <gtest/gtest.h>

#include <Sql.h>
#include <SqlPrepared.h>

#include "Locks.h"

bool addEvents(sql::Table& events, int count);
bool copy(sqlite3* destination, sqlite3* source,
          const std::function<void(const sql::Backup&)>& between);

namespace
{

const char from[] = "locks-backup-source.db";
const char to[] = "locks-backup-destination.db";
const sql::Field columns[] = {sql::Field("id", sql::type_int, sql::flag_primary_key),
                              sql::Field("text", sql::type_text, 0), sql::Field()};

bool make(sql::Database& database, const char* file, int events)
{
    removeDatabase(file);
    sql::Table table("event");
    return database.open(file, sql::Database::read_write_create, false, 0) &&
           table.initTable(database.getHandle(), columns) && addEvents(table, events);
}

} // namespace

TEST(OnlineBackupGuide, GivesUpUnderALockAndLeavesTheDestination)
{
    for (const char* locked : {from, to}) {
        sql::Database source;
        sql::Database destination;
        sql::Database other;
        ASSERT_TRUE(make(source, from, 1000));
        ASSERT_TRUE(make(destination, to, 1));
        ASSERT_TRUE(other.open(locked, sql::Database::read_write, false, 0));
        ASSERT_TRUE(sql::RecordSet(other.getHandle()).query("BEGIN EXCLUSIVE"));
        const auto nothing = [](const sql::Backup&) {};

        EXPECT_FALSE(copy(destination.getHandle(), source.getHandle(), nothing)) << locked;
        EXPECT_TRUE(other.transactionRollback());
        EXPECT_EQ(1, numberIn(to, "select count(*) from event")) << locked;

        EXPECT_TRUE(copy(destination.getHandle(), source.getHandle(), nothing)) << locked;
        EXPECT_EQ(1000, numberIn(to, "select count(*) from event")) << locked;
    }
}
