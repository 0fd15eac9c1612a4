/// @file
/// The command line.

#ifndef SQLW_EXAMPLE_OPTIONS_H
#define SQLW_EXAMPLE_OPTIONS_H

#include <string>

namespace inventory
{

struct Options
{
    std::string statusFile = "/var/lib/dpkg/status";
    std::string infoFolder; ///< holds the file lists of the packages
    std::string database;
    std::string section; ///< of the packages to list; empty for all
    int top = 10;        ///< the lines to show of each list
    int waitSeconds = 5; ///< for a locked database
    bool restore = false;
    bool help = false;
};

/// @throws support::Failure for wrong usage.
Options parseOptions(int argc, char** argv);

/// What --help prints.
extern const char* const usage;

} // namespace inventory

#endif
