// One run of one workload of one contestant:
//
//     bench_run CONTESTANT WORKLOAD PATH ROWS [ITEMS_PER_ROW [TRACE_LEVEL]]
//     bench_run --memory CONTESTANT PATH ITEMS_PER_ROW
//     bench_run --about
//     bench_run --list
//
// A row holds one item where nothing else is said, and the platform has no trace level. Prints the
// seconds of processor time that the measured part took. The instructions of that part are counted
// by callgrind, started with --instr-atstart=no, or by the emulator of another processor, with the
// plugin of this folder.
//
// --memory prints by how many bytes the resident set grows while a whole table is read: the process
// that reads it has had no use for memory before. --about prints what all figures depend on, --list
// the contestants and the workloads.

#include <cstdio>
#include <ctime>
#include <exception>
#include <fstream>

#include <sqlite3.h>
#include <sys/utsname.h>
#include <unistd.h>
#if __has_include(<valgrind/callgrind.h>)
#include <valgrind/callgrind.h>
#else
#define CALLGRIND_START_INSTRUMENTATION
#define CALLGRIND_STOP_INSTRUMENTATION
#endif

#include "platform/Platform.h"
#include "Workload.h"

namespace
{

using namespace bench;
using Arguments = std::vector<std::string>;

// A call that does nothing, at which the plugin notes how many instructions have run.
void markForEmulator()
{
    ::close(-77);
}

double run(const Arguments& arguments)
{
    const Workload& work = workload(arguments[1]);
    const std::size_t itemsPerRow = arguments.size() > 4 ? std::stoul(arguments[4]) : 1;
    const Data data(std::stoul(arguments[3]), itemsPerRow, arguments[2]);
    const std::unique_ptr<Contestant> runner = makeContestant(arguments[0], itemsPerRow);
    if (arguments.size() > 5)
        platform::setTraceLevel(std::stoi(arguments[5]));
    runner->open(data.path);
    work.prepare(*runner, data);

    const std::clock_t begin = std::clock();
    markForEmulator();
    CALLGRIND_START_INSTRUMENTATION;
    const Reading reading = work.run(*runner, data);
    CALLGRIND_STOP_INSTRUMENTATION;
    markForEmulator();
    const std::clock_t end = std::clock();

    work.check(*runner, data, reading);
    return static_cast<double>(end - begin) / CLOCKS_PER_SEC;
}

long residentBytes()
{
    std::ifstream statistics("/proc/self/statm");
    long total = 0;
    long resident = 0;
    statistics >> total >> resident;
    return resident * sysconf(_SC_PAGESIZE);
}

long growthOfReading(const std::string& name, const std::string& path, std::size_t itemsPerRow)
{
    const std::unique_ptr<Contestant> reader = makeContestant(name, itemsPerRow);
    reader->open(path);
    reader->has(0); // SQLite reads the schema
    const long before = residentBytes();
    require(reader->readAll().items > 0, "no rows were read");
    return residentBytes() - before;
}

void printAbout()
{
    utsname system;
    uname(&system);
    std::printf("%s, g++ %s, SQLite %s\n", system.machine, __VERSION__, sqlite3_libversion());
}

void printList()
{
    for (const auto& entry : contestants())
        std::printf("contestant %s\n", entry.first.c_str());
    for (const Workload& work : workloads())
        std::printf("workload %s\n", work.name);
}

// Whether the arguments ask for something that there is.
bool obey(const Arguments& arguments)
{
    const std::size_t count = arguments.size();
    const std::string what = count > 0 ? arguments[0] : "";
    if (count == 1 && what == "--about")
        printAbout();
    else if (count == 1 && what == "--list")
        printList();
    else if (count == 4 && what == "--memory")
        std::printf("%ld\n", growthOfReading(arguments[1], arguments[2], std::stoul(arguments[3])));
    else if (count >= 4 && count <= 6)
        std::printf("%.6f\n", run(arguments));
    else
        return false;
    return true;
}

} // namespace

int main(int count, char** arguments)
{
    try {
        if (obey({arguments + 1, arguments + count}))
            return 0;
        std::fprintf(stderr, "%s: wrong arguments; see the head of run.cpp\n", arguments[0]);
        return 2;
    } catch (const std::exception& error) {
        std::fprintf(stderr, "%s\n", error.what());
        return 1;
    }
}
