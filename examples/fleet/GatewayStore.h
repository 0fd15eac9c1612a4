/// @file
/// The database of a gateway: the rows of all boards, and how far each board has come.

#ifndef SQLW_EXAMPLE_FLEET_GATEWAY_STORE_H
#define SQLW_EXAMPLE_FLEET_GATEWAY_STORE_H

#include <memory>
#include <string>

#include <Sql.h>
#include <SqlPrepared.h>

#include "Message.h"

namespace fleet
{

/// Takes each changeset once, in the order of its line, and notes its number in the transaction
/// that applies it. Owns the connection. Throws `support::Failure` when the database refuses:
/// `take` leaves what was taken before as it is, unless SQLite itself rolled back, of which
/// `commit` throws.
class GatewayStore
{
public:
    /// Makes the database where it is missing.
    explicit GatewayStore(const std::string& file);

    /// How far the board has come, as the message that its shipper waits for.
    Message have(std::uint64_t board);

    /// Applies a changeset or a snapshot. One that was applied before changes nothing. Others are
    /// refused, noted as an event of the board, and change nothing.
    /// @return why it was refused; the empty text when it was not.
    std::string take(const Message& message);

    /// Keeps what was taken, or none of it.
    void commit();

private:
    struct Received;

    void begin();
    void makeOwnTables();
    Received received(std::uint64_t board);
    std::string objection(const Message& message, const Received& received);
    bool isKnown(const Message& message, const Received& received) const;
    void apply(const Message& message);
    void replace(const Message& message, const Received& received);
    void keepFormerRows(const Message& message, const Received& received);
    void note(const Message& message);
    void noteEvent(std::uint64_t board, const std::string& text);
    sqlite3* db() { return _database.getHandle(); }

    sql::Database _database;
    std::unique_ptr<sql::Transaction> _transaction;
};

} // namespace fleet

#endif
