#include "SqlDatabase.h"

#include <gtest/gtest.h>

#include "support/DatabaseFile.h"
#include "support/Statements.h"
#include "support/World.h"

using namespace sqltest;

namespace
{

const Source source("SqlDatabase");
const Source common("SqlCommon");

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
    EXPECT_EQ(trace({counted(query, 0)}), takeEvents());
}

TEST_F(DatabaseUserVersionTest, IsSetByPragmaWithoutBlanks)
{
    EXPECT_TRUE(database.setUserVersion(7));
    EXPECT_EQ(trace({stamped("7")}), takeEvents());
}

TEST_F(DatabaseUserVersionTest, IsReadAsItWasSet)
{
    EXPECT_TRUE(database.setUserVersion(7));
    forgetEvents();
    EXPECT_EQ(7, database.getUserVersion());
    EXPECT_EQ(trace({counted(query, 7)}), takeEvents());
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
    EXPECT_EQ(trace({stamped("2147483647")}), takeEvents());
    EXPECT_EQ(2147483647, database.getUserVersion());
}

TEST_F(DatabaseUserVersionTest, VersionBeyondTheGreatestIsRefusedWithoutCallingSqlite)
{
    EXPECT_FALSE(database.setUserVersion(2147483648U));
    EXPECT_EQ(trace({tooGreat()}), takeEvents());
}

TEST_F(DatabaseUserVersionTest, GreatestUnsignedNumberIsRefused)
{
    EXPECT_FALSE(database.setUserVersion(4294967295U));
    EXPECT_EQ(trace({tooGreat()}), takeEvents());
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
    EXPECT_EQ(trace({tooGreat()}), takeEvents());
}

TEST_F(DatabaseUserVersionTest, RefusalIsLoggedAboveLevel2)
{
    setTraceLevel(3);
    EXPECT_FALSE(database.setUserVersion(2147483648U));
    EXPECT_EQ(trace({tooGreat()}), takeEvents());
}

TEST_F(DatabaseUserVersionTest, RefusalIsNotLoggedAtLevel2)
{
    setTraceLevel(2);
    EXPECT_FALSE(database.setUserVersion(2147483648U));
    EXPECT_EQ(trace({}), takeEvents());
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
              takeEvents());
}

TEST_F(DatabaseUserVersionTest, CannotBeReadWithoutConnection)
{
    EXPECT_EQ(-1, sql::Database().getUserVersion());
    EXPECT_EQ(trace({common.asserted("db", "int sql::queryNumber(sqlite3*, const string&)")}),
              takeEvents());
}

TEST_F(DatabaseUserVersionTest, CannotBeSetWithoutConnection)
{
    EXPECT_FALSE(sql::Database().setUserVersion(7));
    EXPECT_EQ(
        trace({common.asserted("db", "bool sql::runOneStepSqlStmt(sqlite3*, const string&)")}),
        takeEvents());
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
        takeEvents());
}

TEST_F(DatabaseUserVersionTest, CannotBeSetInFileOpenedForReading)
{
    EXPECT_TRUE(database.setUserVersion(7));
    EXPECT_TRUE(open(sql::Database::read_only));
    EXPECT_FALSE(database.setUserVersion(8));
    EXPECT_EQ(7, database.getUserVersion());
}

} // namespace
