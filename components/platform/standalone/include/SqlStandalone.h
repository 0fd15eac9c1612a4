/// @file
/// What the stand-alone platform offers to programs beside the two symbols that the library needs.

#ifndef SQLW_SQL_STANDALONE_H
#define SQLW_SQL_STANDALONE_H

namespace sqlwrapper_standalone
{

/// The number of assertion reports since the program started. May be called on any thread.
unsigned int assertionReports();

} // namespace sqlwrapper_standalone

#endif
