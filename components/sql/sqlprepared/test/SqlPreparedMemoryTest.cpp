// Memory that runs out at any moment of an operation: the operation fails with SQLITE_NOMEM, and
// the same object can repeat it at once.

#include <cfloat>
#include <functional>

#include <gtest/gtest.h>
#include <sqlite3.h>

#include "platform/Interposed.h"
#include "support/Items.h"

using namespace sqltest;

// These replace SQLite's own, which return null when they have no memory to make a text.
static bool hasNoMemoryForText = false;
static bool hasNoMemoryForName = false;

extern "C" const unsigned char* sqlite3_column_text(sqlite3_stmt* statement, int column)
{
    return hasNoMemoryForText ? nullptr : SQLW_REAL(sqlite3_column_text)(statement, column);
}

extern "C" const char* sqlite3_column_name(sqlite3_stmt* statement, int column)
{
    return hasNoMemoryForName ? nullptr : SQLW_REAL(sqlite3_column_name)(statement, column);
}

// It makes a number NULL then: its code alone shows that there was one.
static bool hasMadeNull = false;

extern "C" int sqlite3_errcode(sqlite3* db)
{
    return hasMadeNull ? SQLITE_NOMEM : SQLW_REAL(sqlite3_errcode)(db);
}

namespace
{

const std::string longText(100, 'x'); // which no string holds without memory

const std::string selectLongName = "select " + longText;

// Repeats an operation, with memory that runs out after no allocation, after one, and so forth.
// Returns how often it fails before it succeeds.
int failuresOf(const std::function<bool()>& operation, const sql::Error& error, Faults& faults)
{
    for (int left = 0; left < 1000; ++left) {
        faults.allocationsLeft = left;
        const bool succeeded = operation();
        faults.allocationsLeft = -1;
        if (succeeded)
            return left;
        EXPECT_EQ("7: out of memory", words(error)) << left;
    }
    ADD_FAILURE() << "it never succeeds";
    return 0;
}

// Statements

class StatementMemoryTest : public StatementTest, public ::testing::WithParamInterface<bool>
{
protected:
    StatementMemoryTest() { faults.allocationsStayOut = GetParam(); }

    void expectFailures(const std::function<bool()>& operation)
    {
        EXPECT_LT(0, failuresOf(operation, statement.error(), faults));
        EXPECT_EQ("none", words(statement.error()));
    }
};

INSTANTIATE_TEST_SUITE_P(OnceAndForGood, StatementMemoryTest, ::testing::Bool());

TEST_P(StatementMemoryTest, SelectFailsAndCanBeRepeated)
{
    const std::string where = "id < 3 and name <> 'Screw'", orderBy = "name";
    expectFailures([&] { return statement.select(items, where, orderBy); });
    EXPECT_EQ("1 2", rows());
}

TEST_P(StatementMemoryTest, SelectThatFailsLeavesNoStatement)
{
    EXPECT_TRUE(prepare("select 7"));
    faults.allocationsLeft = 0;
    EXPECT_FALSE(statement.select(items, longText));
    faults.allocationsLeft = -1;
    EXPECT_FALSE(statement.next());
    EXPECT_EQ("21: no statement is prepared", words(statement.error()));
}

TEST_P(StatementMemoryTest, SelectByKeyFailsAndCanBeRepeated)
{
    expectFailures([this] { return statement.selectByKey(items); });
    ASSERT_TRUE(statement.find(2));
    EXPECT_EQ("Nut", statement.getString("name"));
}

TEST_P(StatementMemoryTest, KeyIsNotFoundWithoutMemoryToKeepIt)
{
    run("insert into part values ('" + longText + "', 8)");
    EXPECT_TRUE(statement.selectByKey(parts));
    expectFailures([this] { return statement.find(longText); });
    EXPECT_EQ(8, statement.getInteger("count"));
}

TEST_P(StatementMemoryTest, RecordThatCannotBeReadLeavesTheRow)
{
    run("update item set name = '" + longText + "'");
    sql::Record record(items.fields());
    EXPECT_TRUE(statement.select(items));
    ASSERT_TRUE(statement.next());
    expectFailures([&] { return statement.read(record); });
    EXPECT_EQ(longText, record.getValue("name")->asString());
    EXPECT_EQ(1, statement.getInteger("id"));
}

TEST_P(StatementMemoryTest, RecordThatCannotBeReadIsFoundAgainAndLocksNothing)
{
    run("update item set name = '" + longText + "'");
    sql::Record record(items.fields());
    EXPECT_TRUE(statement.selectByKey(items));
    expectFailures([&] { return statement.find(2, record); });
    EXPECT_EQ(2, record.getValue("id")->asInteger());
    EXPECT_EQ(longText, record.getValue("name")->asString());
    sql::Record other(items.fields());
    faults.allocationsLeft = 0;
    EXPECT_FALSE(statement.find(1, other));
    faults.allocationsLeft = -1;
    EXPECT_FALSE(isLocked());
}

TEST_P(StatementMemoryTest, WordsThatFindNoRoomAreMissingWhileTheCodeIsKept)
{
    const std::string sql = "select absent from item";
    faults.allocationsLeft = 0;
    EXPECT_FALSE(prepare(sql));
    faults.allocationsLeft = -1;
    EXPECT_EQ("1: ", words(statement.error()));
    EXPECT_FALSE(prepare(sql));
    EXPECT_EQ("1: no such column: absent", words(statement.error()));
}

TEST_P(StatementMemoryTest, WordsThatFindNoRoomLeaveNoneOfAnEarlierFailure)
{
    EXPECT_FALSE(prepare("selec"));
    EXPECT_EQ("1: near \"selec\": syntax error", words(statement.error()));
    faults.allocationsLeft = 0;
    EXPECT_FALSE(prepare(selectLongName));
    faults.allocationsLeft = -1;
    EXPECT_EQ("1: ", words(statement.error()));
}

// Memory of SQLite itself

class TextMemoryTest : public StatementTest
{
protected:
    TextMemoryTest()
    {
        EXPECT_TRUE(statement.select(items));
        EXPECT_TRUE(statement.next());
    }
    ~TextMemoryTest() override { hasNoMemoryForText = hasMadeNull = false; }
};

TEST_F(TextMemoryTest, TextThatSqliteCannotMakeIsEmptyAndAnError)
{
    hasNoMemoryForText = true;
    EXPECT_EQ("", statement.getString("name"));
    EXPECT_EQ("7: out of memory", words(statement.error()));
    EXPECT_EQ(nullptr, statement.getText(1));
    EXPECT_FALSE(statement.isNull(1));
    hasNoMemoryForText = false;
    EXPECT_EQ("Bolt", statement.getString("name"));
}

TEST_F(TextMemoryTest, NullIsNoTextThatSqliteCannotMake)
{
    ASSERT_TRUE(statement.next());
    EXPECT_TRUE(statement.next());
    hasNoMemoryForText = true;
    EXPECT_EQ("", statement.getString("name"));
    EXPECT_EQ("none", words(statement.error()));
}

TEST_F(TextMemoryTest, ColumnWhoseNameSqliteCannotMakeIsNotFound)
{
    EXPECT_TRUE(prepare("select 7 as i"));
    hasNoMemoryForName = true;
    EXPECT_EQ(-1, statement.column("i"));
    hasNoMemoryForName = false;
    EXPECT_EQ(0, statement.column("i"));
}

TEST_F(TextMemoryTest, NumberThatSqliteMakesNullIsAnError)
{
    ASSERT_TRUE(statement.next());
    ASSERT_TRUE(statement.next());
    ASSERT_TRUE(statement.isNull("name"));
    hasMadeNull = true;
    EXPECT_EQ("", statement.getString("name"));
    EXPECT_EQ("7: out of memory", words(statement.error()));
    sql::Record record(items.fields());
    EXPECT_FALSE(statement.read(record));
    EXPECT_EQ("7: out of memory", words(statement.error()));
    hasMadeNull = false;
    EXPECT_TRUE(statement.read(record));
    EXPECT_EQ("none", words(statement.error()));
}

// Those of up to five digits and eight decimals. SQLite writes the others.
TEST_F(TextMemoryTest, NumbersOfFewDigitsNeedNoTextOfSqlite)
{
    if (FLT_EVAL_METHOD != 0)
        GTEST_SKIP() << "SQLite writes all numbers";
    const sql::FieldSet fields(
        {sql::Field("number", sql::type_float, 0), sql::Field("whole", sql::type_int, 0)});
    sql::Record record(fields);
    EXPECT_TRUE(prepare("select ?1, 7"));
    hasNoMemoryForText = true;
    const auto isRead = [&](double number) {
        return statement.bindDouble(1, number) && statement.next() && statement.read(record);
    };
    const std::pair<double, const char*> few[] = {{0.0, "0.0"},
                                                  {0.001, "0.001"},
                                                  {0.00100001, "0.00100001"},
                                                  {0.25, "0.25"},
                                                  {-1.0, "-1.0"},
                                                  {-12345.678, "-12345.678"},
                                                  {99999.99999999, "99999.99999999"}};
    for (const auto& number : few) {
        EXPECT_TRUE(isRead(number.first)) << number.second;
        EXPECT_EQ(number.second, record.getValue(0)->asString());
        EXPECT_EQ("7", record.getValue(1)->asString());
    }
    for (const double number : {-0.0, 0.0009, 1e5, 1.0 / 3, 0.123456789})
        EXPECT_FALSE(isRead(number)) << number;
}

TEST_F(TextMemoryTest, NoStatementHasLostNoNumber)
{
    statement.close();
    hasMadeNull = true;
    EXPECT_EQ("", statement.getString(0));
    EXPECT_EQ("none", words(statement.error()));
}

TEST_F(TextMemoryTest, RecordWithATextThatSqliteCannotMakeIsNotRead)
{
    sql::Record record(items.fields());
    hasNoMemoryForText = true;
    takeDiagnostics();
    EXPECT_FALSE(statement.read(record));
    expectFailure("select id, name, price, active, made from item",
                  {7, "SQLITE_NOMEM", "out of memory"});
    hasNoMemoryForText = false;
    EXPECT_TRUE(statement.read(record));
    EXPECT_EQ("Bolt", record.getValue("name")->asString());
    EXPECT_EQ("none", words(statement.error()));
}

// Writers

class WriterMemoryTest : public TableWriterTest, public ::testing::WithParamInterface<bool>
{
protected:
    WriterMemoryTest() { faults.allocationsStayOut = GetParam(); }

    void expectFailures(const std::function<bool()>& operation, const sql::TableWriter& of)
    {
        EXPECT_LT(0, failuresOf(operation, of.error(), faults));
        EXPECT_EQ("none", words(of.error()));
        EXPECT_EQ(1, of.changes());
    }
};

INSTANTIATE_TEST_SUITE_P(OnceAndForGood, WriterMemoryTest, ::testing::Bool());

TEST_P(WriterMemoryTest, RecordsAreWrittenAllTheSame)
{
    const sql::Record added = item(7, longText);
    const sql::Record changed = item(7, longText + longText);
    const sql::Record replaced = item(7, longText + longText + longText);
    expectFailures([&] { return writer.insert(added); }, writer);
    EXPECT_EQ("7 '" + longText + "' NULL NULL NULL", row("7"));
    expectFailures([&] { return writer.update(changed); }, writer);
    EXPECT_EQ("7 '" + longText + longText + "' NULL NULL NULL", row("7"));
    expectFailures([&] { return writer.upsert(replaced); }, writer);
    EXPECT_EQ("300", cell("select length(name) from item where id = 7"));
}

TEST_P(WriterMemoryTest, CellsAreWrittenAllTheSame)
{
    setItem(7, longText);
    expectFailures([this] { return writer.insert(); }, writer);
    EXPECT_EQ("7 '" + longText + "' NULL NULL NULL", row("7"));
}

TEST_P(WriterMemoryTest, RowsAreErasedAllTheSame)
{
    run("insert into part values ('" + longText + "', 8), ('A-17', 5)");
    expectFailures([this] { return partWriter.erase(longText); }, partWriter);
    EXPECT_EQ("A-17=5", partRows());
    expectFailures([this] { return writer.erase(2); }, writer);
    EXPECT_EQ("1", ids());
}

TEST_P(WriterMemoryTest, LostCellIsNotForgottenForAColumnThatIsNotThere)
{
    setItem(7, "Screw");
    faults.allocationsLeft = 0;
    writer.setString(1, longText);
    faults.allocationsLeft = -1;
    writer.setInteger(99, 7);
    for (int i = 0; i < 2; ++i) {
        EXPECT_FALSE(writer.insert());
        EXPECT_EQ("7: out of memory", words(writer.error()));
    }
    EXPECT_EQ("1 2", ids());
}

// A long name of a table takes memory too, for the log alone.
TEST_P(WriterMemoryTest, FailureThatCannotBeLoggedIsReturned)
{
    sql::Table table(db, "a_name_longer_than_a_string", itemFields);
    sql::TableWriter nameless(table);
    const sql::Record record(parts.fields());
    run("create table a_name_longer_than_a_string (id integer primary key, name, price, active, "
        "made)");
    EXPECT_TRUE(nameless.insert());
    const Refusal refusal = {20, "SQLITE_MISMATCH", "the record has other columns than the table"};
    const std::string logged = trace({refusedToWrite(table.name(), refusal)});
    int failures = 0;
    for (bool isWhole = false; !isWhole;) {
        ASSERT_GT(100, failures);
        faults.allocationsLeft = failures;
        EXPECT_FALSE(nameless.insert(record));
        faults.allocationsLeft = -1;
        EXPECT_EQ(20, nameless.error().code());
        const std::string lines = takeDiagnostics();
        EXPECT_TRUE(lines.empty() || lines == logged) << lines;
        isWhole = lines == logged && nameless.error().text() == refusal.text;
        if (!isWhole)
            ++failures;
    }
    EXPECT_LT(1, failures); // without memory for the words, and without memory for the name
}

// Copies

TEST_F(FileTest, CopyThatFailsWithoutMemoryForItsWordsKeepsItsCode)
{
    faults.allocationsLeft = 0;
    const sql::Backup backup(mine.db, mine.db);
    faults.allocationsLeft = -1;
    EXPECT_EQ("1: ", words(backup.error()));
}

} // namespace
