#include "SqlTable.h"

#include <string>

#include <gtest/gtest.h>

#include "support/People.h"
#include "support/World.h"

using namespace sqltest;

namespace
{

// What an operation takes from operator new, beside what SQLite takes for itself.
class TableCostTest : public PeopleAndPartsTest
{
protected:
    TableCostTest() { setTraceLevel(0); }

    template <typename Operation> static long costOf(Operation operation)
    {
        const long before = allocations();
        EXPECT_TRUE(operation());
        return allocations() - before;
    }

    const std::string longName = std::string(1000, '\'');
};

TEST_F(TableCostTest, AddingAShortRowTakesNoAllocation)
{
    const sql::Record dan = person(4, "Dan");
    EXPECT_EQ(0, costOf([&] { return people.addRecord(dan); }));
}

TEST_F(TableCostTest, AddingALongRowTakesAtMostTwoAllocations)
{
    const sql::Record dan = person(4, longName.c_str());
    EXPECT_LE(costOf([&] { return people.addRecord(dan); }), 2);
}

TEST_F(TableCostTest, UpdatingAShortRowTakesNoAllocation)
{
    const sql::Record bob = person(2, "Rob");
    EXPECT_EQ(0, costOf([&] { return people.updateRecord(bob); }));
}

TEST_F(TableCostTest, UpdatingALongRowTakesAtMostTwoAllocations)
{
    const sql::Record bob = person(2, longName.c_str());
    EXPECT_LE(costOf([&] { return people.updateRecord(bob); }), 2);
}

TEST_F(TableCostTest, DeletingAKeyTakesNoAllocation)
{
    EXPECT_EQ(0, costOf([&] { return people.deleteRecord(2); }));
}

TEST_F(TableCostTest, GettingAKeyAgainTakesOneAllocationForTheValuesOfTheRow)
{
    EXPECT_TRUE(people.getRecordByKeyId(1)); // from which the vector of rows stays
    EXPECT_EQ(1, costOf([&] { return people.getRecordByKeyId(2) != nullptr; }));
}

TEST_F(TableCostTest, TestingForAKeyTakesAtMostOneAllocation)
{
    EXPECT_LE(costOf([&] { return people.hasRecordWithKeyId(2); }), 1);
}

TEST_F(TableCostTest, CopyingShortRowsTakesNoAllocation)
{
    run("create table others (id integer primary key, name text not null, age integer)");
    sql::Table others(db, "others", personFields);
    EXPECT_TRUE(people.open());
    EXPECT_EQ(0, costOf([&] { return others.copyRecords(people); }));
    EXPECT_EQ("3", cell("select count(*) from others"));
}

} // namespace
