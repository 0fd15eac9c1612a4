#include "Report.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdio>
#include <limits>
#include <ostream>

#include "Series.h"
#include "TextTable.h"

namespace recorder
{

namespace
{

const std::size_t sparkWidth = 30;

/// What is known of one counter after some samples.
class Curve
{
public:
    Curve(const std::string& counter, int column) : _series(counter, column) {}

    void add(const sql::Statement& sample, std::size_t part)
    {
        const std::optional<double> value = _series.next(sample);
        if (!value)
            return;
        _min = std::min(_min, *value);
        _max = std::max(_max, *value);
        _all.add(*value);
        _parts[part].add(*value);
    }

    std::vector<std::string> line() const;

private:
    struct Mean
    {
        void add(double value)
        {
            sum += value;
            ++count;
        }
        double value() const { return sum / static_cast<double>(count); }

        double sum = 0;
        sql::integer count = 0;
    };

    std::string spark() const;

    Series _series;
    double _min = std::numeric_limits<double>::infinity();
    double _max = -std::numeric_limits<double>::infinity();
    Mean _all;
    std::array<Mean, sparkWidth> _parts;
};

// "0.5", "12.3 k", "4.56 M"
std::string compact(double value)
{
    const char* const units[] = {"", " k", " M", " G", " T", " P", " E"};
    std::size_t unit = 0;
    for (; std::abs(value) >= 999.5 && unit < 6; ++unit)
        value /= 1000;
    char text[32];
    std::snprintf(text, sizeof(text), "%.3g%s", value, units[unit]);
    return text;
}

std::string Curve::spark() const
{
    static const char* const levels[] = {"▁", "▂", "▃", "▄", "▅", "▆", "▇", "█"};
    double low = std::numeric_limits<double>::infinity();
    double high = -low;
    for (const Mean& part : _parts) {
        if (part.count != 0) {
            low = std::min(low, part.value());
            high = std::max(high, part.value());
        }
    }
    std::string text;
    for (const Mean& part : _parts) {
        if (part.count == 0) {
            text += ' ';
            continue;
        }
        const double height = high > low ? (part.value() - low) / (high - low) : 0;
        text += levels[std::min<std::size_t>(7, static_cast<std::size_t>(height * 8))];
    }
    return text;
}

std::vector<std::string> Curve::line() const
{
    if (_all.count == 0)
        return {_series.label(), "-", "-", "-", ""};
    return {_series.label(), compact(_min), compact(_all.value()), compact(_max), spark()};
}

} // namespace

std::string timeText(sql::integer atMs)
{
    return sql::Time(atMs / 1000).format("%Y-%m-%d %H:%M:%S");
}

void printReport(std::ostream& out, Recording& recording, const Counters& counters,
                 const Span& span)
{
    out << span.samples << " samples from " << timeText(span.fromMs) << " to "
        << timeText(span.toMs) << "\n\n";
    std::vector<Curve> curves;
    for (const std::string& counter : counters)
        curves.emplace_back(counter, static_cast<int>(curves.size()) + 1);

    const sql::integer length = span.toMs - span.fromMs + 1;
    recording.read(counters, span, [&](const sql::Statement& sample) {
        const sql::integer part =
            (sample.getInteger(0) - span.fromMs) * static_cast<sql::integer>(sparkWidth) / length;
        for (Curve& curve : curves)
            curve.add(sample, static_cast<std::size_t>(part));
        return true;
    });

    support::TextTable table("lrrrl");
    table.add({"Counter", "Min", "Mean", "Max", ""});
    for (const Curve& curve : curves)
        table.add(curve.line());
    table.print(out);
}

} // namespace recorder
