// One run of one workload of one contestant:
//
//     bench_run CONTESTANT WORKLOAD PATH ROWS [ITEMS_PER_ROW [TRACE_LEVEL]]
//     bench_run --about
//     bench_run --list
//
// A row holds one item where nothing else is said, and the platform has no trace level. Prints the
// seconds of processor time that the measured part took. The instructions of that part are counted
// by callgrind, started with --instr-atstart=no, or by the emulator of another processor, with the
// plugin of this folder. --about prints what all figures depend on, --list the contestants and the
// workloads.

#include <cstdio>
#include <ctime>
#include <exception>

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

// A call that does nothing, at which the plugin notes how many instructions have run.
void markForEmulator()
{
    ::close(-77);
}

double run(const std::vector<std::string>& arguments)
{
    using namespace bench;
    const Workload& work = workload(arguments[1]);
    const std::size_t itemsPerRow = arguments.size() > 4 ? std::stoul(arguments[4]) : 1;
    const Data data(std::stoul(arguments[3]), itemsPerRow, arguments[2]);
    const std::unique_ptr<Contestant> runner = contestant(arguments[0]).make(itemsPerRow);
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

void printAbout()
{
    utsname system;
    uname(&system);
    std::printf("%s, g++ %s, SQLite %s\n", system.machine, __VERSION__, sqlite3_libversion());
}

void printList()
{
    for (const bench::Entry& entry : bench::contestants())
        std::printf("contestant %s\n", entry.name);
    for (const bench::Workload& work : bench::workloads())
        std::printf("workload %s\n", work.name);
}

} // namespace

int main(int count, char** arguments)
{
    try {
        if (count == 2 && std::string(arguments[1]) == "--about") {
            printAbout();
        } else if (count == 2 && std::string(arguments[1]) == "--list") {
            printList();
        } else if (count >= 5 && count <= 7) {
            std::printf("%.6f\n", run({arguments + 1, arguments + count}));
        } else {
            std::fprintf(stderr,
                         "usage: %s CONTESTANT WORKLOAD PATH ROWS [ITEMS_PER_ROW [TRACE_LEVEL]]\n"
                         "       %s --about | --list\n",
                         arguments[0], arguments[0]);
            return 2;
        }
    } catch (const std::exception& error) {
        std::fprintf(stderr, "%s\n", error.what());
        return 1;
    }
}
