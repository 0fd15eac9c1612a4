/// @file
/// A counter as people look at it.

#ifndef SQLW_EXAMPLE_SERIES_H
#define SQLW_EXAMPLE_SERIES_H

#include <optional>
#include <string>

#include <SqlStatement.h>

namespace recorder
{

/// Turns the samples of one counter into values: amounts such as free memory as they are, and
/// totals that only grow, such as bytes received, into what they grew by per second.
class Series
{
public:
    /// Of a counter that is in a column of the statements given to `next`.
    Series(const std::string& counter, int column);

    /// "mem_MemFree", "net_eth0_rx_bytes/s"
    const std::string& label() const { return _label; }

    /// The value at the sample that the statement is on. None where it was not recorded, at the
    /// first sample of a total, and where a total went back, as when the machine starts again.
    std::optional<double> next(const sql::Statement& sample);

private:
    int _column;
    bool _isTotal;
    std::string _label;
    std::optional<sql::integer> _before;
    sql::integer _beforeMs = 0;
};

} // namespace recorder

#endif
