#include "SqlTable.h"

#include <memory>

#include <gtest/gtest.h>

#include "support/People.h"
#include "support/Statements.h"
#include "support/World.h"

using namespace sqltest;

namespace
{

const Source source("SqlTable");
const Source fieldset("SqlFieldSet");

const char* const existsSignature = "bool sql::Table::exists()";
const char* const createSignature = "bool sql::Table::create()";
const char* const definitionSignature = "sql::string sql::Table::getDefinition() const";
const char* const countSignature = "int sql::Table::totalRecordCount() const";
const char* const initSignature = "bool sql::FieldSet::initFieldSet(const sql::Field*)";

const sql::Field floatKeyFields[] = {
    sql::Field("id", sql::type_float, sql::flag_primary_key),
    sql::Field(),
};

const std::string definition =
    "CREATE TABLE people (id INTEGER PRIMARY KEY, name TEXT NOT NULL, age INTEGER)";

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
    EXPECT_EQ(trace({}), recorded());
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
    EXPECT_EQ(trace({}), recorded());
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
    EXPECT_EQ(trace({}), recorded());
}

TEST_F(TableObjectTest, ArrayWithoutKeyIsReportedByTheColumnSetAndKept)
{
    const sql::Table keyless(db, "people", keylessFields);
    EXPECT_EQ(2, keyless.fields().count());
    EXPECT_EQ(trace({fieldset.asserted("false", initSignature)}), recorded());
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
        recorded());
}

TEST_F(TableObjectTest, EndLeavesTheConnectionOpen)
{
    {
        const sql::Table ending(db, "people", personFields);
    }
    EXPECT_EQ(trace({}), recorded());
}

TEST_F(TableObjectTest, CopyHoldsRowsOfItsOwn)
{
    hold();
    sql::Table copy(people);
    EXPECT_TRUE(people.open("id = 3"));
    EXPECT_EQ(2, copy.recordCount());
    EXPECT_EQ("Bob", copy.getRecord(1)->getValue("name")->asString());
}

TEST_F(TableObjectTest, CopyGivesItsRowsItsOwnColumns)
{
    hold();
    sql::Table copy(people);
    EXPECT_EQ(&copy.fields(), copy.getRecord(0)->fields());
    EXPECT_EQ(&people.fields(), people.getRecord(0)->fields());
}

TEST_F(TableObjectTest, CopyOutlivesWhatItWasCopiedFrom)
{
    auto original = std::make_unique<sql::Table>(db, "people", personFields);
    EXPECT_TRUE(original->open());
    sql::Table copy(*original);
    original.reset();
    EXPECT_EQ(db, copy.getHandle());
    EXPECT_EQ("people", copy.name());
    EXPECT_EQ("Cid", copy.getRecord(2)->getValue("name")->asString());
}

TEST_F(TableObjectTest, AssignmentTakesNameHandleColumnsAndRows)
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

TEST_F(TableObjectTest, AssignedTableCanBeRead)
{
    sql::Table assigned("other");
    assigned = people;
    EXPECT_TRUE(assigned.open());
    EXPECT_EQ("1 2 3", held(assigned));
}

// Completing a table object

class TableInitTest : public PeopleTest
{
};

TEST_F(TableInitTest, CompletesTableMadeByNameAlone)
{
    sql::Table named("people");
    EXPECT_TRUE(named.initTable(db, personFields));
    EXPECT_EQ(trace({}), recorded());
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
    recorded();
    EXPECT_FALSE(people.open());
    EXPECT_EQ(trace({notConnected()}), recorded());
    EXPECT_EQ(-1, people.totalRecordCount());
    EXPECT_EQ(trace({source.asserted("_db", countSignature)}), recorded());
}

TEST_F(TableInitTest, FailsWithoutKeyAndKeepsTheColumns)
{
    sql::Table named("people");
    EXPECT_FALSE(named.initTable(db, keylessFields));
    EXPECT_EQ(trace({fieldset.asserted("false", initSignature)}), recorded());
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
        recorded());
}

// Whether the table exists

class TableExistsTest : public PeopleTest
{
};

TEST_F(TableExistsTest, IsTrueForTableOfTheDatabase)
{
    EXPECT_TRUE(people.exists());
    EXPECT_EQ(trace({
                  counted("select count(*) from sqlite_master where type = 'table' and name = "
                          "'people'",
                          1),
                  source.debug2("exists", "Table '%s' exists", "people"),
              }),
              recorded());
}

TEST_F(TableExistsTest, IsFalseForTableThatIsNotThere)
{
    EXPECT_FALSE(sql::Table(db, "pets", personFields).exists());
    EXPECT_EQ(trace({
                  counted("select count(*) from sqlite_master where type = 'table' and name = "
                          "'pets'",
                          0),
                  source.debug2("exists", "Table '%s' does not exist", "pets"),
              }),
              recorded());
}

TEST_F(TableExistsTest, IsTrueWhenTheCountFails)
{
    const CountsRefused counts(db);
    EXPECT_TRUE(people.exists());
    EXPECT_EQ(trace({
                  uncounted(existenceQuery("people"), CountsRefused::refusal),
                  source.error("exists", "Failed to determine if table '%s' exists", "people"),
              }),
              recorded());
}

TEST_F(TableExistsTest, IsTrueWhenTheCountOfTableThatIsNotThereFails)
{
    const CountsRefused counts(db);
    EXPECT_TRUE(sql::Table(db, "pets", personFields).exists());
}

TEST_F(TableExistsTest, AnyOtherCountIsTakenAsFailure)
{
    run("create table pets (id integer)");
    const char* const name = "people' or name = 'pets"; // which leaves the literal
    EXPECT_TRUE(sql::Table(db, name, personFields).exists());
    EXPECT_EQ(trace({
                  counted(existenceQuery(name), 2),
                  source.error("exists", "Failed to determine if table '%s' exists", name),
              }),
              recorded());
}

TEST_F(TableExistsTest, QuoteInTheNameIsNotEscaped)
{
    EXPECT_TRUE(sql::Table(db, "it's", personFields).exists());
    EXPECT_EQ(trace({undetermined("it's", {1, "SQLITE_ERROR", "near \"s\": syntax error"})}),
              recorded());
}

TEST_F(TableExistsTest, NameOfAnyLengthIsAskedForWhole)
{
    for (std::string::size_type length = 1; length <= 1000; ++length) {
        const std::string name(length, 'x');
        EXPECT_FALSE(sql::Table(db, name, noFields).exists());
        EXPECT_EQ(trace({missed(name)}), recorded());
    }
}

TEST_F(TableExistsTest, PercentSignsOfTheNameStandAsTheyAre)
{
    EXPECT_FALSE(sql::Table(db, "100%s%n", personFields).exists());
    EXPECT_EQ(trace({missed("100%s%n")}), recorded());
}

TEST_F(TableExistsTest, ViewIsNoTable)
{
    run("create view adults as select * from people");
    EXPECT_FALSE(sql::Table(db, "adults", personFields).exists());
}

TEST_F(TableExistsTest, IndexIsNoTable)
{
    run("create index ages on people (age)");
    EXPECT_FALSE(sql::Table(db, "ages", personFields).exists());
}

TEST_F(TableExistsTest, TemporaryTableIsNotLookedFor)
{
    run("create temp table notes (id integer)");
    EXPECT_FALSE(sql::Table(db, "notes", personFields).exists());
}

TEST_F(TableExistsTest, NameIsComparedByCase)
{
    EXPECT_FALSE(sql::Table(db, "People", personFields).exists());
}

TEST_F(TableExistsTest, ColumnsAreNotLookedAt)
{
    EXPECT_TRUE(sql::Table(db, "people", noFields).exists());
}

TEST_F(TableExistsTest, MissingConnectionIsReportedWithoutCallingSqlite)
{
    EXPECT_FALSE(sql::Table("people").exists());
    EXPECT_EQ(trace({source.asserted("_db", existsSignature)}), recorded());
}

TEST_F(TableExistsTest, ResultIsLoggedAboveLevel7)
{
    setTraceLevel(8);
    EXPECT_TRUE(people.exists());
    EXPECT_EQ(trace({found("people")}), recorded());
}

TEST_F(TableExistsTest, ResultIsNotLoggedAtLevel7)
{
    setTraceLevel(7);
    EXPECT_TRUE(people.exists());
    EXPECT_FALSE(sql::Table(db, "pets", personFields).exists());
    EXPECT_EQ(trace({}), recordedDiagnostics());
}

TEST_F(TableExistsTest, FailureIsNotLoggedAtLevel2)
{
    setTraceLevel(2);
    const CountsRefused counts(db);
    EXPECT_TRUE(people.exists());
    EXPECT_EQ(trace({}), recordedDiagnostics());
}

TEST_F(TableExistsTest, FailureIsLoggedAboveLevel2)
{
    setTraceLevel(3);
    const CountsRefused counts(db);
    EXPECT_TRUE(people.exists());
    EXPECT_NE(std::string::npos,
              recordedDiagnostics().find(
                  source.error("exists", "Failed to determine if table '%s' exists", "people")));
}

// Creating the table

class TableCreateTest : public PeopleTest
{
protected:
    static std::string noDefinition(const char* name)
    {
        return together({
            source.error("getDefinition", "Failed to build SQL CREATE TABLE stmt for table %s",
                         name),
            source.asserted("false", definitionSignature),
            source.error("create", "Failed to build SQL CREATE TABLE stmt for table %s", name),
            source.asserted("false", createSignature),
        });
    }
};

TEST_F(TableCreateTest, RunsTheDefinitionWhenTheTableIsNotThere)
{
    run("drop table people");
    EXPECT_TRUE(people.create());
    EXPECT_EQ(trace({missed("people"), queried(definition)}), recorded());
    EXPECT_EQ(definition, cell("select sql from sqlite_master"));
}

TEST_F(TableCreateTest, LeavesTableThatExists)
{
    EXPECT_TRUE(people.create());
    EXPECT_EQ(trace({found("people")}), recorded());
    EXPECT_EQ("3", cell("select count(*) from people"));
}

TEST_F(TableCreateTest, LeavesTableThatExistsWithOtherColumns)
{
    run("drop table people; create table people (nickname text)");
    EXPECT_TRUE(people.create());
    EXPECT_EQ(trace({found("people")}), recorded());
    EXPECT_EQ("CREATE TABLE people (nickname text)", cell("select sql from sqlite_master"));
}

TEST_F(TableCreateTest, LeavesTableThatExistsEvenWithoutColumns)
{
    EXPECT_TRUE(sql::Table(db, "people", noFields).create());
    EXPECT_EQ(trace({found("people")}), recorded());
}

TEST_F(TableCreateTest, CreatesNothingWhenExistenceCannotBeDetermined)
{
    const CountsRefused counts(db);
    EXPECT_TRUE(sql::Table(db, "pets", personFields).create());
    EXPECT_EQ(trace({undetermined("pets", CountsRefused::refusal)}), recorded());
    EXPECT_EQ("(none)", cell("select name from sqlite_master where name = 'pets'"));
}

TEST_F(TableCreateTest, MissingColumnsGiveTwoLinesAndTwoReports)
{
    EXPECT_FALSE(sql::Table(db, "pets", noFields).create());
    EXPECT_EQ(trace({missed("pets"), noDefinition("pets")}), recorded());
}

TEST_F(TableCreateTest, MissingColumnsAreReportedAtLevel2)
{
    setTraceLevel(2);
    EXPECT_FALSE(sql::Table(db, "pets", noFields).create());
    EXPECT_EQ(trace({
                  source.asserted("false", definitionSignature),
                  source.asserted("false", createSignature),
              }),
              recordedDiagnostics());
}

TEST_F(TableCreateTest, MissingColumnsAreLoggedAboveLevel2)
{
    setTraceLevel(3);
    EXPECT_FALSE(sql::Table(db, "pets", noFields).create());
    EXPECT_EQ(trace({noDefinition("pets")}), recordedDiagnostics());
}

TEST_F(TableCreateTest, RefusedDefinitionFails)
{
    EXPECT_FALSE(sql::Table(db, "100%s", personFields).create());
    EXPECT_EQ(
        trace({
            missed("100%s"),
            refused("CREATE TABLE 100%s (id INTEGER PRIMARY KEY, name TEXT NOT NULL, age INTEGER)",
                    {1, "SQLITE_ERROR", "near \"100\": syntax error"}),
        }),
        recorded());
}

TEST_F(TableCreateTest, TwoKeyColumnsAreRefusedBySqlite)
{
    const sql::Field pairFields[] = {
        sql::Field("a", sql::type_int, sql::flag_primary_key),
        sql::Field("b", sql::type_text, sql::flag_primary_key),
        sql::Field(),
    };
    EXPECT_FALSE(sql::Table(db, "pair", pairFields).create());
    EXPECT_EQ(trace({
                  missed("pair"),
                  refused("CREATE TABLE pair (a INTEGER PRIMARY KEY, b TEXT PRIMARY KEY)",
                          {1, "SQLITE_ERROR", "table \"pair\" has more than one primary key"}),
              }),
              recorded());
}

TEST_F(TableCreateTest, NameThatDiffersInCaseAloneIsRefusedBySqlite)
{
    EXPECT_FALSE(sql::Table(db, "People", personFields).create());
    EXPECT_EQ("(none)", cell("select name from sqlite_master where name = 'People'"));
}

TEST_F(TableCreateTest, NameOfViewIsRefusedBySqlite)
{
    run("create view adults as select * from people");
    EXPECT_FALSE(sql::Table(db, "adults", personFields).create());
}

TEST_F(TableCreateTest, MissingConnectionIsReportedByTheTestAndByTheStatement)
{
    EXPECT_FALSE(sql::Table(nullptr, "people", personFields).create());
    EXPECT_EQ(trace({source.asserted("_db", existsSignature), notConnected()}), recorded());
}

TEST_F(TableCreateTest, NameAloneIsReportedForItsColumnsToo)
{
    EXPECT_FALSE(sql::Table("people").create());
    EXPECT_EQ(trace({source.asserted("_db", existsSignature), noDefinition("people")}), recorded());
}

// The definition

class TableDefinitionTest : public PeopleTest
{
};

TEST_F(TableDefinitionTest, ListsTheColumns)
{
    const sql::Field fields[] = {
        sql::Field("id", sql::type_int, sql::flag_primary_key),
        sql::Field("name", sql::type_text, sql::flag_not_null),
        sql::Field(),
    };
    EXPECT_EQ("CREATE TABLE people (id INTEGER PRIMARY KEY, name TEXT NOT NULL)",
              sql::Table(db, "people", fields).getDefinition());
    EXPECT_EQ(trace({}), recorded());
}

TEST_F(TableDefinitionTest, NeedsNoConnection)
{
    EXPECT_EQ(definition, sql::Table(nullptr, "people", personFields).getDefinition());
    EXPECT_EQ(trace({}), recorded());
}

TEST_F(TableDefinitionTest, IsThatOfTheColumnSetNotOfTheDatabase)
{
    run("alter table people add column mail text");
    EXPECT_EQ(definition, people.getDefinition());
}

TEST_F(TableDefinitionTest, NameStandsAsItIs)
{
    EXPECT_EQ("CREATE TABLE \"it's 100%s\" (name TEXT, age INTEGER)",
              sql::Table(db, "\"it's 100%s\"", keylessFields).getDefinition());
}

TEST_F(TableDefinitionTest, MissingColumnsAreReported)
{
    EXPECT_EQ("", sql::Table(db, "pets", noFields).getDefinition());
    EXPECT_EQ(trace({
                  source.error("getDefinition",
                               "Failed to build SQL CREATE TABLE stmt for table %s", "pets"),
                  source.asserted("false", definitionSignature),
              }),
              recorded());
}

// The columns for people

class TableToStringTest : public PeopleTest
{
};

TEST_F(TableToStringTest, NumbersTheColumnsFrom1)
{
    const sql::Field fields[] = {
        sql::Field("id", sql::type_int, sql::flag_primary_key),
        sql::Field("name", sql::type_text, sql::flag_not_null),
        sql::Field(),
    };
    EXPECT_EQ("1. id INTEGER PRIMARY KEY\r\n2. name TEXT NOT NULL",
              sql::Table(db, "people", fields).toString());
    EXPECT_EQ(trace({}), recorded());
}

TEST_F(TableToStringTest, OneColumnHasNoLineBreak)
{
    const sql::Field fields[] = {
        sql::Field("id", sql::type_int, sql::flag_primary_key),
        sql::Field(),
    };
    EXPECT_EQ("1. id INTEGER PRIMARY KEY", sql::Table(db, "people", fields).toString());
}

TEST_F(TableToStringTest, NoColumnsGiveTheEmptyText)
{
    EXPECT_EQ("", sql::Table("people").toString());
    EXPECT_EQ(trace({}), recorded());
}

// Emptying and dropping the table

class TableTruncateTest : public PeopleTest
{
};

TEST_F(TableTruncateTest, DeletesEveryRow)
{
    EXPECT_TRUE(people.truncate());
    EXPECT_EQ(trace({queried("delete from people")}), recorded());
    EXPECT_EQ("0", cell("select count(*) from people"));
}

TEST_F(TableTruncateTest, EmptyTableStaysEmpty)
{
    run("delete from people");
    EXPECT_TRUE(people.truncate());
    EXPECT_EQ("0", cell("select count(*) from people"));
}

TEST_F(TableTruncateTest, AddsNoLineToTheFailure)
{
    EXPECT_FALSE(sql::Table(db, "pets", personFields).truncate());
    EXPECT_EQ(trace({refused("delete from pets", {1, "SQLITE_ERROR", "no such table: pets"})}),
              recorded());
}

TEST_F(TableTruncateTest, MissingConnectionIsReportedByTheStatement)
{
    EXPECT_FALSE(sql::Table("people").truncate());
    EXPECT_EQ(trace({notConnected()}), recorded());
}

class TableRemoveTest : public PeopleTest
{
};

TEST_F(TableRemoveTest, DropsTheTable)
{
    EXPECT_TRUE(people.remove());
    EXPECT_EQ(trace({queried("drop table people")}), recorded());
    EXPECT_EQ("0", cell("select count(*) from sqlite_master"));
}

TEST_F(TableRemoveTest, AddsNoLineToTheFailure)
{
    EXPECT_FALSE(sql::Table(db, "pets", personFields).remove());
    EXPECT_EQ(trace({refused("drop table pets", {1, "SQLITE_ERROR", "no such table: pets"})}),
              recorded());
}

TEST_F(TableRemoveTest, MissingConnectionIsReportedByTheStatement)
{
    EXPECT_FALSE(sql::Table("people").remove());
    EXPECT_EQ(trace({notConnected()}), recorded());
}

TEST_F(TableRemoveTest, LeavesTheObjectAsItWas)
{
    EXPECT_TRUE(people.remove());
    EXPECT_EQ("people", people.name());
    EXPECT_EQ(db, people.getHandle());
    EXPECT_EQ("id, name, age", people.fields().toSql());
}

TEST_F(TableRemoveTest, TableCanBeCreatedAgain)
{
    EXPECT_TRUE(people.remove());
    EXPECT_FALSE(people.exists());
    EXPECT_TRUE(people.create());
    EXPECT_TRUE(people.exists());
    EXPECT_EQ(0, people.totalRecordCount());
}

// Counting

class TableTotalRecordCountTest : public PeopleTest
{
};

TEST_F(TableTotalRecordCountTest, CountsTheRowsOfTheDatabase)
{
    EXPECT_EQ(3, people.totalRecordCount());
    EXPECT_EQ(trace({counted("select count(*) from people", 3)}), recorded());
}

TEST_F(TableTotalRecordCountTest, IsZeroForEmptyTable)
{
    run("delete from people");
    EXPECT_EQ(0, people.totalRecordCount());
}

TEST_F(TableTotalRecordCountTest, FailsForTableThatIsNotThere)
{
    EXPECT_EQ(-1, sql::Table(db, "pets", personFields).totalRecordCount());
    EXPECT_EQ(
        trace({uncounted("select count(*) from pets", {1, "SQLITE_ERROR", "no such table: pets"})}),
        recorded());
}

TEST_F(TableTotalRecordCountTest, MissingConnectionIsReportedWithoutCallingSqlite)
{
    EXPECT_EQ(-1, sql::Table("people").totalRecordCount());
    EXPECT_EQ(trace({source.asserted("_db", countSignature)}), recorded());
}

} // namespace
