// Every setter, then every getter: what was set is read back, and nothing else happens.

#include <cmath>

#include "Fuzz.h"

static void set(sql::Value& value, FuzzedDataProvider& input)
{
    switch (input.ConsumeIntegralInRange(0, 6)) {
        case 0:
            value.setNull();
            fuzz::require(value.isNull() && value.asInteger() == 0, "null");
            break;
        case 1: {
            const std::string text = input.ConsumeRandomLengthString();
            value.setString(text);
            fuzz::require(value.getType() == sql::type_time || value.asString() == text, "text");
            break;
        }
        case 2: {
            const auto number = input.ConsumeIntegral<long long>();
            value.setInteger(number);
            fuzz::require(value.asInteger() == number, "integer");
            break;
        }
        case 3: {
            const auto number = input.ConsumeFloatingPoint<double>();
            value.setDouble(number);
            char expected[128]; // cut as the library cuts
            std::snprintf(expected, sizeof(expected), "%0.8f", number);
            fuzz::require(value.getType() == sql::type_time || value.asString() == expected,
                          "eight decimals");
            break;
        }
        case 4: {
            const bool truth = input.ConsumeBool();
            value.setBool(truth);
            fuzz::require(value.asBool() == truth, "bool");
            break;
        }
        case 5: {
            const auto seconds = input.ConsumeIntegral<std::int32_t>();
            value.setTime(sql::Time(seconds));
            fuzz::require(value.asTime().asInteger() == seconds, "time");
            break;
        }
        default: {
            const std::string text = input.ConsumeRandomLengthString();
            value.setValue(input.ConsumeBool() ? text.c_str() : nullptr,
                           static_cast<sql::field_type>(input.ConsumeIntegralInRange(-1, 6)));
        }
    }
}

void fuzz::tryInput(FuzzedDataProvider& input)
{
    sql::Value value(static_cast<sql::field_type>(input.ConsumeIntegralInRange(0, 4)));
    sql::Value other(static_cast<sql::field_type>(input.ConsumeIntegralInRange(0, 4)));
    while (input.remaining_bytes() > 0) {
        set(value, input);
        set(other, input);
        const std::string text = value.isNull() ? "" : value.asString();
        const double number = value.asDouble();
        if (value.getType() != sql::type_time) {
            const double expected = std::strtod(text.c_str(), nullptr);
            require(number == expected || (std::isnan(number) && std::isnan(expected)),
                    "asDouble reads as strtod");
        }
        value.toString();
        value.dump(true);
        value.toSql(sql::type_text);
        value.toSql(sql::type_int);
        value.equals(other);
        sql::Value copy(value);
        require(copy.toSql(sql::type_text) == value.toSql(sql::type_text), "a copy is equal");
    }
}
