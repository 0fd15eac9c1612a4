#include "SqlStatement.h"

#include <cmath>
#include <functional>
#include <limits>
#include <memory>

#include <gtest/gtest.h>
#include <sqlite3.h>

#include "SqlDatabase.h"
#include "support/Items.h"

using namespace sqltest;

namespace
{

const Refusal notOne = {21, "SQLITE_MISUSE", "the text is not exactly one statement"};
const Refusal notThere = {21, "SQLITE_MISUSE", "no statement is prepared"};

std::string refusedToPrepare(const std::string& sql, const Refusal& refusal)
{
    const Source source = companionSource("SqlStatement");
    return together({
        source.error("compile", "Failed to prepare the SQL stmt '%s'", sql.c_str()),
        source.error("compile", "  rc=%d=%s: %s", refusal.rc, refusal.name, refusal.text),
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
                                           "select 7; /* without an end", "select 7; /*/ likewise",
                                           "select 7; /* select 2 * 4; */", "-- first\nselect 7",
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
    takeDiagnostics();
    EXPECT_FALSE(prepare(std::string("select '\0'", 10))); // SQLite reads a text without an end
    EXPECT_EQ(trace({refusedToPrepare("select '", notOne)}), takeDiagnostics());
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

TEST_F(StatementTest, BorrowedTextIsReadWhereItIs)
{
    char bytes[] = "Bolt";
    EXPECT_TRUE(prepare("select ?1"));
    EXPECT_TRUE(statement.bindText(1, bytes, 4));
    bytes[0] = 'C';
    EXPECT_EQ("Colt", rows());
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

TEST_F(StatementTest, ErrorOfANumberIsClearedByTheNextBinding)
{
    EXPECT_TRUE(prepare("select ?1"));
    EXPECT_FALSE(statement.bindDouble(1, std::nan("")));
    EXPECT_TRUE(statement.bindInteger(1, 7));
    EXPECT_EQ("none", words(statement.error()));
}

TEST_F(StatementTest, TextBeyondTheLimitOfTheConnectionIsRefused)
{
    EXPECT_TRUE(prepare("select ?1"));
    sqlite3_limit(db, SQLITE_LIMIT_LENGTH, 100);
    EXPECT_FALSE(statement.bindString(1, std::string(101, 'x')));
    expectFailure("select ?1", {18, "SQLITE_TOOBIG", "string or blob too big"});
    EXPECT_FALSE(statement.find(std::string(101, 'x')));
    expectFailure("select ?1", {18, "SQLITE_TOOBIG", "string or blob too big"});
    EXPECT_TRUE(statement.find(std::string(100, 'x')));
    EXPECT_EQ(100, statement.getSize(0));
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
    EXPECT_EQ(0, statement.parameter(std::string(":low\0", 5)));
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
                      "; /**/;insert into item (id) values (7), (8)",
                      "with two(id) as (values (1), (2)) delete from item where id in two"));

TEST_F(StatementTest, ChangesAreNoneAfterAFailure)
{
    EXPECT_TRUE(prepare("insert into item (id) values (?1)"));
    EXPECT_TRUE(statement.bindInteger(1, 4));
    EXPECT_TRUE(statement.run());
    EXPECT_EQ(1, statement.changes());
    EXPECT_FALSE(statement.run());
    EXPECT_EQ(0, statement.changes());
    EXPECT_TRUE(statement.bindInteger(1, 5));
    EXPECT_TRUE(statement.run());
    EXPECT_EQ(1, statement.changes());
    EXPECT_FALSE(statement.next());
    EXPECT_EQ(0, statement.changes());
    EXPECT_TRUE(prepare("update item set price = 1"));
    for (const bool isText : {false, true}) {
        EXPECT_TRUE(statement.run());
        EXPECT_EQ(5, statement.changes());
        EXPECT_FALSE(isText ? statement.find("1") : statement.find(1)); // without a parameter
        EXPECT_EQ(0, statement.changes());
    }
    EXPECT_TRUE(prepare("insert into item (id) values (9)"));
    EXPECT_TRUE(statement.run());
    statement.close();
    EXPECT_EQ(1, statement.changes());
    EXPECT_FALSE(statement.run());
    EXPECT_EQ(0, statement.changes());
}

TEST_F(StatementTest, ChangesAreNoneBeforeTheFirstRun)
{
    const std::string sql = "update item set price = 1";
    EXPECT_TRUE(prepare(sql));
    EXPECT_TRUE(statement.run());
    EXPECT_EQ(3, statement.changes());
    EXPECT_TRUE(prepare(sql));
    EXPECT_EQ(0, statement.changes());
}

TEST_F(StatementTest, ResetWithoutARowCountsNoChanges)
{
    run("update item set price = 1");
    EXPECT_TRUE(prepare("delete from item"));
    statement.reset();
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

TEST_F(StatementsOfTwoTest, WriteThatIsLeftOnARowMayFailThen)
{
    if (sqlite3_libversion_number() < 3035000)
        GTEST_SKIP() << "without RETURNING";
    mine.run("create table item (id integer primary key)");
    sql::Statement statement;
    EXPECT_TRUE(statement.prepare(mine.db, "insert into item values (1), (2) returning id"));
    ASSERT_TRUE(statement.next());
    other.run("begin; select * from item");
    statement.reset();
    EXPECT_EQ("5: database is locked", words(statement.error()));
    EXPECT_EQ(0, statement.changes());
    other.run("commit");
    EXPECT_EQ("0", mine.cell("select count(*) from item"));
    ASSERT_TRUE(statement.next());
    statement.reset();
    EXPECT_EQ("none", words(statement.error()));
    EXPECT_EQ("2", mine.cell("select count(*) from item"));
}

TEST_F(StatementsOfTwoTest, WriteThatFindEndsMayFailThen)
{
    if (sqlite3_libversion_number() < 3035000)
        GTEST_SKIP() << "without RETURNING";
    mine.run("create table item (id integer primary key)");
    const sql::FieldSet fields({sql::Field("id", sql::type_int, 0)});
    sql::Record record(fields);
    sql::Statement statement;
    EXPECT_TRUE(statement.prepare(mine.db, "insert into item values (?1) returning id"));
    other.run("begin; select * from item");
    EXPECT_FALSE(statement.find(7, record));
    EXPECT_EQ("5: database is locked", words(statement.error()));
    other.run("commit");
    EXPECT_TRUE(statement.find(7, record));
    EXPECT_EQ("7", mine.cell("select id from item"));
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

// Misuse

TEST_F(StatementTest, NothingRunsBeforeItIsPrepared)
{
    sql::Record record(items.fields());
    const std::function<bool()> operations[] = {
        [this] { return statement.next(); },
        [this] { return statement.run(); },
        [this] { return statement.bindNull(1); },
        [this] { return statement.bindInteger(1, 1); },
        [this] { return statement.bindDouble(1, 1); },
        [this] { return statement.bindBool(1, true); },
        [this] { return statement.bindTime(1, sql::Time(0)); },
        [this] { return statement.bindString(1, ""); },
        [this] { return statement.bindText(1, "", 0); },
        [this] { return statement.find(1); },
        [this] { return statement.find("key"); },
        [this, &record] { return statement.find(1, record); },
        [this, &record] { return statement.find("key", record); },
    };
    for (const auto& operation : operations) {
        EXPECT_FALSE(operation());
        expectFailure("", notThere);
    }
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

TEST_F(StatementTest, NothingRunsAfterItIsClosedUnused)
{
    EXPECT_TRUE(prepare("select ?1"));
    statement.close();
    EXPECT_FALSE(statement.bindNull(1));
    expectFailure("", notThere);
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
    for (sql::Table* table : {&unconnected, &described}) { // without a key, and with one
        EXPECT_FALSE(statement.selectByKey(*table));
        EXPECT_EQ("21: no connection", words(statement.error()));
        EXPECT_EQ(trace({notPrepared()}), takeDiagnostics());
    }
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
