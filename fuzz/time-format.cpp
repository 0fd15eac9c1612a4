// Any time and any pattern: the text that the C library makes of them, after arithmetic that wraps.

#include <ctime>

#include "Fuzz.h"

namespace
{

// The text is what a buffer of 128 bytes holds up to its first NUL. What remains there of a text
// that does not fit is undefined.
void requireFormat(const std::string& text, std::time_t seconds, const char* pattern)
{
    std::tm local;
    if (!localtime_r(&seconds, &local)) {
        fuzz::require(text.empty(), "no local time");
        return;
    }
    char expected[128] = "";
    const std::size_t size = std::strftime(expected, sizeof(expected), pattern, &local);
    if (size > 0)
        fuzz::require(text == expected, "as strftime has it");
    else
        fuzz::require(text.size() < sizeof(expected) && std::string(expected, 128).find(text) == 0,
                      "as strftime leaves it");
}

} // namespace

void fuzz::tryInput(FuzzedDataProvider& input)
{
    std::int64_t numbers[5];
    for (std::int64_t& number : numbers)
        number = input.ConsumeIntegral<long long>();
    sql::Time time(numbers[0]);
    time.addValue(numbers[1]);
    time.addMinutes(numbers[2]);
    time.addHours(numbers[3]);
    time.addDays(numbers[4]);
    std::uint64_t sum = 0; // which wraps
    const std::uint64_t factors[] = {1, 1, 60, 3600, 86400};
    for (int i = 0; i < 5; ++i)
        sum += static_cast<std::uint64_t>(numbers[i]) * factors[i];
    const auto seconds = static_cast<std::time_t>(sum);
    require(time.getTime() == seconds && time.asInteger() == seconds, "the sum");

    const std::string pattern = upToNul(input.ConsumeRemainingBytesAsString());
    requireFormat(time.format(pattern.c_str()), seconds, pattern.c_str());
    requireFormat(time.asString(), seconds, "%d-%m-%Y %H:%M:%S, %a");
    requireFormat(time.asDateString(), seconds, "%d-%m-%Y");
    requireFormat(time.asTimeString(), seconds, "%H:%M:%S");
    sql::Time first(numbers[0]);
    require(time.diff(first) == std::difftime(seconds, numbers[0]), "the difference");
    require(time == first, "any two times are equal");
}
