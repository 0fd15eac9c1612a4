#include "SqlTableCheck.h"

#include <gtest/gtest.h>
#include <sqlite3.h>

#include "platform/Interposed.h"
#include "support/Described.h"

using namespace sqltest;

#if SQLITE_VERSION_NUMBER >= 3024000
// In place of SQLite's own, so that a test can be one that was built without some words.
static bool hasNoKeywords = false;

extern "C" int sqlite3_keyword_check(const char* word, int size)
{
    return hasNoKeywords ? 0 : SQLW_REAL(sqlite3_keyword_check)(word, size);
}
#endif

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
    EXPECT_EQ(Found({{Finding::name_twice, "ID"}}),
              describe(described({id, Field("ID", sql::type_int, 0)})));
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
    for (const char* const plain :
         {"a1", "_", "a$", "A_b", "\xc3\xa4", "\xc3\x80", "az", "AZ", "a09"}) {
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
TEST_F(TableCheckTest, TakesAWordThatThisSQLiteDoesNotReserve)
{
    const sql::FieldSet fields = described({id, Field("returning", sql::type_int, 0)});
    EXPECT_EQ(Found({{Finding::name_reserved, "returning"}}), describe(fields));
    hasNoKeywords = true;
    EXPECT_EQ(Found(), describe(fields));
    hasNoKeywords = false;
}

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

// A virtual table of these columns, of which no row is read.
void createVirtualTable(sqlite3* db, const char* columns)
{
    static sqlite3_module module;
    module.xCreate = [](sqlite3* own, void* text, int, const char* const*, sqlite3_vtab** table,
                        char**) {
        *table = new sqlite3_vtab();
        return sqlite3_declare_vtab(own, static_cast<const char*>(text));
    };
    module.xConnect = module.xCreate;
    module.xDestroy = [](sqlite3_vtab* table) {
        delete table;
        return SQLITE_OK;
    };
    module.xDisconnect = module.xDestroy;
    sqlite3_create_module(db, "columns", &module, const_cast<char*>(columns));
    sqlite3_exec(db, "create virtual table item using columns", nullptr, nullptr, nullptr);
}

TEST_F(TableCheckTest, DoesNotCountHiddenColumnsBetweenOthers)
{
    createVirtualTable(mine.db, "create table t (id integer, h hidden, name text)");
    EXPECT_EQ(Found({{Finding::key_differs, "id"}}), kindsOf(check({id, name})));
}

TEST_F(TableCheckTest, TakesNoTextKeyWithoutAnIndexForARowNumber)
{
    if (sqlite3_libversion_number() < 3014000)
        GTEST_SKIP() << "without virtual tables that have no row numbers";
    createVirtualTable(mine.db, "create table t (code text primary key not null, name text) "
                                "without rowid");
    EXPECT_EQ(Found({{Finding::no_key, ""},
                     {Finding::column_extra_not_null, "code"},
                     {Finding::column_elsewhere, "name"}}),
              kindsOf(check({name})));
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
        {"inline text", false, true, false}, // words that end too early
        {"chase", true, false, false},
        {"close", true, false, false},
        {"tex", true, false, false},
        {"block", true, false, false},
        {"read", true, false, false},
        {"flow", true, false, false},
        {"dough", true, false, false},
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
                      "create table item (id integer primary key, name text not null, n integer)"));
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

TEST_F(TableCheckTest, TakesAKeyWithAUniqueIndexBesideItForNumbered)
{
    if (sqlite3_libversion_number() < 3008009)
        GTEST_SKIP() << "SQLite does not say which index is that of the key";
    const int flags = sql::flag_primary_key | sql::flag_not_null;
    EXPECT_EQ(Found(), compare({Field("id", sql::type_int, flags), name},
                               "create table item (id integer primary key, name text);"
                               " create unique index i on item (id)"));
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

} // namespace
