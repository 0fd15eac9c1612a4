#include "Series.h"

namespace recorder
{

static bool isAmount(const std::string& counter)
{
    const std::string end = "_in_progress";
    return counter.compare(0, 4, "mem_") == 0 || counter.compare(0, 11, "stat_procs_") == 0 ||
           (counter.size() > end.size() &&
            counter.compare(counter.size() - end.size(), end.size(), end) == 0);
}

Series::Series(const std::string& counter, int column)
    : _column(column), _isTotal(!isAmount(counter)), _label(counter + (_isTotal ? "/s" : ""))
{}

std::optional<double> Series::next(const sql::Statement& sample)
{
    if (sample.isNull(_column))
        return std::nullopt;
    const sql::integer value = sample.getInteger(_column);
    if (!_isTotal)
        return static_cast<double>(value);

    const std::optional<sql::integer> before = _before;
    const sql::integer tookMs = sample.getInteger(0) - _beforeMs;
    _before = value;
    _beforeMs = sample.getInteger(0);
    if (!before || tookMs <= 0 || value < *before)
        return std::nullopt;
    return (static_cast<double>(value) - static_cast<double>(*before)) * 1000 /
           static_cast<double>(tookMs);
}

} // namespace recorder
