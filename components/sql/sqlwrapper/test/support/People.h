// A table of people and one of parts, for tests of tables.

#ifndef SQLW_TEST_PEOPLE_H
#define SQLW_TEST_PEOPLE_H

#include <string>

#include <gtest/gtest.h>

#include "SqlTable.h"
#include "Statements.h"
#include "World.h"

namespace sqltest
{

inline const sql::Field personFields[] = {
    sql::Field("id", sql::type_int, sql::flag_primary_key),
    sql::Field("name", sql::type_text, sql::flag_not_null),
    sql::Field("age", sql::type_int, 0),
    sql::Field(),
};
/// Columns that come with the assertion report of `FieldSet` when a table is made of them.
inline const sql::Field keylessFields[] = {
    sql::Field("name", sql::type_text, 0),
    sql::Field("age", sql::type_int, 0),
    sql::Field(),
};
inline const sql::Field partFields[] = {
    sql::Field("id", sql::type_text, sql::flag_primary_key),
    sql::Field("name", sql::type_text, 0),
    sql::Field(),
};
inline const sql::Field* const noFields = nullptr;

/// The rows of the table, as records dump them.
inline const std::string ada = "id = 1|name = Ada|age = 36";
inline const std::string bob = "id = 2|name = Bob|age = 29";
inline const std::string cid = "id = 3|name = Cid|age = 41";

/// A test with a table of three rows, none of which is held.
class PeopleTest : public DatabaseTest
{
protected:
    PeopleTest()
    {
        run("create table people (id integer primary key, name text not null, age integer);"
            "insert into people values (1, 'Ada', 36), (2, 'Bob', 29), (3, 'Cid', 41)");
    }

    /// The keys of the rows held, such as "1 2 3".
    static std::string held(sql::Table& by)
    {
        std::string keys;
        for (int i = 0; i < by.recordCount(); ++i)
            keys += (i == 0 ? "" : " ") + by.getRecord(i)->getValue(0)->asString();
        return keys;
    }
    std::string held() { return held(people); }

    /// Holds the first two rows, unrecorded.
    void hold()
    {
        EXPECT_TRUE(people.open("id < 3"));
        EXPECT_EQ("1 2", held());
        forgetEvents();
    }

    sql::Table people{db, "people", personFields};
};

/// With a table of parts, whose keys are texts.
class PeopleAndPartsTest : public PeopleTest
{
protected:
    PeopleAndPartsTest()
    {
        run("create table parts (id text primary key, name text);"
            "insert into parts values ('A-17', 'Bolt'), ('42', 'Nut')");
    }

    static sql::Record person(const sql::Table& of, sql::integer id, const char* name)
    {
        sql::Record made(of.fields());
        made.setInteger("id", id);
        made.setString("name", name);
        return made;
    }
    sql::Record person(sql::integer id, const char* name) const { return person(people, id, name); }
    sql::Record part(const char* id, const char* name) const
    {
        sql::Record made(parts.fields());
        made.setString("id", id);
        made.setString("name", name);
        return made;
    }
    /// The name of a person in the database.
    std::string nameOf(const char* id)
    {
        return cell(std::string("select name from people where id = ") + id);
    }

    sql::Table parts{db, "parts", partFields};
    sql::Table pets{db, "pets", personFields}; ///< which the database has not
};

// The two kinds of keys, for tests that hold for both

/// The key of a person, and what its row holds.
struct IntegerKey
{
    static constexpr auto kind = "Integer";
    static constexpr auto type = "sql::integer";
    static constexpr auto table = "people";
    static constexpr auto row = "2|Bob|29";
    static constexpr auto dump = "id = 2|name = Bob|age = 29";

    static sql::integer there() { return 2; }
    static sql::integer missing() { return 42; }
    static sql::integer of(int number) { return number; }
    static std::string written(sql::integer key) { return std::to_string(key); }
    static std::string added(sql::integer key)
    {
        return Source("SqlTable").debug2("addOrUpdateRecord", "add record for key=%lld", key);
    }
};

/// The key of a part.
struct TextKey
{
    static constexpr auto kind = "Text";
    static constexpr auto type = "sql::string";
    static constexpr auto table = "parts";
    static constexpr auto row = "A-17|Bolt";
    static constexpr auto dump = "id = A-17|name = Bolt";

    static std::string there() { return "A-17"; }
    static std::string missing() { return "A-18"; }
    static std::string of(int number) { return std::to_string(number); }
    static std::string written(const std::string& key) { return '"' + key + '"'; }
    static std::string added(const std::string& key)
    {
        return Source("SqlTable").debug2("addOrUpdateRecord", "add record for key=%s", key.c_str());
    }
};

struct KindNames
{
    template <typename Key> static std::string GetName(int) { return Key::kind; }
};

using Kinds = ::testing::Types<IntegerKey, TextKey>;

} // namespace sqltest

#endif
