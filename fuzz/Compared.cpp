#include "Compared.h"

namespace fuzz
{

using platform::Outcome;

namespace
{

// What the library makes of a statement that asks for a number.
int numberOf(const Outcome& outcome)
{
    return outcome.succeeded && outcome.number >= 0 ? outcome.number : -1;
}

// Walks through the statements of an operation, one after the other, to the last.
class Walk
{
public:
    explicit Walk(std::vector<Outcome> outcomes) : _outcomes(std::move(outcomes)) {}
    ~Walk() { require(_next == _outcomes.size(), "no statement more"); }
    Walk(const Walk&) = delete;
    Walk& operator=(const Walk&) = delete;

    const Outcome& next()
    {
        require(_next < _outcomes.size(), "no statement less");
        return _outcomes[_next++];
    }
    const Outcome& step(const std::string& sql)
    {
        const Outcome& outcome = next();
        if (outcome.sql != upToNul(sql)) {
            std::fprintf(stderr, "runs: %s\nnot: %s\n", outcome.sql.c_str(), sql.c_str());
            require(false, "the statement is the one that is documented");
        }
        return outcome;
    }
    const Outcome& stepLike(const std::string& beginning)
    {
        const Outcome& outcome = next();
        require(outcome.sql.compare(0, beginning.size(), beginning) == 0, beginning.c_str());
        return outcome;
    }
    // A table whose existence is unknown counts as there.
    bool exists() { return numberOf(stepLike("select count(*) from sqlite_master")) != 0; }

private:
    const std::vector<Outcome> _outcomes;
    std::size_t _next = 0;
};

bool backedUp(Walk& walk, const std::string& source, const std::string& copy)
{
    if (walk.exists())
        walk.stepLike(upToNul("drop table " + copy));
    if (!walk.exists() && !walk.stepLike(upToNul("CREATE TABLE " + copy)).succeeded)
        return false;
    const Outcome& read = walk.stepLike(upToNul("select * from " + source));
    if (!read.succeeded)
        return false;
    for (std::size_t i = 0; i < read.rows.size(); ++i)
        if (!walk.stepLike(upToNul("insert into " + copy)).succeeded)
            return false;
    const int expected = numberOf(walk.stepLike(upToNul("select count(*) from " + source)));
    return expected == numberOf(walk.stepLike(upToNul("select count(*) from " + copy)));
}

} // namespace

void Compared::statement(const std::string& sql, bool answer)
{
    Walk walk(_watch.taken());
    require(answer == (!sql.empty() && walk.step(sql).succeeded), "the answer is SQLite's");
}

void Compared::rows(const std::string& sql, bool answer, sql::Table& table)
{
    Walk walk(_watch.taken());
    const Outcome& outcome = walk.step(sql);
    require(answer == outcome.succeeded, "the answer is SQLite's");
    require(platform::holds(table, outcome), "the rows are SQLite's");
}

void Compared::first(const std::string& sql, const sql::Record* answer, sql::Table& table)
{
    Walk walk(_watch.taken());
    const Outcome& outcome = walk.step(sql);
    require(platform::holds(table, outcome), "the rows are SQLite's");
    require(answer == (outcome.succeeded ? table.getRecord(0) : nullptr), "the first row held");
}

void Compared::has(const std::string& sql, bool answer)
{
    require(answer == (numberOf(Walk(_watch.taken()).step(sql)) > 0), "the answer is SQLite's");
}

void Compared::number(const std::string& sql, int answer)
{
    require(answer == numberOf(Walk(_watch.taken()).step(sql)), "the number is SQLite's");
}

void Compared::either(const std::string& sql, const std::string& several, const std::string& none,
                      bool answer)
{
    Walk walk(_watch.taken());
    const std::string& second = numberOf(walk.step(sql)) > 0 ? several : none;
    require(answer == (!second.empty() && walk.step(second).succeeded), "the answer is SQLite's");
}

void Compared::create(const std::string& exists, const std::string& sql, bool answer)
{
    Walk walk(_watch.taken());
    const bool there = numberOf(walk.step(exists)) != 0;
    require(answer == (there || walk.step(sql).succeeded), "the answer is SQLite's");
}

void Compared::backup(const std::string& source, const std::string& copy, bool answer)
{
    Walk walk(_watch.taken());
    require(answer == backedUp(walk, source, copy), "the answer is that of the statements");
}

} // namespace fuzz
