/// @file
/// What differs between two inventories.

#ifndef SQLW_EXAMPLE_CHANGES_H
#define SQLW_EXAMPLE_CHANGES_H

#include <vector>

#include "Package.h"

namespace inventory
{

struct Change
{
    Package before;
    Package after;
};

struct Changes
{
    std::vector<Package> added;
    std::vector<Change> changed;
    std::vector<Package> removed;

    bool none() const { return added.empty() && changed.empty() && removed.empty(); }
};

/// Packages are the same by name and architecture. Their shares move with every other package and
/// do not count, nor does a time that only one side knows.
Changes compare(const std::vector<Package>& before, const std::vector<Package>& after);

/// Whether the files were installed again, as far as both sides know.
bool filesDiffer(const Package& before, const Package& after);

} // namespace inventory

#endif
