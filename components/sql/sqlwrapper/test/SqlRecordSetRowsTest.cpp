#include "SqlRecordSet.h"

#include <climits>
#include <memory>
#include <string>
#include <vector>

#include <gtest/gtest.h>
#include <sqlite3.h>

#include "support/Records.h"
#include "support/Statements.h"
#include "support/World.h"

using namespace sqltest;

namespace
{

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

TEST_F(RecordSetTest, CellsHoldTheTextAsItIs)
{
    EXPECT_TRUE(set.query("select ' x7', '|'"));
    EXPECT_EQ(" x7", set.getRecord(0)->getValue(0)->asString());
}

// Not every processor gives SQLite the same digits.
TEST_F(RecordSetTest, CellOfARealHoldsTheTextThatSQLiteMakes)
{
    for (const char* real :
         {"0.1", "1.0 / 3", "2.0 / 3 * 1e15", "123456789012345678 * 1.0", "1e22", "1e-7", "1e23",
          "9007199254740993.0", "0.3 - 0.1", "123456.789e3", "5e-324", "1.7976931348623157e308"}) {
        const std::string query = std::string("select ") + real;
        EXPECT_TRUE(set.query(query));
        EXPECT_EQ(cell(query), set.getTopRecordFirstValue()->asString());
    }
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
    EXPECT_EQ(trace({queried("select 7, 'Bob', 2.5", {"id = 7|name = Bob"})}), takeEvents());
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
    EXPECT_EQ(trace({queried("select 7 union select 8", {"", ""})}), takeEvents());
}

// on_next_record

TEST_F(RecordSetTest, RowCallbackAppendsARowAndReturns0)
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
    EXPECT_EQ(trace({rowRead("id = 7|name = Bob")}), takeEvents());
}

TEST_F(RecordSetTest, RowCallbackWritesNothingAtLevel8)
{
    setTraceLevel(8);
    addRow(set, {"7", "Bob"});
    EXPECT_EQ("", takeEvents());
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
    EXPECT_EQ(trace({rowRead("id = 7|name = Bob")}), takeEvents());
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
    forgetEvents();
    EXPECT_EQ(nullptr, set.getRecord(-1));
    EXPECT_EQ("", takeEvents());
}

TEST_F(RecordSetTest, NoRowIsAfterTheLast)
{
    set.query("select 7, 'Bob'");
    forgetEvents();
    EXPECT_EQ(nullptr, set.getRecord(1));
    EXPECT_EQ("", takeEvents());
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
    forgetEvents();
    const sql::RecordSet& readOnly = set;
    EXPECT_EQ(nullptr, readOnly.getRecord(-1));
    EXPECT_EQ(nullptr, readOnly.getRecord(1));
    EXPECT_EQ("", takeEvents());
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
    forgetEvents();
    EXPECT_EQ(nullptr, set.getTopRecordFirstValue());
    EXPECT_EQ("", takeEvents());
}

TEST_F(RecordSetTest, FirstValueWithoutColumnsIsReportedByTheRecord)
{
    sql::RecordSet bare(db);
    bare.query("select 7");
    forgetEvents();
    EXPECT_EQ(nullptr, bare.getTopRecordFirstValue());
    EXPECT_EQ(noValueAt(0, readByIndex), takeEvents());
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
    const Refusal noMemory = {7, "SQLITE_NOMEM", nullptr};
};

TEST_F(OutOfMemoryTest, QueryFailsWithTheCodeOfSQLiteForIt)
{
    EXPECT_FALSE(queryWith(0));
    EXPECT_EQ(trace({sqlite("exec", sql), errorsOf(sql, noMemory)}), takeEvents());
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
    EXPECT_EQ(trace({refused(sql, noMemory, {"id = 1|name = a"})}), takeEvents());
}

TEST_F(OutOfMemoryTest, RowsStayWhileTheirVectorCannotGrow)
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
    EXPECT_EQ(trace({refused(longRow, noMemory)}), takeEvents());
}

TEST_F(OutOfMemoryTest, WhileItLastsTheFailureIsStillLogged)
{
    faults.allocationsStayOut = true;
    EXPECT_FALSE(queryWith(0));
    EXPECT_EQ(trace({sqlite("exec", sql), errorsOf(sql, noMemory)}), takeEvents());
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
    EXPECT_EQ(trace({sqlite("exec", twice),
                     errorsOf(twice, {7, "SQLITE_NOMEM", "near \"nonsense\": syntax error"})}),
              takeEvents());
}

TEST_F(OutOfMemoryTest, RowCallbackReturns0)
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

} // namespace
