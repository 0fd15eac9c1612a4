// The three ways to trim agree, and remove only the white space at both ends.

#include <cctype>

#include "Fuzz.h"

static bool blank(char character)
{
    return std::isspace(static_cast<unsigned char>(character)) != 0;
}

void fuzz::tryInput(FuzzedDataProvider& input)
{
    const std::string text = input.ConsumeRemainingBytesAsString();
    const std::string copy = sql::trim(text);
    std::string inPlace = text;
    require(&sql::trim(inPlace) == &inPlace, "trim returns its argument");
    std::string bySides = text;
    sql::trimright(sql::trimleft(bySides));
    require(copy == inPlace && copy == bySides, "three ways, one result");
    require(text.find(copy) != std::string::npos, "nothing is added");
    require(copy.empty() || (!blank(copy.front()) && !blank(copy.back())), "no blank is left");
    std::size_t blanks = 0;
    for (const char character : text)
        blanks += blank(character) ? 1 : 0;
    std::size_t kept = 0;
    for (const char character : copy)
        kept += blank(character) ? 1 : 0;
    require(text.size() - blanks == copy.size() - kept, "nothing but blanks is taken");
}
