#include "SqlBackup.h"

#include <memory>

#include <gtest/gtest.h>
#include <sqlite3.h>

#include "platform/Interposed.h"
#include "SqlDatabase.h"
#include "support/Prepared.h"

using namespace sqltest;

// Replaces SQLite's own, which may find a lock of this program: a cache that connections share.
static bool isLockedWithin = false;

extern "C" int sqlite3_backup_step(sqlite3_backup* backup, int pages)
{
    return isLockedWithin ? SQLITE_LOCKED : SQLW_REAL(sqlite3_backup_step)(backup, pages);
}

namespace
{

const Source source = companionSource("SqlBackup");

std::string refusedToCopy(const Refusal& refusal)
{
    return source.error("fail", "Failed to copy a database: rc=%d=%s: %s", refusal.rc, refusal.name,
                        refusal.text);
}

// `mine` is copied over the database in `copy`.
class BackupTest : public FileTest
{
protected:
    BackupTest()
    {
        mine.run("create table item (id integer primary key, name text);"
                 "create temp table digit (n);"
                 "insert into digit values (0), (1), (2), (3), (4), (5), (6), (7), (8), (9);"
                 "insert into item select 1 + a.n + 10 * b.n + 100 * c.n, hex(zeroblob(20))"
                 " from digit a, digit b, digit c order by 1;"
                 "drop table digit");
    }

    int pages(Connection& of) { return std::stoi(of.cell("pragma page_count")); }
    std::string rows(Connection& of) { return of.cell("select count(*) from item"); }

    const TemporaryFile copyFile;
    Connection copy{copyFile.path};
};

TEST_F(BackupTest, HasNotBegunWhateverItsMemoryHeld)
{
    const Fresh<sql::Backup> backup(copy.db, mine.db);
    EXPECT_FALSE(backup->isDone());
    EXPECT_FALSE(backup->isBusy());
    EXPECT_EQ(0, backup->remaining());
    EXPECT_EQ(0, backup->pageCount());
    EXPECT_EQ("none", words(backup->error()));
}

TEST_F(BackupTest, LogsTheStatementThatKeepsTheDestinationOpen)
{
    setTraceLevel(9);
    const sql::Backup backup(copy.db, mine.db);
    EXPECT_EQ(trace({prepared("select 1")}), takeDiagnostics());
}

TEST_F(BackupTest, CopiesAtOnce)
{
    sql::Backup backup(copy.db, mine.db);
    EXPECT_EQ("none", words(backup.error()));
    EXPECT_FALSE(backup.isDone());
    EXPECT_FALSE(backup.step(-1));
    EXPECT_TRUE(backup.isDone());
    EXPECT_FALSE(backup.isBusy());
    EXPECT_EQ("none", words(backup.error()));
    EXPECT_EQ("1000", rows(copy));
    EXPECT_EQ("", takeDiagnostics());
}

TEST_F(BackupTest, CopiesPageByPage)
{
    sql::Backup backup(copy.db, mine.db);
    EXPECT_EQ(0, backup.pageCount());
    EXPECT_EQ(0, backup.remaining());
    int steps = 1;
    while (backup.step(1)) {
        EXPECT_EQ(pages(mine), backup.pageCount());
        EXPECT_EQ(pages(mine) - steps, backup.remaining());
        EXPECT_FALSE(backup.isDone());
        ++steps;
    }
    EXPECT_TRUE(backup.isDone());
    EXPECT_EQ(pages(mine), steps);
    EXPECT_EQ(0, backup.remaining());
    EXPECT_EQ(pages(mine), backup.pageCount());
}

TEST_F(BackupTest, SourceThatCouldNotBeOpenedIsMisuse)
{
    sqlite3* unopened = nullptr;
    {
        Unrecorded direct;
        ASSERT_EQ(SQLITE_CANTOPEN, sqlite3_open_v2("/no/such/folder/item.db", &unopened,
                                                   SQLITE_OPEN_READWRITE, nullptr));
    }
    sql::Backup backup(copy.db, unopened);
    const Refusal refusal = {SQLITE_MISUSE, "SQLITE_MISUSE", "the source is not open"};
    EXPECT_EQ(trace({refusedToCopy(refusal)}), takeDiagnostics());
    EXPECT_EQ("21: the source is not open", words(backup.error()));
    EXPECT_FALSE(backup.step(-1));
    EXPECT_FALSE(backup.isDone());
    Unrecorded direct;
    sqlite3_close(unopened);
}

TEST_F(BackupTest, FurtherStepsOfADoneCopyAreFalse)
{
    sql::Backup backup(copy.db, mine.db);
    EXPECT_FALSE(backup.step(-1));
    EXPECT_FALSE(backup.step(-1));
    EXPECT_TRUE(backup.isDone());
    EXPECT_EQ("none", words(backup.error()));
}

TEST_F(BackupTest, ReplacesWhatTheDestinationHeld)
{
    copy.run("create table old (id integer); create table item (id integer)");
    EXPECT_FALSE(sql::Backup(copy.db, mine.db).step(-1));
    EXPECT_EQ("0", copy.cell("select count(*) from sqlite_master where name = 'old'"));
    EXPECT_EQ("1000", rows(copy));
}

TEST_F(BackupTest, UnfinishedCopyIsUndone)
{
    copy.run("create table old (id integer)");
    {
        sql::Backup backup(copy.db, mine.db);
        EXPECT_TRUE(backup.step(3));
    }
    EXPECT_EQ("old", copy.cell("select group_concat(name) from sqlite_master"));
    EXPECT_EQ("ok", copy.cell("pragma integrity_check"));
}

TEST_F(BackupTest, WritesOfTheSourceConnectionAreCopiedAlong)
{
    sql::Backup backup(copy.db, mine.db);
    EXPECT_TRUE(backup.step(2));
    mine.run("delete from item where id > 10");
    EXPECT_FALSE(backup.step(-1));
    EXPECT_EQ("10", rows(copy));
}

TEST_F(BackupTest, WritesOfOthersMakeItBeginAgain)
{
    sql::Backup backup(copy.db, mine.db);
    EXPECT_TRUE(backup.step(2));
    other.run("insert into item values (2000, 'late')");
    EXPECT_TRUE(backup.step(1));
    EXPECT_EQ(pages(mine) - 1, backup.remaining());
    EXPECT_FALSE(backup.step(-1));
    EXPECT_EQ("1001", rows(copy));
}

TEST_F(BackupTest, LockOfTheSourceIsToBeWaitedFor)
{
    sql::Backup backup(copy.db, mine.db);
    other.run("begin exclusive");
    EXPECT_TRUE(backup.step(-1));
    EXPECT_TRUE(backup.isBusy());
    EXPECT_FALSE(backup.isDone());
    EXPECT_EQ("none", words(backup.error()));
    other.run("commit");
    EXPECT_FALSE(backup.step(-1));
    EXPECT_FALSE(backup.isBusy());
    EXPECT_TRUE(backup.isDone());
    EXPECT_EQ("", takeDiagnostics());
}

TEST_F(BackupTest, LockOfTheDestinationIsToBeWaitedFor)
{
    Connection reader(copyFile.path);
    copy.run("create table old (id integer)");
    sql::Backup backup(copy.db, mine.db);
    reader.run("begin; select * from old");
    EXPECT_TRUE(backup.step(-1));
    EXPECT_TRUE(backup.isBusy());
    reader.run("commit");
    EXPECT_FALSE(backup.step(-1));
    EXPECT_TRUE(backup.isDone());
    EXPECT_EQ("1000", rows(copy));
}

TEST_F(BackupTest, LockWithinTheProgramIsToBeWaitedFor)
{
    sql::Backup backup(copy.db, mine.db);
    isLockedWithin = true;
    EXPECT_TRUE(backup.step(-1));
    EXPECT_TRUE(backup.isBusy());
    EXPECT_EQ("none", words(backup.error()));
    isLockedWithin = false;
    EXPECT_FALSE(backup.step(-1));
    EXPECT_TRUE(backup.isDone());
    EXPECT_EQ("", takeDiagnostics());
}

// Failures

TEST_F(BackupTest, FailsOnceAndForAll)
{
    copy.run("pragma max_page_count = 2");
    sql::Backup backup(copy.db, mine.db);
    EXPECT_FALSE(backup.step(-1));
    EXPECT_EQ("13: database or disk is full", words(backup.error()));
    EXPECT_FALSE(backup.isDone());
    EXPECT_FALSE(backup.isBusy());
    EXPECT_EQ(trace({refusedToCopy({13, "SQLITE_FULL", "database or disk is full"})}),
              takeDiagnostics());
    copy.run("pragma max_page_count = 2000");
    EXPECT_FALSE(backup.step(-1));
    EXPECT_EQ("13: database or disk is full", words(backup.error()));
    EXPECT_EQ("", takeDiagnostics());
}

TEST_F(BackupTest, OneConnectionCannotBeBoth)
{
    sql::Backup backup(mine.db, mine.db);
    EXPECT_EQ("1: source and destination must be distinct", words(backup.error()));
    EXPECT_EQ(
        trace({refusedToCopy({1, "SQLITE_ERROR", "source and destination must be distinct"})}),
        takeDiagnostics());
    EXPECT_FALSE(backup.step(-1));
    EXPECT_FALSE(backup.isDone());
}

TEST_F(BackupTest, DestinationThatCouldNotBeOpenedIsMisuse)
{
    sqlite3* unopened = nullptr;
    {
        Unrecorded direct;
        ASSERT_EQ(SQLITE_CANTOPEN, sqlite3_open_v2("/no/such/folder/item.db", &unopened,
                                                   SQLITE_OPEN_READWRITE, nullptr));
    }
    {
        sql::Backup backup(unopened, mine.db);
        EXPECT_EQ(SQLITE_MISUSE, backup.error().code());
        EXPECT_EQ(sqlite3_errstr(SQLITE_MISUSE), backup.error().text());
        EXPECT_FALSE(backup.step(-1));
        EXPECT_FALSE(backup.isDone());
    }
    Unrecorded direct;
    EXPECT_EQ(SQLITE_OK, sqlite3_close(unopened));
}

TEST_F(BackupTest, NullConnectionIsReportedOnce)
{
    const char* const signature = "sql::Backup::Backup(sqlite3*, sqlite3*)";
    sql::Backup nowhere(nullptr, mine.db);
    EXPECT_EQ("21: no connection", words(nowhere.error()));
    EXPECT_EQ(trace({source.asserted("destination", signature)}), takeDiagnostics());
    sql::Backup nothing(copy.db, nullptr);
    EXPECT_EQ("21: no connection", words(nothing.error()));
    EXPECT_EQ(trace({source.asserted("source", signature)}), takeDiagnostics());

    EXPECT_FALSE(nothing.step(1));
    EXPECT_FALSE(nothing.isDone());
    EXPECT_FALSE(nothing.isBusy());
    EXPECT_EQ(0, nothing.remaining());
    EXPECT_EQ(0, nothing.pageCount());
    EXPECT_EQ("", takeDiagnostics());
}

// A connection that is closed while it is copied, or copied over, stays open.
class ClosedTooEarlyTest : public BackupTest, public ::testing::WithParamInterface<bool>
{
};

TEST_P(ClosedTooEarlyTest, StaysOpenUntilTheCopyEnds)
{
    sql::Database database;
    ASSERT_TRUE(
        database.open(GetParam() ? copyFile.path : file.path, sql::Database::read_write, false, 0));
    sqlite3* const db = database.getHandle();
    std::unique_ptr<sql::Backup> backup(GetParam() ? new sql::Backup(db, mine.db)
                                                   : new sql::Backup(copy.db, db));
    EXPECT_TRUE(backup->step(1));
    takeEvents();
    database.close();
    EXPECT_EQ(
        trace({Source("SqlDatabase").asserted("rc == SQLITE_OK", "void sql::Database::close()")}),
        takeDiagnostics());
    EXPECT_FALSE(backup->step(-1));
    EXPECT_TRUE(backup->isDone());
    EXPECT_EQ(SQLITE_OK, sqlite3_close(db)) << "a done copy keeps no connection open";
    EXPECT_EQ("1000", rows(copy));
}

INSTANTIATE_TEST_SUITE_P(DestinationAndSource, ClosedTooEarlyTest, ::testing::Bool());

TEST_F(BackupTest, StepOfNoPagesCountsThem)
{
    sql::Backup backup(copy.db, mine.db);
    EXPECT_TRUE(backup.step(0));
    EXPECT_EQ(pages(mine), backup.pageCount());
    EXPECT_EQ(pages(mine), backup.remaining());
    EXPECT_FALSE(backup.isDone());
}

TEST_F(BackupTest, CopiesFromAWriteAheadLog)
{
    mine.run("pragma journal_mode = wal; insert into item (name) values ('in the log')");
    sql::Backup backup(copy.db, mine.db);
    EXPECT_TRUE(backup.step(1));
    other.run("insert into item (name) values ('while it is copied')");
    EXPECT_FALSE(backup.step(-1));
    EXPECT_TRUE(backup.isDone());
    EXPECT_EQ("1002", rows(copy));
}

TEST_F(BackupTest, EmptyDatabaseIsCopiedAsWell)
{
    sql::Backup backup(mine.db, copy.db);
    EXPECT_FALSE(backup.step(1));
    EXPECT_TRUE(backup.isDone());
    EXPECT_EQ("0", mine.cell("select count(*) from sqlite_master"));
}

TEST_F(BackupTest, WriteOfTheSourceConnectionIsToBeWaitedFor)
{
    mine.run("begin; insert into item (name) values ('not committed')");
    sql::Backup backup(copy.db, mine.db);
    EXPECT_TRUE(backup.step(-1));
    EXPECT_TRUE(backup.isBusy());
    mine.run("commit");
    EXPECT_FALSE(backup.step(-1));
    EXPECT_EQ("1001", rows(copy));
}

TEST_F(BackupTest, DestinationThatReadsOrWritesIsRefused)
{
    copy.run("create table own (n); begin; insert into own values (1)");
    sql::Backup backup(copy.db, mine.db);
    EXPECT_EQ("1: destination database is in use", words(backup.error()));
    EXPECT_FALSE(backup.step(-1));
    EXPECT_FALSE(backup.isDone());
    copy.run("commit");
    EXPECT_EQ("1", copy.cell("select n from own"));
}

TEST_F(BackupTest, DestinationInMemoryNeedsTheSamePageSize)
{
    Connection small(":memory:");
    small.run("pragma page_size = 1024; create table own (n)");
    sql::Backup backup(small.db, mine.db);
    EXPECT_FALSE(backup.step(-1));
    EXPECT_EQ(SQLITE_READONLY, backup.error().code());
    EXPECT_FALSE(backup.isDone());
}

} // namespace
