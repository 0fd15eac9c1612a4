#include "GatewayStore.h"

#include "Changes.h"
#include "Program.h"
#include "Tables.h"

namespace fleet
{

namespace
{

std::string text(std::uint64_t number)
{
    return std::to_string(number);
}

std::string between(std::uint64_t board)
{
    const KeyRange keys(static_cast<sql::integer>(board));
    return " BETWEEN " + sql::intToStr(keys.first) + " AND " + sql::intToStr(keys.last);
}

// The columns as literals of SQL, so that a row can be written back as it was.
std::string asLiterals(const sql::FieldSet& fields)
{
    std::string literals;
    for (int i = 0; i < fields.count(); ++i)
        literals += (i ? " || ', ' || quote(" : "quote(") + fields.getByIndex(i)->getName() + ")";
    return literals;
}

} // namespace

/// What the gateway has of a board; the line 0 is none.
struct GatewayStore::Received
{
    std::uint64_t line = 0;
    std::uint64_t number = 0;
    std::uint64_t hash = 0;
};

GatewayStore::GatewayStore(const std::string& file)
{
    open(_database, file, true);
    begin();
    if (number(db(), "SELECT count(*) FROM sqlite_master WHERE name = 'self'") > 0)
        throw support::Failure{file + " is the database of a board"};
    makeTables(db(), newestVersion);
    makeOwnTables();
    commit();
}

void GatewayStore::makeOwnTables()
{
    run(db(), "CREATE TABLE IF NOT EXISTS received (board INTEGER PRIMARY KEY, line INTEGER NOT "
              "NULL, number INTEGER NOT NULL, hash INTEGER NOT NULL, at INTEGER NOT NULL)");
    run(db(), "CREATE TABLE IF NOT EXISTS line (line INTEGER PRIMARY KEY, board INTEGER NOT NULL)");
    run(db(),
        "CREATE TABLE IF NOT EXISTS conflict (id INTEGER PRIMARY KEY, board INTEGER NOT NULL, "
        "number INTEGER NOT NULL, at INTEGER NOT NULL, kind TEXT NOT NULL, tab TEXT NOT NULL, "
        "row TEXT NOT NULL)");
    run(db(), "CREATE TABLE IF NOT EXISTS former (id INTEGER PRIMARY KEY, board INTEGER NOT NULL, "
              "line INTEGER NOT NULL, tab TEXT NOT NULL, row TEXT NOT NULL)");
    run(db(),
        "CREATE TABLE IF NOT EXISTS event (id INTEGER PRIMARY KEY, at INTEGER NOT NULL, board "
        "INTEGER NOT NULL, text TEXT NOT NULL)");
}

void GatewayStore::begin()
{
    if (_transaction && !_transaction->isOpen())
        throw support::Failure{"nothing was kept: SQLite has rolled it back"};
    if (_transaction)
        return;
    auto transaction = std::make_unique<sql::Transaction>(db());
    if (!transaction->isOpen())
        fail("the gateway's database cannot be written", transaction->error());
    _transaction = std::move(transaction);
}

void GatewayStore::commit()
{
    const std::unique_ptr<sql::Transaction> ended = std::move(_transaction);
    if (ended && !ended->commit())
        fail("nothing was kept", ended->error());
}

GatewayStore::Received GatewayStore::received(std::uint64_t board)
{
    sql::Statement read;
    read.prepare(db(), "SELECT line, number, hash FROM received WHERE board = ?1");
    Received received;
    if (read.find(static_cast<sql::integer>(board))) {
        received.line = static_cast<std::uint64_t>(read.getInteger(0));
        received.number = static_cast<std::uint64_t>(read.getInteger(1));
        received.hash = static_cast<std::uint64_t>(read.getInteger(2));
    } else if (read.error())
        fail("the gateway's database cannot be read", read.error());
    return received;
}

Message GatewayStore::have(std::uint64_t board)
{
    const Received known = received(board);
    Message message;
    message.kind = Message::have;
    message.board = board;
    message.line = known.line;
    message.number = known.number;
    message.hash = known.hash;
    return message;
}

// A changeset comes again when its acknowledgement was lost, or a file is applied twice.
bool GatewayStore::isKnown(const Message& message, const Received& received) const
{
    return message.line == received.line &&
           (message.number < received.number ||
            (message.number == received.number && message.hash == received.hash));
}

std::string GatewayStore::objection(const Message& message, const Received& received)
{
    if (message.board < 1 || message.board > mostBoards)
        return "there is no board " + text(message.board);
    if (message.version > newestVersion)
        return "its tables are of version " + text(message.version) + ", and this gateway knows " +
               text(newestVersion) + ": update the gateway first";
    if (message.kind == Message::snapshot)
        return number(db(), "SELECT count(*) FROM line WHERE line = " + text(message.line)) > 0
                   ? "it is a snapshot of an earlier time"
                   : fleet::objection(message.bytes, static_cast<sql::integer>(message.board));
    if (message.kind != Message::changes)
        return "it is no changeset";
    if (received.line != 0 && message.line != received.line)
        return "it is of another database of this board, which must begin with a snapshot";
    if (message.number != received.number + 1)
        return "number " + text(message.number) + " comes where " + text(received.number + 1) +
               " is expected";
    if (message.hash != hashAfter(received.hash, message.bytes))
        return "number " + text(message.number) + " does not continue what was received";
    return fleet::objection(message.bytes, static_cast<sql::integer>(message.board));
}

std::string GatewayStore::take(const Message& message)
{
    begin();
    const Received known = received(message.board);
    if (isKnown(message, known))
        return std::string();
    sql::Transaction one(db()); // within that of all which was taken
    std::string why = objection(message, known);
    if (!why.empty())
        noteEvent(message.board, "refused: " + why);
    else if (message.kind == Message::snapshot)
        replace(message, known);
    else
        apply(message);
    if (why.empty())
        note(message);
    if (!one.commit())
        fail("a changeset cannot be kept", one.error());
    return why;
}

void GatewayStore::apply(const Message& message)
{
    sql::Statement keep;
    keep.prepare(db(), "INSERT INTO conflict VALUES (NULL, ?1, ?2, ?3, ?4, ?5, ?6)");
    keep.bindInteger(1, static_cast<sql::integer>(message.board));
    keep.bindInteger(2, static_cast<sql::integer>(message.number));
    keep.bindTime(3, sql::Time::now());
    bool kept = true;
    const auto conflict = [&](const char* kind, const std::string& table, const std::string& row) {
        keep.bindString(4, kind);
        keep.bindString(5, table);
        keep.bindString(6, row);
        kept = keep.run() && kept;
    };
    const int rc = fleet::apply(db(), message.bytes, conflict);
    if (rc != 0)
        throw support::Failure{"a changeset cannot be applied: " +
                               std::string(sql::sqliteRc2Str(rc))};
    if (!kept)
        fail("a conflict cannot be kept", keep.error());
}

// The board lost its database, or had an earlier one put back. Rows that only the gateway has left
// of the line before are put aside.
void GatewayStore::replace(const Message& message, const Received& received)
{
    for (const Description& description : descriptions(newestVersion)) {
        const std::string name = description.name;
        run(db(), "CREATE TEMP TABLE former_" + name + " AS SELECT * FROM " + name + " WHERE id" +
                      between(message.board));
        run(db(), "DELETE FROM " + name + " WHERE id" + between(message.board));
    }
    apply(message);
    keepFormerRows(message, received);
}

void GatewayStore::keepFormerRows(const Message& message, const Received& received)
{
    const sql::integer before = number(db(), "SELECT count(*) FROM former");
    for (const Description& description : descriptions(newestVersion)) {
        const std::string name = description.name;
        run(db(), "INSERT INTO former SELECT NULL, " + text(message.board) + ", " +
                      text(received.line) + ", '" + name + "', " + asLiterals(description.fields) +
                      " FROM (SELECT * FROM former_" + name + " EXCEPT SELECT * FROM " + name +
                      " WHERE id" + between(message.board) + ")");
        run(db(), "DROP TABLE former_" + name);
    }
    const sql::integer kept = number(db(), "SELECT count(*) FROM former") - before;
    if (received.line != 0)
        noteEvent(message.board, "another database: wiped, replaced or restored; " +
                                     sql::intToStr(kept) +
                                     " rows that it lacks are kept as former");
}

void GatewayStore::note(const Message& message)
{
    if (received(message.board).line == 0)
        noteEvent(message.board, "new");
    run(db(), "INSERT OR IGNORE INTO line VALUES (" + text(message.line) + ", " +
                  text(message.board) + ")");
    run(db(), "INSERT OR REPLACE INTO received VALUES (" + text(message.board) + ", " +
                  text(message.line) + ", " + text(message.number) + ", " + text(message.hash) +
                  ", " + sql::intToStr(sql::Time::now().asInteger()) + ")");
}

// A shipper that is refused comes again and again: the same event counts once.
void GatewayStore::noteEvent(std::uint64_t board, const std::string& what)
{
    sql::Statement add;
    add.prepare(db(), "INSERT INTO event SELECT NULL, ?1, ?2, ?3 WHERE ?3 IS NOT (SELECT text FROM "
                      "event WHERE board = ?2 ORDER BY id DESC LIMIT 1)");
    add.bindTime(1, sql::Time::now());
    add.bindInteger(2, static_cast<sql::integer>(board));
    add.bindString(3, what);
    if (!add.run())
        fail("an event cannot be kept", add.error());
}

} // namespace fleet
