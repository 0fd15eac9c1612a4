#include "Fuzz.h"

#include "platform/Platform.h"
#include "platform/SystemLog.h"

// Formats each line, so that its arguments are read.
static void formatLine(int, const char* format, va_list args)
{
    char line[256];
    std::vsnprintf(line, sizeof(line), format, args);
}

// Runs before the first input, at the level that writes every line.
extern "C" int LLVMFuzzerInitialize(int*, char***)
{
    platform::setLineSink(formatLine);
    platform::setTraceLevel(9);
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    FuzzedDataProvider input(data, size);
    fuzz::tryInput(input);
    return 0;
}
