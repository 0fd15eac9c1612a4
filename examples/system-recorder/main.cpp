// Records the counters of the kernel in a database, and shows them.

#include <algorithm>
#include <cerrno>
#include <charconv>
#include <csignal>
#include <cstring>
#include <ctime>
#include <fstream>
#include <iostream>
#include <limits>
#include <map>
#include <memory>

#include <fnmatch.h>

#include "Counters.h"
#include "Program.h"
#include "Progress.h"
#include "Recording.h"
#include "Report.h"

using namespace recorder;
using support::Arguments;
using support::Failure;
using support::wrongUsage;

namespace
{

const char usage[] =
    "usage: system-recorder record FILE [--rate N] [--keep N] [--count N] [--batch N]\n"
    "                                   [--proc FOLDER | --replay CSV]\n"
    "       system-recorder report FILE [COUNTER]... [SPAN]\n"
    "       system-recorder plot FILE PICTURE COUNTER... [SPAN]\n"
    "       system-recorder export FILE [--to-file CSV] [COUNTER]... [SPAN]\n"
    "       system-recorder backup FILE COPY\n"
    "       system-recorder check FILE\n"
    "\n"
    "record adds the counters of /proc/stat, meminfo, diskstats and net/dev to the database FILE,\n"
    "until it is interrupted:\n"
    "  --rate N         samples per second (1)\n"
    "  --keep N         samples that FILE keeps; the oldest go (100000)\n"
    "  --count N        stop after so many samples\n"
    "  --batch N        samples per transaction: what is lost at most when it is killed (as many\n"
    "                   as are taken in a second)\n"
    "  --proc FOLDER    where the counters are (/proc)\n"
    "  --replay CSV     record what export wrote, as fast as it can be read\n"
    "\n"
    "COUNTER is a name or a pattern, such as 'net_*_rx_bytes'. Without one, all are meant. Totals\n"
    "that only grow are shown per second.\n"
    "\n"
    "SPAN is a part of the recording:\n"
    "  --last SECONDS   before the last sample\n"
    "  --from TIME, --to TIME   as '2026-11-21 13:05:00'\n"
    "\n"
    "Exit status: 0 on success, 1 on failure, 2 for wrong usage.\n";

/// What follows the name of the command.
struct Request
{
    std::vector<std::string> names;
    std::map<std::string, std::string> options;

    bool has(const std::string& option) const { return options.count(option) != 0; }

    sql::integer number(const std::string& option, sql::integer otherwise,
                        sql::integer greatest) const
    {
        const auto found = options.find(option);
        if (found == options.end())
            return otherwise;
        const std::string& text = found->second;
        sql::integer value = 0;
        const char* const end = text.data() + text.size();
        const auto [stop, error] = std::from_chars(text.data(), end, value);
        if (error != std::errc() || stop != end || value < 1 || value > greatest)
            throw wrongUsage(option + " needs a number from 1 to " + std::to_string(greatest) +
                             ", not '" + text + "'");
        return value;
    }
};

// record

volatile std::sig_atomic_t isStopped = 0;

void stop(int)
{
    isStopped = 1;
}

/// Ends at the moments of a clock that beats `rate` times a second, or when the program is stopped.
class Clock
{
public:
    explicit Clock(sql::integer rate) : _nanoseconds(1000000000 / rate)
    {
        clock_gettime(CLOCK_MONOTONIC, &_next);
    }

    void wait()
    {
        while (!isStopped &&
               clock_nanosleep(CLOCK_MONOTONIC, TIMER_ABSTIME, &_next, nullptr) == EINTR)
            continue;
        const sql::integer nanoseconds = _next.tv_nsec + _nanoseconds;
        _next.tv_sec += static_cast<std::time_t>(nanoseconds / 1000000000);
        _next.tv_nsec = static_cast<long>(nanoseconds % 1000000000);
    }

private:
    const sql::integer _nanoseconds;
    timespec _next{};
};

/// Gathers samples, and writes them a batch at a time: the database is locked for a moment only.
class Batch
{
public:
    Batch(Recording& recording, sql::integer size, sql::integer keep)
        : _recording(recording), _size(static_cast<std::size_t>(size)), _keep(keep)
    {}

    void add(const Sample& sample)
    {
        _samples.push_back(sample);
        if (_samples.size() == _size)
            write();
    }

    void write()
    {
        if (!_samples.empty())
            _recording.append(_samples, _keep);
        _written += _samples.size();
        _samples.clear();
    }

    std::size_t written() const { return _written; }

private:
    Recording& _recording;
    const std::size_t _size;
    const sql::integer _keep;
    std::vector<Sample> _samples;
    std::size_t _written = 0;
};

void recordAll(Source& source, Batch& batch, const Request& request)
{
    const sql::integer rate = request.number("--rate", 1, 1000);
    const sql::integer count = request.number("--count", 0, std::numeric_limits<int>::max());
    support::Progress progress;
    Clock clock(rate);
    Sample sample;
    for (sql::integer done = 0; !isStopped && (count == 0 || done < count); ++done) {
        if (!request.has("--replay"))
            clock.wait();
        if (isStopped || !source.next(sample))
            break;
        batch.add(sample);
        progress.show("recording samples", static_cast<std::size_t>(done + 1));
    }
}

void record(const Request& request)
{
    if (request.has("--replay") && request.has("--proc"))
        throw wrongUsage("either --replay or --proc");
    const auto option = [&request](const char* name, const char* otherwise) {
        return request.has(name) ? request.options.at(name) : otherwise;
    };
    std::unique_ptr<Source> source;
    if (request.has("--replay"))
        source = std::make_unique<Recorded>(option("--replay", ""));
    else
        source = std::make_unique<Kernel>(option("--proc", "/proc"));

    const sql::integer keep = request.number("--keep", 100000, std::numeric_limits<int>::max());
    const sql::integer rate = request.number("--rate", 1, 1000);
    const sql::integer size =
        request.number("--batch", request.has("--replay") ? 1000 : rate, 100000);
    std::signal(SIGINT, stop);
    std::signal(SIGTERM, stop);
    Recording recording(request.names[0], Recording::Use::write);
    recording.recordCounters(source->names());
    Batch batch(recording, size, keep);
    try {
        recordAll(*source, batch, request);
    } catch (const Failure&) {
        batch.write(); // what came before a bad line
        throw;
    }
    batch.write();
    std::cout << batch.written() << " samples of " << source->names().size()
              << " counters recorded in " << request.names[0] << "\n";
}

// What is shown

sql::integer timeMs(const std::string& text)
{
    std::tm parts{};
    parts.tm_isdst = -1;
    const char* const end = strptime(text.c_str(), "%Y-%m-%d %H:%M:%S", &parts);
    if (!end || *end)
        throw wrongUsage("'" + text + "' is not a time such as '2026-11-21 13:05:00'");
    return static_cast<sql::integer>(std::mktime(&parts)) * 1000;
}

Span spanOf(Recording& recording, const Request& request)
{
    const sql::integer greatest = std::numeric_limits<sql::integer>::max();
    Span wanted{std::numeric_limits<sql::integer>::min(), greatest, 0};
    if (request.has("--from"))
        wanted.fromMs = timeMs(request.options.at("--from"));
    if (request.has("--to"))
        wanted.toMs = timeMs(request.options.at("--to")) + 999;
    if (request.has("--last"))
        wanted.fromMs = std::max(wanted.fromMs, recording.within(wanted).toMs -
                                                    1000 * request.number("--last", 0, 1000000000));
    const Span span = recording.within(wanted);
    if (span.samples == 0)
        throw Failure{request.names[0] + " has no samples in this span of time"};
    return span;
}

/// The counters that the names from `first` on mean.
Counters countersOf(const Recording& recording, const Request& request, std::size_t first)
{
    Counters all = recording.counters();
    if (request.names.size() == first)
        return all;
    Counters chosen;
    for (std::size_t i = first; i < request.names.size(); ++i) {
        const std::size_t before = chosen.size();
        for (const std::string& counter : all)
            if (fnmatch(request.names[i].c_str(), counter.c_str(), 0) == 0)
                chosen.push_back(counter);
        if (chosen.size() == before)
            throw Failure{request.names[0] + " has no counter '" + request.names[i] + "'"};
    }
    return chosen;
}

void report(const Request& request)
{
    Recording recording(request.names[0], Recording::Use::read);
    printReport(std::cout, recording, countersOf(recording, request, 1),
                spanOf(recording, request));
}

void draw(const Request& request)
{
    Recording recording(request.names[0], Recording::Use::read);
    plot(recording, countersOf(recording, request, 2), spanOf(recording, request),
         request.names[1]);
}

void exportSamples(const Request& request)
{
    Recording recording(request.names[0], Recording::Use::read);
    const Counters counters = countersOf(recording, request, 1);
    const Span span = spanOf(recording, request);
    if (!request.has("--to-file")) {
        writeCsv(std::cout, recording, counters, span);
        return;
    }
    const std::string file = request.options.at("--to-file");
    replaceFile(file, [&](const std::string& part) {
        std::ofstream out(part);
        if (!out)
            throw Failure{file + " cannot be written: " + std::strerror(errno)};
        writeCsv(out, recording, counters, span);
        out.close();
        if (!out)
            throw Failure{file + " could not be written"};
    });
}

void backup(const Request& request)
{
    Recording recording(request.names[0], Recording::Use::read);
    support::Progress progress;
    recording.backup(request.names[1], [&progress](int done, int all) {
        progress.show("copying pages", static_cast<std::size_t>(done),
                      static_cast<std::size_t>(all));
    });
}

void check(const Request& request)
{
    Recording recording(request.names[0], Recording::Use::read);
    const std::vector<std::string> problems = recording.problems();
    if (!problems.empty())
        throw Failure{request.names[0] + " is damaged: " + problems[0]};
    const sql::integer greatest = std::numeric_limits<sql::integer>::max();
    const Span span = recording.within({-greatest, greatest, 0});
    std::cout << span.samples << " samples of " << recording.counters().size() << " counters";
    if (span.samples != 0)
        std::cout << ", from " << timeText(span.fromMs) << " to " << timeText(span.toMs);
    std::cout << "; nothing is wrong\n";
}

// The command line

struct Command
{
    const char* name;
    void (*run)(const Request&);
    std::size_t minNames;
    std::size_t maxNames;
    std::vector<std::string> options;
};

void run(const Arguments& arguments)
{
    const std::size_t any = 10000;
    const Command commands[] = {
        {"record", record, 1, 1, {"--rate", "--keep", "--count", "--batch", "--proc", "--replay"}},
        {"report", report, 1, any, {"--last", "--from", "--to"}},
        {"plot", draw, 3, any, {"--last", "--from", "--to"}},
        {"export", exportSamples, 1, any, {"--to-file", "--last", "--from", "--to"}},
        {"backup", backup, 2, 2, {}},
        {"check", check, 1, 1, {}},
    };
    const std::string name = arguments.empty() ? "" : arguments[0];
    const auto command = std::find_if(std::begin(commands), std::end(commands),
                                      [&name](const Command& one) { return one.name == name; });
    if (command == std::end(commands))
        throw wrongUsage("a command is needed, and '" + name + "' is not one");
    Request request;
    for (std::size_t i = 1; i < arguments.size(); ++i) {
        if (arguments[i].compare(0, 2, "--") != 0) {
            request.names.push_back(arguments[i]);
            continue;
        }
        const std::vector<std::string>& options = command->options;
        if (std::find(options.begin(), options.end(), arguments[i]) == options.end())
            throw wrongUsage(name + " has no option '" + arguments[i] + "'");
        if (i + 1 == arguments.size() || arguments[i + 1].empty())
            throw wrongUsage(arguments[i] + " needs a value");
        request.options[arguments[i]] = arguments[i + 1];
        ++i;
    }
    if (request.names.size() < command->minNames || request.names.size() > command->maxNames)
        throw wrongUsage("the arguments of " + name + " are wrong in number");
    command->run(request);
}

} // namespace

int main(int argc, char** argv)
{
    return support::runProgram("system-recorder", usage, argc, argv, run);
}
