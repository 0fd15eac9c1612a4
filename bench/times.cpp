// The time of every workload of every contestant, by Google Benchmark:
//
//     bench_times [options of Google Benchmark] ROWS FOLDER
//
// It leaves its last files in the folder.
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

double secondsOf(const std::string& name, const Workload& work, const Data& data)
{
    std::remove(data.path.c_str());
    std::remove(data.secondPath.c_str());
    using clock = std::chrono::steady_clock;
    const std::unique_ptr<Contestant> contestant = makeContestant(name);
    contestant->open(data.path);
    work.prepare(*contestant, data);
    const clock::time_point begin = clock::now();
    const Reading reading = work.run(*contestant, data);
    const clock::time_point end = clock::now();
    work.check(*contestant, data, reading);
    return std::chrono::duration<double>(end - begin).count();
}

void registerRun(const std::string& contestant, const Workload& work, bool onFile,
                 const Settings& settings)
{
    const std::string name = contestant + "/" + work.name + (onFile ? "/file" : "/memory");
    const auto run = [=](benchmark::State& state) {
        const Data data(rowsOf(work, settings), 1,
                        onFile ? settings.folder + "/bench_times.db" : ":memory:");
        for ([[maybe_unused]] auto iteration : state)
            state.SetIterationTime(secondsOf(contestant, work, data));
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
        for (const auto& entry : contestants())
            for (const Workload& work : workloads())
                for (const bool onFile : {false, true})
                    registerRun(entry.first, work, onFile, settings);
        benchmark::RunSpecifiedBenchmarks();
    } catch (const std::exception& error) {
        std::fprintf(stderr, "%s\n", error.what());
        return 1;
    }
}
