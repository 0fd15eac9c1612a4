#include "Workload.h"

#include <algorithm>
#include <stdexcept>

namespace bench
{

static const int cheap = 100; // a tenth of all prices are below

static bool isEven(std::size_t position)
{
    return position % 2 == 0;
}

// Before

static void nothing(Contestant&, const Data&) {}

template <std::size_t step> static void fillEvery(Contestant& contestant, const Data& data)
{
    contestant.begin();
    for (std::size_t i = 0; i < data.rows; i += step)
        contestant.insert(data.row(i));
    contestant.commit();
}

static constexpr auto fill = fillEvery<1>;

static void fillAndOpenSecond(Contestant& contestant, const Data& data)
{
    fill(contestant, data);
    contestant.openSecond(data.secondPath);
}

// Measured

static Reading insert(Contestant& contestant, const Data& data)
{
    fill(contestant, data);
    return Reading();
}

static Reading insertAutocommit(Contestant& contestant, const Data& data)
{
    for (std::size_t i = 0; i < data.rows; ++i)
        contestant.insert(data.row(i));
    return Reading();
}

static Reading insertBulk(Contestant& contestant, const Data& data)
{
    contestant.begin();
    contestant.insertAll(data);
    contestant.commit();
    return Reading();
}

static Reading readAll(Contestant& contestant, const Data&)
{
    return contestant.readAll();
}

static Reading readWhereOrder(Contestant& contestant, const Data&)
{
    return contestant.readCheaperThan(cheap);
}

static Reading exportAll(Contestant& contestant, const Data&)
{
    Reading reading;
    contestant.exportAll(reading.lines);
    return reading;
}

static Reading getByKey(Contestant& contestant, const Data& data)
{
    Reading reading;
    for (const std::size_t i : data.shuffled)
        contestant.get(data.key(i), reading);
    return reading;
}

// Every other key belongs to no row.
static Reading hasKey(Contestant& contestant, const Data& data)
{
    Reading reading;
    const auto beyond = static_cast<std::int64_t>(data.items.size());
    for (const std::size_t i : data.shuffled)
        if (contestant.has(data.key(i) + (isEven(i) ? 0 : beyond)))
            reading.add(*data.row(i));
    return reading;
}

template <auto change> static Reading changeByKey(Contestant& contestant, const Data& data)
{
    contestant.begin();
    for (const std::size_t i : data.shuffled)
        (contestant.*change)(data.changedRow(i));
    contestant.commit();
    return Reading();
}

static Reading deleteByKey(Contestant& contestant, const Data& data)
{
    contestant.begin();
    for (const std::size_t i : data.shuffled)
        contestant.remove(data.key(i));
    contestant.commit();
    return Reading();
}

static Reading copyTable(Contestant& contestant, const Data&)
{
    contestant.begin();
    contestant.copy();
    contestant.commit();
    return Reading();
}

static Reading copyToSecond(Contestant& contestant, const Data&)
{
    contestant.copyToSecond();
    return Reading();
}

// After

static Reading readingOf(const std::vector<Item>& items)
{
    Reading reading;
    for (const Item& item : items)
        reading.add(item);
    return reading;
}

static void checkItems(Contestant& contestant, const Data& data, const Reading&)
{
    require(contestant.readAll() == readingOf(data.items), "the table holds other rows");
}

static void checkChanged(Contestant& contestant, const Data& data, const Reading&)
{
    require(contestant.readAll() == readingOf(data.changed), "the table holds other rows");
}

static void checkEmpty(Contestant& contestant, const Data&, const Reading&)
{
    require(contestant.readAll() == Reading(), "the table is not empty");
}

static void checkCopy(Contestant& contestant, const Data& data, const Reading& reading)
{
    checkItems(contestant, data, reading);
    require(contestant.readCopy() == readingOf(data.items), "the copy holds other rows");
}

static void checkSecond(Contestant& contestant, const Data& data, const Reading& reading)
{
    checkItems(contestant, data, reading);
    require(contestant.readSecond() == readingOf(data.items), "the copy holds other rows");
}

static void checkAllRead(Contestant&, const Data& data, const Reading& reading)
{
    require(reading == readingOf(data.items), "other rows were read");
}

static void checkExport(Contestant&, const Data& data, const Reading& reading)
{
    require(readingOf(reading.lines) == readingOf(data.items), "other rows were exported");
}

static void checkCheapRead(Contestant&, const Data& data, const Reading& reading)
{
    std::vector<Item> items;
    for (const Item& item : data.items)
        if (item.price < cheap)
            items.push_back(item);
    std::sort(items.begin(), items.end(),
              [](const Item& a, const Item& b) { return a.name < b.name; });
    require(reading == readingOf(items), "other rows were read");
}

static void checkFound(Contestant&, const Data& data, const Reading& reading)
{
    Reading expected;
    for (const std::size_t i : data.shuffled)
        for (std::size_t item = 0; item < data.itemsPerRow; ++item)
            expected.add(data.row(i)[item]);
    require(reading == expected, "other rows were found");
}

static void checkPresent(Contestant&, const Data& data, const Reading& reading)
{
    Reading expected;
    for (const std::size_t i : data.shuffled)
        if (isEven(i))
            expected.add(*data.row(i));
    require(reading == expected, "other keys were found");
}

const std::vector<Workload>& workloads()
{
    static const std::vector<Workload> all = {
        {"insert", nothing, insert, checkItems},
        {"insert-autocommit", nothing, insertAutocommit, checkItems},
        {"insert-bulk", nothing, insertBulk, checkItems},
        {"read-all", fill, readAll, checkAllRead},
        {"read-where-order", fill, readWhereOrder, checkCheapRead},
        {"export", fill, exportAll, checkExport},
        {"get-by-key", fill, getByKey, checkFound},
        {"has-key", fill, hasKey, checkPresent},
        {"update-by-key", fill, changeByKey<&Contestant::update>, checkChanged},
        {"upsert", fillEvery<2>, changeByKey<&Contestant::upsert>, checkChanged},
        {"delete-by-key", fill, deleteByKey, checkEmpty},
        {"copy-table", fill, copyTable, checkCopy},
        {"copy-to-database", fillAndOpenSecond, copyToSecond, checkSecond},
    };
    return all;
}

const Workload& workload(const std::string& name)
{
    for (const Workload& entry : workloads())
        if (entry.name == name)
            return entry;
    throw std::runtime_error("there is no workload '" + name + "'");
}

} // namespace bench
