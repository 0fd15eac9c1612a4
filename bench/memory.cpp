// By how many bytes the resident set grows while a whole table is read:
//
//     bench_memory CONTESTANT PATH ITEMS_PER_ROW
//     bench_memory --make PATH ROWS ITEMS_PER_ROW
//
// The second makes the table, so that the process which reads it has had no use for memory before.

#include <cstdio>
#include <exception>
#include <fstream>

#include <unistd.h>

#include "Workload.h"

namespace
{

using namespace bench;

long residentBytes()
{
    std::ifstream statistics("/proc/self/statm");
    long total = 0;
    long resident = 0;
    statistics >> total >> resident;
    return resident * sysconf(_SC_PAGESIZE);
}

void make(const std::string& path, std::size_t rows, std::size_t itemsPerRow)
{
    const Data data(rows, itemsPerRow, path);
    const std::unique_ptr<Contestant> floor = contestant("floor").make(itemsPerRow);
    floor->open(path);
    workload("read-all").prepare(*floor, data);
}

long growthOfReading(const std::string& name, const std::string& path, std::size_t itemsPerRow)
{
    const std::unique_ptr<Contestant> reader = contestant(name).make(itemsPerRow);
    reader->open(path);
    reader->has(0); // SQLite reads the schema
    const long before = residentBytes();
    require(reader->readAll().items > 0, "no rows were read");
    return residentBytes() - before;
}

} // namespace

int main(int count, char** arguments)
{
    try {
        const bool making = count == 5 && std::string(arguments[1]) == "--make";
        if (making)
            make(arguments[2], std::stoul(arguments[3]), std::stoul(arguments[4]));
        else if (count == 4)
            std::printf("%ld\n",
                        growthOfReading(arguments[1], arguments[2], std::stoul(arguments[3])));
        else
            std::fprintf(stderr, "usage: %s CONTESTANT PATH ITEMS_PER_ROW\n", arguments[0]);
        return making || count == 4 ? 0 : 2;
    } catch (const std::exception& error) {
        std::fprintf(stderr, "%s\n", error.what());
        return 1;
    }
}
