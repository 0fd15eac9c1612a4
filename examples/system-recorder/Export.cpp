#include <cstdio>
#include <filesystem>
#include <ostream>

#include "Program.h"
#include "Report.h"

namespace recorder
{

void writeCsv(std::ostream& out, Recording& recording, const Counters& counters, const Span& span)
{
    out << "at_ms";
    for (const std::string& counter : counters)
        out << ',' << counter;
    out << '\n';
    const int columns = static_cast<int>(counters.size()) + 1;
    recording.read(counters, span, [&](const sql::Statement& sample) {
        out << sample.getInteger(0);
        for (int i = 1; i < columns; ++i) {
            out << ',';
            if (!sample.isNull(i))
                out << sample.getInteger(i);
        }
        out << '\n';
        return out.good();
    });
}

void replaceFile(const std::string& file, const std::function<void(const std::string&)>& write)
{
    std::error_code error;
    if (std::filesystem::exists(file, error) && !std::filesystem::is_regular_file(file, error)) {
        write(file); // a pipe or a device, which nothing replaces
        return;
    }
    const std::string part = file + ".part";
    try {
        write(part);
        if (std::rename(part.c_str(), file.c_str()) != 0)
            throw support::Failure{file + " could not be written"};
    } catch (...) {
        std::filesystem::remove(part, error);
        throw;
    }
}

} // namespace recorder
