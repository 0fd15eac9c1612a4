#include "Contestant.h"

#include <stdexcept>

namespace bench
{

static std::map<std::string, MakeContestant>& all()
{
    static std::map<std::string, MakeContestant> makers;
    return makers;
}

const std::map<std::string, MakeContestant>& contestants()
{
    return all();
}

std::unique_ptr<Contestant> makeContestant(const std::string& name, std::size_t itemsPerRow)
{
    const auto found = all().find(name);
    if (found == all().end())
        throw std::runtime_error("there is no contestant '" + name + "'");
    return found->second(itemsPerRow);
}

Registration::Registration(const char* name, MakeContestant make)
{
    all().emplace(name, make);
}

void fail(const char* reason)
{
    throw std::runtime_error(reason);
}

} // namespace bench
