#include "Recording.h"

#include <filesystem>

#include "DatabaseFile.h"
#include "Program.h"

namespace recorder
{

using support::Failure;

namespace
{

const int recordingVersion = 1;
const int waitMs = 10000;
const std::size_t maxCounters = 1990; // SQLite takes 2,000 columns

void openFile(sql::Database& database, const std::string& file, bool makes)
{
    const std::string refusal =
        support::refusal(file, makes ? support::Missing::made : support::Missing::refused);
    if (!refusal.empty())
        throw Failure{refusal};
    const auto mode = makes ? sql::Database::read_write_create : sql::Database::read_write;
    if (!database.open(support::sqliteName(file), mode, false, waitMs))
        throw Failure{file + " cannot be opened"};
}

// The size of the file does not say it: a backup that was killed left pages, which go when SQLite
// reads the file.
bool isEmpty(sql::Database& database)
{
    sql::Statement tables;
    return tables.prepare(database.getHandle(), "select count(*) from sqlite_master") &&
           tables.next() && tables.getInteger(0) == 0;
}

} // namespace

template <typename Operation> void Recording::require(bool done, const Operation& operation) const
{
    if (!done)
        throw Failure{_file + ": " + operation.error().text()};
}

void Recording::run(const std::string& sql)
{
    sql::Statement statement;
    require(statement.prepare(_database.getHandle(), sql) && statement.run(), statement);
}

sql::integer Recording::number(const std::string& query)
{
    sql::Statement statement;
    require(statement.prepare(_database.getHandle(), query) && statement.next(), statement);
    return statement.getInteger(0);
}

Recording::Recording(const std::string& file, Use use) : _file(file)
{
    openFile(_database, file, use == Use::write);
    if (use == Use::write)
        prepare();
    const sql::integer version = number("pragma user_version");
    if (version != recordingVersion)
        throw Failure{_file + " is not a recording: its version is " + sql::intToStr(version) +
                      ", not " + sql::intToStr(recordingVersion)};
    describe();
}

// Of two recorders that begin at once, the second one finds it made.
void Recording::prepare()
{
    if (number("select count(*) from sqlite_master") == 0)
        run("pragma journal_mode = wal");
    sql::Transaction transaction(_database.getHandle());
    require(transaction.isOpen(), transaction);
    if (number("select count(*) from sqlite_master") == 0 && number("pragma user_version") == 0) {
        run("create table sample (id integer primary key, at_ms integer not null)");
        run("create index sample_at on sample (at_ms)");
        run("pragma user_version = " + sql::intToStr(recordingVersion));
    }
    require(transaction.commit(), transaction);
}

// The columns of the file are the description: it grows with the counters.
void Recording::describe()
{
    _fields = {sql::Field("id", sql::type_int, sql::flag_primary_key),
               sql::Field("at_ms", sql::type_int, sql::flag_not_null)};
    sql::Statement columns;
    require(columns.prepare(_database.getHandle(), "pragma table_info(sample)"), columns);
    while (columns.next())
        if (const std::string name = columns.getString("name"); name != "id" && name != "at_ms")
            _fields.emplace_back(name, sql::type_int, 0);
    require(!columns.error(), columns);
    _fields.emplace_back();

    sql::Table table(_database.getHandle(), "sample", _fields.data());
    const std::vector<sql::Finding> findings = sql::checkTable(table);
    if (!findings.empty())
        throw Failure{_file + " is not a recording: " + findings[0].text};
}

std::vector<std::string> Recording::counters() const
{
    std::vector<std::string> names;
    for (std::size_t i = 2; i + 1 < _fields.size(); ++i)
        names.push_back(_fields[i].getName());
    return names;
}

void Recording::recordCounters(const std::vector<std::string>& names)
{
    sql::Transaction transaction(_database.getHandle());
    require(transaction.isOpen(), transaction);
    describe();
    const sql::FieldSet known(_fields.data());
    std::size_t count = counters().size();
    for (const std::string& name : names) {
        if (known.getByName(name))
            continue;
        if (++count > maxCounters)
            throw Failure{_file + " has room for no more than " + std::to_string(maxCounters) +
                          " counters"};
        run("alter table sample add column " + name + " integer");
    }
    require(transaction.commit(), transaction);

    describe();
    const sql::FieldSet fields(_fields.data());
    _columns.clear();
    for (const std::string& name : names)
        _columns.push_back(fields.getByName(name)->getIndex());
}

void Recording::append(const std::vector<Sample>& batch, sql::integer keep)
{
    sql::Table table(_database.getHandle(), "sample", _fields.data());
    sql::Transaction transaction(_database.getHandle());
    require(transaction.isOpen(), transaction);
    sql::TableWriter writer(table);
    for (const Sample& sample : batch) {
        writer.setInteger(1, sample.atMs);
        for (std::size_t i = 0; i < _columns.size(); ++i) {
            if (sample.values[i])
                writer.setInteger(_columns[i], *sample.values[i]);
            else
                writer.setNull(_columns[i]);
        }
        require(writer.insert(), writer);
    }
    run("delete from sample where id <= " + sql::intToStr(writer.insertId() - keep));
    require(transaction.commit(), transaction);
}

Span Recording::within(Span wanted)
{
    sql::Statement found;
    require(found.prepare(_database.getHandle(), "select min(at_ms), max(at_ms), count(*) "
                                                 "from sample where at_ms between ?1 and ?2"),
            found);
    found.bindInteger(1, wanted.fromMs);
    found.bindInteger(2, wanted.toMs);
    require(found.next(), found);
    return {found.getInteger(0), found.getInteger(1), found.getInteger(2)};
}

void Recording::read(const std::vector<std::string>& counters, const Span& span,
                     const std::function<bool(const sql::Statement&)>& take)
{
    std::string columns = "at_ms";
    for (const std::string& counter : counters)
        columns += ", " + counter;
    sql::Statement samples;
    require(samples.prepare(_database.getHandle(),
                            "select " + columns +
                                " from sample where at_ms between ?1 and ?2 order by at_ms"),
            samples);
    samples.bindInteger(1, span.fromMs);
    samples.bindInteger(2, span.toMs);
    while (samples.next())
        if (!take(samples))
            return;
    require(!samples.error(), samples);
}

void Recording::backup(const std::string& copy, const std::function<void(int, int)>& progress)
{
    if (support::isSameDatabase(_file, copy))
        throw Failure{copy + " is the recording itself"};
    std::error_code error;
    const std::string path = support::localPath(copy);
    const bool isNew = !std::filesystem::exists(path, error);
    try {
        sql::Database destination;
        openFile(destination, copy, true);
        if (!isEmpty(destination))
            Recording(copy, Use::read); // must be one
        copyTo(destination, copy, progress);
    } catch (const Failure&) {
        if (isNew && std::filesystem::file_size(path, error) == 0)
            std::filesystem::remove(path, error);
        throw;
    }
}

// The transaction keeps what is copied as it is: a commit of the recorder would otherwise make the
// copy begin again, each second.
void Recording::copyTo(sql::Database& destination, const std::string& copy,
                       const std::function<void(int, int)>& progress)
{
    sql::Transaction reading(_database.getHandle(), sql::Transaction::deferred);
    require(reading.isOpen(), reading);
    number("select count(*) from sqlite_master");
    sql::Backup backup(destination.getHandle(), _database.getHandle());
    while (backup.step(64) && !backup.isBusy())
        progress(backup.pageCount() - backup.remaining(), backup.pageCount());
    if (backup.error())
        throw Failure{copy + ": " + backup.error().text()};
    if (!backup.isDone())
        throw Failure{copy + " is in use for too long"};
}

std::vector<std::string> Recording::problems()
{
    std::vector<std::string> lines;
    sql::Statement check;
    require(check.prepare(_database.getHandle(), "pragma integrity_check"), check);
    while (check.next())
        if (check.getString(0) != "ok")
            lines.push_back(check.getString(0));
    require(!check.error(), check);
    return lines;
}

} // namespace recorder
