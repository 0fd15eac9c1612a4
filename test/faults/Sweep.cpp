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

class Sweep : public Item
{
public:
    explicit Sweep(long stride) : _stride(stride) { makeDatabase(original()); }

    std::string points() const override
    {
        return "SCENARIO:once:N and SCENARIO:on:N, and with :9 at that trace level; scenarios are " +
               scenarioNames();
    }

    void tryAll(bool quick) override
    {
        for (const Scenario& scenario : scenarios())
            for (const bool fromThenOn : {false, true})
                for (const int level : {errorsAlone, everyLine})
                    tryCalls(scenario, fromThenOn, level, quick);
    }

    bool tryOne(const std::string& name) override
    {
        const std::vector<std::string> said = parts(name);
        long nth = 0;
        const bool known = (said.size() == 3 || (said.size() == 4 && said[3] == "9")) &&
                           (said[1] == "once" || said[1] == "on") && isNumber(said[2], nth);
        const Scenario* scenario = known ? scenarioNamed(said[0]) : nullptr;
        if (!scenario)
            return false;
        const bool struck =
            tryCall(*scenario, said[1] == "on", nth, said.size() == 4 ? everyLine : errorsAlone);
        std::printf("the fault %s; the last ERROR line is '%s'\n",
                    struck ? "struck" : "did not strike", reports.last);
        return true;
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
        std::printf("%s, %s, trace level %d: up to call %ld\n", scenario.name,
                    fromThenOn ? "from then on" : "once", level, nth);
    }

    // Whether the fault struck; if not, the scenario has no more calls to fail.
    bool tryCall(const Scenario& scenario, bool fromThenOn, long nth, int level)
    {
        const Point point(std::string(scenario.name) + (fromThenOn ? ":on:" : ":once:") +
                          std::to_string(nth) + (level == everyLine ? ":9" : ""));
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
        return injector.fired();
    }

    const Folder _folder;
    const long _stride;
};

} // namespace

int sweep(int argc, char** argv, long stride)
{
    Sweep item(stride);
    return run(argc, argv, item);
}

} // namespace faults
