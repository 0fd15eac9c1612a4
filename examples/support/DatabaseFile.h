/// @file
/// The name of a database, as a user gave it: a path, or a URI that begins with "file:".

#ifndef SQLW_EXAMPLE_DATABASE_FILE_H
#define SQLW_EXAMPLE_DATABASE_FILE_H

#include <string>

namespace support
{

/// Whether a file may be made when it is missing.
enum class Missing { refused, made };

/// Why no database can be kept under the name, as one line that begins with it: the file is
/// missing, cannot be reached, or is no file; the URI leads nowhere, or this SQLite takes none.
/// SQLite itself would take "", ":memory:" and "file:a?mode=memory" for databases that are gone
/// when they are closed, and would wait for the other end of a FIFO.
/// @return the empty text when SQLite can try.
std::string refusal(const std::string& name, Missing missing);

/// The name for SQLite, which takes it for a file and nothing else unless it is a URI.
std::string sqliteName(const std::string& name);

/// The path of the file; empty for a URI that leaves the keeping to a VFS that has been loaded.
std::string localPath(const std::string& name);

/// Whether two names lead to the same database.
bool isSameDatabase(const std::string& name, const std::string& other);

} // namespace support

#endif
