// The time of every workload of every contestant, by Google Benchmark:
//
//     bench_times [options of Google Benchmark] ROWS FOLDER
//
// A name is CONTESTANT/WORKLOAD/memory or CONTESTANT/WORKLOAD/file. Each iteration is a whole run
// on a new database, of which only the measured part counts.

#include <chrono>
#include <cstdio>
#include <exception>

#include <benchmark/benchmark.h>

#include "Workload.h"

namespace
{

using namespace bench;

struct Settings
{
    std::size_t rows;
    std::string folder;
};

std::size_t rowsOf(const Workload& work, const Settings& settings)
{
    const std::size_t syncs = 100; // a file waits for the disk at each
    const bool autocommit = std::string(work.name) == "insert-autocommit";
    return autocommit ? std::min(settings.rows, syncs) : settings.rows;
}

// The files of a run, which are there before and after it in no case.
class TemporaryFiles
{
public:
    explicit TemporaryFiles(const Data& data) : _data(data) { remove(); }
    ~TemporaryFiles() { remove(); }
    TemporaryFiles(const TemporaryFiles&) = delete;
    TemporaryFiles& operator=(const TemporaryFiles&) = delete;

private:
    void remove()
    {
        std::remove(_data.path.c_str());
        std::remove(_data.secondPath.c_str());
    }

    const Data& _data;
};

double secondsOf(const Entry& entry, const Workload& work, const Data& data)
{
    const TemporaryFiles files(data);
    using clock = std::chrono::steady_clock;
    const std::unique_ptr<Contestant> contestant = entry.make(data.itemsPerRow);
    contestant->open(data.path);
    work.prepare(*contestant, data);
    const clock::time_point begin = clock::now();
    const Reading reading = work.run(*contestant, data);
    const clock::time_point end = clock::now();
    work.check(*contestant, data, reading);
    return std::chrono::duration<double>(end - begin).count();
}

void registerRun(const Entry& entry, const Workload& work, bool onFile, const Settings& settings)
{
    const std::string name =
        std::string(entry.name) + "/" + work.name + (onFile ? "/file" : "/memory");
    const auto run = [=](benchmark::State& state) {
        const Data data(rowsOf(work, settings), 1,
                        onFile ? settings.folder + "/bench_times.db" : ":memory:");
        for ([[maybe_unused]] auto iteration : state)
            state.SetIterationTime(secondsOf(entry, work, data));
        state.SetItemsProcessed(static_cast<std::int64_t>(data.rows) * state.iterations());
    };
    benchmark::RegisterBenchmark(name.c_str(), run)->UseManualTime();
}

} // namespace

int main(int count, char** arguments)
{
    try {
        benchmark::Initialize(&count, arguments); // which takes its own options away
        if (count != 3) {
            std::fprintf(stderr, "%s: ROWS and FOLDER are needed\n", arguments[0]);
            return 2;
        }
        const Settings settings = {std::stoul(arguments[1]), arguments[2]};
        for (const Entry& entry : contestants())
            for (const Workload& work : workloads())
                for (const bool onFile : {false, true})
                    registerRun(entry, work, onFile, settings);
        benchmark::RunSpecifiedBenchmarks();
    } catch (const std::exception& error) {
        std::fprintf(stderr, "%s\n", error.what());
        return 1;
    }
}
