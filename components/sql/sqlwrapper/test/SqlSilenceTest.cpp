// Below the level of errors no line is written, and yet every assertion is reported and every
// failure returned.

#include <gtest/gtest.h>

#include "Sql.h"
#include "support/World.h"

using namespace sqltest;

namespace
{

class BelowErrorsTest : public DatabaseTest
{
protected:
    BelowErrorsTest() { setTraceLevel(2); }

    const Source inRecord = Source("SqlRecord");
    const Source inTable = Source("SqlTable");
    const Source inFieldSet = Source("SqlFieldSet");

    // Fields of a vector belong to no set: their position is -1, so their values are not found.
    const sql::FieldSet unnumbered =
        std::vector<sql::Field>{sql::Field("id", sql::type_int, sql::flag_primary_key),
                                sql::Field("name", sql::type_text, 0)};
    const sql::FieldSet noKey = std::vector<sql::Field>{sql::Field("name", sql::type_text, 0)};
    const sql::FieldSet none = std::vector<sql::Field>();

    const std::string getValueReport =
        inRecord.asserted("false", "const sql::Value* sql::Record::getValue(int) const");
};

TEST_F(BelowErrorsTest, StatementFailsWithoutALine)
{
    EXPECT_FALSE(sql::runOneStepSqlStmt(db, "select 1"));
    EXPECT_EQ(trace({}), takeDiagnostics());
}

TEST_F(BelowErrorsTest, QueryWithoutARowFailsWithoutALine)
{
    EXPECT_EQ(-1, sql::queryNumber(db, "select 1 where 0"));
    EXPECT_EQ(trace({}), takeDiagnostics());
}

TEST_F(BelowErrorsTest, QueryOfTwoColumnsFailsWithoutALine)
{
    EXPECT_EQ(-1, sql::queryNumber(db, "select 1, 2"));
    EXPECT_EQ(trace({}), takeDiagnostics());
}

TEST_F(BelowErrorsTest, NegativeNumberFailsWithoutALine)
{
    EXPECT_EQ(-1, sql::queryNumber(db, "select -5"));
    EXPECT_EQ(trace({}), takeDiagnostics());
}

TEST_F(BelowErrorsTest, QueryWithoutErrorTextFailsWithoutALine)
{
    faults.noErrorText = true;
    EXPECT_FALSE(sql::RecordSet(db).query("select"));
    EXPECT_EQ(trace({}), takeDiagnostics());
}

TEST_F(BelowErrorsTest, MissingColumnByNameIsReported)
{
    const sql::Record record(noKey);
    EXPECT_EQ(nullptr, record.getValue("nosuch"));
    EXPECT_EQ(trace({inRecord.asserted("false", "const sql::Value* sql::Record::getValue("
                                                "const string&) const")}),
              takeEvents());
}

TEST_F(BelowErrorsTest, MissingKeyColumnIsReported)
{
    const sql::Record record(noKey);
    EXPECT_EQ(nullptr, record.getKeyIdValue());
    EXPECT_EQ(
        trace({inRecord.asserted("false", "const sql::Value* sql::Record::getKeyIdValue() const")}),
        takeEvents());
}

TEST_F(BelowErrorsTest, MissingFieldIsReported)
{
    const sql::Record record(noKey);
    EXPECT_EQ(nullptr, record.fieldByName("nosuch"));
    EXPECT_EQ(trace({inRecord.asserted("false", "const sql::Field* sql::Record::fieldByName("
                                                "const string&) const")}),
              takeEvents());
}

TEST_F(BelowErrorsTest, CellOutOfRangeIsReported)
{
    sql::Record record(noKey);
    EXPECT_FALSE(record.initColumnValue(1, "a", sql::type_text));
    EXPECT_EQ(trace({inRecord.asserted("false", "bool sql::Record::initColumnValue(int, const "
                                                "char*, sql::field_type)")}),
              takeEvents());
}

TEST_F(BelowErrorsTest, InsertOfValuesThatAreNotFoundIsReported)
{
    const sql::Record record(unnumbered);
    EXPECT_EQ("", record.toSqlInsert("item"));
    EXPECT_EQ(
        trace({getValueReport, inRecord.asserted("false", "sql::string sql::Record::toSql() const"),
               inRecord.asserted("false", "sql::string sql::Record::toSqlInsert(const "
                                          "string&) const")}),
        takeEvents());
}

TEST_F(BelowErrorsTest, UpdateOfAValueThatIsNotFoundIsReported)
{
    const sql::Record record(unnumbered);
    EXPECT_EQ("", record.toSqlUpdate("item"));
    EXPECT_EQ(trace({getValueReport, inRecord.asserted("false", "sql::string sql::Record::"
                                                                "toSqlUpdate(const string&) "
                                                                "const")}),
              takeEvents());
}

TEST_F(BelowErrorsTest, UpdateByAKeyThatIsNotFoundIsReported)
{
    const sql::FieldSet keyAlone =
        std::vector<sql::Field>{sql::Field("id", sql::type_int, sql::flag_primary_key)};
    const sql::Record record(keyAlone);
    EXPECT_EQ("", record.toSqlUpdate("item"));
    EXPECT_EQ(trace({getValueReport, inRecord.asserted("false", "sql::string sql::Record::"
                                                                "toSqlUpdate(const string&) "
                                                                "const")}),
              takeEvents());
}

TEST_F(BelowErrorsTest, FetchWithoutAKeyColumnIsReported)
{
    sql::Table table(db, "item", noKey);
    EXPECT_EQ(nullptr, table.getRecordByKeyId(7));
    EXPECT_EQ(
        trace({inFieldSet.asserted("false", "sql::string sql::FieldSet::getKeyIdName() const"),
               inTable.asserted("false", "sql::Record* sql::Table::getRecordByKeyId("
                                         "sql::integer)")}),
        takeEvents());
}

TEST_F(BelowErrorsTest, TestWithoutAKeyColumnIsReported)
{
    sql::Table table(db, "item", noKey);
    EXPECT_FALSE(table.hasRecordWithKeyId("A-17"));
    EXPECT_EQ(
        trace({inFieldSet.asserted("false", "sql::string sql::FieldSet::getKeyIdName() const"),
               inTable.asserted("false", "bool sql::Table::hasRecordWithKeyId(sql::string)")}),
        takeEvents());
}

} // namespace
