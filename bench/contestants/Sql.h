// The statements of the contestants that compile them.

#ifndef SQLW_BENCH_SQL_H
#define SQLW_BENCH_SQL_H

#include <string>

namespace bench::statements
{

inline const char createItem[] = "create table if not exists item (id INTEGER PRIMARY KEY, "
                                 "name TEXT NOT NULL, price REAL, active INTEGER, created INTEGER)";
inline const char createCopy[] = "create table item_copy (id INTEGER PRIMARY KEY, "
                                 "name TEXT NOT NULL, price REAL, active INTEGER, created INTEGER)";
inline const char copy[] = "insert into item_copy select * from item";
inline const char remove[] = "delete from item where id=?1";
inline const char has[] = "select 1 from item where id=?1";
inline const char get[] = "select * from item where id=?1";
inline const char readAll[] = "select * from item";
inline const char readCheaper[] = "select * from item where price < ?1 order by name";
inline const char readCopy[] = "select * from item_copy";

/// What takes an item.
struct Writes
{
    static constexpr const char* insert = "insert into item values (?1, ?2, ?3, ?4, ?5)";
    static constexpr const char* update = "update item set name=?2, price=?3, active=?4, "
                                          "created=?5 where id=?1";
    static constexpr const char* upsert = "insert into item values (?1, ?2, ?3, ?4, ?5) "
                                          "on conflict (id) do update set name=?2, price=?3, "
                                          "active=?4, created=?5";
};

/// The same for those that number no parameters: the id comes last.
struct WritesInOrder
{
    static constexpr const char* insert = "insert into item (name, price, active, created, id) "
                                          "values (?, ?, ?, ?, ?)";
    static constexpr const char* update = "update item set name=?, price=?, active=?, created=? "
                                          "where id=?";
    static constexpr const char* upsert = "insert into item (name, price, active, created, id) "
                                          "values (?, ?, ?, ?, ?) on conflict (id) do update set "
                                          "name=excluded.name, price=excluded.price, "
                                          "active=excluded.active, created=excluded.created";
};

/// An INSERT of so many rows, five parameters each.
inline std::string insertOf(std::size_t rows)
{
    std::string sql = "insert into item values (?, ?, ?, ?, ?)";
    while (--rows > 0)
        sql += ", (?, ?, ?, ?, ?)";
    return sql;
}

} // namespace bench::statements

#endif
