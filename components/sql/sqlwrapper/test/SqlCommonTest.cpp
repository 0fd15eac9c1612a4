#include "SqlCommon.h"

#include <climits>

#include <gtest/gtest.h>
#include <sqlite3.h>

#include "support/World.h"

using namespace sqltest;

namespace
{

const Source common("SqlCommon");

// The gate of a log line

class TraceGateTest : public DatabaseTest
{
protected:
    // One failing query, which has a DEBUG2 line and two ERROR lines.
    std::string linesOfFailingQuery()
    {
        EXPECT_EQ(-1, sql::queryNumber(db, "select"));
        return recordedDiagnostics();
    }

    const std::string debug2 = common.debug2("queryNumber", "stmt='%s'", "select");
    const std::string error1 =
        common.error("queryNumber", "Failed to prepare the SQL query '%s': ", "select");
    const std::string error2 =
        common.error("queryNumber", "  rc=%d=%s: %s", 1, "SQLITE_ERROR", "incomplete input");
};

TEST_F(TraceGateTest, WritesNothingWithoutTraceObject)
{
    dropTraceObject();
    EXPECT_EQ(trace({}), linesOfFailingQuery());
}

TEST_F(TraceGateTest, WritesNothingWithoutTraceLevel)
{
    dropTraceLevel();
    EXPECT_EQ(trace({}), linesOfFailingQuery());
}

TEST_F(TraceGateTest, WritesNothingAtLevel2)
{
    setTraceLevel(2);
    EXPECT_EQ(trace({}), linesOfFailingQuery());
}

TEST_F(TraceGateTest, WritesErrorsAboveLevel2)
{
    setTraceLevel(3);
    EXPECT_EQ(trace({error1, error2}), linesOfFailingQuery());
}

// Running one statement

class RunOneStepSqlStmtTest : public DatabaseTest
{
};

TEST_F(RunOneStepSqlStmtTest, PreparesStepsAndFinalises)
{
    EXPECT_TRUE(sql::runOneStepSqlStmt(db, "create table t (a)"));
    EXPECT_EQ(trace({
                  common.debug2("runOneStepSqlStmt", "stmt='%s'", "create table t (a)"),
                  sqlite("prepare_v2", "create table t (a), -1"),
                  sqlite("step"),
                  sqlite("finalize"),
              }),
              recorded());
    EXPECT_EQ("1", cell("select count(*) from sqlite_master"));
}

TEST_F(RunOneStepSqlStmtTest, ReportsNullConnectionWithoutLogLine)
{
    EXPECT_FALSE(sql::runOneStepSqlStmt(nullptr, "create table t (a)"));
    EXPECT_EQ(
        trace({common.asserted("db", "bool sql::runOneStepSqlStmt(sqlite3*, const string&)")}),
        recorded());
}

TEST_F(RunOneStepSqlStmtTest, FinalisesNothingThatCouldNotBePrepared)
{
    EXPECT_FALSE(sql::runOneStepSqlStmt(db, "nonsense"));
    EXPECT_EQ(trace({
                  common.debug2("runOneStepSqlStmt", "stmt='%s'", "nonsense"),
                  sqlite("prepare_v2", "nonsense, -1"),
                  common.error("runOneStepSqlStmt",
                               "Failed to prepare the SQL statement '%s': ", "nonsense"),
                  sqlite("errmsg"),
                  common.error("runOneStepSqlStmt", " rc=%d=%s: %s", 1, "SQLITE_ERROR",
                               "near \"nonsense\": syntax error"),
              }),
              recorded());
}

TEST_F(RunOneStepSqlStmtTest, TakesRowAsFailure)
{
    EXPECT_FALSE(sql::runOneStepSqlStmt(db, "select 1"));
    EXPECT_EQ(
        trace({
            common.debug2("runOneStepSqlStmt", "stmt='%s'", "select 1"),
            sqlite("prepare_v2", "select 1, -1"),
            sqlite("step"),
            common.error("runOneStepSqlStmt", "Running the SQL stmt '%s' failed", "select 1"),
            sqlite("errmsg"),
            common.error("runOneStepSqlStmt", "  SQLite returned %d=%s instead of SQLITE_DONE: %s",
                         100, "SQLITE_ROW", "another row available"),
            sqlite("finalize"),
        }),
        recorded());
}

} // namespace
