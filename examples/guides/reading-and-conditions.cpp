// Reading and conditions: what to quote, and how.

#include <iostream>
#include <string>

#include <Sql.h>

const sql::Field partColumns[] = {sql::Field("id", sql::type_int, sql::flag_primary_key),
                                  sql::Field("name", sql::type_text, sql::flag_not_null),
                                  sql::Field("shelf", sql::type_int, 0),
                                  sql::Field("price", sql::type_float, 0), sql::Field()};

// A text as SQL: its quotes are doubled, and single quotes enclose it.
std::string literal(const std::string& text)
{
    return "'" + sql::quoteStr(text) + "'";
}

// A number as SQL, with eight decimals. std::to_string would write the comma of some locales.
std::string literal(double number)
{
    sql::Value value(sql::type_float);
    value.setDouble(number);
    return value.toSql(sql::type_float);
}

// A pattern for LIKE. The characters that LIKE takes for others are escaped.
std::string prefix(const std::string& text)
{
    std::string pattern;
    for (const char character : text) {
        if (character == '%' || character == '_' || character == '\\')
            pattern += '\\';
        pattern += character;
    }
    return literal(pattern + "%") + " escape '\\'";
}

bool add(sql::Table& parts, int id, const std::string& name, int shelf, double price)
{
    sql::Record part(parts.fields());
    part.setInteger("id", id);
    part.setString("name", name);
    part.setInteger("shelf", shelf);
    part.setDouble("price", price);
    return parts.addRecord(part);
}

void show(sql::Table& parts, const std::string& where, const std::string& order = "")
{
    std::cout << where << (order.empty() ? "" : ", by ") << order << "\n";
    if (!parts.open(where, order)) {
        std::cout << "    refused\n";
        return;
    }
    for (int i = 0; i < parts.recordCount(); ++i)
        std::cout << "    " << parts.getRecord(i)->toString() << "\n";
}

// A statement of your own needs columns of your own, in the order of its results.
void showShelves(sqlite3* db)
{
    const sql::Field shelfColumns[] = {sql::Field("shelf", sql::type_int, sql::flag_primary_key),
                                       sql::Field("parts", sql::type_int, 0),
                                       sql::Field("worth", sql::type_float, 0), sql::Field()};
    sql::RecordSet shelves(db, shelfColumns);
    if (shelves.query("select shelf, count(*), sum(price) from part group by shelf order by shelf"))
        for (int i = 0; i < shelves.count(); ++i)
            std::cout << shelves.getRecord(i)->dump(false) << "\n";
}

int main()
{
    sql::Database database;
    if (!database.open(":memory:", sql::Database::read_write_create, false, 0))
        return 1;
    sql::Table parts(database.getHandle(), "part", partColumns);
    if (!parts.create() || !add(parts, 1, "bolt", 4, 0.25) ||
        !add(parts, 2, "driver's seat", 9, 310) || !add(parts, 3, "100% wool", 9, 12.5) ||
        !add(parts, 4, "1000 nails", 4, 8))
        return 1;

    show(parts, "price > 10");
    show(parts, "shelf = " + sql::intToStr(4), "price desc");
    const std::string name = "driver's seat"; // from outside
    show(parts, "name = " + literal(name));
    show(parts, "name = '" + name + "'"); // not quoted: no SQL
    show(parts, "name like " + prefix("100%"));

    show(parts, "price < " + literal(0.3));
    const std::size_t shelf = 4; // neither int nor sql::integer
    show(parts, "shelf = " + sql::intToStr(static_cast<sql::integer>(shelf)));

    const std::string answer = "x' or 'a' = 'a"; // typed in by a user who wants to see all
    show(parts, "name = " + literal(answer));

    showShelves(database.getHandle());
    std::cout << sql::queryNumber(database.getHandle(), "select count(*) from part where shelf = 9")
              << " parts on shelf 9\n";
    return 0;
}
