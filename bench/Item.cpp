#include "Item.h"

#include <random>

namespace bench
{

std::vector<Item> makeItems(std::size_t count, unsigned seed)
{
    std::mt19937 random(seed); // whose numbers the standard fixes, unlike those of distributions
    const auto below = [&](unsigned limit) { return static_cast<unsigned>(random() % limit); };

    std::vector<Item> items;
    items.reserve(count);
    for (std::size_t i = 0; i < count; ++i) {
        std::string name(8 + below(33), ' ');
        for (char& letter : name)
            letter = "abcdefghijklmnopqrstuvwxyz "[below(27)];
        if (i % 50 == 7)
            name[name.size() / 2] = '\'';
        items.push_back({static_cast<std::int64_t>(i + 1), std::move(name), below(100000) / 100.0,
                         below(2) == 1, 1600000000 + below(100000000)});
    }
    return items;
}

bool Reading::operator==(const Reading& other) const
{
    return items == other.items && order == other.order && nameBytes == other.nameBytes &&
           prices == other.prices && actives == other.actives && created == other.created;
}

} // namespace bench
