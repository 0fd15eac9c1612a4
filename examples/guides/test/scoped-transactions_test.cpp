#include <gtest/gtest.h>

#include "Locks.h"

bool fill(sql::Table& tanks);
bool pump(sql::Table& tanks, int from, int to, int litres);
int pumpMany(sql::Table& tanks);

namespace
{

const char file[] = "locks-scoped-transactions.db";
const sql::Field columns[] = {sql::Field("id", sql::type_int, sql::flag_primary_key),
                              sql::Field("litres", sql::type_int, sql::flag_not_null),
                              sql::Field()};

class ScopedTransactionsGuide : public testing::Test
{
protected:
    Work work()
    {
        Work work;
        work.files = {file};
        work.databases = {&_database};
        work.prepare = [this] {
            _database.close();
            removeDatabase(file);
            sql::Table tanks("tank");
            return _database.open(file, sql::Database::read_write_create, false, 0) &&
                   tanks.initTable(_database.getHandle(), columns) && fill(tanks);
        };
        return work;
    }
    sql::Table tanks() { return sql::Table(_database.getHandle(), "tank", columns); }
    static bool holds(int litres)
    {
        return numberIn(file, "select litres from tank where id = 2") == litres;
    }

    sql::Database _database;
};

} // namespace

TEST_F(ScopedTransactionsGuide, PumpsAllOrNothingUnderLocks)
{
    Work pumping = work();
    pumping.run = [this] {
        sql::Table table = tanks();
        return pump(table, 1, 2, 30);
    };
    pumping.isDone = [] { return holds(130); };
    EXPECT_LT(3, runWithLocks(pumping));
}

TEST_F(ScopedTransactionsGuide, PumpsManyAllOrNothingUnderLocks)
{
    Work pumping = work();
    pumping.run = [this] {
        sql::Table table = tanks();
        return pumpMany(table) == 2;
    };
    pumping.isDone = [] { return holds(150); };
    EXPECT_LT(3, runWithLocks(pumping));
}

// As after a full disk.
TEST_F(ScopedTransactionsGuide, KeepsNothingOnceSqliteHasRolledBack)
{
    ASSERT_TRUE(work().prepare());
    ASSERT_TRUE(sql::RecordSet(_database.getHandle())
                    .query("create trigger full before update on tank when new.litres > 400 begin "
                           "select raise(rollback, 'full'); end"));
    sql::Table table = tanks();
    EXPECT_EQ(0, pumpMany(table));
    EXPECT_TRUE(holds(100));
}
