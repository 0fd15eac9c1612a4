#include "SqlTable.h"

#include <climits>
#include <ctime>

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

const char* const insertSignature = "sql::string sql::Record::toSqlInsert(const string&) const";
const char* const updateSignature = "sql::string sql::Record::toSqlUpdate(const string&) const";

const Refusal noPets = {1, "SQLITE_ERROR", "no such table: pets"};

// What is written comes back

class TableRoundTripTest : public PeopleAndPartsTest
{
protected:
    // The value of `name` in the row of a person, as it was read.
    const sql::Value* valueOf(sql::integer id, const char* name)
    {
        sql::Record* row = people.getRecordByKeyId(id);
        return row ? row->getValue(name) : nullptr;
    }
};

TEST_F(TableRoundTripTest, IntegersBeyond32BitsComeBack)
{
    for (sql::integer number :
         {2147483648LL, -2147483649LL, 4294967296LL, 1LL << 53, LLONG_MAX, LLONG_MIN}) {
        sql::Record row = person(9, "Zoe");
        row.setInteger("age", number);
        EXPECT_TRUE(people.addOrUpdateRecord(9, row));
        EXPECT_EQ(number, valueOf(9, "age")->asInteger());
        EXPECT_EQ(std::to_string(number), cell("select age from people where id = 9"));
    }
}

TEST_F(TableRoundTripTest, TextsOfBytesPast127ComeBack)
{
    std::string bytes;
    for (int byte = 128; byte < 256; ++byte)
        bytes += static_cast<char>(byte);
    EXPECT_TRUE(people.addRecord(person(9, bytes.c_str())));
    EXPECT_EQ(bytes, valueOf(9, "name")->asString());
    EXPECT_EQ("128", cell("select length(cast(name as blob)) from people where id = 9"));
}

TEST_F(TableRoundTripTest, TextKeyOfBytesPast127IsFound)
{
    const char* const key = "\x80 \xc3\xa4 \xff";
    EXPECT_TRUE(parts.addRecord(part(key, "Washer")));
    EXPECT_TRUE(parts.hasRecordWithKeyId(key));
    const sql::Record* const row = parts.getRecordByKeyId(key);
    ASSERT_TRUE(row);
    EXPECT_EQ(key, row->getKeyIdValue()->asString());
    EXPECT_TRUE(parts.deleteRecord(key));
    EXPECT_FALSE(parts.hasRecordWithKeyId(key));
}

// The cell keeps what a Time of 32 bits cannot hold.
TEST_F(TableRoundTripTest, TimesBeyond32BitsComeBackAsIntegers)
{
    const sql::Field birthFields[] = {
        sql::Field("id", sql::type_int, sql::flag_primary_key),
        sql::Field("born", sql::type_time, 0),
        sql::Field(),
    };
    run("create table births (id integer primary key, born integer);"
        "insert into births values (1, 4294967301), (2, -4294967301)");
    sql::Table births(db, "births", birthFields);
    EXPECT_TRUE(births.open("", "id"));
    const sql::Value* const late = births.getRecord(0)->getValue("born");
    const sql::Value* const early = births.getRecord(1)->getValue("born");
    EXPECT_EQ(4294967301, late->asInteger());
    EXPECT_EQ(-4294967301, early->asInteger());
    EXPECT_EQ("4294967301", late->toSql(sql::type_time));
    EXPECT_EQ(sizeof(time_t) == 4 ? 5 : 4294967301, late->asTime().asInteger());
    EXPECT_EQ(sizeof(time_t) == 4 ? -5 : -4294967301, early->asTime().asInteger());
}

// What the operations do to the rows held

class TableRecordHeldRowsTest : public PeopleAndPartsTest
{
protected:
    TableRecordHeldRowsTest() { hold(); }
};

// Adding

class TableAddRecordTest : public PeopleAndPartsTest
{
};

TEST_F(TableAddRecordTest, RunsTheInsertOfTheRecord)
{
    EXPECT_TRUE(people.addRecord(person(4, "Dan")));
    EXPECT_EQ(trace({queried("insert into people (id, name, age) values (4, 'Dan', null)")}),
              takeEvents());
    EXPECT_EQ("Dan", nameOf("4"));
}

TEST_F(TableAddRecordTest, QuotesTextKey)
{
    EXPECT_TRUE(parts.addRecord(part("A'18\"", "100%s")));
    EXPECT_EQ(trace({queried("insert into parts (id, name) values ('A''18\"', '100%s')")}),
              takeEvents());
    EXPECT_EQ("100%s", cell("select name from parts where id = 'A''18\"'"));
}

TEST_F(TableAddRecordTest, KeyThatIsThereIsRefused)
{
    EXPECT_FALSE(people.addRecord(person(1, "Eve")));
    EXPECT_EQ(trace({refused("insert into people (id, name, age) values (1, 'Eve', null)",
                             {19, "SQLITE_CONSTRAINT", "UNIQUE constraint failed: people.id"})}),
              takeEvents());
    EXPECT_EQ("Ada", nameOf("1"));
}

TEST_F(TableAddRecordTest, NullKeyIsNumberedBySqlite)
{
    sql::Record keyless = person(0, "Dan");
    keyless.setNull("id");
    EXPECT_TRUE(people.addRecord(keyless));
    EXPECT_EQ("Dan", nameOf("4"));
}

TEST_F(TableAddRecordTest, NeedsNoKeyColumn)
{
    sql::Table keyless(db, "people", keylessFields);
    sql::Record dan(keyless.fields());
    dan.setString("name", "Dan");
    forgetEvents();
    EXPECT_TRUE(keyless.addRecord(dan));
    EXPECT_EQ(trace({queried("insert into people (name, age) values ('Dan', null)")}),
              takeEvents());
}

TEST_F(TableAddRecordTest, RecordBringsItsOwnColumns)
{
    EXPECT_TRUE(people.addRecord(part("9", "Nut")));
    EXPECT_EQ(trace({queried("insert into people (id, name) values ('9', 'Nut')")}), takeEvents());
}

TEST_F(TableAddRecordTest, TableThatIsNotThereFails)
{
    EXPECT_FALSE(pets.addRecord(person(4, "Dan")));
    EXPECT_EQ(trace({refused("insert into pets (id, name, age) values (4, 'Dan', null)", noPets)}),
              takeEvents());
}

TEST_F(TableAddRecordTest, RecordWithoutColumnsRunsNothing)
{
    const sql::FieldSet none(noFields);
    EXPECT_FALSE(people.addRecord(sql::Record(none)));
    EXPECT_EQ(trace({
                  record.error("toSqlInsert", "No fields to insert in table '%s'", "people"),
                  record.asserted("false", insertSignature),
                  source.error("addRecord", "Failed to build SQL INSERT statement for table '%s'",
                               "people"),
              }),
              takeEvents());
}

TEST_F(TableAddRecordTest, RecordOfUnnumberedColumnsRunsNothing)
{
    const sql::FieldSet unnumbered(std::vector<sql::Field>{sql::Field("id", sql::type_int, 2)});
    EXPECT_FALSE(people.addRecord(sql::Record(unnumbered)));
    EXPECT_EQ(trace({
                  record.error("getValue", "No value for column with index %d", -1),
                  record.asserted("false", "const sql::Value* sql::Record::getValue(int) const"),
                  record.error("toSql", "field with index %d does not have value", 0),
                  record.asserted("false", "sql::string sql::Record::toSql() const"),
                  record.error("toSqlInsert", "No values to insert in table '%s'", "people"),
                  record.asserted("false", insertSignature),
                  source.error("addRecord", "Failed to build SQL INSERT statement for table '%s'",
                               "people"),
              }),
              takeEvents());
}

TEST_F(TableAddRecordTest, TableWithoutNameRunsNothing)
{
    sql::Table nameless(db, "", personFields);
    EXPECT_FALSE(nameless.addRecord(person(4, "Dan")));
    EXPECT_EQ(
        trace({
            record.error("toSqlInsert", "No table name given"),
            record.asserted("false", insertSignature),
            source.error("addRecord", "Failed to build SQL INSERT statement for table '%s'", ""),
        }),
        takeEvents());
}

TEST_F(TableAddRecordTest, RecordThatCannotBeRenderedIsNotLoggedAtLevel2)
{
    setTraceLevel(2);
    const sql::FieldSet none(noFields);
    EXPECT_FALSE(people.addRecord(sql::Record(none)));
    EXPECT_EQ(trace({record.asserted("false", insertSignature)}), takeEvents());
}

TEST_F(TableAddRecordTest, RecordThatCannotBeRenderedIsLoggedAboveLevel2)
{
    setTraceLevel(3);
    const sql::FieldSet none(noFields);
    EXPECT_FALSE(people.addRecord(sql::Record(none)));
    EXPECT_EQ(trace({
                  record.error("toSqlInsert", "No fields to insert in table '%s'", "people"),
                  record.asserted("false", insertSignature),
                  source.error("addRecord", "Failed to build SQL INSERT statement for table '%s'",
                               "people"),
              }),
              takeEvents());
}

TEST_F(TableAddRecordTest, MissingConnectionIsReportedByTheStatement)
{
    sql::Table unconnected(nullptr, "people", personFields);
    EXPECT_FALSE(unconnected.addRecord(person(4, "Dan")));
    EXPECT_EQ(trace({notConnected()}), takeEvents());
}

TEST_F(TableRecordHeldRowsTest, AddLeavesThem)
{
    EXPECT_TRUE(people.addRecord(person(4, "Dan")));
    EXPECT_EQ("1 2", held());
}

TEST_F(TableRecordHeldRowsTest, FailingAddLeavesThem)
{
    EXPECT_FALSE(people.addRecord(person(1, "Eve")));
    EXPECT_EQ("1 2", held());
}

TEST_F(TableRecordHeldRowsTest, AddOfRecordThatCannotBeRenderedLeavesThem)
{
    const sql::FieldSet none(noFields);
    EXPECT_FALSE(people.addRecord(sql::Record(none)));
    EXPECT_EQ("1 2", held());
}

// Updating

class TableUpdateRecordTest : public PeopleAndPartsTest
{
};

TEST_F(TableUpdateRecordTest, RunsTheUpdateOfTheRecord)
{
    EXPECT_TRUE(people.updateRecord(person(2, "Rob")));
    EXPECT_EQ(trace({queried("update people set name='Rob', age=null where id = 2")}),
              takeEvents());
    EXPECT_EQ("Rob", nameOf("2"));
    EXPECT_EQ("Ada", nameOf("1"));
}

TEST_F(TableUpdateRecordTest, WritesRowHeldBack)
{
    EXPECT_TRUE(people.open("id = 3"));
    people.getTopRecord()->setInteger("age", 42);
    EXPECT_TRUE(people.updateRecord(*people.getTopRecord()));
    EXPECT_EQ("42", cell("select age from people where id = 3"));
}

TEST_F(TableUpdateRecordTest, SucceedsWithoutSuchRow)
{
    EXPECT_TRUE(people.updateRecord(person(9, "Max")));
    EXPECT_EQ("3", cell("select count(*) from people"));
}

TEST_F(TableUpdateRecordTest, TextKeyIsReportedAndWrittenUnquoted)
{
    EXPECT_FALSE(parts.updateRecord(part("A17", "Screw")));
    EXPECT_EQ(trace({
                  record.asserted("value->getType() == type_int", updateSignature),
                  refused("update parts set name='Screw' where id = A17",
                          {1, "SQLITE_ERROR", "no such column: A17"}),
              }),
              takeEvents());
}

TEST_F(TableUpdateRecordTest, TextKeyOfDigitsIsReportedAndFound)
{
    EXPECT_TRUE(parts.updateRecord(part("42", "Screw")));
    EXPECT_EQ(trace({
                  record.asserted("value->getType() == type_int", updateSignature),
                  queried("update parts set name='Screw' where id = 42"),
              }),
              takeEvents());
    EXPECT_EQ("Screw", cell("select name from parts where id = '42'"));
}

TEST_F(TableUpdateRecordTest, KeyAsLastColumnLeavesCommaThatSqliteRefuses)
{
    const sql::Field fields[] = {
        sql::Field("name", sql::type_text, 0),
        sql::Field("id", sql::type_int, sql::flag_primary_key),
        sql::Field(),
    };
    sql::Table swapped(db, "people", fields);
    EXPECT_FALSE(swapped.updateRecord(person(swapped, 2, "Rob")));
    EXPECT_EQ(trace({refused("update people set name='Rob',  where id = 2",
                             {1, "SQLITE_ERROR", "near \"where\": syntax error"})}),
              takeEvents());
}

TEST_F(TableUpdateRecordTest, MissingKeyColumnRunsNothing)
{
    sql::Table keyless(db, "people", keylessFields);
    forgetEvents();
    EXPECT_FALSE(keyless.updateRecord(sql::Record(keyless.fields())));
    EXPECT_EQ(trace({
                  fieldset.error("getKeyIdName", "Failed to get name of PRIMARY KEY column"),
                  fieldset.asserted("false", "sql::string sql::FieldSet::getKeyIdName() const"),
                  record.error("toSqlUpdate",
                               "Failed to get name of PRIMARY KEY column for table %s", "people"),
                  record.asserted("false", updateSignature),
                  source.error("updateRecord",
                               "Failed to build SQL UPDATE statement for table '%s'", "people"),
              }),
              takeEvents());
}

TEST_F(TableUpdateRecordTest, TableWithoutNameRunsNothing)
{
    sql::Table nameless(db, "", personFields);
    EXPECT_FALSE(nameless.updateRecord(person(2, "Rob")));
    EXPECT_EQ(
        trace({
            record.error("toSqlUpdate", "No table name given"),
            record.asserted("false", updateSignature),
            source.error("updateRecord", "Failed to build SQL UPDATE statement for table '%s'", ""),
        }),
        takeEvents());
}

TEST_F(TableUpdateRecordTest, RecordThatCannotBeRenderedIsNotLoggedAtLevel2)
{
    setTraceLevel(2);
    sql::Table nameless(db, "", personFields);
    EXPECT_FALSE(nameless.updateRecord(person(2, "Rob")));
    EXPECT_EQ(trace({record.asserted("false", updateSignature)}), takeEvents());
}

TEST_F(TableUpdateRecordTest, RefusedStatementFails)
{
    EXPECT_FALSE(pets.updateRecord(person(2, "Rob")));
    EXPECT_EQ(trace({refused("update pets set name='Rob', age=null where id = 2", noPets)}),
              takeEvents());
}

TEST_F(TableUpdateRecordTest, MissingConnectionIsReportedByTheStatement)
{
    sql::Table unconnected(nullptr, "people", personFields);
    EXPECT_FALSE(unconnected.updateRecord(person(2, "Rob")));
    EXPECT_EQ(trace({notConnected()}), takeEvents());
}

TEST_F(TableRecordHeldRowsTest, UpdateLeavesThem)
{
    EXPECT_TRUE(people.updateRecord(person(2, "Rob")));
    EXPECT_EQ("1 2", held());
    EXPECT_EQ("Bob", people.getRecord(1)->getValue("name")->asString());
}

TEST_F(TableRecordHeldRowsTest, FailingUpdateLeavesThem)
{
    run("drop table people");
    EXPECT_FALSE(people.updateRecord(person(2, "Rob")));
    EXPECT_EQ("1 2", held());
}

// Deleting by condition

class TableDeleteRecordsTest : public PeopleAndPartsTest
{
};

TEST_F(TableDeleteRecordsTest, DeletesTheRowsOfCondition)
{
    EXPECT_TRUE(people.deleteRecords("age > 30"));
    EXPECT_EQ(trace({queried("delete from people where age > 30")}), takeEvents());
    EXPECT_EQ("Bob", cell("select name from people"));
}

TEST_F(TableDeleteRecordsTest, EmptyConditionDeletesEveryRow)
{
    EXPECT_TRUE(people.deleteRecords(""));
    EXPECT_EQ(trace({queried("delete from people")}), takeEvents());
    EXPECT_EQ("0", cell("select count(*) from people"));
}

TEST_F(TableDeleteRecordsTest, ConditionStandsAsItIs)
{
    EXPECT_TRUE(people.deleteRecords("name like '%d%s' or name = 'Bob'"));
    EXPECT_EQ(trace({queried("delete from people where name like '%d%s' or name = 'Bob'")}),
              takeEvents());
    EXPECT_EQ("2", cell("select count(*) from people"));
}

TEST_F(TableDeleteRecordsTest, RowsThatTheConditionReturnsAreLaidOutByTheTable)
{
    EXPECT_TRUE(people.deleteRecords("id < 3 returning id, name"));
    EXPECT_EQ(trace({queried("delete from people where id < 3 returning id, name",
                             {"id = 1|name = Ada|age = null", "id = 2|name = Bob|age = null"})}),
              takeEvents());
    EXPECT_EQ(0, people.recordCount());
}

TEST_F(TableDeleteRecordsTest, ConditionOfAnyLengthStandsWhole)
{
    for (int length = 1; length <= 1000; ++length) {
        const std::string condition = "id = " + std::string(static_cast<size_t>(length), '9');
        EXPECT_TRUE(people.deleteRecords(condition));
        EXPECT_EQ(trace({queried("delete from people where " + condition)}), takeEvents());
    }
}

TEST_F(TableDeleteRecordsTest, SucceedsWithoutMatch)
{
    EXPECT_TRUE(people.deleteRecords("id = 9"));
    EXPECT_EQ("3", cell("select count(*) from people"));
}

TEST_F(TableDeleteRecordsTest, NeedsNoKeyColumn)
{
    sql::Table keyless(db, "people", keylessFields);
    forgetEvents();
    EXPECT_TRUE(keyless.deleteRecords("id = 1"));
    EXPECT_EQ(trace({queried("delete from people where id = 1")}), takeEvents());
}

TEST_F(TableDeleteRecordsTest, RefusedConditionFails)
{
    EXPECT_FALSE(people.deleteRecords("height > 2"));
    EXPECT_EQ(trace({refused("delete from people where height > 2",
                             {1, "SQLITE_ERROR", "no such column: height"})}),
              takeEvents());
}

TEST_F(TableDeleteRecordsTest, MissingConnectionIsReportedByTheStatement)
{
    EXPECT_FALSE(sql::Table("people").deleteRecords(""));
    EXPECT_EQ(trace({notConnected()}), takeEvents());
}

TEST_F(TableRecordHeldRowsTest, DeleteByConditionLeavesThem)
{
    EXPECT_TRUE(people.deleteRecords("id = 1"));
    EXPECT_EQ("1 2", held());
}

TEST_F(TableRecordHeldRowsTest, DeleteOfEveryRowLeavesThem)
{
    EXPECT_TRUE(people.deleteRecords(""));
    EXPECT_EQ("1 2", held());
}

// Names that SQL would have quoted

class TableNameTest : public PeopleAndPartsTest
{
};

TEST_F(TableNameTest, PercentSignsStandInStatementsAsTheyAre)
{
    run("create table \"100%s\" (id integer primary key, name text, age integer)");
    sql::Table quoted(db, "\"100%s\"", personFields);
    EXPECT_TRUE(quoted.addRecord(person(1, "Ada")));
    EXPECT_TRUE(quoted.deleteRecord(1));
    EXPECT_EQ(trace({
                  queried("insert into \"100%s\" (id, name, age) values (1, 'Ada', null)"),
                  queried("delete from \"100%s\" where id = 1"),
              }),
              takeEvents());
}

TEST_F(TableNameTest, PercentSignsStandInErrorsAsTheyAre)
{
    sql::Table quoted(db, "100%s", personFields);
    const sql::FieldSet none(noFields);
    EXPECT_FALSE(quoted.addRecord(sql::Record(none)));
    EXPECT_EQ(trace({
                  record.error("toSqlInsert", "No fields to insert in table '%s'", "100%s"),
                  record.asserted("false", insertSignature),
                  source.error("addRecord", "Failed to build SQL INSERT statement for table '%s'",
                               "100%s"),
              }),
              takeEvents());
}

} // namespace
