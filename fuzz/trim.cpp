// The three ways to trim agree, and remove only the white space at both ends.

#include <algorithm>

#include "Fuzz.h"

static auto blanksIn(const std::string& text)
{
    return std::count_if(text.begin(), text.end(), fuzz::isBlank);
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
    require(copy.empty() || (!isBlank(copy.front()) && !isBlank(copy.back())), "no blank is left");
    const auto removed = static_cast<std::ptrdiff_t>(text.size() - copy.size());
    require(removed == blanksIn(text) - blanksIn(copy), "nothing but blanks is taken");
}
