#include "SqlError.h"

#include <gtest/gtest.h>

namespace
{

TEST(ErrorTest, IsNoneAtFirst)
{
    const sql::Error none;
    EXPECT_FALSE(none);
    EXPECT_EQ(0, none.code());
    EXPECT_EQ(0, none.extendedCode());
    EXPECT_EQ("", none.text());
}

TEST(ErrorTest, HasThePrimaryCodeOfAnExtendedOne)
{
    const sql::Error unique(2067, "UNIQUE constraint failed: item.id");
    EXPECT_TRUE(static_cast<bool>(unique));
    EXPECT_EQ(19, unique.code());
    EXPECT_EQ(2067, unique.extendedCode());
    EXPECT_EQ("UNIQUE constraint failed: item.id", unique.text());
}

TEST(ErrorTest, IsCopiedAsAValue)
{
    sql::Error error;
    error = sql::Error(5, "database is locked");
    const sql::Error copy(error);
    error = sql::Error();
    EXPECT_FALSE(error);
    EXPECT_EQ(5, copy.code());
    EXPECT_EQ(5, copy.extendedCode());
    EXPECT_EQ("database is locked", copy.text());
}

} // namespace
