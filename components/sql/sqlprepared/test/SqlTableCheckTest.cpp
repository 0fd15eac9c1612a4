#include "SqlTableCheck.h"

#include <map>
#include <utility>

#include <gtest/gtest.h>
#include <sqlite3.h>

#include "support/Described.h"

using namespace sqltest;

namespace
{

// The description by itself

TEST_F(TableCheckTest, FindsNothingInAGoodDescription)
{
    EXPECT_EQ(Found(), describe(described({id, name})));
    EXPECT_EQ("", takeDiagnostics());
}

TEST_F(TableCheckTest, FindsThatThereAreNoColumns)
{
    EXPECT_EQ(Found({{Finding::no_columns, ""}}), describe(sql::FieldSet(nullptr)));
    EXPECT_EQ("Table 'item' is described without columns and can't be created, read or written. "
              "Describe its columns; a key column that is neither an integer nor a text empties a "
              "description.\n",
              textsOf(sql::checkDescription("item", sql::FieldSet(nullptr))));
}

TEST_F(TableCheckTest, FindsThatThereIsNoKey)
{
    EXPECT_EQ(Found({{Finding::no_key, ""}}), describe(described({name})));
}

TEST_F(TableCheckTest, FindsEachKeyAfterTheFirst)
{
    const Field second("second", sql::type_int, sql::flag_primary_key);
    const Field third("third", sql::type_int, sql::flag_primary_key);
    EXPECT_EQ(Found({{Finding::two_keys, "second"}}), describe(described({id, second, name})));
    EXPECT_EQ(Found({{Finding::two_keys, "second"}, {Finding::two_keys, "third"}}),
              describe(described({id, second, third, name})));
}

TEST_F(TableCheckTest, FindsAKeyInTheLastColumn)
{
    EXPECT_EQ(Found({{Finding::key_last, "id"}}), describe(described({name, id})));
    const Field second("second", sql::type_int, sql::flag_primary_key);
    EXPECT_EQ(Found({{Finding::two_keys, "second"}, {Finding::key_last, "second"}}),
              describe(described({id, name, second})));
}

TEST_F(TableCheckTest, FindsThatThereAreKeysOnly)
{
    EXPECT_EQ(Found({{Finding::key_only, "id"}}), describe(described({id})));
    const Field second("second", sql::type_int, sql::flag_primary_key);
    EXPECT_EQ(Found({{Finding::two_keys, "second"}, {Finding::key_only, "second"}}),
              describe(described({id, second})));
}

TEST_F(TableCheckTest, FindsKeysOfATypeThatNoKeyHas)
{
    for (const sql::field_type type : {sql::type_float, sql::type_bool, sql::type_time}) {
        const std::vector<Field> fields = {Field("key", type, sql::flag_primary_key), name};
        EXPECT_EQ(Found({{Finding::key_type, "key"}, {Finding::not_numbered, "key"}}),
                  describe(sql::FieldSet(fields)));
    }
    const auto unknown = static_cast<sql::field_type>(5);
    const std::vector<Field> fields = {Field("key", unknown, sql::flag_primary_key), name};
    EXPECT_EQ("Key column 'key' of table 'item' is of type 5, which FieldSet refuses. Make it an "
              "integer or a text.",
              sql::checkDescription("item", sql::FieldSet(fields))[0].text);
    EXPECT_EQ("", takeDiagnostics());
}

TEST_F(TableCheckTest, FindsTextKeysAndThoseThatAcceptNull)
{
    const int key = sql::flag_primary_key;
    const Field text("code", sql::type_text, key | sql::flag_not_null);
    EXPECT_EQ(Found({{Finding::text_key, "code"}}), describe(described({text, name})));
    EXPECT_EQ(Found({{Finding::text_key, "code"}, {Finding::text_key_nullable, "code"}}),
              describe(described({Field("code", sql::type_text, key), name})));
}

TEST_F(TableCheckTest, FindsNamesThatAppearTwiceInAnyCase)
{
    EXPECT_EQ(Found({{Finding::name_twice, "NAME"}, {Finding::name_twice, "name"}}),
              describe(described({id, name, Field("NAME", sql::type_int, 0), name})));
    EXPECT_EQ(Found(), describe(described({id, Field("\xc3\xa4", sql::type_int, 0),
                                           Field("\xc3\x84", sql::type_int, 0)})));
}

TEST_F(TableCheckTest, FindsNamesThatNeedQuotes)
{
    for (const char* const odd : {"two words", "1st", "a-b", "$a", "a.b", "a\"b", " a", "a@", "[a",
                                  "a`", "a{", "a/", "a:"}) {
        EXPECT_EQ(Found({{Finding::name_needs_quotes, odd}}),
                  describe(described({id, Field(odd, sql::type_int, 0)})));
        EXPECT_EQ(Found({{Finding::name_needs_quotes, ""}}), describe(described({id, name}), odd));
    }
    for (const char* const plain : {"a1", "_", "a$", "A_b", "\xc3\xa4", "az", "AZ", "a09"}) {
        EXPECT_EQ(Found(), describe(described({id, Field(plain, sql::type_int, 0)})));
        mine.run("create table t (" + std::string(plain) + "); drop table t");
    }
}

TEST_F(TableCheckTest, FindsEmptyNames)
{
    EXPECT_EQ(Found({{Finding::name_needs_quotes, ""}}), describe(described({id, name}), ""));
    const std::vector<Field> fields = {id, Field()};
    const std::vector<Finding> findings = sql::checkDescription("item", sql::FieldSet(fields));
    EXPECT_EQ(
        "Column '' of table 'item' has a name that SQLite takes only in quotes, and names are "
        "written without. Use letters, digits and '_', and do not begin with a digit.",
        findings[0].text);
}

TEST_F(TableCheckTest, FindsTheFirstColumnThatIsNotNumbered)
{
    const std::vector<Field> fields = {id, name};
    EXPECT_EQ(Found({{Finding::not_numbered, "id"}}), describe(sql::FieldSet(fields)));
    sql::FieldSet twice = described({id, name});
    const Field more[] = {Field("more", sql::type_int, sql::flag_primary_key),
                          Field("end", sql::type_int, 0), Field()};
    twice.initFieldSet(more); // which numbers the first ones again
    EXPECT_EQ(Found({{Finding::two_keys, "more"}, {Finding::not_numbered, "more"}}),
              describe(twice));
}

#if SQLITE_VERSION_NUMBER >= 3024000 // which lists its words
/// Whether SQLite takes a word as the name of a column, or of a table, in each kind of statement.
bool isTaken(const std::vector<std::string>& statements)
{
    sqlite3* db = nullptr;
    sqlite3_open(":memory:", &db);
    bool taken = true;
    for (const std::string& statement : statements)
        taken =
            taken && sqlite3_exec(db, statement.c_str(), nullptr, nullptr, nullptr) == SQLITE_OK;
    sqlite3_close(db);
    return taken;
}

bool isTakenForColumn(const std::string& word)
{
    return isTaken({"create table t (" + word + " integer, id integer primary key)",
                    "insert into t (" + word + ", id) values (1, 2)", "update t set " + word + "=3",
                    "select id, " + word + " from t where " + word + " = 3 order by " + word});
}

bool isTakenForTable(const std::string& word)
{
    return isTaken({"create table " + word + " (id integer primary key, a)",
                    "insert into " + word + " (id) values (1)", "update " + word + " set a=2",
                    "select * from " + word + " where id = 1", "delete from " + word,
                    "drop table " + word});
}

TEST_F(TableCheckTest, FindsTheWordsThatSQLiteRefusesAndNoOthers)
{
    int refused = 0;
    for (int i = 0; i < sqlite3_keyword_count(); ++i) {
        const char* first = nullptr;
        int size = 0;
        sqlite3_keyword_name(i, &first, &size);
        std::string word(first, static_cast<std::size_t>(size));
        for (char& letter : word)
            letter = static_cast<char>(i % 2 && letter != '_' ? letter | 0x20 : letter);
        SCOPED_TRACE(word);
        EXPECT_EQ(isTakenForColumn(word) ? Found() : Found({{Finding::name_reserved, word}}),
                  describe(described({id, Field(word, sql::type_int, 0)})));
        EXPECT_EQ(isTakenForTable(word) ? Found() : Found({{Finding::name_reserved, ""}}),
                  describe(described({id, name}), word));
        refused += isTakenForColumn(word) ? 0 : 1;
    }
    EXPECT_LT(50, refused);
    for (const char* const plain : {"if_", "selec", "selects", "zzz", "aaa"})
        EXPECT_EQ(Found(), describe(described({id, Field(plain, sql::type_int, 0)}), plain));
}
#endif

TEST_F(TableCheckTest, OrdersFindingsByTheirKinds)
{
    const Field key("group", sql::type_text, sql::flag_primary_key);
    EXPECT_EQ(Found({{Finding::key_last, "group"},
                     {Finding::text_key, "group"},
                     {Finding::text_key_nullable, "group"},
                     {Finding::name_reserved, ""},
                     {Finding::name_reserved, "order"},
                     {Finding::name_reserved, "group"}}),
              describe(described({Field("order", sql::type_int, 0), key}), "table"));
}

// Beside the file

TEST_F(TableCheckTest, FindsNothingInATableThatTheLibraryCreated)
{
    const std::vector<Field> fields = {
        id, Field("text", sql::type_text, sql::flag_not_null),
        Field("number", sql::type_float, sql::flag_unique),
        Field("truth", sql::type_bool, sql::flag_unique | sql::flag_not_null),
        Field("at", sql::type_time, 0)};
    sql::Table table(mine.db, "item", described(fields));
    ASSERT_TRUE(table.create());
    EXPECT_EQ(Found(), kindsOf(sql::checkTable(table)));
    EXPECT_EQ("", takeDiagnostics());
}

TEST_F(TableCheckTest, FindsNothingInATableWithATextKeyThatTheLibraryCreated)
{
    const Field code("code", sql::type_text, sql::flag_primary_key | sql::flag_not_null);
    sql::Table table(mine.db, "item", described({code, name}));
    ASSERT_TRUE(table.create());
    EXPECT_EQ(Found({{Finding::text_key, "code"}}), kindsOf(sql::checkTable(table)));
}

TEST_F(TableCheckTest, FindsThatTheTableIsNotThere)
{
    EXPECT_EQ(Found({{Finding::no_table, ""}}), compare({id, name}, "create table items (id)"));
    EXPECT_EQ("Table 'item' is not in the file, where a view has its name. Drop the view, or "
              "choose another name.\n",
              textOf({id, name}, "create view Item as select 1"));
}

TEST_F(TableCheckTest, ComparesNoColumnsWhereNoneAreDescribed)
{
    mine.run("create table item (id integer primary key, name)");
    EXPECT_EQ(Found({{Finding::no_columns, ""}}), kindsOf(check({})));
}

TEST_F(TableCheckTest, FindsAnotherSpellingOfTheTableAlone)
{
    EXPECT_EQ(Found({{Finding::table_spelled_otherwise, ""}}),
              compare({id, name}, "create table ITEM (ID integer primary key, Name text)"));
}

TEST_F(TableCheckTest, FindsColumnsThatAreMissing)
{
    EXPECT_EQ(Found({{Finding::column_missing, "name"}}),
              compare({id, name}, "create table item (id integer primary key)"));
}

TEST_F(TableCheckTest, FindsGeneratedColumnsThatAreDescribed)
{
    EXPECT_EQ(Found({{Finding::column_missing, "name"}, {Finding::column_missing, "kept"}}),
              compare({id, name, Field("kept", sql::type_text, 0)},
                      "create table item (id integer primary key, name text as (id || 'a'),"
                      " kept text as (id || 'b') stored)"));
    EXPECT_EQ("Column 'name' of table 'item' is generated from other columns in the file, and each "
              "statement that writes it fails. Add it to the file as a plain column, or leave it "
              "out of the description.",
              check({id, name})[0].text);
}

TEST_F(TableCheckTest, FindsColumnsThatAreNotDescribed)
{
    EXPECT_EQ(Found({{Finding::column_extra, "more"},
                     {Finding::column_extra, "computed"},
                     {Finding::column_extra, "filled"}}),
              compare({id, name}, "create table item (id integer primary key, name text, more,"
                                  " computed int not null as (id), filled not null default 0)"));
}

TEST_F(TableCheckTest, FindsColumnsThatNoAddedRowWouldFill)
{
    EXPECT_EQ(Found({{Finding::column_extra_not_null, "more"},
                     {Finding::column_extra_not_null, "null_by_default"}}),
              compare({id, name}, "create table item (id integer primary key, name text,"
                                  " more not null, null_by_default not null default null)"));
}

TEST_F(TableCheckTest, KnowsWhichUndescribedKeysFillThemselves)
{
    const Field key("code", sql::type_int, sql::flag_primary_key | sql::flag_unique);
    const Found elsewhere = {{Finding::column_extra, "n"}, {Finding::key_differs, "code"}};
    EXPECT_EQ(elsewhere, compare({key, name}, "create table item (code int unique, name text,"
                                              " n integer primary key not null)"));
    mine.run("drop table item");
    const Found refused = {{Finding::column_extra_not_null, "n"}, {Finding::key_differs, "code"}};
    EXPECT_EQ(refused, compare({key, name}, "create table item (code int unique, name text,"
                                            " n integer primary key not null) without rowid"));
}

TEST_F(TableCheckTest, FindsColumnsInAnotherPlace)
{
    EXPECT_EQ(Found({{Finding::column_elsewhere, "id"}, {Finding::column_elsewhere, "name"}}),
              compare({id, name}, "create table item (name text, id integer primary key)"));
}

TEST_F(TableCheckTest, CountsGeneratedColumnsAmongThePlaces)
{
    EXPECT_EQ(
        Found({{Finding::column_extra, "g"}, {Finding::column_elsewhere, "name"}}),
        compare({id, name}, "create table item (id integer primary key, g as (id), name text)"));
}

TEST_F(TableCheckTest, DoesNotCountHiddenColumns)
{
    EXPECT_EQ(
        Found({{Finding::no_key, ""}, {Finding::affinity_differs, "text"}}),
        compare({Field("text", sql::type_text, 0)}, "create virtual table item using fts5(text)"));
}

struct AffinityCase
{
    const char* type;
    bool suitsInteger;
    bool suitsText;
    bool suitsFloat;
};

TEST_F(TableCheckTest, FindsOtherAffinities)
{
    const AffinityCase cases[] = {
        {"integer", true, false, false},
        {"int", true, false, false},
        {"BIGINT", true, false, false},
        {"FLOATING POINT", true, false, false},
        {"charint", true, false, false},
        {"numeric", true, false, false},
        {"decimal(10,5)", true, false, false},
        {"boolean", true, false, false},
        {"datetime", true, false, false},
        {"string", true, false, false},
        {"text", false, true, false},
        {"varchar(20)", false, true, false},
        {"Clob", false, true, false},
        {"real", false, false, true},
        {"double precision", false, false, true},
        {"float", false, false, true},
        {"blob", false, false, false},
        {"", false, false, false},
        {"textblob", false, true, false},
        {"realblob", false, false, false},
        {"\"{text}\"", false, true, false},
    };
    for (const AffinityCase& one : cases) {
        SCOPED_TRACE(one.type);
        mine.run("create table item (id integer primary key, c " + std::string(one.type) + ")");
        for (const sql::field_type type :
             {sql::type_int, sql::type_text, sql::type_float, sql::type_bool, sql::type_time}) {
            const bool suits = type == sql::type_text    ? one.suitsText
                               : type == sql::type_float ? one.suitsFloat
                                                         : one.suitsInteger;
            EXPECT_EQ(suits ? Found() : Found({{Finding::affinity_differs, "c"}}),
                      kindsOf(check({id, Field("c", type, 0)})));
        }
        mine.run("drop table item");
    }
}

TEST_F(TableCheckTest, FindsColumnsThatAcceptNullOnOneSideAlone)
{
    EXPECT_EQ(Found({{Finding::not_null_differs, "name"}, {Finding::not_null_differs, "n"}}),
              compare({id, name, Field("n", sql::type_int, sql::flag_not_null)},
                      "create table item (id integer primary key, name text not null, n int)"));
}

TEST_F(TableCheckTest, TakesAKeyThatIsNumberedForNotNull)
{
    const int flags = sql::flag_primary_key | sql::flag_not_null;
    EXPECT_EQ(Found(), compare({Field("id", sql::type_int, flags), name},
                               "create table item (id integer primary key, name text)"));
    mine.run("drop table item");
    EXPECT_EQ(Found({{Finding::not_null_differs, "id"}}),
              compare({Field("id", sql::type_int, flags), name},
                      "create table item (id int primary key, name text)"));
}

TEST_F(TableCheckTest, FindsColumnsThatAreUniqueOnOneSideAlone)
{
    const Field u("u", sql::type_int, sql::flag_unique);
    const Field v("v", sql::type_int, 0);
    const Field w("w", sql::type_int, 0);
    EXPECT_EQ(Found({{Finding::unique_differs, "u"},
                     {Finding::unique_differs, "v"},
                     {Finding::unique_differs, "w"}}),
              compare({id, u, v, w}, "create table item (id integer primary key, u int,"
                                     " v int unique, w int); create unique index i on item (w)"));
    EXPECT_EQ(
        Found({{Finding::unique_differs, "u"}}), // as the description spells it
        compare({id, u}, "drop table item; create table item (id integer primary key, U int)"));
}

TEST_F(TableCheckTest, TakesOnlyWholeIndexesOfOneColumnForUnique)
{
    const Field u("u", sql::type_int, sql::flag_unique);
    EXPECT_EQ(Found({{Finding::unique_differs, "u"}}),
              compare({id, u, name},
                      "create table item (id integer primary key, u int, name text);"
                      " create unique index two on item (u, name);"
                      " create unique index part on item (u) where u > 0;"
                      " create unique index sum on item (u + 1); create index plain on item (u)"));
}

TEST_F(TableCheckTest, TakesAKeyForUnique)
{
    const Field key("id", sql::type_int, sql::flag_primary_key | sql::flag_unique);
    EXPECT_EQ(Found(),
              compare({key, name}, "create table item (id integer primary key, name text)"));
    mine.run("drop table item");
    EXPECT_EQ(Found(), compare({id, name}, "create table item (id int primary key, name text);"
                                           " create unique index i on item (id)"));
}

TEST_F(TableCheckTest, TakesADescribedKeyThatIsUniqueInTheFileForUnique)
{
    EXPECT_EQ(Found({{Finding::key_differs, "id"}}),
              compare({id, name}, "create table item (id int unique, name text)"));
}

TEST_F(TableCheckTest, TakesNoPartOfAKeyForUnique)
{
    const Field key("id", sql::type_int, sql::flag_primary_key | sql::flag_unique);
    EXPECT_EQ(
        Found({{Finding::unique_differs, "id"}, {Finding::key_differs, "name"}}),
        compare({key, name}, "create table item (id int, name text, primary key (id, name))"));
}

TEST_F(TableCheckTest, FindsKeysOnOneSideAlone)
{
    EXPECT_EQ(Found({{Finding::key_differs, "id"}, {Finding::key_differs, "name"}}),
              compare({id, name}, "create table item (id int, name text primary key)"));
    mine.run("drop table item");
    EXPECT_EQ(Found({{Finding::key_differs, "name"}}),
              compare({id, name}, "create table item (id int, name text, primary key (id, name))"));
}

TEST_F(TableCheckTest, QuotesTheNamesThatItAsksFor)
{
    mine.run("create table \"a \"\"b\" (id integer primary key, name text unique);"
             " create unique index \"i \"\"j\" on \"a \"\"b\" (name)");
    sql::Table table(mine.db, "a \"b", described({id, name}));
    EXPECT_EQ(Found({{Finding::name_needs_quotes, ""}, {Finding::unique_differs, "name"}}),
              kindsOf(sql::checkTable(table)));
}

// Failures

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
        if (isInterrupted)
            EXPECT_NE(std::string::npos,
                      findings.back().text.find(": interrupted. Remove the cause"));
        else
            EXPECT_EQ(whole, kindsOf(findings));
    }
    EXPECT_LT(10, interruptions);
}

TEST_F(TableCheckTest, TakesTheEndOfMemoryForAFailure)
{
    mine.run("create table item (id integer primary key, name,"
             " more_than_a_short_name a_type_of_a_long_name unique)");
    sql::Table table(mine.db, "item", described({name, id}));
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
            ASSERT_FALSE(found.empty()) << left;
            EXPECT_TRUE(found == whole || found.back().first == Finding::failed) << left;
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
    }
    EXPECT_LT(2, left);
}

TEST_F(TableCheckTest, LogsTheEndOfMemoryThatLeavesNoRoomForAFinding)
{
    sql::Table table(mine.db, "item", described({id, name}));
    faults.allocationsLeft = 0;
    faults.allocationsStayOut = true;
    const std::vector<Finding> findings = sql::checkTable(table);
    faults.allocationsLeft = -1;
    EXPECT_EQ(Found(), kindsOf(findings));
    EXPECT_EQ(trace({companionSource("SqlTableCheck")
                         .error("setOutOfMemory", "Failed to check a table: %s", "out of memory")}),
              takeEvents());
}

} // namespace
