// Each limit from both sides.

#include <sqlite3.h>

#include "Item.h"
#include "Reports.h"
#include "Sql.h"

using faults::lastLineHas;
using faults::Point;

namespace
{

struct Session
{
    Session() { database.open(":memory:", sql::Database::read_write_create, false, 0); }
    sql::Database database;
};

sql::FieldSet columns(int count)
{
    std::vector<sql::Field> fields;
    fields.emplace_back("id", sql::type_int, sql::flag_primary_key);
    for (int i = 1; i < count; ++i)
        fields.emplace_back("c" + std::to_string(i), sql::type_int, 0);
    fields.emplace_back();
    return sql::FieldSet(fields.data());
}

const sql::Field textFields[] = {
    sql::Field("id", sql::type_int, sql::flag_primary_key),
    sql::Field("text", sql::type_text, 0),
    sql::Field(),
};

void columnCount(const Point& point)
{
    Session session;
    sql::Table most(session.database.getHandle(), "most", columns(2000));
    point.expect(most.create(), "2000 columns can be created");
    sql::Record record(most.fields());
    for (int i = 0; i < 2000; ++i)
        record.setInteger(i, i);
    point.expect(most.addRecord(record) && most.open(), "and written and read");
    point.expect(most.getRecord(0)->getValue(1999)->asInteger() == 1999, "to the last");
    sql::Table more(session.database.getHandle(), "more", columns(2001));
    point.expect(!more.create() && lastLineHas("too many columns on more"), "2001 cannot");
}

// The longest statement is SQLite's limit less one byte; the library adds no limit of its own.
void statementLength(const Point& point)
{
    Session session;
    sqlite3* db = session.database.getHandle();
    sqlite3_limit(db, SQLITE_LIMIT_SQL_LENGTH, 1000000);
    const std::string start = "select '", end = "'";
    const std::size_t room = 1000000 - start.size() - end.size();
    sql::RecordSet set(db);
    point.expect(set.query(start + std::string(room, 'x') + end),
                 "a statement as long as SQLite takes");
    point.expect(!set.query(start + std::string(room + 1, 'x') + end) &&
                     lastLineHas("rc=18=SQLITE_TOOBIG"),
                 "one byte more");
}

void longText(const Point& point)
{
    Session session;
    sql::Table table(session.database.getHandle(), "texts", textFields);
    table.create();
    sqlite3_limit(session.database.getHandle(), SQLITE_LIMIT_SQL_LENGTH, 1000000000);
    sql::Record record(table.fields());
    const std::string text(100000000, 'x');
    record.setInteger("id", 1);
    record.setString("text", text);
    point.expect(table.addRecord(record), "a text of 100 MB is written");
    point.expect(table.open() && table.getRecord(0)->getValue(1)->asString() == text, "and read");
}

void millionRows(const Point& point)
{
    Session session;
    sql::Table table(session.database.getHandle(), "texts", textFields);
    table.create();
    point.expect(
        table.query("with n(i) as (select 1 union all select i + 1 from n where i < 1000000)"
                    "insert into texts select i, 'row ' || i from n"),
        "a million rows are made");
    point.expect(table.open() && table.recordCount() == 1000000, "and held");
    point.expect(table.getRecord(999999)->getValue("text")->asString() == "row 1000000",
                 "to the last");
}

void longFloat(const Point& point)
{
    sql::Value value(sql::type_float);
    value.setDouble(2e117); // 118 digits, the point and eight decimals
    point.expect(value.asString().size() == 127 && value.asDouble() == 2e117,
                 "127 characters are whole");
    value.setDouble(2e118);
    point.expect(value.asString().size() == 127 && value.asString()[119] == '.',
                 "of 128 the last decimal is cut");
    value.setDouble(2e127);
    point.expect(value.asString().size() == 127 && value.asDouble() < 3e126,
                 "a longer number loses digits");
}

void userVersion(const Point& point)
{
    Session session;
    point.expect(session.database.setUserVersion(0) && session.database.getUserVersion() == 0, "0");
    point.expect(session.database.setUserVersion(2147483647u) &&
                     session.database.getUserVersion() == 2147483647,
                 "2147483647");
    point.expect(!session.database.setUserVersion(2147483648u) &&
                     lastLineHas("must be <= 2147483647") &&
                     session.database.getUserVersion() == 2147483647,
                 "2147483648 is refused and changes nothing");
}

// A number of more than 31 bits is cut to its last 32, as a count of more rows would be.
void bigCount(const Point& point)
{
    Session session;
    sqlite3* db = session.database.getHandle();
    point.expect(sql::queryNumber(db, "select 2147483647") == 2147483647, "2147483647");
    point.expect(sql::queryNumber(db, "select 2147483648") == -1, "2147483648 reads as negative");
    point.expect(sql::queryNumber(db, "select 4294967298") == 2, "4294967298 reads as 2");
}

void longList(const Point& point)
{
    std::vector<sql::string> items;
    sql::listToVector(std::string(100000000, 'x'), items, ",");
    point.expect(items.size() == 1 && items[0].size() == 100000000, "one item of 100 MB");
    std::string list;
    for (int i = 0; i < 1000000; ++i)
        list += "an item of a list, ";
    sql::listToVector(list, items, ",");
    point.expect(items.size() == 1000001 && items[999999] == "an item of a list",
                 "a million items");
}

} // namespace

int main(int argc, char** argv)
{
    return faults::run(argc, argv,
                       {{"columns", columnCount},
                        {"statement", statementLength},
                        {"text", longText},
                        {"rows", millionRows},
                        {"float", longFloat},
                        {"user-version", userVersion},
                        {"count", bigCount},
                        {"list", longList}});
}
