#include "Sweep.h"

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <exception>
#include <filesystem>
#include <string>

#include <sqlite3.h>
#include <unistd.h>

#include "Injector.h"
#include "Platform.h"
#include "Workload.h"

namespace fs = std::filesystem;

namespace faults
{

namespace
{

// A point is written SCENARIO:once:N or SCENARIO:on:N.
struct Point
{
    const Scenario* scenario;
    bool fromThenOn;
    long nth;

    std::string text() const
    {
        return std::string(scenario->name) + (fromThenOn ? ":on:" : ":once:") + std::to_string(nth);
    }
};

std::string current; // for a program that ends in the midst of a point

class Sweep
{
public:
    Sweep()
    {
        char name[] = "/dev/shm/sqlwrapper-faults-XXXXXX"; // what is synced there takes no time
        _folder = mkdtemp(name);
        makeDatabase(original());
        std::set_terminate([] {
            std::printf("failure %s: an exception where none may pass\n", current.c_str());
            std::fflush(stdout);
            _exit(1);
        });
    }
    ~Sweep() { fs::remove_all(_folder); }

    // Whether the fault struck; when not, the scenario has no more calls to fail.
    bool run(const Point& point)
    {
        const std::string path = _folder + "/run.db";
        for (const char* suffix : {"", "-journal", "-new", "-new-journal"})
            fs::remove(path + suffix);
        fs::copy_file(original(), path);
        const long files = openFiles();
        const sqlite3_int64 memory = sqlite3_memory_used();
        const Told before = told;

        current = point.text();
        Witness witness;
        witness.demandUse();
        injector.arm(point.nth, point.fromThenOn);
        point.scenario->run(witness, path);
        injector.disarm();

        if (told.badCloses != before.badCloses)
            witness.complain("a connection did not close");
        if (openFiles() != files)
            witness.complain("a file descriptor leaked");
        verifyFile(witness, path);
        if (sqlite3_memory_used() != memory)
            witness.complain("SQLite's memory leaked");

        ++_cases;
        for (const std::string& what : witness.failures())
            std::printf("failure %s: %s\n", point.text().c_str(), what.c_str());
        _failures += static_cast<long>(witness.failures().size());
        return injector.fired();
    }

    int finish() const
    {
        std::printf("cases %ld\n", _cases);
        return _failures ? 1 : 0;
    }

private:
    std::string original() const { return _folder + "/original.db"; }

    static long openFiles()
    {
        long count = 0;
        for (const auto& entry : fs::directory_iterator("/proc/self/fd"))
            count += entry.path().empty() ? 0 : 1;
        return count;
    }

    std::string _folder;
    long _cases = 0;
    long _failures = 0;
};

const Scenario* scenarioNamed(const std::string& name)
{
    for (const Scenario& scenario : scenarios())
        if (name == scenario.name)
            return &scenario;
    return nullptr;
}

int repeat(Sweep& sweep, const std::string& text)
{
    const std::size_t first = text.find(':');
    const std::size_t second = text.find(':', first + 1);
    const Scenario* scenario = scenarioNamed(text.substr(0, first));
    if (!scenario || second == std::string::npos) {
        std::fprintf(stderr, "a point is SCENARIO:once:N or SCENARIO:on:N\n");
        return 2;
    }
    const bool fromThenOn = text.substr(first + 1, second - first - 1) == "on";
    const Point point = {scenario, fromThenOn, std::atol(text.c_str() + second + 1)};
    std::printf("%s: the fault %s\n", text.c_str(), sweep.run(point) ? "struck" : "did not strike");
    std::printf("last ERROR line: %s\n", told.last);
    return sweep.finish();
}

} // namespace

int sweep(int argc, char** argv, long stride)
{
    std::setvbuf(stdout, nullptr, _IOLBF, 0);
    Sweep sweep;
    if (argc == 3 && std::strcmp(argv[1], "--only") == 0)
        return repeat(sweep, argv[2]);
    if (argc == 2 && std::strcmp(argv[1], "--full") == 0)
        stride = 1;
    else if (argc != 2 || std::strcmp(argv[1], "--quick") != 0) {
        std::fprintf(stderr, "usage: %s --quick | --full | --only POINT\n", argv[0]);
        return 2;
    }

    for (const Scenario& scenario : scenarios())
        for (const bool fromThenOn : {false, true}) {
            long nth = 1;
            while (sweep.run({&scenario, fromThenOn, nth}))
                nth += nth < 100 ? 1 : stride;
            std::printf("%s, %s: up to call %ld\n", scenario.name,
                        fromThenOn ? "from then on" : "once", nth);
        }
    return sweep.finish();
}

} // namespace faults
