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
class ContestantTest : public ::testing::TestWithParam<std::tuple<bench::Entry, Workload>>
{
};

TEST_P(ContestantTest, DoesWhatTheWorkloadAsks)
{
    const auto& [entry, work] = GetParam();
    const Data data(200, 1);
    const std::unique_ptr<Contestant> contestant = entry.make(1);
    contestant->open(":memory:");
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
    // The statements that SQLite begins to run, one a line.
    static std::string statementsOf(const char* name)
    {
        const auto& [itemsPerRow, work] = GetParam();
        const Data data(60, itemsPerRow);
        const std::unique_ptr<Contestant> contestant = bench::contestant(name).make(itemsPerRow);
        std::string statements;
        contestant->open(":memory:");
        sqlite3_trace_v2(contestant->handle(), SQLITE_TRACE_STMT, append, &statements);
        work.prepare(*contestant, data);
        work.check(*contestant, data, work.run(*contestant, data));
        return statements;
    }

private:
    static int append(unsigned, void* statements, void*, void* sql)
    {
        *static_cast<std::string*>(statements) += static_cast<const char*>(sql) + std::string("\n");
        return 0;
    }
};

TEST_P(FloorTest, SendsTheTextsOfTheLibrary)
{
    EXPECT_EQ(statementsOf("library"), statementsOf("floor"));
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
