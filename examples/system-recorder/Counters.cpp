#include "Counters.h"

#include <algorithm>
#include <cctype>
#include <cerrno>
#include <charconv>
#include <chrono>
#include <cstring>
#include <set>
#include <sstream>

#include "Program.h"

namespace recorder
{

using support::Failure;

namespace
{

const char* const cpuNames[] = {"user",   "nice", "system",  "idle",
                                "iowait", "irq",  "softirq", "steal"};
const char* const diskNames[] = {"reads",       "reads_merged",  "sectors_read",    "read_ms",
                                 "writes",      "writes_merged", "sectors_written", "write_ms",
                                 "in_progress", "busy_ms",       "weighted_ms"};
const char* const netNames[] = {"rx_bytes", "rx_packets",    "rx_errors",     "rx_dropped",
                                "rx_fifo",  "rx_frame",      "rx_compressed", "rx_multicast",
                                "tx_bytes", "tx_packets",    "tx_errors",     "tx_dropped",
                                "tx_fifo",  "tx_collisions", "tx_carrier",    "tx_compressed"};

// Letters, digits and '_' alone, of which devices have others in their names.
std::string plain(std::string name)
{
    for (char& character : name)
        if (!std::isalnum(static_cast<unsigned char>(character)))
            character = '_';
    return name;
}

/// Gives the numbers of a line to `found`, under a prefix and a name each.
template <typename Names, typename Found>
void takeNumbers(std::istringstream& line, const std::string& prefix, const Names& names,
                 const Found& found)
{
    sql::integer number = 0;
    for (const char* const name : names)
        if (line >> number)
            found(prefix + "_" + name, number);
}

template <typename Found> void takeStat(std::istringstream& line, const Found& found)
{
    std::string name;
    sql::integer number = 0;
    line >> name;
    if (name.compare(0, 3, "cpu") == 0)
        takeNumbers(line, plain(name), cpuNames, found);
    else if (line >> number) // of "intr" and "softirq" the total, which comes first
        found("stat_" + plain(name), number);
}

template <typename Found> void takeMemory(std::istringstream& line, const Found& found)
{
    std::string name;
    sql::integer number = 0;
    if (std::getline(line, name, ':') && line >> number)
        found("mem_" + plain(name), number);
}

template <typename Found> void takeDisk(std::istringstream& line, const Found& found)
{
    std::string major, minor, name;
    line >> major >> minor >> name;
    takeNumbers(line, "disk_" + plain(name), diskNames, found);
}

template <typename Found> void takeNet(std::istringstream& line, const Found& found)
{
    std::string name;
    if (std::getline(line >> std::ws, name, ':') && !line.eof())
        takeNumbers(line, "net_" + plain(name), netNames, found);
}

template <typename Take> void takeFile(const std::string& path, const Take& take)
{
    std::ifstream file(path);
    for (std::string text; std::getline(file, text);) {
        std::istringstream line(text);
        take(line);
    }
}

} // namespace

template <typename Found> void Kernel::read(const Found& found) const
{
    takeFile(_folder + "/stat", [&](auto& line) { takeStat(line, found); });
    takeFile(_folder + "/meminfo", [&](auto& line) { takeMemory(line, found); });
    takeFile(_folder + "/diskstats", [&](auto& line) { takeDisk(line, found); });
    takeFile(_folder + "/net/dev", [&](auto& line) { takeNet(line, found); });
}

Kernel::Kernel(const std::string& folder) : _folder(folder)
{
    read([this](const std::string& name, sql::integer) {
        if (_positions.emplace(name, _names.size()).second)
            _names.push_back(name);
    });
    if (_names.empty())
        throw Failure{"no counters in " + folder +
                      ": stat, meminfo, diskstats and net/dev are "
                      "missing or empty"};
}

bool Kernel::next(Sample& sample)
{
    const auto now = std::chrono::system_clock::now().time_since_epoch();
    sample.atMs = std::chrono::duration_cast<std::chrono::milliseconds>(now).count();
    sample.values.assign(_names.size(), std::nullopt);
    read([&](const std::string& name, sql::integer number) {
        const auto found = _positions.find(name);
        if (found != _positions.end())
            sample.values[found->second] = number;
    });
    return true;
}

Recorded::Recorded(const std::string& path) : _path(path), _file(path)
{
    if (!_file)
        throw Failure{path + " cannot be read: " + std::strerror(errno)};
    if (!std::getline(_file, _text))
        throw Failure{path + " is empty or cannot be read"};
    std::set<std::string> seen;
    std::istringstream line(_text);
    std::string name;
    if (!std::getline(line, name, ',') || name != "at_ms")
        refuse("the first column is not at_ms");
    while (std::getline(line, name, ',')) {
        if (name.empty() || name != plain(name) ||
            !std::isalpha(static_cast<unsigned char>(name[0])))
            refuse("'" + name + "' is not the name of a counter");
        if (!seen.insert(name).second || name == "id" || name == "at_ms")
            refuse("a second column '" + name + "'");
        _names.push_back(name);
    }
    if (_names.empty())
        refuse("no counters");
}

void Recorded::refuse(const std::string& reason) const
{
    throw Failure{_path + ":" + std::to_string(_line) + ": " + reason};
}

std::optional<sql::integer> Recorded::number(const char*& text) const
{
    const char* const end = _text.data() + _text.size();
    const char* const comma = std::find(text, end, ',');
    sql::integer value = 0;
    const auto [stop, error] = std::from_chars(text, comma, value);
    if (text != comma && (error != std::errc() || stop != comma))
        refuse("'" + std::string(text, comma) + "' is not a number");
    const bool isEmpty = text == comma;
    text = comma;
    return isEmpty ? std::nullopt : std::optional(value);
}

bool Recorded::next(Sample& sample)
{
    if (!std::getline(_file, _text))
        return false;
    ++_line;
    if (_file.eof())
        refuse("the file ends in the middle of a line");
    const char* text = _text.data();
    const std::optional<sql::integer> at = number(text);
    if (!at)
        refuse("no time");
    sample.atMs = *at;
    sample.values.clear();
    while (*text == ',')
        sample.values.push_back(number(++text));
    if (sample.values.size() != _names.size())
        refuse(std::to_string(sample.values.size()) + " values for " +
               std::to_string(_names.size()) + " counters");
    return true;
}

} // namespace recorder
