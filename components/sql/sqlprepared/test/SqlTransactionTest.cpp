#include "SqlTransaction.h"

#include <memory>

#include <gtest/gtest.h>
#include <sqlite3.h>

#include "SqlDatabase.h"
#include "support/Prepared.h"

using namespace sqltest;

namespace
{

const Source source = companionSource("SqlTransaction");

std::string refusedToEnd(const Refusal& refusal)
{
    return source.error("fail", "Failed to end a transaction: rc=%d=%s: %s", refusal.rc,
                        refusal.name, refusal.text);
}

const Refusal notOpen = {21, "SQLITE_MISUSE", "no transaction is open"};
const Refusal undone = {4, "SQLITE_ABORT",
                        "SQLite has rolled the transaction back, or a statement has ended it"};

class TransactionTest : public FileTest
{
protected:
    TransactionTest() { mine.run("create table item (id integer primary key)"); }

    void insert(int id) { mine.run("insert into item values (" + std::to_string(id) + ")"); }
    std::string ids(Connection& of)
    {
        return of.cell("select coalesce(group_concat(id, ' '), '') from item");
    }
    std::string ids() { return ids(other); }
    bool isInTransaction() { return sqlite3_get_autocommit(mine.db) == 0; }
};

// A transaction

TEST_F(TransactionTest, KeepsItsWritesWhenItIsCommitted)
{
    sql::Transaction transaction(mine.db);
    EXPECT_TRUE(transaction.isOpen());
    insert(1);
    EXPECT_EQ("", ids());
    EXPECT_TRUE(transaction.commit());
    EXPECT_EQ("1", ids());
    EXPECT_FALSE(transaction.isOpen());
    EXPECT_FALSE(isInTransaction());
    EXPECT_EQ("none", words(transaction.error()));
    EXPECT_EQ("", takeDiagnostics());
}

TEST_F(TransactionTest, IsRolledBackWhenItEndsWithoutCommit)
{
    {
        sql::Transaction transaction(mine.db);
        insert(1);
    }
    EXPECT_EQ("", ids());
    EXPECT_FALSE(isInTransaction());
    EXPECT_EQ("", takeDiagnostics());
}

TEST_F(TransactionTest, IsRolledBackOnDemand)
{
    sql::Transaction transaction(mine.db);
    insert(1);
    EXPECT_TRUE(transaction.rollback());
    EXPECT_FALSE(transaction.isOpen());
    EXPECT_FALSE(isInTransaction());
    EXPECT_EQ("", ids());
}

// Modes

TEST_F(TransactionTest, ModesAreNumberedFrom0)
{
    EXPECT_EQ(0, static_cast<int>(sql::Transaction::deferred));
    EXPECT_EQ(1, static_cast<int>(sql::Transaction::immediate));
    EXPECT_EQ(2, static_cast<int>(sql::Transaction::exclusive));
}

TEST_F(TransactionTest, LogsWhatItCompilesForEachMode)
{
    setTraceLevel(9);
    const struct
    {
        sql::Transaction::Mode mode;
        const char* beginning;
    } modes[] = {{sql::Transaction::deferred, "BEGIN DEFERRED TRANSACTION"},
                 {sql::Transaction::immediate, "BEGIN IMMEDIATE TRANSACTION"},
                 {sql::Transaction::exclusive, "BEGIN EXCLUSIVE TRANSACTION"}};
    for (const auto& each : modes) {
        const sql::Transaction transaction(mine.db, each.mode);
        EXPECT_EQ(trace({prepared("COMMIT TRANSACTION"), prepared("ROLLBACK TRANSACTION"),
                         prepared(each.beginning)}),
                  takeDiagnostics());
    }
}

TEST_F(TransactionTest, ImmediateTakesTheLockToWriteAtOnce)
{
    sql::Transaction first(mine.db);
    const sql::Transaction second(other.db);
    EXPECT_FALSE(second.isOpen());
    EXPECT_EQ("5: database is locked", words(second.error()));
    EXPECT_EQ(
        trace({failed("BEGIN IMMEDIATE TRANSACTION", {5, "SQLITE_BUSY", "database is locked"})}),
        takeDiagnostics());
}

TEST_F(TransactionTest, DeferredLeavesOthersToWrite)
{
    sql::Transaction first(mine.db, sql::Transaction::deferred);
    sql::Transaction second(other.db, sql::Transaction::immediate);
    EXPECT_TRUE(first.isOpen());
    EXPECT_TRUE(second.isOpen());
}

TEST_F(TransactionTest, ExclusiveKeepsOthersFromReading)
{
    sql::Transaction transaction(mine.db, sql::Transaction::exclusive);
    EXPECT_EQ(SQLITE_BUSY, sqlite3_exec(other.db, "select * from item", nullptr, nullptr, nullptr));
}

TEST_F(TransactionTest, OtherModeIsReported)
{
    const sql::Transaction transaction(mine.db, static_cast<sql::Transaction::Mode>(3));
    EXPECT_FALSE(transaction.isOpen());
    EXPECT_FALSE(isInTransaction());
    EXPECT_EQ("21: there is no such mode", words(transaction.error()));
    EXPECT_EQ(trace({source.asserted(
                  "sql", "sql::Transaction::Transaction(sqlite3*, sql::Transaction::Mode)")}),
              takeDiagnostics());
}

// Within another transaction

TEST_F(TransactionTest, WithinAnotherItIsASavepoint)
{
    sql::Transaction outer(mine.db);
    insert(1);
    {
        sql::Transaction inner(mine.db);
        EXPECT_TRUE(inner.isOpen());
        insert(2);
        EXPECT_TRUE(inner.commit());
        EXPECT_FALSE(inner.isOpen());
    }
    {
        sql::Transaction inner(mine.db);
        insert(3);
        {
            sql::Transaction innermost(mine.db);
            insert(4);
            EXPECT_TRUE(innermost.commit());
        }
        EXPECT_EQ("1 2 3 4", ids(mine));
    }
    EXPECT_EQ("1 2", ids(mine));
    EXPECT_TRUE(outer.isOpen());
    EXPECT_TRUE(outer.commit());
    EXPECT_EQ("1 2", ids());
    EXPECT_EQ("", takeDiagnostics());
}

TEST_F(TransactionTest, SavepointLogsWhatItCompiles)
{
    const sql::Transaction outer(mine.db);
    setTraceLevel(9);
    const sql::Transaction inner(mine.db);
    EXPECT_EQ(trace({prepared("RELEASE sqlprepared"), prepared("ROLLBACK TO sqlprepared"),
                     prepared("SAVEPOINT sqlprepared")}),
              takeDiagnostics());
}

TEST_F(TransactionTest, SavepointIsGoneAfterItsRollback)
{
    sql::Transaction outer(mine.db);
    sql::Transaction inner(mine.db);
    insert(1);
    EXPECT_TRUE(inner.rollback());
    EXPECT_FALSE(inner.isOpen());
    EXPECT_EQ(SQLITE_ERROR,
              sqlite3_exec(mine.db, "release sqlprepared", nullptr, nullptr, nullptr));
    EXPECT_TRUE(outer.isOpen());
    EXPECT_EQ("", ids(mine));
}

TEST_F(TransactionTest, NestsInATransactionOfTheLibrary)
{
    mine.run("begin transaction");
    {
        sql::Transaction inner(mine.db);
        insert(1);
    }
    EXPECT_TRUE(isInTransaction());
    mine.run("commit transaction");
    EXPECT_EQ("", ids());
}

TEST_F(TransactionTest, InnerOneEndsWithTheOuter)
{
    sql::Transaction outer(mine.db);
    sql::Transaction inner(mine.db);
    insert(1);
    EXPECT_TRUE(outer.commit());
    EXPECT_FALSE(inner.isOpen());
    EXPECT_EQ("1", ids());
}

// Others in the way

TEST_F(TransactionTest, CommitThatFindsALockStaysOpenAndCanBeTriedAgain)
{
    sql::Transaction transaction(mine.db);
    insert(1);
    other.run("begin; select * from item");
    EXPECT_FALSE(transaction.commit());
    EXPECT_TRUE(transaction.isOpen());
    EXPECT_EQ("5: database is locked", words(transaction.error()));
    EXPECT_EQ(trace({failed("COMMIT TRANSACTION", {5, "SQLITE_BUSY", "database is locked"})}),
              takeDiagnostics());
    other.run("commit");
    EXPECT_TRUE(transaction.commit());
    EXPECT_EQ("none", words(transaction.error()));
    EXPECT_EQ("1", ids());
}

TEST_F(TransactionTest, WriteThatIsOnARowKeepsItOpen)
{
    if (sqlite3_libversion_number() < 3035000)
        GTEST_SKIP() << "without RETURNING";
    sql::Statement write;
    EXPECT_TRUE(write.prepare(mine.db, "insert into item values (1), (2) returning id"));
    sql::Transaction transaction(mine.db);
    ASSERT_TRUE(write.next());
    EXPECT_FALSE(transaction.commit());
    EXPECT_TRUE(transaction.isOpen());
    EXPECT_EQ("5: cannot commit transaction - SQL statements in progress",
              words(transaction.error()));
    write.reset();
    EXPECT_TRUE(transaction.commit());
    EXPECT_EQ("1 2", ids());
}

TEST_F(TransactionTest, ReaderGoesOnAfterARollbackUnlessTheSchemaChanged)
{
    for (int id : {1, 2, 3})
        insert(id);
    sql::Statement reader;
    EXPECT_TRUE(reader.prepare(mine.db, "select id from item"));
    ASSERT_TRUE(reader.next());
    {
        sql::Transaction transaction(mine.db);
        insert(4);
    }
    ASSERT_TRUE(reader.next());
    EXPECT_EQ(2, reader.getInteger(0));
    {
        sql::Transaction transaction(mine.db);
        mine.run("create table another (n)");
    }
    EXPECT_FALSE(reader.next());
    EXPECT_EQ("516: abort due to ROLLBACK", words(reader.error()));
    ASSERT_TRUE(reader.next());
    EXPECT_EQ(1, reader.getInteger(0));
}

TEST_F(TransactionTest, ForeignKeyThatFailsAtCommitLeavesItOpen)
{
    mine.run("pragma foreign_keys = on; create table part (item references item(id) "
             "deferrable initially deferred)");
    sql::Transaction transaction(mine.db);
    mine.run("insert into part values (7)");
    EXPECT_FALSE(transaction.commit());
    EXPECT_EQ("787: FOREIGN KEY constraint failed", words(transaction.error()));
    EXPECT_TRUE(transaction.isOpen());
    insert(7);
    EXPECT_TRUE(transaction.commit());
    EXPECT_EQ("7", ids());
}

// Rolled back by SQLite itself

class UndoneTransactionTest : public TransactionTest
{
protected:
    UndoneTransactionTest() { mine.run("create table filler (bytes); pragma max_page_count = 4"); }

    // A full disk makes SQLite roll back.
    void fillDisk()
    {
        const char* const large = "insert into filler values (zeroblob(100000))";
        EXPECT_EQ(SQLITE_FULL, sqlite3_exec(mine.db, large, nullptr, nullptr, nullptr));
        EXPECT_FALSE(isInTransaction());
    }
};

TEST_F(UndoneTransactionTest, IsNotOpenAndCannotBeCommitted)
{
    sql::Transaction transaction(mine.db);
    insert(1);
    fillDisk();
    EXPECT_FALSE(transaction.isOpen());
    EXPECT_EQ("none", words(transaction.error()));
    EXPECT_FALSE(transaction.commit());
    EXPECT_EQ("516: SQLite has rolled the transaction back, or a statement has ended it",
              words(transaction.error()));
    EXPECT_EQ(trace({refusedToEnd(undone)}), takeDiagnostics());
    EXPECT_EQ("", ids());
}

TEST_F(UndoneTransactionTest, RollbackIsTrue)
{
    sql::Transaction transaction(mine.db);
    fillDisk();
    EXPECT_FALSE(transaction.commit());
    EXPECT_TRUE(transaction.rollback());
    EXPECT_EQ("none", words(transaction.error()));
    EXPECT_FALSE(transaction.rollback());
    EXPECT_EQ(trace({refusedToEnd(undone), refusedToEnd(notOpen)}), takeDiagnostics());
}

TEST_F(UndoneTransactionTest, EndsInSilence)
{
    {
        sql::Transaction outer(mine.db);
        sql::Transaction inner(mine.db);
        fillDisk();
        EXPECT_FALSE(inner.isOpen());
        EXPECT_FALSE(outer.isOpen());
    }
    EXPECT_EQ("", takeDiagnostics());
}

TEST_F(UndoneTransactionTest, LeavesALaterTransactionAlone)
{
    {
        sql::Transaction transaction(mine.db);
        fillDisk();
        EXPECT_FALSE(transaction.isOpen());
        sql::Transaction later(mine.db);
        insert(1);
        EXPECT_FALSE(transaction.isOpen());
        EXPECT_FALSE(transaction.commit());
        EXPECT_TRUE(transaction.rollback());
        EXPECT_TRUE(later.commit());
    }
    EXPECT_EQ("1", ids());
}

TEST_F(UndoneTransactionTest, LaterWritesAreKeptOneByOne)
{
    {
        sql::Transaction transaction(mine.db);
        insert(1);
        fillDisk();
        insert(2);
    }
    EXPECT_EQ("2", ids());
}

// Misuse

TEST_F(TransactionTest, EndsOnce)
{
    sql::Transaction transaction(mine.db);
    EXPECT_TRUE(transaction.commit());
    EXPECT_FALSE(transaction.commit());
    EXPECT_EQ("21: no transaction is open", words(transaction.error()));
    EXPECT_FALSE(transaction.rollback());
    EXPECT_EQ("21: no transaction is open", words(transaction.error()));
    EXPECT_EQ(trace({refusedToEnd(notOpen), refusedToEnd(notOpen)}), takeDiagnostics());
}

TEST_F(TransactionTest, CannotEndWhenItCouldNotBegin)
{
    other.run("begin immediate");
    sql::Transaction transaction(mine.db);
    takeEvents();
    EXPECT_FALSE(transaction.commit());
    EXPECT_FALSE(transaction.rollback());
    EXPECT_EQ(trace({refusedToEnd(notOpen), refusedToEnd(notOpen)}), takeDiagnostics());
}

TEST_F(TransactionTest, DoesNotBeginWhenSqliteRefusesItsBeginningOrItsEnds)
{
    for (std::string refused : {"BEGIN", "COMMIT", "ROLLBACK"}) {
        SCOPED_TRACE(refused);
        sqlite3_set_authorizer(
            mine.db,
            [](void* one, int action, const char* what, const char*, const char*, const char*) {
                const bool isRefused =
                    action == SQLITE_TRANSACTION && *static_cast<std::string*>(one) == what;
                return isRefused ? SQLITE_DENY : SQLITE_OK;
            },
            &refused);
        const sql::Transaction transaction(mine.db);
        sqlite3_set_authorizer(mine.db, nullptr, nullptr);
        EXPECT_FALSE(transaction.isOpen());
        EXPECT_FALSE(isInTransaction());
        EXPECT_EQ("23: not authorized", words(transaction.error()));
    }
}

TEST_F(TransactionTest, SavepointThatAnotherHasReleasedCannotBeRolledBack)
{
    sql::Transaction outer(mine.db);
    sql::Transaction inner(mine.db);
    insert(1);
    mine.run("release sqlprepared");
    EXPECT_FALSE(inner.rollback());
    EXPECT_EQ("1: no such savepoint: sqlprepared", words(inner.error()));
    EXPECT_TRUE(outer.rollback());
    EXPECT_EQ("", ids());
}

TEST_F(TransactionTest, NullConnectionIsReportedOnce)
{
    sql::Transaction transaction(nullptr);
    EXPECT_FALSE(transaction.isOpen());
    EXPECT_EQ("21: no connection", words(transaction.error()));
    EXPECT_EQ(trace({source.asserted(
                  "db", "sql::Transaction::Transaction(sqlite3*, sql::Transaction::Mode)")}),
              takeDiagnostics());
    EXPECT_FALSE(transaction.commit());
    EXPECT_EQ(21, transaction.error().code());
    EXPECT_FALSE(transaction.rollback());
    EXPECT_EQ(21, transaction.error().code());
    EXPECT_EQ(trace({refusedToEnd(notOpen), refusedToEnd(notOpen)}), takeDiagnostics());
}

TEST_F(TransactionTest, ConnectionCanBeClosedOnceItHasEnded)
{
    sqlite3* db = nullptr;
    EXPECT_EQ(SQLITE_OK, sqlite3_open(file.path.c_str(), &db));
    sql::Transaction transaction(db);
    EXPECT_TRUE(transaction.commit());
    EXPECT_EQ(SQLITE_OK, sqlite3_close(db));
}

TEST_F(TransactionTest, DatabaseThatIsClosedTooEarlyStaysOpen)
{
    sql::Database database;
    ASSERT_TRUE(database.open(file.path, sql::Database::read_write, false, 0));
    sqlite3* const db = database.getHandle();
    std::unique_ptr<sql::Transaction> transaction(new sql::Transaction(db));
    takeEvents();
    database.close();
    EXPECT_EQ(
        trace({Source("SqlDatabase").asserted("rc == SQLITE_OK", "void sql::Database::close()")}),
        takeDiagnostics());
    EXPECT_TRUE(transaction->commit());
    transaction.reset();
    EXPECT_EQ(SQLITE_OK, sqlite3_close(db));
}

TEST_F(TransactionTest, LeavesTheConnectionWhenItHasEnded)
{
    sql::Database database;
    ASSERT_TRUE(database.open(file.path, sql::Database::read_write, false, 0));
    sql::Transaction committed(database.getHandle());
    EXPECT_TRUE(committed.commit());
    sql::Transaction rolledBack(database.getHandle());
    EXPECT_TRUE(rolledBack.rollback());
    database.close();
    EXPECT_EQ("", takeDiagnostics());
    EXPECT_FALSE(committed.isOpen());
    EXPECT_FALSE(rolledBack.isOpen());
}

// Memory

TEST_F(TransactionTest, WithoutMemoryItEndsAllTheSame)
{
    {
        sql::Transaction transaction(mine.db);
        insert(1);
        faults.allocationsLeft = 0;
        faults.allocationsStayOut = true;
    }
    faults.allocationsLeft = -1;
    EXPECT_FALSE(isInTransaction());
    EXPECT_EQ("", ids());
}

TEST_F(TransactionTest, WithoutMemoryForItsWordsAnErrorKeepsItsCode)
{
    sql::Transaction transaction(mine.db);
    EXPECT_TRUE(transaction.commit());
    faults.allocationsLeft = 0;
    EXPECT_FALSE(transaction.commit());
    EXPECT_EQ("21: ", words(transaction.error()));
}

} // namespace
