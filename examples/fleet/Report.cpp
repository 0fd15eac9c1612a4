#include "Report.h"

#include <iostream>

#include "Program.h"
#include "Tables.h"
#include "Terminal.h"

namespace fleet
{

namespace
{

struct Kind
{
    const char* name;
    const char* heading;
    const char* query;
};

const Kind kinds[] = {
    {"report", "board\tlast number\tseconds ago\tsamples\tconflicts\tformer rows",
     "SELECT board, number, strftime('%s', 'now') - at, "
     "(SELECT count(*) FROM reading WHERE id BETWEEN board << 32 AND ((board + 1) << 32) - 1), "
     "(SELECT count(*) FROM conflict WHERE conflict.board = received.board), "
     "(SELECT count(*) FROM former WHERE former.board = received.board) "
     "FROM received ORDER BY board"},
    {"conflicts", "board\tnumber\tconflict\ttable\tchange",
     "SELECT board, number, kind, tab, row FROM conflict ORDER BY id"},
    {"events", "when (UTC)\tboard\tevent",
     "SELECT datetime(at, 'unixepoch'), board, text FROM event ORDER BY id"}};

void print(const std::string& file, const Kind& kind)
{
    sql::Database database;
    open(database, file, false);
    sql::Statement rows;
    if (!rows.prepare(database.getHandle(), kind.query))
        throw support::Failure{file + " is not the database of a gateway"};
    std::cout << kind.heading << "\n";
    while (rows.next()) {
        for (int column = 0; column < rows.columnCount(); ++column)
            std::cout << (column ? "\t" : "") << support::harmless(rows.getString(column));
        std::cout << "\n";
    }
    if (rows.error())
        fail("the database cannot be read", rows.error());
}

} // namespace

bool report(const std::string& file, const std::string& what)
{
    for (const Kind& kind : kinds)
        if (what == kind.name) {
            print(file, kind);
            return true;
        }
    return false;
}

} // namespace fleet
