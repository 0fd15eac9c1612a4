// Prints rows of a table of any SQLite database, which it opens read-only.

#include <algorithm>
#include <cstdio>
#include <filesystem>
#include <iostream>
#include <string>
#include <vector>

#include <Sql.h>

namespace
{

const char usage[] = "usage: table-browser FILE TABLE COLUMN:TYPE[,COLUMN:TYPE]... [OPTION]...\n"
                     "Prints rows of a table of an SQLite database, which is only read.\n"
                     "\n"
                     "TYPE is one of: integer, text, float, bool, time.\n"
                     "\n"
                     "  --where CONDITION  the rows that match, in SQL\n"
                     "  --order COLUMNS    their order, in SQL\n"
                     "  --count NUMBER     no more rows than this\n"
                     "\n"
                     "Exit status: 0 when all went well, 1 when it did not, 2 for wrong usage.\n";

struct Request
{
    std::string file;
    std::string table;
    std::vector<sql::Field> columns;
    std::string where;
    std::string order;
    std::string count;
};

/// What ends the program, in one line.
struct Failure
{
    std::string message;
    int status = 1;
};

Failure usageFailure(const std::string& message)
{
    return {message + " (see --help)", 2};
}

// The request

sql::field_type typeNamed(const std::string& name)
{
    for (const sql::field_type type :
         {sql::type_int, sql::type_text, sql::type_float, sql::type_bool, sql::type_time})
        if (name == sql::type2Str(type))
            return type;
    throw usageFailure("there is no type '" + name + "'");
}

std::vector<sql::Field> columnsOf(const std::string& description)
{
    std::vector<std::string> items;
    sql::listToVector(description, items, ",");

    std::vector<sql::Field> columns;
    for (const std::string& item : items) {
        const std::size_t colon = item.rfind(':'); // the name may hold one, too
        if (colon == std::string::npos || colon == 0)
            throw usageFailure("'" + item + "' is not of the form COLUMN:TYPE");
        columns.emplace_back(item.substr(0, colon), typeNamed(item.substr(colon + 1)), 0);
    }
    if (columns.empty())
        throw usageFailure("no columns are given");
    return columns;
}

Request requestOf(const std::vector<std::string>& arguments)
{
    if (arguments.size() < 3 || arguments.size() % 2 == 0)
        throw usageFailure("FILE, TABLE and columns are needed, and a value behind each option");
    Request request = {arguments[0], arguments[1], columnsOf(arguments[2]), "", "", ""};
    for (std::size_t i = 3; i < arguments.size(); i += 2) {
        if (arguments[i] == "--where")
            request.where = arguments[i + 1];
        else if (arguments[i] == "--order")
            request.order = arguments[i + 1];
        else if (arguments[i] == "--count")
            request.count = arguments[i + 1];
        else
            throw usageFailure("there is no option '" + arguments[i] + "'");
    }
    const bool isNumber = request.count.find_first_not_of("0123456789") == std::string::npos;
    if (!isNumber || request.count.size() > 18)
        throw usageFailure("'" + request.count + "' is no number of rows");
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

void openFile(sql::Database& database, const std::string& file)
{
    std::error_code error;
    if (!std::filesystem::exists(file, error))
        throw Failure{file + " is not there"};
    if (!database.open(file, sql::Database::read_only, false, 1000))
        throw Failure{file + " cannot be opened"};
    // SQLite opens any file. Only the first look into it tells whether it is a database.
    if (sql::queryNumber(database.getHandle(), "select count(*) from sqlite_master") < 0)
        throw Failure{file + " is not a database, or cannot be read"};
}

/// A name that the table does not have would be no error: SQLite takes "name" for a text then.
void checkColumns(sql::Database& database, const Request& request)
{
    const std::vector<sql::Field> nameColumn = {sql::Field("name", sql::type_text, 0)};
    sql::RecordSet present(database.getHandle(), nameColumn);
    if (!present.query("select name from pragma_table_info('" + sql::quoteStr(request.table) +
                       "')"))
        throw Failure{request.file + " cannot be read"};
    if (present.count() == 0)
        throw Failure{request.file + " has no table '" + request.table + "'"};

    std::vector<std::string> names;
    names.reserve(static_cast<std::size_t>(present.count()));
    for (int i = 0; i < present.count(); ++i)
        names.push_back(present.getRecord(i)->getValue(0)->asString());
    for (const sql::Field& column : request.columns) {
        if (std::find(names.begin(), names.end(), column.getName()) != names.end())
            continue;
        std::string list;
        for (const std::string& name : names)
            list += " " + name;
        throw Failure{"table '" + request.table + "' has no column '" + column.getName() +
                      "'; it has:" + list};
    }
}

std::string statementOf(const Request& request)
{
    std::string names;
    for (const sql::Field& column : request.columns)
        names += (names.empty() ? "" : ", ") + quotedName(column.getName());
    std::string sql = "select " + names + " from " + quotedName(request.table);
    if (!request.where.empty())
        sql += " where " + request.where;
    if (!request.order.empty())
        sql += " order by " + request.order;
    if (!request.count.empty())
        sql += " limit " + request.count;
    return sql;
}

// Printing

/// One line, whatever stands in the text: control characters are told by their numbers.
std::string shown(const std::string& text)
{
    std::string line;
    for (const char character : text) {
        const unsigned char byte = static_cast<unsigned char>(character);
        if (byte >= 0x20 && byte != 0x7f) {
            line += character;
            continue;
        }
        char number[5];
        std::snprintf(number, sizeof(number), "\\x%02x", static_cast<unsigned int>(byte));
        line += number;
    }
    return line;
}

/// The number of characters of a text in UTF-8.
std::size_t widthOf(const std::string& text)
{
    return static_cast<std::size_t>(std::count_if(text.begin(), text.end(), [](char character) {
        return (static_cast<unsigned char>(character) & 0xc0) != 0x80;
    }));
}

using Line = std::vector<std::string>;

void print(const std::vector<Line>& lines, const std::vector<sql::Field>& columns)
{
    std::vector<std::size_t> widths(columns.size(), 0);
    for (const Line& line : lines)
        for (std::size_t i = 0; i < line.size(); ++i)
            widths[i] = std::max(widths[i], widthOf(line[i]));

    for (const Line& line : lines) {
        std::string text;
        for (std::size_t i = 0; i < line.size(); ++i) {
            const sql::field_type type = columns[i].getType();
            const std::string padding(widths[i] - widthOf(line[i]), ' ');
            const bool isNumber = type == sql::type_int || type == sql::type_float;
            text += isNumber ? padding + line[i] : line[i] + padding;
            text += i + 1 < line.size() ? "  " : "";
        }
        std::cout << sql::trimright(text) << "\n";
    }
}

std::vector<Line> linesOf(const sql::RecordSet& rows, const std::vector<sql::Field>& columns)
{
    std::vector<Line> lines(1);
    for (const sql::Field& column : columns)
        lines[0].push_back(shown(column.getName()));
    for (int i = 0; i < rows.count(); ++i) {
        Line line;
        for (int column = 0; column < rows.fields().count(); ++column)
            line.push_back(shown(rows.getRecord(i)->getValue(column)->toString()));
        lines.push_back(line);
    }
    return lines;
}

void run(const Request& request)
{
    sql::Database database;
    openFile(database, request.file);
    checkColumns(database, request);

    sql::RecordSet rows(database.getHandle(), request.columns);
    if (!rows.query(statementOf(request)))
        throw Failure{"SQLite refuses this: " + statementOf(request)};
    print(linesOf(rows, request.columns), request.columns);
    if (!std::cout.flush())
        throw Failure{"the rows could not be written"};
}

} // namespace

int main(int argc, char** argv)
{
    const std::vector<std::string> arguments(argv + 1, argv + argc);
    if (arguments == std::vector<std::string>{"--help"}) {
        std::cout << usage;
        return 0;
    }
    try {
        run(requestOf(arguments));
        return 0;
    } catch (const Failure& failure) {
        std::cerr << "table-browser: " << shown(failure.message) << "\n";
        return failure.status;
    }
}
