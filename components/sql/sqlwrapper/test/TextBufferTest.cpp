#include "TextBuffer.h"

#include <climits>
#include <string>
#include <type_traits>

#include <gtest/gtest.h>

using sql::TextBuffer;

// Run under AddressSanitizer where the build has it, which sees a byte written past the end.

namespace
{

static_assert(!std::is_copy_constructible<TextBuffer>::value, "a pointer into itself");
static_assert(!std::is_copy_assignable<TextBuffer>::value, "");

std::string escaped(const std::string& text)
{
    TextBuffer buffer;
    buffer.addEscaped(text);
    return buffer.str();
}

TEST(TextBufferTest, IsEmptyAtFirst)
{
    TextBuffer buffer;
    EXPECT_EQ(0u, buffer.size());
    EXPECT_EQ("", buffer.str());
    EXPECT_STREQ("", buffer.c_str());
}

TEST(TextBufferTest, StartsWithAText)
{
    EXPECT_EQ("select 1", TextBuffer("select 1").str());
}

TEST(TextBufferTest, AppendsEachKindOfPart)
{
    TextBuffer buffer("a");
    buffer.add("bc");
    buffer.add(std::string("d\0e", 3));
    buffer.add("fgh", 2);
    buffer.add("");
    buffer.addInteger(-7);
    buffer.addInteger(LLONG_MIN);
    EXPECT_EQ(std::string("abcd\0efg-7-9223372036854775808", 30), buffer.str());
    EXPECT_EQ(30u, buffer.size());
}

// Not the tail of an array that holds more than its text.
TEST(TextBufferTest, AppendsAnArrayUpToItsFirstNul)
{
    char filled[16] = "name";
    TextBuffer buffer(filled);
    buffer.add(filled);
    EXPECT_EQ("namename", buffer.str());
}

TEST(TextBufferTest, DoublesQuotesWithoutEnclosing)
{
    EXPECT_EQ("", escaped(""));
    EXPECT_EQ("plain \"text\"", escaped("plain \"text\""));
    EXPECT_EQ("''", escaped("'"));
    EXPECT_EQ("''''a''b''", escaped("''a'b'"));
    EXPECT_EQ(std::string("''\0''", 5), escaped(std::string("'\0'", 3)));
}

TEST(TextBufferTest, TruncatesToAFormerSize)
{
    TextBuffer buffer("kept");
    const std::string::size_type size = buffer.size();
    buffer.add(" and dropped");
    buffer.truncate(size);
    EXPECT_EQ("kept", buffer.str());
    EXPECT_STREQ("kept", buffer.c_str());
    buffer.add(", continued");
    EXPECT_EQ("kept, continued", buffer.str());
}

TEST(TextBufferTest, EndsInANulWhenTruncatedToNothing)
{
    TextBuffer buffer(std::string(1000, 'x').c_str());
    buffer.truncate(0);
    EXPECT_STREQ("", buffer.c_str());
}

// One byte at a time over the end of the short text, and over the ends of those that replace it.
TEST(TextBufferTest, HasRoomForTheNulAtEverySize)
{
    TextBuffer buffer;
    std::string expected;
    while (expected.size() < 5000) {
        ASSERT_LT(buffer.size(), buffer.capacity());
        ASSERT_STREQ(expected.c_str(), buffer.c_str());
        buffer.add("x", 1);
        expected += 'x';
    }
}

// In one part that just fits, or just does not.
TEST(TextBufferTest, HasRoomForAPartOfAnySize)
{
    for (std::string::size_type before = 0; before < 3; ++before)
        for (std::string::size_type size = 250; size < 260; ++size) {
            TextBuffer buffer(std::string(before, 'a').c_str());
            buffer.add(std::string(size, 'b'));
            ASSERT_LT(buffer.size(), buffer.capacity()) << before << " + " << size;
            EXPECT_EQ(std::string(before, 'a') + std::string(size, 'b'), buffer.c_str());
        }
}

TEST(TextBufferTest, GrowsByMoreThanAPartSoThatManyTakeLittle)
{
    TextBuffer buffer;
    int grown = 0;
    for (int i = 0; i < 1000000; ++i) {
        const std::string::size_type capacity = buffer.capacity();
        buffer.add("x", 1);
        grown += buffer.capacity() != capacity;
    }
    EXPECT_LE(grown, 13);
}

TEST(TextBufferTest, TakesAReservedSizeAtOnce)
{
    for (const std::string::size_type size : {0u, 1u, 255u, 256u, 257u, 10000u}) {
        TextBuffer buffer("a");
        buffer.reserve(size);
        ASSERT_LT(size, buffer.capacity());
        EXPECT_EQ("a", buffer.str());
        const std::string::size_type capacity = buffer.capacity();
        while (buffer.size() < size)
            buffer.add("b", 1);
        EXPECT_EQ(capacity, buffer.capacity());
        buffer.c_str();
    }
}

TEST(TextBufferTest, TakesNoMoreThanWhatIsReserved)
{
    TextBuffer buffer;
    const std::string::size_type capacity = buffer.capacity();
    buffer.reserve(capacity - 1);
    EXPECT_EQ(capacity, buffer.capacity());
    buffer.reserve(capacity);
    EXPECT_EQ(capacity + 1, buffer.capacity());
}

} // namespace
