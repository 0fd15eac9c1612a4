#include "Progress.h"

#include <iostream>

#include <unistd.h>

#include "Terminal.h"

namespace support
{

Progress::Progress() : _isTerminal(isatty(STDOUT_FILENO) == 1) {}

Progress::~Progress()
{
    if (_width > 0)
        write("");
}

void Progress::show(const std::string& work)
{
    if (_isTerminal)
        write(work);
}

void Progress::show(const std::string& work, std::size_t done)
{
    if (isDue())
        write(work + ": " + std::to_string(done));
}

void Progress::show(const std::string& work, std::size_t done, std::size_t all)
{
    if (isDue())
        write(work + ": " + std::to_string(done) + " of " + std::to_string(all));
}

bool Progress::isDue()
{
    const auto now = std::chrono::steady_clock::now();
    if (!_isTerminal || now < _next)
        return false;
    _next = now + std::chrono::milliseconds(50);
    return true;
}

// Blanks over what the new text leaves of the old one. A line as wide as the terminal would leave
// what does not fit where nothing removes it.
void Progress::write(const std::string& whole)
{
    const std::string text = cutTo(terminalWidth() - 1, whole);
    const std::size_t rest = _width > text.size() ? _width - text.size() : 0;
    std::cout << '\r' << text << std::string(rest, ' ') << (text.empty() ? "\r" : "") << std::flush;
    _width = text.size();
}

} // namespace support
