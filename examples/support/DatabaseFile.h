/// @file
/// The name of a database file, as a user gave it.

#ifndef SQLW_EXAMPLE_DATABASE_FILE_H
#define SQLW_EXAMPLE_DATABASE_FILE_H

#include <string>

namespace support
{

/// Whether a file may be made when it is missing.
enum class Missing { refused, made };

/// Why no database can be kept in the file, as one line that begins with its name: it is missing,
/// cannot be reached, or is no file. SQLite itself would take "" and ":memory:" for a database that
/// is gone when it is closed, and would wait for the other end of a FIFO.
/// @return the empty text when SQLite can try.
std::string refusal(const std::string& name, Missing missing);

/// The name for SQLite, which takes it for a file and nothing else: some builds of SQLite read
/// "file:name?mode=memory" as a URI.
std::string plainPath(const std::string& name);

} // namespace support

#endif
