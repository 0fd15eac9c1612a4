// Real database files with a byte flipped or an end cut off: no crash, no hang, every failure told.
// damage --quick | --full | --only FILE:flip:N | FILE:cut:N

#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <random>
#include <string>
#include <vector>

#include <sqlite3.h>
#include <unistd.h>

#include "Platform.h"
#include "Sql.h"

namespace
{

struct Original
{
    const char* name;
    std::string file;
    const char* table;
    const sql::Field* fields;
};

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

std::string content(const std::string& path)
{
    std::ifstream file(path, std::ios::binary);
    if (!file) {
        std::fprintf(stderr, "damage: cannot read %s\n", path.c_str());
        std::exit(2);
    }
    return {std::istreambuf_iterator<char>(file), {}};
}

const char* current = ""; // the point that is being tried

// What neither SQLite nor the library ends is a hang.
void hangs(int)
{
    const char what[] = ": does not end\n";
    const char before[] = "failure ";
    if (write(STDOUT_FILENO, before, sizeof(before) - 1) < 0 ||
        write(STDOUT_FILENO, current, std::strlen(current)) < 0 ||
        write(STDOUT_FILENO, what, sizeof(what) - 1) < 0)
        _exit(2);
    _exit(1);
}

int giveUp(void* calls)
{
    return ++*static_cast<int*>(calls) > 5000;
}

class Damage
{
public:
    Damage() : _path("/dev/shm/sqlwrapper-damage-" + std::to_string(getpid()) + ".db") {}
    ~Damage()
    {
        unlink(_path.c_str());
        unlink((_path + "-journal").c_str());
    }

    // Uses the damaged file in every way; what an operation answers false must have been told.
    void use(const Original& original, const std::string& bytes, const std::string& point)
    {
        std::ofstream(_path, std::ios::binary)
            .write(bytes.data(), static_cast<std::streamsize>(bytes.size()));
        ++_cases;
        current = point.c_str();
        alarm(60);
        int calls = 0;
        sql::Database database;
        if (!told(point, "open",
                  [&] { return database.open(_path, sql::Database::read_write, false, 0); }))
            return;
        sqlite3_progress_handler(database.getHandle(), 1000, giveUp, &calls);
        sql::Table table(database.getHandle(), original.table, original.fields);
        told(point, "open", [&] { return table.open(); });
        told(point, "totalRecordCount", [&] { return table.totalRecordCount() >= 0; });
        told(point, "getUserVersion", [&] { return database.getUserVersion() >= 0; });
        sql::Record record(table.fields());
        for (int column = 0; column < record.columnCount(); ++column)
            record.setInteger(column, 987654);
        told(point, "addRecord", [&] { return table.addRecord(record); });
        told(point, "deleteRecords", [&] { return table.deleteRecords("id % 2 = 0"); });
        sql::Table copy(database.getHandle(), "a_copy", original.fields);
        told(point, "create", [&] { return copy.create(); });
        told(point, "copyRecords", [&] { return copy.copyRecords(table); });
        if (calls > 5000)
            ++_interrupted;
    }

    int finish() const
    {
        std::printf("cases %ld\nfigure %ld files were told to be damaged, %ld queries were ended\n",
                    _cases, _refused, _interrupted);
        return _failures ? 1 : 0;
    }

private:
    template <typename Run> bool told(const std::string& point, const char* operation, Run run)
    {
        const long before = faults::told.errors;
        if (run())
            return true;
        ++_refused;
        if (faults::told.errors == before) {
            std::printf("failure %s: %s answered false and told nothing\n", point.c_str(),
                        operation);
            ++_failures;
        }
        return false;
    }

    std::string _path;
    long _cases = 0;
    long _refused = 0;
    long _interrupted = 0;
    long _failures = 0;
};

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

} // namespace

int main(int argc, char** argv)
{
    std::setvbuf(stdout, nullptr, _IOLBF, 0);
    std::signal(SIGALRM, hangs);
    const std::string folder = "build/faults/files/";
    const Original originals[] = {
        {"inventory", folder + "inventory.db", "packages", inventoryFields},
        {"emoji", folder + "emoji-table.db", "phrases", phraseFields},
    };
    Damage damage;
    const std::string only = argc == 3 && std::strcmp(argv[1], "--only") == 0 ? argv[2] : "";
    const bool full = argc == 2 && std::strcmp(argv[1], "--full") == 0;
    const unsigned flips = full ? 5000 : 150, cuts = full ? 500 : 25;
    for (const Original& original : originals) {
        const std::string bytes = content(original.file);
        const std::string name = original.name;
        for (unsigned seed = 1; seed <= flips; ++seed) {
            const std::string point = name + ":flip:" + std::to_string(seed);
            if (only.empty() || only == point)
                damage.use(original, flipped(bytes, seed), point);
        }
        for (unsigned seed = 1; seed <= cuts; ++seed) {
            const std::string point = name + ":cut:" + std::to_string(seed);
            if (only.empty() || only == point)
                damage.use(original, cut(bytes, seed), point);
        }
    }
    return damage.finish();
}
