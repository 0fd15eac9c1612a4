/// @file
/// What the program knows of a package.

#ifndef SQLW_EXAMPLE_PACKAGE_H
#define SQLW_EXAMPLE_PACKAGE_H

#include <optional>
#include <string>

#include "Sql.h"

namespace inventory
{

/// An installed package. What the source does not say is empty here and NULL in the database.
struct Package
{
    sql::integer id = 0; ///< its key in the inventory; 0 while it has none
    std::string name;
    std::string architecture;
    std::string version;
    std::optional<std::string> section;
    std::optional<sql::integer> installedSize; ///< in KiB
    std::optional<double> share;               ///< of the size of all packages, in percent
    bool essential = false;
    std::optional<sql::Time> filesChanged; ///< when its files were last installed
};

} // namespace inventory

#endif
