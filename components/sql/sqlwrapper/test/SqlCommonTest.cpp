#include "SqlCommon.h"

#include <climits>
#include <cstdint>
#include <limits>
#include <map>
#include <type_traits>
#include <vector>

#include <gtest/gtest.h>
#include <sqlite3.h>

#include "support/World.h"

using namespace sqltest;

namespace
{

const Source common("SqlCommon");

// What callers were compiled against.
static_assert(std::is_same<decltype(&sql::sqliteRc2Str), const char* (*)(int)>::value, "");
static_assert(
    std::is_same<decltype(&sql::runOneStepSqlStmt), bool (*)(sqlite3*, const std::string&)>::value,
    "");
static_assert(
    std::is_same<decltype(&sql::queryNumber), int (*)(sqlite3*, const std::string&)>::value, "");
static_assert(std::is_same<sql::string, std::string>::value, "");
static_assert(std::numeric_limits<sql::integer>::digits == 63, "");

// The names of result codes

TEST(SqliteRc2StrTest, NamesThePrimaryCodesAndNoOther)
{
    const std::map<int, std::string> names = {
        {0, "SQLITE_OK"},        {1, "SQLITE_ERROR"},       {2, "SQLITE_INTERNAL"},
        {3, "SQLITE_PERM"},      {4, "SQLITE_ABORT"},       {5, "SQLITE_BUSY"},
        {6, "SQLITE_LOCKED"},    {7, "SQLITE_NOMEM"},       {8, "SQLITE_READONLY"},
        {9, "SQLITE_INTERRUPT"}, {10, "SQLITE_IOERR"},      {11, "SQLITE_CORRUPT"},
        {12, "SQLITE_NOTFOUND"}, {13, "SQLITE_FULL"},       {14, "SQLITE_CANTOPEN"},
        {15, "SQLITE_PROTOCOL"}, {16, "SQLITE_EMPTY"},      {17, "SQLITE_SCHEMA"},
        {18, "SQLITE_TOOBIG"},   {19, "SQLITE_CONSTRAINT"}, {20, "SQLITE_MISMATCH"},
        {21, "SQLITE_MISUSE"},   {22, "SQLITE_NOLFS"},      {23, "SQLITE_AUTH"},
        {24, "SQLITE_FORMAT"},   {25, "SQLITE_RANGE"},      {26, "SQLITE_NOTADB"},
        {100, "SQLITE_ROW"},     {101, "SQLITE_DONE"},
    };
    for (int rc = -300; rc <= 3000; ++rc) {
        const auto named = names.find(rc);
        EXPECT_EQ(named == names.end() ? "unknown" : named->second, sql::sqliteRc2Str(rc)) << rc;
    }
}

TEST(SqliteRc2StrTest, KnowsNoCodeBetweenNotADatabaseAndRow)
{
    EXPECT_STREQ("unknown", sql::sqliteRc2Str(27));
    EXPECT_STREQ("unknown", sql::sqliteRc2Str(99));
}

TEST(SqliteRc2StrTest, KnowsNoCodeAboveDone)
{
    EXPECT_STREQ("unknown", sql::sqliteRc2Str(102));
    EXPECT_STREQ("unknown", sql::sqliteRc2Str(INT_MAX));
}

TEST(SqliteRc2StrTest, KnowsNoNegativeCode)
{
    EXPECT_STREQ("unknown", sql::sqliteRc2Str(-1));
    EXPECT_STREQ("unknown", sql::sqliteRc2Str(INT_MIN));
}

TEST(SqliteRc2StrTest, KnowsNoExtendedCode)
{
    EXPECT_STREQ("unknown", sql::sqliteRc2Str(SQLITE_IOERR_READ));
    EXPECT_STREQ("unknown", sql::sqliteRc2Str(SQLITE_CONSTRAINT_UNIQUE));
}

TEST(SqliteRc2StrTest, ReturnsTheSameTextEachTime)
{
    EXPECT_EQ(sql::sqliteRc2Str(5), sql::sqliteRc2Str(5));
}

// Running one statement

class RunOneStepSqlStmtTest : public DatabaseTest
{
protected:
    static std::string debug2(const std::string& stmt)
    {
        return common.debug2("runOneStepSqlStmt", "stmt='%s'", stmt.c_str());
    }
    static std::string prepareFailed(const std::string& stmt)
    {
        return common.error("runOneStepSqlStmt",
                            "Failed to prepare the SQL statement '%s': ", stmt.c_str());
    }
    static std::string prepareResult(int rc, const char* name, const char* text)
    {
        return common.error("runOneStepSqlStmt", " rc=%d=%s: %s", rc, name, text);
    }
    static std::string stepFailed(const std::string& stmt)
    {
        return common.error("runOneStepSqlStmt", "Running the SQL stmt '%s' failed", stmt.c_str());
    }
    static std::string stepResult(int rc, const char* name, const char* text)
    {
        return common.error("runOneStepSqlStmt",
                            "  SQLite returned %d=%s instead of SQLITE_DONE: %s", rc, name, text);
    }
};

TEST_F(RunOneStepSqlStmtTest, PreparesStepsAndFinalises)
{
    EXPECT_TRUE(sql::runOneStepSqlStmt(db, "create table t (a)"));
    EXPECT_EQ(trace({
                  debug2("create table t (a)"),
                  sqlite("prepare_v2", "create table t (a), -1"),
                  sqlite("step"),
                  sqlite("finalize"),
              }),
              takeEvents());
    EXPECT_EQ("1", cell("select count(*) from sqlite_master"));
}

TEST_F(RunOneStepSqlStmtTest, ReportsNullConnectionWithoutLogLine)
{
    EXPECT_FALSE(sql::runOneStepSqlStmt(nullptr, "create table t (a)"));
    EXPECT_EQ(
        trace({common.asserted("db", "bool sql::runOneStepSqlStmt(sqlite3*, const string&)")}),
        takeEvents());
}

TEST_F(RunOneStepSqlStmtTest, FinalisesNothingThatCouldNotBePrepared)
{
    EXPECT_FALSE(sql::runOneStepSqlStmt(db, "nonsense"));
    EXPECT_EQ(trace({
                  debug2("nonsense"),
                  sqlite("prepare_v2", "nonsense, -1"),
                  prepareFailed("nonsense"),
                  sqlite("errmsg"),
                  prepareResult(1, "SQLITE_ERROR", "near \"nonsense\": syntax error"),
              }),
              takeEvents());
}

TEST_F(RunOneStepSqlStmtTest, TakesRowAsFailure)
{
    EXPECT_FALSE(sql::runOneStepSqlStmt(db, "select 1"));
    EXPECT_EQ(trace({
                  debug2("select 1"),
                  sqlite("prepare_v2", "select 1, -1"),
                  sqlite("step"),
                  stepFailed("select 1"),
                  sqlite("errmsg"),
                  stepResult(100, "SQLITE_ROW", "another row available"),
                  sqlite("finalize"),
              }),
              takeEvents());
}

TEST_F(RunOneStepSqlStmtTest, LogsAFailedStepBeforeItFinalises)
{
    run("create table t (a unique); insert into t values (1)");
    EXPECT_FALSE(sql::runOneStepSqlStmt(db, "insert into t values (1)"));
    EXPECT_EQ(trace({
                  debug2("insert into t values (1)"),
                  sqlite("prepare_v2", "insert into t values (1), -1"),
                  sqlite("step"),
                  stepFailed("insert into t values (1)"),
                  sqlite("errmsg"),
                  stepResult(19, "SQLITE_CONSTRAINT", "UNIQUE constraint failed: t.a"),
                  sqlite("finalize"),
              }),
              takeEvents());
}

TEST_F(RunOneStepSqlStmtTest, LogsAnExtendedCodeAsUnknown)
{
    run("create table t (a unique); insert into t values (1)");
    sqlite3_extended_result_codes(db, 1);
    EXPECT_FALSE(sql::runOneStepSqlStmt(db, "insert into t values (1)"));
    EXPECT_EQ(trace({
                  debug2("insert into t values (1)"),
                  stepFailed("insert into t values (1)"),
                  stepResult(2067, "unknown", "UNIQUE constraint failed: t.a"),
              }),
              takeDiagnostics());
}

TEST_F(RunOneStepSqlStmtTest, LogsTheCodeOfAFailedPreparation)
{
    const auto deny = [](void*, int, const char*, const char*, const char*, const char*) {
        return SQLITE_DENY;
    };
    sqlite3_set_authorizer(db, deny, nullptr);
    EXPECT_FALSE(sql::runOneStepSqlStmt(db, "create table t (a)"));
    EXPECT_EQ(trace({
                  debug2("create table t (a)"),
                  prepareFailed("create table t (a)"),
                  prepareResult(23, "SQLITE_AUTH", "not authorized"),
              }),
              takeDiagnostics());
}

TEST_F(RunOneStepSqlStmtTest, TakesAnEmptyStatementAsFailure)
{
    EXPECT_FALSE(sql::runOneStepSqlStmt(db, ""));
    EXPECT_EQ(trace({
                  debug2(""),
                  sqlite("prepare_v2", ", -1"),
                  sqlite("step"),
                  stepFailed(""),
                  sqlite("errmsg"),
                  stepResult(21, "SQLITE_MISUSE", "not an error"),
                  sqlite("finalize"),
              }),
              takeEvents());
}

TEST_F(RunOneStepSqlStmtTest, RunsOnlyTheFirstOfSeveralStatements)
{
    EXPECT_TRUE(sql::runOneStepSqlStmt(db, "create table t (a); create table u (a)"));
    EXPECT_EQ("t", cell("select group_concat(name) from sqlite_master"));
}

TEST_F(RunOneStepSqlStmtTest, EndsTheStatementAtItsFirstNulByte)
{
    EXPECT_TRUE(sql::runOneStepSqlStmt(db, std::string("create table t (a)\0nonsense", 27)));
    EXPECT_EQ(trace({debug2("create table t (a)")}), takeDiagnostics());
}

TEST_F(RunOneStepSqlStmtTest, TakesNoPercentSignForAFormat)
{
    run("create table t (a constraint \"%s%n\" check (a > 0))");
    EXPECT_FALSE(sql::runOneStepSqlStmt(db, "insert into t values ('%d%s%n' < 0)"));
    EXPECT_EQ(trace({
                  debug2("insert into t values ('%d%s%n' < 0)"),
                  stepFailed("insert into t values ('%d%s%n' < 0)"),
                  stepResult(19, "SQLITE_CONSTRAINT", "CHECK constraint failed: %s%n"),
              }),
              takeDiagnostics());
}

TEST_F(RunOneStepSqlStmtTest, TakesNoPercentSignOfAFailedPreparationForAFormat)
{
    EXPECT_FALSE(sql::runOneStepSqlStmt(db, "drop table \"%s%n\""));
    EXPECT_EQ(trace({
                  debug2("drop table \"%s%n\""),
                  prepareFailed("drop table \"%s%n\""),
                  prepareResult(1, "SQLITE_ERROR", "no such table: %s%n"),
              }),
              takeDiagnostics());
}

TEST_F(RunOneStepSqlStmtTest, PassesEveryByteOfTheStatementOn)
{
    run("create table t (a)");
    EXPECT_TRUE(sql::runOneStepSqlStmt(db, "insert into t values ('" + allBytesButQuote() + "')"));
    EXPECT_EQ(trace({debug2("insert into t values ('" + allBytesButQuote() + "')")}),
              takeDiagnostics());
    EXPECT_EQ(allBytesButQuote(), cell("select a from t"));
}

TEST_F(RunOneStepSqlStmtTest, LogsALongStatementWhole)
{
    const std::string stmt = "drop table " + std::string(200000, 'x');
    EXPECT_FALSE(sql::runOneStepSqlStmt(db, stmt));
    EXPECT_EQ(trace({
                  debug2(stmt),
                  prepareFailed(stmt),
                  prepareResult(1, "SQLITE_ERROR",
                                ("no such table: " + std::string(200000, 'x')).c_str()),
              }),
              takeDiagnostics());
}

// Reading one number

class QueryNumberTest : public DatabaseTest
{
protected:
    static std::string debug2(const std::string& query)
    {
        return common.debug2("queryNumber", "stmt='%s'", query.c_str());
    }
    static std::string debug2(int number)
    {
        return common.debug2("queryNumber", "SQLite returned number=%d", number);
    }
    static std::string prepareFailed(const std::string& query)
    {
        return common.error("queryNumber", "Failed to prepare the SQL query '%s': ", query.c_str());
    }
    static std::string prepareResult(int rc, const char* name, const char* text)
    {
        return common.error("queryNumber", "  rc=%d=%s: %s", rc, name, text);
    }
    static std::string failed(const std::string& query)
    {
        return common.error("queryNumber", "The SQL query '%s' failed", query.c_str());
    }
    static std::string noRow(int rc, const char* name, const char* text)
    {
        return common.error("queryNumber", "   the query returned %d=%s instead of SQLITE_ROW: %s",
                            rc, name, text);
    }
    static std::string negative(int number)
    {
        return common.error("queryNumber", "  SQLite returned returned number = %d < 0", number);
    }
};

TEST_F(QueryNumberTest, ReadsTheFirstColumnOfTheFirstRow)
{
    EXPECT_EQ(42, sql::queryNumber(db, "select 42"));
    EXPECT_EQ(trace({
                  debug2("select 42"),
                  sqlite("prepare_v2", "select 42, -1"),
                  sqlite("step"),
                  sqlite("column_count"),
                  sqlite("column_int", "0"),
                  sqlite("finalize"),
                  debug2(42),
              }),
              takeEvents());
}

TEST_F(QueryNumberTest, ReportsNullConnectionWithoutLogLine)
{
    EXPECT_EQ(-1, sql::queryNumber(nullptr, "select 42"));
    EXPECT_EQ(trace({common.asserted("db", "int sql::queryNumber(sqlite3*, const string&)")}),
              takeEvents());
}

TEST_F(QueryNumberTest, CountsAnEmptyTableAs0)
{
    run("create table t (a)");
    EXPECT_EQ(0, sql::queryNumber(db, "select count(*) from t"));
    EXPECT_EQ(trace({debug2("select count(*) from t"), debug2(0)}), takeDiagnostics());
}

TEST_F(QueryNumberTest, FinalisesNothingThatCouldNotBePrepared)
{
    EXPECT_EQ(-1, sql::queryNumber(db, "select"));
    EXPECT_EQ(trace({
                  debug2("select"),
                  sqlite("prepare_v2", "select, -1"),
                  prepareFailed("select"),
                  sqlite("errmsg"),
                  prepareResult(1, "SQLITE_ERROR", "incomplete input"),
              }),
              takeEvents());
}

TEST_F(QueryNumberTest, TakesNoRowAsFailureAndLogsItAfterItFinalised)
{
    EXPECT_EQ(-1, sql::queryNumber(db, "select 1 where 0"));
    EXPECT_EQ(trace({
                  debug2("select 1 where 0"),
                  sqlite("prepare_v2", "select 1 where 0, -1"),
                  sqlite("step"),
                  sqlite("finalize"),
                  failed("select 1 where 0"),
                  sqlite("errmsg"),
                  noRow(101, "SQLITE_DONE", "not an error"),
              }),
              takeEvents());
}

TEST_F(QueryNumberTest, LogsAFailedStepAfterItFinalised)
{
    EXPECT_EQ(-1, sql::queryNumber(db, "select abs(-9223372036854775808)"));
    EXPECT_EQ(trace({
                  debug2("select abs(-9223372036854775808)"),
                  sqlite("prepare_v2", "select abs(-9223372036854775808), -1"),
                  sqlite("step"),
                  sqlite("finalize"),
                  failed("select abs(-9223372036854775808)"),
                  sqlite("errmsg"),
                  noRow(1, "SQLITE_ERROR", "integer overflow"),
              }),
              takeEvents());
}

TEST_F(QueryNumberTest, LogsAnExtendedCodeAsUnknown)
{
    run("create table t (a unique); insert into t values (1)");
    sqlite3_extended_result_codes(db, 1);
    EXPECT_EQ(-1, sql::queryNumber(db, "insert into t values (1)"));
    EXPECT_EQ(trace({
                  debug2("insert into t values (1)"),
                  failed("insert into t values (1)"),
                  noRow(2067, "unknown", "UNIQUE constraint failed: t.a"),
              }),
              takeDiagnostics());
}

TEST_F(QueryNumberTest, TakesAnEmptyQueryAsFailure)
{
    EXPECT_EQ(-1, sql::queryNumber(db, ""));
    EXPECT_EQ(trace({debug2(""), failed(""), noRow(21, "SQLITE_MISUSE", "not an error")}),
              takeDiagnostics());
}

TEST_F(QueryNumberTest, RunsAStatementWithoutRowsAndCallsItFailed)
{
    EXPECT_EQ(-1, sql::queryNumber(db, "create table t (a)"));
    EXPECT_EQ(trace({
                  debug2("create table t (a)"),
                  failed("create table t (a)"),
                  noRow(101, "SQLITE_DONE", "not an error"),
              }),
              takeDiagnostics());
    EXPECT_EQ("t", cell("select name from sqlite_master"));
}

TEST_F(QueryNumberTest, TakesTwoColumnsAsFailure)
{
    EXPECT_EQ(-1, sql::queryNumber(db, "select 1, 2"));
    EXPECT_EQ(trace({
                  debug2("select 1, 2"),
                  sqlite("prepare_v2", "select 1, 2, -1"),
                  sqlite("step"),
                  sqlite("column_count"),
                  sqlite("finalize"),
                  common.error("queryNumber",
                               "The SQL query '%s' failed: query returned %d columns in result "
                               "while 1 is expected",
                               "select 1, 2", 2),
              }),
              takeEvents());
}

TEST_F(QueryNumberTest, LooksForARowBeforeItCountsColumns)
{
    EXPECT_EQ(-1, sql::queryNumber(db, "select 1, 2 where 0"));
    EXPECT_EQ(trace({
                  debug2("select 1, 2 where 0"),
                  failed("select 1, 2 where 0"),
                  noRow(101, "SQLITE_DONE", "not an error"),
              }),
              takeDiagnostics());
}

TEST_F(QueryNumberTest, IgnoresFurtherRows)
{
    EXPECT_EQ(3, sql::queryNumber(db, "select 3 union all select 4"));
    EXPECT_EQ(trace({
                  debug2("select 3 union all select 4"),
                  sqlite("prepare_v2", "select 3 union all select 4, -1"),
                  sqlite("step"),
                  sqlite("column_count"),
                  sqlite("column_int", "0"),
                  sqlite("finalize"),
                  debug2(3),
              }),
              takeEvents());
}

TEST_F(QueryNumberTest, TakesANegativeNumberAsFailure)
{
    EXPECT_EQ(-1, sql::queryNumber(db, "select -5"));
    EXPECT_EQ(trace({
                  debug2("select -5"),
                  sqlite("prepare_v2", "select -5, -1"),
                  sqlite("step"),
                  sqlite("column_count"),
                  sqlite("column_int", "0"),
                  sqlite("finalize"),
                  failed("select -5"),
                  negative(-5),
              }),
              takeEvents());
}

TEST_F(QueryNumberTest, ReadsTheLargestNumberOf32Bits)
{
    EXPECT_EQ(2147483647, sql::queryNumber(db, "select 2147483647"));
    EXPECT_EQ(trace({debug2("select 2147483647"), debug2(2147483647)}), takeDiagnostics());
}

TEST_F(QueryNumberTest, CutsALargerNumberTo32Bits)
{
    EXPECT_EQ(7, sql::queryNumber(db, "select 4294967303"));
    EXPECT_EQ(trace({debug2("select 4294967303"), debug2(7)}), takeDiagnostics());
}

TEST_F(QueryNumberTest, FailsWhenTheCutNumberIsNegative)
{
    EXPECT_EQ(-1, sql::queryNumber(db, "select 2147483648"));
    EXPECT_EQ(
        trace({debug2("select 2147483648"), failed("select 2147483648"), negative(INT32_MIN)}),
        takeDiagnostics());
}

TEST_F(QueryNumberTest, ReadsNullAs0)
{
    EXPECT_EQ(0, sql::queryNumber(db, "select null"));
    EXPECT_EQ(trace({debug2("select null"), debug2(0)}), takeDiagnostics());
}

TEST_F(QueryNumberTest, EndsTheQueryAtItsFirstNulByte)
{
    EXPECT_EQ(42, sql::queryNumber(db, std::string("select 42\0, 7", 13)));
    EXPECT_EQ(trace({debug2("select 42"), debug2(42)}), takeDiagnostics());
}

TEST_F(QueryNumberTest, TakesNoPercentSignForAFormat)
{
    EXPECT_EQ(-1, sql::queryNumber(db, "select count(*) from \"%s%n\""));
    EXPECT_EQ(trace({
                  debug2("select count(*) from \"%s%n\""),
                  prepareFailed("select count(*) from \"%s%n\""),
                  prepareResult(1, "SQLITE_ERROR", "no such table: %s%n"),
              }),
              takeDiagnostics());
}

TEST_F(QueryNumberTest, TakesNoPercentSignOfAFailedQueryForAFormat)
{
    EXPECT_EQ(-1, sql::queryNumber(db, "select '%s%n', '%d'"));
    EXPECT_EQ(trace({
                  debug2("select '%s%n', '%d'"),
                  common.error("queryNumber",
                               "The SQL query '%s' failed: query returned %d columns in result "
                               "while 1 is expected",
                               "select '%s%n', '%d'", 2),
              }),
              takeDiagnostics());
}

TEST_F(QueryNumberTest, PassesEveryByteOfTheQueryOn)
{
    const std::string query = "select length(cast('" + allBytesButQuote() + "' as blob))";
    EXPECT_EQ(254, sql::queryNumber(db, query));
    EXPECT_EQ(trace({debug2(query), debug2(254)}), takeDiagnostics());
}

TEST_F(QueryNumberTest, WritesItsFailureAloneAtLevel3)
{
    setTraceLevel(3);
    EXPECT_EQ(-1, sql::queryNumber(db, "select -5"));
    EXPECT_EQ(trace({failed("select -5"), negative(-5)}), takeDiagnostics());
}

} // namespace
