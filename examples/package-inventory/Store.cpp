#include "Store.h"

#include <algorithm>
#include <map>
#include <utility>

#include <sqlite3.h>

#include "DatabaseFile.h"
#include "Program.h"
#include "Transaction.h"

namespace inventory
{

using support::Failure;

// Packages without a section have one of their own.
static const char* const sectionName = "coalesce(section, '(none)')";

// What last failed on the open connection. The library's log has the statement; the user needs to
// know what to do.
static Failure databaseFailure(sqlite3* db, const std::string& path)
{
    const std::string file = "the database '" + path + "' ";
    switch (sqlite3_errcode(db)) {
        case SQLITE_BUSY:
        case SQLITE_LOCKED:
            return {file + "is in use by another program; try again when that is done, or "
                           "wait longer with --wait"};
        case SQLITE_OK: // a negative version, which the library takes for a failure
            return {file + "is not an inventory; name another with --database"};
        case SQLITE_NOTADB:
            return {"'" + path + "' is not a database; name another with --database"};
        case SQLITE_CORRUPT:
            return {file + "is damaged; put back a copy, or name another with --database"};
        case SQLITE_FULL:
            return {file + "has no room left on its disk; make room and try again"};
        case SQLITE_READONLY:
        case SQLITE_PERM:
            return {file + "may not be written; allow it, or name another with --database"};
        case SQLITE_CANTOPEN:
            return {file + "needs other files in its folder; allow to create them, or name "
                           "another with --database"};
        default:
            return {file + "failed: " + sqlite3_errmsg(db) + "; the system log has the statement"};
    }
}

Store::Store(const std::string& path, sql::Database::AccessMode mode, int waitSeconds)
    : _path(path), _packages("packages"), _previous("previous_packages"), _sections("sections")
{
    const bool makes = mode == sql::Database::read_write_create;
    const std::string refusal =
        support::refusal(path, makes ? support::Missing::made : support::Missing::refused);
    if (!refusal.empty())
        throw Failure{refusal + "; name another database with --database"};
    if (!_database.open(support::sqliteName(path), mode, false, waitSeconds * 1000))
        throw Failure{"cannot open the database '" + path +
                      "'; check that its folder is there and may be written, or name another with "
                      "--database"};
    sqlite3* const db = _database.getHandle();
    require(_packages.initTable(db, packageFields));
    require(_previous.initTable(db, packageFields));
    require(_sections.initTable(db, sectionFields));
}

// What the library reports by its result ends the operation, whose transaction then rolls back.
void Store::require(bool done)
{
    if (!done)
        throw databaseFailure(_database.getHandle(), _path);
}

Summary Store::update(std::vector<Package> installed, const View& view, support::Progress& progress)
{
    progress.show("waiting for the database");
    Transaction transaction(_database);
    require(transaction.isOpen());
    prepare();
    progress.show("keeping the previous inventory");
    require(_previous.remove()); // here: backup does not report that this failed
    require(_previous.backup(_packages));
    write(installed, progress);
    rebuildSections();
    Summary result = summary(view);
    require(transaction.commit());
    return result;
}

Summary Store::restore(const View& view)
{
    Transaction transaction(_database);
    require(transaction.isOpen());
    prepare();
    require(_packages.remove());
    require(_packages.backup(_previous));
    rebuildSections();
    Summary result = summary(view);
    require(transaction.commit());
    return result;
}

// An empty database becomes an inventory; of any other, the stamp and the tables must be known.
void Store::prepare()
{
    const int version = _database.getUserVersion();
    require(version >= 0);
    if (version == 0 && count("select count(*) from sqlite_master") == 0) {
        require(_packages.create() && _previous.create() && _sections.create());
        require(_database.setUserVersion(schemaVersion));
        return;
    }
    if (version != schemaVersion)
        throw Failure{"the database '" + _path + "' has the version " + sql::intToStr(version) +
                      " where this program needs " + sql::intToStr(schemaVersion) +
                      "; name another with --database"};
    if (!isAsDescribed(_packages) || !isAsDescribed(_previous) || !isAsDescribed(_sections))
        throw Failure{"the database '" + _path +
                      "' holds something other than an inventory; name another with --database"};
}

// Rows are read by the position of their cells, so the columns must be just these.
bool Store::isAsDescribed(const sql::Table& table)
{
    return count("select count(*) from sqlite_master where type = 'table' and name = '" +
                 sql::quoteStr(table.name()) + "' and sql = '" +
                 sql::quoteStr(table.getDefinition()) + "'") == 1;
}

// A package keeps its number as long as it is installed.
void Store::write(std::vector<Package>& installed, support::Progress& progress)
{
    std::map<std::pair<std::string, std::string>, sql::integer> known;
    sql::integer lastId = 0;
    for (const Package& package : read(_packages, "", "")) {
        known.emplace(std::pair(package.name, package.architecture), package.id);
        lastId = std::max(lastId, package.id);
    }

    sql::integer total = 0;
    for (const Package& package : installed)
        total += package.installedSize.value_or(0);

    std::size_t done = 0;
    for (Package& package : installed) {
        const auto found = known.find({package.name, package.architecture});
        if (found == known.end()) {
            package.id = ++lastId;
        } else {
            package.id = found->second;
            known.erase(found);
        }
        if (package.installedSize && total > 0)
            package.share =
                100.0 * static_cast<double>(*package.installedSize) / static_cast<double>(total);
        require(_packages.addOrUpdateRecord(package.id, toRecord(package, _packages.fields())));
        progress.show("recording packages", ++done, installed.size());
    }
    for (const auto& [identity, id] : known) // what is left is no longer installed
        require(_packages.deleteRecord(id));
}

// The table is emptied and filled again: its key is a text, and the library writes the key of an
// UPDATE without quotes. addOrUpdateRecord would fail for each section that is already there.
void Store::rebuildSections()
{
    require(_sections.deleteRecords(""));
    require(_sections.query(std::string("select ") + sectionName +
                            ", count(*), sum(installed_size) " + "from packages group by 1"));
    require(_sections.copyRecords(_sections)); // adds the rows that the query gave
}

Summary Store::summary(const View& view)
{
    Summary result;
    result.packages = _packages.totalRecordCount();
    require(result.packages >= 0);
    result.essential = count("select count(*) from packages where essential = 1");
    result.installedSize =
        firstValue("select sum(installed_size) from packages", sql::type_int).asInteger();
    result.architecture =
        firstValue("select architecture from packages where architecture <> 'all' "
                   "group by architecture order by count(*) desc limit 1",
                   sql::type_text)
            .asString();

    const std::string where = view.section.empty() ? ""
                                                   : std::string(sectionName) + " = '" +
                                                         sql::quoteStr(view.section) + "'";
    result.largest =
        read(_packages, where,
             "installed_size desc, name, architecture limit " + sql::intToStr(view.top));

    require(_sections.open("", "installed_size desc, name"));
    for (int i = 0; i < _sections.recordCount(); ++i)
        result.sections.push_back(toSection(*_sections.getRecord(i)));

    const std::vector<Package> previous = read(_previous, "", "name, architecture");
    result.hasPrevious = !previous.empty();
    result.changes = compare(previous, read(_packages, "", "name, architecture"));
    return result;
}

std::vector<Package> Store::read(sql::Table& table, const std::string& where,
                                 const std::string& order)
{
    require(table.open(where, order));
    std::vector<Package> packages;
    packages.reserve(static_cast<std::size_t>(table.recordCount()));
    for (int i = 0; i < table.recordCount(); ++i)
        packages.push_back(toPackage(*table.getRecord(i)));
    return packages;
}

int Store::count(const std::string& query)
{
    const int number = sql::queryNumber(_database.getHandle(), query);
    require(number >= 0);
    return number;
}

// NULL when the query gives no row.
sql::Value Store::firstValue(const std::string& query, sql::field_type type)
{
    const std::vector<sql::Field> column = {sql::Field("value", type, 0)};
    sql::RecordSet result(_database.getHandle(), sql::FieldSet(column));
    require(result.query(query));
    const sql::Value* value = result.getTopRecordFirstValue();
    return value ? *value : sql::Value(type);
}

} // namespace inventory
