// The two kinds of keys, for tests that hold for both.

#ifndef SQLW_TEST_KEYS_H
#define SQLW_TEST_KEYS_H

#include <string>

#include <gtest/gtest.h>

#include "SqlCommon.h"
#include "World.h"

namespace sqltest
{

/// The key of a person in People.h, and what its row holds.
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
