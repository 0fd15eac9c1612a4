#include "NumberText.h"

#include <cfloat>
#include <climits>
#include <clocale>
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <limits>
#include <random>
#include <string>

#include <gtest/gtest.h>

#include "support/World.h"

using namespace sqltest;

namespace
{

std::string textOf(double number)
{
    std::string text = "what was there before";
    sql::doubleToText(number, text);
    return text;
}

std::string digitsOf(sql::integer number, std::size_t fewestDigits = 1)
{
    const sql::IntegerText digits(number, fewestDigits);
    return std::string(digits.data(), digits.size());
}

// Integers

TEST(IntegerTextTest, IsDecimal)
{
    EXPECT_EQ("0", digitsOf(0));
    EXPECT_EQ("-7", digitsOf(-7));
    EXPECT_EQ("10", digitsOf(10));
    EXPECT_EQ("1234567890123", digitsOf(1234567890123));
}

TEST(IntegerTextTest, IsTheSameBesideTheBoundsOf32Bits)
{
    for (const sql::integer bound : {4294967295LL, 2147483647LL, -2147483648LL, -4294967295LL})
        for (const sql::integer number : {bound - 1, bound, bound + 1})
            EXPECT_EQ(std::to_string(number), digitsOf(number));
}

TEST(IntegerTextTest, ReachesTheBoundsOf64Bits)
{
    EXPECT_EQ("9223372036854775807", digitsOf(LLONG_MAX));
    EXPECT_EQ("-9223372036854775808", digitsOf(LLONG_MIN));
}

TEST(IntegerTextTest, IsPaddedWithZeros)
{
    EXPECT_EQ("000000000", digitsOf(0, 9));
    EXPECT_EQ("-000000042", digitsOf(-42, 9));
    EXPECT_EQ("1234567890", digitsOf(1234567890, 9));
}

TEST(TextToIntegerTest, ReadsAsStrtoll)
{
    const struct
    {
        const char* text;
        sql::integer number;
    } rows[] = {
        {"", 0},
        {"-", 0},
        {"abc", 0},
        {"-7", -7},
        {"+7", 7},
        {"-0", 0},
        {"007", 7},
        {" 12", 12},
        {" \t\n-12", -12},
        {"12 ", 12},
        {"12abc", 12},
        {"12.9", 12},
        {"-12.9", -12},
        {"12.", 12},
        {"1e3", 1},
        {"1,000", 1},
        {"12:30", 12},
        {"12/30", 12},
        {".5", 0},
        {"--5", 0},
        {"- 5", 0},
        {"0x10", 0},
        {"inf", 0},
        {"999999999999999", 999999999999999},
        {"-999999999999999", -999999999999999},
        {"1000000000000000", 1000000000000000},
        {"12345678901234567", 12345678901234567},
        {"123456789012345.5", 123456789012345},
        {"0000000000000000000000042", 42},
        {"9223372036854775807", LLONG_MAX},
        {"-9223372036854775808", LLONG_MIN},
    };
    for (const auto& row : rows)
        EXPECT_EQ(row.number, sql::textToInteger(row.text)) << '"' << row.text << '"';
}

TEST(TextToIntegerTest, ReadsTheNearestBoundOfWhatExceeds64Bits)
{
    EXPECT_EQ(LLONG_MAX, sql::textToInteger("9223372036854775808"));
    EXPECT_EQ(LLONG_MIN, sql::textToInteger("-9223372036854775809"));
    EXPECT_EQ(LLONG_MAX, sql::textToInteger("99999999999999999999999999"));
    EXPECT_EQ(LLONG_MIN, sql::textToInteger("-99999999999999999999999999"));
}

// Doubles to text

TEST(DoubleToTextTest, KeepsTheSignOf0)
{
    EXPECT_EQ("-0.00000000", textOf(-0.0));
}

TEST(DoubleToTextTest, RoundsToTheNearestDecimal)
{
    EXPECT_EQ("0.12345679", textOf(0.123456789));
    EXPECT_EQ("0.00000001", textOf(0.000000006));
    EXPECT_EQ("0.00000000", textOf(0.000000004));
    EXPECT_EQ("-0.00000000", textOf(-0.000000004));
    EXPECT_EQ("1.00000000", textOf(0.999999996));
    EXPECT_EQ("-10.00000000", textOf(-9.999999996));
}

// Halves of the last decimal that a double holds exactly.
TEST(DoubleToTextTest, RoundsHalvesToEven)
{
    EXPECT_EQ("0.00195312", textOf(1.0 / 512));
    EXPECT_EQ("0.00585938", textOf(3.0 / 512));
    EXPECT_EQ("-1.00195312", textOf(-513.0 / 512));
    EXPECT_EQ("-1.00585938", textOf(-515.0 / 512));
}

TEST(DoubleToTextTest, WritesNoExponent)
{
    EXPECT_EQ("10000000000000000000000.00000000", textOf(1e22));
    EXPECT_EQ("-1000000000000000.00000000", textOf(-1e15));
}

TEST(DoubleToTextTest, WritesDenormalsAs0)
{
    EXPECT_EQ("0.00000000", textOf(std::numeric_limits<double>::denorm_min()));
    EXPECT_EQ("-0.00000000", textOf(-DBL_MIN / 2));
}

TEST(DoubleToTextTest, WritesInfinityAndNanAsWords)
{
    EXPECT_EQ("inf", textOf(HUGE_VAL));
    EXPECT_EQ("-inf", textOf(-HUGE_VAL));
    EXPECT_EQ("nan", textOf(std::copysign(std::nan(""), 1.0)));
    EXPECT_EQ("-nan", textOf(std::copysign(std::nan(""), -1.0)));
}

TEST(DoubleToTextTest, CutsTheTextAt127Characters)
{
    char whole[400];
    std::snprintf(whole, sizeof(whole), "%0.8f", 1e300);
    ASSERT_EQ(310u, std::strlen(whole));
    EXPECT_EQ(std::string(whole, 127), textOf(1e300));
    EXPECT_EQ("-" + std::string(whole, 126), textOf(-1e300));
}

TEST(DoubleToTextTest, CutsTheLargestDouble)
{
    EXPECT_EQ(127u, textOf(DBL_MAX).size());
    EXPECT_EQ("179769313486231570", textOf(DBL_MAX).substr(0, 18));
}

TEST(DoubleToTextTest, KeepsATextOf127Characters)
{
    const std::string text = textOf(1e117); // 118 digits
    EXPECT_EQ(127u, text.size());
    EXPECT_EQ(".00000000", text.substr(118));
    EXPECT_EQ(".0000000", textOf(-1e117).substr(119));
}

// Text to doubles

static const struct
{
    const char* text;
    double number;
} readAsStrtod[] = {
    {"", 0.0},
    {"-", 0.0},
    {".", 0.0},
    {"abc", 0.0},
    {"0.1", 0.1},
    {"0.10000000", 0.1},
    {"-0.1", -0.1},
    {"+0.1", 0.1},
    {"5.", 5.0},
    {".5", 0.5},
    {"-.5", -0.5},
    {" 12", 12.0},
    {" \t\n-12.5", -12.5},
    {"12 ", 12.0},
    {"12abc", 12.0},
    {"1.5.5", 1.5},
    {"1.5e3", 1500.0},
    {"1.5E-3", 0.0015},
    {"1.5e", 1.5},
    {"1e-9", 1e-9},
    {"3,5", 3.0},
    {"1,000.5", 1.0},
    {"1:5", 1.0},
    {"1/5", 1.0},
    {"1.5:5", 1.5},
    {"1.5/5", 1.5},
    {"--5", 0.0},
    {"0x1A", 26.0},
    {"0x1.8p1", 3.0},
    {"inf", HUGE_VAL},
    {"-Infinity", -HUGE_VAL},
    {"1e999", HUGE_VAL},
    {"-1e999", -HUGE_VAL},
    {"1e-999", 0.0},
    {"4.9406564584124654e-324", 4.9406564584124654e-324},
    {"10000000000000000000000.00000000", 1e22},
    {"123456789012345", 123456789012345.0},
    {"1234567890.12345", 1234567890.12345},
    {"12345678901234567890", 12345678901234567890.0},
    {"0.123456789012345678", 0.123456789012345678},
    {"00000000000000000000001.5", 1.5},
};

TEST(TextToDoubleTest, ReadsAsStrtod)
{
    for (const auto& row : readAsStrtod)
        EXPECT_EQ(row.number, sql::textToDouble(row.text)) << '"' << row.text << '"';
}

TEST(TextToDoubleTest, ReadsNanAsNan)
{
    EXPECT_TRUE(std::isnan(sql::textToDouble("nan")));
    EXPECT_TRUE(std::isnan(sql::textToDouble("-nan")));
}

TEST(TextToDoubleTest, ReadsTheSignOf0)
{
    EXPECT_TRUE(std::signbit(sql::textToDouble("-0.00000000")));
    EXPECT_TRUE(std::signbit(sql::textToDouble("-0")));
    EXPECT_FALSE(std::signbit(sql::textToDouble("0.00000000")));
}

TEST(TextToDoubleTest, ReadsASignWithoutDigitsAs0WithoutSign)
{
    for (const char* text : {"-", "-.", "-abc", "--5", "- 5"})
        EXPECT_FALSE(std::signbit(sql::textToDouble(text))) << '"' << text << '"';
}

// Numbers of all sizes, the same ones in every run. The fast path must give the digits of snprintf
// and the numbers of strtod.

class ManyDoubles
{
public:
    // Any bits but those of infinity and NaN, which have tests of their own.
    double any()
    {
        for (;;) {
            const std::uint64_t bits = _random();
            double number = 0.0;
            std::memcpy(&number, &bits, sizeof(number));
            if (std::isfinite(number))
                return number;
        }
    }
    // As cells hold them: some digits on both sides of the point.
    double ordinary()
    {
        const double digits = static_cast<double>(_random() % 10000000000000000u) - 5e15;
        return digits / std::pow(10.0, static_cast<double>(_random() % 21));
    }
    // Halves of a decimal, and their neighbours.
    double half()
    {
        const double exact = static_cast<double>(_random() % 1048576u) / 512;
        return std::nextafter(exact, static_cast<double>(_random() % 3) * exact);
    }
    // Neighbours of powers of two and of ten.
    double edge()
    {
        const int power = static_cast<int>(_random() % 80) - 30;
        const double exact = _random() % 2 ? std::ldexp(1.0, power) : std::pow(10.0, power / 2);
        return std::nextafter(exact, static_cast<double>(_random() % 3) * exact);
    }
    // Up to twenty digits, with a point among them or without one.
    std::string decimal()
    {
        std::string text = _random() % 2 ? "-" : "";
        const std::uint64_t digits = 1 + _random() % 20;
        const std::uint64_t point = _random() % 24;
        for (std::uint64_t i = 0; i < digits; ++i) {
            if (i == point)
                text += '.';
            text += static_cast<char>('0' + _random() % 10);
        }
        return text;
    }

private:
    std::mt19937_64 _random{20240229};
};

class ManyDoublesTest : public Test
{
protected:
    static std::string printed(double number)
    {
        char text[128];
        std::snprintf(text, sizeof(text), "%0.8f", number);
        return text;
    }
    // What the C locale makes of it, where a test has set no other.
    static void expectAsPrinted(double number)
    {
        EXPECT_EQ(printed(number), textOf(number)) << std::hexfloat << number;
    }

    ManyDoubles doubles;
};

TEST_F(ManyDoublesTest, OfAnyBitsAreWrittenAsPrinted)
{
    for (int i = 0; i < 2000; ++i)
        expectAsPrinted(doubles.any());
}

TEST_F(ManyDoublesTest, OfOrdinarySizeAreWrittenAsPrinted)
{
    for (int i = 0; i < 5000; ++i)
        expectAsPrinted(doubles.ordinary());
}

TEST_F(ManyDoublesTest, BesideHalvesOfADecimalAreWrittenAsPrinted)
{
    for (int i = 0; i < 5000; ++i)
        expectAsPrinted(doubles.half());
}

TEST_F(ManyDoublesTest, BesidePowersAreWrittenAsPrinted)
{
    for (int i = 0; i < 3000; ++i)
        expectAsPrinted(doubles.edge());
}

TEST_F(ManyDoublesTest, AreReadBackAsStrtodReadsThem)
{
    for (int i = 0; i < 3000; ++i) {
        const std::string text = textOf(i % 2 ? doubles.ordinary() : doubles.any());
        EXPECT_EQ(std::strtod(text.c_str(), nullptr), sql::textToDouble(text)) << text;
    }
}

TEST_F(ManyDoublesTest, OfAnyDigitsAreReadAsStrtodReadsThem)
{
    for (int i = 0; i < 5000; ++i) {
        const std::string text = doubles.decimal();
        EXPECT_EQ(std::strtod(text.c_str(), nullptr), sql::textToDouble(text)) << text;
    }
}

TEST_F(ManyDoublesTest, OfAnyDigitsAreReadAsStrtollReadsThem)
{
    for (int i = 0; i < 5000; ++i) {
        const std::string text = doubles.decimal();
        EXPECT_EQ(std::strtoll(text.c_str(), nullptr, 10), sql::textToInteger(text.c_str()))
            << text;
    }
}

TEST_F(ManyDoublesTest, AreWrittenAlikeInACommaLocale)
{
    for (int i = 0; i < 1000; ++i) {
        const double number = i % 2 ? doubles.ordinary() : doubles.any();
        const std::string text = printed(number);
        const ProgramLocale german("de_DE.UTF-8");
        EXPECT_EQ(text, textOf(number)) << std::hexfloat << number;
    }
}

TEST_F(ManyDoublesTest, AreReadAlikeInACommaLocale)
{
    for (int i = 0; i < 1000; ++i) {
        const std::string text = doubles.decimal() + (i % 2 ? "e-5" : "");
        const double number = std::strtod(text.c_str(), nullptr);
        const ProgramLocale german("de_DE.UTF-8");
        EXPECT_EQ(number, sql::textToDouble(text)) << text;
    }
}

class MillionDoublesTest : public Test
{
protected:
    // Whether both write `number`, and the same number below zero, alike.
    static bool isWrittenAsPrinted(double number)
    {
        for (const double sign : {1.0, -1.0}) {
            char printed[512];
            std::snprintf(printed, sizeof(printed), "%0.8f", sign * number);
            printed[127] = '\0'; // where the library cuts
            if (textOf(sign * number) != printed)
                return false;
        }
        return true;
    }

    // A number of any sign, size and digits, also one that is none.
    double any()
    {
        const std::uint64_t bits = random();
        double number;
        std::memcpy(&number, &bits, sizeof(number));
        return number;
    }
    double below(double limit) { return static_cast<double>(random()) * 0x1p-64 * limit; }

    std::mt19937_64 random{20261121};
};

TEST_F(MillionDoublesTest, AreWrittenAsPrinted)
{
    const double powersOfTen[] = {1e-12, 1e-9, 1e-6, 1e-4, 1e-2, 1e0, 1e2, 1e5, 1e8, 1e10, 1e12};
    int different = 0;
    for (int i = 0; i < 250000; ++i) {
        const double ordinary = below(powersOfTen[random() % 11]);
        const double nearHalf = (std::floor(below(1e9)) + 0.5) * 1e-8;
        const double exactHalf =
            (std::floor(below(1e9)) + 0.5) * 0x1p-8; // ends in a 5 after eight decimals
        different += isWrittenAsPrinted(any()) ? 0 : 1;
        different += isWrittenAsPrinted(ordinary) ? 0 : 1;
        different += isWrittenAsPrinted(nearHalf) ? 0 : 1;
        different += isWrittenAsPrinted(exactHalf) ? 0 : 1;
    }
    EXPECT_EQ(0, different);
}

TEST_F(MillionDoublesTest, AtEveryEdgeAreWrittenAsPrinted)
{
    // Halves of the last decimal, carries, and where the fast path begins and ends.
    for (const double edge : {0.0,
                              DBL_MIN,
                              DBL_TRUE_MIN,
                              DBL_MAX,
                              DBL_EPSILON,
                              1.0 / 4096,
                              1e10,
                              1e15,
                              5e-9,
                              1.5e-8,
                              0.00024414062,
                              0.001953125,
                              0.0009765625,
                              0.5,
                              0.99999999,
                              0.999999995,
                              1.0,
                              1.000000005,
                              9.999999995,
                              99999999.999999995,
                              9999999999.0,
                              9999999999.99999999,
                              4294967295.0,
                              4294967296.0,
                              9007199254740992.0,
                              1e22,
                              1e300,
                              std::numeric_limits<double>::infinity(),
                              std::numeric_limits<double>::quiet_NaN()})
        for (const double number : {std::nextafter(edge, 0.0), edge, std::nextafter(edge, DBL_MAX)})
            EXPECT_TRUE(isWrittenAsPrinted(number)) << std::hexfloat << number;
}

TEST_F(MillionDoublesTest, AtHalvesAroundTheEndOf64BinaryDigitsAreWrittenAsPrinted)
{
    for (int decimals = 20000; decimals < 30000; ++decimals) { // 1/4096 is 0.00024414
        const double half = (decimals + 0.5) * 1e-8;
        for (const double number : {std::nextafter(half, 0.0), half, std::nextafter(half, 1.0)})
            EXPECT_TRUE(isWrittenAsPrinted(number)) << std::hexfloat << number;
    }
}

TEST_F(MillionDoublesTest, AtEveryPowerOfTwoAndBesideItAreWrittenAsPrinted)
{
    for (int exponent = -1074; exponent < 1024; ++exponent) {
        const double power = std::ldexp(1.0, exponent);
        for (const double number :
             {std::nextafter(power, 0.0), power, std::nextafter(power, DBL_MAX)})
            EXPECT_TRUE(isWrittenAsPrinted(number)) << "2^" << exponent;
    }
}

// Where the program has set a locale that writes numbers in another way.

class NumberLocaleTest : public Test, public ::testing::WithParamInterface<const char*>
{
protected:
    NumberLocaleTest() : locale(GetParam()) { EXPECT_STRNE(".", std::localeconv()->decimal_point); }

private:
    ProgramLocale locale;
};

INSTANTIATE_TEST_SUITE_P(Comma, NumberLocaleTest, ::testing::Values("de_DE.UTF-8"));
INSTANTIATE_TEST_SUITE_P(PointOfTwoBytes, NumberLocaleTest, ::testing::Values("ps_AF.UTF-8"));

TEST_P(NumberLocaleTest, WritesAFullStop)
{
    EXPECT_EQ("0.10000000", textOf(0.1));
    EXPECT_EQ("-3.50000000", textOf(-3.5));
    EXPECT_EQ("1234567.50000000", textOf(1234567.5));
    EXPECT_EQ("-0.00000000", textOf(-0.0));
    EXPECT_EQ("0.00000001", textOf(1e-8));
    EXPECT_EQ("10000000000000000000000.00000000", textOf(1e22));
}

TEST_P(NumberLocaleTest, CutsAt127Characters)
{
    EXPECT_EQ(".00000000", textOf(1e117).substr(118));
    EXPECT_EQ(".0000000", textOf(-1e117).substr(119));
    EXPECT_EQ(127u, textOf(1e300).size());
}

TEST_P(NumberLocaleTest, WritesInfinityAndNanAsWords)
{
    EXPECT_EQ("-inf", textOf(-HUGE_VAL));
    EXPECT_EQ("nan", textOf(std::copysign(std::nan(""), 1.0)));
}

TEST_P(NumberLocaleTest, ReadsAFullStop)
{
    EXPECT_EQ(0.5, sql::textToDouble("0.5"));
    EXPECT_EQ(1500.0, sql::textToDouble("1.5e3"));
    EXPECT_EQ(12.5, sql::textToDouble(" 12.5"));
    EXPECT_EQ(12.5, sql::textToDouble("12.5abc"));
    EXPECT_EQ(1.5, sql::textToDouble("1.5.5"));
    EXPECT_EQ(3.0, sql::textToDouble("0x1.8p1"));
    EXPECT_EQ(0.123456789012345678, sql::textToDouble("0.123456789012345678"));
}

TEST_P(NumberLocaleTest, EndsANumberAtTheLocalesPoint)
{
    const std::string point = std::localeconv()->decimal_point;
    const std::string separator = std::localeconv()->thousands_sep;
    EXPECT_EQ(3.0, sql::textToDouble("3" + point + "5"));
    EXPECT_EQ(3.5, sql::textToDouble("3.5" + point + "5"));
    EXPECT_EQ(0.0, sql::textToDouble(point + "5"));
    EXPECT_EQ(-3.0, sql::textToDouble(" -3" + point + "5.5"));
    if (separator != ".") {
        EXPECT_EQ(3.0, sql::textToDouble("3" + separator + "500"));
    }
}

} // namespace
