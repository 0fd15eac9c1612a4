// Scenarios that use the whole interface of library and companion. Each knows what the file must
// hold after it.

#ifndef SQLW_FAULTS_WORKLOAD_H
#define SQLW_FAULTS_WORKLOAD_H

#include <string>
#include <vector>

#include "Sql.h"
#include "Witness.h"

namespace faults
{

struct Scenario
{
    const char* name;
    void (*run)(Witness& witness, const std::string& path);
};

const std::vector<Scenario>& scenarios();
/// Those of them that use the companion.
std::vector<Scenario> companionScenarios();

/// The columns of the tables of the database.
extern const sql::Field itemFields[];

/// A database file with the tables `item` (rows 1 to 5), `copy` (one row) and `many` (rows over
/// several pages), written once, by SQLite alone, and copied for each run.
void makeDatabase(const std::string& path);

} // namespace faults

#endif
