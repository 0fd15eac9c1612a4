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

void requireStatement(const Outcome& outcome, const std::string& sql)
{
    if (outcome.sql == upToNul(sql))
        return;
    std::fprintf(stderr, "runs: %s\nnot: %s\n", outcome.sql.c_str(), sql.c_str());
    require(false, "the statement is the one that is documented");
}

// Walks through the statements of an operation, one after the other.
class Walk
{
public:
    explicit Walk(const std::vector<Outcome>& outcomes) : _outcomes(outcomes) {}
    ~Walk() { require(_next == _outcomes.size(), "no statement more"); }
    Walk(const Walk&) = delete;
    Walk& operator=(const Walk&) = delete;

    const Outcome& step(const std::string& beginning)
    {
        require(_next < _outcomes.size(), "no statement less");
        const Outcome& outcome = _outcomes[_next++];
        require(outcome.sql.compare(0, beginning.size(), beginning) == 0, beginning.c_str());
        return outcome;
    }
    // A table whose existence is unknown counts as there.
    bool exists() { return numberOf(step("select count(*) from sqlite_master")) != 0; }

private:
    const std::vector<Outcome>& _outcomes;
    std::size_t _next = 0;
};

bool backedUp(Walk& walk, const std::string& source, const std::string& copy)
{
    if (walk.exists())
        walk.step(upToNul("drop table " + copy));
    if (!walk.exists() && !walk.step(upToNul("CREATE TABLE " + copy)).succeeded)
        return false;
    const Outcome& read = walk.step(upToNul("select * from " + source));
    if (!read.succeeded)
        return false;
    for (std::size_t i = 0; i < read.rows.size(); ++i)
        if (!walk.step(upToNul("insert into " + copy)).succeeded)
            return false;
    const int expected = numberOf(walk.step(upToNul("select count(*) from " + source)));
    return expected == numberOf(walk.step(upToNul("select count(*) from " + copy)));
}

} // namespace

void Compared::statement(const std::string& sql, bool answer)
{
    const std::vector<Outcome> outcomes = _watch.taken();
    require(outcomes.size() == (sql.empty() ? 0 : 1), "one statement, or none");
    if (!sql.empty())
        requireStatement(outcomes[0], sql);
    require(answer == (!sql.empty() && outcomes[0].succeeded), "the answer is SQLite's");
}

Outcome Compared::only(const std::string& sql)
{
    const std::vector<Outcome> outcomes = _watch.taken();
    require(outcomes.size() == 1, "one statement");
    requireStatement(outcomes[0], sql);
    return outcomes[0];
}

void Compared::rows(const std::string& sql, bool answer, sql::Table& table)
{
    const Outcome outcome = only(sql);
    require(answer == outcome.succeeded, "the answer is SQLite's");
    require(platform::holds(table, outcome), "the rows are SQLite's");
}

void Compared::first(const std::string& sql, const sql::Record* answer, sql::Table& table)
{
    const Outcome outcome = only(sql);
    require(platform::holds(table, outcome), "the rows are SQLite's");
    require(answer == (outcome.succeeded ? table.getRecord(0) : nullptr), "the first row held");
}

void Compared::has(const std::string& sql, bool answer)
{
    require(answer == (numberOf(only(sql)) > 0), "the answer is SQLite's");
}

void Compared::number(const std::string& sql, int answer)
{
    require(answer == numberOf(only(sql)), "the number is SQLite's");
}

void Compared::either(const std::string& sql, const std::string& several, const std::string& none,
                      bool answer)
{
    const std::vector<Outcome> outcomes = _watch.taken();
    require(!outcomes.empty(), "a statement that asks for the number");
    requireStatement(outcomes[0], sql);
    const std::string& second = numberOf(outcomes[0]) > 0 ? several : none;
    require(outcomes.size() == (second.empty() ? 1 : 2), "one or the other");
    if (!second.empty())
        requireStatement(outcomes[1], second);
    require(answer == (!second.empty() && outcomes[1].succeeded), "the answer is SQLite's");
}

void Compared::create(const std::string& exists, const std::string& sql, bool answer)
{
    const std::vector<Outcome> outcomes = _watch.taken();
    require(!outcomes.empty(), "a statement that asks for the table");
    requireStatement(outcomes[0], exists);
    const bool there = numberOf(outcomes[0]) != 0;
    require(outcomes.size() == (there ? 1 : 2), "a statement that makes it, or none");
    if (!there)
        requireStatement(outcomes[1], sql);
    require(answer == (there || outcomes[1].succeeded), "the answer is SQLite's");
}

void Compared::backup(const std::string& source, const std::string& copy, bool answer)
{
    const std::vector<Outcome> outcomes = _watch.taken();
    Walk walk(outcomes);
    require(answer == backedUp(walk, source, copy), "the answer is that of the statements");
}

} // namespace fuzz
