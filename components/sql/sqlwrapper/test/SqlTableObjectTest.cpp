#include "SqlTable.h"

#include <memory>
#include <utility>

#include <gtest/gtest.h>

#include "support/People.h"
#include "support/Statements.h"
#include "support/World.h"

using namespace sqltest;

namespace
{

const Source source("SqlTable");
const Source fieldset("SqlFieldSet");
const char* const countSignature = "int sql::Table::totalRecordCount() const";
const char* const initSignature = "bool sql::FieldSet::initFieldSet(const sql::Field*)";
const sql::Field floatKeyFields[] = {
    sql::Field("id", sql::type_float, sql::flag_primary_key),
    sql::Field(),
};

// Making a table object

class TableObjectTest : public PeopleTest
{
};

TEST_F(TableObjectTest, NameAloneGivesNoHandleAndNoColumns)
{
    sql::Table named("people");
    EXPECT_EQ("people", named.name());
    EXPECT_EQ(nullptr, named.getHandle());
    EXPECT_EQ(0, named.fields().count());
    EXPECT_EQ(0, named.recordCount());
    EXPECT_EQ(trace({}), takeEvents());
}

TEST_F(TableObjectTest, ArrayGivesNumberedColumns)
{
    EXPECT_EQ("people", people.name());
    EXPECT_EQ(db, people.getHandle());
    EXPECT_EQ("0: name=id, type=integer, flags: PRIMARY KEY\r\n"
              "1: name=name, type=text, flags: NOT NULL\r\n"
              "2: name=age, type=integer, flags:",
              people.fields().dump());
}

TEST_F(TableObjectTest, ColumnSetIsCopiedWithoutCheck)
{
    const sql::FieldSet keyless(std::vector<sql::Field>{sql::Field("name", sql::type_text, 0)});
    const sql::Table copying(db, "people", keyless);
    EXPECT_NE(&keyless, &copying.fields());
    EXPECT_EQ("-1: name=name, type=text, flags:", copying.fields().dump());
    EXPECT_EQ(trace({}), takeEvents());
}

TEST_F(TableObjectTest, ColumnSetComesWithNameAndHandle)
{
    sql::Table copying(db, "people", people.fields());
    EXPECT_EQ("people", copying.name());
    EXPECT_EQ(db, copying.getHandle());
    EXPECT_EQ(3, copying.totalRecordCount());
}

TEST_F(TableObjectTest, NullArrayGivesNoColumnsAndNoReport)
{
    const sql::Table bare(db, "people", noFields);
    EXPECT_EQ(0, bare.fields().count());
    EXPECT_EQ(trace({}), takeEvents());
}

TEST_F(TableObjectTest, ArrayWithoutKeyIsReportedByTheColumnSetAndKept)
{
    const sql::Table keyless(db, "people", keylessFields);
    EXPECT_EQ(2, keyless.fields().count());
    EXPECT_EQ(trace({fieldset.asserted("false", initSignature)}), takeEvents());
}

TEST_F(TableObjectTest, ArrayWithWronglyTypedKeyIsReportedByTheColumnSetAndDropped)
{
    const sql::Table mistyped(db, "people", floatKeyFields);
    EXPECT_EQ(0, mistyped.fields().count());
    EXPECT_EQ(
        trace({
            fieldset.error(
                "initFieldSet",
                "PRIMARY KEY column '%s' must be of type 'integer' or 'text' instead of type '%s'",
                "id", "float"),
            fieldset.asserted("false", initSignature),
        }),
        takeEvents());
}

TEST_F(TableObjectTest, EndLeavesTheConnectionOpen)
{
    {
        const sql::Table ending(db, "people", personFields);
    }
    EXPECT_EQ(trace({}), takeEvents());
}

// Completing a table object

class TableInitTest : public PeopleTest
{
};

TEST_F(TableInitTest, CompletesTableMadeByNameAlone)
{
    sql::Table named("people");
    EXPECT_TRUE(named.initTable(db, personFields));
    EXPECT_EQ(trace({}), takeEvents());
    EXPECT_EQ(db, named.getHandle());
    EXPECT_EQ("people", named.name());
    EXPECT_TRUE(named.open());
    EXPECT_EQ(3, named.recordCount());
}

TEST_F(TableInitTest, GivesTheHandleToCountsToo)
{
    sql::Table named("people");
    EXPECT_TRUE(named.initTable(db, personFields));
    EXPECT_EQ(3, named.totalRecordCount());
}

TEST_F(TableInitTest, SecondTimeAppendsTheColumnsAgain)
{
    sql::Table named("people");
    EXPECT_TRUE(named.initTable(db, personFields));
    EXPECT_TRUE(named.initTable(db, personFields));
    EXPECT_EQ("id, name, age, id, name, age", named.fields().toSql());
}

TEST_F(TableInitTest, DropsTheRowsHeld)
{
    hold();
    EXPECT_TRUE(people.initTable(db, noFields));
    EXPECT_EQ("", held());
}

TEST_F(TableInitTest, NullArrayKeepsTheColumns)
{
    EXPECT_TRUE(people.initTable(db, noFields));
    EXPECT_EQ("id, name, age", people.fields().toSql());
}

TEST_F(TableInitTest, ReplacesTheHandle)
{
    Connection other(":memory:");
    EXPECT_TRUE(people.initTable(other.db, noFields));
    EXPECT_EQ(other.db, people.getHandle());
    EXPECT_FALSE(people.exists());
    EXPECT_FALSE(people.open());
}

TEST_F(TableInitTest, NullHandleReplacesTheHandle)
{
    EXPECT_TRUE(people.initTable(nullptr, noFields));
    EXPECT_EQ(nullptr, people.getHandle());
    forgetEvents();
    EXPECT_FALSE(people.open());
    EXPECT_EQ(trace({notConnected()}), takeEvents());
    EXPECT_EQ(-1, people.totalRecordCount());
    EXPECT_EQ(trace({source.asserted("_db", countSignature)}), takeEvents());
}

TEST_F(TableInitTest, FailsWithoutKeyAndKeepsTheColumns)
{
    sql::Table named("people");
    EXPECT_FALSE(named.initTable(db, keylessFields));
    EXPECT_EQ(trace({fieldset.asserted("false", initSignature)}), takeEvents());
    EXPECT_EQ(2, named.fields().count());
    EXPECT_EQ(db, named.getHandle());
}

TEST_F(TableInitTest, FailsWithWronglyTypedKeyAndDropsAllColumns)
{
    EXPECT_FALSE(people.initTable(db, floatKeyFields));
    EXPECT_EQ(0, people.fields().count());
    EXPECT_EQ(
        trace({
            fieldset.error(
                "initFieldSet",
                "PRIMARY KEY column '%s' must be of type 'integer' or 'text' instead of type '%s'",
                "id", "float"),
            fieldset.asserted("false", initSignature),
        }),
        takeEvents());
}

// Copies, which take the rows held and the columns that these refer to

class CopiedTableTest : public PeopleTest
{
protected:
    CopiedTableTest() { hold(); }

    sql::Table other{db, "other", partFields};
};

TEST_F(CopiedTableTest, CopyHoldsRowsOfItsOwn)
{
    sql::Table copy(people);
    EXPECT_TRUE(people.open("id = 3"));
    EXPECT_EQ(2, copy.recordCount());
    EXPECT_EQ("Bob", copy.getRecord(1)->getValue("name")->asString());
}

TEST_F(CopiedTableTest, CopyOutlivesWhatItWasCopiedFrom)
{
    auto original = std::make_unique<sql::Table>(db, "people", personFields);
    EXPECT_TRUE(original->open());
    sql::Table copy(*original);
    original.reset();
    EXPECT_EQ(db, copy.getHandle());
    EXPECT_EQ("people", copy.name());
    EXPECT_EQ("Cid", copy.getRecord(2)->getValue("name")->asString());
}

TEST_F(CopiedTableTest, AssignmentTakesNameHandleColumnsAndRows)
{
    auto original = std::make_unique<sql::Table>(db, "people", personFields);
    EXPECT_TRUE(original->open("id > 1"));
    sql::Table assigned("other");
    assigned = *original;
    original.reset();
    EXPECT_EQ("people", assigned.name());
    EXPECT_EQ(db, assigned.getHandle());
    EXPECT_EQ(3, assigned.fields().count());
    EXPECT_EQ(2, assigned.recordCount());
    EXPECT_EQ("Bob", assigned.getRecord(0)->getValue("name")->asString());
}

TEST_F(CopiedTableTest, AssignedTableCanBeRead)
{
    sql::Table assigned("other");
    assigned = people;
    EXPECT_TRUE(assigned.open());
    EXPECT_EQ("1 2 3", held(assigned));
}

TEST_F(CopiedTableTest, CopyHoldsTheRows)
{
    sql::Table copy(people);
    ASSERT_EQ(2, copy.recordCount());
    EXPECT_EQ("1|Ada|36", copy.getRecord(0)->toString());
    EXPECT_EQ("2|Bob|29", copy.getRecord(1)->toString());
}

TEST_F(CopiedTableTest, RowsOfCopyReferToTheCopysColumns)
{
    sql::Table copy(people);
    EXPECT_EQ(&copy.fields(), copy.getRecord(0)->fields());
    EXPECT_EQ(&copy.fields(), copy.getRecord(1)->fields());
}

TEST_F(CopiedTableTest, RowsOfTheOriginalKeepItsColumns)
{
    const sql::Table copy(people);
    EXPECT_EQ(&people.fields(), people.getRecord(0)->fields());
}

TEST_F(CopiedTableTest, CopyCallsNothingOfSQLite)
{
    const sql::Table copy(people);
    EXPECT_EQ("", takeEvents());
}

TEST_F(CopiedTableTest, ChangeOfRowOfCopyLeavesTheOriginal)
{
    sql::Table copy(people);
    copy.getRecord(0)->setString("name", "Eve");
    EXPECT_EQ("1|Ada|36", people.getRecord(0)->toString());
}

TEST_F(CopiedTableTest, CopyReadsOnTheSameConnection)
{
    sql::Table copy(people);
    EXPECT_TRUE(copy.open("id = 2"));
    EXPECT_EQ("2|Bob|29", copy.getTopRecord()->toString());
    EXPECT_EQ(2, people.recordCount());
}

TEST_F(CopiedTableTest, RowThatRefersToAnotherColumnSetKeepsIt)
{
    const sql::FieldSet foreign(partFields);
    *people.getRecord(0) = sql::Record(foreign);
    sql::Table copy(people);
    EXPECT_EQ(&foreign, copy.getRecord(0)->fields());
    EXPECT_EQ(&copy.fields(), copy.getRecord(1)->fields());
}

TEST_F(CopiedTableTest, MovedTableHoldsRowsThatReferToItsColumns)
{
    sql::Table moved(std::move(people));
    EXPECT_EQ(&moved.fields(), moved.getRecord(0)->fields());
    EXPECT_EQ(ada, moved.getRecord(0)->dump(false));
}

TEST_F(CopiedTableTest, AssignmentTakesRowsAndColumns)
{
    other = people;
    ASSERT_EQ(2, other.recordCount());
    EXPECT_EQ("id, name, age", other.fields().toSql());
    EXPECT_EQ(bob, other.getRecord(1)->dump(false));
}

TEST_F(CopiedTableTest, AssignedRowsReferToTheColumnsOfTheirNewTable)
{
    other = people;
    EXPECT_EQ(&other.fields(), other.getRecord(0)->fields());
    EXPECT_EQ(&other.fields(), other.getRecord(1)->fields());
}

TEST_F(CopiedTableTest, AssignmentDropsTheRowsBefore)
{
    people = other;
    EXPECT_EQ(0, people.recordCount());
}

TEST_F(CopiedTableTest, AssignmentToItselfKeepsTheRows)
{
    const sql::Table& same = people;
    people = same;
    ASSERT_EQ(2, people.recordCount());
    EXPECT_EQ(&people.fields(), people.getRecord(0)->fields());
    EXPECT_EQ(ada, people.getRecord(0)->dump(false));
}

TEST_F(CopiedTableTest, AssignmentToItselfKeepsTheRowsWhereTheyAre)
{
    const sql::Record* const held = people.getRecord(0);
    const sql::Table& same = people;
    people = same;
    EXPECT_EQ(held, people.getRecord(0));
}

TEST_F(CopiedTableTest, AssignmentTakesTheConnection)
{
    Connection empty(":memory:");
    sql::Table elsewhere(empty.db, "people", partFields);
    elsewhere = people;
    EXPECT_TRUE(elsewhere.open());
    EXPECT_EQ(3, elsewhere.recordCount());
}

TEST_F(CopiedTableTest, AssignmentTakesNoColumnsWhenMemoryRunsOut)
{
    int left = 0;
    for (bool complete = false; !complete; ++left) {
        sql::Table target(other);
        faults.allocationsLeft = left;
        try {
            target = people;
            complete = true;
        } catch (const std::bad_alloc&) {
            EXPECT_EQ("id, name", target.fields().toSql());
        }
        faults.allocationsLeft = -1;
    }
    EXPECT_LT(1, left);
}

} // namespace
