#include "Sweep.h"

#include <cstdio>
#include <filesystem>

#include <sqlite3.h>

#include "Injector.h"
#include "Item.h"
#include "platform/Platform.h"
#include "Reports.h"
#include "Workload.h"

namespace fs = std::filesystem;

namespace faults
{

namespace
{

const int errorsAlone = 3;
const int everyLine = 9;
const long mostCalls = 100000; // of any scenario

class Sweep
{
public:
    explicit Sweep(long stride) : _stride(stride) { makeDatabase(original()); }

    void tryAll(bool quick)
    {
        for (const Scenario& scenario : scenarios())
            for (const bool fromThenOn : {false, true})
                for (const int level : {errorsAlone, everyLine})
                    tryCalls(scenario, fromThenOn, level, quick);
    }

private:
    std::string original() const { return _folder.path + "/original.db"; }

    void tryCalls(const Scenario& scenario, bool fromThenOn, int level, bool quick)
    {
        long nth = 1;
        const auto step = [&] {
            if (!quick)
                return 1L;
            return level == everyLine ? 7L : nth < 100 ? 1L : _stride;
        };
        while (tryCall(scenario, fromThenOn, nth, level))
            nth += step();
    }

    // Whether the fault struck; if not, the scenario has no more calls to fail.
    bool tryCall(const Scenario& scenario, bool fromThenOn, long nth, int level)
    {
        const std::string name = std::string(scenario.name) + (fromThenOn ? ":on:" : ":once:") +
                                 std::to_string(nth) + (level == everyLine ? ":9" : "");
        if (!isWanted(name))
            return nth < mostCalls;
        const Point point(name);
        const std::string path = _folder.path + "/run.db";
        for (const char* suffix : {"", "-journal", "-new", "-new-journal"})
            fs::remove(path + suffix);
        fs::copy_file(original(), path);
        const long files = openFiles();
        const sqlite3_int64 memory = sqlite3_memory_used();
        const Reports before = reports;

        platform::setTraceLevel(level);
        Witness witness(point);
        witness.demandUse();
        injector.arm(nth, fromThenOn);
        scenario.run(witness, path);
        injector.disarm();
        platform::setTraceLevel(errorsAlone);

        point.expect(reports.badCloses == before.badCloses, "a connection did not close");
        point.expect(openFiles() == files, "a file descriptor leaked");
        verifyFile(point, witness, path);
        point.expect(sqlite3_memory_used() == memory, "SQLite's memory leaked");
        if (!injector.fired())
            std::printf("%s: there is no such call\n", name.c_str());
        return injector.fired();
    }

    const Folder _folder;
    const long _stride;
};

} // namespace

int sweep(int argc, char** argv, long stride)
{
    return run(argc, argv, [=](bool quick) { Sweep(stride).tryAll(quick); });
}

} // namespace faults
