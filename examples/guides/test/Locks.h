/// @file
/// Another program takes a lock, at every step of what this one does.

#ifndef SQLW_GUIDES_LOCKS_H
#define SQLW_GUIDES_LOCKS_H

#include <functional>
#include <string>
#include <vector>

#include <Sql.h>

/// What a guide's program does, and what is true once it has done it.
struct Work
{
    std::vector<std::string> files;        ///< those that the other program locks
    std::vector<sql::Database*> databases; ///< the connections of the program
    std::function<bool()> prepare;         ///< makes the files and opens the databases
    std::function<bool()> run;
    std::function<bool()> isDone; ///< whether the files show it
};

/// Runs the work once for each file, each kind of lock and each statement at which the lock can be
/// taken. Each time, the work must be done and true or undone and false, leave no transaction open,
/// and succeed when it is run again after the lock has gone.
/// @return how often the work was refused.
int runWithLocks(const Work& work);

/// The number that `query` gives, on a connection of its own; -1 on failure.
int numberIn(const std::string& file, const std::string& query);

/// Deletes a database and its journal.
void removeDatabase(const std::string& file);

#endif
