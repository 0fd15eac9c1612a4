/// @file
/// A line that shows a waiting person how far the program is.

#ifndef SQLW_EXAMPLE_PROGRESS_H
#define SQLW_EXAMPLE_PROGRESS_H

#include <chrono>
#include <cstddef>
#include <string>

namespace support
{

/// One line on standard output, overwritten as the work goes on and removed at its end. Without a
/// terminal nothing is written.
class Progress
{
public:
    Progress();
    ~Progress();
    Progress(const Progress&) = delete;
    Progress& operator=(const Progress&) = delete;

    /// Shows what is done now, such as "waiting for the database".
    void show(const std::string& work);
    /// Shows "reading packages: 20", but no more often than an eye can follow.
    void show(const std::string& work, std::size_t done);
    /// Shows "recording packages: 20 of 300", no more often either.
    void show(const std::string& work, std::size_t done, std::size_t all);

private:
    bool isDue();
    void write(const std::string& whole);

    const bool _isTerminal;
    std::size_t _width = 0; // of the text on the line
    std::chrono::steady_clock::time_point _next;
};

} // namespace support

#endif
