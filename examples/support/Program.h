/// @file
/// The frame of a program: its help, its failures and its exit status.

#ifndef SQLW_EXAMPLE_PROGRAM_H
#define SQLW_EXAMPLE_PROGRAM_H

#include <string>
#include <vector>

namespace support
{

using Arguments = std::vector<std::string>;

/// What ends a program, in one line for the user.
struct Failure
{
    std::string message;
    int status = 1;
};

/// Wrong usage, which ends a program with status 2.
Failure wrongUsage(const std::string& message);

/// Runs a program on the arguments after its name, or prints `usage` for "--help". A `Failure`, the
/// end of memory and an output that cannot be written, as to a closed pipe, become one line on
/// standard error.
/// @return the exit status.
int runProgram(const char* name, const char* usage, int argc, char** argv,
               void (*run)(const Arguments&));

} // namespace support

#endif
