// Hostile surroundings: foreign locales, time zones with gaps, no descriptors left, a folder gone.

#include <clocale>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <filesystem>
#include <locale>

#include <fcntl.h>
#include <sqlite3.h>
#include <sys/resource.h>
#include <unistd.h>

#include "Item.h"
#include "Reports.h"
#include "Sql.h"
#include "SqlPrepared.h"

using faults::lastLineHas;
using faults::Point;

namespace
{

const sql::Field itemFields[] = {
    sql::Field("id", sql::type_int, sql::flag_primary_key),
    sql::Field("name", sql::type_text, 0),
    sql::Field("price", sql::type_float, 0),
    sql::Field("created", sql::type_time, 0),
    sql::Field(),
};

struct Grouping : std::numpunct<char>
{
    char do_decimal_point() const override { return ','; }
    char do_thousands_sep() const override { return '.'; }
    std::string do_grouping() const override { return "\3"; }
};

std::string bitsOf(double number) // because printing a double would depend on the locale
{
    unsigned long long bits = 0;
    std::memcpy(&bits, &number, sizeof(bits));
    return std::to_string(bits);
}

// What the companion writes, from cells and from texts, and what it reads of all rows.
std::string textsOfCompanion(sql::Table& table)
{
    sql::TableWriter writer(table);
    sql::Record record(table.fields());
    record.setInteger("id", 1000);
    record.setString("price", "1234.5");
    writer.insert(record);
    record.setInteger("id", 1001);
    record.setString("price", "1234,5");
    std::string texts = writer.insert(record) ? "taken" : "refused " + writer.error().text();
    writer.setInteger(0, 1002);
    writer.setDouble(2, 1234567.25);
    writer.insert();
    sql::Statement statement;
    for (statement.select(table, "", "id"); statement.next();)
        texts += bitsOf(statement.getDouble(2)) + " " + statement.getString(2) + " " +
                 (statement.read(record) ? record.toSql() : "unread") + "\n";
    for (const sql::Finding& finding : sql::checkTable(table))
        texts += finding.text;
    return texts;
}

// Everything that holds a number or a text with one, written and read back.
std::string allTexts()
{
    sql::Database database;
    database.open(":memory:", sql::Database::read_write_create, false, 0);
    sql::Table table(database.getHandle(), "item", itemFields);
    table.create();
    std::string texts;
    const double prices[] = {0.1, -1234567.25, 1e15, 1e300, 5e-9, 12345678901234.5};
    sql::integer id = 1000000;
    for (const double price : prices) {
        sql::Record record(table.fields());
        record.setInteger("id", ++id);
        record.setString("name", "1.234,5");
        record.setDouble("price", price);
        record.setInteger("created", 1234567890);
        texts += record.toSqlInsert("item") + "\n" + record.toSqlUpdate("item") + "\n";
        table.addRecord(record);
    }
    table.open("id > 1000000", "id");
    for (int i = 0; i < table.recordCount(); ++i) {
        const sql::Record* record = table.getRecord(i);
        texts += record->toSql() + " " + bitsOf(record->getValue("price")->asDouble()) + "\n";
    }
    texts += sql::intToStr(1234567) + table.toString() + table.fields().dump();
    return texts + textsOfCompanion(table);
}

void locale(const Point& point)
{
    const char* const name = point.name().c_str();
    std::setlocale(LC_ALL, "C");
    const std::string expected = allTexts();
    point.expect(std::setlocale(LC_ALL, name) != nullptr, "the locale is there");
    point.expect(allTexts() == expected, "numbers are written and read as in the C locale");
    std::locale::global(std::locale(std::locale::classic(), new Grouping));
    std::setlocale(LC_NUMERIC, name);
    point.expect(allTexts() == expected, "also when streams group digits");
    std::locale::global(std::locale::classic());
    std::setlocale(LC_ALL, "C");
}

// The text of a time after it was bound and read.
std::string throughCompanion(long moment)
{
    sql::Database database;
    database.open(":memory:", sql::Database::read_write_create, false, 0);
    sql::Statement statement;
    statement.prepare(database.getHandle(), "select ?1");
    statement.bindTime(1, sql::Time(moment));
    if (!statement.next() || statement.getInteger(0) != moment)
        return "nothing";
    sql::Value value(sql::type_time);
    value.setTime(statement.getTime(0));
    return value.asString();
}

void zone(const Point& point)
{
    // Both sides of a gap, an overlap, half hours, quarter hours, a skipped day.
    const long moments[] = {0,          1301187599, 1301187600, 1319936399, 1319936400,
                            1325239199, 1325239200, -1,         2147483647, -2147483647};
    setenv("TZ", point.name().c_str(), 1);
    tzset();
    const time_t noon = 43200; // of 1970, when none of the other zones was at UTC
    point.expect(std::localtime(&noon)->tm_hour != 12 || point.name() == "UTC",
                 "the zone is there");
    for (const long moment : moments) {
        const auto seconds = static_cast<time_t>(moment);
        char expected[128];
        const std::tm* local = std::localtime(&seconds);
        std::strftime(expected, sizeof(expected), "%d-%m-%Y %H:%M:%S, %a", local);
        sql::Value value(sql::type_time);
        value.setTime(sql::Time(moment));
        point.expect(value.asString() == expected, "a time shows as in its zone");
        point.expect(value.toSql(sql::type_time) ==
                         sql::intToStr(static_cast<sql::integer>(moment)),
                     "and is kept without it");
        point.expect(throughCompanion(moment) == expected, "by the companion as well");
    }
    unsetenv("TZ");
    tzset();
}

void takeAllDescriptors(std::vector<int>& taken)
{
    const rlimit few = {64, 64};
    setrlimit(RLIMIT_NOFILE, &few);
    for (int fd = open("/dev/null", O_RDONLY); fd >= 0; fd = open("/dev/null", O_RDONLY))
        taken.push_back(fd);
}

void noDescriptors(const Point& point)
{
    const faults::Folder folder("/tmp");
    point.inChild([&] {
        const std::string path = folder.path + "/item.db";
        sql::Database database;
        database.open(path, sql::Database::read_write_create, false, 0);
        sql::Table table(database.getHandle(), "item", itemFields);
        table.create();
        sql::Database another;
        sql::Record record(table.fields());
        record.setInteger("id", 1);

        std::vector<int> taken;
        takeAllDescriptors(taken);
        point.expect(!another.open(path, sql::Database::read_write, false, 0),
                     "a file cannot be opened");
        point.expect(lastLineHas("rc=14=SQLITE_CANTOPEN"), "and that is reported");
        point.expect(!table.addRecord(record), "nor can a journal");
        point.expect(lastLineHas("rc=14=SQLITE_CANTOPEN"), "and that is reported");
        sql::TableWriter writer(table);
        writer.setInteger(0, 2);
        point.expect(!writer.insert() && writer.error().code() == SQLITE_CANTOPEN,
                     "nor by the companion");
        sql::Transaction transaction(database.getHandle());
        point.expect(!writer.insert() && !lastLineHas("=SQLITE_OK"), "nor within a transaction");
        point.expect(transaction.rollback(), "which ends nevertheless");
        for (const int fd : taken)
            close(fd);
        point.expect(table.addRecord(record) && writer.insert() && table.totalRecordCount() == 2,
                     "all is well when there are some again");
    });
}

void folderGone(const Point& point)
{
    const faults::Folder folder("/tmp");
    sql::Database database;
    database.open(folder.path + "/item.db", sql::Database::read_write_create, false, 0);
    sql::Table table(database.getHandle(), "item", itemFields);
    table.create();
    std::filesystem::remove_all(folder.path);
    sql::Record record(table.fields());
    record.setInteger("id", 1);
    point.expect(!table.addRecord(record), "a row cannot be added");
    point.expect(lastLineHas("=SQLITE_"), "and that is reported");
    sql::TableWriter writer(table);
    writer.setInteger(0, 1);
    point.expect(!writer.insert() && writer.error(), "nor by the companion");
    point.expect(table.open(), "what is open can still be read");
}

} // namespace

int main(int argc, char** argv)
{
    std::vector<faults::Trial> trials;
    for (const char* name : {"de_DE.UTF-8", "fr_FR.UTF-8", "hi_IN.UTF-8", "ps_AF.UTF-8"})
        trials.push_back({name, locale});
    for (const char* name :
         {"UTC", "Europe/Berlin", "America/New_York", "Asia/Kolkata", "Asia/Kathmandu",
          "Pacific/Apia", "Africa/Cairo", "Australia/Lord_Howe"})
        trials.push_back({name, zone});
    trials.push_back({"descriptors", noDescriptors});
    trials.push_back({"folder", folderGone});
    return faults::run(argc, argv, trials);
}
