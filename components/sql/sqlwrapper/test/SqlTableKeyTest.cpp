#include "SqlTable.h"

#include <climits>

#include <gtest/gtest.h>

#include "support/People.h"
#include "support/Statements.h"
#include "support/World.h"

using namespace sqltest;

namespace
{

const Source source("SqlTable");
const Source record("SqlRecord");
const Source fieldset("SqlFieldSet");

const char* const updateSignature = "sql::string sql::Record::toSqlUpdate(const string&) const";

const sql::integer least = LLONG_MIN;
const sql::integer greatest = LLONG_MAX;

const Refusal noPets = {1, "SQLITE_ERROR", "no such table: pets"};
const Refusal nearSeven = {1, "SQLITE_ERROR", "near \"7\": syntax error"};

// What both kinds of keys have in common

template <typename Key> class TableEitherKeyTest : public PeopleAndPartsTest
{
protected:
    // On a table whose keys are of this kind.
    sql::Table& table() { return Key::table == people.name() ? people : parts; }
    template <typename Value> static std::string statement(const char* verb, const Value& key)
    {
        return std::string(verb) + " from " + Key::table + " where id = " + Key::written(key);
    }
    int rows() { return std::stoi(cell(std::string("select count(*) from ") + Key::table)); }

    using Connection::db;
    using PeopleAndPartsTest::held;
    using PeopleAndPartsTest::hold;
    using PeopleAndPartsTest::people;
    using PeopleAndPartsTest::person;
    using Test::forgetEvents;
    using Test::takeEvents;
};
TYPED_TEST_SUITE(TableEitherKeyTest, Kinds, KindNames);

TYPED_TEST(TableEitherKeyTest, DeletesTheRow)
{
    const int before = this->rows();
    EXPECT_TRUE(this->table().deleteRecord(TypeParam::there()));
    EXPECT_EQ(trace({queried(this->statement("delete", TypeParam::there()))}), this->takeEvents());
    EXPECT_EQ(before - 1, this->rows());
    EXPECT_FALSE(this->table().hasRecordWithKeyId(TypeParam::there()));
}

TYPED_TEST(TableEitherKeyTest, DeletesNoRowThatIsNotThere)
{
    const int before = this->rows();
    EXPECT_TRUE(this->table().deleteRecord(TypeParam::missing()));
    EXPECT_EQ(trace({queried(this->statement("delete", TypeParam::missing()))}),
              this->takeEvents());
    EXPECT_EQ(before, this->rows());
}

TYPED_TEST(TableEitherKeyTest, ReadsTheRow)
{
    const sql::Record* const row = this->table().getRecordByKeyId(TypeParam::there());
    EXPECT_EQ(trace({queried(this->statement("select *", TypeParam::there()), {TypeParam::dump})}),
              this->takeEvents());
    ASSERT_NE(nullptr, row);
    EXPECT_EQ(TypeParam::row, row->toString());
}

TYPED_TEST(TableEitherKeyTest, ReadsTheRowIntoTheTable)
{
    const sql::Record* const row = this->table().getRecordByKeyId(TypeParam::there());
    EXPECT_EQ(1, this->table().recordCount());
    EXPECT_EQ(this->table().getRecord(0), row);
}

TYPED_TEST(TableEitherKeyTest, ReadsNoRowThatIsNotThere)
{
    EXPECT_EQ(nullptr, this->table().getRecordByKeyId(TypeParam::missing()));
    EXPECT_EQ(trace({queried(this->statement("select *", TypeParam::missing()))}),
              this->takeEvents());
}

TYPED_TEST(TableEitherKeyTest, FindsTheRow)
{
    EXPECT_TRUE(this->table().hasRecordWithKeyId(TypeParam::there()));
    EXPECT_EQ(trace({counted(this->statement("select count(*)", TypeParam::there()), 1)}),
              this->takeEvents());
}

TYPED_TEST(TableEitherKeyTest, FindsNoRowThatIsNotThere)
{
    EXPECT_FALSE(this->table().hasRecordWithKeyId(TypeParam::missing()));
    EXPECT_EQ(trace({counted(this->statement("select count(*)", TypeParam::missing()), 0)}),
              this->takeEvents());
}

// What the operations do to the rows held

template <typename Key> class TableKeyHeldRowsTest : public TableEitherKeyTest<Key>
{
protected:
    TableKeyHeldRowsTest() { this->hold(); }
};
TYPED_TEST_SUITE(TableKeyHeldRowsTest, Kinds, KindNames);

TYPED_TEST(TableKeyHeldRowsTest, DeleteLeavesThem)
{
    EXPECT_TRUE(this->people.deleteRecord(TypeParam::of(1)));
    EXPECT_EQ("1 2", this->held());
}

TYPED_TEST(TableKeyHeldRowsTest, FetchReplacesThem)
{
    EXPECT_NE(nullptr, this->people.getRecordByKeyId(TypeParam::of(3)));
    EXPECT_EQ("3", this->held());
}

TYPED_TEST(TableKeyHeldRowsTest, FetchOfKeyThatIsNotThereDropsThem)
{
    EXPECT_EQ(nullptr, this->people.getRecordByKeyId(TypeParam::of(42)));
    EXPECT_EQ("", this->held());
}

TYPED_TEST(TableKeyHeldRowsTest, TestLeavesThem)
{
    EXPECT_TRUE(this->people.hasRecordWithKeyId(TypeParam::of(3)));
    EXPECT_EQ("1 2", this->held());
}

TYPED_TEST(TableKeyHeldRowsTest, UpdateLeavesThem)
{
    EXPECT_TRUE(this->people.addOrUpdateRecord(TypeParam::of(2), this->person(2, "Rob")));
    EXPECT_EQ("1 2", this->held());
}

TYPED_TEST(TableKeyHeldRowsTest, AddLeavesThem)
{
    EXPECT_TRUE(this->people.addOrUpdateRecord(TypeParam::of(4), this->person(4, "Dan")));
    EXPECT_EQ("1 2", this->held());
}

// Deleting by key

class TableDeleteRecordTest : public PeopleAndPartsTest
{
};

TEST_F(TableDeleteRecordTest, NegativeKeyHasItsSign)
{
    run("insert into people values (-5, 'Eve', 1)");
    EXPECT_TRUE(people.deleteRecord(-5));
    EXPECT_EQ(trace({queried("delete from people where id = -5")}), takeEvents());
    EXPECT_EQ("(none)", nameOf("-5"));
}

TEST_F(TableDeleteRecordTest, LeastKeyIsWrittenInFull)
{
    EXPECT_TRUE(people.deleteRecord(least));
    EXPECT_EQ(trace({queried("delete from people where id = -9223372036854775808")}), takeEvents());
}

TEST_F(TableDeleteRecordTest, GreatestKeyIsWrittenInFull)
{
    EXPECT_TRUE(people.deleteRecord(greatest));
    EXPECT_EQ(trace({queried("delete from people where id = 9223372036854775807")}), takeEvents());
}

TEST_F(TableDeleteRecordTest, TextKeyIsNotEscaped)
{
    EXPECT_FALSE(parts.deleteRecord("A\"7"));
    EXPECT_EQ(trace({refused("delete from parts where id = \"A\"7\"", nearSeven)}), takeEvents());
}

TEST_F(TableDeleteRecordTest, TextKeyKeepsSingleQuotesAndPercentSigns)
{
    run("insert into parts values ('100%s''', 'Pin')");
    EXPECT_TRUE(parts.deleteRecord("100%s'"));
    EXPECT_EQ(trace({queried("delete from parts where id = \"100%s'\"")}), takeEvents());
    EXPECT_EQ("2", cell("select count(*) from parts"));
}

TEST_F(TableDeleteRecordTest, EmptyTextKeyIsAnEmptyPairOfQuotes)
{
    run("insert into parts values ('', 'Pin')");
    EXPECT_TRUE(parts.deleteRecord(""));
    EXPECT_EQ(trace({queried("delete from parts where id = \"\"")}), takeEvents());
    EXPECT_EQ("2", cell("select count(*) from parts"));
}

TEST_F(TableDeleteRecordTest, TextKeyNamedLikeTheKeyColumnDeletesEveryRow)
{
    EXPECT_TRUE(parts.deleteRecord("id"));
    EXPECT_EQ("0", cell("select count(*) from parts"));
}

TEST_F(TableDeleteRecordTest, TextKeyNamedLikeColumnIsComparedWithThatColumn)
{
    run("insert into parts values ('name', 'Pin'), ('Bolt', 'Bolt')");
    EXPECT_TRUE(parts.deleteRecord("name"));
    EXPECT_EQ("Pin", cell("select name from parts where id = 'name'"));
    EXPECT_EQ("(none)", cell("select name from parts where id = 'Bolt'"));
}

TEST_F(TableDeleteRecordTest, RefusedStatementOfIntegerKeyFails)
{
    EXPECT_FALSE(pets.deleteRecord(1));
    EXPECT_EQ(trace({refused("delete from pets where id = 1", noPets)}), takeEvents());
}

TEST_F(TableDeleteRecordTest, MissingConnectionIsReportedByTheStatement)
{
    sql::Table unconnected(nullptr, "people", personFields);
    EXPECT_FALSE(unconnected.deleteRecord(1));
    EXPECT_FALSE(unconnected.deleteRecord("1"));
    EXPECT_EQ(trace({notConnected(), notConnected()}), takeEvents());
}

// Fetching by key

class TableGetRecordByKeyIdTest : public PeopleAndPartsTest
{
};

TEST_F(TableGetRecordByKeyIdTest, FirstOfSeveralRowsIsReturned)
{
    run("drop table people; create table people (id, name, age);"
        "insert into people values (7, 'Eve', 1), (7, 'Fay', 2)");
    const sql::Record* const row = people.getRecordByKeyId(7);
    ASSERT_NE(nullptr, row);
    EXPECT_EQ("7|Eve|1", row->toString());
    EXPECT_EQ(2, people.recordCount());
}

TEST_F(TableGetRecordByKeyIdTest, NegativeKeyHasItsSign)
{
    EXPECT_EQ(nullptr, people.getRecordByKeyId(-5));
    EXPECT_EQ(trace({queried("select * from people where id = -5")}), takeEvents());
}

TEST_F(TableGetRecordByKeyIdTest, LeastKeyIsFound)
{
    run("insert into people values (-9223372036854775808, 'Min', 1)");
    const sql::Record* const row = people.getRecordByKeyId(least);
    EXPECT_EQ(trace({queried("select * from people where id = -9223372036854775808",
                             {"id = -9223372036854775808|name = Min|age = 1"})}),
              takeEvents());
    ASSERT_NE(nullptr, row);
    EXPECT_EQ(least, row->getValue("id")->asInteger());
}

TEST_F(TableGetRecordByKeyIdTest, GreatestKeyIsFound)
{
    run("insert into people values (9223372036854775807, 'Max', 1)");
    const sql::Record* const row = people.getRecordByKeyId(greatest);
    EXPECT_EQ(trace({queried("select * from people where id = 9223372036854775807",
                             {"id = 9223372036854775807|name = Max|age = 1"})}),
              takeEvents());
    ASSERT_NE(nullptr, row);
    EXPECT_EQ(greatest, row->getValue("id")->asInteger());
}

TEST_F(TableGetRecordByKeyIdTest, TextKeyIsNotEscaped)
{
    EXPECT_EQ(nullptr, parts.getRecordByKeyId("A\"7"));
    EXPECT_EQ(trace({refused("select * from parts where id = \"A\"7\"", nearSeven)}), takeEvents());
}

TEST_F(TableGetRecordByKeyIdTest, DoubledQuoteOfTextKeyIsOneToSqlite)
{
    run("insert into parts values ('A\"7', 'Pin')");
    const sql::Record* const row = parts.getRecordByKeyId("A\"\"7");
    ASSERT_NE(nullptr, row);
    EXPECT_EQ("A\"7|Pin", row->toString());
}

TEST_F(TableGetRecordByKeyIdTest, TextKeyNamedLikeColumnIsComparedWithThatColumn)
{
    run("insert into parts values ('name', 'Pin'), ('Peg', 'Peg')");
    const sql::Record* const row = parts.getRecordByKeyId("name");
    ASSERT_NE(nullptr, row);
    EXPECT_EQ("Peg|Peg", row->toString());
}

TEST_F(TableGetRecordByKeyIdTest, FailureGivesNullThoughRowsCameBeforeIt)
{
    run("insert into people values (9, 'Max', -9223372036854775808)");
    EXPECT_EQ(nullptr, people.getRecordByKeyId("x\" or id in (1, 9) and abs(age) <> \""));
    EXPECT_EQ(
        trace({refused("select * from people where id = \"x\" or id in (1, 9) and abs(age) <> \"\"",
                       {1, "SQLITE_ERROR", "integer overflow"}, {ada})}),
        takeEvents());
    EXPECT_EQ("1", held());
}

TEST_F(TableGetRecordByKeyIdTest, TableThatIsNotThereGivesNull)
{
    EXPECT_EQ(nullptr, pets.getRecordByKeyId(1));
    EXPECT_EQ(trace({refused("select * from pets where id = 1", noPets)}), takeEvents());
}

TEST_F(TableGetRecordByKeyIdTest, MissingConnectionIsReportedByTheStatement)
{
    sql::Table unconnected(nullptr, "people", personFields);
    EXPECT_EQ(nullptr, unconnected.getRecordByKeyId(1));
    EXPECT_EQ(nullptr, unconnected.getRecordByKeyId("1"));
    EXPECT_EQ(trace({notConnected(), notConnected()}), takeEvents());
}

// Testing for a key

class TableHasRecordWithKeyIdTest : public PeopleAndPartsTest
{
};

TEST_F(TableHasRecordWithKeyIdTest, SeveralRowsAreAsGoodAsOne)
{
    run("drop table people; create table people (id, name, age);"
        "insert into people values (7, 'Eve', 1), (7, 'Fay', 2)");
    EXPECT_TRUE(people.hasRecordWithKeyId(7));
    EXPECT_EQ(trace({counted("select count(*) from people where id = 7", 2)}), takeEvents());
}

TEST_F(TableHasRecordWithKeyIdTest, FirstOfSeveralKeyColumnsIsTheKey)
{
    const sql::Field pairFields[] = {
        sql::Field("name", sql::type_text, 0),
        sql::Field("age", sql::type_int, sql::flag_primary_key),
        sql::Field("id", sql::type_int, sql::flag_primary_key),
        sql::Field(),
    };
    EXPECT_TRUE(sql::Table(db, "people", pairFields).hasRecordWithKeyId(29));
    EXPECT_EQ(trace({counted("select count(*) from people where age = 29", 1)}), takeEvents());
}

TEST_F(TableHasRecordWithKeyIdTest, IntegerKeyFindsText)
{
    EXPECT_TRUE(parts.hasRecordWithKeyId(42));
    EXPECT_EQ(trace({counted("select count(*) from parts where id = 42", 1)}), takeEvents());
}

TEST_F(TableHasRecordWithKeyIdTest, TextKeyFindsInteger)
{
    EXPECT_TRUE(people.hasRecordWithKeyId("2"));
    EXPECT_EQ(trace({counted("select count(*) from people where id = \"2\"", 1)}), takeEvents());
}

TEST_F(TableHasRecordWithKeyIdTest, NegativeKeyHasItsSign)
{
    EXPECT_FALSE(people.hasRecordWithKeyId(-5));
    EXPECT_EQ(trace({counted("select count(*) from people where id = -5", 0)}), takeEvents());
}

TEST_F(TableHasRecordWithKeyIdTest, LeastKeyIsFound)
{
    run("insert into people values (-9223372036854775808, 'Min', 1)");
    EXPECT_TRUE(people.hasRecordWithKeyId(least));
    EXPECT_EQ(trace({counted("select count(*) from people where id = -9223372036854775808", 1)}),
              takeEvents());
}

TEST_F(TableHasRecordWithKeyIdTest, GreatestKeyIsFound)
{
    run("insert into people values (9223372036854775807, 'Max', 1)");
    EXPECT_TRUE(people.hasRecordWithKeyId(greatest));
    EXPECT_EQ(trace({counted("select count(*) from people where id = 9223372036854775807", 1)}),
              takeEvents());
}

TEST_F(TableHasRecordWithKeyIdTest, TextKeyIsNotEscaped)
{
    EXPECT_FALSE(parts.hasRecordWithKeyId("A\"7"));
    EXPECT_EQ(trace({uncounted("select count(*) from parts where id = \"A\"7\"", nearSeven)}),
              takeEvents());
}

TEST_F(TableHasRecordWithKeyIdTest, TextKeyKeepsPercentSigns)
{
    EXPECT_FALSE(parts.hasRecordWithKeyId("100%s%n"));
    EXPECT_EQ(trace({counted("select count(*) from parts where id = \"100%s%n\"", 0)}),
              takeEvents());
}

TEST_F(TableHasRecordWithKeyIdTest, TextKeyNamedLikeColumnMissesTheRowOfThatKey)
{
    run("insert into parts values ('name', 'Pin')");
    EXPECT_FALSE(parts.hasRecordWithKeyId("name"));
}

TEST_F(TableHasRecordWithKeyIdTest, TextKeyNamedLikeColumnFindsKeyThatEqualsThatColumn)
{
    run("insert into parts values ('Peg', 'Peg')");
    EXPECT_TRUE(parts.hasRecordWithKeyId("name"));
}

TEST_F(TableHasRecordWithKeyIdTest, FailedCountIsFalse)
{
    const CountsRefused counts(db);
    EXPECT_FALSE(people.hasRecordWithKeyId(2));
    EXPECT_EQ(
        trace({uncounted("select count(*) from people where id = 2", CountsRefused::refusal)}),
        takeEvents());
}

TEST_F(TableHasRecordWithKeyIdTest, MissingConnectionIsReportedByTheCount)
{
    const Source common("SqlCommon");
    const std::string report =
        common.asserted("db", "int sql::queryNumber(sqlite3*, const string&)");
    sql::Table unconnected(nullptr, "people", personFields);
    EXPECT_FALSE(unconnected.hasRecordWithKeyId(2));
    EXPECT_FALSE(unconnected.hasRecordWithKeyId("2"));
    EXPECT_EQ(trace({report, report}), takeEvents());
}

// Adding or updating

class TableAddOrUpdateRecordTest : public PeopleAndPartsTest
{
protected:
    const std::string addedDan = together({
        counted("select count(*) from people where id = 4", 0),
        IntegerKey::added(4),
        queried("insert into people (id, name, age) values (4, 'Dan', null)"),
    });
};

TEST_F(TableAddOrUpdateRecordTest, UpdatesTheRowOfIntegerKey)
{
    EXPECT_TRUE(people.addOrUpdateRecord(2, person(2, "Rob")));
    EXPECT_EQ(trace({
                  counted("select count(*) from people where id = 2", 1),
                  source.debug2("addOrUpdateRecord", "update record for key=%lld", 2LL),
                  queried("update people set name='Rob', age=null where id = 2"),
              }),
              takeEvents());
    EXPECT_EQ("Rob", nameOf("2"));
}

TEST_F(TableAddOrUpdateRecordTest, AddsRowForIntegerKeyThatIsNotThere)
{
    EXPECT_TRUE(people.addOrUpdateRecord(4, person(4, "Dan")));
    EXPECT_EQ(trace({addedDan}), takeEvents());
    EXPECT_EQ("Dan", nameOf("4"));
}

TEST_F(TableAddOrUpdateRecordTest, UpdatesTheRowOfTextKeyAfterReport)
{
    EXPECT_TRUE(parts.addOrUpdateRecord("42", part("42", "Screw")));
    EXPECT_EQ(trace({
                  counted("select count(*) from parts where id = \"42\"", 1),
                  source.debug2("addOrUpdateRecord", "update record for key=%s", "42"),
                  record.asserted("value->getType() == type_int", updateSignature),
                  queried("update parts set name='Screw' where id = 42"),
              }),
              takeEvents());
    EXPECT_EQ("Screw", cell("select name from parts where id = '42'"));
}

TEST_F(TableAddOrUpdateRecordTest, UpdateOfTextKeyThatIsNoNumberIsRefusedBySqlite)
{
    EXPECT_FALSE(parts.addOrUpdateRecord("A-17", part("A-17", "Screw")));
    EXPECT_EQ(trace({
                  counted("select count(*) from parts where id = \"A-17\"", 1),
                  source.debug2("addOrUpdateRecord", "update record for key=%s", "A-17"),
                  record.asserted("value->getType() == type_int", updateSignature),
                  refused("update parts set name='Screw' where id = A-17",
                          {1, "SQLITE_ERROR", "no such column: A"}),
              }),
              takeEvents());
    EXPECT_EQ("Bolt", cell("select name from parts where id = 'A-17'"));
}

TEST_F(TableAddOrUpdateRecordTest, AddsRowForTextKeyThatIsNotThere)
{
    EXPECT_TRUE(parts.addOrUpdateRecord("100%s", part("100%s", "Pin")));
    EXPECT_EQ(trace({
                  counted("select count(*) from parts where id = \"100%s\"", 0),
                  source.debug2("addOrUpdateRecord", "add record for key=%s", "100%s"),
                  queried("insert into parts (id, name) values ('100%s', 'Pin')"),
              }),
              takeEvents());
    EXPECT_EQ("Pin", cell("select name from parts where id = '100%s'"));
}

TEST_F(TableAddOrUpdateRecordTest, LeastKeyIsLoggedInFull)
{
    EXPECT_TRUE(people.addOrUpdateRecord(least, person(least, "Min")));
    EXPECT_EQ(
        trace({
            counted("select count(*) from people where id = -9223372036854775808", 0),
            source.debug2("addOrUpdateRecord", "add record for key=%lld", least),
            queried(
                "insert into people (id, name, age) values (-9223372036854775808, 'Min', null)"),
        }),
        takeEvents());
}

TEST_F(TableAddOrUpdateRecordTest, GreatestKeyIsLoggedInFull)
{
    EXPECT_TRUE(people.addOrUpdateRecord(greatest, person(greatest, "Max")));
    forgetEvents();
    EXPECT_TRUE(people.addOrUpdateRecord(greatest, person(greatest, "Max")));
    EXPECT_EQ(trace({
                  counted("select count(*) from people where id = 9223372036854775807", 1),
                  source.debug2("addOrUpdateRecord", "update record for key=%lld", greatest),
                  queried("update people set name='Max', age=null where id = 9223372036854775807"),
              }),
              takeEvents());
}

TEST_F(TableAddOrUpdateRecordTest, KeyIsNotComparedWithThatOfTheRecord)
{
    EXPECT_TRUE(people.addOrUpdateRecord(1, person(2, "Rob")));
    EXPECT_EQ("Ada", nameOf("1"));
    EXPECT_EQ("Rob", nameOf("2"));
}

TEST_F(TableAddOrUpdateRecordTest, OtherKeyThanThatOfTheRecordMayMeanAdding)
{
    EXPECT_FALSE(people.addOrUpdateRecord(9, person(2, "Rob")));
    EXPECT_EQ(trace({
                  counted("select count(*) from people where id = 9", 0),
                  source.debug2("addOrUpdateRecord", "add record for key=%lld", 9LL),
                  refused("insert into people (id, name, age) values (2, 'Rob', null)",
                          {19, "SQLITE_CONSTRAINT", "UNIQUE constraint failed: people.id"}),
              }),
              takeEvents());
}

TEST_F(TableAddOrUpdateRecordTest, AddsWhenTheCountOfIntegerKeyFails)
{
    const CountsRefused counts(db);
    EXPECT_TRUE(people.addOrUpdateRecord(4, person(4, "Dan")));
    EXPECT_EQ(trace({
                  uncounted("select count(*) from people where id = 4", CountsRefused::refusal),
                  source.debug2("addOrUpdateRecord", "add record for key=%lld", 4LL),
                  queried("insert into people (id, name, age) values (4, 'Dan', null)"),
              }),
              takeEvents());
}

TEST_F(TableAddOrUpdateRecordTest, AddsWhenTheCountOfTextKeyFails)
{
    EXPECT_TRUE(parts.addOrUpdateRecord("A\"7", part("A\"7", "Pin")));
    EXPECT_EQ(trace({
                  uncounted("select count(*) from parts where id = \"A\"7\"", nearSeven),
                  source.debug2("addOrUpdateRecord", "add record for key=%s", "A\"7"),
                  queried("insert into parts (id, name) values ('A\"7', 'Pin')"),
              }),
              takeEvents());
    EXPECT_EQ("Pin", cell("select name from parts where id = 'A\"7'"));
}

TEST_F(TableAddOrUpdateRecordTest, MissingConnectionIsReportedByCountAndInsert)
{
    const Source common("SqlCommon");
    sql::Table unconnected(nullptr, "people", personFields);
    EXPECT_FALSE(unconnected.addOrUpdateRecord(4, person(4, "Dan")));
    EXPECT_EQ(trace({
                  common.asserted("db", "int sql::queryNumber(sqlite3*, const string&)"),
                  source.debug2("addOrUpdateRecord", "add record for key=%lld", 4LL),
                  notConnected(),
              }),
              takeEvents());
}

TEST_F(TableAddOrUpdateRecordTest, BranchIsLoggedAboveLevel7)
{
    setTraceLevel(8);
    EXPECT_TRUE(people.addOrUpdateRecord(4, person(4, "Dan")));
    EXPECT_EQ(trace({addedDan}), takeEvents());
}

TEST_F(TableAddOrUpdateRecordTest, NoBranchIsLoggedAtLevel7)
{
    setTraceLevel(7);
    EXPECT_TRUE(people.addOrUpdateRecord(4, person(4, "Dan")));
    EXPECT_TRUE(people.addOrUpdateRecord(4, person(4, "Dan")));
    EXPECT_TRUE(parts.addOrUpdateRecord("43", part("43", "Pin")));
    EXPECT_TRUE(people.addOrUpdateRecord("4", person(4, "Dan")));
    EXPECT_EQ(trace({}), takeDiagnostics());
}

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
