#include "SqlDatabase.h"

#include <fstream>
#include <new>

#include <gtest/gtest.h>
#include <sqlite3.h>

#include "SqlTable.h"
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

// A database that is closed, and a file that is not there.
class FileTest : public Test
{
protected:
    void makeFile() { Connection(file.path).run("create table item (id integer primary key)"); }
    bool fileExists() const { return std::ifstream(file.path).good(); }

    bool open(sql::Database::AccessMode mode, int busyTimeoutMs = 0)
    {
        return database.open(file.path, mode, false, busyTimeoutMs);
    }
    void openUnrecorded()
    {
        Unrecorded setup;
        EXPECT_TRUE(open(sql::Database::read_write_create));
        recorded();
    }

    std::string opening() const
    {
        return source.debug1("open", "Opening database '%s'", file.path.c_str());
    }
    std::string opened(int flags, int busyTimeoutMs = 0) const
    {
        return together({
            opening(),
            sqlite("open_v2", file.path + ", " + std::to_string(flags)),
            sqlite("busy_timeout", std::to_string(busyTimeoutMs)),
        });
    }
    std::string failedToOpen(int rc, const char* name, const char* text) const
    {
        return source.error("open", "Failed to open the database %s: rc=%d=%s: %s",
                            file.path.c_str(), rc, name, text);
    }
    std::string notFound(int flags) const
    {
        return together({
            opening(),
            sqlite("open_v2", file.path + ", " + std::to_string(flags)),
            sqlite("errmsg"),
            failedToOpen(14, "SQLITE_CANTOPEN", "unable to open database file"),
        });
    }

    const TemporaryFile file;
    sql::Database database;
};

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
    EXPECT_EQ(trace({}), recorded());
}

TEST_F(NewDatabaseTest, HasNoHandle)
{
    EXPECT_EQ(nullptr, database.getHandle());
}

TEST_F(NewDatabaseTest, IsClosedWithoutCallingSqlite)
{
    database.close();
    EXPECT_EQ(trace({}), recorded());
    EXPECT_FALSE(database.isOpen());
}

TEST_F(NewDatabaseTest, EndsWithoutCallingSqlite)
{
    {
        sql::Database unused;
    }
    EXPECT_EQ(trace({}), recorded());
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
    EXPECT_EQ(trace({opened(1)}), recorded());
}

TEST_F(DatabaseAccessModeTest, ReadWritePassesFlag2)
{
    makeFile();
    EXPECT_TRUE(open(sql::Database::read_write));
    EXPECT_EQ(trace({opened(2)}), recorded());
}

TEST_F(DatabaseAccessModeTest, ReadWriteCreatePassesFlags6)
{
    EXPECT_TRUE(open(sql::Database::read_write_create));
    EXPECT_EQ(trace({opened(6)}), recorded());
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
    EXPECT_EQ(trace({notFound(1)}), recorded());
    EXPECT_FALSE(fileExists());
}

TEST_F(DatabaseAccessModeTest, ReadWriteNeedsTheFile)
{
    EXPECT_FALSE(open(sql::Database::read_write));
    EXPECT_EQ(trace({notFound(2)}), recorded());
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
              recorded());
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
              recorded());
}

TEST_F(DatabaseAccessModeTest, OtherModeIsReportedWithoutTraceObject)
{
    dropTraceObject();
    EXPECT_FALSE(open(static_cast<sql::Database::AccessMode>(3)));
    EXPECT_EQ(trace({
                  source.asserted("false", openSignature),
                  sqlite("open_v2", file.path + ", 0"),
              }),
              recorded());
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
    EXPECT_EQ(trace({opened(6)}), recorded());
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
              recorded());
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
              recorded());
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
              recorded());

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
    recorded();
    database.close();
    EXPECT_EQ(trace({sqlite("close")}), recorded());
    EXPECT_EQ(nullptr, database.getHandle());
}

TEST_F(DatabaseOpenFailureTest, NextOpenReleasesTheHandle)
{
    EXPECT_FALSE(open(sql::Database::read_only));
    recorded();
    EXPECT_TRUE(open(sql::Database::read_write_create));
    EXPECT_EQ(trace({
                  opening(),
                  sqlite("close"),
                  sqlite("open_v2", file.path + ", 6"),
                  sqlite("busy_timeout", "0"),
              }),
              recorded());
}

TEST_F(DatabaseOpenFailureTest, EndReleasesTheHandle)
{
    {
        sql::Database failing;
        EXPECT_FALSE(failing.open(file.path, sql::Database::read_only, false, 0));
        recorded();
    }
    EXPECT_EQ(trace({sqlite("close")}), recorded());
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
        recorded());
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
    recorded();
    database.close();
    EXPECT_EQ(trace({}), recorded());
    EXPECT_FALSE(database.isOpen());
}

// The busy timeout

class DatabaseBusyTimeoutTest : public FileTest
{
};

TEST_F(DatabaseBusyTimeoutTest, IsPassedToSqlite)
{
    EXPECT_TRUE(open(sql::Database::read_write_create, 250));
    EXPECT_EQ(trace({opened(6, 250)}), recorded());
    EXPECT_EQ(250, sql::queryNumber(database.getHandle(), "PRAGMA busy_timeout;"));
}

TEST_F(DatabaseBusyTimeoutTest, IsPassedWhenNegative)
{
    EXPECT_TRUE(open(sql::Database::read_write_create, -1));
    EXPECT_EQ(trace({opened(6, -1)}), recorded());
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
        recorded());
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
    EXPECT_EQ(trace({opening()}), recordedDiagnostics());
}

TEST_F(DatabaseOpenLevelTest, OpeningIsNotLoggedAtLevel6)
{
    setTraceLevel(6);
    EXPECT_TRUE(open(sql::Database::read_write_create));
    EXPECT_EQ(trace({}), recordedDiagnostics());
}

TEST_F(DatabaseOpenLevelTest, FailureIsLoggedAboveLevel2)
{
    setTraceLevel(3);
    EXPECT_FALSE(open(sql::Database::read_only));
    EXPECT_EQ(trace({failedToOpen(14, "SQLITE_CANTOPEN", "unable to open database file")}),
              recordedDiagnostics());
}

TEST_F(DatabaseOpenLevelTest, SqliteIsNotAskedForWordsThatNobodyReads)
{
    setTraceLevel(2);
    EXPECT_FALSE(open(sql::Database::read_only));
    EXPECT_EQ(trace({sqlite("open_v2", file.path + ", 1")}), recorded());
}

TEST_F(DatabaseOpenLevelTest, MissingHandleIsNotLoggedAtLevel2)
{
    setTraceLevel(2);
    faults.openGivesNoHandle = true;
    EXPECT_FALSE(open(sql::Database::read_write_create));
    EXPECT_EQ(trace({}), recordedDiagnostics());
}

TEST_F(DatabaseOpenLevelTest, MissingHandleIsLoggedAboveLevel2)
{
    setTraceLevel(3);
    faults.openGivesNoHandle = true;
    EXPECT_FALSE(open(sql::Database::read_write_create));
    EXPECT_EQ(trace({source.error(
                  "open", "Failed to open the database %s: database handle returned by SQLite is 0",
                  file.path.c_str())}),
              recordedDiagnostics());
}

TEST_F(DatabaseOpenLevelTest, BusyTimeoutFailureIsNotLoggedAtLevel2)
{
    setTraceLevel(2);
    faults.busyTimeoutResult = SQLITE_NOMEM;
    EXPECT_FALSE(open(sql::Database::read_write_create));
    EXPECT_EQ(trace({}), recordedDiagnostics());
}

TEST_F(DatabaseOpenLevelTest, BusyTimeoutFailureIsLoggedAboveLevel2)
{
    setTraceLevel(3);
    faults.busyTimeoutResult = SQLITE_NOMEM;
    EXPECT_FALSE(open(sql::Database::read_write_create));
    EXPECT_EQ(trace({source.error("open", "Failed to set the busy timeout: rc=%d=%s", 7,
                                  "SQLITE_NOMEM")}),
              recordedDiagnostics());
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
    EXPECT_EQ(trace({sqlite("close")}), recorded());
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
    recorded();
    database.close();
    EXPECT_EQ(trace({}), recorded());
}

TEST_F(DatabaseCloseTest, EndClosesTheConnection)
{
    {
        sql::Database ending;
        EXPECT_TRUE(ending.open(file.path, sql::Database::read_write_create, false, 0));
        recorded();
    }
    EXPECT_EQ(trace({sqlite("close")}), recorded());
}

TEST_F(DatabaseCloseTest, ReportsConnectionThatIsStillInUse)
{
    use();
    database.close();
    EXPECT_EQ(trace({
                  sqlite("close"),
                  source.asserted("rc == SQLITE_OK", closeSignature),
              }),
              recorded());
}

TEST_F(DatabaseCloseTest, ReportsWithoutTraceObject)
{
    use();
    dropTraceObject();
    database.close();
    EXPECT_EQ(trace({source.asserted("rc == SQLITE_OK", closeSignature)}), recordedDiagnostics());
}

TEST_F(DatabaseCloseTest, ForgetsConnectionThatIsStillInUse)
{
    use();
    database.close();
    EXPECT_EQ(nullptr, database.getHandle());
    EXPECT_FALSE(database.isOpen());
}

// The version stamp

class DatabaseUserVersionTest : public FileTest
{
protected:
    DatabaseUserVersionTest() { openUnrecorded(); }

    static std::string stamped(const std::string& version)
    {
        const std::string stmt = "PRAGMA user_version=" + version + ";";
        return together({
            common.debug2("runOneStepSqlStmt", "stmt='%s'", stmt.c_str()),
            sqlite("prepare_v2", stmt + ", -1"),
            sqlite("step"),
            sqlite("finalize"),
        });
    }
    static std::string tooGreat()
    {
        return source.error("setUserVersion",
                            "User version of a Tallowmere SQL database must be <= %d", 2147483647);
    }

    const std::string query = "PRAGMA user_version;";
};

TEST_F(DatabaseUserVersionTest, IsZeroInNewFile)
{
    EXPECT_EQ(0, database.getUserVersion());
    EXPECT_EQ(trace({counted(query, 0)}), recorded());
}

TEST_F(DatabaseUserVersionTest, IsSetByPragmaWithoutBlanks)
{
    EXPECT_TRUE(database.setUserVersion(7));
    EXPECT_EQ(trace({stamped("7")}), recorded());
}

TEST_F(DatabaseUserVersionTest, IsReadAsItWasSet)
{
    EXPECT_TRUE(database.setUserVersion(7));
    recorded();
    EXPECT_EQ(7, database.getUserVersion());
    EXPECT_EQ(trace({counted(query, 7)}), recorded());
}

TEST_F(DatabaseUserVersionTest, CanBeSetBackToZero)
{
    EXPECT_TRUE(database.setUserVersion(7));
    EXPECT_TRUE(database.setUserVersion(0));
    EXPECT_EQ(0, database.getUserVersion());
}

TEST_F(DatabaseUserVersionTest, StaysInTheFile)
{
    EXPECT_TRUE(database.setUserVersion(7));
    database.close();
    EXPECT_EQ("7", Connection(file.path).cell(query));
}

TEST_F(DatabaseUserVersionTest, GreatestVersionIsAccepted)
{
    EXPECT_TRUE(database.setUserVersion(2147483647));
    EXPECT_EQ(trace({stamped("2147483647")}), recorded());
    EXPECT_EQ(2147483647, database.getUserVersion());
}

TEST_F(DatabaseUserVersionTest, VersionBeyondTheGreatestIsRefusedWithoutCallingSqlite)
{
    EXPECT_FALSE(database.setUserVersion(2147483648U));
    EXPECT_EQ(trace({tooGreat()}), recorded());
}

TEST_F(DatabaseUserVersionTest, GreatestUnsignedNumberIsRefused)
{
    EXPECT_FALSE(database.setUserVersion(4294967295U));
    EXPECT_EQ(trace({tooGreat()}), recorded());
}

TEST_F(DatabaseUserVersionTest, RefusedVersionLeavesTheStamp)
{
    EXPECT_TRUE(database.setUserVersion(7));
    EXPECT_FALSE(database.setUserVersion(2147483648U));
    EXPECT_EQ(7, database.getUserVersion());
}

TEST_F(DatabaseUserVersionTest, VersionIsCheckedBeforeTheConnection)
{
    sql::Database closed;
    EXPECT_FALSE(closed.setUserVersion(2147483648U));
    EXPECT_EQ(trace({tooGreat()}), recorded());
}

TEST_F(DatabaseUserVersionTest, RefusalIsLoggedAboveLevel2)
{
    setTraceLevel(3);
    EXPECT_FALSE(database.setUserVersion(2147483648U));
    EXPECT_EQ(trace({tooGreat()}), recorded());
}

TEST_F(DatabaseUserVersionTest, RefusalIsNotLoggedAtLevel2)
{
    setTraceLevel(2);
    EXPECT_FALSE(database.setUserVersion(2147483648U));
    EXPECT_EQ(trace({}), recorded());
}

TEST_F(DatabaseUserVersionTest, NegativeStampReadsAsFailure)
{
    Connection(file.path).run("PRAGMA user_version=-5;");
    EXPECT_EQ(-1, database.getUserVersion());
    EXPECT_EQ(trace({
                  common.debug2("queryNumber", "stmt='%s'", query.c_str()),
                  sqlite("prepare_v2", query + ", -1"),
                  sqlite("step"),
                  sqlite("column_count"),
                  sqlite("column_int", "0"),
                  sqlite("finalize"),
                  common.error("queryNumber", "The SQL query '%s' failed", query.c_str()),
                  common.error("queryNumber", "  SQLite returned returned number = %d < 0", -5),
              }),
              recorded());
}

TEST_F(DatabaseUserVersionTest, CannotBeReadWithoutConnection)
{
    EXPECT_EQ(-1, sql::Database().getUserVersion());
    EXPECT_EQ(trace({common.asserted("db", "int sql::queryNumber(sqlite3*, const string&)")}),
              recorded());
}

TEST_F(DatabaseUserVersionTest, CannotBeSetWithoutConnection)
{
    EXPECT_FALSE(sql::Database().setUserVersion(7));
    EXPECT_EQ(
        trace({common.asserted("db", "bool sql::runOneStepSqlStmt(sqlite3*, const string&)")}),
        recorded());
}

TEST_F(DatabaseUserVersionTest, CannotBeReadWhileTheFileIsLocked)
{
    Connection other(file.path);
    other.run("begin exclusive");
    EXPECT_EQ(-1, database.getUserVersion());
    EXPECT_EQ(
        trace({
            common.debug2("queryNumber", "stmt='%s'", query.c_str()),
            sqlite("prepare_v2", query + ", -1"),
            sqlite("step"),
            sqlite("finalize"),
            common.error("queryNumber", "The SQL query '%s' failed", query.c_str()),
            sqlite("errmsg"),
            common.error("queryNumber", "   the query returned %d=%s instead of SQLITE_ROW: %s", 5,
                         "SQLITE_BUSY", "database is locked"),
        }),
        recorded());
}

TEST_F(DatabaseUserVersionTest, CannotBeSetInFileOpenedForReading)
{
    EXPECT_TRUE(database.setUserVersion(7));
    EXPECT_TRUE(open(sql::Database::read_only));
    EXPECT_FALSE(database.setUserVersion(8));
    EXPECT_EQ(7, database.getUserVersion());
}

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
    EXPECT_EQ(trace({queried(begin)}), recorded());
}

TEST_F(DatabaseTransactionTest, CommitRunsOneStatement)
{
    EXPECT_TRUE(database.transactionBegin());
    recorded();
    EXPECT_TRUE(database.transactionCommit());
    EXPECT_EQ(trace({queried(commit)}), recorded());
}

TEST_F(DatabaseTransactionTest, RollbackRunsOneStatement)
{
    EXPECT_TRUE(database.transactionBegin());
    recorded();
    EXPECT_TRUE(database.transactionRollback());
    EXPECT_EQ(trace({queried(rollback)}), recorded());
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
        recorded());
}

TEST_F(DatabaseTransactionTest, RollbackWithoutBeginIsRefused)
{
    EXPECT_FALSE(database.transactionRollback());
    EXPECT_EQ(trace({refused(rollback,
                             {1, "SQLITE_ERROR", "cannot rollback - no transaction is active"})}),
              recorded());
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
    recorded();
    EXPECT_FALSE(database.transactionBegin());
    EXPECT_EQ(trace({refused(
                  begin, {1, "SQLITE_ERROR", "cannot start a transaction within a transaction"})}),
              recorded());
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
    EXPECT_EQ(trace({queried(begin)}), recorded());
}

TEST_F(DatabaseTransactionTest, WriteIsRefusedWhileAnotherConnectionWrites)
{
    sql::Database other;
    EXPECT_TRUE(other.open(file.path, sql::Database::read_write, false, 0));
    EXPECT_TRUE(database.transactionBegin());
    EXPECT_TRUE(add(database, 1));
    EXPECT_TRUE(other.transactionBegin());
    recorded();
    EXPECT_FALSE(add(other, 2));
    EXPECT_EQ(trace({refused("insert into item (id) values (2)", locked)}), recorded());
}

TEST_F(DatabaseTransactionTest, CommitIsRefusedWhileAnotherConnectionReads)
{
    Connection reader(file.path);
    reader.run("begin; select * from item");
    EXPECT_TRUE(database.transactionBegin());
    EXPECT_TRUE(add(database, 1));
    recorded();
    EXPECT_FALSE(database.transactionCommit());
    EXPECT_EQ(trace({refused(commit, locked)}), recorded());
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
    EXPECT_EQ(trace({notConnected()}), recorded());
}

TEST_F(DatabaseTransactionTest, CommitWithoutConnectionIsReportedWithoutCallingSqlite)
{
    EXPECT_FALSE(sql::Database().transactionCommit());
    EXPECT_EQ(trace({notConnected()}), recorded());
}

TEST_F(DatabaseTransactionTest, RollbackWithoutConnectionIsReportedWithoutCallingSqlite)
{
    EXPECT_FALSE(sql::Database().transactionRollback());
    EXPECT_EQ(trace({notConnected()}), recorded());
}

TEST_F(DatabaseTransactionTest, ClosedDatabaseHasNoConnection)
{
    database.close();
    recorded();
    EXPECT_FALSE(database.transactionBegin());
    EXPECT_EQ(trace({notConnected()}), recorded());
}

TEST_F(DatabaseTransactionTest, StatementIsLoggedAboveLevel7)
{
    setTraceLevel(8);
    EXPECT_TRUE(database.transactionBegin());
    EXPECT_EQ(trace({queried(begin)}), recorded());
}

TEST_F(DatabaseTransactionTest, StatementIsNotLoggedAtLevel7)
{
    setTraceLevel(7);
    EXPECT_TRUE(database.transactionBegin());
    EXPECT_EQ(trace({sqlite("exec", begin)}), recorded());
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
              recorded());
}

TEST_F(DatabaseTransactionTest, WordsOfRefusalAreFreedAtLevel2)
{
    setTraceLevel(2);
    EXPECT_FALSE(database.transactionCommit());
    EXPECT_EQ(trace({sqlite("exec", commit), sqlite("free")}), recorded());
}

} // namespace
