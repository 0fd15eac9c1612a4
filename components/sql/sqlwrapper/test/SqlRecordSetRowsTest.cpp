#include "SqlRecordSet.h"

#include <climits>
#include <string>

#include <gtest/gtest.h>
#include <sqlite3.h>

#include "support/RecordSets.h"
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
    EXPECT_EQ(executed("select 7, 'Bob', 2.5") + row("id = 7|name = Bob"), takeEvents());
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
    EXPECT_EQ(executed("select 7 union select 8") + row("") + row(""), takeEvents());
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
    EXPECT_EQ(row("id = 7|name = Bob"), takeEvents());
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
    EXPECT_EQ(row("id = 7|name = Bob"), takeEvents());
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

} // namespace
