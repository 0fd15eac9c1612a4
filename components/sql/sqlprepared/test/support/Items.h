// Two tables, and what tests of statements and of writers do with them.

#ifndef SQLW_TEST_ITEMS_H
#define SQLW_TEST_ITEMS_H

#include <gtest/gtest.h>
#include <sqlite3.h>

#include "Prepared.h"

namespace sqltest
{

const sql::Field itemFields[] = {
    sql::Field("id", sql::type_int, sql::flag_primary_key),
    sql::Field("name", sql::type_text, 0),
    sql::Field("price", sql::type_float, 0),
    sql::Field("active", sql::type_bool, 0),
    sql::Field("made", sql::type_time, 0),
    sql::Field(),
};
const sql::Field partFields[] = {
    sql::Field("code", sql::type_text, sql::flag_primary_key),
    sql::Field("count", sql::type_int, 0),
    sql::Field(),
};
const char* const insertItem =
    "insert into item (id, name, price, active, made) values (?1, ?2, ?3, ?4, ?5)";

class StatementTest : public DatabaseTest
{
protected:
    StatementTest()
    {
        setTraceLevel(3);
        run("create table item (id INTEGER PRIMARY KEY, name TEXT, price REAL, active INTEGER, "
            "made INTEGER);"
            "insert into item values (1, 'Bolt', 0.25, 1, 1000), (2, 'Nut', 2, 0, null),"
            "(3, null, null, null, null)");
        run("create table part (code TEXT PRIMARY KEY, count INTEGER);"
            "insert into part values ('A-17', 5), ('code', 6), ('3/4\"', 7)");
    }

    bool prepare(const std::string& sql) { return statement.prepare(db, sql); }
    /// The first column of the rows that are left.
    std::string rows()
    {
        std::string texts;
        while (statement.next())
            texts += (texts.empty() ? "" : " ") + statement.getString(0);
        EXPECT_EQ("none", words(statement.error()));
        return texts;
    }
    bool isLocked()
    {
        const int rc = sqlite3_exec(db, "drop table item", nullptr, nullptr, nullptr);
        EXPECT_TRUE(rc == SQLITE_OK || rc == SQLITE_LOCKED);
        return rc == SQLITE_LOCKED;
    }
    void expectFailure(const std::string& sql, const Refusal& refusal)
    {
        EXPECT_EQ(refusal.rc, statement.error().code());
        EXPECT_EQ(refusal.text, statement.error().text());
        EXPECT_EQ(trace({failed(sql, refusal)}), takeDiagnostics());
    }

    sql::Table items{db, "item", itemFields};
    sql::Table parts{db, "part", partFields};
    sql::Statement statement;
};

class TableWriterTest : public DatabaseTest
{
protected:
    TableWriterTest()
    {
        setTraceLevel(3);
        run("create table item (id INTEGER PRIMARY KEY, name TEXT NOT NULL, price REAL, "
            "active INTEGER, made INTEGER);"
            "create table part (code TEXT PRIMARY KEY, count INTEGER);"
            "insert into item (id, name) values (1, 'Bolt'), (2, 'Nut')");
    }

    sql::Record item(sql::integer id, const std::string& name) const
    {
        sql::Record record(items.fields());
        record.setInteger("id", id);
        record.setString("name", name);
        return record;
    }
    sql::Record part(const std::string& code, sql::integer count) const
    {
        sql::Record record(parts.fields());
        record.setString("code", code);
        record.setInteger("count", count);
        return record;
    }
    void setItem(sql::integer id, const std::string& name)
    {
        writer.setInteger(0, id);
        writer.setString(1, name);
    }
    /// The cells of a row as SQL.
    std::string row(const std::string& id)
    {
        return cell("select quote(id) || ' ' || quote(name) || ' ' || quote(price) || ' ' || "
                    "quote(active) || ' ' || quote(made) from item where id = " +
                    id);
    }
    std::string ids() { return cell("select group_concat(id, ' ') from item"); }
    std::string partRows()
    {
        return cell("select group_concat(code || '=' || count, ' ') from (select * from part "
                    "order by code)");
    }

    static std::string refusedToWrite(const std::string& table, const Refusal& refusal)
    {
        const Source source = companionSource("SqlTableWriter");
        return together({
            source.error("fail", "Failed to write to table '%s'", table.c_str()),
            source.error("fail", "  rc=%d=%s: %s", refusal.rc, refusal.name, refusal.text),
        });
    }
    void expectRefused(const Refusal& refusal)
    {
        EXPECT_EQ(std::to_string(refusal.rc) + ": " + refusal.text, words(writer.error()));
        EXPECT_EQ(0, writer.changes());
        EXPECT_EQ(trace({refusedToWrite("item", refusal)}), takeDiagnostics());
    }

    sql::Table items{db, "item", itemFields};
    sql::Table parts{db, "part", partFields};
    sql::TableWriter writer{items};
    sql::TableWriter partWriter{parts};
};

} // namespace sqltest

#endif
