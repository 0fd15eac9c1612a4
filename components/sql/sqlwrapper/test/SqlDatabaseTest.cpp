#include "SqlDatabase.h"

#include <new>

#include <gtest/gtest.h>
#include <sqlite3.h>

#include "SqlTable.h"
#include "support/DatabaseFile.h"
#include "support/Statements.h"
#include "support/World.h"

using namespace sqltest;

namespace
{

const Source source("SqlDatabase");
const Source common("SqlCommon");

const char* const openSignature =
    "bool sql::Database::open(const string&, sql::Database::AccessMode, bool, int)";
const char* const closeSignature = "void sql::Database::close()";

// A new database

class NewDatabaseTest : public FileTest
{
};

TEST_F(NewDatabaseTest, IsNotOpen)
{
    EXPECT_FALSE(database.isOpen());
}

TEST_F(NewDatabaseTest, IsNotOpenWhateverItsMemoryHeld)
{
    // Zeros, which would read as the result of an open that succeeded.
    alignas(sql::Database) unsigned char memory[sizeof(sql::Database)] = {};
    sql::Database* fresh = new (memory) sql::Database;
    EXPECT_FALSE(fresh->isOpen());
    EXPECT_EQ(nullptr, fresh->getHandle());
    fresh->~Database();
    EXPECT_EQ(trace({}), takeEvents());
}

TEST_F(NewDatabaseTest, HasNoHandle)
{
    EXPECT_EQ(nullptr, database.getHandle());
}

TEST_F(NewDatabaseTest, IsClosedWithoutCallingSqlite)
{
    database.close();
    EXPECT_EQ(trace({}), takeEvents());
    EXPECT_FALSE(database.isOpen());
}

TEST_F(NewDatabaseTest, EndsWithoutCallingSqlite)
{
    {
        sql::Database unused;
    }
    EXPECT_EQ(trace({}), takeEvents());
}

// Access modes

class DatabaseAccessModeTest : public FileTest
{
};

TEST_F(DatabaseAccessModeTest, ModesAreNumberedFrom0)
{
    EXPECT_EQ(0, static_cast<int>(sql::Database::read_only));
    EXPECT_EQ(1, static_cast<int>(sql::Database::read_write));
    EXPECT_EQ(2, static_cast<int>(sql::Database::read_write_create));
}

TEST_F(DatabaseAccessModeTest, ReadOnlyPassesFlag1)
{
    makeFile();
    EXPECT_TRUE(open(sql::Database::read_only));
    EXPECT_EQ(trace({opened(1)}), takeEvents());
}

TEST_F(DatabaseAccessModeTest, ReadWritePassesFlag2)
{
    makeFile();
    EXPECT_TRUE(open(sql::Database::read_write));
    EXPECT_EQ(trace({opened(2)}), takeEvents());
}

TEST_F(DatabaseAccessModeTest, ReadWriteCreatePassesFlags6)
{
    EXPECT_TRUE(open(sql::Database::read_write_create));
    EXPECT_EQ(trace({opened(6)}), takeEvents());
}

TEST_F(DatabaseAccessModeTest, ReadOnlyCanBeRead)
{
    makeFile();
    EXPECT_TRUE(open(sql::Database::read_only));
    EXPECT_EQ(0, sql::queryNumber(database.getHandle(), "select count(*) from item"));
}

TEST_F(DatabaseAccessModeTest, ReadOnlyCannotBeWritten)
{
    makeFile();
    EXPECT_TRUE(open(sql::Database::read_only));
    EXPECT_FALSE(sql::runOneStepSqlStmt(database.getHandle(), "insert into item values (1)"));
}

TEST_F(DatabaseAccessModeTest, ReadWriteCanBeWritten)
{
    makeFile();
    EXPECT_TRUE(open(sql::Database::read_write));
    EXPECT_TRUE(sql::runOneStepSqlStmt(database.getHandle(), "insert into item values (1)"));
}

TEST_F(DatabaseAccessModeTest, ReadOnlyNeedsTheFile)
{
    EXPECT_FALSE(open(sql::Database::read_only));
    EXPECT_EQ(trace({notFound(1)}), takeEvents());
    EXPECT_FALSE(fileExists());
}

TEST_F(DatabaseAccessModeTest, ReadWriteNeedsTheFile)
{
    EXPECT_FALSE(open(sql::Database::read_write));
    EXPECT_EQ(trace({notFound(2)}), takeEvents());
    EXPECT_FALSE(fileExists());
}

TEST_F(DatabaseAccessModeTest, ReadWriteCreateMakesTheFile)
{
    EXPECT_TRUE(open(sql::Database::read_write_create));
    EXPECT_TRUE(sql::runOneStepSqlStmt(database.getHandle(), "create table item (id integer)"));
    EXPECT_TRUE(fileExists());
}

TEST_F(DatabaseAccessModeTest, ReadWriteCreateKeepsWhatTheFileHolds)
{
    makeFile();
    EXPECT_TRUE(open(sql::Database::read_write_create));
    EXPECT_EQ(0, sql::queryNumber(database.getHandle(), "select count(*) from item"));
}

TEST_F(DatabaseAccessModeTest, OtherModeIsReportedAndRefusedBySqlite)
{
    makeFile();
    EXPECT_FALSE(open(static_cast<sql::Database::AccessMode>(7)));
    EXPECT_EQ(trace({
                  opening(),
                  source.asserted("false", openSignature),
                  sqlite("open_v2", file.path + ", 0"),
                  sqlite("errmsg"),
                  failedToOpen(21, "SQLITE_MISUSE", "bad parameter or other API misuse"),
              }),
              takeEvents());
    EXPECT_FALSE(database.isOpen());
}

TEST_F(DatabaseAccessModeTest, NegativeModeIsReportedToo)
{
    EXPECT_FALSE(open(static_cast<sql::Database::AccessMode>(-1)));
    EXPECT_EQ(trace({
                  opening(),
                  source.asserted("false", openSignature),
                  sqlite("open_v2", file.path + ", 0"),
                  sqlite("errmsg"),
                  failedToOpen(21, "SQLITE_MISUSE", "bad parameter or other API misuse"),
              }),
              takeEvents());
}

TEST_F(DatabaseAccessModeTest, OtherModeIsReportedWithoutTraceObject)
{
    dropTraceObject();
    EXPECT_FALSE(open(static_cast<sql::Database::AccessMode>(3)));
    EXPECT_EQ(trace({
                  source.asserted("false", openSignature),
                  sqlite("open_v2", file.path + ", 0"),
              }),
              takeEvents());
}

// Opening

class DatabaseOpenTest : public FileTest
{
};

TEST_F(DatabaseOpenTest, IsOpenAfterwards)
{
    EXPECT_TRUE(open(sql::Database::read_write_create));
    EXPECT_TRUE(database.isOpen());
    EXPECT_NE(nullptr, database.getHandle());
}

TEST_F(DatabaseOpenTest, ThirdArgumentChangesNothing)
{
    EXPECT_TRUE(database.open(file.path, sql::Database::read_write_create, true, 0));
    EXPECT_EQ(trace({opened(6)}), takeEvents());
}

TEST_F(DatabaseOpenTest, OpensDatabaseInMemory)
{
    EXPECT_TRUE(database.open(":memory:", sql::Database::read_write, false, 0));
    EXPECT_TRUE(sql::runOneStepSqlStmt(database.getHandle(), "create table item (id integer)"));
}

TEST_F(DatabaseOpenTest, PathStandsInTheLinesAsItIs)
{
    const char* const path = "no such folder/100%s'";
    EXPECT_FALSE(database.open(path, sql::Database::read_write_create, false, 0));
    EXPECT_EQ(trace({
                  source.debug1("open", "Opening database '%s'", path),
                  sqlite("open_v2", std::string(path) + ", 6"),
                  sqlite("errmsg"),
                  source.error("open", "Failed to open the database %s: rc=%d=%s: %s", path, 14,
                               "SQLITE_CANTOPEN", "unable to open database file"),
              }),
              takeEvents());
}

TEST_F(DatabaseOpenTest, ClosesWhatWasOpenAfterItsFirstLine)
{
    openUnrecorded();
    EXPECT_TRUE(open(sql::Database::read_write));
    EXPECT_EQ(trace({
                  opening(),
                  sqlite("close"),
                  sqlite("open_v2", file.path + ", 2"),
                  sqlite("busy_timeout", "0"),
              }),
              takeEvents());
    EXPECT_TRUE(database.isOpen());
}

TEST_F(DatabaseOpenTest, LeadsToTheFileOpenedLast)
{
    const TemporaryFile other;
    Connection(other.path).run("create table other (id integer)");
    openUnrecorded();
    EXPECT_TRUE(database.open(other.path, sql::Database::read_only, false, 0));
    EXPECT_EQ(0, sql::queryNumber(database.getHandle(), "select count(*) from other"));
}

TEST_F(DatabaseOpenTest, ReportsFormerConnectionThatIsStillInUse)
{
    openUnrecorded();
    sqlite3* const former = database.getHandle();
    sqlite3_stmt* stmt = nullptr;
    {
        Unrecorded use;
        EXPECT_EQ(SQLITE_OK, sqlite3_prepare_v2(former, "select 1", -1, &stmt, nullptr));
    }

    EXPECT_TRUE(open(sql::Database::read_write_create));
    EXPECT_EQ(trace({
                  opening(),
                  sqlite("close"),
                  source.asserted("rc == SQLITE_OK", closeSignature),
                  sqlite("open_v2", file.path + ", 6"),
                  sqlite("busy_timeout", "0"),
              }),
              takeEvents());

    Unrecorded release;
    sqlite3_finalize(stmt);
    EXPECT_EQ(SQLITE_OK, sqlite3_close(former));
}

TEST_F(DatabaseOpenTest, FailureLeavesFormerConnectionClosed)
{
    openUnrecorded();
    EXPECT_FALSE(database.open(file.path + "/none", sql::Database::read_only, false, 0));
    EXPECT_FALSE(database.isOpen());
}

// Failing to open

class DatabaseOpenFailureTest : public FileTest
{
};

TEST_F(DatabaseOpenFailureTest, IsNotOpen)
{
    EXPECT_FALSE(open(sql::Database::read_only));
    EXPECT_FALSE(database.isOpen());
}

TEST_F(DatabaseOpenFailureTest, KeepsTheHandle)
{
    EXPECT_FALSE(open(sql::Database::read_only));
    EXPECT_NE(nullptr, database.getHandle());
}

TEST_F(DatabaseOpenFailureTest, CloseReleasesTheHandle)
{
    EXPECT_FALSE(open(sql::Database::read_only));
    forgetEvents();
    database.close();
    EXPECT_EQ(trace({sqlite("close")}), takeEvents());
    EXPECT_EQ(nullptr, database.getHandle());
}

TEST_F(DatabaseOpenFailureTest, NextOpenReleasesTheHandle)
{
    EXPECT_FALSE(open(sql::Database::read_only));
    forgetEvents();
    EXPECT_TRUE(open(sql::Database::read_write_create));
    EXPECT_EQ(trace({
                  opening(),
                  sqlite("close"),
                  sqlite("open_v2", file.path + ", 6"),
                  sqlite("busy_timeout", "0"),
              }),
              takeEvents());
}

TEST_F(DatabaseOpenFailureTest, EndReleasesTheHandle)
{
    {
        sql::Database failing;
        EXPECT_FALSE(failing.open(file.path, sql::Database::read_only, false, 0));
        forgetEvents();
    }
    EXPECT_EQ(trace({sqlite("close")}), takeEvents());
}

TEST_F(DatabaseOpenFailureTest, MissingHandleHasItsOwnLine)
{
    faults.openGivesNoHandle = true;
    EXPECT_FALSE(open(sql::Database::read_write_create));
    EXPECT_EQ(
        trace({
            opening(),
            sqlite("open_v2", file.path + ", 6"),
            source.error("open",
                         "Failed to open the database %s: database handle returned by SQLite is 0",
                         file.path.c_str()),
        }),
        takeEvents());
}

TEST_F(DatabaseOpenFailureTest, CountsAsOpenWithoutHandleSinceSqliteReportedSuccess)
{
    faults.openGivesNoHandle = true;
    EXPECT_FALSE(open(sql::Database::read_write_create));
    EXPECT_TRUE(database.isOpen());
    EXPECT_EQ(nullptr, database.getHandle());
}

TEST_F(DatabaseOpenFailureTest, CloseWithoutHandleCallsNothing)
{
    faults.openGivesNoHandle = true;
    EXPECT_FALSE(open(sql::Database::read_write_create));
    forgetEvents();
    database.close();
    EXPECT_EQ(trace({}), takeEvents());
    EXPECT_FALSE(database.isOpen());
}

// The busy timeout

class DatabaseBusyTimeoutTest : public FileTest
{
};

TEST_F(DatabaseBusyTimeoutTest, IsPassedToSqlite)
{
    EXPECT_TRUE(open(sql::Database::read_write_create, 250));
    EXPECT_EQ(trace({opened(6, 250)}), takeEvents());
    EXPECT_EQ(250, sql::queryNumber(database.getHandle(), "PRAGMA busy_timeout;"));
}

TEST_F(DatabaseBusyTimeoutTest, IsPassedWhenNegative)
{
    EXPECT_TRUE(open(sql::Database::read_write_create, -1));
    EXPECT_EQ(trace({opened(6, -1)}), takeEvents());
}

TEST_F(DatabaseBusyTimeoutTest, FailureHasItsOwnLine)
{
    faults.busyTimeoutResult = SQLITE_NOMEM;
    EXPECT_FALSE(open(sql::Database::read_write_create, 250));
    EXPECT_EQ(
        trace({
            opened(6, 250),
            source.error("open", "Failed to set the busy timeout: rc=%d=%s", 7, "SQLITE_NOMEM"),
        }),
        takeEvents());
}

TEST_F(DatabaseBusyTimeoutTest, FailureLeavesTheDatabaseOpen)
{
    faults.busyTimeoutResult = SQLITE_NOMEM;
    EXPECT_FALSE(open(sql::Database::read_write_create));
    EXPECT_TRUE(database.isOpen());
    EXPECT_EQ(0, database.getUserVersion());
}

// Levels of the lines of open

class DatabaseOpenLevelTest : public FileTest
{
};

TEST_F(DatabaseOpenLevelTest, OpeningIsLoggedAboveLevel6)
{
    setTraceLevel(7);
    EXPECT_TRUE(open(sql::Database::read_write_create));
    EXPECT_EQ(trace({opening()}), takeDiagnostics());
}

TEST_F(DatabaseOpenLevelTest, OpeningIsNotLoggedAtLevel6)
{
    setTraceLevel(6);
    EXPECT_TRUE(open(sql::Database::read_write_create));
    EXPECT_EQ(trace({}), takeDiagnostics());
}

TEST_F(DatabaseOpenLevelTest, FailureIsLoggedAboveLevel2)
{
    setTraceLevel(3);
    EXPECT_FALSE(open(sql::Database::read_only));
    EXPECT_EQ(trace({failedToOpen(14, "SQLITE_CANTOPEN", "unable to open database file")}),
              takeDiagnostics());
}

TEST_F(DatabaseOpenLevelTest, SqliteIsNotAskedForWordsThatNobodyReads)
{
    setTraceLevel(2);
    EXPECT_FALSE(open(sql::Database::read_only));
    EXPECT_EQ(trace({sqlite("open_v2", file.path + ", 1")}), takeEvents());
}

TEST_F(DatabaseOpenLevelTest, MissingHandleIsNotLoggedAtLevel2)
{
    setTraceLevel(2);
    faults.openGivesNoHandle = true;
    EXPECT_FALSE(open(sql::Database::read_write_create));
    EXPECT_EQ(trace({}), takeDiagnostics());
}

TEST_F(DatabaseOpenLevelTest, MissingHandleIsLoggedAboveLevel2)
{
    setTraceLevel(3);
    faults.openGivesNoHandle = true;
    EXPECT_FALSE(open(sql::Database::read_write_create));
    EXPECT_EQ(trace({source.error(
                  "open", "Failed to open the database %s: database handle returned by SQLite is 0",
                  file.path.c_str())}),
              takeDiagnostics());
}

TEST_F(DatabaseOpenLevelTest, BusyTimeoutFailureIsNotLoggedAtLevel2)
{
    setTraceLevel(2);
    faults.busyTimeoutResult = SQLITE_NOMEM;
    EXPECT_FALSE(open(sql::Database::read_write_create));
    EXPECT_EQ(trace({}), takeDiagnostics());
}

TEST_F(DatabaseOpenLevelTest, BusyTimeoutFailureIsLoggedAboveLevel2)
{
    setTraceLevel(3);
    faults.busyTimeoutResult = SQLITE_NOMEM;
    EXPECT_FALSE(open(sql::Database::read_write_create));
    EXPECT_EQ(trace({source.error("open", "Failed to set the busy timeout: rc=%d=%s", 7,
                                  "SQLITE_NOMEM")}),
              takeDiagnostics());
}

// Closing

class DatabaseCloseTest : public FileTest
{
protected:
    // Has a statement that keeps the connection from being closed.
    void use()
    {
        openUnrecorded();
        Unrecorded setup;
        handle = database.getHandle();
        EXPECT_EQ(SQLITE_OK, sqlite3_prepare_v2(handle, "select 1", -1, &stmt, nullptr));
    }
    ~DatabaseCloseTest() override
    {
        Unrecorded teardown;
        EXPECT_EQ(SQLITE_OK, sqlite3_finalize(stmt));
        EXPECT_EQ(SQLITE_OK, sqlite3_close(handle));
    }

    sqlite3* handle = nullptr;
    sqlite3_stmt* stmt = nullptr;
};

TEST_F(DatabaseCloseTest, ClosesTheConnectionWithoutLogLine)
{
    openUnrecorded();
    database.close();
    EXPECT_EQ(trace({sqlite("close")}), takeEvents());
}

TEST_F(DatabaseCloseTest, IsNotOpenAfterwards)
{
    openUnrecorded();
    database.close();
    EXPECT_FALSE(database.isOpen());
    EXPECT_EQ(nullptr, database.getHandle());
}

TEST_F(DatabaseCloseTest, SecondCloseCallsNothing)
{
    openUnrecorded();
    database.close();
    forgetEvents();
    database.close();
    EXPECT_EQ(trace({}), takeEvents());
}

TEST_F(DatabaseCloseTest, EndClosesTheConnection)
{
    {
        sql::Database ending;
        EXPECT_TRUE(ending.open(file.path, sql::Database::read_write_create, false, 0));
        forgetEvents();
    }
    EXPECT_EQ(trace({sqlite("close")}), takeEvents());
}

TEST_F(DatabaseCloseTest, ReportsConnectionThatIsStillInUse)
{
    use();
    database.close();
    EXPECT_EQ(trace({
                  sqlite("close"),
                  source.asserted("rc == SQLITE_OK", closeSignature),
              }),
              takeEvents());
}

TEST_F(DatabaseCloseTest, ReportsWithoutTraceObject)
{
    use();
    dropTraceObject();
    database.close();
    EXPECT_EQ(trace({source.asserted("rc == SQLITE_OK", closeSignature)}), takeDiagnostics());
}

TEST_F(DatabaseCloseTest, ForgetsConnectionThatIsStillInUse)
{
    use();
    database.close();
    EXPECT_EQ(nullptr, database.getHandle());
    EXPECT_FALSE(database.isOpen());
}

} // namespace
