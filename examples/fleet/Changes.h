/// @file
/// What a transaction changed in the shared tables, as SQLite's session extension records it.

#ifndef SQLW_EXAMPLE_FLEET_CHANGES_H
#define SQLW_EXAMPLE_FLEET_CHANGES_H

#include <functional>
#include <string>

struct sqlite3;
struct sqlite3_session;

namespace fleet
{

/// Records the changes of the shared tables from its construction on. Borrows the connection.
class Changes
{
public:
    /// Throws `support::Failure`.
    explicit Changes(sqlite3* db);
    ~Changes();
    Changes(const Changes&) = delete;
    Changes& operator=(const Changes&) = delete;

    /// Adds every row of the tables, as if it had just been inserted. REQUIRES: `attachEmpty`.
    void addAllRows();
    /// The changes, as a changeset.
    std::string take();

private:
    sqlite3_session* _session;
};

/// Attaches a database with the shared tables and no row in them. Not within a transaction.
void attachEmpty(sqlite3* db);

/// What is wrong with a changeset of a board, in words: it is damaged, changes other tables, or
/// rows of another board. The empty text for a good one.
std::string objection(const std::string& changeset, long long board);

/// A change that the rows of the gateway contradict: what contradicts, the table and the row.
using Conflict =
    std::function<void(const char* kind, const std::string& table, const std::string& row)>;

/// Applies a changeset but for the changes that conflict, which it hands to `conflict`.
/// @return SQLite's result code; nothing is applied unless it is 0.
int apply(sqlite3* db, const std::string& changeset, const Conflict& conflict);

} // namespace fleet

#endif
