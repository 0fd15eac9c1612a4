#include "Program.h"

#include <csignal>
#include <iostream>
#include <new>

#include "Terminal.h"

namespace support
{

namespace
{

int complain(const char* name, const std::string& message, int status)
{
    std::cerr << name << ": " << harmless(message) << "\n";
    return status;
}

} // namespace

Failure wrongUsage(const std::string& message)
{
    return {message + " (see --help)", 2};
}

int runProgram(const char* name, const char* usage, int argc, char** argv,
               void (*run)(const Arguments&))
{
    std::signal(SIGPIPE, SIG_IGN); // the write fails instead, and says so
    std::signal(SIGXFSZ, SIG_IGN);
    try {
        const Arguments arguments(argv + 1, argv + argc);
        if (arguments == Arguments{"--help"})
            std::cout << usage;
        else
            run(arguments);
        if (!std::cout.flush())
            throw Failure{"the output could not be written"};
        return 0;
    } catch (const Failure& failure) {
        return complain(name, failure.message, failure.status);
    } catch (const std::bad_alloc&) {
        return complain(name, "out of memory", 1);
    }
}

} // namespace support
