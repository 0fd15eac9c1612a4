// Rounds of open, add, read and close: memory and descriptors stay level after the warm-up.

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <string>

#include <unistd.h>

#include "Sql.h"

namespace
{

const sql::Field rowFields[] = {
    sql::Field("id", sql::type_int, sql::flag_primary_key),
    sql::Field("text", sql::type_text, 0),
    sql::Field(),
};

bool round(const std::string& path, sql::integer number)
{
    sql::Database database;
    if (!database.open(path, sql::Database::read_write_create, false, 0))
        return false;
    sql::RecordSet(database.getHandle()).query("pragma synchronous = off");
    sql::Table table(database.getHandle(), "rows", rowFields);
    sql::Record record(table.fields());
    const sql::integer id = number % 100; // so that the file stays as it is, too
    record.setInteger("id", id);
    record.setString("text",
                     "a text too long to stand inside of a string " + sql::intToStr(number));
    if (!table.create() || !table.deleteRecord(id) || !table.addRecord(record) || !table.open())
        return false;
    const sql::Record* read = table.getRecordByKeyId(id);
    return read && read->equalsValues(&record);
}

long residentKilobytes()
{
    std::ifstream status("/proc/self/status");
    std::string word;
    while (status >> word)
        if (word == "VmRSS:") {
            long kilobytes = 0;
            status >> kilobytes;
            return kilobytes;
        }
    return -1;
}

long openFiles()
{
    long count = 0;
    for (const auto& entry : std::filesystem::directory_iterator("/proc/self/fd"))
        count += entry.path().empty() ? 0 : 1;
    return count;
}

} // namespace

int main(int argc, char** argv)
{
    const bool full = argc == 2 && std::strcmp(argv[1], "--full") == 0;
    const bool only = argc == 3 && std::strcmp(argv[1], "--only") == 0; // up to that round
    const sql::integer rounds = full ? 1000000 : only ? std::atoll(argv[2]) + 1 : 5000;
    const std::string path = "/dev/shm/sqlwrapper-soak-" + std::to_string(getpid()) + ".db";
    int failures = 0;
    long memory = 0, files = 0;
    for (sql::integer number = 0; number < rounds; ++number) {
        if (number == rounds / 10) {
            memory = residentKilobytes();
            files = openFiles();
        }
        if (!round(path, number)) {
            std::printf("failure %lld: the round failed\n", number);
            ++failures;
            break;
        }
    }
    const long grown = residentKilobytes() - memory;
    if (grown > 256 || openFiles() != files) {
        std::printf("failure -: grew by %ld KiB and %ld descriptors\n", grown, openFiles() - files);
        ++failures;
    }
    std::printf("cases %lld\nfigure %ld KiB resident after the warm-up, %+ld KiB at the end\n",
                rounds, memory, grown);
    std::remove(path.c_str());
    return failures ? 1 : 0;
}
