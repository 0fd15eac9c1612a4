#include "SqlCommon.h"

#include <climits>
#include <cstdint>
#include <future>
#include <limits>
#include <map>
#include <sstream>
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
static_assert(std::is_same<decltype(&sql::listToVector),
                           void (*)(std::string, std::vector<std::string>&, const char*)>::value,
              "");
static_assert(std::is_same<sql::string, std::string>::value, "");
static_assert(std::numeric_limits<sql::integer>::digits == 63, "");

// The bytes 1 to 255, but for the single quote.
std::string allBytesButQuote()
{
    std::string bytes;
    for (int byte = 1; byte < 256; ++byte)
        if (byte != '\'')
            bytes += static_cast<char>(byte);
    return bytes;
}

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
                  debug2("nonsense"),
                  sqlite("prepare_v2", "nonsense, -1"),
                  prepareFailed("nonsense"),
                  sqlite("errmsg"),
                  prepareResult(1, "SQLITE_ERROR", "near \"nonsense\": syntax error"),
              }),
              recorded());
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
              recorded());
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
              recorded());
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
              recordedDiagnostics());
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
              recordedDiagnostics());
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
              recorded());
}

TEST_F(RunOneStepSqlStmtTest, RunsOnlyTheFirstOfSeveralStatements)
{
    EXPECT_TRUE(sql::runOneStepSqlStmt(db, "create table t (a); create table u (a)"));
    EXPECT_EQ("t", cell("select group_concat(name) from sqlite_master"));
}

TEST_F(RunOneStepSqlStmtTest, EndsTheStatementAtItsFirstNulByte)
{
    EXPECT_TRUE(sql::runOneStepSqlStmt(db, std::string("create table t (a)\0nonsense", 27)));
    EXPECT_EQ(trace({debug2("create table t (a)")}), recordedDiagnostics());
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
              recordedDiagnostics());
}

TEST_F(RunOneStepSqlStmtTest, TakesNoPercentSignOfAFailedPreparationForAFormat)
{
    EXPECT_FALSE(sql::runOneStepSqlStmt(db, "drop table \"%s%n\""));
    EXPECT_EQ(trace({
                  debug2("drop table \"%s%n\""),
                  prepareFailed("drop table \"%s%n\""),
                  prepareResult(1, "SQLITE_ERROR", "no such table: %s%n"),
              }),
              recordedDiagnostics());
}

TEST_F(RunOneStepSqlStmtTest, PassesEveryByteOfTheStatementOn)
{
    run("create table t (a)");
    EXPECT_TRUE(sql::runOneStepSqlStmt(db, "insert into t values ('" + allBytesButQuote() + "')"));
    EXPECT_EQ(trace({debug2("insert into t values ('" + allBytesButQuote() + "')")}),
              recordedDiagnostics());
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
              recordedDiagnostics());
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
              recorded());
}

TEST_F(QueryNumberTest, ReportsNullConnectionWithoutLogLine)
{
    EXPECT_EQ(-1, sql::queryNumber(nullptr, "select 42"));
    EXPECT_EQ(trace({common.asserted("db", "int sql::queryNumber(sqlite3*, const string&)")}),
              recorded());
}

TEST_F(QueryNumberTest, CountsAnEmptyTableAs0)
{
    run("create table t (a)");
    EXPECT_EQ(0, sql::queryNumber(db, "select count(*) from t"));
    EXPECT_EQ(trace({debug2("select count(*) from t"), debug2(0)}), recordedDiagnostics());
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
              recorded());
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
              recorded());
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
              recorded());
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
              recordedDiagnostics());
}

TEST_F(QueryNumberTest, TakesAnEmptyQueryAsFailure)
{
    EXPECT_EQ(-1, sql::queryNumber(db, ""));
    EXPECT_EQ(trace({debug2(""), failed(""), noRow(21, "SQLITE_MISUSE", "not an error")}),
              recordedDiagnostics());
}

TEST_F(QueryNumberTest, RunsAStatementWithoutRowsAndCallsItFailed)
{
    EXPECT_EQ(-1, sql::queryNumber(db, "create table t (a)"));
    EXPECT_EQ(trace({
                  debug2("create table t (a)"),
                  failed("create table t (a)"),
                  noRow(101, "SQLITE_DONE", "not an error"),
              }),
              recordedDiagnostics());
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
              recorded());
}

TEST_F(QueryNumberTest, LooksForARowBeforeItCountsColumns)
{
    EXPECT_EQ(-1, sql::queryNumber(db, "select 1, 2 where 0"));
    EXPECT_EQ(trace({
                  debug2("select 1, 2 where 0"),
                  failed("select 1, 2 where 0"),
                  noRow(101, "SQLITE_DONE", "not an error"),
              }),
              recordedDiagnostics());
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
              recorded());
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
              recorded());
}

TEST_F(QueryNumberTest, ReadsTheLargestNumberOf32Bits)
{
    EXPECT_EQ(2147483647, sql::queryNumber(db, "select 2147483647"));
    EXPECT_EQ(trace({debug2("select 2147483647"), debug2(2147483647)}), recordedDiagnostics());
}

TEST_F(QueryNumberTest, CutsALargerNumberTo32Bits)
{
    EXPECT_EQ(7, sql::queryNumber(db, "select 4294967303"));
    EXPECT_EQ(trace({debug2("select 4294967303"), debug2(7)}), recordedDiagnostics());
}

TEST_F(QueryNumberTest, FailsWhenTheCutNumberIsNegative)
{
    EXPECT_EQ(-1, sql::queryNumber(db, "select 2147483648"));
    EXPECT_EQ(
        trace({debug2("select 2147483648"), failed("select 2147483648"), negative(INT32_MIN)}),
        recordedDiagnostics());
}

TEST_F(QueryNumberTest, ReadsNullAs0)
{
    EXPECT_EQ(0, sql::queryNumber(db, "select null"));
    EXPECT_EQ(trace({debug2("select null"), debug2(0)}), recordedDiagnostics());
}

TEST_F(QueryNumberTest, EndsTheQueryAtItsFirstNulByte)
{
    EXPECT_EQ(42, sql::queryNumber(db, std::string("select 42\0, 7", 13)));
    EXPECT_EQ(trace({debug2("select 42"), debug2(42)}), recordedDiagnostics());
}

TEST_F(QueryNumberTest, TakesNoPercentSignForAFormat)
{
    EXPECT_EQ(-1, sql::queryNumber(db, "select count(*) from \"%s%n\""));
    EXPECT_EQ(trace({
                  debug2("select count(*) from \"%s%n\""),
                  prepareFailed("select count(*) from \"%s%n\""),
                  prepareResult(1, "SQLITE_ERROR", "no such table: %s%n"),
              }),
              recordedDiagnostics());
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
              recordedDiagnostics());
}

TEST_F(QueryNumberTest, PassesEveryByteOfTheQueryOn)
{
    const std::string query = "select length(cast('" + allBytesButQuote() + "' as blob))";
    EXPECT_EQ(254, sql::queryNumber(db, query));
    EXPECT_EQ(trace({debug2(query), debug2(254)}), recordedDiagnostics());
}

TEST_F(QueryNumberTest, WritesItsFailureAloneAtLevel3)
{
    setTraceLevel(3);
    EXPECT_EQ(-1, sql::queryNumber(db, "select -5"));
    EXPECT_EQ(trace({failed("select -5"), negative(-5)}), recordedDiagnostics());
}

// The names of types

class Type2StrTest : public Test
{
protected:
    const std::string report =
        common.asserted("false", "sql::string sql::type2Str(sql::field_type)");
};

TEST_F(Type2StrTest, NamesEachType)
{
    EXPECT_EQ("integer", sql::type2Str(sql::type_int));
    EXPECT_EQ("text", sql::type2Str(sql::type_text));
    EXPECT_EQ("float", sql::type2Str(sql::type_float));
    EXPECT_EQ("bool", sql::type2Str(sql::type_bool));
    EXPECT_EQ("time", sql::type2Str(sql::type_time));
    EXPECT_EQ(trace({}), recorded());
}

TEST_F(Type2StrTest, KnowsTheTypesByTheirNumbers)
{
    EXPECT_EQ("integer", sql::type2Str(static_cast<sql::field_type>(0)));
    EXPECT_EQ("text", sql::type2Str(static_cast<sql::field_type>(1)));
    EXPECT_EQ("float", sql::type2Str(static_cast<sql::field_type>(2)));
    EXPECT_EQ("bool", sql::type2Str(static_cast<sql::field_type>(3)));
    EXPECT_EQ("time", sql::type2Str(static_cast<sql::field_type>(4)));
}

TEST_F(Type2StrTest, ReportsANumberThatIsNoType)
{
    for (const int number : {5, 7, 256, INT_MAX, -1, INT_MIN}) {
        EXPECT_EQ("undefined", sql::type2Str(static_cast<sql::field_type>(number))) << number;
        EXPECT_EQ(trace({report}), recorded()) << number;
    }
}

// Quoting

TEST(QuoteStrTest, DoublesASingleQuote)
{
    EXPECT_EQ("it''s", sql::quoteStr("it's"));
}

TEST(QuoteStrTest, DoublesEachOfSeveralQuotes)
{
    EXPECT_EQ("''''", sql::quoteStr("''"));
}

TEST(QuoteStrTest, DoublesQuotesAtBothEnds)
{
    EXPECT_EQ("''a''b''", sql::quoteStr("'a'b'"));
}

TEST(QuoteStrTest, LeavesAnEmptyTextEmpty)
{
    EXPECT_EQ("", sql::quoteStr(""));
}

TEST(QuoteStrTest, LeavesAnyOtherByteAsItIs)
{
    EXPECT_EQ(allBytesButQuote(), sql::quoteStr(allBytesButQuote()));
}

TEST(QuoteStrTest, GoesOnPastANulByte)
{
    EXPECT_EQ(std::string("a\0''b''\0", 8), sql::quoteStr(std::string("a\0'b'\0", 6)));
}

TEST(QuoteStrTest, LeavesItsArgumentAsItIs)
{
    const std::string text = "it's";
    sql::quoteStr(text);
    EXPECT_EQ("it's", text);
}

TEST(QuoteStrTest, DoublesAMillionQuotes)
{
    EXPECT_TRUE(std::string(2000000, '\'') == sql::quoteStr(std::string(1000000, '\'')));
}

// On two threads at once

TEST(ThreadsTest, HelpersKeepTheTextsOfThreadsApart)
{
    const auto differing = [](char character) {
        const std::string text = " " + std::string(1000, character) + "' ";
        int different = 0;
        for (int i = 0; i < 20000; ++i) {
            different += sql::quoteStr(text) != " " + std::string(1000, character) + "'' ";
            different += sql::trim(text) != std::string(1000, character) + "'";
            different += sql::intToStr(character) != std::to_string(int(character));
        }
        return different;
    };
    std::future<int> other = std::async(std::launch::async, differing, 'a');
    EXPECT_EQ(0, differing('b'));
    EXPECT_EQ(0, other.get());
}

// Trimming

TEST(TrimTest, LeftErasesTheLeadingWhiteSpaceAlone)
{
    std::string text = " \t a b \t\n";
    EXPECT_EQ(&text, &sql::trimleft(text));
    EXPECT_EQ("a b \t\n", text);
}

TEST(TrimTest, RightErasesTheTrailingWhiteSpaceAlone)
{
    std::string text = " \t a b \t\n";
    EXPECT_EQ(&text, &sql::trimright(text));
    EXPECT_EQ(" \t a b", text);
}

TEST(TrimTest, InPlaceErasesBothEndsAndReturnsItsArgument)
{
    std::string text = "  a b \t\n";
    EXPECT_EQ(&text, &sql::trim(text));
    EXPECT_EQ("a b", text);
}

TEST(TrimTest, OfAConstantReturnsACopy)
{
    const std::string text = "  a b \t\n";
    EXPECT_EQ("a b", sql::trim(text));
    EXPECT_EQ("  a b \t\n", text);
}

TEST(TrimTest, EmptiesATextOfWhiteSpaceAlone)
{
    std::string left = "   ";
    std::string right = "   ";
    std::string both = "   ";
    EXPECT_EQ("", sql::trimleft(left));
    EXPECT_EQ("", sql::trimright(right));
    EXPECT_EQ("", sql::trim(both));
    EXPECT_EQ("", sql::trim(std::string(" \t\n")));
}

TEST(TrimTest, LeavesAnEmptyTextEmpty)
{
    std::string empty;
    EXPECT_EQ("", sql::trimleft(empty));
    EXPECT_EQ("", sql::trimright(empty));
    EXPECT_EQ("", sql::trim(empty));
    EXPECT_EQ("", sql::trim(std::string()));
}

TEST(TrimTest, LeavesATextWithoutOuterWhiteSpaceAsItIs)
{
    EXPECT_EQ("a \t b", sql::trim(std::string("a \t b")));
}

TEST(TrimTest, ErasesTheSixSpacesAndNoOtherByte)
{
    const std::string spaces = " \t\n\v\f\r";
    for (int byte = 0; byte < 256; ++byte) {
        const std::string one(1, static_cast<char>(byte));
        const bool space = spaces.find(one) != std::string::npos;
        EXPECT_EQ(space ? "x" : one + "x" + one, sql::trim(one + "x" + one)) << byte;
    }
}

TEST(TrimTest, TakesANulByteForAnEnd)
{
    EXPECT_EQ(std::string("\0 a \0", 5), sql::trim(std::string(" \0 a \0 ", 7)));
}

TEST(TrimTest, ErasesAMillionBlanks)
{
    const std::string blanks(1000000, ' ');
    EXPECT_EQ("a", sql::trim(blanks + "a" + blanks));
}

// Numbers as texts

TEST(IntToStrTest, WritesAnIntInDecimal)
{
    EXPECT_EQ("0", sql::intToStr(0));
    EXPECT_EQ("7", sql::intToStr(7));
    EXPECT_EQ("-7", sql::intToStr(-7));
    EXPECT_EQ("10", sql::intToStr(10));
    EXPECT_EQ("1000000", sql::intToStr(1000000));
}

TEST(IntToStrTest, WritesTheBoundsOfInt)
{
    EXPECT_EQ("-2147483648", sql::intToStr(INT_MIN));
    EXPECT_EQ("2147483647", sql::intToStr(INT_MAX));
}

TEST(IntToStrTest, WritesAnIntegerInDecimal)
{
    EXPECT_EQ("0", sql::intToStr(sql::integer(0)));
    EXPECT_EQ("7", sql::intToStr(sql::integer(7)));
    EXPECT_EQ("-7", sql::intToStr(sql::integer(-7)));
    EXPECT_EQ("4294967296", sql::intToStr(sql::integer(4294967296)));
    EXPECT_EQ("-1000000000000000000", sql::intToStr(sql::integer(-1000000000000000000)));
}

TEST(IntToStrTest, WritesTheBoundsOfInteger)
{
    EXPECT_EQ("9223372036854775807", sql::intToStr(sql::integer(LLONG_MAX)));
    EXPECT_EQ("-9223372036854775808", sql::intToStr(sql::integer(LLONG_MIN)));
}

TEST(IntToStrTest, GroupsNoDigitsWhereTheLocaleDoes)
{
    const ProgramLocale german("de_DE.UTF-8");
    std::ostringstream grouping;
    grouping << 1234567;
    ASSERT_EQ("1.234.567", grouping.str());

    EXPECT_EQ("1234567", sql::intToStr(1234567));
    EXPECT_EQ("-1234567890123", sql::intToStr(sql::integer(-1234567890123)));
}

// Splitting a list

class ListToVectorTest : public ::testing::Test
{
protected:
    using Items = std::vector<std::string>;

    static Items split(const std::string& list, const char* delimiters)
    {
        Items items;
        sql::listToVector(list, items, delimiters);
        return items;
    }
};

TEST_F(ListToVectorTest, TrimsItemsAndDropsEmptyOnes)
{
    EXPECT_EQ((Items{"a", "b", "c"}), split("a, b,,c ", ","));
}

TEST_F(ListToVectorTest, KeepsAnItemOfWhiteSpaceAsAnEmptyOne)
{
    EXPECT_EQ((Items{"a", "", "b"}), split("a, ,b", ","));
}

TEST_F(ListToVectorTest, GivesNoItemsForAnEmptyList)
{
    Items items = {"earlier"};
    sql::listToVector("", items, ",");
    EXPECT_EQ(Items{}, items);
}

TEST_F(ListToVectorTest, DropsWhatTheVectorHeld)
{
    Items items = {"earlier", "items"};
    sql::listToVector("a", items, ",");
    EXPECT_EQ(Items{"a"}, items);
}

TEST_F(ListToVectorTest, SplitsAnItemOfTheVectorItself)
{
    Items items = {"a,b", "c"};
    sql::listToVector(items[0], items, ",");
    EXPECT_EQ((Items{"a", "b"}), items);
}

TEST_F(ListToVectorTest, GivesNoItemsForLeadingAndTrailingDelimiters)
{
    EXPECT_EQ((Items{"a", "b"}), split(",,a,b,,,", ","));
}

TEST_F(ListToVectorTest, GivesNoItemsForDelimitersAlone)
{
    EXPECT_EQ(Items{}, split(",,,", ","));
}

TEST_F(ListToVectorTest, GivesTheWholeListWithoutADelimiterInIt)
{
    EXPECT_EQ(Items{"a b"}, split(" a b ", ","));
}

TEST_F(ListToVectorTest, SplitsAtAnyOfSeveralDelimiters)
{
    EXPECT_EQ((Items{"a", "b", "c"}), split("a;,b,;c", ",;"));
}

TEST_F(ListToVectorTest, SplitsNothingWithoutDelimiters)
{
    EXPECT_EQ(Items{"a,b"}, split("a,b", ""));
}

TEST_F(ListToVectorTest, SplitsAtBlanks)
{
    EXPECT_EQ((Items{"a", "b"}), split("  a  b ", " "));
}

TEST_F(ListToVectorTest, SplitsAtABytePast127)
{
    EXPECT_EQ((Items{"a\x80", "\xfe"}), split("a\x80\xff\xfe", "\xff"));
}

TEST_F(ListToVectorTest, EndsTheListAtItsFirstNulByte)
{
    EXPECT_EQ((Items{"a", "b"}), split(std::string("a,b\0c,d", 7), ","));
}

// More than a stack holds.
TEST_F(ListToVectorTest, SplitsAListOf10Megabytes)
{
    const std::string item(9999, 'x');
    std::string list;
    for (int i = 0; i < 1000; ++i)
        list += item + ",";
    ASSERT_EQ(10000000u, list.size());
    EXPECT_TRUE(Items(1000, item) == split(list, ","));
}

TEST_F(ListToVectorTest, KeepsAnItemOf10Megabytes)
{
    const Items items = split(std::string(10000000, 'x'), ",");
    ASSERT_EQ(1u, items.size());
    EXPECT_TRUE(std::string(10000000, 'x') == items[0]);
}

} // namespace
