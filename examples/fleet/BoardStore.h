/// @file
/// The database of a board: its rows, and what the gateway does not have of them.

#ifndef SQLW_EXAMPLE_FLEET_BOARD_STORE_H
#define SQLW_EXAMPLE_FLEET_BOARD_STORE_H

#include <string>
#include <vector>

#include <Sql.h>

#include "Message.h"

namespace fleet
{

/// One counter of the machine, as it is now.
struct Counter
{
    std::string name;
    sql::integer value;
    std::string unit;
};

/// Owns the connection. Every operation throws `support::Failure` when the database refuses, and
/// leaves no transaction open.
class BoardStore
{
public:
    /// The database of an existing board.
    explicit BoardStore(const std::string& file);
    /// Makes it where it is missing, and changes the tables of an older version to `version`.
    BoardStore(const std::string& file, sql::integer board, int version);

    sql::integer board() const { return _board; }

    /// Keeps a sample of all counters, and what it changed for the gateway, in one transaction.
    void keep(const std::vector<Counter>& counters);

    /// What the gateway is asked: whether it knows this board, and this line of its changesets.
    Message hello();
    /// Whether the changesets after the one that the gateway has continue what it has.
    bool continues(const Message& have);
    /// Reads the changeset after `number`, into `message`; false when there is none.
    bool next(sql::integer number, Message& message);
    /// All rows, as the first message of a new line.
    Message beginLine();
    /// The gateway has all up to `number`. They are dropped, but for the last.
    void acknowledge(sql::integer number);

private:
    void open(const std::string& file, bool isNew);
    void keepRows(const std::vector<Counter>& counters);
    void keepChanges(const std::string& changeset);
    Message message(Message::Kind kind);
    sqlite3* db() { return _database.getHandle(); }

    sql::Database _database;
    sql::integer _board = 0;
    int _version = 0;
};

} // namespace fleet

#endif
