// The three ways to trim agree, and remove only the white space at both ends.

#include <cctype>

#include "Fuzz.h"

static bool blank(char character)
{
    return std::isspace(static_cast<unsigned char>(character)) != 0;
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    const std::string text(reinterpret_cast<const char*>(data), size);
    const std::string copy = sql::trim(text);
    std::string inPlace = text;
    fuzz::require(&sql::trim(inPlace) == &inPlace, "trim returns its argument");
    std::string bySides = text;
    sql::trimright(sql::trimleft(bySides));
    fuzz::require(copy == inPlace && copy == bySides, "three ways, one result");
    fuzz::require(text.find(copy) != std::string::npos, "nothing is added");
    fuzz::require(copy.empty() || (!blank(copy.front()) && !blank(copy.back())),
                  "no blank is left");
    std::size_t blanks = 0;
    for (const char character : text)
        blanks += blank(character) ? 1 : 0;
    std::size_t kept = 0;
    for (const char character : copy)
        kept += blank(character) ? 1 : 0;
    fuzz::require(text.size() - blanks == copy.size() - kept, "nothing but blanks is taken");
    return 0;
}
