// Prints rows of a table of any SQLite database, which it opens read-only.

#include <algorithm>
#include <iostream>
#include <string>
#include <vector>

#include <Sql.h>
#include <sqlite3.h>
#include <strings.h>

#include "DatabaseFile.h"
#include "Program.h"
#include "Terminal.h"

namespace
{

using support::Arguments;
using support::Failure;
using support::wrongUsage;

const char usage[] =
    "usage: table-browser FILE TABLE COLUMN:TYPE[,COLUMN:TYPE]... [OPTION]...\n"
    "Prints rows of a table of an SQLite database, which is only read. FILE is a path, or a URI that\n"
    "SQLite takes, as file:some.db?immutable=1.\n"
    "\n"
    "TYPE is one of: integer, text, float, bool, time. Write a name that holds a comma, or begins\n"
    "or ends with a blank, between double quotes: '\"last, first\":text'.\n"
    "\n"
    "  --where CONDITION  the rows that match, in SQL\n"
    "  --order COLUMNS    their order, in SQL\n"
    "  --count NUMBER     no more rows than this\n"
    "\n"
    "NULL appears as \\N, a backslash as \\\\, a control character by its number, as \\x0a.\n"
    "\n"
    "Exit status: 0 on success, 1 on failure, 2 for wrong usage.\n";

struct Request
{
    std::string file;
    std::string table;
    std::vector<sql::Field> columns;
    std::string where;
    std::string order;
    std::string count;
};

// The request

sql::field_type typeNamed(const std::string& name)
{
    for (const sql::field_type type :
         {sql::type_int, sql::type_text, sql::type_float, sql::type_bool, sql::type_time})
        if (name == sql::type2Str(type))
            return type;
    throw wrongUsage("there is no type '" + name + "'");
}

/// A name between double quotes, which stand doubled within it, at the front of `item`; `end` is
/// the position after it.
std::string quotedNameOf(const std::string& item, std::size_t& end)
{
    std::string name;
    for (end = 1; end < item.size(); ++end) {
        if (item[end] == '"' && item[++end] != '"')
            return name;
        name += item[end];
    }
    throw wrongUsage("a double quote is missing at the end of " + item);
}

/// The first column of a list, which loses it.
sql::Field takeColumn(std::string& list)
{
    const bool isQuoted = list[0] == '"';
    std::size_t nameEnd = 0;
    std::string name = isQuoted ? quotedNameOf(list, nameEnd) : "";
    const std::size_t end = std::min(list.find(',', nameEnd), list.size());
    const std::string item = sql::trim(list.substr(0, end));
    const std::size_t colon = isQuoted ? nameEnd : item.rfind(':'); // the name may hold one, too
    if (!isQuoted)
        name = item.substr(0, colon);
    if (colon >= item.size() || item[colon] != ':' || name.empty())
        throw wrongUsage("'" + item + "' is not of the form COLUMN:TYPE");
    list.erase(0, end + 1);
    sql::trimleft(list);
    return sql::Field(name, typeNamed(item.substr(colon + 1)), 0);
}

std::vector<sql::Field> columnsOf(std::string list)
{
    std::vector<sql::Field> columns;
    for (sql::trim(list); !list.empty();)
        columns.push_back(takeColumn(list));
    if (columns.empty())
        throw wrongUsage("no columns are given");
    return columns;
}

Request requestOf(const Arguments& arguments)
{
    if (arguments.size() < 3 || arguments.size() % 2 == 0)
        throw wrongUsage("FILE, TABLE and columns are needed, and a value after each option");
    Request request = {arguments[0], arguments[1], columnsOf(arguments[2]), "", "", ""};
    for (std::size_t i = 3; i < arguments.size(); i += 2) {
        const std::string& value = arguments[i + 1];
        if (arguments[i] == "--where")
            request.where = value;
        else if (arguments[i] == "--order")
            request.order = value;
        else if (arguments[i] == "--count")
            request.count = value;
        else
            throw wrongUsage("there is no option '" + arguments[i] + "'");
        if (value.empty())
            throw wrongUsage(arguments[i] + " needs a value, not an empty text");
    }
    const bool isNumber = request.count.find_first_not_of("0123456789") == std::string::npos;
    if (!isNumber || request.count.size() > 18)
        throw wrongUsage("'" + request.count + "' is not a number of rows");
    return request;
}

// Reading

/// A name as SQL takes any name, keywords and blanks included.
std::string quotedName(const std::string& name)
{
    std::string quoted = "\"";
    for (const char character : name)
        quoted.append(character == '"' ? 2 : 1, character);
    return quoted + "\"";
}

/// What SQLite says of its last failure. A query that failed where SQLite did not has run out of
/// memory while the library kept its rows.
std::string reasonOf(sql::Database& database)
{
    const bool hasFailed = sqlite3_errcode(database.getHandle()) != SQLITE_OK;
    return hasFailed ? sqlite3_errmsg(database.getHandle()) : "out of memory";
}

void openFile(sql::Database& database, const std::string& file)
{
    const std::string refusal = support::refusal(file, support::Missing::refused);
    if (!refusal.empty())
        throw Failure{refusal};
    // SQLite opens any file. Only the first look into it shows whether it is a database.
    if (!database.open(support::sqliteName(file), sql::Database::read_only, false, 1000) ||
        sql::queryNumber(database.getHandle(), "select count(*) from sqlite_master") < 0)
        throw Failure{file + " cannot be read: " + reasonOf(database)};
}

std::vector<std::string> columnsOf(sql::Database& database, const Request& request)
{
    const std::vector<sql::Field> fields = {sql::Field("cid", sql::type_int, 0),
                                            sql::Field("name", sql::type_text, 0)};
    sql::RecordSet columns(database.getHandle(), fields);
    // Generated columns are in table_xinfo alone, which old versions of SQLite do not have: they
    // give no rows for it.
    for (const char* const pragma : {"table_xinfo", "table_info"}) {
        if (!columns.query("pragma " + (pragma + ("(" + quotedName(request.table))) + ")"))
            throw Failure{request.file + " cannot be read: " + reasonOf(database)};
        if (columns.count() != 0)
            break;
    }
    std::vector<std::string> names;
    names.reserve(static_cast<std::size_t>(columns.count()));
    for (int i = 0; i < columns.count(); ++i)
        names.push_back(columns.getRecord(i)->getValue(1)->asString());
    return names;
}

/// Names what is there when a name is not: SQLite alone would not.
void checkColumns(sql::Database& database, const Request& request)
{
    const std::vector<std::string> present = columnsOf(database, request);
    if (present.empty())
        throw Failure{request.file + " has no table '" + request.table + "'"};
    std::string list;
    for (const std::string& name : present)
        list += (list.empty() ? "" : ", ") + name;
    for (const sql::Field& column : request.columns) {
        const std::string name = column.getName();
        const auto isSame = [&name](const std::string& other) {
            return strcasecmp(name.c_str(), other.c_str()) == 0;
        };
        const bool isRowId = isSame("rowid") || isSame("oid") || isSame("_rowid_");
        if (!isRowId && std::none_of(present.begin(), present.end(), isSame))
            throw Failure{"table '" + request.table + "' has no column '" + name +
                          "'; it has: " + list};
    }
}

/// A column appears with its table: SQLite takes a lone "name" that is no column for a text.
std::string statementOf(const Request& request)
{
    const std::string table = quotedName(request.table);
    std::string names;
    for (const sql::Field& column : request.columns)
        names += (names.empty() ? "" : ", ") + table + "." + quotedName(column.getName());
    std::string sql = "select " + names + " from " + table;
    if (!request.where.empty())
        sql += " where " + request.where;
    if (!request.order.empty())
        sql += " order by " + request.order;
    if (!request.count.empty())
        sql += " limit " + request.count;
    return sql;
}

// Printing

using Line = std::vector<std::string>;

Line headingOf(const std::vector<sql::Field>& columns)
{
    Line line;
    for (const sql::Field& column : columns)
        line.push_back(support::exact(column.getName()));
    return line;
}

Line lineOf(const sql::Record& row, int columns)
{
    Line line;
    for (int i = 0; i < columns; ++i) {
        const sql::Value& cell = *row.getValue(i);
        line.push_back(cell.isNull() ? "\\N" : support::exact(cell.toString()));
    }
    return line;
}

void print(const Line& line, const std::vector<sql::Field>& columns,
           const std::vector<std::size_t>& widths)
{
    std::string text;
    for (std::size_t i = 0; i < line.size(); ++i) {
        const sql::field_type type = columns[i].getType();
        const std::string padding(widths[i] - support::widthOf(line[i]), ' ');
        const bool isNumber = type == sql::type_int || type == sql::type_float;
        text += isNumber ? padding + line[i] : line[i] + padding;
        text += i + 1 < line.size() ? "  " : "";
    }
    std::cout << sql::trimright(text) << "\n";
}

/// Twice through the rows: for the widths of the columns, and to print.
void print(sql::RecordSet& rows, const std::vector<sql::Field>& columns)
{
    const int count = rows.fields().count();
    std::vector<std::size_t> widths(columns.size(), 0);
    const auto widen = [&widths](const Line& line) {
        for (std::size_t i = 0; i < line.size(); ++i)
            widths[i] = std::max(widths[i], support::widthOf(line[i]));
    };
    widen(headingOf(columns));
    for (int i = 0; i < rows.count(); ++i)
        widen(lineOf(*rows.getRecord(i), count));

    print(headingOf(columns), columns, widths);
    for (int i = 0; i < rows.count(); ++i)
        print(lineOf(*rows.getRecord(i), count), columns, widths);
}

void run(const Arguments& arguments)
{
    const Request request = requestOf(arguments);
    sql::Database database;
    openFile(database, request.file);
    checkColumns(database, request);

    sql::RecordSet rows(database.getHandle(), request.columns);
    const std::string statement = statementOf(request);
    if (!rows.query(statement))
        throw Failure{reasonOf(database) + ", in: " + statement};
    print(rows, request.columns);
}

} // namespace

int main(int argc, char** argv)
{
    return support::runProgram("table-browser", usage, argc, argv, run);
}
