#include "SqlRecordSet.h"

#include <climits>
#include <memory>
#include <new>
#include <string>
#include <type_traits>
#include <utility>
#include <vector>

#include <gtest/gtest.h>
#include <sqlite3.h>

#include "SqlTable.h"
#include "support/Records.h"
#include "support/World.h"

using namespace sqltest;

namespace
{

const Source source("SqlRecordSet");

// Records refer to the column set of their own record set; only tables copy both together.
static_assert(!std::is_copy_constructible<sql::RecordSet>::value, "");
static_assert(!std::is_copy_assignable<sql::RecordSet>::value, "");

const char querySignature[] = "bool sql::RecordSet::query(const string&)";
const char initFieldSetSignature[] = "bool sql::FieldSet::initFieldSet(const sql::Field*)";

const sql::Field itemColumns[] = {id, name, sql::Field()};
const sql::Field moreColumns[] = {number, price, sql::Field()};

// The lines of a query, its rows and its failure.

std::string statement(const char* sql)
{
    return trace({source.debug2("query", "stmt='%s'", sql)});
}

std::string executed(const char* sql)
{
    return statement(sql) + trace({sqlite("exec", sql)});
}

std::string row(const char* dump)
{
    return trace({source.debug3("on_next_record", "%s", dump)});
}

std::string failed(const char* sql, int rc, const char* nameOfRc, const char* text)
{
    return trace({source.error("query", "Failed to run the SQL stmt '%s'", sql),
                  source.error("query", "  rc=%d=%s: %s", rc, nameOfRc, text)});
}

std::string failed(const char* sql, int rc, const char* nameOfRc)
{
    return trace({source.error("query", "Failed to run the SQL stmt '%s'", sql),
                  source.error("query", "  rc=%d=%s", rc, nameOfRc)});
}

const std::string freed = trace({sqlite("free")});

class RecordSetTest : public DatabaseTest
{
protected:
    const sql::FieldSet item = columns({id, name});
    sql::RecordSet set{db, item};
};

// Rows without a query.
int addRow(sql::RecordSet& set, std::vector<const char*> cells)
{
    std::vector<char*> argv;
    for (const char* cell : cells)
        argv.push_back(const_cast<char*>(cell));
    return sql::RecordSet::on_next_record(&set, static_cast<int>(argv.size()), argv.data(),
                                          nullptr);
}

// Building

TEST_F(RecordSetTest, WithoutArgumentsHasNoConnection)
{
    sql::RecordSet bare;
    EXPECT_FALSE(bare.query("select 1"));
    EXPECT_EQ(trace({source.asserted("_db", querySignature)}), recorded());
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
    EXPECT_EQ("", recorded());
}

TEST_F(RecordSetTest, TakesNullArrayForNoColumns)
{
    sql::RecordSet built(db, static_cast<const sql::Field*>(nullptr));
    EXPECT_EQ(0, built.fields().count());
    EXPECT_EQ("", recorded());
}

TEST_F(RecordSetTest, LeavesTheReportOfAMissingKeyToTheColumnSet)
{
    sql::RecordSet built(db, moreColumns);
    EXPECT_EQ(trace({Source("SqlFieldSet").asserted("false", initFieldSetSignature)}), recorded());
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
    EXPECT_EQ("", recorded());
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
        recorded();
    }
    EXPECT_EQ("", recorded());
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
    EXPECT_EQ("", recorded());
}

TEST_F(RecordSetTest, InitTakesNullConnectionToo)
{
    EXPECT_TRUE(set.initRecordSet(nullptr, nullptr));
    EXPECT_FALSE(set.query("select 1"));
    EXPECT_EQ(trace({source.asserted("_db", querySignature)}), recorded());
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
    EXPECT_EQ("", recorded());
}

TEST_F(RecordSetTest, AppendedColumnsAreFilledByPosition)
{
    set.initRecordSet(db, moreColumns);
    EXPECT_TRUE(set.query("select 7, 'Bob', 5, 2.5"));
    EXPECT_EQ("1. 7|Bob|5|2.5\r\n", set.toString());
}

TEST_F(RecordSetTest, InitAnswersFalseWithoutKeyAndKeepsTheColumns)
{
    sql::RecordSet bare(db);
    EXPECT_FALSE(bare.initRecordSet(db, moreColumns));
    EXPECT_EQ("number, price", bare.fields().toSql());
    EXPECT_EQ(trace({Source("SqlFieldSet").asserted("false", initFieldSetSignature)}), recorded());
}

TEST_F(RecordSetTest, InitAnswersFalseForKeyOfWrongTypeAndDropsTheColumns)
{
    const sql::Field floatKey[] = {sql::Field("ratio", sql::type_float, sql::flag_primary_key),
                                   sql::Field()};
    EXPECT_FALSE(set.initRecordSet(db, floatKey));
    EXPECT_EQ(0, set.fields().count());
    EXPECT_EQ(
        fault(Source("SqlFieldSet"), "initFieldSet", initFieldSetSignature,
              "PRIMARY KEY column '%s' must be of type 'integer' or 'text' instead of type '%s'",
              "ratio", "float"),
        recorded());
}

TEST_F(RecordSetTest, InitThatAnswersFalseTakesTheConnection)
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
    recorded();
    set.close();
    EXPECT_EQ("", recorded());
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
    EXPECT_EQ(executed(sql) + row("id = 7|name = Bob") + row("id = 8|name = Ann"), recorded());
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
    EXPECT_EQ(executed("select 7, 'Bob' where 0"), recorded());
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
    EXPECT_EQ(executed(""), recorded());
}

TEST_F(RecordSetTest, QueryKeepsTheRowsOfSeveralStatements)
{
    EXPECT_TRUE(set.query("select 7, 'Bob'; select 8, 'Ann'"));
    EXPECT_EQ("1. 7|Bob\r\n2. 8|Ann\r\n", set.toString());
}

TEST_F(RecordSetTest, QueryLogsPercentSignsAsTheyStand)
{
    const char* const sql = "select '%s%n', '100%'";
    EXPECT_TRUE(set.query(sql));
    EXPECT_EQ(executed(sql) + row("id = %s%n|name = 100%"), recorded());
}

TEST_F(RecordSetTest, QueryEndsAtNul)
{
    EXPECT_TRUE(set.query(std::string("select 7, 'Bob'\0 nonsense", 25)));
    EXPECT_EQ(executed("select 7, 'Bob'") + row("id = 7|name = Bob"), recorded());
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
    EXPECT_EQ(executed(sent) + failed(sent, 1, "SQLITE_ERROR", "unrecognized token: \"'a\"") +
                  freed,
              recorded());
}

// Cells

TEST_F(RecordSetTest, RowsAreLaidOutByItsOwnColumnSet)
{
    set.query("select 7, 'Bob'");
    EXPECT_EQ(&set.fields(), set.getRecord(0)->fields());
}

TEST_F(RecordSetTest, CellsGoToColumnsByPositionNotByName)
{
    EXPECT_TRUE(set.query("select 7 as name, 'Bob' as id"));
    EXPECT_EQ("1. 7|Bob\r\n", set.toString());
}

TEST_F(RecordSetTest, CellsHaveTheTypesOfTheirColumns)
{
    sql::RecordSet typed(db, columns({id, name, price, active, made}));
    EXPECT_TRUE(typed.query("select 'x', 1, '2', 3.5, x'41'"));
    EXPECT_EQ(sql::type_int, typed.getRecord(0)->getValue(0)->getType());
    EXPECT_EQ(sql::type_text, typed.getRecord(0)->getValue(1)->getType());
    EXPECT_EQ(sql::type_float, typed.getRecord(0)->getValue(2)->getType());
    EXPECT_EQ(sql::type_bool, typed.getRecord(0)->getValue(3)->getType());
    EXPECT_EQ(sql::type_time, typed.getRecord(0)->getValue(4)->getType());
}

TEST_F(RecordSetTest, CellsHoldTheTextAsItStands)
{
    EXPECT_TRUE(set.query("select ' x7', '|'"));
    EXPECT_EQ(" x7", set.getRecord(0)->getValue(0)->asString());
}

TEST_F(RecordSetTest, ColumnsOfOneNameAreFilledByPosition)
{
    sql::RecordSet twice(db, columns({id, name, name}));
    EXPECT_TRUE(twice.query("select 7, 'Bob', 'Ann'"));
    EXPECT_EQ("1. 7|Bob|Ann\r\n", twice.toString());
}

TEST_F(RecordSetTest, UnnumberedColumnsAreFilledByPosition)
{
    sql::RecordSet loose(db, unnumbered({id, name}));
    EXPECT_TRUE(loose.query("select 7, 'Bob'"));
    EXPECT_EQ("1. 7|Bob\r\n", loose.toString());
}

TEST_F(RecordSetTest, ResultColumnsBeyondItsOwnAreDropped)
{
    EXPECT_TRUE(set.query("select 7, 'Bob', 2.5"));
    EXPECT_EQ(2, set.getRecord(0)->columnCount());
    EXPECT_EQ(executed("select 7, 'Bob', 2.5") + row("id = 7|name = Bob"), recorded());
}

TEST_F(RecordSetTest, ColumnsBeyondTheResultStayNullOfTheirTypes)
{
    EXPECT_TRUE(set.query("select 7"));
    EXPECT_EQ("id = 7 (integer)|name = null (text)", set.getRecord(0)->dump(true));
}

TEST_F(RecordSetTest, NullCellIsNullOfItsColumnsType)
{
    EXPECT_TRUE(set.query("select 7, null"));
    EXPECT_EQ("id = 7 (integer)|name = null (text)", set.getRecord(0)->dump(true));
}

TEST_F(RecordSetTest, EmptyTextIsNotNull)
{
    EXPECT_TRUE(set.query("select 7, ''"));
    EXPECT_FALSE(set.getRecord(0)->getValue(1)->isNull());
}

TEST_F(RecordSetTest, CellEndsAtNul)
{
    EXPECT_TRUE(set.query("select 7, 'a' || char(0) || 'b'"));
    EXPECT_EQ("a", set.getRecord(0)->getValue(1)->asString());
}

TEST_F(RecordSetTest, WithoutColumnsCountsRowsOfNoCells)
{
    sql::RecordSet bare(db);
    EXPECT_TRUE(bare.query("select 7 union select 8"));
    EXPECT_EQ(2, bare.count());
    EXPECT_EQ(executed("select 7 union select 8") + row("") + row(""), recorded());
}

// query, when it fails

TEST_F(RecordSetTest, QueryWithoutConnectionReportsAndCallsNothing)
{
    sql::RecordSet orphan(nullptr, item);
    EXPECT_FALSE(orphan.query("select 7, 'Bob'"));
    EXPECT_EQ(trace({source.asserted("_db", querySignature)}), recorded());
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
    EXPECT_EQ(executed("select * from nosuch") +
                  failed("select * from nosuch", 1, "SQLITE_ERROR", "no such table: nosuch") +
                  freed,
              recorded());
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
    EXPECT_EQ(executed(sql) +
                  failed(sql, 19, "SQLITE_CONSTRAINT", "UNIQUE constraint failed: item.id") + freed,
              recorded());
}

TEST_F(RecordSetTest, QueryThatFailsWithoutTextLogsTheCodeAloneAndFreesNothing)
{
    faults.noErrorText = true;
    EXPECT_FALSE(set.query("nonsense"));
    EXPECT_EQ(executed("nonsense") + failed("nonsense", 1, "SQLITE_ERROR"), recorded());
}

TEST_F(RecordSetTest, QueryThatFailsLogsPercentSignsAsTheyStand)
{
    EXPECT_FALSE(set.query("%s%n"));
    EXPECT_EQ(executed("%s%n") + failed("%s%n", 1, "SQLITE_ERROR", "near \"%\": syntax error") +
                  freed,
              recorded());
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
    EXPECT_EQ(
        executed("insert into t values (1)") +
            failed("insert into t values (1)", 2067, "unknown", "UNIQUE constraint failed: t.a") +
            freed,
        recorded());
}

// Whatever the code, even when it comes after the last row.
TEST_F(RecordSetTest, QueryFailsWithAnyCodeOfSQLiteAndKeepsTheRows)
{
    for (int rc = SQLITE_ERROR; rc <= SQLITE_IOERR_SHORT_READ; ++rc) {
        faults.execResult = rc;
        EXPECT_FALSE(set.query("select 7, 'Bob'"));
        EXPECT_FALSE(set.isResultOk());
        EXPECT_EQ("1. 7|Bob\r\n", set.toString());
        EXPECT_EQ(executed("select 7, 'Bob'") + row("id = 7|name = Bob") +
                      failed("select 7, 'Bob'", rc, sql::sqliteRc2Str(rc)),
                  recorded());
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
    EXPECT_EQ(executed(sql) + row("id = 1|name = a") + row("id = 2|name = b") +
                  failed(sql, 1, "SQLITE_ERROR", "integer overflow") + freed,
              recorded());
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
    recorded();
    EXPECT_EQ(nullptr, set.getTopRecordFirstValue());
    EXPECT_EQ("", recorded());
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
        return recorded();
    }

    const char* const sql = "select 7, 'Bob'; nonsense";
    const std::string calls = trace({sqlite("exec", sql)});
    const std::string errors =
        failed(sql, 1, "SQLITE_ERROR", "near \"nonsense\": syntax error") + freed;
};

TEST_F(RecordSetTraceTest, Level0WritesNothingButStillFreesTheText)
{
    EXPECT_EQ(calls + freed, linesAt(0));
}

TEST_F(RecordSetTraceTest, Level2WritesNothing)
{
    EXPECT_EQ(calls + freed, linesAt(2));
}

TEST_F(RecordSetTraceTest, Level3WritesErrorsAlone)
{
    EXPECT_EQ(calls + errors, linesAt(3));
}

TEST_F(RecordSetTraceTest, Level7WritesNoStatement)
{
    EXPECT_EQ(calls + errors, linesAt(7));
}

TEST_F(RecordSetTraceTest, Level8WritesTheStatementButNoRow)
{
    EXPECT_EQ(executed(sql) + errors, linesAt(8));
}

TEST_F(RecordSetTraceTest, Level9WritesTheRowsToo)
{
    EXPECT_EQ(executed(sql) + row("id = 7|name = Bob") + errors, linesAt(9));
}

TEST_F(RecordSetTraceTest, EachLineOfAFailureIsGatedAfresh)
{
    setTraceLevel(3);
    faults.levelAfterNextLine = 2;
    set.query(sql);
    EXPECT_EQ(calls + trace({source.error("query", "Failed to run the SQL stmt '%s'", sql)}) +
                  freed,
              recorded());
}

TEST_F(RecordSetTraceTest, Level0StillReportsMissingConnection)
{
    setTraceLevel(0);
    EXPECT_FALSE(sql::RecordSet().query(sql));
    EXPECT_EQ(trace({source.asserted("_db", querySignature)}), recorded());
}

TEST_F(RecordSetTraceTest, TimesOfRowsAreMadeForTheLineOfTheRowAlone)
{
    sql::RecordSet times(db, columns({id, made}));
    setTraceLevel(8);
    times.query("select 7, 86400");
    EXPECT_EQ(executed("select 7, 86400"), recorded());
}

TEST_F(RecordSetTraceTest, TimesOfRowsAreMadeBeforeTheLineOfTheRow)
{
    const TimeZone zone("CET-1");
    sql::RecordSet times(db, columns({id, made}));
    times.query("select 7, 86400");
    EXPECT_EQ(executed("select 7, 86400") + timeMade(86400) +
                  row("id = 7|made = 02-01-1970 01:00:00, Fri"),
              recorded());
}

// The cost of a row

class RecordSetCostTest : public RecordSetTest
{
protected:
    // Allocations of a query.
    long costOf(const std::string& sql)
    {
        const long before = allocations();
        EXPECT_TRUE(set.query(sql));
        return allocations() - before;
    }

    // Allocations by which a vector grows to this size, and is then fitted to it.
    static long growthTo(int size)
    {
        std::vector<std::unique_ptr<int>> grown;
        const long before = allocations();
        for (int i = 0; i < size; ++i)
            grown.emplace_back();
        grown.shrink_to_fit();
        return allocations() - before;
    }
};

TEST_F(RecordSetCostTest, RowOfShortTextsTakesOneAllocationForItsValues)
{
    setTraceLevel(8);
    EXPECT_EQ(1 + growthTo(1), costOf("select 7, 'Bob'"));
}

TEST_F(RecordSetCostTest, RowTakesOneMoreAllocationForEachLongText)
{
    setTraceLevel(8);
    EXPECT_EQ(1 + 2 + growthTo(1),
              costOf("select '77777777777777777777777777777777', 'a name longer than a string'"));
}

TEST_F(RecordSetCostTest, RowsAreMovedWhenTheirVectorGrowsAndIsFitted)
{
    setTraceLevel(8);
    EXPECT_EQ(100 + growthTo(100),
              costOf("with recursive n(i) as (select 1 union all select i + 1 from n limit 100) "
                     "select i, 'Bob' from n"));
}

TEST_F(RecordSetCostTest, NoRowTakesNoAllocation)
{
    setTraceLevel(8);
    EXPECT_EQ(0, costOf("select 7, 'Bob' where 0"));
}

TEST_F(RecordSetCostTest, TextOfARowIsMadeAtLevel9Alone)
{
    setTraceLevel(9);
    EXPECT_LT(1 + growthTo(1), costOf("select 7, 'Bob'"));
}

// on_next_record

TEST_F(RecordSetTest, RowCallbackAppendsARowAndAnswers0)
{
    EXPECT_EQ(0, addRow(set, {"7", "Bob"}));
    EXPECT_EQ(0, addRow(set, {"8", nullptr}));
    EXPECT_EQ("1. 7|Bob\r\n2. 8|null\r\n", set.toString());
}

TEST_F(RecordSetTest, RowCallbackTakesANegativeColumnCountAsNone)
{
    char seven[] = "7";
    char* cells[] = {seven};
    for (const int count : {-1, INT_MIN}) {
        set.close();
        EXPECT_EQ(0, sql::RecordSet::on_next_record(&set, count, cells, nullptr));
        EXPECT_EQ(0, sql::RecordSet::on_next_record(&set, count, nullptr, nullptr));
        EXPECT_EQ("1. null|null\r\n2. null|null\r\n", set.toString());
    }
}

TEST_F(RecordSetTest, RowCallbackKnowsTheColumnsHoweverTheSetIsMade)
{
    sql::RecordSet bare;
    addRow(bare, {"7", "Bob"});
    EXPECT_EQ("1. \r\n", bare.toString());
    sql::RecordSet connected(db);
    addRow(connected, {"7", "Bob"});
    EXPECT_EQ("1. \r\n", connected.toString());
    sql::RecordSet described(db, itemColumns);
    addRow(described, {"7", "Bob"});
    EXPECT_EQ("1. 7|Bob\r\n", described.toString());
}

TEST_F(RecordSetTest, RowCallbackLogsTheRow)
{
    addRow(set, {"7", "Bob"});
    EXPECT_EQ(row("id = 7|name = Bob"), recorded());
}

TEST_F(RecordSetTest, RowCallbackWritesNothingAtLevel8)
{
    setTraceLevel(8);
    addRow(set, {"7", "Bob"});
    EXPECT_EQ("", recorded());
}

TEST_F(RecordSetTest, RowCallbackTakesRowsOfNoCells)
{
    EXPECT_EQ(0, addRow(set, {}));
    EXPECT_EQ("1. null|null\r\n", set.toString());
}

TEST_F(RecordSetTest, RowCallbackDropsCellsBeyondTheColumns)
{
    EXPECT_EQ(0, addRow(set, {"7", "Bob", "2.5"}));
    EXPECT_EQ("1. 7|Bob\r\n", set.toString());
    EXPECT_EQ(row("id = 7|name = Bob"), recorded());
}

TEST_F(RecordSetTest, RowCallbackMakesNoResultOk)
{
    addRow(set, {"7", "Bob"});
    EXPECT_FALSE(set.isResultOk());
    EXPECT_EQ(nullptr, set.getTopRecord());
}

// The rows held

TEST_F(RecordSetTest, FindsRowsByPosition)
{
    set.query("select 7, 'Bob' union select 8, 'Ann'");
    EXPECT_EQ("7|Bob", set.getRecord(0)->toString());
    EXPECT_EQ("8|Ann", set.getRecord(1)->toString());
}

TEST_F(RecordSetTest, NoRowIsBeforeTheFirst)
{
    set.query("select 7, 'Bob'");
    recorded();
    EXPECT_EQ(nullptr, set.getRecord(-1));
    EXPECT_EQ("", recorded());
}

TEST_F(RecordSetTest, NoRowIsBehindTheLast)
{
    set.query("select 7, 'Bob'");
    recorded();
    EXPECT_EQ(nullptr, set.getRecord(1));
    EXPECT_EQ("", recorded());
}

TEST_F(RecordSetTest, RowFoundIsTheRowItself)
{
    set.query("select 7, 'Bob'");
    set.getRecord(0)->setString("name", "Ann");
    EXPECT_EQ("1. 7|Ann\r\n", set.toString());
}

TEST_F(RecordSetTest, ReadOnlySetFindsTheSameRow)
{
    set.query("select 7, 'Bob'");
    const sql::RecordSet& readOnly = set;
    EXPECT_EQ(set.getRecord(0), readOnly.getRecord(0));
}

TEST_F(RecordSetTest, ReadOnlySetHasNoRowOutOfRange)
{
    set.query("select 7, 'Bob'");
    recorded();
    const sql::RecordSet& readOnly = set;
    EXPECT_EQ(nullptr, readOnly.getRecord(-1));
    EXPECT_EQ(nullptr, readOnly.getRecord(1));
    EXPECT_EQ("", recorded());
}

TEST_F(RecordSetTest, TopRecordIsTheFirstRow)
{
    set.query("select 7, 'Bob' union select 8, 'Ann'");
    EXPECT_EQ(set.getRecord(0), set.getTopRecord());
}

TEST_F(RecordSetTest, EmptyResultHasNoTopRecord)
{
    set.query("select 7, 'Bob' where 0");
    EXPECT_EQ(nullptr, set.getTopRecord());
}

TEST_F(RecordSetTest, FirstValueIsThatOfTheFirstColumnOfTheFirstRow)
{
    set.query("select 7, 'Bob' union select 8, 'Ann'");
    EXPECT_EQ(set.getRecord(0)->getValue(0), set.getTopRecordFirstValue());
}

TEST_F(RecordSetTest, EmptyResultHasNoFirstValue)
{
    set.query("select 7, 'Bob' where 0");
    recorded();
    EXPECT_EQ(nullptr, set.getTopRecordFirstValue());
    EXPECT_EQ("", recorded());
}

TEST_F(RecordSetTest, FirstValueWithoutColumnsIsReportedByTheRecord)
{
    sql::RecordSet bare(db);
    bare.query("select 7");
    recorded();
    EXPECT_EQ(nullptr, bare.getTopRecordFirstValue());
    EXPECT_EQ(noValueAt(0, readByIndex), recorded());
}

TEST_F(RecordSetTest, TextNumbersRowsFrom1AndEndsEachLine)
{
    set.query("select 7, 'Bob' union select 8, null");
    EXPECT_EQ("1. 7|Bob\r\n2. 8|null\r\n", set.toString());
}

TEST_F(RecordSetTest, TextOfRowsWithoutCellsIsTheirNumbers)
{
    sql::RecordSet bare(db);
    bare.query("select 7 union select 8");
    EXPECT_EQ("1. \r\n2. \r\n", bare.toString());
}

// Memory that runs out while rows arrive. Errors alone are logged: a line of DEBUG3 allocates too.

class OutOfMemoryTest : public RecordSetTest
{
protected:
    OutOfMemoryTest() { setTraceLevel(3); }

    // Runs the query with memory that runs out after so many allocations.
    bool queryWith(int allocationsLeft) { return queryWith(allocationsLeft, sql); }
    bool queryWith(int allocationsLeft, const std::string& statement)
    {
        faults.allocationsLeft = allocationsLeft;
        const bool ok = set.query(statement);
        faults.allocationsLeft = -1;
        return ok;
    }

    const std::string sql = "select 1, 'a' union select 2, 'b' union select 3, 'c'";
    const std::string failure = failed(sql.c_str(), 7, "SQLITE_NOMEM");
};

TEST_F(OutOfMemoryTest, QueryFailsWithTheCodeOfSQLiteForIt)
{
    EXPECT_FALSE(queryWith(0));
    EXPECT_EQ(trace({sqlite("exec", sql)}) + failure, recorded());
}

TEST_F(OutOfMemoryTest, QueryIsNotOk)
{
    queryWith(0);
    EXPECT_FALSE(set.isResultOk());
    EXPECT_EQ(nullptr, set.getTopRecord());
}

TEST_F(OutOfMemoryTest, NoRowFollowsOneThatIsMissing)
{
    queryWith(0);
    EXPECT_EQ(0, set.count());
}

TEST_F(OutOfMemoryTest, RowsBeforeTheMissingOneAreKept)
{
    queryWith(2); // the first row, and the vector that holds it
    EXPECT_EQ("1. 1|a\r\n", set.toString());
}

TEST_F(OutOfMemoryTest, RowThatFindsNoRoomIsMissing)
{
    queryWith(1); // the first row, but not the vector that is to hold it
    EXPECT_EQ(0, set.count());
}

TEST_F(OutOfMemoryTest, RowThatFindsNoRoomIsLoggedBeforeItIsMissing)
{
    setTraceLevel(9);
    EXPECT_FALSE(queryWith(1)); // the line of the row is short enough to need no memory
    EXPECT_EQ(executed(sql.c_str()) + row("id = 1|name = a") + failure, recorded());
}

TEST_F(OutOfMemoryTest, RowsStandWhileTheirVectorCannotGrow)
{
    queryWith(3); // the second row, but no vector for both
    EXPECT_EQ("1. 1|a\r\n", set.toString());
}

TEST_F(OutOfMemoryTest, TextThatFindsNoRoomMakesItsRowMissing)
{
    // The second row, but not its text.
    EXPECT_FALSE(queryWith(3, "select 1, 'a' union select 2, 'a name longer than a string'"));
    EXPECT_EQ("1. 1|a\r\n", set.toString());
}

TEST_F(OutOfMemoryTest, LineOfARowThatFindsNoRoomMakesTheRowMissing)
{
    const char* const longRow = "select 1, 'Robert' union select 2, 'b'";
    setTraceLevel(9);
    EXPECT_FALSE(queryWith(1, longRow));
    EXPECT_EQ(0, set.count());
    EXPECT_EQ(executed(longRow) + failed(longRow, 7, "SQLITE_NOMEM"), recorded());
}

TEST_F(OutOfMemoryTest, WhileItLastsTheFailureIsStillLogged)
{
    faults.allocationsStayOut = true;
    EXPECT_FALSE(queryWith(0));
    EXPECT_EQ(trace({sqlite("exec", sql)}) + failure, recorded());
}

TEST_F(OutOfMemoryTest, QueryReadsAllRowsOnceThereIsMemoryAgain)
{
    queryWith(0);
    EXPECT_TRUE(set.query(sql));
    EXPECT_EQ("1. 1|a\r\n2. 2|b\r\n3. 3|c\r\n", set.toString());
}

TEST_F(OutOfMemoryTest, LaterFailureOfSQLiteKeepsTheCodeAndFreesTheText)
{
    const char* const twice = "select 7, 'Bob'; nonsense";
    EXPECT_FALSE(queryWith(0, twice));
    EXPECT_EQ(trace({sqlite("exec", twice)}) +
                  failed(twice, 7, "SQLITE_NOMEM", "near \"nonsense\": syntax error") + freed,
              recorded());
}

TEST_F(OutOfMemoryTest, RowCallbackAnswers0)
{
    char seven[] = "7";
    char* cells[] = {seven, nullptr};
    faults.allocationsLeft = 0;
    EXPECT_EQ(0, sql::RecordSet::on_next_record(&set, 2, cells, nullptr));
    EXPECT_EQ(0, set.count());
}

TEST_F(OutOfMemoryTest, SQLiteEndsTheStatementSoThatTheConnectionCloses)
{
    sqlite3* own = nullptr;
    ASSERT_EQ(SQLITE_OK, sqlite3_open_v2(":memory:", &own, SQLITE_OPEN_READWRITE, nullptr));
    sql::RecordSet rows(own, item);
    faults.allocationsLeft = 0;
    EXPECT_FALSE(rows.query(sql));
    EXPECT_EQ(SQLITE_OK, sqlite3_close(own));
}

TEST_F(OutOfMemoryTest, StatementRunsToItsEndNevertheless)
{
    run("create table item (id)");
    EXPECT_FALSE(
        queryWith(0, "insert into item values (7) returning id; insert into item values (8)"));
    EXPECT_EQ("2", cell("select count(*) from item"));
}

// Copies of a table, which copy its record set

class TableCopyTest : public DatabaseTest
{
protected:
    TableCopyTest()
    {
        run("create table item (id integer primary key, name text); "
            "insert into item values (7, 'Bob'), (8, 'Ann')");
        table.open();
        recorded();
    }

    const sql::FieldSet item = columns({id, name});
    sql::Table table{db, "item", item};
    sql::Table other{db, "other", columns({code, number, price})};
};

TEST_F(TableCopyTest, CopyHoldsTheRows)
{
    sql::Table copy(table);
    ASSERT_EQ(2, copy.recordCount());
    EXPECT_EQ("7|Bob", copy.getRecord(0)->toString());
    EXPECT_EQ("8|Ann", copy.getRecord(1)->toString());
}

TEST_F(TableCopyTest, RowsOfCopyReferToTheCopysColumns)
{
    sql::Table copy(table);
    EXPECT_EQ(&copy.fields(), copy.getRecord(0)->fields());
    EXPECT_EQ(&copy.fields(), copy.getRecord(1)->fields());
}

TEST_F(TableCopyTest, RowsOfTheOriginalKeepItsColumns)
{
    const sql::Table copy(table);
    EXPECT_EQ(&table.fields(), table.getRecord(0)->fields());
}

TEST_F(TableCopyTest, CopyCallsNothingOfSQLite)
{
    const sql::Table copy(table);
    EXPECT_EQ("", recorded());
}

TEST_F(TableCopyTest, RowsOfCopyOutliveTheOriginal)
{
    auto original = std::make_unique<sql::Table>(db, "item", item);
    original->open();
    sql::Table copy(*original);
    original.reset();
    EXPECT_EQ("id = 7|name = Bob", copy.getRecord(0)->dump(false));
}

TEST_F(TableCopyTest, ChangeOfRowOfCopyLeavesTheOriginal)
{
    sql::Table copy(table);
    copy.getRecord(0)->setString("name", "Eve");
    EXPECT_EQ("7|Bob", table.getRecord(0)->toString());
}

TEST_F(TableCopyTest, CopyReadsOnTheSameConnection)
{
    sql::Table copy(table);
    EXPECT_TRUE(copy.open("id = 8"));
    EXPECT_EQ("8|Ann", copy.getTopRecord()->toString());
    EXPECT_EQ(2, table.recordCount());
}

TEST_F(TableCopyTest, RowThatRefersToAnotherColumnSetKeepsIt)
{
    const sql::FieldSet foreign = columns({code});
    *table.getRecord(0) = sql::Record(foreign);
    sql::Table copy(table);
    EXPECT_EQ(&foreign, copy.getRecord(0)->fields());
    EXPECT_EQ(&copy.fields(), copy.getRecord(1)->fields());
}

TEST_F(TableCopyTest, MovedTableHoldsRowsThatReferToItsColumns)
{
    sql::Table moved(std::move(table));
    EXPECT_EQ(&moved.fields(), moved.getRecord(0)->fields());
    EXPECT_EQ("id = 7|name = Bob", moved.getRecord(0)->dump(false));
}

TEST_F(TableCopyTest, AssignmentTakesRowsAndColumns)
{
    other = table;
    ASSERT_EQ(2, other.recordCount());
    EXPECT_EQ("id, name", other.fields().toSql());
    EXPECT_EQ("id = 8|name = Ann", other.getRecord(1)->dump(false));
}

TEST_F(TableCopyTest, AssignedRowsReferToTheColumnsOfTheirNewTable)
{
    other = table;
    EXPECT_EQ(&other.fields(), other.getRecord(0)->fields());
    EXPECT_EQ(&other.fields(), other.getRecord(1)->fields());
}

TEST_F(TableCopyTest, AssignmentDropsTheRowsBefore)
{
    table = other;
    EXPECT_EQ(0, table.recordCount());
}

TEST_F(TableCopyTest, AssignmentToItselfKeepsTheRows)
{
    const sql::Table& same = table;
    table = same;
    ASSERT_EQ(2, table.recordCount());
    EXPECT_EQ(&table.fields(), table.getRecord(0)->fields());
    EXPECT_EQ("id = 7|name = Bob", table.getRecord(0)->dump(false));
}

TEST_F(TableCopyTest, AssignmentToItselfKeepsTheRowsWhereTheyAre)
{
    const sql::Record* const held = table.getRecord(0);
    const sql::Table& same = table;
    table = same;
    EXPECT_EQ(held, table.getRecord(0));
}

TEST_F(TableCopyTest, AssignmentTakesTheConnection)
{
    Connection empty(":memory:");
    sql::Table elsewhere(empty.db, "item", item);
    elsewhere = table;
    EXPECT_TRUE(elsewhere.open());
    EXPECT_EQ(2, elsewhere.recordCount());
}

TEST_F(TableCopyTest, AssignmentTakesNoColumnsWhenMemoryRunsOut)
{
    int left = 0;
    for (bool complete = false; !complete; ++left) {
        sql::Table target(other);
        faults.allocationsLeft = left;
        try {
            target = table;
            complete = true;
        } catch (const std::bad_alloc&) {
            EXPECT_EQ("code, number, price", target.fields().toSql());
        }
        faults.allocationsLeft = -1;
    }
    EXPECT_LT(1, left);
}

} // namespace
