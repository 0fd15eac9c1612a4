// What programs compile against: each operation by its whole type, whatever the baseline of the
// binary interface does not see (explicit, default arguments, copies), and the numbers of the
// enums.

#include <type_traits>

#include <gtest/gtest.h>

#include "SqlPrepared.h"

namespace
{

using sql::Backup;
using sql::Error;
using sql::Finding;
using sql::Statement;
using sql::TableWriter;
using sql::Transaction;

#define HAS(operation, ...)                                                                        \
    static_assert(std::is_same<decltype(&operation), __VA_ARGS__>::value, #operation)
#define HAS_OVERLOAD(operation, ...)                                                               \
    static_assert(                                                                                 \
        std::is_same<decltype(static_cast<__VA_ARGS__>(&operation)), __VA_ARGS__>::value,          \
        #operation)

template <typename Class> constexpr bool canMove()
{
    return std::is_copy_constructible<Class>::value || std::is_copy_assignable<Class>::value ||
           std::is_move_constructible<Class>::value || std::is_move_assignable<Class>::value;
}
static_assert(canMove<Error>() && canMove<Finding>(), "values");
static_assert(!canMove<Statement>() && !canMove<TableWriter>(), "bound to a connection");
static_assert(!canMove<Transaction>() && !canMove<Backup>(), "bound to a connection");

static_assert(std::is_constructible<bool, Error>::value, "tested as a condition");
static_assert(!std::is_convertible<Error, bool>::value, "explicit");
static_assert(std::is_constructible<Error, int, sql::string>::value, "");
HAS(Error::code, int (Error::*)() const);
HAS(Error::extendedCode, int (Error::*)() const);
HAS(Error::text, const sql::string& (Error::*)() const);

HAS(Statement::prepare, bool (Statement::*)(sqlite3*, const sql::string&));
HAS(Statement::select, bool (Statement::*)(sql::Table&, const sql::string&, const sql::string&));
HAS(Statement::selectByKey, bool (Statement::*)(sql::Table&));
HAS(Statement::close, void (Statement::*)());
HAS(Statement::bindNull, bool (Statement::*)(int));
HAS(Statement::bindInteger, bool (Statement::*)(int, sql::integer));
HAS(Statement::bindDouble, bool (Statement::*)(int, double));
HAS(Statement::bindBool, bool (Statement::*)(int, bool));
HAS(Statement::bindTime, bool (Statement::*)(int, sql::Time));
HAS(Statement::bindString, bool (Statement::*)(int, const sql::string&));
HAS(Statement::bindText, bool (Statement::*)(int, const char*, int));
HAS(Statement::parameter, int (Statement::*)(const sql::string&) const);
HAS(Statement::next, bool (Statement::*)());
HAS(Statement::run, bool (Statement::*)());
HAS(Statement::reset, void (Statement::*)());
HAS_OVERLOAD(Statement::find, bool (Statement::*)(sql::integer));
HAS_OVERLOAD(Statement::find, bool (Statement::*)(const sql::string&));
HAS_OVERLOAD(Statement::find, bool (Statement::*)(sql::integer, sql::Record&));
HAS_OVERLOAD(Statement::find, bool (Statement::*)(const sql::string&, sql::Record&));
HAS(Statement::changes, int (Statement::*)() const);
HAS(Statement::columnCount, int (Statement::*)() const);
HAS(Statement::column, int (Statement::*)(const sql::string&) const);
HAS_OVERLOAD(Statement::isNull, bool (Statement::*)(int) const);
HAS_OVERLOAD(Statement::isNull, bool (Statement::*)(const sql::string&) const);
HAS_OVERLOAD(Statement::getInteger, sql::integer (Statement::*)(int) const);
HAS_OVERLOAD(Statement::getInteger, sql::integer (Statement::*)(const sql::string&) const);
HAS_OVERLOAD(Statement::getDouble, double (Statement::*)(int) const);
HAS_OVERLOAD(Statement::getDouble, double (Statement::*)(const sql::string&) const);
HAS_OVERLOAD(Statement::getBool, bool (Statement::*)(int) const);
HAS_OVERLOAD(Statement::getBool, bool (Statement::*)(const sql::string&) const);
HAS_OVERLOAD(Statement::getTime, sql::Time (Statement::*)(int) const);
HAS_OVERLOAD(Statement::getTime, sql::Time (Statement::*)(const sql::string&) const);
HAS_OVERLOAD(Statement::getString, sql::string (Statement::*)(int) const);
HAS_OVERLOAD(Statement::getString, sql::string (Statement::*)(const sql::string&) const);
HAS(Statement::getText, const char* (Statement::*)(int) const);
HAS(Statement::getSize, int (Statement::*)(int) const);
HAS(Statement::read, bool (Statement::*)(sql::Record&) const);
HAS(Statement::error, const Error& (Statement::*)() const);

static_assert(std::is_constructible<TableWriter, sql::Table&>::value, "");
static_assert(!std::is_convertible<sql::Table&, TableWriter>::value, "explicit");
HAS_OVERLOAD(TableWriter::insert, bool (TableWriter::*)(const sql::Record&));
HAS_OVERLOAD(TableWriter::update, bool (TableWriter::*)(const sql::Record&));
HAS_OVERLOAD(TableWriter::upsert, bool (TableWriter::*)(const sql::Record&));
HAS_OVERLOAD(TableWriter::insert, bool (TableWriter::*)());
HAS_OVERLOAD(TableWriter::update, bool (TableWriter::*)());
HAS_OVERLOAD(TableWriter::upsert, bool (TableWriter::*)());
HAS_OVERLOAD(TableWriter::setNull, void (TableWriter::*)(int));
HAS_OVERLOAD(TableWriter::setNull, void (TableWriter::*)(const sql::string&));
HAS_OVERLOAD(TableWriter::setInteger, void (TableWriter::*)(int, sql::integer));
HAS_OVERLOAD(TableWriter::setInteger, void (TableWriter::*)(const sql::string&, sql::integer));
HAS_OVERLOAD(TableWriter::setDouble, void (TableWriter::*)(int, double));
HAS_OVERLOAD(TableWriter::setDouble, void (TableWriter::*)(const sql::string&, double));
HAS_OVERLOAD(TableWriter::setBool, void (TableWriter::*)(int, bool));
HAS_OVERLOAD(TableWriter::setBool, void (TableWriter::*)(const sql::string&, bool));
HAS_OVERLOAD(TableWriter::setTime, void (TableWriter::*)(int, sql::Time));
HAS_OVERLOAD(TableWriter::setTime, void (TableWriter::*)(const sql::string&, sql::Time));
HAS_OVERLOAD(TableWriter::setString, void (TableWriter::*)(int, const sql::string&));
HAS_OVERLOAD(TableWriter::setString, void (TableWriter::*)(const sql::string&, const sql::string&));
HAS(TableWriter::column, int (TableWriter::*)(const sql::string&) const);
HAS(TableWriter::clear, void (TableWriter::*)());
HAS_OVERLOAD(TableWriter::erase, bool (TableWriter::*)(sql::integer));
HAS_OVERLOAD(TableWriter::erase, bool (TableWriter::*)(const sql::string&));
HAS(TableWriter::insertId, sql::integer (TableWriter::*)() const);
HAS(TableWriter::changes, int (TableWriter::*)() const);
HAS(TableWriter::close, void (TableWriter::*)());
HAS(TableWriter::error, const Error& (TableWriter::*)() const);

static_assert(std::is_constructible<Transaction, sqlite3*>::value, "");
static_assert(std::is_constructible<Transaction, sqlite3*, Transaction::Mode>::value, "");
static_assert(!std::is_convertible<sqlite3*, Transaction>::value, "explicit");
HAS(Transaction::isOpen, bool (Transaction::*)() const);
HAS(Transaction::commit, bool (Transaction::*)());
HAS(Transaction::rollback, bool (Transaction::*)());
HAS(Transaction::error, const Error& (Transaction::*)() const);

static_assert(std::is_constructible<Backup, sqlite3*, sqlite3*>::value, "");
HAS(Backup::step, bool (Backup::*)(int));
HAS(Backup::isDone, bool (Backup::*)() const);
HAS(Backup::isBusy, bool (Backup::*)() const);
HAS(Backup::remaining, int (Backup::*)() const);
HAS(Backup::pageCount, int (Backup::*)() const);
HAS(Backup::error, const Error& (Backup::*)() const);

HAS(sql::checkDescription, std::vector<Finding> (*)(const sql::string&, const sql::FieldSet&));
HAS(sql::checkTable, std::vector<Finding> (*)(sql::Table&));

TEST(FindingTest, KindsAreNumberedInTheirOrder)
{
    const Finding::Kind kinds[] = {
        Finding::no_columns,
        Finding::no_key,
        Finding::two_keys,
        Finding::key_last,
        Finding::key_only,
        Finding::key_type,
        Finding::text_key,
        Finding::text_key_nullable,
        Finding::name_twice,
        Finding::name_reserved,
        Finding::name_needs_quotes,
        Finding::not_numbered,
        Finding::no_table,
        Finding::table_spelled_otherwise,
        Finding::column_missing,
        Finding::column_extra,
        Finding::column_extra_not_null,
        Finding::column_elsewhere,
        Finding::affinity_differs,
        Finding::not_null_differs,
        Finding::unique_differs,
        Finding::key_differs,
        Finding::failed,
    };
    int number = 0;
    for (const Finding::Kind kind : kinds)
        EXPECT_EQ(number++, kind);
}

} // namespace
