// Any time and any pattern: a text of at most 127 bytes, or the empty one.

#include "Fuzz.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    FuzzedDataProvider input(data, size);
    sql::Time time(input.ConsumeIntegral<long long>());
    time.addValue(input.ConsumeIntegral<long long>());
    time.addMinutes(input.ConsumeIntegral<long long>());
    time.addHours(input.ConsumeIntegral<long long>());
    time.addDays(input.ConsumeIntegral<long long>());
    const std::string pattern = fuzz::upToNul(input.ConsumeRemainingBytesAsString());
    fuzz::require(time.format(pattern.c_str()).size() <= 127, "fits");
    time.asString();
    time.asDateString();
    sql::Time same(time);
    fuzz::require(time.diff(same) == 0.0 && time == same, "a copy is equal");
    return 0;
}
