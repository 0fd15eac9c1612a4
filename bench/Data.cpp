#include "Data.h"

#include <numeric>
#include <random>
#include <sstream>

namespace bench
{

static std::vector<Item> makeItems(std::size_t count, unsigned seed)
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

static std::vector<std::size_t> shuffledPositions(std::size_t count)
{
    std::vector<std::size_t> positions(count);
    std::iota(positions.begin(), positions.end(), std::size_t{0});
    std::mt19937 random(7);
    for (std::size_t left = count; left > 1; --left)
        std::swap(positions[left - 1], positions[random() % left]);
    return positions;
}

Data::Data(std::size_t rowCount, std::size_t itemsInRow, const std::string& file)
    : rows(rowCount), itemsPerRow(itemsInRow), path(file),
      secondPath(file == ":memory:" ? file : file + "-second"),
      items(makeItems(rowCount * itemsInRow, 1)), changed(makeItems(rowCount * itemsInRow, 2)),
      shuffled(shuffledPositions(rowCount))
{}

bool Reading::operator==(const Reading& other) const
{
    return items == other.items && order == other.order && nameBytes == other.nameBytes &&
           prices == other.prices && actives == other.actives && created == other.created;
}

Reading readingOf(const std::string& lines)
{
    Reading reading;
    std::istringstream stream(lines);
    std::string id, name, price, active, created;
    while (std::getline(stream, id, '\t') && std::getline(stream, name, '\t') &&
           std::getline(stream, price, '\t') && std::getline(stream, active, '\t') &&
           std::getline(stream, created))
        reading.add(std::stoll(id), name.size(), std::stod(price), active == "1",
                    std::stoll(created));
    return reading;
}

} // namespace bench
