// A board of the fleet: samples the counters of the machine into a database of its own.

#include <fstream>
#include <iostream>
#include <sstream>
#include <thread>

#include "BoardStore.h"
#include "Program.h"
#include "Tables.h"
#include "Usage.h"

namespace
{

using namespace fleet;
using support::Arguments;
using support::Failure;

const char usage[] =
    "usage: board FILE NUMBER [--count N] [--every MS] [--replay TEXTFILE] [--version 1|2]\n"
    "\n"
    "Samples the counters of this machine (/proc/meminfo, /proc/stat) into FILE, which it makes when\n"
    "it is missing: N times (1), every MS milliseconds (1000). With --replay, the samples are read\n"
    "from lines of a text file instead: COUNTER VALUE [UNIT], an empty line after each sample.\n"
    "NUMBER is the board's own, from 1; no two boards of a fleet have the same. --version 1 makes the\n"
    "tables as they were before samples had units.\n"
    "\n"
    "Exit status: 0 on success, 1 on failure, 2 for wrong usage.\n";

bool readCounter(const std::string& line, Counter& counter)
{
    std::istringstream words(line);
    counter = Counter();
    if (!(words >> counter.name >> counter.value))
        return false;
    words >> counter.unit;
    if (counter.name.back() == ':')
        counter.name.pop_back();
    return true;
}

// Up to an empty line; false at the end.
bool readSample(std::istream& text, std::vector<Counter>& sample)
{
    sample.clear();
    std::string line;
    Counter counter;
    while (std::getline(text, line) && (!line.empty() || sample.empty()))
        if (readCounter(line, counter))
            sample.push_back(counter);
        else if (!line.empty())
            throw Failure{"'" + line + "' is no counter"};
    return !sample.empty();
}

std::vector<Counter> sampleMachine()
{
    std::vector<Counter> sample;
    Counter counter;
    for (const char* source : {"/proc/meminfo", "/proc/stat"}) {
        std::ifstream file(source);
        for (std::string line; std::getline(file, line);)
            if (readCounter(line, counter))
                sample.push_back(counter);
    }
    if (sample.empty())
        throw Failure{"this machine has no counters in /proc"};
    return sample;
}

void sampleAll(BoardStore& store, const Options& options)
{
    for (sql::integer i = 0; i < options.number("--count", 1); ++i) {
        if (i > 0)
            std::this_thread::sleep_for(std::chrono::milliseconds(options.number("--every", 1000)));
        store.keep(sampleMachine());
    }
}

void replay(BoardStore& store, const std::string& name)
{
    std::ifstream file(name);
    if (!file)
        throw Failure{name + " cannot be read"};
    std::vector<Counter> sample;
    while (readSample(file, sample))
        store.keep(sample);
}

void run(const Arguments& arguments)
{
    const Options options(arguments, 2, {"--count", "--every", "--replay", "--version"});
    const sql::integer board = numberIn(options.word(1), 1, mostBoards);
    const auto version = static_cast<int>(options.number("--version", newestVersion));
    if (version < 1 || version > newestVersion)
        throw support::wrongUsage("there is no such version");
    BoardStore store(options.word(0), board, version);
    if (options.has("--replay"))
        replay(store, options.text("--replay"));
    else
        sampleAll(store, options);
}

} // namespace

int main(int argc, char** argv)
{
    return support::runProgram("board", usage, argc, argv, run);
}
