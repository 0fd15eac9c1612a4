/// @file
/// Recordings for people: numbers, pictures and lists.

#ifndef SQLW_EXAMPLE_RECORDER_REPORT_H
#define SQLW_EXAMPLE_RECORDER_REPORT_H

#include <functional>
#include <iosfwd>
#include <string>
#include <vector>

#include "Recording.h"

namespace recorder
{

using Counters = std::vector<std::string>;

/// Prints minimum, mean, maximum and a sparkline of each counter. It reads the samples once, and
/// keeps none.
void printReport(std::ostream& out, Recording& recording, const Counters& counters,
                 const Span& span);

/// Draws the counters over time with gnuplot, into a file whose name ends in .svg or .png.
void plot(Recording& recording, const Counters& counters, const Span& span,
          const std::string& file);

/// Writes the samples as CSV, as they are read.
void writeCsv(std::ostream& out, Recording& recording, const Counters& counters, const Span& span);

/// Lets `write` write to a file beside `file`, which then takes its place: `file` is complete, or
/// as it was before.
void replaceFile(const std::string& file, const std::function<void(const std::string&)>& write);

/// "2026-11-21 13:05:00", in the time zone of the machine.
std::string timeText(sql::integer atMs);

} // namespace recorder

#endif
