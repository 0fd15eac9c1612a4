// Values for tests, and what the times that they hold write.

#ifndef SQLW_TEST_VALUES_H
#define SQLW_TEST_VALUES_H

#include <string>

#include "SqlValue.h"
#include "World.h"

namespace sqltest
{

class ValueTest : public Test
{
protected:
    static sql::Value holding(const char* text, int type = sql::type_text)
    {
        sql::Value value(sql::type_int);
        value.setValue(text, static_cast<sql::field_type>(type));
        return value;
    }
    static sql::Value null(int type) { return sql::Value(static_cast<sql::field_type>(type)); }
    static std::string textOf(double number)
    {
        sql::Value value(sql::type_float);
        value.setDouble(number);
        return value.asString();
    }

    // The line of each time that is made from a value.
    static std::string made(long seconds, const char* text)
    {
        return Source("SqlCommon").debug3("Time", "Time ctor: time = %ld = '%s'", seconds, text);
    }
    const std::string madeEpoch = made(0, "Thu Jan  1 00:00:00 1970\n");
    const std::string madeDay = made(86400, "Fri Jan  2 00:00:00 1970\n");
    const std::string typeNameReport =
        Source("SqlCommon").asserted("false", "sql::string sql::type2Str(sql::field_type)");

    TimeZone zone{"UTC0"};
};

} // namespace sqltest

#endif
