#include "SqlTable.h"

#include <string>

#include <gtest/gtest.h>

#include "support/Keys.h"
#include "support/People.h"
#include "support/Statements.h"
#include "support/World.h"

using namespace sqltest;

namespace
{

const Source source("SqlTable");
const Source fieldset("SqlFieldSet");

// Without a key column

// The reports of the column set and of the operation, in this order.
std::string noKey(const char* function, const std::string& signature)
{
    return together({
        fieldset.error("getKeyIdName", "Failed to get name of PRIMARY KEY column"),
        fieldset.asserted("false", "sql::string sql::FieldSet::getKeyIdName() const"),
        source.error(function, "Failed to get name of PRIMARY KEY column"),
        source.asserted("false", signature.c_str()),
    });
}

template <typename Key> class KeylessTableTest : public PeopleAndPartsTest
{
protected:
    KeylessTableTest() { takeEvents(); }

    static std::string missed(const char* function, const std::string& returned)
    {
        return noKey(function, returned + " sql::Table::" + function + "(" + Key::type + ")");
    }

    using Test::forgetEvents;
    using Test::setTraceLevel;
    using Test::takeEvents;

    sql::Table keyless{db, "people", keylessFields};
};
TYPED_TEST_SUITE(KeylessTableTest, Kinds, KindNames);

TYPED_TEST(KeylessTableTest, DeleteRunsNothing)
{
    EXPECT_FALSE(this->keyless.deleteRecord(TypeParam::of(1)));
    EXPECT_EQ(trace({this->missed("deleteRecord", "bool")}), this->takeEvents());
}

TYPED_TEST(KeylessTableTest, FetchRunsNothing)
{
    EXPECT_EQ(nullptr, this->keyless.getRecordByKeyId(TypeParam::of(1)));
    EXPECT_EQ(trace({this->missed("getRecordByKeyId", "sql::Record*")}), this->takeEvents());
}

TYPED_TEST(KeylessTableTest, FetchLeavesTheRowsHeld)
{
    EXPECT_TRUE(this->keyless.open());
    EXPECT_EQ(nullptr, this->keyless.getRecordByKeyId(TypeParam::of(1)));
    EXPECT_EQ(3, this->keyless.recordCount());
}

TYPED_TEST(KeylessTableTest, TestRunsNothing)
{
    EXPECT_FALSE(this->keyless.hasRecordWithKeyId(TypeParam::of(1)));
    EXPECT_EQ(trace({this->missed("hasRecordWithKeyId", "bool")}), this->takeEvents());
}

TYPED_TEST(KeylessTableTest, AddOrUpdateAdds)
{
    sql::Record dan(this->keyless.fields());
    dan.setString("name", "Dan");
    EXPECT_TRUE(this->keyless.addOrUpdateRecord(TypeParam::of(1), dan));
    EXPECT_EQ(trace({
                  this->missed("hasRecordWithKeyId", "bool"),
                  TypeParam::added(TypeParam::of(1)),
                  queried("insert into people (name, age) values ('Dan', null)"),
              }),
              this->takeEvents());
}

TYPED_TEST(KeylessTableTest, KeyIsMissedBeforeTheConnection)
{
    sql::Table named("people");
    EXPECT_FALSE(named.deleteRecord(TypeParam::of(1)));
    EXPECT_EQ(trace({this->missed("deleteRecord", "bool")}), this->takeEvents());
}

TYPED_TEST(KeylessTableTest, LinesAreWrittenAboveLevel2AndReportsAtEach)
{
    this->setTraceLevel(3);
    EXPECT_FALSE(this->keyless.deleteRecord(TypeParam::of(1)));
    EXPECT_EQ(trace({this->missed("deleteRecord", "bool")}), this->takeEvents());
    this->setTraceLevel(2);
    EXPECT_FALSE(this->keyless.deleteRecord(TypeParam::of(1)));
    EXPECT_EQ(
        trace({
            fieldset.asserted("false", "sql::string sql::FieldSet::getKeyIdName() const"),
            source.asserted(
                "false",
                (std::string("bool sql::Table::deleteRecord(") + TypeParam::type + ")").c_str()),
        }),
        this->takeEvents());
}

} // namespace
