// Descriptions of tables, and what is found in them.

#ifndef SQLW_TEST_DESCRIBED_H
#define SQLW_TEST_DESCRIBED_H

#include <string>
#include <utility>
#include <vector>

#include "Prepared.h"
#include "SqlTableCheck.h"

namespace sqltest
{

using sql::Field;
using sql::Finding;

using Found = std::vector<std::pair<Finding::Kind, std::string>>;

inline Found kindsOf(const std::vector<Finding>& findings)
{
    Found found;
    for (const Finding& finding : findings)
        found.emplace_back(finding.kind, finding.column);
    return found;
}

inline std::string textsOf(const std::vector<Finding>& findings)
{
    std::string texts;
    for (const Finding& finding : findings)
        texts += finding.text + "\n";
    return texts;
}

/// A description as an array makes it: numbered.
inline sql::FieldSet described(std::vector<Field> fields)
{
    fields.emplace_back();
    return sql::FieldSet(fields.data());
}

const Field id("id", sql::type_int, sql::flag_primary_key);
const Field name("name", sql::type_text, 0);

class TableCheckTest : public FileTest
{
protected:
    Found describe(const sql::FieldSet& fields, const std::string& table = "item")
    {
        return kindsOf(sql::checkDescription(table, fields));
    }

    Found compare(const std::vector<Field>& fields, const std::string& statements)
    {
        mine.run(statements);
        return kindsOf(check(fields));
    }

    std::vector<Finding> check(const std::vector<Field>& fields)
    {
        sql::Table table(mine.db, "item", described(fields));
        return sql::checkTable(table);
    }

    std::string textOf(const std::vector<Field>& fields, const std::string& statements)
    {
        mine.run(statements);
        return textsOf(check(fields));
    }
};

} // namespace sqltest

#endif
