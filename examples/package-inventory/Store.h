/// @file
/// The inventory in its database file.

#ifndef SQLW_EXAMPLE_STORE_H
#define SQLW_EXAMPLE_STORE_H

#include <string>
#include <vector>

#include "Changes.h"
#include "Package.h"
#include "Progress.h"
#include "Sql.h"
#include "Tables.h"

namespace inventory
{

/// What the user wants to see.
struct View
{
    std::string section; ///< of the packages to list; empty for all
    int top = 0;         ///< of the packages to list
};

/// What a report is made of.
struct Summary
{
    int packages = 0;
    int essential = 0;
    sql::integer installedSize = 0; ///< of all packages, in KiB
    std::string architecture;       ///< of most packages
    std::vector<Package> largest;   ///< of the view, the largest first
    std::vector<Section> sections;  ///< the largest first
    bool hasPrevious = false;       ///< whether there was an inventory before
    Changes changes;                ///< since that
};

/// Keeps the packages, what their sections come to, and the packages of the run before.
///
/// Each operation is one transaction, from the first read to the last write, and throws
/// `support::Failure` with the database as it was.
class Store
{
public:
    Store(const std::string& path, sql::Database::AccessMode mode, int waitSeconds);

    /// Makes `installed` the inventory, and what was there the previous one.
    Summary update(std::vector<Package> installed, const View& view, support::Progress& progress);

    /// Makes the previous inventory the present one again.
    Summary restore(const View& view);

private:
    void require(bool done);
    void prepare();
    bool isAsDescribed(const sql::Table& table);
    void write(std::vector<Package>& installed, support::Progress& progress);
    void rebuildSections();
    Summary summary(const View& view);
    std::vector<Package> read(sql::Table& table, const std::string& where,
                              const std::string& order);
    int count(const std::string& query);
    sql::Value firstValue(const std::string& query, sql::field_type type);

    const std::string _path;
    sql::Database _database;
    sql::Table _packages;
    sql::Table _previous;
    sql::Table _sections;
};

} // namespace inventory

#endif
