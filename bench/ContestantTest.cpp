#include "Contestant.h"

#include <string>

#include <gtest/gtest.h>
#include <sqlite3.h>

#include "Workload.h"

namespace
{

using bench::Contestant;
using bench::Data;
using bench::Workload;

// A contestant and a workload.
using Parameters = std::tuple<std::pair<const std::string, bench::MakeContestant>, Workload>;
class ContestantTest : public ::testing::TestWithParam<Parameters>
{
};

TEST_P(ContestantTest, DoesWhatTheWorkloadAsks)
{
    const auto& [entry, work] = GetParam();
    const Data data(200, 1, ":memory:");
    const std::unique_ptr<Contestant> contestant = entry.second(1);
    contestant->open(data.path);
    work.prepare(*contestant, data);
    work.check(*contestant, data, work.run(*contestant, data)); // throws where it did not
}

INSTANTIATE_TEST_SUITE_P(All, ContestantTest,
                         ::testing::Combine(::testing::ValuesIn(bench::contestants()),
                                            ::testing::ValuesIn(bench::workloads())));

// The floor is the floor of the library's design only while it sends the same texts.
class FloorTest : public ::testing::TestWithParam<std::tuple<std::size_t, Workload>>
{
protected:
    void SetUp() override { sqlite3_auto_extension(reinterpret_cast<void (*)()>(traceConnection)); }
    void TearDown() override { sqlite3_reset_auto_extension(); }

    // The statements that SQLite begins to run on any connection, one per line.
    static std::string statementsOf(const char* name)
    {
        const auto& [itemsPerRow, work] = GetParam();
        const Data data(60, itemsPerRow, ":memory:");
        const std::unique_ptr<Contestant> contestant = bench::makeContestant(name, itemsPerRow);
        statements.clear();
        contestant->open(data.path);
        work.prepare(*contestant, data);
        work.check(*contestant, data, work.run(*contestant, data));
        return statements;
    }

private:
    static int traceConnection(sqlite3* db, const char**, const void*)
    {
        return sqlite3_trace_v2(db, SQLITE_TRACE_STMT, append, nullptr);
    }
    static int append(unsigned, void*, void*, void* sql)
    {
        statements += static_cast<const char*>(sql) + std::string("\n");
        return 0;
    }

    static inline std::string statements;
};

TEST_P(FloorTest, SendsTheTextsOfTheLibrary)
{
    const std::string expected = statementsOf("library");
    EXPECT_NE("", expected);
    EXPECT_EQ(expected, statementsOf("floor"));
}

INSTANTIATE_TEST_SUITE_P(Items, FloorTest,
                         ::testing::Combine(::testing::Values(1),
                                            ::testing::ValuesIn(bench::workloads())));
INSTANTIATE_TEST_SUITE_P(WideRows, FloorTest,
                         ::testing::Combine(::testing::Values(4, 40),
                                            ::testing::Values(bench::workload("insert"),
                                                              bench::workload("read-all"),
                                                              bench::workload("get-by-key"),
                                                              bench::workload("copy-table"))));

} // namespace
