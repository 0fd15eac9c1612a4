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

const char* const deleteByText = "bool sql::Table::deleteRecord(sql::string)";
const char* const deleteByInteger = "bool sql::Table::deleteRecord(sql::integer)";
const char* const getByText = "sql::Record* sql::Table::getRecordByKeyId(sql::string)";
const char* const getByInteger = "sql::Record* sql::Table::getRecordByKeyId(sql::integer)";
const char* const hasByText = "bool sql::Table::hasRecordWithKeyId(sql::string)";
const char* const hasByInteger = "bool sql::Table::hasRecordWithKeyId(sql::integer)";
const char* const updateSignature = "sql::string sql::Record::toSqlUpdate(const string&) const";

const sql::integer least = LLONG_MIN;
const sql::integer greatest = LLONG_MAX;

const Refusal noPets = {1, "SQLITE_ERROR", "no such table: pets"};
const Refusal nearSeven = {1, "SQLITE_ERROR", "near \"7\": syntax error"};

// What the operations do to the rows held

class TableKeyHeldRowsTest : public PeopleAndPartsTest
{
protected:
    TableKeyHeldRowsTest() { hold(); }
};

// Deleting by key

class TableDeleteRecordTest : public PeopleAndPartsTest
{
};

TEST_F(TableDeleteRecordTest, DeletesTheRowOfIntegerKey)
{
    EXPECT_TRUE(people.deleteRecord(2));
    EXPECT_EQ(trace({queried("delete from people where id = 2")}), recorded());
    EXPECT_EQ("(none)", nameOf("2"));
    EXPECT_EQ("2", cell("select count(*) from people"));
}

TEST_F(TableDeleteRecordTest, DeletesTheRowOfTextKey)
{
    EXPECT_TRUE(parts.deleteRecord("A-17"));
    EXPECT_EQ(trace({queried("delete from parts where id = \"A-17\"")}), recorded());
    EXPECT_EQ("Nut", cell("select name from parts"));
}

TEST_F(TableDeleteRecordTest, IntegerKeyThatIsNotThereSucceeds)
{
    EXPECT_TRUE(people.deleteRecord(42));
    EXPECT_EQ(trace({queried("delete from people where id = 42")}), recorded());
    EXPECT_EQ("3", cell("select count(*) from people"));
}

TEST_F(TableDeleteRecordTest, TextKeyThatIsNotThereSucceeds)
{
    EXPECT_TRUE(parts.deleteRecord("A-18"));
    EXPECT_EQ("2", cell("select count(*) from parts"));
}

TEST_F(TableDeleteRecordTest, NegativeKeyHasItsSign)
{
    run("insert into people values (-5, 'Eve', 1)");
    EXPECT_TRUE(people.deleteRecord(-5));
    EXPECT_EQ(trace({queried("delete from people where id = -5")}), recorded());
    EXPECT_EQ("(none)", nameOf("-5"));
}

TEST_F(TableDeleteRecordTest, LeastKeyIsWrittenInFull)
{
    EXPECT_TRUE(people.deleteRecord(least));
    EXPECT_EQ(trace({queried("delete from people where id = -9223372036854775808")}), recorded());
}

TEST_F(TableDeleteRecordTest, GreatestKeyIsWrittenInFull)
{
    EXPECT_TRUE(people.deleteRecord(greatest));
    EXPECT_EQ(trace({queried("delete from people where id = 9223372036854775807")}), recorded());
}

TEST_F(TableDeleteRecordTest, TextKeyIsNotEscaped)
{
    EXPECT_FALSE(parts.deleteRecord("A\"7"));
    EXPECT_EQ(trace({refused("delete from parts where id = \"A\"7\"", nearSeven)}), recorded());
}

TEST_F(TableDeleteRecordTest, TextKeyKeepsSingleQuotesAndPercentSigns)
{
    run("insert into parts values ('100%s''', 'Pin')");
    EXPECT_TRUE(parts.deleteRecord("100%s'"));
    EXPECT_EQ(trace({queried("delete from parts where id = \"100%s'\"")}), recorded());
    EXPECT_EQ("2", cell("select count(*) from parts"));
}

TEST_F(TableDeleteRecordTest, EmptyTextKeyIsAnEmptyPairOfQuotes)
{
    run("insert into parts values ('', 'Pin')");
    EXPECT_TRUE(parts.deleteRecord(""));
    EXPECT_EQ(trace({queried("delete from parts where id = \"\"")}), recorded());
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
    EXPECT_EQ(trace({refused("delete from pets where id = 1", noPets)}), recorded());
}

TEST_F(TableDeleteRecordTest, MissingConnectionIsReportedByTheStatement)
{
    sql::Table unconnected(nullptr, "people", personFields);
    EXPECT_FALSE(unconnected.deleteRecord(1));
    EXPECT_FALSE(unconnected.deleteRecord("1"));
    EXPECT_EQ(trace({notConnected(), notConnected()}), recorded());
}

TEST_F(TableKeyHeldRowsTest, DeleteByIntegerKeyLeavesThem)
{
    EXPECT_TRUE(people.deleteRecord(1));
    EXPECT_EQ("1 2", held());
}

TEST_F(TableKeyHeldRowsTest, DeleteByTextKeyLeavesThem)
{
    EXPECT_TRUE(people.deleteRecord("1"));
    EXPECT_EQ("1 2", held());
}

// Fetching by key

class TableGetRecordByKeyIdTest : public PeopleAndPartsTest
{
};

TEST_F(TableGetRecordByKeyIdTest, ReadsTheRowOfIntegerKey)
{
    const sql::Record* const row = people.getRecordByKeyId(2);
    EXPECT_EQ(trace({queried("select * from people where id = 2", {bob})}), recorded());
    ASSERT_NE(nullptr, row);
    EXPECT_EQ("2|Bob|29", row->toString());
}

TEST_F(TableGetRecordByKeyIdTest, ReadsTheRowOfTextKey)
{
    const sql::Record* const row = parts.getRecordByKeyId("A-17");
    EXPECT_EQ(
        trace({queried("select * from parts where id = \"A-17\"", {"id = A-17|name = Bolt"})}),
        recorded());
    ASSERT_NE(nullptr, row);
    EXPECT_EQ("A-17|Bolt", row->toString());
}

TEST_F(TableGetRecordByKeyIdTest, RowBelongsToTheTable)
{
    const sql::Record* const row = people.getRecordByKeyId(2);
    EXPECT_EQ(1, people.recordCount());
    EXPECT_EQ(people.getRecord(0), row);
}

TEST_F(TableGetRecordByKeyIdTest, RowOfTextKeyBelongsToTheTable)
{
    const sql::Record* const row = parts.getRecordByKeyId("A-17");
    EXPECT_EQ(1, parts.recordCount());
    EXPECT_EQ(parts.getRecord(0), row);
}

TEST_F(TableGetRecordByKeyIdTest, FirstOfSeveralRowsIsReturned)
{
    run("drop table people; create table people (id, name, age);"
        "insert into people values (7, 'Eve', 1), (7, 'Fay', 2)");
    const sql::Record* const row = people.getRecordByKeyId(7);
    ASSERT_NE(nullptr, row);
    EXPECT_EQ("7|Eve|1", row->toString());
    EXPECT_EQ(2, people.recordCount());
}

TEST_F(TableGetRecordByKeyIdTest, IntegerKeyThatIsNotThereGivesNull)
{
    EXPECT_EQ(nullptr, people.getRecordByKeyId(42));
    EXPECT_EQ(trace({queried("select * from people where id = 42")}), recorded());
}

TEST_F(TableGetRecordByKeyIdTest, TextKeyThatIsNotThereGivesNull)
{
    EXPECT_EQ(nullptr, parts.getRecordByKeyId("A-18"));
    EXPECT_EQ(trace({queried("select * from parts where id = \"A-18\"")}), recorded());
}

TEST_F(TableGetRecordByKeyIdTest, NegativeKeyHasItsSign)
{
    EXPECT_EQ(nullptr, people.getRecordByKeyId(-5));
    EXPECT_EQ(trace({queried("select * from people where id = -5")}), recorded());
}

TEST_F(TableGetRecordByKeyIdTest, LeastKeyIsFound)
{
    run("insert into people values (-9223372036854775808, 'Min', 1)");
    const sql::Record* const row = people.getRecordByKeyId(least);
    EXPECT_EQ(trace({queried("select * from people where id = -9223372036854775808",
                             {"id = -9223372036854775808|name = Min|age = 1"})}),
              recorded());
    ASSERT_NE(nullptr, row);
    EXPECT_EQ(least, row->getValue("id")->asInteger());
}

TEST_F(TableGetRecordByKeyIdTest, GreatestKeyIsFound)
{
    run("insert into people values (9223372036854775807, 'Max', 1)");
    const sql::Record* const row = people.getRecordByKeyId(greatest);
    EXPECT_EQ(trace({queried("select * from people where id = 9223372036854775807",
                             {"id = 9223372036854775807|name = Max|age = 1"})}),
              recorded());
    ASSERT_NE(nullptr, row);
    EXPECT_EQ(greatest, row->getValue("id")->asInteger());
}

TEST_F(TableGetRecordByKeyIdTest, TextKeyIsNotEscaped)
{
    EXPECT_EQ(nullptr, parts.getRecordByKeyId("A\"7"));
    EXPECT_EQ(trace({refused("select * from parts where id = \"A\"7\"", nearSeven)}), recorded());
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
        recorded());
    EXPECT_EQ("1", held());
}

TEST_F(TableGetRecordByKeyIdTest, TableThatIsNotThereGivesNull)
{
    EXPECT_EQ(nullptr, pets.getRecordByKeyId(1));
    EXPECT_EQ(trace({refused("select * from pets where id = 1", noPets)}), recorded());
}

TEST_F(TableGetRecordByKeyIdTest, MissingConnectionIsReportedByTheStatement)
{
    sql::Table unconnected(nullptr, "people", personFields);
    EXPECT_EQ(nullptr, unconnected.getRecordByKeyId(1));
    EXPECT_EQ(nullptr, unconnected.getRecordByKeyId("1"));
    EXPECT_EQ(trace({notConnected(), notConnected()}), recorded());
}

TEST_F(TableKeyHeldRowsTest, FetchByIntegerKeyReplacesThem)
{
    EXPECT_NE(nullptr, people.getRecordByKeyId(3));
    EXPECT_EQ("3", held());
}

TEST_F(TableKeyHeldRowsTest, FetchByTextKeyReplacesThem)
{
    EXPECT_NE(nullptr, people.getRecordByKeyId("3"));
    EXPECT_EQ("3", held());
}

TEST_F(TableKeyHeldRowsTest, FetchOfKeyThatIsNotThereDropsThem)
{
    EXPECT_EQ(nullptr, people.getRecordByKeyId(42));
    EXPECT_EQ("", held());
}

// Testing for a key

class TableHasRecordWithKeyIdTest : public PeopleAndPartsTest
{
};

TEST_F(TableHasRecordWithKeyIdTest, CountsTheRowsOfIntegerKey)
{
    EXPECT_TRUE(people.hasRecordWithKeyId(2));
    EXPECT_EQ(trace({counted("select count(*) from people where id = 2", 1)}), recorded());
}

TEST_F(TableHasRecordWithKeyIdTest, CountsTheRowsOfTextKey)
{
    EXPECT_TRUE(parts.hasRecordWithKeyId("A-17"));
    EXPECT_EQ(trace({counted("select count(*) from parts where id = \"A-17\"", 1)}), recorded());
}

TEST_F(TableHasRecordWithKeyIdTest, IntegerKeyThatIsNotThereIsFalse)
{
    EXPECT_FALSE(people.hasRecordWithKeyId(42));
    EXPECT_EQ(trace({counted("select count(*) from people where id = 42", 0)}), recorded());
}

TEST_F(TableHasRecordWithKeyIdTest, TextKeyThatIsNotThereIsFalse)
{
    EXPECT_FALSE(parts.hasRecordWithKeyId("A-18"));
    EXPECT_EQ(trace({counted("select count(*) from parts where id = \"A-18\"", 0)}), recorded());
}

TEST_F(TableHasRecordWithKeyIdTest, SeveralRowsAreAsGoodAsOne)
{
    run("drop table people; create table people (id, name, age);"
        "insert into people values (7, 'Eve', 1), (7, 'Fay', 2)");
    EXPECT_TRUE(people.hasRecordWithKeyId(7));
    EXPECT_EQ(trace({counted("select count(*) from people where id = 7", 2)}), recorded());
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
    EXPECT_EQ(trace({counted("select count(*) from people where age = 29", 1)}), recorded());
}

TEST_F(TableHasRecordWithKeyIdTest, IntegerKeyFindsText)
{
    EXPECT_TRUE(parts.hasRecordWithKeyId(42));
    EXPECT_EQ(trace({counted("select count(*) from parts where id = 42", 1)}), recorded());
}

TEST_F(TableHasRecordWithKeyIdTest, TextKeyFindsInteger)
{
    EXPECT_TRUE(people.hasRecordWithKeyId("2"));
    EXPECT_EQ(trace({counted("select count(*) from people where id = \"2\"", 1)}), recorded());
}

TEST_F(TableHasRecordWithKeyIdTest, NegativeKeyHasItsSign)
{
    EXPECT_FALSE(people.hasRecordWithKeyId(-5));
    EXPECT_EQ(trace({counted("select count(*) from people where id = -5", 0)}), recorded());
}

TEST_F(TableHasRecordWithKeyIdTest, LeastKeyIsFound)
{
    run("insert into people values (-9223372036854775808, 'Min', 1)");
    EXPECT_TRUE(people.hasRecordWithKeyId(least));
    EXPECT_EQ(trace({counted("select count(*) from people where id = -9223372036854775808", 1)}),
              recorded());
}

TEST_F(TableHasRecordWithKeyIdTest, GreatestKeyIsFound)
{
    run("insert into people values (9223372036854775807, 'Max', 1)");
    EXPECT_TRUE(people.hasRecordWithKeyId(greatest));
    EXPECT_EQ(trace({counted("select count(*) from people where id = 9223372036854775807", 1)}),
              recorded());
}

TEST_F(TableHasRecordWithKeyIdTest, TextKeyIsNotEscaped)
{
    EXPECT_FALSE(parts.hasRecordWithKeyId("A\"7"));
    EXPECT_EQ(trace({uncounted("select count(*) from parts where id = \"A\"7\"", nearSeven)}),
              recorded());
}

TEST_F(TableHasRecordWithKeyIdTest, TextKeyKeepsPercentSigns)
{
    EXPECT_FALSE(parts.hasRecordWithKeyId("100%s%n"));
    EXPECT_EQ(trace({counted("select count(*) from parts where id = \"100%s%n\"", 0)}), recorded());
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
        recorded());
}

TEST_F(TableHasRecordWithKeyIdTest, MissingConnectionIsReportedByTheCount)
{
    const Source common("SqlCommon");
    const std::string report =
        common.asserted("db", "int sql::queryNumber(sqlite3*, const string&)");
    sql::Table unconnected(nullptr, "people", personFields);
    EXPECT_FALSE(unconnected.hasRecordWithKeyId(2));
    EXPECT_FALSE(unconnected.hasRecordWithKeyId("2"));
    EXPECT_EQ(trace({report, report}), recorded());
}

TEST_F(TableKeyHeldRowsTest, TestForIntegerKeyLeavesThem)
{
    EXPECT_TRUE(people.hasRecordWithKeyId(3));
    EXPECT_EQ("1 2", held());
}

TEST_F(TableKeyHeldRowsTest, TestForTextKeyLeavesThem)
{
    EXPECT_TRUE(people.hasRecordWithKeyId("3"));
    EXPECT_EQ("1 2", held());
}

// Adding or updating

class TableAddOrUpdateRecordTest : public PeopleAndPartsTest
{
};

TEST_F(TableAddOrUpdateRecordTest, UpdatesTheRowOfIntegerKey)
{
    EXPECT_TRUE(people.addOrUpdateRecord(2, person(2, "Rob")));
    EXPECT_EQ(trace({
                  counted("select count(*) from people where id = 2", 1),
                  source.debug2("addOrUpdateRecord", "update record for key=%lld", 2LL),
                  queried("update people set name='Rob', age=null where id = 2"),
              }),
              recorded());
    EXPECT_EQ("Rob", nameOf("2"));
}

TEST_F(TableAddOrUpdateRecordTest, AddsRowForIntegerKeyThatIsNotThere)
{
    EXPECT_TRUE(people.addOrUpdateRecord(4, person(4, "Dan")));
    EXPECT_EQ(trace({
                  counted("select count(*) from people where id = 4", 0),
                  source.debug2("addOrUpdateRecord", "add record for key=%lld", 4LL),
                  queried("insert into people (id, name, age) values (4, 'Dan', null)"),
              }),
              recorded());
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
              recorded());
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
              recorded());
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
              recorded());
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
        recorded());
}

TEST_F(TableAddOrUpdateRecordTest, GreatestKeyIsLoggedInFull)
{
    EXPECT_TRUE(people.addOrUpdateRecord(greatest, person(greatest, "Max")));
    recorded();
    EXPECT_TRUE(people.addOrUpdateRecord(greatest, person(greatest, "Max")));
    EXPECT_EQ(trace({
                  counted("select count(*) from people where id = 9223372036854775807", 1),
                  source.debug2("addOrUpdateRecord", "update record for key=%lld", greatest),
                  queried("update people set name='Max', age=null where id = 9223372036854775807"),
              }),
              recorded());
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
              recorded());
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
              recorded());
}

TEST_F(TableAddOrUpdateRecordTest, AddsWhenTheCountOfTextKeyFails)
{
    EXPECT_TRUE(parts.addOrUpdateRecord("A\"7", part("A\"7", "Pin")));
    EXPECT_EQ(trace({
                  uncounted("select count(*) from parts where id = \"A\"7\"", nearSeven),
                  source.debug2("addOrUpdateRecord", "add record for key=%s", "A\"7"),
                  queried("insert into parts (id, name) values ('A\"7', 'Pin')"),
              }),
              recorded());
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
              recorded());
}

TEST_F(TableAddOrUpdateRecordTest, BranchIsLoggedAboveLevel7)
{
    setTraceLevel(8);
    EXPECT_TRUE(people.addOrUpdateRecord(4, person(4, "Dan")));
    EXPECT_EQ(trace({
                  counted("select count(*) from people where id = 4", 0),
                  source.debug2("addOrUpdateRecord", "add record for key=%lld", 4LL),
                  queried("insert into people (id, name, age) values (4, 'Dan', null)"),
              }),
              recorded());
}

TEST_F(TableAddOrUpdateRecordTest, NoBranchIsLoggedAtLevel7)
{
    setTraceLevel(7);
    EXPECT_TRUE(people.addOrUpdateRecord(4, person(4, "Dan")));
    EXPECT_TRUE(people.addOrUpdateRecord(4, person(4, "Dan")));
    EXPECT_TRUE(parts.addOrUpdateRecord("43", part("43", "Pin")));
    EXPECT_TRUE(people.addOrUpdateRecord("4", person(4, "Dan")));
    EXPECT_EQ(trace({}), recordedDiagnostics());
}

TEST_F(TableKeyHeldRowsTest, UpdateByIntegerKeyLeavesThem)
{
    EXPECT_TRUE(people.addOrUpdateRecord(2, person(2, "Rob")));
    EXPECT_EQ("1 2", held());
}

TEST_F(TableKeyHeldRowsTest, AddByIntegerKeyLeavesThem)
{
    EXPECT_TRUE(people.addOrUpdateRecord(4, person(4, "Dan")));
    EXPECT_EQ("1 2", held());
}

TEST_F(TableKeyHeldRowsTest, UpdateByTextKeyLeavesThem)
{
    EXPECT_TRUE(people.addOrUpdateRecord("2", person(2, "Rob")));
    EXPECT_EQ("1 2", held());
}

TEST_F(TableKeyHeldRowsTest, AddByTextKeyLeavesThem)
{
    EXPECT_TRUE(people.addOrUpdateRecord("4", person(4, "Dan")));
    EXPECT_EQ("1 2", held());
}

// Without a key column

class KeylessTableTest : public PeopleAndPartsTest
{
protected:
    KeylessTableTest() { recorded(); }

    // The reports of the column set and of the operation, in this order.
    static std::string noKey(const char* function, const char* signature)
    {
        return together({
            fieldset.error("getKeyIdName", "Failed to get name of PRIMARY KEY column"),
            fieldset.asserted("false", "sql::string sql::FieldSet::getKeyIdName() const"),
            source.error(function, "Failed to get name of PRIMARY KEY column"),
            source.asserted("false", signature),
        });
    }

    sql::Table keyless{db, "people", keylessFields};
};

TEST_F(KeylessTableTest, DeleteByTextKeyRunsNothing)
{
    EXPECT_FALSE(keyless.deleteRecord("1"));
    EXPECT_EQ(trace({noKey("deleteRecord", deleteByText)}), recorded());
}

TEST_F(KeylessTableTest, DeleteByIntegerKeyRunsNothing)
{
    EXPECT_FALSE(keyless.deleteRecord(1));
    EXPECT_EQ(trace({noKey("deleteRecord", deleteByInteger)}), recorded());
}

TEST_F(KeylessTableTest, FetchByTextKeyRunsNothing)
{
    EXPECT_EQ(nullptr, keyless.getRecordByKeyId("1"));
    EXPECT_EQ(trace({noKey("getRecordByKeyId", getByText)}), recorded());
}

TEST_F(KeylessTableTest, FetchByIntegerKeyRunsNothing)
{
    EXPECT_EQ(nullptr, keyless.getRecordByKeyId(1));
    EXPECT_EQ(trace({noKey("getRecordByKeyId", getByInteger)}), recorded());
}

TEST_F(KeylessTableTest, FetchLeavesTheRowsHeld)
{
    EXPECT_TRUE(keyless.open());
    EXPECT_EQ(nullptr, keyless.getRecordByKeyId(1));
    EXPECT_EQ(3, keyless.recordCount());
}

TEST_F(KeylessTableTest, TestForTextKeyRunsNothing)
{
    EXPECT_FALSE(keyless.hasRecordWithKeyId("1"));
    EXPECT_EQ(trace({noKey("hasRecordWithKeyId", hasByText)}), recorded());
}

TEST_F(KeylessTableTest, TestForIntegerKeyRunsNothing)
{
    EXPECT_FALSE(keyless.hasRecordWithKeyId(1));
    EXPECT_EQ(trace({noKey("hasRecordWithKeyId", hasByInteger)}), recorded());
}

TEST_F(KeylessTableTest, AddOrUpdateByTextKeyAdds)
{
    sql::Record dan(keyless.fields());
    dan.setString("name", "Dan");
    EXPECT_TRUE(keyless.addOrUpdateRecord("1", dan));
    EXPECT_EQ(trace({
                  noKey("hasRecordWithKeyId", hasByText),
                  source.debug2("addOrUpdateRecord", "add record for key=%s", "1"),
                  queried("insert into people (name, age) values ('Dan', null)"),
              }),
              recorded());
}

TEST_F(KeylessTableTest, AddOrUpdateByIntegerKeyAdds)
{
    sql::Record dan(keyless.fields());
    dan.setString("name", "Dan");
    EXPECT_TRUE(keyless.addOrUpdateRecord(1, dan));
    EXPECT_EQ(trace({
                  noKey("hasRecordWithKeyId", hasByInteger),
                  source.debug2("addOrUpdateRecord", "add record for key=%lld", 1LL),
                  queried("insert into people (name, age) values ('Dan', null)"),
              }),
              recorded());
}

TEST_F(KeylessTableTest, KeyIsMissedBeforeTheConnection)
{
    sql::Table named("people");
    EXPECT_FALSE(named.deleteRecord(1));
    EXPECT_EQ(trace({noKey("deleteRecord", deleteByInteger)}), recorded());
}

TEST_F(KeylessTableTest, ReportsAreMadeAtLevel2)
{
    setTraceLevel(2);
    EXPECT_FALSE(keyless.deleteRecord(1));
    EXPECT_EQ(trace({
                  fieldset.asserted("false", "sql::string sql::FieldSet::getKeyIdName() const"),
                  source.asserted("false", deleteByInteger),
              }),
              recorded());
}

TEST_F(KeylessTableTest, LinesAreWrittenAboveLevel2)
{
    setTraceLevel(3);
    EXPECT_EQ(nullptr, keyless.getRecordByKeyId("1"));
    EXPECT_EQ(trace({noKey("getRecordByKeyId", getByText)}), recorded());
}

} // namespace
