#include "SqlStatement.h"

#include <cmath>
#include <limits>
#include <memory>

#include <gtest/gtest.h>
#include <sqlite3.h>

#include "SqlDatabase.h"
#include "support/Prepared.h"

using namespace sqltest;

namespace
{

const sql::Field itemFields[] = {
    sql::Field("id", sql::type_int, sql::flag_primary_key),
    sql::Field("name", sql::type_text, 0),
    sql::Field("price", sql::type_float, 0),
    sql::Field("active", sql::type_bool, 0),
    sql::Field("made", sql::type_time, 0),
    sql::Field(),
};
const sql::Field partFields[] = {
    sql::Field("code", sql::type_text, sql::flag_primary_key),
    sql::Field("count", sql::type_int, 0),
    sql::Field(),
};

class StatementTest : public DatabaseTest
{
protected:
    StatementTest()
    {
        setTraceLevel(3);
        run("create table item (id INTEGER PRIMARY KEY, name TEXT, price REAL, active INTEGER, "
            "made INTEGER);"
            "insert into item values (1, 'Bolt', 0.25, 1, 1000), (2, 'Nut', 2, 0, null),"
            "(3, null, null, null, null)");
        run("create table part (code TEXT PRIMARY KEY, count INTEGER);"
            "insert into part values ('A-17', 5), ('code', 6), ('3/4\"', 7)");
    }

    bool prepare(const std::string& sql) { return statement.prepare(db, sql); }
    /// The first column of the rows that are left.
    std::string rows()
    {
        std::string texts;
        while (statement.next())
            texts += (texts.empty() ? "" : " ") + statement.getString(0);
        EXPECT_EQ("none", words(statement.error()));
        return texts;
    }
    bool isLocked()
    {
        const int rc = sqlite3_exec(db, "drop table item", nullptr, nullptr, nullptr);
        EXPECT_TRUE(rc == SQLITE_OK || rc == SQLITE_LOCKED);
        return rc == SQLITE_LOCKED;
    }
    void expectFailure(const std::string& sql, const Refusal& refusal)
    {
        EXPECT_EQ(refusal.rc, statement.error().code());
        EXPECT_EQ(refusal.text, statement.error().text());
        EXPECT_EQ(trace({failed(sql, refusal)}), takeDiagnostics());
    }

    sql::Table items{db, "item", itemFields};
    sql::Table parts{db, "part", partFields};
    sql::Statement statement;
};

const Refusal notOne = {21, "SQLITE_MISUSE", "the text is not exactly one statement"};
const Refusal notThere = {21, "SQLITE_MISUSE", "no statement is prepared"};

std::string refusedToPrepare(const std::string& sql, const Refusal& refusal)
{
    const Source source = companionSource("SqlStatement");
    return together({
        source.error("prepare", "Failed to prepare the SQL stmt '%s'", sql.c_str()),
        source.error("prepare", "  rc=%d=%s: %s", refusal.rc, refusal.name, refusal.text),
    });
}

// Exactly one statement

class OneStatementTest : public StatementTest, public ::testing::WithParamInterface<const char*>
{
};

TEST_P(OneStatementTest, MayBeFollowedByBlanksAndComments)
{
    EXPECT_TRUE(prepare(GetParam())) << GetParam();
    EXPECT_EQ("7", rows());
    EXPECT_EQ("", takeDiagnostics());
}

INSTANTIATE_TEST_SUITE_P(Texts, OneStatementTest,
                         ::testing::Values("select 7", "select 7;", " select 7 ; \t\n\f\r",
                                           "select 7; -- select 8", "select 7; /* select 8; */",
                                           "select 7; /* without an end", "-- first\nselect 7",
                                           "select 7 -- ; select 8", "/**/select 7;--\n/*;*/ "));

class OtherThanOneStatementTest : public StatementTest,
                                  public ::testing::WithParamInterface<const char*>
{
};

TEST_P(OtherThanOneStatementTest, IsRefused)
{
    EXPECT_FALSE(prepare(GetParam()));
    EXPECT_EQ("21: the text is not exactly one statement", words(statement.error()));
    EXPECT_EQ(trace({refusedToPrepare(GetParam(), notOne)}), takeDiagnostics());
    EXPECT_FALSE(statement.run());
    EXPECT_EQ(0, statement.columnCount());
}

INSTANTIATE_TEST_SUITE_P(Texts, OtherThanOneStatementTest,
                         ::testing::Values("", ";;", " ", "-- nothing", "select 7; select 8",
                                           "select 7;;", "select 7; x", "select 7; -",
                                           "select 7; /", "select 7; -- comment\n;"));

TEST_F(StatementTest, NulByteWithinIsRefused)
{
    EXPECT_FALSE(prepare(std::string("select 7\0, 8", 12)));
    EXPECT_EQ("21: the text is not exactly one statement", words(statement.error()));
    EXPECT_FALSE(prepare(std::string("select 7\0", 9)));
    EXPECT_EQ(21, statement.error().code());
}

TEST_F(StatementTest, LogsWhatItCompiles)
{
    setTraceLevel(9);
    EXPECT_TRUE(prepare("select 7"));
    EXPECT_EQ(trace({prepared("select 7")}), takeDiagnostics());
    EXPECT_EQ("7", rows());
    EXPECT_EQ("", takeDiagnostics());
}

TEST_F(StatementTest, ErrorOfSqlIsReported)
{
    const char* const sql = "select absent from item";
    EXPECT_FALSE(prepare(sql));
    EXPECT_EQ("1: no such column: absent", words(statement.error()));
    EXPECT_EQ(trace({refusedToPrepare(sql, {1, "SQLITE_ERROR", "no such column: absent"})}),
              takeDiagnostics());
}

TEST_F(StatementTest, FailedPrepareLeavesNoStatement)
{
    EXPECT_TRUE(prepare("select 7"));
    EXPECT_FALSE(prepare("select"));
    EXPECT_FALSE(statement.next());
    EXPECT_EQ(0, statement.columnCount());
}

TEST_F(StatementTest, ErrorIsClearedByTheNextSuccess)
{
    EXPECT_FALSE(prepare("select"));
    EXPECT_TRUE(prepare("select 7"));
    EXPECT_EQ("none", words(statement.error()));
}

// Reading tables

TEST_F(StatementTest, SelectReadsTheColumnsOfTheDescriptionInItsOrder)
{
    run("drop table part; create table part (extra, count INTEGER, code TEXT PRIMARY KEY);"
        "insert into part values ('x', 5, 'A-17')");
    EXPECT_TRUE(statement.select(parts));
    EXPECT_EQ(2, statement.columnCount());
    ASSERT_TRUE(statement.next());
    EXPECT_EQ("A-17", statement.getString(0));
    EXPECT_EQ(5, statement.getInteger(1));
}

TEST_F(StatementTest, SelectTakesConditionAndOrder)
{
    setTraceLevel(9);
    EXPECT_TRUE(statement.select(items, "id <= ?1", "name desc"));
    EXPECT_EQ(trace({prepared("select id, name, price, active, made from item where id <= ?1 "
                              "order by name desc")}),
              takeDiagnostics());
    EXPECT_TRUE(statement.bindInteger(1, 2));
    EXPECT_EQ("2 1", rows());
}

TEST_F(StatementTest, SelectOfAConditionOfTwoStatementsIsRefused)
{
    EXPECT_FALSE(statement.select(items, "1; drop table item"));
    EXPECT_EQ(21, statement.error().code());
    EXPECT_EQ("3", cell("select count(*) from item"));
}

TEST_F(StatementTest, SelectOfATableThatIsNotThereFails)
{
    sql::Table other(db, "other", itemFields);
    EXPECT_FALSE(statement.select(other));
    EXPECT_EQ("1: no such table: other", words(statement.error()));
}

TEST_F(StatementTest, ColumnsHaveTheNamesOfTheDescription)
{
    const sql::Field spelled[] = {sql::Field("ID", sql::type_int, sql::flag_primary_key),
                                  sql::Field("\"name\"", sql::type_text, 0), sql::Field()};
    sql::Table table(db, "item", spelled);
    EXPECT_TRUE(statement.select(table));
    EXPECT_EQ(0, statement.column("ID"));
    EXPECT_EQ(1, statement.column("\"name\""));
    EXPECT_EQ(-1, statement.column("id"));
    ASSERT_TRUE(statement.next());
    EXPECT_EQ("Bolt", statement.getString("\"name\""));
}

TEST_F(StatementTest, ColumnsOfAnyStatementHaveTheNamesOfItsResult)
{
    EXPECT_TRUE(prepare("select id as first, name as second, id as first from item"));
    EXPECT_EQ(0, statement.column("first"));
    EXPECT_EQ(1, statement.column("second"));
    EXPECT_EQ(-1, statement.column("First"));
    EXPECT_EQ(-1, statement.column(""));
}

TEST_F(StatementTest, NamesOfATableAreForgotten)
{
    EXPECT_TRUE(statement.select(items));
    EXPECT_TRUE(prepare("select 1 as one"));
    EXPECT_EQ(0, statement.column("one"));
    EXPECT_EQ(-1, statement.column("id"));
}

// By key

TEST_F(StatementTest, FindGoesToTheRowOfAnIntegerKey)
{
    EXPECT_TRUE(statement.selectByKey(items));
    EXPECT_TRUE(statement.find(2));
    EXPECT_EQ("Nut", statement.getString("name"));
    EXPECT_TRUE(statement.find(1));
    EXPECT_EQ("Bolt", statement.getString("name"));
    EXPECT_FALSE(statement.find(9));
    EXPECT_EQ("none", words(statement.error()));
    EXPECT_EQ("", takeDiagnostics());
}

TEST_F(StatementTest, FindGoesToTheRowOfATextKeyWhateverItHolds)
{
    EXPECT_TRUE(statement.selectByKey(parts));
    for (const char* key : {"A-17", "code", "3/4\""}) {
        EXPECT_TRUE(statement.find(key)) << key;
        EXPECT_EQ(key, statement.getString(0));
    }
    EXPECT_FALSE(statement.find("1 or 1=1"));
    EXPECT_EQ("none", words(statement.error()));
}

TEST_F(StatementTest, KeyOfFindIsKeptForTheNextRun)
{
    EXPECT_TRUE(statement.selectByKey(parts));
    {
        const std::string key = "A-17";
        EXPECT_TRUE(statement.find(key));
    }
    statement.reset();
    EXPECT_EQ("A-17", rows());
}

TEST_F(StatementTest, FindWithARecordFillsItAndEndsTheRun)
{
    sql::Record record(items.fields());
    EXPECT_TRUE(statement.selectByKey(items));
    EXPECT_TRUE(statement.find(1, record));
    EXPECT_EQ("id = 1|name = Bolt|price = 0.25|active = 1|made = " + sql::Time(1000).asString(),
              record.dump(false));
    EXPECT_TRUE(statement.isNull(0));
    EXPECT_FALSE(isLocked());
}

TEST_F(StatementTest, FindWithARecordTakesATextKey)
{
    sql::Record record(parts.fields());
    EXPECT_TRUE(statement.selectByKey(parts));
    EXPECT_TRUE(statement.find("code", record));
    EXPECT_EQ("code = code|count = 6", record.dump(false));
}

TEST_F(StatementTest, FindWithoutSuchARowLeavesTheRecord)
{
    sql::Record record(items.fields());
    record.setInteger(0, 42);
    EXPECT_TRUE(statement.selectByKey(items));
    EXPECT_FALSE(statement.find(9, record));
    EXPECT_EQ("none", words(statement.error()));
    EXPECT_EQ(42, record.getValue(0)->asInteger());
    EXPECT_FALSE(isLocked());
}

TEST_F(StatementTest, FindIntoARecordOfAnotherTableIsRefused)
{
    sql::Record record(parts.fields());
    record.setString(0, "kept");
    EXPECT_TRUE(statement.selectByKey(items));
    EXPECT_FALSE(statement.find(1, record));
    expectFailure("select id, name, price, active, made from item where id = ?1",
                  {20, "SQLITE_MISMATCH", "the record has not as many cells as the row"});
    EXPECT_EQ("code = kept|count = null", record.dump(false));
    EXPECT_FALSE(isLocked());
}

TEST_F(StatementTest, FindNeedsAParameter)
{
    EXPECT_TRUE(prepare("select 7"));
    EXPECT_FALSE(statement.find(1));
    EXPECT_EQ(25, statement.error().code());
}

TEST_F(StatementTest, TableWithTwoKeysIsNotReadByKey)
{
    const sql::Field fields[] = {sql::Field("id", sql::type_int, sql::flag_primary_key),
                                 sql::Field("name", sql::type_text, sql::flag_primary_key),
                                 sql::Field()};
    sql::Table table(db, "item", fields);
    EXPECT_FALSE(statement.selectByKey(table));
    expectFailure("", {21, "SQLITE_MISUSE", "the table has not exactly one key column"});
    EXPECT_FALSE(statement.find(1));
}

TEST_F(StatementTest, TableWithoutKeyIsNotReadByKey)
{
    sql::Table table(db, "item", sql::FieldSet({sql::Field("id", sql::type_int, 0)}));
    EXPECT_FALSE(statement.selectByKey(table));
    EXPECT_EQ("21: the table has not exactly one key column", words(statement.error()));
}

// Parameters

TEST_F(StatementTest, ParametersKeepTheirTypes)
{
    EXPECT_TRUE(prepare("select quote(?1), quote(?2), quote(?3), quote(?4), quote(?5), quote(?6), "
                        "quote(?7), quote(?8)"));
    EXPECT_TRUE(statement.bindNull(1));
    EXPECT_TRUE(statement.bindInteger(2, std::numeric_limits<sql::integer>::min()));
    EXPECT_TRUE(statement.bindDouble(3, 2));
    EXPECT_TRUE(statement.bindBool(4, true));
    EXPECT_TRUE(statement.bindBool(5, false));
    EXPECT_TRUE(statement.bindTime(6, sql::Time(-5)));
    EXPECT_TRUE(statement.bindString(7, "it's"));
    EXPECT_TRUE(statement.bindText(8, "borrowed", 6));
    ASSERT_TRUE(statement.next());
    const char* const expected[] = {
        "NULL", "-9223372036854775808", "2.0", "1", "0", "-5", "'it''s'", "'borrow'"};
    for (int i = 0; i < 8; ++i)
        EXPECT_EQ(expected[i], statement.getString(i));
}

TEST_F(StatementTest, ParametersAreNullAtFirst)
{
    EXPECT_TRUE(prepare("select ?1"));
    ASSERT_TRUE(statement.next());
    EXPECT_TRUE(statement.isNull(0));
}

TEST_F(StatementTest, ParametersStayUntilBoundAgain)
{
    EXPECT_TRUE(prepare("select ?1 || ?2"));
    EXPECT_TRUE(statement.bindString(1, "a"));
    EXPECT_TRUE(statement.bindString(2, "b"));
    EXPECT_EQ("ab", rows());
    EXPECT_EQ("ab", rows());
    EXPECT_TRUE(statement.bindString(2, "c"));
    EXPECT_EQ("ac", rows());
}

TEST_F(StatementTest, DoublesAreBoundExactly)
{
    EXPECT_TRUE(prepare("select ?1"));
    for (double number : {1.0 / 3, 5e-324, 1e300, -0.1}) {
        EXPECT_TRUE(statement.bindDouble(1, number));
        ASSERT_TRUE(statement.next());
        EXPECT_EQ(number, statement.getDouble(0));
    }
}

TEST_F(StatementTest, TextsAreBoundWithTheirNulBytes)
{
    const std::string text("a\0b\0", 4);
    EXPECT_TRUE(prepare("select ?1, length(cast(?1 as blob))"));
    EXPECT_TRUE(statement.bindString(1, text));
    ASSERT_TRUE(statement.next());
    EXPECT_EQ(text, statement.getString(0));
    EXPECT_EQ(4, statement.getSize(0));
    EXPECT_EQ(4, statement.getInteger(1));
}

TEST_F(StatementTest, StringsAreCopied)
{
    EXPECT_TRUE(prepare("select ?1"));
    {
        std::string text(100, 'a');
        EXPECT_TRUE(statement.bindString(1, text));
        text.assign(100, 'b');
    }
    EXPECT_EQ(std::string(100, 'a'), rows());
}

TEST_F(StatementTest, NullTextIsBoundAsNull)
{
    EXPECT_TRUE(prepare("select ?1"));
    EXPECT_TRUE(statement.bindText(1, nullptr, 0));
    ASSERT_TRUE(statement.next());
    EXPECT_TRUE(statement.isNull(0));
    EXPECT_TRUE(statement.bindText(1, "up to NUL", -1));
    EXPECT_EQ("up to NUL", rows());
}

TEST_F(StatementTest, NumbersThatSqliteCannotStoreAreRefused)
{
    EXPECT_TRUE(prepare("select ?1"));
    EXPECT_TRUE(statement.bindInteger(1, 7));
    const double infinity = std::numeric_limits<double>::infinity();
    for (double number : {std::nan(""), infinity, -infinity}) {
        EXPECT_FALSE(statement.bindDouble(1, number));
        expectFailure("select ?1", {20, "SQLITE_MISMATCH",
                                    "SQLite stores neither NaN nor infinities as numbers"});
    }
    EXPECT_EQ("7", rows());
}

TEST_F(StatementTest, ParameterThatIsNotThereIsRefused)
{
    EXPECT_TRUE(prepare("select ?1"));
    for (int parameter : {0, 2, -1}) {
        EXPECT_FALSE(statement.bindInteger(parameter, 7));
        EXPECT_EQ(25, statement.error().code());
        EXPECT_FALSE(statement.error().text().empty());
        EXPECT_NE("", takeDiagnostics());
    }
    EXPECT_FALSE(statement.bindNull(9));
    EXPECT_FALSE(statement.bindDouble(9, 1));
    EXPECT_FALSE(statement.bindBool(9, true));
    EXPECT_FALSE(statement.bindTime(9, sql::Time(0)));
    EXPECT_FALSE(statement.bindString(9, "a"));
    EXPECT_FALSE(statement.bindText(9, "a", 1));
    EXPECT_EQ(25, statement.error().code());
    EXPECT_TRUE(statement.bindInteger(1, 7));
    EXPECT_EQ("none", words(statement.error()));
}

TEST_F(StatementTest, NamedParametersHaveNumbers)
{
    EXPECT_TRUE(prepare("select :low, @high, $other, ?9"));
    EXPECT_EQ(1, statement.parameter(":low"));
    EXPECT_EQ(2, statement.parameter("@high"));
    EXPECT_EQ(3, statement.parameter("$other"));
    EXPECT_EQ(9, statement.parameter("?9"));
    EXPECT_EQ(0, statement.parameter("low"));
    EXPECT_EQ(0, statement.parameter(":none"));
    EXPECT_EQ("", takeDiagnostics());
}

TEST_F(StatementTest, BindingOnARowResetsFirst)
{
    EXPECT_TRUE(prepare("select id from item where id >= ?1"));
    EXPECT_TRUE(statement.bindInteger(1, 1));
    ASSERT_TRUE(statement.next());
    EXPECT_TRUE(statement.bindInteger(1, 2));
    EXPECT_TRUE(statement.isNull(0));
    EXPECT_EQ("2 3", rows());
}

// Running

TEST_F(StatementTest, NextGoesFromRowToRowAndBeginsAgain)
{
    EXPECT_TRUE(prepare("select id from item"));
    EXPECT_EQ("1 2 3", rows());
    EXPECT_EQ("1 2 3", rows());
}

TEST_F(StatementTest, RunRestartsARunThatIsUnderWay)
{
    EXPECT_TRUE(prepare("select id from item"));
    ASSERT_TRUE(statement.next());
    EXPECT_TRUE(statement.run());
    EXPECT_TRUE(statement.isNull(0));
    EXPECT_EQ("1 2 3", rows());
}

TEST_F(StatementTest, ResetEndsTheRun)
{
    EXPECT_TRUE(prepare("select id from item"));
    ASSERT_TRUE(statement.next());
    ASSERT_TRUE(statement.next());
    statement.reset();
    EXPECT_TRUE(statement.isNull(0));
    EXPECT_EQ("1 2 3", rows());
}

TEST_F(StatementTest, NextOfAWriteIsFalseWithoutError)
{
    EXPECT_TRUE(prepare("delete from item where id = 1"));
    EXPECT_FALSE(statement.next());
    EXPECT_EQ("none", words(statement.error()));
    EXPECT_EQ(1, statement.changes());
}

TEST_F(StatementTest, ChangesAreThoseOfTheLastRun)
{
    EXPECT_TRUE(prepare("update item set price = 1 where id <= ?1"));
    EXPECT_EQ(0, statement.changes());
    EXPECT_TRUE(statement.bindInteger(1, 2));
    EXPECT_TRUE(statement.run());
    EXPECT_EQ(2, statement.changes());
    EXPECT_TRUE(statement.bindInteger(1, 0));
    EXPECT_TRUE(statement.run());
    EXPECT_EQ(0, statement.changes());
}

// Which leave the connection's count as it is.
class StatementWithoutChangesTest : public StatementTest,
                                    public ::testing::WithParamInterface<const char*>
{
};

TEST_P(StatementWithoutChangesTest, CountsNone)
{
    run("update item set price = 1");
    EXPECT_TRUE(prepare(GetParam()));
    EXPECT_TRUE(statement.run());
    EXPECT_EQ(0, statement.changes());
}

INSTANTIATE_TEST_SUITE_P(
    Kinds, StatementWithoutChangesTest,
    ::testing::Values("select * from item", "create table other as select * from item",
                      "with one(id) as (select 1) select * from one", "pragma user_version = 3",
                      "drop table item", "explain delete from item", "create index i on item(id)",
                      "begin", "alter table item rename to thing", "vacuum", "analyze"));

class StatementWithChangesTest : public StatementTest,
                                 public ::testing::WithParamInterface<const char*>
{
};

TEST_P(StatementWithChangesTest, CountsThem)
{
    EXPECT_TRUE(prepare(GetParam()));
    EXPECT_TRUE(statement.run());
    EXPECT_EQ(2, statement.changes());
}

INSTANTIATE_TEST_SUITE_P(
    Kinds, StatementWithChangesTest,
    ::testing::Values("insert into item (id) values (7), (8)", "DELETE from item where id < 3",
                      " -- comment\nReplace into item (id) values (1), (2)",
                      "/**/ update item set price = 2 where id < 3",
                      "with two(id) as (values (1), (2)) delete from item where id in two"));

TEST_F(StatementTest, ChangesAreNoneAfterAFailure)
{
    EXPECT_TRUE(prepare("insert into item (id) values (?1)"));
    EXPECT_TRUE(statement.bindInteger(1, 4));
    EXPECT_TRUE(statement.run());
    EXPECT_EQ(1, statement.changes());
    EXPECT_FALSE(statement.run());
    EXPECT_EQ(0, statement.changes());
}

TEST_F(StatementTest, ChangesOfAWriteThatReturnsRowsComeWithTheEnd)
{
    if (sqlite3_libversion_number() < 3035000)
        GTEST_SKIP() << "without RETURNING";
    EXPECT_TRUE(prepare("insert into item (id) values (7), (8) returning id"));
    EXPECT_TRUE(statement.next());
    EXPECT_EQ(7, statement.getInteger(0));
    statement.reset();
    EXPECT_EQ(2, statement.changes());
    EXPECT_EQ("5", cell("select count(*) from item"));
}

TEST_F(StatementTest, FailureLeavesItUsableAtOnce)
{
    run("create unique index names on item(name)");
    const std::string sql = "insert into item (name) values (?1)";
    EXPECT_TRUE(prepare(sql));
    EXPECT_TRUE(statement.bindString(1, "Nut"));
    EXPECT_FALSE(statement.run());
    EXPECT_EQ("2067: UNIQUE constraint failed: item.name", words(statement.error()));
    EXPECT_EQ(
        trace({failed(sql, {19, "SQLITE_CONSTRAINT", "UNIQUE constraint failed: item.name"})}),
        takeDiagnostics());
    EXPECT_TRUE(statement.bindString(1, "Screw"));
    EXPECT_EQ("none", words(statement.error()));
    EXPECT_TRUE(statement.run());
    EXPECT_EQ("4", cell("select count(*) from item"));
}

TEST_F(StatementTest, FailureWhileReadingEndsTheRun)
{
    EXPECT_TRUE(prepare("select abs(id - 9223372036854775807 - 2) from item"));
    EXPECT_FALSE(statement.next());
    EXPECT_EQ("1: integer overflow", words(statement.error()));
    EXPECT_FALSE(isLocked());
    statement.reset();
    EXPECT_EQ("1: integer overflow", words(statement.error()));
}

// Locks

TEST_F(StatementTest, OnARowItHoldsALock)
{
    EXPECT_TRUE(prepare("select id from item"));
    ASSERT_TRUE(statement.next());
    EXPECT_TRUE(isLocked());
    while (statement.next()) {
    }
    EXPECT_FALSE(isLocked());
}

TEST_F(StatementTest, ResetReleasesTheLock)
{
    EXPECT_TRUE(prepare("select id from item"));
    ASSERT_TRUE(statement.next());
    statement.reset();
    EXPECT_FALSE(isLocked());
}

TEST_F(StatementTest, CloseReleasesTheLock)
{
    EXPECT_TRUE(prepare("select id from item"));
    ASSERT_TRUE(statement.next());
    statement.close();
    EXPECT_FALSE(isLocked());
}

TEST_F(StatementTest, RowJustReadCanBeChangedAndErased)
{
    EXPECT_TRUE(prepare("select id from item"));
    while (statement.next())
        run("update item set price = 5 where id = " + statement.getString(0));
    EXPECT_EQ("3", cell("select count(*) from item where price = 5"));
    while (statement.next())
        run("delete from item where id = " + statement.getString(0));
    EXPECT_EQ("0", cell("select count(*) from item"));
}

class StatementsOfTwoTest : public FileTest
{
};

TEST_F(StatementsOfTwoTest, BusyLeavesItUsable)
{
    mine.run("create table item (id integer primary key)");
    sql::Statement statement;
    EXPECT_TRUE(statement.prepare(mine.db, "insert into item values (1)"));
    other.run("begin immediate");
    EXPECT_FALSE(statement.run());
    EXPECT_EQ("5: database is locked", words(statement.error()));
    other.run("commit");
    EXPECT_TRUE(statement.run());
    EXPECT_EQ("none", words(statement.error()));
}

// The schema

TEST_F(StatementTest, SurvivesChangesOfTheSchema)
{
    EXPECT_TRUE(statement.select(items));
    EXPECT_EQ("1 2 3", rows());
    run("alter table item add column more");
    EXPECT_EQ("1 2 3", rows());
    EXPECT_EQ(5, statement.columnCount());
}

TEST_F(StatementTest, TableThatIsGoneIsAnErrorUntilItIsBack)
{
    EXPECT_TRUE(statement.select(items));
    run("drop table item");
    EXPECT_FALSE(statement.next());
    EXPECT_EQ("1: no such table: item", words(statement.error()));
    run("create table item (made, active, price, name, id integer primary key);"
        "insert into item (id, name) values (9, 'Back')");
    ASSERT_TRUE(statement.next());
    EXPECT_EQ(9, statement.getInteger("id"));
    EXPECT_EQ("Back", statement.getString("name"));
}

// Cells

class CellTest : public StatementTest
{
protected:
    void readRow(const std::string& cells)
    {
        EXPECT_TRUE(prepare("select " + cells));
        ASSERT_TRUE(statement.next());
    }
};

TEST_F(CellTest, IsReadByColumnAndByName)
{
    readRow("7 as i, 2.5 as d, 1 as b, 60 as t, 'text' as s, null as n");
    EXPECT_EQ(7, statement.getInteger(0));
    EXPECT_EQ(7, statement.getInteger("i"));
    EXPECT_EQ(2.5, statement.getDouble(1));
    EXPECT_EQ(2.5, statement.getDouble("d"));
    EXPECT_TRUE(statement.getBool(2));
    EXPECT_TRUE(statement.getBool("b"));
    EXPECT_EQ(60, statement.getTime(3).asInteger());
    EXPECT_EQ(60, statement.getTime("t").asInteger());
    EXPECT_EQ("text", statement.getString(4));
    EXPECT_EQ("text", statement.getString("s"));
    EXPECT_STREQ("text", statement.getText(4));
    EXPECT_EQ(4, statement.getSize(4));
    EXPECT_TRUE(statement.isNull(5));
    EXPECT_TRUE(statement.isNull("n"));
    EXPECT_FALSE(statement.isNull(0));
    EXPECT_FALSE(statement.isNull("i"));
}

TEST_F(CellTest, IntegersAreOf64Bits)
{
    readRow("9223372036854775807, -9223372036854775808");
    EXPECT_EQ(std::numeric_limits<sql::integer>::max(), statement.getInteger(0));
    EXPECT_EQ(std::numeric_limits<sql::integer>::min(), statement.getInteger(1));
}

TEST_F(CellTest, BoolIsTrueFor1Alone)
{
    readRow("1, '1', x'31', 1.0, 2, 0, -1, '1.0', 'true', '01', '1 ', cast(x'3100' as text), null");
    for (int i = 0; i < statement.columnCount(); ++i) {
        sql::Value value(sql::type_bool);
        const std::string text = statement.getString(i);
        value.setString(text);
        EXPECT_EQ(i < 3, statement.getBool(i)) << i;
        EXPECT_EQ(value.asBool(), statement.getBool(i)) << text;
    }
}

TEST_F(CellTest, TextsComeWholeWithNulBytes)
{
    readRow("cast(x'610062' as text), x'00', '', x''");
    EXPECT_EQ(std::string("a\0b", 3), statement.getString(0));
    EXPECT_EQ(3, statement.getSize(0));
    EXPECT_EQ(std::string("\0", 1), statement.getString(1));
    EXPECT_EQ("", statement.getString(2));
    EXPECT_STREQ("", statement.getText(2));
    EXPECT_EQ("", statement.getString(3));
}

TEST_F(CellTest, IsNullWithoutARow)
{
    const auto expectNull = [this](int column) {
        EXPECT_TRUE(statement.isNull(column));
        EXPECT_EQ(0, statement.getInteger(column));
        EXPECT_EQ(0.0, statement.getDouble(column));
        EXPECT_FALSE(statement.getBool(column));
        EXPECT_EQ(0, statement.getTime(column).asInteger());
        EXPECT_EQ("", statement.getString(column));
        EXPECT_EQ(nullptr, statement.getText(column));
        EXPECT_EQ(0, statement.getSize(column));
    };
    expectNull(0); // without a statement
    EXPECT_TRUE(prepare("select 7 as i"));
    expectNull(0); // before the first row
    EXPECT_TRUE(statement.next());
    expectNull(1); // without such a column
    expectNull(-1);
    EXPECT_EQ(0, statement.getInteger("none"));
    EXPECT_EQ("", statement.getString("none"));
    EXPECT_TRUE(statement.isNull("none"));
    EXPECT_FALSE(statement.next());
    expectNull(0); // after the last row
    EXPECT_EQ("none", words(statement.error()));
    EXPECT_EQ("", takeDiagnostics());
}

// Records

class StatementRecordTest : public StatementTest
{
protected:
    sql::Record record{items.fields()};
};

TEST_F(StatementRecordTest, IsFilledAsTheTableReadsIt)
{
    EXPECT_TRUE(statement.select(items, "", "id"));
    EXPECT_TRUE(items.open("", "id"));
    takeEvents();
    for (int i = 0; i < 3; ++i) {
        ASSERT_TRUE(statement.next());
        EXPECT_TRUE(statement.read(record));
        EXPECT_EQ(items.getRecord(i)->dump(true), record.dump(true));
    }
    EXPECT_FALSE(statement.next());
}

TEST_F(StatementRecordTest, ReceivesTextsWithNulBytesWhole)
{
    run("update item set name = cast(x'61006200' as text)");
    EXPECT_TRUE(statement.select(items));
    ASSERT_TRUE(statement.next());
    EXPECT_TRUE(statement.read(record));
    EXPECT_EQ(std::string("a\0b\0", 4), record.getValue(1)->asString());
}

TEST_F(StatementRecordTest, NeedsARow)
{
    record.setInteger(0, 42);
    EXPECT_TRUE(statement.select(items));
    EXPECT_FALSE(statement.read(record));
    expectFailure("select id, name, price, active, made from item",
                  {21, "SQLITE_MISUSE", "there is no row"});
    EXPECT_EQ(42, record.getValue(0)->asInteger());
}

TEST_F(StatementRecordTest, NeedsAsManyCellsAsThereAreColumns)
{
    sql::Record other(parts.fields());
    other.setString(0, "kept");
    EXPECT_TRUE(statement.select(items));
    ASSERT_TRUE(statement.next());
    EXPECT_FALSE(statement.read(other));
    EXPECT_EQ("20: the record has not as many cells as the row", words(statement.error()));
    EXPECT_EQ("code = kept|count = null", other.dump(false));
    EXPECT_TRUE(statement.read(record)) << "the row is still there";
    EXPECT_EQ("none", words(statement.error()));
}

TEST_F(StatementRecordTest, ErrorOfAReadIsClearedByTheNextRow)
{
    sql::Record other(parts.fields());
    EXPECT_TRUE(statement.select(items));
    ASSERT_TRUE(statement.next());
    EXPECT_FALSE(statement.read(other));
    EXPECT_TRUE(statement.next());
    EXPECT_EQ("none", words(statement.error()));
    EXPECT_EQ(2, statement.getInteger(0));
}

TEST_F(StatementRecordTest, UsedAgainTakesNoMemory)
{
    run("update item set name = 'a name that is longer than a string keeps within itself'");
    EXPECT_TRUE(statement.select(items));
    ASSERT_TRUE(statement.next());
    EXPECT_TRUE(statement.read(record));
    const long before = allocations();
    while (statement.next())
        EXPECT_TRUE(statement.read(record));
    EXPECT_EQ(before, allocations());
}

TEST_F(StatementTest, RowsTakeNoMemory)
{
    run("insert into item (id, price) with recursive n(i) as (select 10 union all select i + 1 "
        "from n where i < 5000) select i, i * 0.1 from n");
    EXPECT_TRUE(statement.select(items));
    ASSERT_TRUE(statement.next());
    const long before = allocations();
    sql::integer sum = 0;
    while (statement.next())
        sum += statement.getInteger(0) + statement.getSize(1) + (statement.isNull(2) ? 0 : 1);
    EXPECT_LT(0, sum);
    EXPECT_EQ(before, allocations());
}

// Misuse

TEST_F(StatementTest, NothingRunsBeforeItIsPrepared)
{
    sql::Record record(items.fields());
    EXPECT_FALSE(statement.next());
    expectFailure("", notThere);
    EXPECT_FALSE(statement.run());
    expectFailure("", notThere);
    EXPECT_FALSE(statement.bindNull(1));
    expectFailure("", notThere);
    EXPECT_FALSE(statement.bindInteger(1, 1));
    EXPECT_FALSE(statement.bindDouble(1, 1));
    EXPECT_FALSE(statement.bindBool(1, true));
    EXPECT_FALSE(statement.bindTime(1, sql::Time(0)));
    EXPECT_FALSE(statement.bindString(1, ""));
    EXPECT_FALSE(statement.bindText(1, "", 0));
    EXPECT_FALSE(statement.find(1));
    EXPECT_FALSE(statement.find("key"));
    EXPECT_FALSE(statement.find(1, record));
    EXPECT_FALSE(statement.find("key", record));
    EXPECT_EQ("21: no statement is prepared", words(statement.error()));
    EXPECT_FALSE(statement.read(record));
    EXPECT_EQ(21, statement.error().code());
    statement.reset();
    statement.close();
    EXPECT_EQ(0, statement.parameter(":a"));
    EXPECT_EQ(-1, statement.column("a"));
    EXPECT_EQ(0, statement.columnCount());
    EXPECT_EQ(0, statement.changes());
}

TEST_F(StatementTest, NothingRunsAfterItIsClosed)
{
    EXPECT_TRUE(prepare("select id from item"));
    ASSERT_TRUE(statement.next());
    statement.close();
    EXPECT_FALSE(statement.next());
    expectFailure("", notThere);
    EXPECT_TRUE(statement.isNull(0));
    EXPECT_EQ(0, statement.columnCount());
}

TEST_F(StatementTest, CloseKeepsTheError)
{
    EXPECT_FALSE(prepare("select"));
    const std::string error = words(statement.error());
    statement.close();
    EXPECT_EQ(error, words(statement.error()));
}

TEST_F(StatementTest, NullConnectionIsReportedOnce)
{
    sql::Table unconnected("item");
    EXPECT_FALSE(statement.prepare(nullptr, "select 1"));
    EXPECT_EQ("21: no connection", words(statement.error()));
    EXPECT_EQ(trace({notPrepared()}), takeDiagnostics());
    EXPECT_FALSE(statement.select(unconnected));
    EXPECT_EQ("21: no connection", words(statement.error()));
    EXPECT_EQ(trace({notPrepared()}), takeDiagnostics());
    sql::Table described(nullptr, "item", itemFields);
    EXPECT_FALSE(statement.selectByKey(described));
    EXPECT_EQ("21: no connection", words(statement.error()));
    EXPECT_EQ(trace({notPrepared()}), takeDiagnostics());
    EXPECT_FALSE(statement.next());
    expectFailure("", notThere);
}

TEST_F(StatementTest, DatabaseThatIsClosedTooEarlyStaysOpen)
{
    sql::Database database;
    ASSERT_TRUE(database.open(":memory:", sql::Database::read_write_create, false, 0));
    sqlite3* const own = database.getHandle();
    std::unique_ptr<sql::Statement> reader(new sql::Statement);
    EXPECT_TRUE(reader->prepare(own, "select 1 union select 2"));
    EXPECT_TRUE(reader->next());
    takeEvents();
    database.close();
    EXPECT_EQ(
        trace({Source("SqlDatabase").asserted("rc == SQLITE_OK", "void sql::Database::close()")}),
        takeDiagnostics());
    EXPECT_TRUE(reader->next());
    EXPECT_EQ(2, reader->getInteger(0));
    reader.reset();
    EXPECT_EQ(SQLITE_OK, sqlite3_close(own));
}

// Memory

TEST_F(StatementTest, WithoutMemoryNothingIsThrown)
{
    const std::string longText(1000, 'x');
    sql::Record record(items.fields());
    run("update item set name = hex(zeroblob(500))");
    EXPECT_TRUE(statement.select(items));
    ASSERT_TRUE(statement.next());
    const auto expectNoMemory = [this](bool succeeded) {
        faults.allocationsLeft = -1;
        EXPECT_FALSE(succeeded);
        EXPECT_EQ(7, statement.error().code());
    };
    faults.allocationsLeft = 0;
    expectNoMemory(!statement.getString(1).empty());
    faults.allocationsLeft = 0;
    expectNoMemory(statement.read(record));
    faults.allocationsLeft = 0;
    expectNoMemory(statement.select(items, longText));
    faults.allocationsLeft = 0;
    expectNoMemory(statement.selectByKey(items));
    EXPECT_TRUE(prepare("select ?1"));
    faults.allocationsLeft = 0;
    expectNoMemory(statement.find(longText));
    EXPECT_TRUE(statement.find(longText));
    EXPECT_EQ(longText, statement.getString(0));
}

} // namespace
