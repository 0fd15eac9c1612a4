#include <climits>

#include <sqlite3.h>

#include "Trace.h"

namespace scenario
{

static void gates(sqlite3* db)
{
    for (int level : {-1, 0, 2, 3, 6, 7, 8, 9}) {
        heading(("At trace level " + sql::intToStr(level)).c_str());
        STEP(setTraceLevel(level));
        STEP(sql::Database database);
        ASK(database.open("", sql::Database::read_write, false, 0));
        ASK(sql::queryNumber(db, "select"));
        ASK(sql::type2Str(static_cast<sql::field_type>(7)));
    }
}

static void oneStatement(sqlite3* db)
{
    heading("Running one statement");
    for (int rc = -1; rc < 30; ++rc) {
        ASK(sql::sqliteRc2Str(rc));
    }
    ASK(sql::sqliteRc2Str(100));
    ASK(sql::sqliteRc2Str(101));
    ASK(sql::sqliteRc2Str(266));
    ASK(sql::runOneStepSqlStmt(nullptr, "create table t (a)"));
    ASK(sql::runOneStepSqlStmt(db, "create table t (a)"));
    ASK(sql::runOneStepSqlStmt(db, "nonsense"));
    ASK(sql::runOneStepSqlStmt(db, "select 1"));
    ASK(sql::queryNumber(nullptr, "select 1"));
    ASK(sql::queryNumber(db, "select count(*) from t"));
    ASK(sql::queryNumber(db, "select 2147483647"));
    ASK(sql::queryNumber(db, "select 2147483648"));
    ASK(sql::queryNumber(db, "select 4294967297"));
    ASK(sql::queryNumber(db, "select -5"));
    ASK(sql::queryNumber(db, "select 1, 2"));
    ASK(sql::queryNumber(db, "select a from t"));
    ASK(sql::queryNumber(db, "nonsense"));
}

static sql::string everyByte()
{
    sql::string text;
    for (int byte = 1; byte < 256; ++byte)
        text += static_cast<char>(byte);
    return text;
}

static void texts()
{
    heading("Texts and numbers");
    for (int type = -1; type < 6; ++type) {
        ASK(sql::type2Str(static_cast<sql::field_type>(type)));
    }
    ASK(sql::quoteStr(""));
    ASK(sql::quoteStr("it's"));
    ASK(sql::quoteStr("''"));
    ASK(sql::quoteStr(everyByte()));
    STEP(sql::string text = " \t a b \xA0\x85 \n");
    ASK(sql::trim(static_cast<const sql::string&>(text)));
    ASK(sql::trimleft(text));
    ASK(sql::trimright(text));
    STEP(text = everyByte() + " ");
    ASK(sql::trim(text));
    ASK(sql::intToStr(INT_MIN));
    ASK(sql::intToStr(INT_MAX));
    ASK(sql::intToStr(sql::integer(LLONG_MIN)));
    ASK(sql::intToStr(sql::integer(LLONG_MAX)));
    STEP(std::vector<sql::string> items);
    STEP(sql::listToVector("a, b,,c , ,\xC3\xA4\xFF", items, ","));
    ASK(items);
    STEP(sql::listToVector("", items, ","));
    ASK(items);
}

void foundation()
{
    sqlite3* db = nullptr;
    sqlite3_open(":memory:", &db);
    gates(db);
    oneStatement(db);
    texts();
    sqlite3_close(db);
}

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
