// Splitting agrees with a splitter that is written out plainly.

#include "Fuzz.h"

static std::string trimmed(const std::string& text)
{
    std::size_t begin = 0, end = text.size();
    while (begin < end && fuzz::isBlank(text[begin]))
        ++begin;
    while (end > begin && fuzz::isBlank(text[end - 1]))
        --end;
    return text.substr(begin, end - begin);
}

static std::vector<std::string> split(const std::string& list, const std::string& delimiters)
{
    std::vector<std::string> items;
    std::string item;
    for (const char character : list + (delimiters.empty() ? "" : delimiters.substr(0, 1))) {
        if (delimiters.find(character) == std::string::npos) {
            item += character;
        } else if (!item.empty()) {
            items.push_back(trimmed(item));
            item.clear();
        }
    }
    if (!item.empty())
        items.push_back(trimmed(item));
    return items;
}

void fuzz::tryInput(FuzzedDataProvider& input)
{
    const std::string delimiters = upToNul(input.ConsumeRandomLengthString(8));
    const std::string list = input.ConsumeRemainingBytesAsString();
    std::vector<sql::string> items(3, "left from before");
    sql::listToVector(list, items, delimiters.c_str());
    require(items == split(upToNul(list), delimiters), "items as split plainly");
}
