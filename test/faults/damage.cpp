// Real database files with a byte flipped or an end cut off: no crash, no hang, and every result
// and every row held is SQLite's own.

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <memory>
#include <random>

#include <sqlite3.h>

#include "CompanionDamage.h"
#include "Item.h"
#include "platform/SqliteWatch.h"
#include "Reports.h"
#include "Sql.h"

using faults::Point;
using platform::Outcome;

namespace
{

const sql::Field inventoryFields[] = {
    sql::Field("id", sql::type_int, sql::flag_primary_key),
    sql::Field("name", sql::type_text, 0),
    sql::Field("architecture", sql::type_text, 0),
    sql::Field("version", sql::type_text, 0),
    sql::Field("section", sql::type_text, 0),
    sql::Field("installed_size", sql::type_int, 0),
    sql::Field("share", sql::type_float, 0),
    sql::Field("essential", sql::type_bool, 0),
    sql::Field("files_changed", sql::type_time, 0),
    sql::Field(),
};

const sql::Field phraseFields[] = {
    sql::Field("id", sql::type_int, sql::flag_primary_key),
    sql::Field("tabkeys", sql::type_text, 0),
    sql::Field("phrase", sql::type_text, 0),
    sql::Field("freq", sql::type_int, 0),
    sql::Field("user_freq", sql::type_int, 0),
    sql::Field(),
};

struct Original
{
    const char* name;
    const char* table;
    const sql::Field* fields;
    std::string bytes;
};

Original original(const char* name, const char* file, const char* table, const sql::Field* fields)
{
    const std::string path = std::string("build/faults/files/") + file;
    const Original read = {name, table, fields, faults::bytesOf(path)};
    if (read.bytes.empty()) {
        std::fprintf(stderr, "damage: cannot read %s\n", path.c_str());
        std::exit(2);
    }
    return read;
}

std::string flipped(std::string bytes, unsigned seed)
{
    std::mt19937 random(seed);
    // Half of the flips hit the first pages, where the schema and the roots of trees are.
    const std::size_t range = seed % 2 ? bytes.size() : std::min<std::size_t>(bytes.size(), 8192);
    bytes[random() % range] ^= static_cast<char>(1 + random() % 255);
    return bytes;
}

std::string cut(const std::string& bytes, unsigned seed)
{
    std::mt19937 random(seed);
    return bytes.substr(0, random() % bytes.size());
}

// A damaged file, in use.
class Damaged
{
public:
    Damaged(const Point& point, const std::string& path) : _point(point)
    {
        _point.expect(database.open(path, sql::Database::read_write, false, 0), "open");
        sqlite3_progress_handler(database.getHandle(), 1000, faults::giveUp, &_calls);
        _watch = std::make_unique<platform::SqliteWatch>(database.getHandle());
    }

    // Runs an operation. It must return what `expected` makes of its statements, and report each
    // false.
    template <typename Run, typename Expected>
    std::vector<Outcome> compare(const char* operation, Run run, Expected expected)
    {
        const long before = faults::reports.errors;
        const bool succeeded = run();
        const std::vector<Outcome> outcomes = _watch->taken();
        _point.expect(succeeded == expected(outcomes), std::string(operation) + " returned " +
                                                           (succeeded ? "true" : "false") +
                                                           ", unlike SQLite itself");
        _point.expect(succeeded || faults::reports.errors != before,
                      std::string(operation) + " reports that it failed");
        _refused += succeeded ? 0 : 1;
        return outcomes;
    }
    template <typename Run> std::vector<Outcome> compare(const char* operation, Run run)
    {
        return compare(operation, run, platform::allSucceeded);
    }

    // Each way to use a table.
    void read(sql::Table& table);
    void write(sql::Table& table, sql::Table& another);

    long refused() const { return _refused; }
    bool interrupted() const { return _calls > faults::patience; }

    sql::Database database;

private:
    const Point& _point;
    int _calls = 0;
    long _refused = 0;
    std::unique_ptr<platform::SqliteWatch> _watch;
};

void Damaged::read(sql::Table& table)
{
    const std::vector<Outcome> opened = compare("open", [&] { return table.open(); });
    _point.expect(opened.size() == 1 && platform::holds(table, opened[0]),
                  "the rows held are those that SQLite gave, even before a failure");
    int number = 0;
    const auto isNumber = [&](const std::vector<Outcome>& outcomes) {
        return platform::allSucceeded(outcomes) && outcomes[0].number == number && number >= 0;
    };
    compare(
        "totalRecordCount", [&] { return (number = table.totalRecordCount()) >= 0; }, isNumber);
    compare(
        "getUserVersion", [&] { return (number = database.getUserVersion()) >= 0; }, isNumber);
}

void Damaged::write(sql::Table& table, sql::Table& another)
{
    sql::Record record(table.fields());
    for (int column = 0; column < record.columnCount(); ++column)
        record.setInteger(column, 987654);
    compare("addRecord", [&] { return table.addRecord(record); });
    compare("deleteRecords", [&] { return table.deleteRecords("id % 2 = 0"); });
    // A table whose existence cannot be determined counts as there.
    compare(
        "create", [&] { return another.create(); },
        [](const std::vector<Outcome>& outcomes) {
            return !outcomes[0].succeeded || platform::allSucceeded(outcomes);
        });
    compare("copyRecords", [&] { return another.copyRecords(table); });
}

class Damage
{
public:
    void tryAll(bool quick)
    {
        for (const Original& each : _originals) {
            for (unsigned seed = 1; seed <= (quick ? 150 : 5000); ++seed)
                use(each, "flip", seed);
            for (unsigned seed = 1; seed <= (quick ? 25 : 500); ++seed)
                use(each, "cut", seed);
        }
        if (faults::isWanted("-"))
            faults::figure("%ld results reported the damage, %ld files were given up", _refused,
                           _interrupted);
    }

private:
    void use(const Original& from, const std::string& damage, unsigned seed)
    {
        const std::string name = from.name + (":" + damage + ":") + std::to_string(seed);
        if (!faults::isWanted(name))
            return;
        const Point point(name, 60);
        const std::string bytes =
            damage == "flip" ? flipped(from.bytes, seed) : cut(from.bytes, seed);
        const faults::Folder folder;
        const std::string path = folder.path + "/damaged.db";
        faults::writeBytes(path, bytes);
        Damaged file(point, path);
        sql::Table table(file.database.getHandle(), from.table, from.fields);
        sql::Table another(file.database.getHandle(), "a_copy", from.fields);
        file.read(table);
        file.write(table, another);
        _refused +=
            file.refused() + faults::compareCompanion(point, bytes, from.table, from.fields);
        _interrupted += file.interrupted() ? 1 : 0;
    }

    const std::vector<Original> _originals = {
        original("inventory", "inventory.db", "packages", inventoryFields),
        original("emoji", "emoji-table.db", "phrases", phraseFields),
    };
    long _refused = 0;
    long _interrupted = 0;
};

} // namespace

int main(int argc, char** argv)
{
    return faults::run(argc, argv, [](bool quick) { Damage().tryAll(quick); });
}
