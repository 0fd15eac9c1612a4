#include "SqlTable.h"

#include <climits>

#include <gtest/gtest.h>

#include "support/People.h"
#include "support/Statements.h"
#include "support/World.h"

using namespace sqltest;

namespace
{

// Reading the table

class TableOpenTest : public PeopleTest
{
};

TEST_F(TableOpenTest, ReadsEveryRow)
{
    EXPECT_TRUE(people.open());
    EXPECT_EQ(trace({queried("select * from people", {ada, bob, cid})}), takeEvents());
    EXPECT_EQ("1 2 3", held());
}

TEST_F(TableOpenTest, ReadsTheRowsOfCondition)
{
    EXPECT_TRUE(people.open("age > 30"));
    EXPECT_EQ(trace({queried("select * from people where age > 30", {ada, cid})}), takeEvents());
    EXPECT_EQ("1 3", held());
}

TEST_F(TableOpenTest, EmptyConditionCountsAsNone)
{
    EXPECT_TRUE(people.open(""));
    EXPECT_EQ(trace({queried("select * from people", {ada, bob, cid})}), takeEvents());
}

TEST_F(TableOpenTest, ReadsTheRowsOfConditionInOrder)
{
    EXPECT_TRUE(people.open("age > 30", "name desc"));
    EXPECT_EQ(
        trace({queried("select * from people where age > 30 order by name desc", {cid, ada})}),
        takeEvents());
    EXPECT_EQ("3 1", held());
}

TEST_F(TableOpenTest, OrderNeedsNoCondition)
{
    EXPECT_TRUE(people.open("", "age"));
    EXPECT_EQ(trace({queried("select * from people order by age", {bob, ada, cid})}), takeEvents());
}

TEST_F(TableOpenTest, ConditionNeedsNoOrder)
{
    EXPECT_TRUE(people.open("age > 30", ""));
    EXPECT_EQ(trace({queried("select * from people where age > 30", {ada, cid})}), takeEvents());
}

TEST_F(TableOpenTest, NeitherConditionNorOrderReadsEveryRow)
{
    EXPECT_TRUE(people.open("", ""));
    EXPECT_EQ(trace({queried("select * from people", {ada, bob, cid})}), takeEvents());
}

TEST_F(TableOpenTest, BlankConditionIsNotEmpty)
{
    EXPECT_FALSE(people.open(" "));
    EXPECT_EQ(
        trace({refused("select * from people where  ", {1, "SQLITE_ERROR", "incomplete input"})}),
        takeEvents());
}

TEST_F(TableOpenTest, ConditionStandsAsItIs)
{
    EXPECT_TRUE(people.open("name like '%d%s' or name = 'Bob'"));
    EXPECT_EQ(trace({
                  queried("select * from people where name like '%d%s' or name = 'Bob'", {bob}),
              }),
              takeEvents());
}

TEST_F(TableOpenTest, NoMatchHoldsNothingAndSucceeds)
{
    EXPECT_TRUE(people.open("id > 9"));
    EXPECT_EQ(trace({queried("select * from people where id > 9")}), takeEvents());
    EXPECT_EQ(0, people.recordCount());
}

TEST_F(TableOpenTest, ReplacesTheRowsHeld)
{
    hold();
    EXPECT_TRUE(people.open());
    EXPECT_EQ("1 2 3", held());
}

TEST_F(TableOpenTest, WithConditionReplacesTheRowsHeld)
{
    hold();
    EXPECT_TRUE(people.open("id = 3"));
    EXPECT_EQ("3", held());
}

TEST_F(TableOpenTest, WithOrderReplacesTheRowsHeld)
{
    hold();
    EXPECT_TRUE(people.open("", "id desc"));
    EXPECT_EQ("3 2 1", held());
}

TEST_F(TableOpenTest, FailureAddsNoLineAndDropsTheRowsHeld)
{
    hold();
    EXPECT_FALSE(people.open("height > 2"));
    EXPECT_EQ(trace({refused("select * from people where height > 2",
                             {1, "SQLITE_ERROR", "no such column: height"})}),
              takeEvents());
    EXPECT_EQ("", held());
}

TEST_F(TableOpenTest, TableThatIsNotThereFails)
{
    EXPECT_FALSE(sql::Table(db, "pets", personFields).open());
    EXPECT_EQ(trace({refused("select * from pets", {1, "SQLITE_ERROR", "no such table: pets"})}),
              takeEvents());
}

TEST_F(TableOpenTest, RowsBeforeFailureAreHeld)
{
    run("insert into people values (9, 'Max', -9223372036854775808)");
    EXPECT_FALSE(people.open("id in (1, 9) and abs(age) > 0", "id"));
    EXPECT_EQ(trace({refused("select * from people where id in (1, 9) and abs(age) > 0 order by id",
                             {1, "SQLITE_ERROR", "integer overflow"}, {ada})}),
              takeEvents());
    EXPECT_EQ("1", held());
}

TEST_F(TableOpenTest, MissingConnectionIsReportedByTheStatement)
{
    EXPECT_FALSE(sql::Table("people").open());
    EXPECT_EQ(trace({notConnected()}), takeEvents());
}

TEST_F(TableOpenTest, CellsAreReadByPosition)
{
    run("drop table people; create table people (age, id, name, mail);"
        "insert into people values (1, 'two', 3, 'four')");
    EXPECT_TRUE(people.open());
    EXPECT_EQ(trace({queried("select * from people", {"id = 1|name = two|age = 3"})}),
              takeEvents());
}

// Any statement

class TableQueryTest : public PeopleTest
{
};

TEST_F(TableQueryTest, RunsTheStatementAndHoldsItsRows)
{
    EXPECT_TRUE(people.query("select 7, 'Eve', 8"));
    EXPECT_EQ(trace({queried("select 7, 'Eve', 8", {"id = 7|name = Eve|age = 8"})}), takeEvents());
    EXPECT_EQ("7", held());
}

TEST_F(TableQueryTest, ReplacesTheRowsHeld)
{
    hold();
    EXPECT_TRUE(people.query("update people set age = 0"));
    EXPECT_EQ("", held());
}

TEST_F(TableQueryTest, FailureAddsNoLineAndDropsTheRowsHeld)
{
    hold();
    EXPECT_FALSE(people.query("select %s"));
    EXPECT_EQ(trace({refused("select %s", {1, "SQLITE_ERROR", "near \"%\": syntax error"})}),
              takeEvents());
    EXPECT_EQ("", held());
}

TEST_F(TableQueryTest, MissingConnectionIsReportedByTheStatement)
{
    EXPECT_FALSE(sql::Table("people").query("select 1"));
    EXPECT_EQ(trace({notConnected()}), takeEvents());
}

// The rows held

class TableHeldRowsTest : public PeopleTest
{
protected:
    TableHeldRowsTest() { hold(); }
};

TEST_F(TableHeldRowsTest, AreCountedWithoutTheOthersOfTheTable)
{
    EXPECT_EQ(2, people.recordCount());
    EXPECT_EQ(trace({}), takeEvents());
}

TEST_F(TableHeldRowsTest, AreFoundByPosition)
{
    EXPECT_EQ("Ada", people.getRecord(0)->getValue("name")->asString());
    EXPECT_EQ("Bob", people.getRecord(1)->getValue("name")->asString());
}

TEST_F(TableHeldRowsTest, AreOfTheColumnsOfTheTable)
{
    EXPECT_EQ(&people.fields(), people.getRecord(0)->fields());
}

TEST_F(TableHeldRowsTest, PositionAfterTheLastGivesNullSilently)
{
    EXPECT_EQ(nullptr, people.getRecord(2));
    EXPECT_EQ(nullptr, people.getRecord(INT_MAX));
    EXPECT_EQ(trace({}), takeEvents());
}

TEST_F(TableHeldRowsTest, NegativePositionGivesNullSilently)
{
    EXPECT_EQ(nullptr, people.getRecord(-1));
    EXPECT_EQ(nullptr, people.getRecord(INT_MIN));
    EXPECT_EQ(trace({}), takeEvents());
}

TEST_F(TableHeldRowsTest, TopRecordIsTheFirst)
{
    EXPECT_EQ(people.getRecord(0), people.getTopRecord());
}

TEST_F(TableHeldRowsTest, ThereIsNoTopRecordBeforeTheFirstRead)
{
    EXPECT_EQ(nullptr, sql::Table(db, "people", personFields).getTopRecord());
    EXPECT_EQ(trace({}), takeEvents());
}

TEST_F(TableHeldRowsTest, TopRecordIsTheFirstEvenAfterFailure)
{
    run("insert into people values (9, 'Max', -9223372036854775808)");
    EXPECT_FALSE(people.open("id in (1, 9) and abs(age) > 0", "id"));
    ASSERT_NE(nullptr, people.getTopRecord());
    EXPECT_EQ("Ada", people.getTopRecord()->getValue("name")->asString());
}

TEST_F(TableHeldRowsTest, ExistenceTestLeavesThem)
{
    EXPECT_TRUE(people.exists());
    EXPECT_EQ("1 2", held());
}

TEST_F(TableHeldRowsTest, CreateOfTableThatExistsLeavesThem)
{
    EXPECT_TRUE(people.create());
    EXPECT_EQ("1 2", held());
}

TEST_F(TableHeldRowsTest, CreateOfTableThatIsNotThereDropsThem)
{
    run("drop table people");
    EXPECT_TRUE(people.create());
    EXPECT_EQ("", held());
}

TEST_F(TableHeldRowsTest, CountLeavesThem)
{
    EXPECT_EQ(3, people.totalRecordCount());
    EXPECT_EQ("1 2", held());
}

TEST_F(TableHeldRowsTest, TextsLeaveThem)
{
    EXPECT_NE("", people.getDefinition());
    EXPECT_NE("", people.toString());
    EXPECT_EQ("1 2", held());
}

TEST_F(TableHeldRowsTest, TruncateDropsThem)
{
    EXPECT_TRUE(people.truncate());
    EXPECT_EQ("", held());
}

TEST_F(TableHeldRowsTest, FailingTruncateDropsThem)
{
    run("drop table people");
    EXPECT_FALSE(people.truncate());
    EXPECT_EQ("", held());
}

TEST_F(TableHeldRowsTest, RemoveDropsThem)
{
    EXPECT_TRUE(people.remove());
    EXPECT_EQ("", held());
}

TEST_F(TableHeldRowsTest, WritesOfOthersLeaveThem)
{
    run("delete from people");
    EXPECT_EQ("1 2", held());
}

} // namespace
