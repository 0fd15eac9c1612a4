#include "Tables.h"

#include "DatabaseFile.h"
#include "Program.h"

namespace fleet
{

namespace
{

const int waitMs = 10000; // for other programs that write at the moment

} // namespace

std::vector<Description> descriptions(int version)
{
    std::vector<sql::Field> reading = {sql::Field("id", sql::type_int, sql::flag_primary_key),
                                       sql::Field("at", sql::type_time, sql::flag_not_null),
                                       sql::Field("counter", sql::type_text, sql::flag_not_null),
                                       sql::Field("value", sql::type_int, sql::flag_not_null)};
    std::vector<sql::Field> latest = reading;
    if (version >= 2) {
        reading.emplace_back("unit", sql::type_text, 0);
        latest.emplace_back("unit", sql::type_text, 0);
    }
    reading.emplace_back();
    latest.emplace_back();
    return {{"reading", sql::FieldSet(reading.data())}, {"latest", sql::FieldSet(latest.data())}};
}

KeyRange::KeyRange(sql::integer board) : first(board << 32), last(((board + 1) << 32) - 1) {}

void fail(const std::string& what, const sql::Error& error)
{
    throw support::Failure{what + ": " + error.text()};
}

void run(sqlite3* db, const std::string& sql)
{
    sql::Statement statement;
    if (!statement.prepare(db, sql) || !statement.run())
        fail("the database refuses '" + sql + "'", statement.error());
}

sql::integer number(sqlite3* db, const std::string& sql, sql::integer otherwise)
{
    sql::Statement statement;
    const bool found = statement.prepare(db, sql) && statement.next();
    if (statement.error())
        fail("the database refuses '" + sql + "'", statement.error());
    return found && !statement.isNull(0) ? statement.getInteger(0) : otherwise;
}

void open(sql::Database& database, const std::string& file, bool isNew)
{
    using support::Missing;
    const std::string objection = support::refusal(file, isNew ? Missing::made : Missing::refused);
    if (!objection.empty())
        throw support::Failure{objection};
    const auto mode = isNew ? sql::Database::read_write_create : sql::Database::read_write;
    if (!database.open(support::sqliteName(file), mode, false, waitMs))
        throw support::Failure{file + " cannot be opened"};
}

int versionOf(sqlite3* db)
{
    return static_cast<int>(number(db, "PRAGMA user_version"));
}

void makeTables(sqlite3* db, int version)
{
    const int current = versionOf(db);
    if (current > newestVersion)
        throw support::Failure{"the database has tables of version " + sql::intToStr(current) +
                               ", and this program knows " + sql::intToStr(newestVersion)};
    if (current >= version)
        return;
    for (const Description& description : descriptions(version)) {
        sql::Table table(db, description.name, description.fields);
        if (current == 1)
            run(db, std::string("ALTER TABLE ") + description.name + " ADD COLUMN unit TEXT");
        else if (!table.create())
            throw support::Failure{"the tables cannot be made"};
    }
    run(db, "PRAGMA user_version = " + sql::intToStr(version));
}

} // namespace fleet
