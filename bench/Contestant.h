// One way of keeping items in SQLite, and the list of all those that were built.

#ifndef SQLW_BENCH_CONTESTANT_H
#define SQLW_BENCH_CONTESTANT_H

#include <map>
#include <memory>
#include <string>

#include "Data.h"

namespace bench
{

/// Keeps items in the table
///
///     item(id INTEGER PRIMARY KEY, name TEXT NOT NULL, price REAL, active INTEGER,
///          created INTEGER)
///
/// of one database. What fails throws. A contestant that is made for wide rows keeps several items
/// side by side in each row: `row` points at the first of them.
class Contestant
{
public:
    virtual ~Contestant() = default;

    /// Opens the database and creates the table where there is none.
    virtual void open(const std::string& path) = 0;

    virtual void begin() = 0;
    virtual void commit() = 0;

    virtual void insert(const Item* row) = 0;
    /// Inserts all rows, by the quickest way that its documentation gives.
    virtual void insertAll(const Data& data)
    {
        for (std::size_t i = 0; i < data.rows; ++i)
            insert(data.row(i));
    }
    /// Changes the row with the id of `row`.
    virtual void update(const Item* row) = 0;
    /// Changes that row, or inserts it.
    virtual void upsert(const Item* row) = 0;
    virtual void remove(std::int64_t id) = 0;

    virtual bool has(std::int64_t id) = 0;
    virtual void get(std::int64_t id, Reading& reading) = 0;
    /// Reads the table. What holds rows keeps holding them until the next read.
    virtual Reading readAll() = 0;
    /// Reads the rows with a lower price, ordered by name.
    virtual Reading readCheaperThan(int price) = 0;
    /// Appends a line for each row, its cells separated by tabs.
    virtual void exportAll(std::string& lines) = 0;

    /// Copies the table into a new table item_copy.
    virtual void copy() = 0;
    virtual Reading readCopy() = 0;

    /// Opens a second database, like the first.
    virtual void openSecond(const std::string& path) = 0;
    /// Copies the rows into the second database, in one transaction.
    virtual void copyToSecond() = 0;
    virtual Reading readSecond() = 0;
};

using MakeContestant = std::unique_ptr<Contestant> (*)(std::size_t itemsPerRow);

/// How to make each that was built, by its name.
const std::map<std::string, MakeContestant>& contestants();
/// The contestant with this name. Throws when there is none.
std::unique_ptr<Contestant> makeContestant(const std::string& name, std::size_t itemsPerRow = 1);

/// Puts a contestant on the list: `const Registration entry("floor", make<Floor>);`
struct Registration
{
    Registration(const char* name, MakeContestant make);
};

[[noreturn]] void fail(const char* reason);

/// Throws unless `ok`.
inline void require(bool ok, const char* reason)
{
    if (!ok)
        fail(reason);
}

/// Makes a contestant that takes wide rows.
template <typename Kind> std::unique_ptr<Contestant> makeWide(std::size_t itemsPerRow)
{
    return std::make_unique<Kind>(itemsPerRow);
}

/// Makes one that does not.
template <typename Kind> std::unique_ptr<Contestant> make(std::size_t itemsPerRow)
{
    require(itemsPerRow == 1, "this contestant takes no wide rows");
    return std::make_unique<Kind>();
}

} // namespace bench

#endif
