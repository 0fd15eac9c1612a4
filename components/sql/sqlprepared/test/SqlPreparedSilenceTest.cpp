// Below the level of errors the companion writes no line, and yet returns every failure.

#include <gtest/gtest.h>
#include <sqlite3.h>

#include "support/Items.h"

using namespace sqltest;

namespace
{

const int belowErrors = 2;

class SilentStatementTest : public StatementTest
{
protected:
    SilentStatementTest() { setTraceLevel(belowErrors); }

    void expectSilent(const std::string& error)
    {
        EXPECT_EQ(error, words(statement.error()));
        EXPECT_EQ("", takeDiagnostics());
    }
};

TEST_F(SilentStatementTest, CannotBePrepared)
{
    EXPECT_FALSE(prepare("select absent from item"));
    expectSilent("1: no such column: absent");
    EXPECT_FALSE(prepare("select 7; select 8"));
    expectSilent("21: the text is not exactly one statement");
}

TEST_F(SilentStatementTest, CannotRun)
{
    EXPECT_TRUE(prepare("insert into item (id) values (1)"));
    EXPECT_FALSE(statement.run());
    expectSilent("1555: UNIQUE constraint failed: item.id");
    EXPECT_EQ(0, statement.changes());
}

TEST_F(SilentStatementTest, ReportsANullConnectionAllTheSame)
{
    EXPECT_FALSE(statement.prepare(nullptr, "select 1"));
    EXPECT_EQ(trace({notPrepared()}), takeDiagnostics());
}

TEST_F(SilentStatementTest, LosesItsSecondLineWhenTheLevelFallsAfterTheFirst)
{
    const Source source = companionSource("SqlStatement");
    setTraceLevel(3);
    faults.levelAfterNextLine = belowErrors;
    EXPECT_FALSE(prepare("select"));
    EXPECT_EQ(trace({source.error("compile", "Failed to prepare the SQL stmt '%s'", "select")}),
              takeDiagnostics());
    setTraceLevel(3);
    faults.levelAfterNextLine = belowErrors;
    EXPECT_FALSE(statement.run());
    EXPECT_EQ(trace({source.error("logFailure", "Failed to run the SQL stmt '%s'", "")}),
              takeDiagnostics());
}

class SilentWriterTest : public TableWriterTest
{
protected:
    SilentWriterTest() { setTraceLevel(belowErrors); }

    void expectSilent(const std::string& error)
    {
        EXPECT_EQ(error, words(writer.error()));
        EXPECT_EQ(0, writer.changes());
        EXPECT_EQ("", takeDiagnostics());
    }
};

TEST_F(SilentWriterTest, RefusesARecordOfOtherColumns)
{
    EXPECT_FALSE(writer.insert(part("A-17", 5)));
    expectSilent("20: the record has other columns than the table");
}

TEST_F(SilentWriterTest, CannotAddARowTwice)
{
    EXPECT_FALSE(writer.insert(item(1, "Bolt")));
    expectSilent("1555: UNIQUE constraint failed: item.id");
    EXPECT_EQ("1 2", ids());
}

class SilentFileTest : public FileTest
{
protected:
    SilentFileTest() { setTraceLevel(belowErrors); }
};

TEST_F(SilentFileTest, TransactionEndsOnce)
{
    sql::Transaction transaction(mine.db);
    EXPECT_TRUE(transaction.commit());
    EXPECT_FALSE(transaction.commit());
    EXPECT_EQ("21: no transaction is open", words(transaction.error()));
    EXPECT_EQ("", takeDiagnostics());
}

TEST_F(SilentFileTest, CopyFails)
{
    const sql::Backup backup(mine.db, mine.db);
    EXPECT_EQ("1: source and destination must be distinct", words(backup.error()));
    EXPECT_EQ("", takeDiagnostics());
}

TEST_F(SilentFileTest, CheckFindsNothingWithoutMemory)
{
    sql::Table table(mine.db, "item", itemFields);
    faults.allocationsLeft = 0;
    faults.allocationsStayOut = true;
    const std::vector<sql::Finding> findings = sql::checkTable(table);
    faults.allocationsLeft = -1;
    EXPECT_TRUE(findings.empty());
    EXPECT_EQ("", takeDiagnostics());
}

} // namespace
