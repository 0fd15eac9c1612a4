#include "SqlDatabase.h"

#include <gtest/gtest.h>

#include "SqlTable.h"
#include "support/DatabaseFile.h"
#include "support/Statements.h"
#include "support/World.h"

using namespace sqltest;

namespace
{

// Transactions

const sql::Field itemFields[] = {
    sql::Field("id", sql::type_int, sql::flag_primary_key),
    sql::Field(),
};

class DatabaseTransactionTest : public FileTest
{
protected:
    DatabaseTransactionTest()
    {
        makeFile();
        openUnrecorded();
    }

    static bool add(sql::Database& to, sql::integer id)
    {
        sql::Table item(to.getHandle(), "item", itemFields);
        sql::Record record(item.fields());
        record.setInteger("id", id);
        return item.addRecord(record);
    }
    // What other connections see.
    std::string storedItems() { return Connection(file.path).cell("select count(*) from item"); }

    const std::string begin = "BEGIN TRANSACTION";
    const std::string commit = "COMMIT TRANSACTION";
    const std::string rollback = "ROLLBACK TRANSACTION";
    const Refusal locked = {5, "SQLITE_BUSY", "database is locked"};
};

TEST_F(DatabaseTransactionTest, BeginRunsOneStatement)
{
    EXPECT_TRUE(database.transactionBegin());
    EXPECT_EQ(trace({queried(begin)}), takeEvents());
}

TEST_F(DatabaseTransactionTest, CommitRunsOneStatement)
{
    EXPECT_TRUE(database.transactionBegin());
    forgetEvents();
    EXPECT_TRUE(database.transactionCommit());
    EXPECT_EQ(trace({queried(commit)}), takeEvents());
}

TEST_F(DatabaseTransactionTest, RollbackRunsOneStatement)
{
    EXPECT_TRUE(database.transactionBegin());
    forgetEvents();
    EXPECT_TRUE(database.transactionRollback());
    EXPECT_EQ(trace({queried(rollback)}), takeEvents());
}

TEST_F(DatabaseTransactionTest, CommitKeepsWhatWasWritten)
{
    EXPECT_TRUE(database.transactionBegin());
    EXPECT_TRUE(add(database, 1));
    EXPECT_TRUE(database.transactionCommit());
    EXPECT_EQ("1", storedItems());
}

TEST_F(DatabaseTransactionTest, RollbackUndoesWhatWasWritten)
{
    EXPECT_TRUE(add(database, 1));
    EXPECT_TRUE(database.transactionBegin());
    EXPECT_TRUE(add(database, 2));
    EXPECT_TRUE(add(database, 3));
    EXPECT_TRUE(database.transactionRollback());
    EXPECT_EQ("1", storedItems());
    EXPECT_EQ(1, sql::queryNumber(database.getHandle(), "select count(*) from item"));
}

TEST_F(DatabaseTransactionTest, NothingIsSeenElsewhereBeforeTheCommit)
{
    EXPECT_TRUE(database.transactionBegin());
    EXPECT_TRUE(add(database, 1));
    EXPECT_EQ("0", storedItems());
}

TEST_F(DatabaseTransactionTest, CloseUndoesWhatWasNotCommitted)
{
    EXPECT_TRUE(database.transactionBegin());
    EXPECT_TRUE(add(database, 1));
    database.close();
    EXPECT_EQ("0", storedItems());
}

TEST_F(DatabaseTransactionTest, RefusedWriteUndoesNoOther)
{
    EXPECT_TRUE(database.transactionBegin());
    EXPECT_TRUE(add(database, 1));
    EXPECT_FALSE(add(database, 1));
    EXPECT_TRUE(add(database, 2));
    EXPECT_TRUE(database.transactionCommit());
    EXPECT_EQ("2", storedItems());
}

TEST_F(DatabaseTransactionTest, CommitWithoutBeginIsRefused)
{
    EXPECT_FALSE(database.transactionCommit());
    EXPECT_EQ(
        trace({refused(commit, {1, "SQLITE_ERROR", "cannot commit - no transaction is active"})}),
        takeEvents());
}

TEST_F(DatabaseTransactionTest, RollbackWithoutBeginIsRefused)
{
    EXPECT_FALSE(database.transactionRollback());
    EXPECT_EQ(trace({refused(rollback,
                             {1, "SQLITE_ERROR", "cannot rollback - no transaction is active"})}),
              takeEvents());
}

TEST_F(DatabaseTransactionTest, SecondCommitIsRefused)
{
    EXPECT_TRUE(database.transactionBegin());
    EXPECT_TRUE(database.transactionCommit());
    EXPECT_FALSE(database.transactionCommit());
}

TEST_F(DatabaseTransactionTest, SecondBeginIsRefused)
{
    EXPECT_TRUE(database.transactionBegin());
    forgetEvents();
    EXPECT_FALSE(database.transactionBegin());
    EXPECT_EQ(trace({refused(
                  begin, {1, "SQLITE_ERROR", "cannot start a transaction within a transaction"})}),
              takeEvents());
}

TEST_F(DatabaseTransactionTest, RefusedBeginLeavesTheTransactionOpen)
{
    EXPECT_TRUE(database.transactionBegin());
    EXPECT_TRUE(add(database, 1));
    EXPECT_FALSE(database.transactionBegin());
    EXPECT_TRUE(database.transactionCommit());
    EXPECT_EQ("1", storedItems());
}

TEST_F(DatabaseTransactionTest, TransactionsFollowEachOther)
{
    EXPECT_TRUE(database.transactionBegin());
    EXPECT_TRUE(add(database, 1));
    EXPECT_TRUE(database.transactionRollback());
    EXPECT_TRUE(database.transactionBegin());
    EXPECT_TRUE(add(database, 2));
    EXPECT_TRUE(database.transactionCommit());
    EXPECT_EQ("2", Connection(file.path).cell("select id from item"));
}

TEST_F(DatabaseTransactionTest, BeginTakesNoLock)
{
    Connection other(file.path);
    other.run("begin exclusive");
    EXPECT_TRUE(database.transactionBegin());
    EXPECT_EQ(trace({queried(begin)}), takeEvents());
}

TEST_F(DatabaseTransactionTest, WriteIsRefusedWhileAnotherConnectionWrites)
{
    sql::Database other;
    EXPECT_TRUE(other.open(file.path, sql::Database::read_write, false, 0));
    EXPECT_TRUE(database.transactionBegin());
    EXPECT_TRUE(add(database, 1));
    EXPECT_TRUE(other.transactionBegin());
    forgetEvents();
    EXPECT_FALSE(add(other, 2));
    EXPECT_EQ(trace({refused("insert into item (id) values (2)", locked)}), takeEvents());
}

TEST_F(DatabaseTransactionTest, CommitIsRefusedWhileAnotherConnectionReads)
{
    Connection reader(file.path);
    reader.run("begin; select * from item");
    EXPECT_TRUE(database.transactionBegin());
    EXPECT_TRUE(add(database, 1));
    forgetEvents();
    EXPECT_FALSE(database.transactionCommit());
    EXPECT_EQ(trace({refused(commit, locked)}), takeEvents());
}

TEST_F(DatabaseTransactionTest, RefusedCommitCanBeRepeated)
{
    Connection reader(file.path);
    reader.run("begin; select * from item");
    EXPECT_TRUE(database.transactionBegin());
    EXPECT_TRUE(add(database, 1));
    EXPECT_FALSE(database.transactionCommit());
    reader.run("commit");
    EXPECT_TRUE(database.transactionCommit());
    EXPECT_EQ("1", storedItems());
}

TEST_F(DatabaseTransactionTest, BeginWithoutConnectionIsReportedWithoutCallingSqlite)
{
    EXPECT_FALSE(sql::Database().transactionBegin());
    EXPECT_EQ(trace({notConnected()}), takeEvents());
}

TEST_F(DatabaseTransactionTest, CommitWithoutConnectionIsReportedWithoutCallingSqlite)
{
    EXPECT_FALSE(sql::Database().transactionCommit());
    EXPECT_EQ(trace({notConnected()}), takeEvents());
}

TEST_F(DatabaseTransactionTest, RollbackWithoutConnectionIsReportedWithoutCallingSqlite)
{
    EXPECT_FALSE(sql::Database().transactionRollback());
    EXPECT_EQ(trace({notConnected()}), takeEvents());
}

TEST_F(DatabaseTransactionTest, ClosedDatabaseHasNoConnection)
{
    database.close();
    forgetEvents();
    EXPECT_FALSE(database.transactionBegin());
    EXPECT_EQ(trace({notConnected()}), takeEvents());
}

TEST_F(DatabaseTransactionTest, StatementIsLoggedAboveLevel7)
{
    setTraceLevel(8);
    EXPECT_TRUE(database.transactionBegin());
    EXPECT_EQ(trace({queried(begin)}), takeEvents());
}

TEST_F(DatabaseTransactionTest, StatementIsNotLoggedAtLevel7)
{
    setTraceLevel(7);
    EXPECT_TRUE(database.transactionBegin());
    EXPECT_EQ(trace({sqlite("exec", begin)}), takeEvents());
}

TEST_F(DatabaseTransactionTest, RefusalIsLoggedAboveLevel2)
{
    const Source recordset("SqlRecordSet");
    setTraceLevel(3);
    EXPECT_FALSE(database.transactionCommit());
    EXPECT_EQ(trace({
                  sqlite("exec", commit),
                  recordset.error("query", "Failed to run the SQL stmt '%s'", commit.c_str()),
                  recordset.error("query", "  rc=%d=%s: %s", 1, "SQLITE_ERROR",
                                  "cannot commit - no transaction is active"),
                  sqlite("free"),
              }),
              takeEvents());
}

TEST_F(DatabaseTransactionTest, WordsOfRefusalAreFreedAtLevel2)
{
    setTraceLevel(2);
    EXPECT_FALSE(database.transactionCommit());
    EXPECT_EQ(trace({sqlite("exec", commit), sqlite("free")}), takeEvents());
}

} // namespace
