#include "SqlValue.h"

#include <cfloat>
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <limits>
#include <random>
#include <string>

#include <gtest/gtest.h>

#include "support/World.h"

// Ordinary numbers are written by whole-number arithmetic instead of snprintf: the digits must be
// the same ones, whatever the number.

namespace
{

class DoubleTextTest : public sqltest::Test
{
protected:
    // Whether both write `number`, and the same number below zero, alike.
    static bool isWrittenAsPrinted(double number)
    {
        for (const double sign : {1.0, -1.0}) {
            char printed[512];
            std::snprintf(printed, sizeof(printed), "%0.8f", sign * number);
            printed[127] = '\0'; // where the library cuts
            sql::Value value(sql::type_float);
            value.setDouble(sign * number);
            if (value.asString() != printed)
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

TEST_F(DoubleTextTest, OfAMillionNumbersIsAsPrinted)
{
    const double powersOfTen[] = {1e-12, 1e-9, 1e-6, 1e-4, 1e-2, 1e0, 1e2, 1e5, 1e8, 1e10, 1e12};
    int different = 0;
    for (int i = 0; i < 250000; ++i) {
        const double ordinary = below(powersOfTen[random() % 11]);
        const double nearHalf = (std::floor(below(1e9)) + 0.5) * 1e-8;
        const double exactHalf =
            (std::floor(below(1e9)) + 0.5) * 0x1p-8; // ends in a 5 behind eight
        different += isWrittenAsPrinted(any()) ? 0 : 1;
        different += isWrittenAsPrinted(ordinary) ? 0 : 1;
        different += isWrittenAsPrinted(nearHalf) ? 0 : 1;
        different += isWrittenAsPrinted(exactHalf) ? 0 : 1;
    }
    EXPECT_EQ(0, different);
}

TEST_F(DoubleTextTest, OfEveryEdgeIsAsPrinted)
{
    // Halves of the last decimal, carries, and where other arithmetic begins and ends.
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

TEST_F(DoubleTextTest, OfHalvesAroundTheEndOf64BinaryDigitsIsAsPrinted)
{
    for (int decimals = 20000; decimals < 30000; ++decimals) { // 1/4096 is 0.00024414
        const double half = (decimals + 0.5) * 1e-8;
        for (const double number : {std::nextafter(half, 0.0), half, std::nextafter(half, 1.0)})
            EXPECT_TRUE(isWrittenAsPrinted(number)) << std::hexfloat << number;
    }
}

TEST_F(DoubleTextTest, OfEveryPowerOfTwoAndItsNeighboursIsAsPrinted)
{
    for (int exponent = -1074; exponent < 1024; ++exponent) {
        const double power = std::ldexp(1.0, exponent);
        for (const double number :
             {std::nextafter(power, 0.0), power, std::nextafter(power, DBL_MAX)})
            EXPECT_TRUE(isWrittenAsPrinted(number)) << "2^" << exponent;
    }
}

} // namespace
