#include "BoardStore.h"

#include <random>

#include "Changes.h"
#include "Program.h"
#include "Tables.h"

namespace fleet
{

namespace
{

std::uint64_t newLine()
{
    std::random_device random;
    const std::uint64_t high = random(), low = random();
    return (high << 31 ^ low) >> 1 | 1; // fits an integer of SQL, and is not 0
}

std::uint64_t asNumber(sql::integer number)
{
    return static_cast<std::uint64_t>(number);
}

void check(const sql::Transaction& transaction)
{
    if (!transaction.isOpen())
        fail("the database cannot be written", transaction.error());
}

void commit(sql::Transaction& transaction)
{
    if (!transaction.commit())
        fail("nothing was kept", transaction.error());
}

} // namespace

BoardStore::BoardStore(const std::string& file)
{
    open(file, false);
    _version = versionOf(db());
    if (_version == 0 ||
        number(db(), "SELECT count(*) FROM sqlite_master WHERE name = 'self'") == 0)
        throw support::Failure{file + " is not the database of a board"};
    _board = number(db(), "SELECT id FROM self");
    attachEmpty(db());
}

BoardStore::BoardStore(const std::string& file, sql::integer board, int version)
    : _board(board), _version(version)
{
    open(file, true);
    sql::Transaction transaction(db());
    check(transaction);
    makeTables(db(), version);
    run(db(), "CREATE TABLE IF NOT EXISTS self (id INTEGER PRIMARY KEY, line INTEGER NOT NULL)");
    run(db(), "CREATE TABLE IF NOT EXISTS outbox (number INTEGER PRIMARY KEY, version INTEGER NOT "
              "NULL, hash INTEGER NOT NULL, changes BLOB NOT NULL)");
    const sql::integer known = number(db(), "SELECT id FROM self", board);
    if (known != board)
        throw support::Failure{file + " is the database of board " + sql::intToStr(known)};
    run(db(), "INSERT OR IGNORE INTO self VALUES (" + sql::intToStr(board) + ", " +
                  std::to_string(newLine()) + ")");
    _version = versionOf(db());
    commit(transaction);
}

void BoardStore::open(const std::string& file, bool isNew)
{
    fleet::open(_database, file, isNew);
}

void BoardStore::keep(const std::vector<Counter>& counters)
{
    sql::Transaction transaction(db());
    check(transaction);
    Changes changes(db());
    keepRows(counters);
    keepChanges(changes.take());
    commit(transaction);
}

// A counter that is gone has no latest sample.
void BoardStore::keepRows(const std::vector<Counter>& counters)
{
    const KeyRange keys(_board);
    const std::string after =
        " WHERE id BETWEEN " + sql::intToStr(keys.first) + " AND " + sql::intToStr(keys.last);
    sql::integer id = number(db(), "SELECT max(id) FROM reading" + after, keys.first);
    std::vector<Description> tables = descriptions(_version);
    sql::Table readings(db(), "reading", tables[0].fields),
        latest(db(), "latest", tables[1].fields);
    sql::TableWriter reading(readings), last(latest);
    sql::Statement seen;
    if (!seen.prepare(db(), "SELECT id FROM latest WHERE counter = ?1"))
        fail("the database cannot be read", seen.error());
    std::string kept = "0";
    sql::integer nextLatest = number(db(), "SELECT max(id) FROM latest" + after, keys.first);
    for (const Counter& counter : counters) {
        seen.bindString(1, counter.name);
        const bool isKnown = seen.next();
        const sql::integer latestId = isKnown ? seen.getInteger(0) : ++nextLatest;
        seen.reset();
        kept += ", " + sql::intToStr(latestId);
        for (sql::TableWriter* writer : {&reading, &last}) {
            writer->setInteger("id", writer == &reading ? ++id : latestId);
            writer->setTime("at", sql::Time::now());
            writer->setString("counter", counter.name);
            writer->setInteger("value", counter.value);
            if (_version >= 2)
                writer->setString("unit", counter.unit);
        }
        if (!reading.insert())
            fail("the sample was not kept", reading.error());
        if (!last.upsert())
            fail("the sample was not kept", last.error());
    }
    run(db(), "DELETE FROM latest WHERE id NOT IN (" + kept + ")");
}

void BoardStore::keepChanges(const std::string& changeset)
{
    const auto before = asNumber(
        number(db(), "SELECT hash FROM outbox WHERE number = (SELECT max(number) FROM outbox)"));
    sql::Statement add;
    add.prepare(db(), "INSERT INTO outbox SELECT ifnull(max(number), 0) + 1, ?1, ?2, "
                      "cast(?3 AS BLOB) FROM outbox");
    add.bindInteger(1, _version);
    add.bindInteger(2, static_cast<sql::integer>(hashAfter(before, changeset)));
    add.bindString(3, changeset);
    if (!add.run())
        fail("the changes were not kept", add.error());
}

Message BoardStore::message(Message::Kind kind)
{
    Message message;
    message.kind = kind;
    message.board = asNumber(_board);
    message.line = asNumber(number(db(), "SELECT line FROM self"));
    message.version = asNumber(_version);
    message.number = asNumber(number(db(), "SELECT max(number) FROM outbox"));
    message.hash = asNumber(
        number(db(), "SELECT hash FROM outbox WHERE number = (SELECT max(number) FROM outbox)"));
    return message;
}

Message BoardStore::hello()
{
    return message(Message::hello);
}

bool BoardStore::continues(const Message& have)
{
    if (have.number == 0)
        return number(db(), "SELECT min(number) FROM outbox", 1) == 1;
    const std::string at = std::to_string(have.number);
    return have.line == hello().line &&
           have.hash == asNumber(number(db(), "SELECT hash FROM outbox WHERE number = " + at, -1));
}

bool BoardStore::next(sql::integer number, Message& next)
{
    sql::Statement read;
    read.prepare(db(), "SELECT number, version, hash, changes FROM outbox WHERE number = ?1");
    const bool found = read.find(number + 1);
    if (read.error())
        fail("the changes cannot be read", read.error());
    if (!found)
        return false;
    next = message(Message::changes);
    next.number = asNumber(read.getInteger(0));
    next.version = asNumber(read.getInteger(1));
    next.hash = asNumber(read.getInteger(2));
    const char* const bytes = read.getText(3);
    next.bytes.assign(bytes ? bytes : "", static_cast<std::size_t>(read.getSize(3)));
    return true;
}

Message BoardStore::beginLine()
{
    sql::Transaction transaction(db());
    check(transaction);
    if (number(db(), "SELECT count(*) FROM outbox") == 0)
        keepChanges(std::string());
    run(db(), "UPDATE self SET line = " + std::to_string(newLine()));
    Changes changes(db());
    changes.addAllRows();
    Message all = message(Message::snapshot);
    all.bytes = changes.take();
    commit(transaction);
    return all;
}

void BoardStore::acknowledge(sql::integer number)
{
    run(db(), "DELETE FROM outbox WHERE number < " + sql::intToStr(number));
}

} // namespace fleet
