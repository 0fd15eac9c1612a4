#include "SqlStatement.h"

#include <functional>
#include <limits>

#include <gtest/gtest.h>
#include <sqlite3.h>

#include "support/Items.h"

using namespace sqltest;

namespace
{

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

TEST_F(StatementTest, FindThatCannotRunCountsNoChanges)
{
    EXPECT_TRUE(prepare("update item set price = 1"));
    const std::function<bool()> finds[] = {[this] { return statement.find(1); },
                                           [this] { return statement.find("key"); }};
    for (const auto& find : finds) {
        EXPECT_TRUE(statement.run());
        EXPECT_EQ(3, statement.changes());
        EXPECT_FALSE(find());
        EXPECT_EQ(0, statement.changes());
    }
}

TEST_F(StatementTest, TableWithTwoKeysIsNotReadByKey)
{
    const sql::Field fields[] = {sql::Field("id", sql::type_int, sql::flag_primary_key),
                                 sql::Field("name", sql::type_text, sql::flag_primary_key),
                                 sql::Field()};
    sql::Table table(db, "item", fields);
    EXPECT_TRUE(prepare("select 7"));
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

// A new statement

TEST_F(StatementTest, HasNoRowWhateverItsMemoryHeld)
{
    const Fresh<sql::Statement> fresh;
    EXPECT_EQ(0, fresh->changes());
    EXPECT_FALSE(fresh->next());
    EXPECT_EQ("21: no statement is prepared", words(fresh->error()));
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
    readRow("1, '1', x'31', 1.0, 2, 0, -1, '1.0', 'true', '2', '01', '1 ', "
            "cast(x'3100' as text), null");
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

TEST_F(StatementRecordTest, IsNotReadAfterTheLastRow)
{
    EXPECT_TRUE(statement.select(items));
    while (statement.next())
        EXPECT_TRUE(statement.read(record));
    EXPECT_FALSE(statement.read(record));
    EXPECT_EQ("21: there is no row", words(statement.error()));
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

TEST_F(StatementRecordTest, ErrorOfAReadIsClearedByTheEnd)
{
    EXPECT_TRUE(prepare("select 7"));
    ASSERT_TRUE(statement.next());
    EXPECT_FALSE(statement.read(record));
    EXPECT_FALSE(statement.next());
    EXPECT_EQ("none", words(statement.error()));
}

TEST_F(StatementRecordTest, ErrorOfAReadOutlivesAResetButNoBinding)
{
    EXPECT_TRUE(prepare("select ?1"));
    ASSERT_TRUE(statement.next());
    EXPECT_FALSE(statement.read(record));
    statement.reset();
    EXPECT_EQ(20, statement.error().code());
    EXPECT_TRUE(statement.bindInteger(1, 7));
    EXPECT_EQ("none", words(statement.error()));
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

// Whatever the database is like

TEST_F(StatementTest, TextsOfADatabaseInUtf16AreReadInUtf8)
{
    Connection wide(":memory:");
    wide.run("pragma encoding = 'UTF-16'; create table t (name text);"
             "insert into t values ('\xc3\x96l')");
    EXPECT_TRUE(statement.prepare(wide.db, "select name from t"));
    ASSERT_TRUE(statement.next());
    EXPECT_EQ(3, statement.getSize(0));
    EXPECT_STREQ("\xc3\x96l", statement.getText(0));
    statement.close();
}

TEST_F(StatementTest, PragmasAndExplanationsGiveRows)
{
    EXPECT_TRUE(prepare("pragma user_version"));
    EXPECT_EQ("0", rows());
    EXPECT_TRUE(prepare("pragma user_version = 7"));
    EXPECT_TRUE(statement.run());
    EXPECT_EQ("7", cell("pragma user_version"));
    EXPECT_TRUE(prepare("explain delete from item"));
    ASSERT_TRUE(statement.next());
    EXPECT_EQ("Init", statement.getString("opcode"));
    EXPECT_TRUE(statement.run());
    EXPECT_EQ("3", cell("select count(*) from item"));
}

TEST_F(StatementTest, InterruptionEndsTheRun)
{
    EXPECT_TRUE(prepare("select id from item"));
    ASSERT_TRUE(statement.next());
    sqlite3_interrupt(db);
    EXPECT_FALSE(statement.next());
    EXPECT_EQ("9: interrupted", words(statement.error()));
    EXPECT_EQ("1 2 3", rows());
}

TEST_F(StatementTest, CodesAreExtendedWhateverTheConnectionReturns)
{
    EXPECT_TRUE(prepare("insert into item (id) values (1)"));
    for (int isExtended : {0, 1}) {
        sqlite3_extended_result_codes(db, isExtended);
        EXPECT_FALSE(statement.run());
        EXPECT_EQ(19, statement.error().code());
        EXPECT_EQ("1555: UNIQUE constraint failed: item.id", words(statement.error()));
    }
}

class StatementInLogTest : public FileTest
{
};

TEST_F(StatementInLogTest, OnARowItKeepsTheLogFromBeingEmptied)
{
    const std::string empty = "pragma wal_checkpoint(truncate)";
    mine.run("pragma journal_mode = wal; create table item (id integer primary key);"
             "insert into item values (1), (2)");
    sql::Statement statement;
    EXPECT_TRUE(statement.prepare(mine.db, "select id from item"));
    ASSERT_TRUE(statement.next());
    other.run("insert into item values (3)");
    EXPECT_EQ("1", other.cell(empty)) << "busy";
    EXPECT_TRUE(statement.next());
    EXPECT_FALSE(statement.next()) << "as it was when the run began";
    EXPECT_EQ("0", other.cell(empty));
}

} // namespace
