// A platform that writes lines and reports to standard output, without their line numbers.

#include <cstdarg>
#include <cstdio>

static int level = 3;
static struct
{
    int* level;
} traceObject = {&level};

extern "C" {

void* g_traceObject = &traceObject;

void logAssertFailed(const char* expression, const char* path, int, const char* function)
{
    std::printf("assertion '%s' in %s: %s\n", expression, path, function);
}

void syslog(int, const char* format, ...)
{
    va_list args;
    va_start(args, format);
    const char* file = va_arg(args, const char*);
    va_arg(args, int);
    const char* function = va_arg(args, const char*);
    va_end(args);
    std::printf("line of %s in %s\n", function, file);
}

} // extern "C"
