#include "Transaction.h"

#include <gtest/gtest.h>

namespace
{

class InventoryTransactionTest : public ::testing::Test
{
protected:
    InventoryTransactionTest()
    {
        database.open(":memory:", sql::Database::read_write_create, false, 0);
        run("create table t (a)");
    }

    bool run(const std::string& statement)
    {
        return sql::runOneStepSqlStmt(database.getHandle(), statement);
    }

    int rows() { return sql::queryNumber(database.getHandle(), "select count(*) from t"); }

    sql::Database database;
};

TEST_F(InventoryTransactionTest, KeepsWhatIsCommitted)
{
    {
        inventory::Transaction transaction(database);
        EXPECT_TRUE(transaction.isOpen());
        EXPECT_TRUE(run("insert into t values (1)"));
        EXPECT_TRUE(transaction.commit());
        EXPECT_FALSE(transaction.isOpen());
    }
    EXPECT_EQ(1, rows());
}

TEST_F(InventoryTransactionTest, RollsBackAtItsEnd)
{
    {
        inventory::Transaction transaction(database);
        EXPECT_TRUE(run("insert into t values (1)"));
    }
    EXPECT_EQ(0, rows());
}

TEST_F(InventoryTransactionTest, WritesNothingOnceRolledBack)
{
    {
        inventory::Transaction transaction(database);
        EXPECT_TRUE(run("rollback")); // as SQLite does by itself
        EXPECT_FALSE(transaction.isOpen());
        EXPECT_FALSE(run("insert into t values (1)"));
        EXPECT_FALSE(transaction.commit());
    }
    EXPECT_EQ(0, rows());
}

TEST_F(InventoryTransactionTest, LeavesTheConnectionAsItWas)
{
    {
        inventory::Transaction transaction(database);
    }
    EXPECT_TRUE(run("insert into t values (1)"));
    EXPECT_EQ(1, rows());
}

} // namespace
