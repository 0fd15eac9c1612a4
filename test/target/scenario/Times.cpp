#include <climits>

#include "Trace.h"

namespace scenario
{

static void tellTime(const sql::Time& time)
{
    ASK(time.asInteger());
    ASK(static_cast<sql::integer>(time.getTime()));
    ASK(time.asString());
    ASK(time.asTimeString());
    ASK(time.asDateString());
}

void times()
{
    heading("Times");
    STEP(sql::Time now);
    tellTime(now);
    STEP(sql::Time alsoNow = sql::Time::now());
    ASK(now.diff(alsoNow));
    STEP(sql::Time epoch(0));
    tellTime(epoch);
    STEP(sql::Time before1970(-86400LL * 365 * 30));
    tellTime(before1970);
    STEP(sql::Time last(INT_MAX));
    tellTime(last);
    STEP(sql::Time first(INT_MIN));
    tellTime(first);
    ASK(last.diff(first));
    ASK(first.diff(last));
    ASK(first == last);
    ASK(epoch.format("%Y-%m-%dT%H:%M:%S%z %Z %j"));
    ASK(epoch.format(""));
    ASK(epoch.format(sql::string(128, 'x').c_str()));
    STEP(epoch.addValue(59));
    STEP(epoch.addMinutes(59));
    STEP(epoch.addHours(23));
    STEP(epoch.addDays(-1));
    tellTime(epoch);
}

// Here alone a time_t of 32 bits differs from one of 64.
void timesBeyond32Bits()
{
    heading("Times beyond 32 bits");
    STEP(sql::Time time(INT_MAX));
    STEP(time.addValue(1));
    ASK(time.asInteger());
    ASK(time.asString());
    STEP(time.addMinutes(-1));
    ASK(time.asInteger());
    STEP(time.addHours((1LL << 40) + 1));
    ASK(time.asInteger());
    STEP(time.addDays(LLONG_MAX)); // wraps around in 64 bits as well
    ASK(time.asInteger());
    STEP(sql::Time beyond(1LL << 32));
    ASK(beyond.asInteger());
    STEP(sql::Time farthest(LLONG_MAX));
    ASK(farthest.asString());
    STEP(sql::Value value(sql::type_time));
    STEP(value.setInteger(LLONG_MIN));
    ASK(value.toSql(sql::type_int));
    ASK(value.asTime().asInteger());
}

} // namespace scenario
