#include "SqlRecordSet.h"

#include <string>

#include <gtest/gtest.h>
#include <sqlite3.h>

#include "SqlTable.h"
#include "support/RecordSets.h"
#include "support/World.h"

using namespace sqltest;

namespace
{

// The cost of a row

class RecordSetCostTest : public RecordSetTest
{
protected:
    // Allocations of a query.
    long costOf(const std::string& sql)
    {
        const long before = allocations();
        EXPECT_TRUE(set.query(sql));
        return allocations() - before;
    }

    // Allocations by which a vector grows to this size, and is then fitted to it.
    static long growthTo(int size)
    {
        std::vector<std::unique_ptr<int>> grown;
        const long before = allocations();
        for (int i = 0; i < size; ++i)
            grown.emplace_back();
        grown.shrink_to_fit();
        return allocations() - before;
    }
};

TEST_F(RecordSetCostTest, RowOfShortTextsTakesOneAllocationForItsValues)
{
    setTraceLevel(8);
    EXPECT_EQ(1 + growthTo(1), costOf("select 7, 'Bob'"));
}

TEST_F(RecordSetCostTest, RowTakesOneMoreAllocationForEachLongText)
{
    setTraceLevel(8);
    EXPECT_EQ(1 + 2 + growthTo(1),
              costOf("select '77777777777777777777777777777777', 'a name longer than a string'"));
}

TEST_F(RecordSetCostTest, RowsAreMovedWhenTheirVectorGrowsAndIsFitted)
{
    setTraceLevel(8);
    EXPECT_EQ(100 + growthTo(100),
              costOf("with recursive n(i) as (select 1 union all select i + 1 from n limit 100) "
                     "select i, 'Bob' from n"));
}

TEST_F(RecordSetCostTest, NoRowTakesNoAllocation)
{
    setTraceLevel(8);
    EXPECT_EQ(0, costOf("select 7, 'Bob' where 0"));
}

TEST_F(RecordSetCostTest, TextOfARowIsMadeAtLevel9Alone)
{
    setTraceLevel(9);
    EXPECT_LT(1 + growthTo(1), costOf("select 7, 'Bob'"));
}

// Memory that runs out while rows arrive. Errors alone are logged: a line of DEBUG3 allocates too.

class OutOfMemoryTest : public RecordSetTest
{
protected:
    OutOfMemoryTest() { setTraceLevel(3); }

    // Runs the query with memory that runs out after so many allocations.
    bool queryWith(int allocationsLeft) { return queryWith(allocationsLeft, sql); }
    bool queryWith(int allocationsLeft, const std::string& statement)
    {
        faults.allocationsLeft = allocationsLeft;
        const bool ok = set.query(statement);
        faults.allocationsLeft = -1;
        return ok;
    }

    const std::string sql = "select 1, 'a' union select 2, 'b' union select 3, 'c'";
    const std::string failure = failed(sql.c_str(), 7, "SQLITE_NOMEM");
};

TEST_F(OutOfMemoryTest, QueryFailsWithTheCodeOfSQLiteForIt)
{
    EXPECT_FALSE(queryWith(0));
    EXPECT_EQ(trace({sqlite("exec", sql)}) + failure, takeEvents());
}

TEST_F(OutOfMemoryTest, QueryIsNotOk)
{
    queryWith(0);
    EXPECT_FALSE(set.isResultOk());
    EXPECT_EQ(nullptr, set.getTopRecord());
}

TEST_F(OutOfMemoryTest, NoRowFollowsOneThatIsMissing)
{
    queryWith(0);
    EXPECT_EQ(0, set.count());
}

TEST_F(OutOfMemoryTest, RowsBeforeTheMissingOneAreKept)
{
    queryWith(2); // the first row, and the vector that holds it
    EXPECT_EQ("1. 1|a\r\n", set.toString());
}

TEST_F(OutOfMemoryTest, RowThatFindsNoRoomIsMissing)
{
    queryWith(1); // the first row, but not the vector that is to hold it
    EXPECT_EQ(0, set.count());
}

TEST_F(OutOfMemoryTest, RowThatFindsNoRoomIsLoggedBeforeItIsMissing)
{
    setTraceLevel(9);
    EXPECT_FALSE(queryWith(1)); // the line of the row is short enough to need no memory
    EXPECT_EQ(executed(sql.c_str()) + row("id = 1|name = a") + failure, takeEvents());
}

TEST_F(OutOfMemoryTest, RowsStayWhileTheirVectorCannotGrow)
{
    queryWith(3); // the second row, but no vector for both
    EXPECT_EQ("1. 1|a\r\n", set.toString());
}

TEST_F(OutOfMemoryTest, TextThatFindsNoRoomMakesItsRowMissing)
{
    // The second row, but not its text.
    EXPECT_FALSE(queryWith(3, "select 1, 'a' union select 2, 'a name longer than a string'"));
    EXPECT_EQ("1. 1|a\r\n", set.toString());
}

TEST_F(OutOfMemoryTest, LineOfARowThatFindsNoRoomMakesTheRowMissing)
{
    const char* const longRow = "select 1, 'Robert' union select 2, 'b'";
    setTraceLevel(9);
    EXPECT_FALSE(queryWith(1, longRow));
    EXPECT_EQ(0, set.count());
    EXPECT_EQ(executed(longRow) + failed(longRow, 7, "SQLITE_NOMEM"), takeEvents());
}

TEST_F(OutOfMemoryTest, WhileItLastsTheFailureIsStillLogged)
{
    faults.allocationsStayOut = true;
    EXPECT_FALSE(queryWith(0));
    EXPECT_EQ(trace({sqlite("exec", sql)}) + failure, takeEvents());
}

TEST_F(OutOfMemoryTest, QueryReadsAllRowsOnceThereIsMemoryAgain)
{
    queryWith(0);
    EXPECT_TRUE(set.query(sql));
    EXPECT_EQ("1. 1|a\r\n2. 2|b\r\n3. 3|c\r\n", set.toString());
}

TEST_F(OutOfMemoryTest, LaterFailureOfSQLiteKeepsTheCodeAndFreesTheText)
{
    const char* const twice = "select 7, 'Bob'; nonsense";
    EXPECT_FALSE(queryWith(0, twice));
    EXPECT_EQ(trace({sqlite("exec", twice)}) +
                  failed(twice, 7, "SQLITE_NOMEM", "near \"nonsense\": syntax error") + freed,
              takeEvents());
}

TEST_F(OutOfMemoryTest, RowCallbackReturns0)
{
    char seven[] = "7";
    char* cells[] = {seven, nullptr};
    faults.allocationsLeft = 0;
    EXPECT_EQ(0, sql::RecordSet::on_next_record(&set, 2, cells, nullptr));
    EXPECT_EQ(0, set.count());
}

TEST_F(OutOfMemoryTest, SQLiteEndsTheStatementSoThatTheConnectionCloses)
{
    sqlite3* own = nullptr;
    ASSERT_EQ(SQLITE_OK, sqlite3_open_v2(":memory:", &own, SQLITE_OPEN_READWRITE, nullptr));
    sql::RecordSet rows(own, item);
    faults.allocationsLeft = 0;
    EXPECT_FALSE(rows.query(sql));
    EXPECT_EQ(SQLITE_OK, sqlite3_close(own));
}

TEST_F(OutOfMemoryTest, StatementRunsToItsEndNevertheless)
{
    run("create table item (id)");
    EXPECT_FALSE(
        queryWith(0, "insert into item values (7) returning id; insert into item values (8)"));
    EXPECT_EQ("2", cell("select count(*) from item"));
}

} // namespace
