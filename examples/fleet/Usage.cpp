#include "Usage.h"

#include <algorithm>
#include <charconv>

#include "Program.h"

namespace fleet
{

sql::integer numberIn(const std::string& word, sql::integer fewest, sql::integer most)
{
    sql::integer number = 0;
    const char* const end = word.data() + word.size();
    const auto result = std::from_chars(word.data(), end, number);
    if (result.ec != std::errc() || result.ptr != end || number < fewest || number > most)
        throw support::wrongUsage("'" + word + "' is not a number from " + sql::intToStr(fewest) +
                                  " to " + sql::intToStr(most));
    return number;
}

Options::Options(const std::vector<std::string>& arguments, std::size_t words,
                 const std::vector<std::string>& known)
    : _arguments(arguments), _words(words)
{
    if (arguments.size() < words)
        throw support::wrongUsage("an argument is missing");
    for (std::size_t i = words; i < arguments.size(); i += 2) {
        if (std::find(known.begin(), known.end(), arguments[i]) == known.end())
            throw support::wrongUsage("'" + arguments[i] + "' is no option");
        if (i + 1 == arguments.size())
            throw support::wrongUsage(arguments[i] + " needs a value");
    }
}

bool Options::has(const std::string& option) const
{
    return std::find(_arguments.begin() + static_cast<std::ptrdiff_t>(_words), _arguments.end(),
                     option) != _arguments.end();
}

std::string Options::text(const std::string& option) const
{
    for (std::size_t i = _words; i + 1 < _arguments.size(); i += 2)
        if (_arguments[i] == option)
            return _arguments[i + 1];
    return std::string();
}

sql::integer Options::number(const std::string& option, sql::integer otherwise) const
{
    return has(option) ? numberIn(text(option), 0, 1000000000) : otherwise;
}

} // namespace fleet
