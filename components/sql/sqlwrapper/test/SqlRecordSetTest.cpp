#include "SqlRecordSet.h"

#include <new>
#include <string>
#include <type_traits>
#include <vector>

#include <gtest/gtest.h>
#include <sqlite3.h>

#include "SqlTable.h"
#include "support/Records.h"
#include "support/Statements.h"
#include "support/World.h"

using namespace sqltest;

namespace
{

const Source source("SqlRecordSet");
const char* const initFieldSetSignature = "bool sql::FieldSet::initFieldSet(const sql::Field*)";
const sql::Field moreColumns[] = {number, price, sql::Field()};

// Records refer to the column set of their own record set; only tables copy both together.
static_assert(!std::is_copy_constructible<sql::RecordSet>::value, "");
static_assert(!std::is_copy_assignable<sql::RecordSet>::value, "");

// Building

TEST_F(RecordSetTest, WithoutArgumentsHasNoConnection)
{
    sql::RecordSet bare;
    EXPECT_FALSE(bare.query("select 1"));
    EXPECT_EQ(trace({notConnected()}), takeEvents());
}

TEST_F(RecordSetTest, WithoutArgumentsHasNoColumns)
{
    EXPECT_EQ(0, sql::RecordSet().fields().count());
}

TEST_F(RecordSetTest, WithConnectionAloneHasNoColumns)
{
    EXPECT_EQ(0, sql::RecordSet(db).fields().count());
}

TEST_F(RecordSetTest, WithConnectionAloneRunsQueries)
{
    sql::RecordSet bare(db);
    EXPECT_TRUE(bare.query("select 1"));
}

TEST_F(RecordSetTest, CopiesTheColumnSet)
{
    sql::FieldSet original = item;
    sql::RecordSet copied(db, original);
    original = columns({price});
    EXPECT_EQ("id, name", copied.fields().toSql());
}

TEST_F(RecordSetTest, BuildsItsColumnSetFromAnArray)
{
    sql::RecordSet built(db, itemColumns);
    EXPECT_EQ("0: name=id, type=integer, flags: PRIMARY KEY\r\n1: name=name, type=text, flags:",
              built.fields().dump());
    EXPECT_EQ("", takeEvents());
}

TEST_F(RecordSetTest, TakesNullArrayForNoColumns)
{
    sql::RecordSet built(db, static_cast<const sql::Field*>(nullptr));
    EXPECT_EQ(0, built.fields().count());
    EXPECT_EQ("", takeEvents());
}

TEST_F(RecordSetTest, LeavesTheReportOfAMissingKeyToTheColumnSet)
{
    sql::RecordSet built(db, moreColumns);
    EXPECT_EQ(trace({Source("SqlFieldSet").asserted("false", initFieldSetSignature)}),
              takeEvents());
}

TEST_F(RecordSetTest, FieldsAreItsOwnColumnSet)
{
    const sql::FieldSet* const own = &set.fields();
    EXPECT_NE(&item, own);
    EXPECT_EQ(item.dump(), own->dump());
    EXPECT_TRUE(set.query("select 1, 'Bob'"));
    EXPECT_EQ(own, set.getRecord(0)->fields());
    EXPECT_EQ(own, &set.fields());
}

TEST_F(RecordSetTest, NewIsNotOk)
{
    EXPECT_FALSE(set.isResultOk());
}

// In memory that held zeros, which would read as the result of a query that succeeded.
template <typename... Args> bool newIsOk(const Args&... args)
{
    alignas(sql::RecordSet) unsigned char memory[sizeof(sql::RecordSet)] = {};
    sql::RecordSet* fresh = new (memory) sql::RecordSet(args...);
    const bool ok = fresh->isResultOk();
    fresh->~RecordSet();
    return ok;
}

TEST_F(RecordSetTest, NewIsNotOkHoweverItIsMade)
{
    EXPECT_FALSE(newIsOk());
    EXPECT_FALSE(newIsOk(db));
    EXPECT_FALSE(newIsOk(db, item));
    EXPECT_FALSE(newIsOk(db, itemColumns));
}

TEST_F(RecordSetTest, NewHasNoRows)
{
    EXPECT_EQ(0, set.count());
}

TEST_F(RecordSetTest, NewHasNoTopRecord)
{
    EXPECT_EQ(nullptr, set.getTopRecord());
}

TEST_F(RecordSetTest, NewHasNoFirstValue)
{
    EXPECT_EQ(nullptr, set.getTopRecordFirstValue());
    EXPECT_EQ("", takeEvents());
}

TEST_F(RecordSetTest, NewIsEmptyAsText)
{
    EXPECT_EQ("", set.toString());
}

TEST_F(RecordSetTest, LeavesTheConnectionOpenAtItsEnd)
{
    {
        sql::RecordSet brief(db, item);
        brief.query("select 1, 'Bob'");
        forgetEvents();
    }
    EXPECT_EQ("", takeEvents());
    EXPECT_EQ("1", cell("select 1"));
}

// initRecordSet

TEST_F(RecordSetTest, InitTakesConnectionAndColumns)
{
    sql::RecordSet bare;
    EXPECT_TRUE(bare.initRecordSet(db, itemColumns));
    EXPECT_TRUE(bare.query("select 7, 'Bob'"));
    EXPECT_EQ("1. 7|Bob\r\n", bare.toString());
}

TEST_F(RecordSetTest, InitRunsNothing)
{
    sql::RecordSet bare;
    bare.initRecordSet(db, itemColumns);
    EXPECT_EQ("", takeEvents());
}

TEST_F(RecordSetTest, InitTakesNullConnectionToo)
{
    EXPECT_TRUE(set.initRecordSet(nullptr, nullptr));
    EXPECT_FALSE(set.query("select 1"));
    EXPECT_EQ(trace({notConnected()}), takeEvents());
}

TEST_F(RecordSetTest, InitDropsTheRows)
{
    set.query("select 7, 'Bob'");
    set.initRecordSet(db, nullptr);
    EXPECT_EQ(0, set.count());
}

TEST_F(RecordSetTest, InitIsNotOkUntilAQuery)
{
    set.query("select 7, 'Bob'");
    set.initRecordSet(db, nullptr);
    EXPECT_FALSE(set.isResultOk());
}

TEST_F(RecordSetTest, InitWithNullArrayKeepsTheColumns)
{
    EXPECT_TRUE(set.initRecordSet(db, nullptr));
    EXPECT_EQ("id, name", set.fields().toSql());
}

TEST_F(RecordSetTest, InitAppendsColumnsAndNumbersTheFirstOnes)
{
    EXPECT_TRUE(set.initRecordSet(db, moreColumns));
    EXPECT_EQ("0: name=id, type=integer, flags: PRIMARY KEY\r\n"
              "1: name=name, type=text, flags:\r\n"
              "-1: name=number, type=integer, flags:\r\n"
              "-1: name=price, type=float, flags:",
              set.fields().dump());
    EXPECT_EQ("", takeEvents());
}

TEST_F(RecordSetTest, AppendedColumnsAreFilledByPosition)
{
    set.initRecordSet(db, moreColumns);
    EXPECT_TRUE(set.query("select 7, 'Bob', 5, 2.5"));
    EXPECT_EQ("1. 7|Bob|5|2.5\r\n", set.toString());
}

TEST_F(RecordSetTest, InitReturnsFalseWithoutKeyAndKeepsTheColumns)
{
    sql::RecordSet bare(db);
    EXPECT_FALSE(bare.initRecordSet(db, moreColumns));
    EXPECT_EQ("number, price", bare.fields().toSql());
    EXPECT_EQ(trace({Source("SqlFieldSet").asserted("false", initFieldSetSignature)}),
              takeEvents());
}

TEST_F(RecordSetTest, InitReturnsFalseForKeyOfWrongTypeAndDropsTheColumns)
{
    const sql::Field floatKey[] = {sql::Field("ratio", sql::type_float, sql::flag_primary_key),
                                   sql::Field()};
    EXPECT_FALSE(set.initRecordSet(db, floatKey));
    EXPECT_EQ(0, set.fields().count());
    EXPECT_EQ(
        fault(Source("SqlFieldSet"), "initFieldSet", initFieldSetSignature,
              "PRIMARY KEY column '%s' must be of type 'integer' or 'text' instead of type '%s'",
              "ratio", "float"),
        takeEvents());
}

TEST_F(RecordSetTest, InitThatReturnsFalseTakesTheConnection)
{
    sql::RecordSet bare;
    bare.initRecordSet(db, moreColumns);
    EXPECT_TRUE(bare.query("select 5, 2.5"));
    EXPECT_EQ("1. 5|2.5\r\n", bare.toString());
}

// close

TEST_F(RecordSetTest, CloseDropsTheRows)
{
    set.query("select 7, 'Bob'");
    set.close();
    EXPECT_EQ(0, set.count());
}

TEST_F(RecordSetTest, CloseIsNotOkUntilAQuery)
{
    set.query("select 7, 'Bob'");
    set.close();
    EXPECT_FALSE(set.isResultOk());
}

TEST_F(RecordSetTest, CloseTouchesNothingOfSQLite)
{
    set.query("select 7, 'Bob'");
    forgetEvents();
    set.close();
    EXPECT_EQ("", takeEvents());
}

TEST_F(RecordSetTest, CloseKeepsConnectionAndColumns)
{
    set.close();
    EXPECT_TRUE(set.query("select 7, 'Bob'"));
    EXPECT_EQ("1. 7|Bob\r\n", set.toString());
}

// query, when it succeeds

TEST_F(RecordSetTest, QueryLogsStatementThenExecutesThenLogsRows)
{
    const char* const sql = "select 7, 'Bob' union select 8, 'Ann'";
    EXPECT_TRUE(set.query(sql));
    EXPECT_EQ(trace({queried(sql, {"id = 7|name = Bob", "id = 8|name = Ann"})}), takeEvents());
}

TEST_F(RecordSetTest, QueryThatSucceedsIsOk)
{
    set.query("select 7, 'Bob'");
    EXPECT_TRUE(set.isResultOk());
}

TEST_F(RecordSetTest, QueryKeepsRowsInTheirOrder)
{
    EXPECT_TRUE(set.query("select 2, 'b' union all select 1, 'a' union all select 3, 'c'"));
    EXPECT_EQ("1. 2|b\r\n2. 1|a\r\n3. 3|c\r\n", set.toString());
}

TEST_F(RecordSetTest, QueryDropsTheRowsBefore)
{
    set.query("select 7, 'Bob'");
    EXPECT_TRUE(set.query("select 8, 'Ann'"));
    EXPECT_EQ("1. 8|Ann\r\n", set.toString());
}

TEST_F(RecordSetTest, QueryWithoutRowsSucceeds)
{
    EXPECT_TRUE(set.query("select 7, 'Bob' where 0"));
    EXPECT_TRUE(set.isResultOk());
    EXPECT_EQ(0, set.count());
    EXPECT_EQ(trace({queried("select 7, 'Bob' where 0")}), takeEvents());
}

TEST_F(RecordSetTest, QueryRunsStatementsWithoutResult)
{
    EXPECT_TRUE(set.query("create table item (id, name)"));
    EXPECT_EQ(0, set.count());
    EXPECT_EQ("item", cell("select name from sqlite_master"));
}

TEST_F(RecordSetTest, QueryOfNothingSucceeds)
{
    EXPECT_TRUE(set.query(""));
    EXPECT_EQ(0, set.count());
    EXPECT_EQ(trace({queried("")}), takeEvents());
}

TEST_F(RecordSetTest, QueryKeepsTheRowsOfSeveralStatements)
{
    EXPECT_TRUE(set.query("select 7, 'Bob'; select 8, 'Ann'"));
    EXPECT_EQ("1. 7|Bob\r\n2. 8|Ann\r\n", set.toString());
}

TEST_F(RecordSetTest, QueryLogsPercentSignsAsTheyAre)
{
    const char* const sql = "select '%s%n', '100%'";
    EXPECT_TRUE(set.query(sql));
    EXPECT_EQ(trace({queried(sql, {"id = %s%n|name = 100%"})}), takeEvents());
}

TEST_F(RecordSetTest, QueryEndsAtNul)
{
    EXPECT_TRUE(set.query(std::string("select 7, 'Bob'\0 nonsense", 25)));
    EXPECT_EQ(trace({queried("select 7, 'Bob'", {"id = 7|name = Bob"})}), takeEvents());
}

TEST_F(RecordSetTest, StatementOfRecordWithNulInItsTextFails)
{
    sql::Record record(item);
    record.setInteger("id", 7);
    record.setString("name", std::string("a\0b", 3));
    const std::string insert = record.toSqlInsert("item");
    const char* const sent = "insert into item (id, name) values (7, 'a";
    run("create table item (id, name)");
    EXPECT_FALSE(set.query(insert));
    EXPECT_EQ(trace({refused(sent, {1, "SQLITE_ERROR", "unrecognized token: \"'a\""})}),
              takeEvents());
}

// query, when it fails

TEST_F(RecordSetTest, QueryWithoutConnectionReportsAndCallsNothing)
{
    sql::RecordSet orphan(nullptr, item);
    EXPECT_FALSE(orphan.query("select 7, 'Bob'"));
    EXPECT_EQ(trace({notConnected()}), takeEvents());
}

TEST_F(RecordSetTest, QueryWithoutConnectionDropsTheRows)
{
    sql::RecordSet orphan(nullptr, item);
    addRow(orphan, {"7", "Bob"});
    orphan.query("select 7, 'Bob'");
    EXPECT_EQ(0, orphan.count());
}

TEST_F(RecordSetTest, QueryThatFailsLogsStatementAndReasonThenFreesTheText)
{
    EXPECT_FALSE(set.query("select * from nosuch"));
    EXPECT_EQ(
        trace({refused("select * from nosuch", {1, "SQLITE_ERROR", "no such table: nosuch"})}),
        takeEvents());
}

TEST_F(RecordSetTest, QueryThatFailsIsNotOk)
{
    set.query("nonsense");
    EXPECT_FALSE(set.isResultOk());
}

TEST_F(RecordSetTest, QueryThatFailsNamesTheCodeOfSQLite)
{
    const char* const sql = "insert into item values (7)";
    run("create table item (id unique); insert into item values (7)");
    EXPECT_FALSE(set.query(sql));
    EXPECT_EQ(trace({refused(sql, {19, "SQLITE_CONSTRAINT", "UNIQUE constraint failed: item.id"})}),
              takeEvents());
}

TEST_F(RecordSetTest, QueryThatFailsWithoutTextLogsTheCodeAloneAndFreesNothing)
{
    faults.noErrorText = true;
    EXPECT_FALSE(set.query("nonsense"));
    EXPECT_EQ(trace({refused("nonsense", {1, "SQLITE_ERROR", nullptr})}), takeEvents());
}

TEST_F(RecordSetTest, QueryThatFailsLogsPercentSignsAsTheyAre)
{
    EXPECT_FALSE(set.query("%s%n"));
    EXPECT_EQ(trace({refused("%s%n", {1, "SQLITE_ERROR", "near \"%\": syntax error"})}),
              takeEvents());
}

TEST_F(RecordSetTest, QueryThatFailsDropsTheRowsOfTheOneBefore)
{
    set.query("select 7, 'Bob'");
    EXPECT_FALSE(set.query("nonsense"));
    EXPECT_EQ(0, set.count());
    EXPECT_FALSE(set.isResultOk());
}

TEST_F(RecordSetTest, QueryAfterOneThatFailedIsOk)
{
    set.query("nonsense");
    EXPECT_TRUE(set.query("select 7, 'Bob'"));
    EXPECT_TRUE(set.isResultOk());
}

TEST_F(RecordSetTest, QueryThatFailsGivesTheExtendedCodeWhole)
{
    run("create table t (a unique); insert into t values (1)");
    sqlite3_extended_result_codes(db, 1);
    EXPECT_FALSE(set.query("insert into t values (1)"));
    EXPECT_EQ(trace({refused("insert into t values (1)",
                             {2067, "unknown", "UNIQUE constraint failed: t.a"})}),
              takeEvents());
}

// Whatever the code, even when it comes after the last row.
TEST_F(RecordSetTest, QueryFailsWithAnyCodeOfSQLiteAndKeepsTheRows)
{
    for (int rc = SQLITE_ERROR; rc <= SQLITE_IOERR_SHORT_READ; ++rc) {
        faults.execResult = rc;
        EXPECT_FALSE(set.query("select 7, 'Bob'"));
        EXPECT_FALSE(set.isResultOk());
        EXPECT_EQ("1. 7|Bob\r\n", set.toString());
        EXPECT_EQ(trace({refused("select 7, 'Bob'", {rc, sql::sqliteRc2Str(rc), nullptr},
                                 {"id = 7|name = Bob"})}),
                  takeEvents());
    }
}

class FailingRowTest : public RecordSetTest
{
protected:
    // The third row has no absolute value in 64 bits.
    FailingRowTest()
    {
        run("create table item (id, name); insert into item values (-1, 'a'), (-2, 'b'), "
            "(-9223372036854775808, 'c'), (-4, 'd')");
    }

    const char* const sql = "select abs(id), name from item";
};

TEST_F(FailingRowTest, KeepsTheRowsBeforeTheFailure)
{
    EXPECT_FALSE(set.query(sql));
    EXPECT_EQ("1. 1|a\r\n2. 2|b\r\n", set.toString());
}

TEST_F(FailingRowTest, LogsTheRowsBeforeTheFailure)
{
    EXPECT_FALSE(set.query(sql));
    EXPECT_EQ(trace({refused(sql, {1, "SQLITE_ERROR", "integer overflow"},
                             {"id = 1|name = a", "id = 2|name = b"})}),
              takeEvents());
}

TEST_F(FailingRowTest, RowsKeptAreFoundByPositionButNotOnTop)
{
    set.query(sql);
    EXPECT_EQ("1|a", set.getRecord(0)->toString());
    EXPECT_EQ(nullptr, set.getTopRecord());
}

TEST_F(FailingRowTest, RowsKeptHaveNoFirstValue)
{
    set.query(sql);
    forgetEvents();
    EXPECT_EQ(nullptr, set.getTopRecordFirstValue());
    EXPECT_EQ("", takeEvents());
}

// Trace levels

class RecordSetTraceTest : public RecordSetTest
{
protected:
    // One row, and the failure of the next.
    std::string linesAt(int level)
    {
        setTraceLevel(level);
        EXPECT_FALSE(set.query(sql));
        return takeEvents();
    }

    const char* const sql = "select 7, 'Bob'; nonsense";
    const std::string executed = sqlite("exec", sql);
    const std::string errors =
        errorsOf(sql, {1, "SQLITE_ERROR", "near \"nonsense\": syntax error"});
};

TEST_F(RecordSetTraceTest, Level0WritesNothingButStillFreesTheText)
{
    EXPECT_EQ(trace({executed, sqlite("free")}), linesAt(0));
}

TEST_F(RecordSetTraceTest, Level2WritesNothing)
{
    EXPECT_EQ(trace({executed, sqlite("free")}), linesAt(2));
}

TEST_F(RecordSetTraceTest, Level3WritesErrorsAlone)
{
    EXPECT_EQ(trace({executed, errors}), linesAt(3));
}

TEST_F(RecordSetTraceTest, Level7WritesNoStatement)
{
    EXPECT_EQ(trace({executed, errors}), linesAt(7));
}

TEST_F(RecordSetTraceTest, Level8WritesTheStatementButNoRow)
{
    EXPECT_EQ(trace({queried(sql), errors}), linesAt(8));
}

TEST_F(RecordSetTraceTest, Level9WritesTheRowsToo)
{
    EXPECT_EQ(trace({queried(sql, {"id = 7|name = Bob"}), errors}), linesAt(9));
}

TEST_F(RecordSetTraceTest, EachLineOfAFailureIsGatedAfresh)
{
    setTraceLevel(3);
    faults.levelAfterNextLine = 2;
    set.query(sql);
    EXPECT_EQ(trace({executed, source.error("query", "Failed to run the SQL stmt '%s'", sql),
                     sqlite("free")}),
              takeEvents());
}

TEST_F(RecordSetTraceTest, Level0StillReportsMissingConnection)
{
    setTraceLevel(0);
    EXPECT_FALSE(sql::RecordSet().query(sql));
    EXPECT_EQ(trace({notConnected()}), takeEvents());
}

TEST_F(RecordSetTraceTest, TimesOfRowsAreMadeForTheLineOfTheRowAlone)
{
    sql::RecordSet times(db, columns({id, made}));
    setTraceLevel(8);
    times.query("select 7, 86400");
    EXPECT_EQ(trace({queried("select 7, 86400")}), takeEvents());
}

TEST_F(RecordSetTraceTest, TimesOfRowsAreMadeBeforeTheLineOfTheRow)
{
    const TimeZone zone("CET-1");
    sql::RecordSet times(db, columns({id, made}));
    times.query("select 7, 86400");
    EXPECT_EQ(trace({queried("select 7, 86400")}) + timeMade(86400) +
                  trace({rowRead("id = 7|made = 02-01-1970 01:00:00, Fri")}),
              takeEvents());
}

} // namespace
