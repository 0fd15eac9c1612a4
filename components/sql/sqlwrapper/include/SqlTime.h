/// @file
/// Calendar time, as a column of type `type_time` holds it.

#ifndef SQLW_SQL_TIME_H
#define SQLW_SQL_TIME_H

#include <ctime>

#include "SqlCommon.h"

namespace sql
{

/// A calendar time in whole seconds since the epoch.
///
/// A value type: copied freely, owns nothing outside itself. At trace level 9, lines that two
/// threads write at once may show each other's text, which comes from `ctime`; the number of
/// seconds in the line is right.
class Time
{
public:
    /// The current time; -1 when the system has none. Logged at DEBUG3.
    Time();

    /// The time `seconds` after the epoch, cut to `time_t`. Logged at DEBUG3.
    Time(integer seconds);

    /// The current time.
    static Time now();

    /// Always true: the library takes any two times as equal. To compare times, compare
    /// `getTime()` or `asInteger()`.
    bool operator==(const Time& other);

    /// This time minus `other`, in seconds.
    double diff(Time& other);

    /// Seconds since the epoch.
    integer asInteger() const;
    /// Seconds since the epoch, in the system's own type.
    time_t getTime() const;

    /// @name Text in local time
    /// The empty text when the time cannot be broken down (after an ERROR line) or when the text
    /// exceeds 127 bytes.
    /// @{

    /// As `strftime` renders `pattern`, which must not be null, up to the first NUL.
    string format(const char* pattern) const;
    /// Such as "31-12-1999 23:59:59, Fri". The weekday follows the locale in force.
    string asString() const;
    /// Such as "23:59:59".
    string asTimeString() const;
    /// Such as "31-12-1999".
    string asDateString() const;

    /// @}
    /// @name Shifting
    /// Argument, product and sum are cut to `time_t`: they wrap around where it does.
    /// @{

    /// Adds `seconds`; a negative number, here and below, goes back in time.
    void addValue(integer seconds);
    /// Adds `minutes` of 60 seconds.
    void addMinutes(integer minutes);
    /// Adds `hours` of 3600 seconds.
    void addHours(integer hours);
    /// Adds `days` of 86400 seconds, whatever the clocks of the time zone do.
    void addDays(integer days);
    /// @}

private:
    SQLW_INTERNAL Time(time_t seconds, bool readFromClock);
    SQLW_INTERNAL void addUnits(integer count, time_t secondsPerUnit);

    time_t time;
};

} // namespace sql

#endif
