/// @file
/// The tables of the inventory, and their rows.

#ifndef SQLW_EXAMPLE_TABLES_H
#define SQLW_EXAMPLE_TABLES_H

#include "Package.h"
#include "Sql.h"

namespace inventory
{

/// Counted up with every change of a description below.
constexpr int schemaVersion = 1;

/// A package: all five types of columns, under a number as key.
extern const sql::Field packageFields[];

/// A section and what its packages come to, under its name as key.
extern const sql::Field sectionFields[];

struct Section
{
    std::string name;
    sql::integer packages = 0;
    std::optional<sql::integer> installedSize; ///< in KiB; none when no package has one
};

sql::Record toRecord(const Package& package, const sql::FieldSet& fields);
Package toPackage(const sql::Record& record);
Section toSection(const sql::Record& record);

} // namespace inventory

#endif
