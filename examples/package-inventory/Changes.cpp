#include "Changes.h"

#include <map>
#include <string>
#include <utility>

namespace inventory
{

// Times are compared as numbers: the library takes any two of them, and any two cells that hold
// one, as equal.
bool filesDiffer(const Package& before, const Package& after)
{
    return before.filesChanged && after.filesChanged &&
           before.filesChanged->asInteger() != after.filesChanged->asInteger();
}

static bool differ(const Package& before, const Package& after)
{
    return before.version != after.version || before.section != after.section ||
           before.installedSize != after.installedSize || before.essential != after.essential ||
           filesDiffer(before, after);
}

Changes compare(const std::vector<Package>& before, const std::vector<Package>& after)
{
    std::map<std::pair<std::string, std::string>, const Package*> left;
    for (const Package& package : before)
        left.emplace(std::pair(package.name, package.architecture), &package);

    Changes changes;
    for (const Package& package : after) {
        const auto found = left.find({package.name, package.architecture});
        if (found == left.end()) {
            changes.added.push_back(package);
            continue;
        }
        if (differ(*found->second, package))
            changes.changed.push_back({*found->second, package});
        left.erase(found);
    }
    for (const auto& [identity, package] : left)
        changes.removed.push_back(*package);
    return changes;
}

} // namespace inventory
