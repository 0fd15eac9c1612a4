/// @file
/// The source of the inventory: what dpkg knows of its packages.

#ifndef SQLW_EXAMPLE_DPKG_STATUS_H
#define SQLW_EXAMPLE_DPKG_STATUS_H

#include <string>
#include <vector>

#include "Package.h"
#include "Progress.h"

namespace inventory
{

/// Reads the packages that are installed, whether or not they are held at their version. The times
/// of their files are those of their file lists in `infoFolder`.
/// @throws support::Failure when the file cannot be read, or holds what dpkg would not write: then
///         with the number of the line.
std::vector<Package> readInstalledPackages(const std::string& statusFile,
                                           const std::string& infoFolder,
                                           support::Progress& progress);

} // namespace inventory

#endif
