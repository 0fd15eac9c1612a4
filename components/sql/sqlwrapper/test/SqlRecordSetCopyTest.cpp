#include "SqlRecordSet.h"

#include <memory>
#include <string>
#include <utility>

#include <gtest/gtest.h>
#include <sqlite3.h>

#include "SqlTable.h"
#include "support/RecordSets.h"
#include "support/World.h"

using namespace sqltest;

namespace
{

// Copies of a table, which copy its record set

class TableCopyTest : public DatabaseTest
{
protected:
    TableCopyTest()
    {
        run("create table item (id integer primary key, name text); "
            "insert into item values (7, 'Bob'), (8, 'Ann')");
        table.open();
        forgetEvents();
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
    EXPECT_EQ("", takeEvents());
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
