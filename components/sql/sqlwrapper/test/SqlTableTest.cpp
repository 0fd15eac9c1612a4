#include "SqlTable.h"

#include <gtest/gtest.h>

#include "support/People.h"
#include "support/Statements.h"
#include "support/World.h"

using namespace sqltest;

namespace
{

const Source source("SqlTable");
const char* const existsSignature = "bool sql::Table::exists()";
const char* const createSignature = "bool sql::Table::create()";
const char* const definitionSignature = "sql::string sql::Table::getDefinition() const";
const char* const countSignature = "int sql::Table::totalRecordCount() const";
const std::string definition =
    "CREATE TABLE people (id INTEGER PRIMARY KEY, name TEXT NOT NULL, age INTEGER)";

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
              takeEvents());
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
              takeEvents());
}

TEST_F(TableExistsTest, IsTrueWhenTheCountFails)
{
    const CountsRefused counts(db);
    EXPECT_TRUE(people.exists());
    EXPECT_EQ(trace({
                  uncounted(existenceQuery("people"), CountsRefused::refusal),
                  source.error("exists", "Failed to determine if table '%s' exists", "people"),
              }),
              takeEvents());
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
              takeEvents());
}

TEST_F(TableExistsTest, QuoteInTheNameIsNotEscaped)
{
    EXPECT_TRUE(sql::Table(db, "it's", personFields).exists());
    EXPECT_EQ(trace({undetermined("it's", {1, "SQLITE_ERROR", "near \"s\": syntax error"})}),
              takeEvents());
}

TEST_F(TableExistsTest, NameOfAnyLengthIsAskedForWhole)
{
    for (std::string::size_type length = 1; length <= 1000; ++length) {
        const std::string name(length, 'x');
        EXPECT_FALSE(sql::Table(db, name, noFields).exists());
        EXPECT_EQ(trace({missed(name)}), takeEvents());
    }
}

TEST_F(TableExistsTest, PercentSignsOfTheNameAreWrittenAsTheyAre)
{
    EXPECT_FALSE(sql::Table(db, "100%s%n", personFields).exists());
    EXPECT_EQ(trace({missed("100%s%n")}), takeEvents());
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
    EXPECT_EQ(trace({source.asserted("_db", existsSignature)}), takeEvents());
}

TEST_F(TableExistsTest, ResultIsLoggedAboveLevel7)
{
    setTraceLevel(8);
    EXPECT_TRUE(people.exists());
    EXPECT_EQ(trace({found("people")}), takeEvents());
}

TEST_F(TableExistsTest, ResultIsNotLoggedAtLevel7)
{
    setTraceLevel(7);
    EXPECT_TRUE(people.exists());
    EXPECT_FALSE(sql::Table(db, "pets", personFields).exists());
    EXPECT_EQ(trace({}), takeDiagnostics());
}

TEST_F(TableExistsTest, FailureIsNotLoggedAtLevel2)
{
    setTraceLevel(2);
    const CountsRefused counts(db);
    EXPECT_TRUE(people.exists());
    EXPECT_EQ(trace({}), takeDiagnostics());
}

TEST_F(TableExistsTest, FailureIsLoggedAboveLevel2)
{
    setTraceLevel(3);
    const CountsRefused counts(db);
    EXPECT_TRUE(people.exists());
    EXPECT_NE(std::string::npos,
              takeDiagnostics().find(
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
    EXPECT_EQ(trace({missed("people"), queried(definition)}), takeEvents());
    EXPECT_EQ(definition, cell("select sql from sqlite_master"));
}

TEST_F(TableCreateTest, LeavesTableThatExists)
{
    EXPECT_TRUE(people.create());
    EXPECT_EQ(trace({found("people")}), takeEvents());
    EXPECT_EQ("3", cell("select count(*) from people"));
}

TEST_F(TableCreateTest, LeavesTableThatExistsWithOtherColumns)
{
    run("drop table people; create table people (nickname text)");
    EXPECT_TRUE(people.create());
    EXPECT_EQ(trace({found("people")}), takeEvents());
    EXPECT_EQ("CREATE TABLE people (nickname text)", cell("select sql from sqlite_master"));
}

TEST_F(TableCreateTest, LeavesTableThatExistsEvenWithoutColumns)
{
    EXPECT_TRUE(sql::Table(db, "people", noFields).create());
    EXPECT_EQ(trace({found("people")}), takeEvents());
}

TEST_F(TableCreateTest, CreatesNothingWhenExistenceCannotBeDetermined)
{
    const CountsRefused counts(db);
    EXPECT_TRUE(sql::Table(db, "pets", personFields).create());
    EXPECT_EQ(trace({undetermined("pets", CountsRefused::refusal)}), takeEvents());
    EXPECT_EQ("(none)", cell("select name from sqlite_master where name = 'pets'"));
}

TEST_F(TableCreateTest, MissingColumnsGiveTwoLinesAndTwoReports)
{
    EXPECT_FALSE(sql::Table(db, "pets", noFields).create());
    EXPECT_EQ(trace({missed("pets"), noDefinition("pets")}), takeEvents());
}

TEST_F(TableCreateTest, MissingColumnsAreReportedAtLevel2)
{
    setTraceLevel(2);
    EXPECT_FALSE(sql::Table(db, "pets", noFields).create());
    EXPECT_EQ(trace({
                  source.asserted("false", definitionSignature),
                  source.asserted("false", createSignature),
              }),
              takeDiagnostics());
}

TEST_F(TableCreateTest, MissingColumnsAreLoggedAboveLevel2)
{
    setTraceLevel(3);
    EXPECT_FALSE(sql::Table(db, "pets", noFields).create());
    EXPECT_EQ(trace({noDefinition("pets")}), takeDiagnostics());
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
        takeEvents());
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
              takeEvents());
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
    EXPECT_EQ(trace({source.asserted("_db", existsSignature), notConnected()}), takeEvents());
}

TEST_F(TableCreateTest, NameAloneIsReportedForItsColumnsToo)
{
    EXPECT_FALSE(sql::Table("people").create());
    EXPECT_EQ(trace({source.asserted("_db", existsSignature), noDefinition("people")}),
              takeEvents());
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
    EXPECT_EQ(trace({}), takeEvents());
}

TEST_F(TableDefinitionTest, NeedsNoConnection)
{
    EXPECT_EQ(definition, sql::Table(nullptr, "people", personFields).getDefinition());
    EXPECT_EQ(trace({}), takeEvents());
}

TEST_F(TableDefinitionTest, IsThatOfTheColumnSetNotOfTheDatabase)
{
    run("alter table people add column mail text");
    EXPECT_EQ(definition, people.getDefinition());
}

TEST_F(TableDefinitionTest, NameIsWrittenAsItIs)
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
              takeEvents());
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
    EXPECT_EQ(trace({}), takeEvents());
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
    EXPECT_EQ(trace({}), takeEvents());
}

// Emptying and dropping the table

class TableTruncateTest : public PeopleTest
{
};

TEST_F(TableTruncateTest, DeletesEveryRow)
{
    EXPECT_TRUE(people.truncate());
    EXPECT_EQ(trace({queried("delete from people")}), takeEvents());
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
              takeEvents());
}

TEST_F(TableTruncateTest, MissingConnectionIsReportedByTheStatement)
{
    EXPECT_FALSE(sql::Table("people").truncate());
    EXPECT_EQ(trace({notConnected()}), takeEvents());
}

class TableRemoveTest : public PeopleTest
{
};

TEST_F(TableRemoveTest, DropsTheTable)
{
    EXPECT_TRUE(people.remove());
    EXPECT_EQ(trace({queried("drop table people")}), takeEvents());
    EXPECT_EQ("0", cell("select count(*) from sqlite_master"));
}

TEST_F(TableRemoveTest, AddsNoLineToTheFailure)
{
    EXPECT_FALSE(sql::Table(db, "pets", personFields).remove());
    EXPECT_EQ(trace({refused("drop table pets", {1, "SQLITE_ERROR", "no such table: pets"})}),
              takeEvents());
}

TEST_F(TableRemoveTest, MissingConnectionIsReportedByTheStatement)
{
    EXPECT_FALSE(sql::Table("people").remove());
    EXPECT_EQ(trace({notConnected()}), takeEvents());
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
    EXPECT_EQ(trace({counted("select count(*) from people", 3)}), takeEvents());
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
        takeEvents());
}

TEST_F(TableTotalRecordCountTest, MissingConnectionIsReportedWithoutCallingSqlite)
{
    EXPECT_EQ(-1, sql::Table("people").totalRecordCount());
    EXPECT_EQ(trace({source.asserted("_db", countSignature)}), takeEvents());
}

} // namespace
