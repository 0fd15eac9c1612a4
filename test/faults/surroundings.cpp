// Hostile surroundings: foreign locales, time zones with gaps, no descriptors left, a folder gone.

#include <clocale>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <filesystem>
#include <locale>
#include <string>
#include <vector>

#include <fcntl.h>
#include <sqlite3.h>
#include <sys/resource.h>
#include <unistd.h>

#include "Platform.h"
#include "Sql.h"

namespace
{

long cases = 0;
int failures = 0;

void expect(bool holds, const std::string& point, const std::string& what)
{
    ++cases;
    if (holds)
        return;
    std::printf("failure %s: %s; the last line is '%s'\n", point.c_str(), what.c_str(),
                faults::told.last);
    ++failures;
}

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
        const double price = record->getValue("price")->asDouble();
        unsigned long long bits = 0; // for printing a double would go by the locale
        std::memcpy(&bits, &price, sizeof(bits));
        texts += record->toSql() + " " + std::to_string(bits) + "\n";
    }
    return texts + sql::intToStr(1234567) + table.toString() + table.fields().dump();
}

void locales()
{
    std::setlocale(LC_ALL, "C");
    const std::string expected = allTexts();
    for (const char* name : {"de_DE.UTF-8", "fr_FR.UTF-8", "hi_IN.UTF-8", "ps_AF.UTF-8"}) {
        expect(std::setlocale(LC_ALL, name) != nullptr, name, "the locale is there");
        expect(allTexts() == expected, name, "numbers are written and read as in the C locale");
        std::locale::global(std::locale(std::locale::classic(), new Grouping));
        std::setlocale(LC_NUMERIC, name);
        expect(allTexts() == expected, name, "also when streams group digits");
        std::locale::global(std::locale::classic());
    }
    std::setlocale(LC_ALL, "C");
}

void zones()
{
    // Both sides of a gap, an overlap, half hours, quarter hours, a day that was left out.
    const char* const names[] = {"UTC",          "Europe/Berlin",      "America/New_York",
                                 "Asia/Kolkata", "Asia/Kathmandu",     "Pacific/Apia",
                                 "Africa/Cairo", "Australia/Lord_Howe"};
    const long moments[] = {0,          1301187599, 1301187600, 1319936399, 1319936400,
                            1325239199, 1325239200, -1,         2147483647, -2147483647};
    for (const char* name : names) {
        setenv("TZ", name, 1);
        tzset();
        const time_t noon = 43200; // of 1970, when none of the others kept the time of UTC
        const bool known = std::localtime(&noon)->tm_hour != 12 || std::strcmp(name, "UTC") == 0;
        expect(known, name, "the zone is there");
        for (const long moment : moments) {
            const auto seconds = static_cast<time_t>(moment);
            char expected[128];
            const std::tm* local = std::localtime(&seconds);
            std::strftime(expected, sizeof(expected), "%d-%m-%Y %H:%M:%S, %a", local);
            sql::Value value(sql::type_time);
            value.setTime(sql::Time(moment));
            expect(value.asString() == expected, name, "a time shows as in its zone");
            expect(value.toSql(sql::type_time) == sql::intToStr(static_cast<sql::integer>(moment)),
                   name, "and is kept without it");
        }
    }
    unsetenv("TZ");
    tzset();
}

std::string newFolder()
{
    char name[] = "/tmp/sqlwrapper-surroundings-XXXXXX";
    return mkdtemp(name);
}

void noDescriptors()
{
    const std::string folder = newFolder();
    const std::string path = folder + "/item.db";
    sql::Database database;
    database.open(path, sql::Database::read_write_create, false, 0);
    sql::Table table(database.getHandle(), "item", itemFields);
    table.create();

    std::vector<int> taken;
    for (int fd = open("/dev/null", O_RDONLY); fd >= 0; fd = open("/dev/null", O_RDONLY))
        taken.push_back(fd);
    sql::Database another;
    expect(!another.open(path, sql::Database::read_write, false, 0), "descriptors",
           "a file cannot be opened");
    expect(std::strstr(faults::told.last, "rc=14=SQLITE_CANTOPEN") != nullptr, "descriptors",
           "and that is told");
    sql::Record record(table.fields());
    record.setInteger("id", 1);
    expect(!table.addRecord(record), "descriptors", "nor can a journal");
    expect(std::strstr(faults::told.last, "rc=14=SQLITE_CANTOPEN") != nullptr, "descriptors",
           "and that is told");
    for (const int fd : taken)
        close(fd);
    expect(table.addRecord(record) && table.totalRecordCount() == 1, "descriptors",
           "all is well when there are some again");
    std::filesystem::remove_all(folder);
}

void folderGone()
{
    const std::string folder = newFolder();
    sql::Database database;
    database.open(folder + "/item.db", sql::Database::read_write_create, false, 0);
    sql::Table table(database.getHandle(), "item", itemFields);
    table.create();
    std::filesystem::remove_all(folder);
    sql::Record record(table.fields());
    record.setInteger("id", 1);
    expect(!table.addRecord(record), "folder", "a row cannot be added");
    expect(std::strstr(faults::told.last, "=SQLITE_") != nullptr, "folder", "and that is told");
    expect(table.open(), "folder", "what is open can still be read");
}

} // namespace

int main(int argc, char** argv)
{
    const std::string only = argc == 3 && std::strcmp(argv[1], "--only") == 0 ? argv[2] : "";
    const rlimit few = {64, 64};
    setrlimit(RLIMIT_NOFILE, &few);
    if (only.empty() || only.find("UTF-8") != std::string::npos)
        locales();
    if (only.empty() || only.find('/') != std::string::npos || only == "UTC")
        zones();
    if (only.empty() || only == "descriptors")
        noDescriptors();
    if (only.empty() || only == "folder")
        folderGone();
    std::printf("cases %ld\n", cases);
    return failures ? 1 : 0;
}
