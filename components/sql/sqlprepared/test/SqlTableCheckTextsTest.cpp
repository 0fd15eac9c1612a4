// What each finding says, word for word.

#include "SqlTableCheck.h"

#include <gtest/gtest.h>

#include "support/Described.h"

using namespace sqltest;

namespace
{

const int key = sql::flag_primary_key;

class TableCheckTextsTest : public TableCheckTest
{
protected:
    static std::string textOf(Finding::Kind kind, const std::vector<Finding>& findings)
    {
        for (const Finding& finding : findings)
            if (finding.kind == kind)
                return finding.text;
        return "no such finding";
    }

    static std::string inDescription(Finding::Kind kind, const std::vector<Field>& fields)
    {
        return textOf(kind, sql::checkDescription("item", described(fields)));
    }

    /// Of the table that the statements create.
    std::string inFile(Finding::Kind kind, const std::vector<Field>& fields,
                       const std::string& statements)
    {
        mine.run("drop table if exists item; " + statements);
        return textOf(kind, check(fields));
    }
};

TEST_F(TableCheckTextsTest, OfKeys)
{
    EXPECT_EQ("Table 'item' has no key column, and its rows can't be updated or found by key. Give "
              "one column flag_primary_key.",
              inDescription(Finding::no_key, {name}));
    EXPECT_EQ("Column 'id' is one key column too many for table 'item', which SQLite refuses to "
              "create. Keep flag_primary_key for one column alone.",
              inDescription(Finding::two_keys, {Field("n", sql::type_int, key), id, name}));
    EXPECT_EQ("Key column 'id' is the last column of table 'item', and SQLite refuses the "
              "statement of Table::updateRecord, which ends in a comma. Put the key column first.",
              inDescription(Finding::key_last, {name, id}));
    EXPECT_EQ("Table 'item' has no column but its key column 'id', and SQLite refuses the "
              "statement of Table::updateRecord, which sets nothing. Add and delete rows instead.",
              inDescription(Finding::key_only, {id}));
    EXPECT_EQ("Key column 'id' of table 'item' is a text, which Table::updateRecord writes without "
              "quotes: it fails or changes other rows. Update by TableWriter, or take an integer "
              "as the key.",
              inDescription(Finding::text_key, {Field("id", sql::type_text, key), name}));
    EXPECT_EQ("Text key column 'id' of table 'item' accepts NULL in any number of rows, which "
              "can't be found, updated or deleted by key. Give it flag_not_null.",
              inDescription(Finding::text_key_nullable, {Field("id", sql::type_text, key), name}));
}

TEST_F(TableCheckTextsTest, OfTypesThatNoKeyHas)
{
    const std::pair<int, const char*> types[] = {{sql::type_bool, "bool"},
                                                 {sql::type_time, "time"},
                                                 {sql::type_float, "float"},
                                                 {-1, "-1"},
                                                 {5, "5"},
                                                 {-2147483647 - 1, "-2147483648"}};
    for (const auto& type : types) {
        const std::vector<Field> fields = {
            Field("id", static_cast<sql::field_type>(type.first), key), name};
        EXPECT_EQ("Key column 'id' of table 'item' is of type " + std::string(type.second) +
                      ", which FieldSet refuses. Make it an integer or a text.",
                  textOf(Finding::key_type, sql::checkDescription("item", sql::FieldSet(fields))));
    }
}

TEST_F(TableCheckTextsTest, OfNames)
{
    EXPECT_EQ("Column 'NAME' appears twice in table 'item', which SQLite refuses to create: it "
              "ignores case in names. Rename one of them.",
              inDescription(Finding::name_twice, {id, name, Field("NAME", sql::type_text, 0)}));
    EXPECT_EQ("Column 'order' of table 'item' has a keyword of SQL as its name, which SQLite "
              "refuses in statements. Choose another name.",
              inDescription(Finding::name_reserved, {id, Field("order", sql::type_int, 0)}));
    const sql::FieldSet fields = described({id, name});
    EXPECT_EQ("Table 'order' has a keyword of SQL as its name, which SQLite refuses in statements. "
              "Choose another name.",
              textOf(Finding::name_reserved, sql::checkDescription("order", fields)));
    EXPECT_EQ("Table 'an item' has a name that SQLite takes only in quotes, and names are written "
              "without. Use letters, digits and '_', and do not begin with a digit.",
              textOf(Finding::name_needs_quotes, sql::checkDescription("an item", fields)));
}

TEST_F(TableCheckTextsTest, OfColumnsThatAreNotNumbered)
{
    const std::vector<Field> fields = {id, name};
    EXPECT_EQ("Column 'id' of table 'item' is not numbered by its position, and Record does not "
              "find its cell by name. Describe the columns in an array that ends in sql::Field(), "
              "once.",
              textOf(Finding::not_numbered, sql::checkDescription("item", sql::FieldSet(fields))));
}

TEST_F(TableCheckTextsTest, OfTables)
{
    EXPECT_EQ("Table 'item' is not in the file. Create it with Table::create.",
              inFile(Finding::no_table, {id, name}, ""));
    EXPECT_EQ("Table 'item' is spelled 'Item' in the file. Table::exists does not find it, and "
              "Table::create fails. Spell it as the file does.",
              inFile(Finding::table_spelled_otherwise, {id, name},
                     "create table Item (id integer primary key, name text)"));
}

TEST_F(TableCheckTextsTest, OfColumns)
{
    EXPECT_EQ("Column 'name' of table 'item' is not in the file, and each statement that writes it "
              "fails. Add it to the file as a plain column, or leave it out of the description.",
              inFile(Finding::column_missing, {id, name}, "create table item (id)"));
    EXPECT_EQ("Column 'more' of table 'item' is in the file but not described. SQLite fills it "
              "when rows are added, and Table reads the columns after it by a wrong position. "
              "Describe it, unless it is the last one.",
              inFile(Finding::column_extra, {id, name}, "create table item (more)"));
    EXPECT_EQ(
        "Column 'more' of table 'item' is in the file but not described. It is NOT NULL "
        "without a default, and no row can be added. Describe it, or give it a default in "
        "the file.",
        inFile(Finding::column_extra_not_null, {id, name}, "create table item (more not null)"));
    EXPECT_EQ("Column 'id' of table 'item' is number 2 in the file and 1 in the description. Table "
              "reads columns by position and takes the cells of another one. Describe all columns "
              "in the order of the file.",
              inFile(Finding::column_elsewhere, {id, name}, "create table item (name, id)"));
    EXPECT_EQ("Column 'name' of table 'item' is declared as 'double', and SQLite stores other "
              "values there than in a table that Table::create makes. Describe it by another type, "
              "or declare it so.",
              inFile(Finding::affinity_differs, {id, name},
                     "create table item (id integer primary key, name double)"));
    EXPECT_EQ("Column 'name' of table 'item' is declared as nothing, and SQLite stores other "
              "values there than in a table that Table::create makes. Describe it by another type, "
              "or declare it so.",
              inFile(Finding::affinity_differs, {id, name},
                     "create table item (id integer primary key, name)"));
}

TEST_F(TableCheckTextsTest, OfRules)
{
    const auto withRule = [](int flag) {
        return std::vector<Field>{id, Field("name", sql::type_text, flag)};
    };
    EXPECT_EQ("Column 'name' of table 'item' is NOT NULL in the file, and rows without it are "
              "refused. Give it flag_not_null.",
              inFile(Finding::not_null_differs, withRule(0), "create table item (name not null)"));
    EXPECT_EQ("Column 'name' of table 'item' accepts NULL in the file in spite of its "
              "flag_not_null. Make it NOT NULL there, or drop the flag.",
              inFile(Finding::not_null_differs, withRule(sql::flag_not_null),
                     "create table item (name)"));
    EXPECT_EQ(
        "Column 'name' of table 'item' accepts a value twice in the file in spite of its "
        "flag_unique. Make it UNIQUE there, or drop the flag.",
        inFile(Finding::unique_differs, withRule(sql::flag_unique), "create table item (name)"));
    EXPECT_EQ("Column 'name' of table 'item' is UNIQUE in the file, and a second row with its "
              "value is refused. Give it flag_unique.",
              inFile(Finding::unique_differs, withRule(0), "create table item (name unique)"));
}

TEST_F(TableCheckTextsTest, OfKeysInTheFile)
{
    EXPECT_EQ("Column 'name' of table 'item' is the key in the file, and a second row with its "
              "value is refused. Give it flag_primary_key.",
              inFile(Finding::key_differs, {name}, "create table item (name primary key)"));
    EXPECT_EQ("Column 'name' of table 'item' is part of the key in the file, and operations by key "
              "reach several rows. Give it flag_primary_key.",
              inFile(Finding::key_differs, {id, name},
                     "create table item (id, name, primary key (id, name))"));
    EXPECT_EQ("Column 'id' of table 'item' is no key in the file in spite of its "
              "flag_primary_key, and operations by key reach several rows. Make it the PRIMARY KEY "
              "there, or drop the flag.",
              inFile(Finding::key_differs, {id, name}, "create table item (id, name)"));
}

} // namespace
