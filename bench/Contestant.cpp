#include "Contestant.h"

#include <algorithm>
#include <cstring>
#include <stdexcept>

namespace bench
{

static std::vector<Entry>& list()
{
    static std::vector<Entry> entries;
    return entries;
}

const std::vector<Entry>& contestants()
{
    return list();
}

const Entry& contestant(const std::string& name)
{
    for (const Entry& entry : list())
        if (entry.name == name)
            return entry;
    throw std::runtime_error("there is no contestant '" + name + "'");
}

Registration::Registration(const Entry& entry)
{
    const auto before = [](const Entry& a, const Entry& b) {
        return std::strcmp(a.name, b.name) < 0;
    };
    list().insert(std::upper_bound(list().begin(), list().end(), entry, before), entry);
}

void fail(const char* reason)
{
    throw std::runtime_error(reason);
}

} // namespace bench
