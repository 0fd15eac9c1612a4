#include "SqlTime.h"

#include <climits>
#include <cstdint>
#include <ctime>
#include <type_traits>

#include <gtest/gtest.h>

#include "support/World.h"

using namespace sqltest;

namespace
{

const Source common("SqlCommon");

// What callers were compiled against. The comparison is not const.
static_assert(sizeof(sql::Time) == sizeof(time_t), "one field, nothing virtual");
static_assert(
    std::is_same<decltype(&sql::Time::operator==), bool (sql::Time::*)(const sql::Time&)>::value,
    "");
static_assert(std::is_same<decltype(&sql::Time::diff), double (sql::Time::*)(sql::Time&)>::value,
              "");
static_assert(std::is_convertible<sql::integer, sql::Time>::value, "");

// What is expected where time_t has 32 bits, as on the target, and where it has 64.
constexpr sql::integer byWidth(sql::integer narrow, sql::integer wide)
{
    return sizeof(time_t) == 4 ? narrow : wide;
}

constexpr sql::integer day = 86400;

class TimeTest : public Test
{
protected:
    // The line of a constructor. `text` ends in the newline that ctime gives it.
    static std::string made(sql::integer seconds, const char* text)
    {
        return common.debug3("Time", "Time ctor: time = %ld = '%s'", static_cast<long>(seconds),
                             text);
    }
    static std::string made(const sql::Time& time)
    {
        const time_t seconds = time.getTime();
        return made(seconds, std::ctime(&seconds));
    }
    const std::string conversionFailed =
        common.error("format", "Failed to convert calendar time to local time");

    TimeZone zone{"UTC0"};
};

// Construction

TEST_F(TimeTest, HoldsTheGivenSeconds)
{
    EXPECT_EQ(86400, sql::Time(86400).getTime());
    EXPECT_EQ(0, sql::Time(0).getTime());
    EXPECT_EQ(-86400, sql::Time(-86400).getTime());
}

TEST_F(TimeTest, LogsTheGivenTimeWithTheNewlineOfItsText)
{
    sql::Time time(86400);
    EXPECT_EQ(trace({common.debug3("Time", "Time ctor: time = %ld = '%s'", 86400L,
                                   "Fri Jan  2 00:00:00 1970\n")}),
              takeEvents());
}

TEST_F(TimeTest, LogsATimeBeforeTheEpoch)
{
    sql::Time time(-1);
    EXPECT_EQ(trace({made(-1, "Wed Dec 31 23:59:59 1969\n")}), takeEvents());
}

TEST_F(TimeTest, LogsLocalTime)
{
    const TimeZone cet("CET-1");
    sql::Time time(0);
    EXPECT_EQ(trace({made(0, "Thu Jan  1 01:00:00 1970\n")}), takeEvents());
}

TEST_F(TimeTest, LogsNoGivenTimeAtLevel8)
{
    setTraceLevel(8);
    sql::Time time(0);
    EXPECT_EQ(trace({}), takeEvents());
}

TEST_F(TimeTest, CutsTheGivenSecondsToTimeT)
{
    EXPECT_EQ(byWidth(INT32_MIN, 2147483648), sql::Time(2147483648).asInteger());
    EXPECT_EQ(byWidth(0, 4294967296), sql::Time(4294967296).asInteger());
    EXPECT_EQ(byWidth(-1, LLONG_MAX), sql::Time(LLONG_MAX).asInteger());
    EXPECT_EQ(byWidth(0, LLONG_MIN), sql::Time(LLONG_MIN).asInteger());
}

// ctime has no text for a year that exceeds an int, which 32 bits of seconds never reach.
TEST_F(TimeTest, LogsATimeThatHasNoText)
{
    sql::Time time(LLONG_MAX);
    EXPECT_EQ(trace({sizeof(time_t) == 4 ? made(-1, "Wed Dec 31 23:59:59 1969\n")
                                         : made(LLONG_MAX, "(null)")}),
              takeEvents());
}

TEST_F(TimeTest, IsTheCurrentTimeWithoutAnArgument)
{
    EXPECT_EQ(std::time(nullptr), sql::Time().getTime());
}

TEST_F(TimeTest, LogsTheCurrentTime)
{
    const sql::Time time;
    EXPECT_EQ(trace({made(time)}), takeEvents());
}

TEST_F(TimeTest, LogsNoCurrentTimeAtLevel8)
{
    setTraceLevel(8);
    const sql::Time time;
    EXPECT_EQ(trace({}), takeEvents());
}

TEST_F(TimeTest, IsMinus1WithoutLogLineWhenTheClockFails)
{
    faults.clockFails = true;
    const sql::Time time;
    EXPECT_EQ(-1, time.asInteger());
    EXPECT_EQ(trace({}), takeEvents());
}

TEST_F(TimeTest, LogsAGivenTimeThoughTheClockFails)
{
    faults.clockFails = true;
    const sql::Time time(-1);
    EXPECT_EQ(trace({made(-1, "Wed Dec 31 23:59:59 1969\n")}), takeEvents());
}

TEST_F(TimeTest, NowIsTheCurrentTime)
{
    EXPECT_EQ(std::time(nullptr), sql::Time::now().getTime());
}

TEST_F(TimeTest, NowIsLoggedOnce)
{
    const sql::Time time = sql::Time::now();
    EXPECT_EQ(trace({made(time)}), takeEvents());
}

TEST_F(TimeTest, NowIsMinus1WithoutLogLineWhenTheClockFails)
{
    faults.clockFails = true;
    EXPECT_EQ(-1, sql::Time::now().asInteger());
    EXPECT_EQ(trace({}), takeEvents());
}

TEST_F(TimeTest, IsCopiedWithoutLogLine)
{
    const sql::Time time(5);
    forgetEvents();
    const sql::Time copy(time);
    EXPECT_EQ(5, copy.getTime());
    EXPECT_EQ(trace({}), takeEvents());
}

TEST_F(TimeTest, IsAssignedWithoutLogLine)
{
    const sql::Time time(5);
    sql::Time assigned(6);
    forgetEvents();
    assigned = time;
    EXPECT_EQ(5, assigned.getTime());
    EXPECT_EQ(trace({}), takeEvents());
}

TEST_F(TimeTest, StaysTheSameWhenAssignedToItself)
{
    sql::Time time(5);
    const sql::Time& itself = time;
    time = itself;
    EXPECT_EQ(5, time.getTime());
}

// Reading and comparing

TEST_F(TimeTest, IsReadAsAnIntegerWithItsSign)
{
    EXPECT_EQ(INT32_MIN, sql::Time(INT32_MIN).asInteger());
    EXPECT_EQ(INT32_MAX, sql::Time(INT32_MAX).asInteger());
}

TEST_F(TimeTest, EqualsAnyOtherTime)
{
    sql::Time time(1);
    EXPECT_TRUE(time == sql::Time(2));
    EXPECT_TRUE(time == sql::Time(1));
    EXPECT_TRUE(time == time);
}

TEST_F(TimeTest, DiffersByItsSecondsMinusThoseOfTheOther)
{
    sql::Time early(4);
    sql::Time late(10);
    EXPECT_EQ(6.0, late.diff(early));
    EXPECT_EQ(-6.0, early.diff(late));
}

TEST_F(TimeTest, DiffersFromItselfBy0)
{
    sql::Time time(10);
    EXPECT_EQ(0.0, time.diff(time));
}

TEST_F(TimeTest, DiffersByMoreThanTimeTHolds)
{
    sql::Time first(INT32_MIN);
    sql::Time last(INT32_MAX);
    EXPECT_EQ(4294967295.0, last.diff(first));
}

TEST_F(TimeTest, IsReadComparedAndShiftedWithoutLogLine)
{
    sql::Time time(10);
    sql::Time other(4);
    forgetEvents();
    EXPECT_TRUE(time == other);
    time.diff(other);
    time.asInteger();
    time.getTime();
    time.addValue(1);
    time.addMinutes(1);
    time.addHours(1);
    time.addDays(1);
    time.asString();
    EXPECT_EQ(trace({}), takeEvents());
}

// Shifting

TEST_F(TimeTest, AddsSeconds)
{
    sql::Time time(100);
    time.addValue(7);
    EXPECT_EQ(107, time.getTime());
    time.addValue(-108);
    EXPECT_EQ(-1, time.getTime());
}

TEST_F(TimeTest, AddsMinutes)
{
    sql::Time time(100);
    time.addMinutes(2);
    EXPECT_EQ(220, time.getTime());
    time.addMinutes(-4);
    EXPECT_EQ(-20, time.getTime());
}

TEST_F(TimeTest, AddsHours)
{
    sql::Time time(100);
    time.addHours(2);
    EXPECT_EQ(7300, time.getTime());
    time.addHours(-3);
    EXPECT_EQ(-3500, time.getTime());
}

TEST_F(TimeTest, AddsDays)
{
    sql::Time time(86400);
    time.addDays(-1);
    EXPECT_EQ(sql::Time(0).getTime(), time.getTime());
    time.addDays(2);
    EXPECT_EQ(172800, time.getTime());
}

TEST_F(TimeTest, StaysTheSameWhen0IsAdded)
{
    sql::Time time(100);
    time.addValue(0);
    time.addMinutes(0);
    time.addHours(0);
    time.addDays(0);
    EXPECT_EQ(100, time.getTime());
}

// A day is 86400 seconds, even when the clocks change.
TEST_F(TimeTest, AddsTheSecondsOfADayAcrossAChangeOfTheClocks)
{
    const TimeZone berlin("CET-1CEST,M3.5.0,M10.5.0/3");
    sql::Time time(1616842800); // the day before
    EXPECT_EQ("27-03-2021 12:00:00, Sat", time.asString());
    time.addDays(1);
    EXPECT_EQ("28-03-2021 13:00:00, Sun", time.asString());
}

TEST_F(TimeTest, SumWrapsAroundPast32Bits)
{
    sql::Time time(INT32_MAX);
    time.addValue(1);
    EXPECT_EQ(byWidth(INT32_MIN, 2147483648), time.asInteger());
}

TEST_F(TimeTest, SumWrapsAroundBelow32Bits)
{
    sql::Time time(INT32_MIN);
    time.addValue(-1);
    EXPECT_EQ(byWidth(INT32_MAX, -2147483649), time.asInteger());
}

TEST_F(TimeTest, EachShiftWrapsAroundPastTheLastSecondOf32Bits)
{
    sql::Time minute(INT32_MAX);
    minute.addMinutes(1);
    EXPECT_EQ(byWidth(INT32_MIN + 59LL, INT32_MAX + 60LL), minute.asInteger());
    sql::Time hour(INT32_MAX);
    hour.addHours(1);
    EXPECT_EQ(byWidth(INT32_MIN + 3599LL, INT32_MAX + 3600LL), hour.asInteger());
    sql::Time nextDay(INT32_MAX);
    nextDay.addDays(1);
    EXPECT_EQ(byWidth(INT32_MIN + day - 1, INT32_MAX + day), nextDay.asInteger());
}

TEST_F(TimeTest, EachShiftWrapsAroundBelowTheFirstSecondOf32Bits)
{
    sql::Time minute(INT32_MIN);
    minute.addMinutes(-1);
    EXPECT_EQ(byWidth(INT32_MAX - 59LL, INT32_MIN - 60LL), minute.asInteger());
    sql::Time hour(INT32_MIN);
    hour.addHours(-1);
    EXPECT_EQ(byWidth(INT32_MAX - 3599LL, INT32_MIN - 3600LL), hour.asInteger());
    sql::Time dayBefore(INT32_MIN);
    dayBefore.addDays(-1);
    EXPECT_EQ(byWidth(INT32_MAX - day + 1, INT32_MIN - day), dayBefore.asInteger());
}

TEST_F(TimeTest, SumWrapsAroundPast64Bits)
{
    sql::Time time(LLONG_MAX);
    time.addValue(1);
    EXPECT_EQ(byWidth(0, LLONG_MIN), time.asInteger());
}

TEST_F(TimeTest, SumWrapsAroundBelow64Bits)
{
    sql::Time time(LLONG_MIN);
    time.addValue(-1);
    EXPECT_EQ(byWidth(-1, LLONG_MAX), time.asInteger());
}

TEST_F(TimeTest, ArgumentIsCutToTimeTBeforeItIsMultiplied)
{
    sql::Time time(5);
    time.addMinutes(4294967297); // 1 in 32 bits
    EXPECT_EQ(byWidth(65, 257698037825), time.asInteger());
}

TEST_F(TimeTest, ProductOfMinutesWrapsAround)
{
    sql::Time time(0);
    time.addMinutes(INT32_MAX);
    EXPECT_EQ(byWidth(-60, 128849018820), time.asInteger());
}

TEST_F(TimeTest, ProductOfHoursWrapsAround)
{
    sql::Time time(0);
    time.addHours(LLONG_MAX);
    EXPECT_EQ(-3600, time.asInteger());
}

TEST_F(TimeTest, ProductOfDaysWrapsAround)
{
    sql::Time time(0);
    time.addDays(LLONG_MAX);
    EXPECT_EQ(-86400, time.asInteger());
}

TEST_F(TimeTest, ProductOfTheSmallestNumberWrapsAroundTo0)
{
    sql::Time time(5);
    time.addMinutes(LLONG_MIN);
    EXPECT_EQ(5, time.asInteger());
}

TEST_F(TimeTest, DaysPastTheLastSecondOf32BitsWrapAround)
{
    sql::Time time(0);
    time.addDays(24856); // the first day that does not end within 32 bits
    EXPECT_EQ(byWidth(-2147408896, 2147558400), time.asInteger());
}

// Text

TEST_F(TimeTest, IsTextOfDateTimeAndDay)
{
    EXPECT_EQ("31-12-1999 23:59:58, Fri", sql::Time(946684798).asString());
}

TEST_F(TimeTest, IsTextOfTime)
{
    EXPECT_EQ("23:59:58", sql::Time(946684798).asTimeString());
}

TEST_F(TimeTest, IsTextOfDate)
{
    EXPECT_EQ("31-12-1999", sql::Time(946684798).asDateString());
}

TEST_F(TimeTest, TextOfTheEpochIsTheFirstOfJanuary)
{
    EXPECT_EQ("01-01-1970", sql::Time(0).asDateString());
    EXPECT_EQ("00:00:00", sql::Time(0).asTimeString());
    EXPECT_EQ("01-01-1970 00:00:00, Thu", sql::Time(0).asString());
}

TEST_F(TimeTest, TextEndsInTheDayOfTheWeek)
{
    const char* const days[] = {"Thu", "Fri", "Sat", "Sun", "Mon", "Tue", "Wed"};
    for (int i = 0; i < 7; ++i) {
        const std::string text = sql::Time(i * day).asString();
        EXPECT_EQ(std::string(", ") + days[i], text.substr(text.size() - 5));
    }
}

TEST_F(TimeTest, TextOfALeapDay)
{
    EXPECT_EQ("29-02-2000 00:00:00, Tue", sql::Time(951782400).asString());
}

TEST_F(TimeTest, TextOfTheLastSecondOf32Bits)
{
    EXPECT_EQ("19-01-2038 03:14:07, Tue", sql::Time(INT32_MAX).asString());
}

TEST_F(TimeTest, TextOfTheFirstSecondOf32Bits)
{
    EXPECT_EQ("13-12-1901 20:45:52, Fri", sql::Time(INT32_MIN).asString());
}

TEST_F(TimeTest, TextOfTheSecondPast32Bits)
{
    EXPECT_EQ(sizeof(time_t) == 4 ? "13-12-1901 20:45:52, Fri" : "19-01-2038 03:14:08, Tue",
              sql::Time(2147483648).asString());
}

TEST_F(TimeTest, TextIsLocalTimeEastOfGreenwich)
{
    const TimeZone india("IST-5:30");
    EXPECT_EQ("01-01-1970 05:30:00, Thu", sql::Time(0).asString());
    EXPECT_EQ("05:30:00", sql::Time(0).asTimeString());
    EXPECT_EQ("01-01-1970", sql::Time(0).asDateString());
}

TEST_F(TimeTest, TextIsLocalTimeWestOfGreenwich)
{
    const TimeZone newYork("EST5");
    EXPECT_EQ("31-12-1969 19:00:00, Wed", sql::Time(0).asString());
    EXPECT_EQ("19:00:00", sql::Time(0).asTimeString());
    EXPECT_EQ("31-12-1969", sql::Time(0).asDateString());
}

TEST_F(TimeTest, TextFollowsTheChangeOfTheClocks)
{
    const TimeZone berlin("CET-1CEST,M3.5.0,M10.5.0/3");
    EXPECT_EQ("28-03-2021 01:59:59, Sun", sql::Time(1616893199).asString());
    EXPECT_EQ("28-03-2021 03:00:00, Sun", sql::Time(1616893200).asString());
}

// Formats

TEST_F(TimeTest, FormatsByAnyPattern)
{
    EXPECT_EQ("1999/365 at 23h %", sql::Time(946684798).format("%Y/%j at %Hh %%"));
}

TEST_F(TimeTest, FormatsNothingByAnEmptyPattern)
{
    EXPECT_EQ("", sql::Time(0).format(""));
    EXPECT_EQ(trace({made(0, "Thu Jan  1 00:00:00 1970\n")}), takeEvents());
}

TEST_F(TimeTest, FormatsBytesPast127AsTheyAre)
{
    EXPECT_EQ("\x80 1970 \xff", sql::Time(0).format("\x80 %Y \xff"));
}

TEST_F(TimeTest, FormatsATextOf127Bytes)
{
    const std::string tail(123, 'x');
    EXPECT_EQ("1970" + tail, sql::Time(0).format(("%Y" + tail).c_str()));
}

TEST_F(TimeTest, GivesTheEmptyTextForMoreThan127Bytes)
{
    const std::string tail(124, 'x');
    EXPECT_EQ("", sql::Time(0).format(("%Y" + tail).c_str()));
}

TEST_F(TimeTest, LogsNothingForMoreThan127Bytes)
{
    const sql::Time time(0);
    forgetEvents();
    EXPECT_EQ("", time.format(std::string(1000, 'x').c_str()));
    EXPECT_EQ(trace({}), takeEvents());
}

// More than the text, and any count.
template <std::size_t Count> std::size_t writeBytes(char* text, std::size_t size)
{
    std::string("1970\0more", 10).copy(text, size);
    return Count;
}

TEST_F(TimeTest, FormatsUpToTheFirstNulWhateverStrftimeCounts)
{
    for (const auto strftime : {writeBytes<0>, writeBytes<2>, writeBytes<9>, writeBytes<1000>}) {
        faults.strftime = strftime;
        EXPECT_EQ("1970", sql::Time(0).format("%Y"));
    }
}

TEST_F(TimeTest, GivesTheEmptyTextWhenStrftimeLeavesTheBufferAlone)
{
    faults.strftime = [](char*, std::size_t) { return std::size_t(4); };
    EXPECT_EQ("", sql::Time(0).format("%Y"));
}

// As the C library leaves a text that does not fit.
TEST_F(TimeTest, GivesTheEmptyTextWhenNoNulEndsTheBuffer)
{
    faults.strftime = [](char* text, std::size_t) { return std::string("1").copy(text, 1); };
    EXPECT_EQ("", sql::Time(0).format("%Y"));
    faults.strftime = [](char* text, std::size_t size) {
        return std::string(size, 'x').copy(text, size);
    };
    EXPECT_EQ("", sql::Time(0).format("%Y"));
}

TEST_F(TimeTest, GivesTheEmptyTextAfterAnErrorLineWhenLocalTimeFails)
{
    const sql::Time time(0);
    forgetEvents();
    faults.localTimeFails = true;
    EXPECT_EQ("", time.format("%Y"));
    EXPECT_EQ(trace({conversionFailed}), takeEvents());
}

TEST_F(TimeTest, EveryTextFailsAsItsFormatWhenLocalTimeFails)
{
    const sql::Time time(0);
    forgetEvents();
    faults.localTimeFails = true;
    EXPECT_EQ("", time.asString());
    EXPECT_EQ("", time.asTimeString());
    EXPECT_EQ("", time.asDateString());
    EXPECT_EQ(trace({conversionFailed, conversionFailed, conversionFailed}), takeEvents());
}

TEST_F(TimeTest, GivesTheEmptyTextInSilenceAtLevel2WhenLocalTimeFails)
{
    setTraceLevel(2);
    faults.localTimeFails = true;
    EXPECT_EQ("", sql::Time(0).asString());
    EXPECT_EQ(trace({}), takeEvents());
}

TEST_F(TimeTest, HasNoTextForAYearThatExceedsAnInt)
{
    const sql::Time time(LLONG_MAX);
    forgetEvents();
    const bool narrow = sizeof(time_t) == 4; // where it is the second before the epoch
    EXPECT_EQ(narrow ? "31-12-1969 23:59:59, Wed" : "", time.asString());
    EXPECT_EQ(narrow ? trace({}) : trace({conversionFailed}), takeEvents());
}

} // namespace
