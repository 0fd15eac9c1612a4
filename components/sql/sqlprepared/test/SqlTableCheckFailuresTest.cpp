// A table that can't be compared with the file: the finding says why.

#include "SqlTableCheck.h"

#include <map>
#include <utility>

#include <gtest/gtest.h>
#include <sqlite3.h>

#include "support/Described.h"

using namespace sqltest;

namespace
{

TEST_F(TableCheckTest, ReportsANullConnectionOnce)
{
    sql::Table table(nullptr, "item", described({name, id}));
    const std::vector<Finding> findings = sql::checkTable(table);
    EXPECT_EQ(Found({{Finding::key_last, "id"}, {Finding::failed, ""}}), kindsOf(findings));
    EXPECT_EQ("Table 'item' can't be compared with the file: there is no connection. Remove "
              "the cause, then check again.",
              findings[1].text);
    EXPECT_EQ(
        trace({companionSource("SqlTableCheck")
                   .asserted("db", "std::vector<sql::Finding> sql::checkTable(sql::Table&)")}),
        takeEvents());
}

TEST_F(TableCheckTest, SaysWhyTheFileCannotBeRead)
{
    mine.run("create table item (id integer primary key, name)");
    other.run("begin exclusive");
    const std::vector<Finding> findings = check({name, id});
    EXPECT_EQ(Found({{Finding::key_last, "id"}, {Finding::failed, ""}}), kindsOf(findings));
    EXPECT_EQ("Table 'item' can't be compared with the file: database is locked. Remove the "
              "cause, then check again.",
              findings[1].text);
}

// What SQLite makes of pragmas while this lives: SQLITE_DENY refuses one, and SQLITE_IGNORE gives
// no row, as SQLite does for a pragma that it does not know.
class Pragmas
{
public:
    Pragmas(sqlite3* db, std::map<std::string, int> verdictOf)
        : _db(db), _verdicts(std::move(verdictOf))
    {
        sqlite3_set_authorizer(
            _db,
            [](void* self, int action, const char* pragma, const char*, const char*, const char*) {
                const auto& verdicts = static_cast<Pragmas*>(self)->_verdicts;
                const auto found = verdicts.find(action == SQLITE_PRAGMA ? pragma : "");
                return found == verdicts.end() ? SQLITE_OK : found->second;
            },
            this);
    }
    ~Pragmas() { sqlite3_set_authorizer(_db, nullptr, nullptr); }
    Pragmas(const Pragmas&) = delete;
    Pragmas& operator=(const Pragmas&) = delete;

private:
    sqlite3* const _db;
    const std::map<std::string, int> _verdicts;
};

TEST_F(TableCheckTest, SaysThatSQLiteRefusesToDescribeTheTable)
{
    mine.run("create table item (id integer primary key, name text unique)");
    const std::map<std::string, int> refusals[] = {
        {{"table_xinfo", SQLITE_DENY}},
        {{"table_xinfo", SQLITE_IGNORE}, {"table_info", SQLITE_DENY}},
        {{"index_list", SQLITE_DENY}},
        {{"index_info", SQLITE_DENY}}};
    for (const auto& refusal : refusals) {
        const Pragmas pragmas(mine.db, refusal);
        const std::vector<Finding> findings = check({name, id});
        EXPECT_EQ(Found({{Finding::key_last, "id"}, {Finding::failed, ""}}), kindsOf(findings))
            << refusal.begin()->first;
        EXPECT_EQ("Table 'item' can't be compared with the file: not authorized. Remove the "
                  "cause, then check again.",
                  findings.back().text);
    }
}

TEST_F(TableCheckTest, ReadsTheColumnsFromAnSQLiteThatDoesNotKnowHiddenOnes)
{
    mine.run("create table item (id integer primary key, more, name text)");
    const Pragmas older(mine.db, {{"table_xinfo", SQLITE_IGNORE}});
    EXPECT_EQ(Found({{Finding::column_extra, "more"}, {Finding::column_elsewhere, "name"}}),
              kindsOf(check({id, name})));
}

TEST_F(TableCheckTest, TakesAnInterruptionForAFailure)
{
    mine.run("create table item (id integer primary key, name text unique, more)");
    const Found whole = kindsOf(check({name, id}));
    EXPECT_LT(2u, whole.size());
    const auto isNow = [](void* left) { return (*static_cast<int*>(left))-- == 0 ? 1 : 0; };
    int interruptions = 0;
    for (bool isInterrupted = true; isInterrupted; ++interruptions) {
        ASSERT_GT(1000, interruptions);
        int left = interruptions;
        sqlite3_progress_handler(mine.db, 1, isNow, &left);
        const std::vector<Finding> findings = check({name, id});
        sqlite3_progress_handler(mine.db, 0, nullptr, nullptr);
        ASSERT_FALSE(findings.empty());
        isInterrupted = left < 0;
        if (isInterrupted) {
            EXPECT_EQ(Found({{Finding::key_last, "id"}, {Finding::failed, ""}}), kindsOf(findings));
            EXPECT_NE(std::string::npos,
                      findings.back().text.find(": interrupted. Remove the cause"));
        } else {
            EXPECT_EQ(whole, kindsOf(findings));
        }
    }
    EXPECT_LT(10, interruptions);
}

TEST_F(TableCheckTest, TakesTheEndOfMemoryForAFailure)
{
    const std::string longName = "an_item_whose_name_is_long";
    mine.run("create table " + longName +
             " (id integer primary key, name,"
             " more_than_a_short_name a_type_of_a_long_name unique)");
    sql::Table table(mine.db, longName, described({name, id}));
    const Found failed = {{Finding::failed, ""}};
    const Found failedInTheFile = {{Finding::key_last, "id"}, {Finding::failed, ""}};
    const Found whole = kindsOf(sql::checkTable(table));
    ASSERT_EQ(5u, whole.size());
    for (const bool staysOut : {true, false}) {
        Found found;
        for (int left = 1; found != whole; ++left) {
            ASSERT_GT(1000, left);
            faults.allocationsLeft = left;
            faults.allocationsStayOut = staysOut;
            const std::vector<Finding> findings = sql::checkTable(table);
            faults.allocationsLeft = -1;
            found = kindsOf(findings);
            EXPECT_TRUE(found == whole || found == failed || found == failedInTheFile) << left;
        }
    }
}

TEST_F(TableCheckTest, TakesTheEndOfMemoryForAFailureOfTheDescription)
{
    const sql::FieldSet fields = described({name, id});
    const std::string table = "item";
    Found found;
    int left = 1;
    for (; found != Found({{Finding::key_last, "id"}}); ++left) {
        ASSERT_GT(1000, left);
        EXPECT_TRUE(found.empty() || found == Found({{Finding::failed, ""}})) << left;
        faults.allocationsLeft = left;
        const std::vector<Finding> findings = sql::checkDescription(table, fields);
        faults.allocationsLeft = -1;
        found = kindsOf(findings);
        ASSERT_EQ(1u, found.size()) << left;
        if (findings[0].kind == Finding::failed) {
            EXPECT_EQ("out of memory", findings[0].text);
        }
    }
    EXPECT_LT(2, left);
}

TEST_F(TableCheckTest, LogsTheEndOfMemoryThatLeavesNoRoomForAFinding)
{
    sql::Table table(mine.db, "item", described({id, name}));
    for (const bool staysOut : {true, false}) {
        faults.allocationsLeft = 0;
        faults.allocationsStayOut = staysOut;
        const std::vector<Finding> findings = sql::checkTable(table);
        faults.allocationsLeft = -1;
        EXPECT_EQ(Found(), kindsOf(findings));
        EXPECT_EQ(
            trace({companionSource("SqlTableCheck")
                       .error("setOutOfMemory", "Failed to check a table: %s", "out of memory")}),
            takeEvents());
    }
}

} // namespace
