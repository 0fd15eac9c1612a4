#include "SqlTable.h"

#include <string>
#include <vector>

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

// The texts of a statement fill the memory that is taken for it at once, wherever they are long.
class LongStatementCostTest : public TableCostTest
{
protected:
    // Makes a table of text columns after its key, and adds and updates a row of such texts.
    void expectOneAllocation(const std::string& table, int count, const std::string& column,
                             const std::string& text)
    {
        std::vector<sql::Field> fields = {sql::Field("id", sql::type_int, sql::flag_primary_key)};
        for (int i = 1; i <= count; ++i)
            fields.emplace_back(column + std::to_string(i), sql::type_text, 0);
        fields.emplace_back();
        sql::Table wide(db, table, fields.data());
        EXPECT_TRUE(wide.create());

        sql::Record row(wide.fields());
        row.setInteger(0, 1);
        for (int i = 1; i <= count; ++i)
            row.setString(i, text);
        EXPECT_LE(costOf([&] { return wide.addRecord(row); }), 1);
        EXPECT_LE(costOf([&] { return wide.updateRecord(row); }), 1);
        EXPECT_EQ(text, cell("select " + column + "1 from " + table));
    }
};

TEST_F(LongStatementCostTest, OfManyColumnsIsOneAllocation)
{
    expectOneAllocation("t", 100, "c", "''");
}

TEST_F(LongStatementCostTest, OfLongTextsIsOneAllocation)
{
    expectOneAllocation("t", 3, "c", longName);
}

TEST_F(LongStatementCostTest, OfLongColumnNamesIsOneAllocation)
{
    expectOneAllocation("t", 3, std::string(1000, 'c'), "x");
}

TEST_F(LongStatementCostTest, OfALongTableNameIsOneAllocation)
{
    expectOneAllocation(std::string(1000, 't'), 100, "c", "x");
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
