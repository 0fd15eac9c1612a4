// Another library compiles Diagnostics.cpp in, and names the folder of its own sources.
#define SQLW_SOURCE_FOLDER "components/sql/sqlwrapper/test/"
#define SQLW_SOURCE_NAME "DiagnosticsTest.cpp"

#include "SqlCommon.h"

#include <cstdint>

#include <gtest/gtest.h>
#include <sqlite3.h>
#include <syslog.h>

#include "SqlDatabase.h"
#include "SqlTime.h"
#include "support/World.h"

using namespace sqltest;

namespace
{

const Source common("SqlCommon");
const Source database("SqlDatabase");

// The gate of a log line

// Calls that write one line of each tag.
class TraceLevelTest : public Test
{
protected:
    std::string linesAtLevel(int level)
    {
        setTraceLevel(level);
        return linesOfEachTag();
    }
    std::string linesOfEachTag()
    {
        const TimeZone utc("UTC0");
        sql::Database memory;
        EXPECT_FALSE(memory.setUserVersion(2147483648u));
        EXPECT_TRUE(memory.open(":memory:", sql::Database::read_write, false, 0));
        EXPECT_EQ(0, memory.getUserVersion());
        sql::Time epoch(0);
        return takeDiagnostics();
    }

    const std::string error = database.error(
        "setUserVersion", "User version of a Tallowmere SQL database must be <= %d", 2147483647);
    const std::string debug1 = database.debug1("open", "Opening database '%s'", ":memory:");
    const std::string debug2a = common.debug2("queryNumber", "stmt='%s'", "PRAGMA user_version;");
    const std::string debug2b = common.debug2("queryNumber", "SQLite returned number=%d", 0);
    const std::string debug3 =
        common.debug3("Time", "Time ctor: time = %ld = '%s'", 0L, "Thu Jan  1 00:00:00 1970\n");
};

TEST_F(TraceLevelTest, WritesNothingWithoutTraceObject)
{
    dropTraceObject();
    EXPECT_EQ(trace({}), linesOfEachTag());
}

TEST_F(TraceLevelTest, WritesNothingWithoutTraceLevel)
{
    dropTraceLevel();
    EXPECT_EQ(trace({}), linesOfEachTag());
}

TEST_F(TraceLevelTest, WritesNothingAtTheSmallestLevel)
{
    EXPECT_EQ(trace({}), linesAtLevel(INT32_MIN));
}

TEST_F(TraceLevelTest, WritesNothingAtLevelMinus1)
{
    EXPECT_EQ(trace({}), linesAtLevel(-1));
}

TEST_F(TraceLevelTest, WritesNothingAtLevel0)
{
    EXPECT_EQ(trace({}), linesAtLevel(0));
}

TEST_F(TraceLevelTest, WritesNothingAtLevel2)
{
    EXPECT_EQ(trace({}), linesAtLevel(2));
}

TEST_F(TraceLevelTest, WritesErrorsAtLevel3)
{
    EXPECT_EQ(trace({error}), linesAtLevel(3));
}

TEST_F(TraceLevelTest, WritesErrorsAloneAtLevel6)
{
    EXPECT_EQ(trace({error}), linesAtLevel(6));
}

TEST_F(TraceLevelTest, AddsDebug1AtLevel7)
{
    EXPECT_EQ(trace({error, debug1}), linesAtLevel(7));
}

TEST_F(TraceLevelTest, AddsDebug2AtLevel8)
{
    EXPECT_EQ(trace({error, debug1, debug2a, debug2b}), linesAtLevel(8));
}

TEST_F(TraceLevelTest, AddsDebug3AtLevel9)
{
    EXPECT_EQ(trace({error, debug1, debug2a, debug2b, debug3}), linesAtLevel(9));
}

TEST_F(TraceLevelTest, WritesEverythingAtTheLargestLevel)
{
    EXPECT_EQ(trace({error, debug1, debug2a, debug2b, debug3}), linesAtLevel(INT32_MAX));
}

// The platform changes the level between two lines of one call.
class TraceGateTest : public DatabaseTest
{
protected:
    TraceGateTest()
    {
        sqlite3_create_function(db, "set_trace_level", 1, SQLITE_UTF8, this, setLevelFromSql,
                                nullptr, nullptr);
    }

private:
    static void setLevelFromSql(sqlite3_context* context, int, sqlite3_value** arguments)
    {
        const int level = sqlite3_value_int(arguments[0]);
        static_cast<TraceGateTest*>(sqlite3_user_data(context))->setTraceLevel(level);
        sqlite3_result_int(context, level);
    }
};

TEST_F(TraceGateTest, DropsTheSecondLineOfAFailedStatementWhenTheLevelFallsAfterTheFirst)
{
    setTraceLevel(3);
    faults.levelAfterNextLine = 2;
    EXPECT_FALSE(sql::runOneStepSqlStmt(db, "nonsense"));
    EXPECT_EQ(trace({
                  sqlite("prepare_v2", "nonsense, -1"),
                  common.error("runOneStepSqlStmt",
                               "Failed to prepare the SQL statement '%s': ", "nonsense"),
              }),
              takeEvents());
}

TEST_F(TraceGateTest, DropsTheSecondLineOfAFailedQueryWhenTheLevelFallsAfterTheFirst)
{
    setTraceLevel(3);
    faults.levelAfterNextLine = 2;
    EXPECT_EQ(-1, sql::queryNumber(db, "select -1"));
    EXPECT_EQ(trace({common.error("queryNumber", "The SQL query '%s' failed", "select -1")}),
              takeDiagnostics());
}

TEST_F(TraceGateTest, DropsTheDebugLineAfterTheLevelFell)
{
    EXPECT_EQ(7, sql::queryNumber(db, "select set_trace_level(7)"));
    EXPECT_EQ(trace({common.debug2("queryNumber", "stmt='%s'", "select set_trace_level(7)")}),
              takeDiagnostics());
}

TEST_F(TraceGateTest, WritesTheErrorLinesAfterTheLevelRose)
{
    setTraceLevel(2);
    EXPECT_FALSE(sql::runOneStepSqlStmt(db, "select set_trace_level(3)"));
    EXPECT_EQ(
        trace({
            common.error("runOneStepSqlStmt", "Running the SQL stmt '%s' failed",
                         "select set_trace_level(3)"),
            common.error("runOneStepSqlStmt", "  SQLite returned %d=%s instead of SQLITE_DONE: %s",
                         100, "SQLITE_ROW", "another row available"),
        }),
        takeDiagnostics());
}

TEST_F(TraceGateTest, ComputesNoArgumentOfALineThatIsNotWritten)
{
    setTraceLevel(2);
    EXPECT_FALSE(sql::runOneStepSqlStmt(db, "nonsense"));
    EXPECT_EQ(trace({sqlite("prepare_v2", "nonsense, -1")}), takeEvents());
}

// Assertion reports

class AssertionTest : public Test
{
protected:
    const std::string report =
        common.asserted("db", "int sql::queryNumber(sqlite3*, const string&)");
};

TEST_F(AssertionTest, IsReportedAtEveryTraceLevel)
{
    for (const int level : {INT32_MIN, -1, 0, 2, 3, 6, 7, 8, 9, INT32_MAX}) {
        setTraceLevel(level);
        EXPECT_EQ(-1, sql::queryNumber(nullptr, "select 1"));
        EXPECT_EQ(trace({report}), takeEvents()) << "at level " << level;
    }
}

TEST_F(AssertionTest, IsReportedWithoutTraceObject)
{
    dropTraceObject();
    EXPECT_EQ(-1, sql::queryNumber(nullptr, "select 1"));
    EXPECT_EQ(trace({report}), takeEvents());
}

TEST_F(AssertionTest, IsReportedWithoutTraceLevel)
{
    dropTraceLevel();
    EXPECT_EQ(-1, sql::queryNumber(nullptr, "select 1"));
    EXPECT_EQ(trace({report}), takeEvents());
}

// Another library

bool failInAnotherLibrary()
{
    SQLW_SIGNATURE("bool failInAnotherLibrary()");
    SQLW_ERROR("%d of %d", 1, 2);
    return SQLW_ASSERT(2 < 1);
}

class AnotherLibraryTest : public Test
{
protected:
    const Source here = Source("DiagnosticsTest", SQLW_SOURCE_FOLDER);
};

TEST_F(AnotherLibraryTest, ReportsItsOwnFolder)
{
    EXPECT_FALSE(failInAnotherLibrary());
    EXPECT_EQ(trace({here.error("failInAnotherLibrary", "%d of %d", 1, 2),
                     here.asserted("2 < 1", "bool failInAnotherLibrary()")}),
              takeEvents());
}

} // namespace
