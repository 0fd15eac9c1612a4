// Writes down, on standard output, every call of the scenario, all that the library does to the
// world meanwhile (log lines, assertion reports, SQL), and what the call answers. The clock stands
// still, so that two runs write the same bytes.

#ifndef SQLW_SCENARIO_TRACE_H
#define SQLW_SCENARIO_TRACE_H

#include <string>
#include <vector>

#include "Sql.h"

// STEP runs a statement, ASK a call that answers: both are written as they stand in the source.
#define STEP(...)                                                                                  \
    scenario::call(#__VA_ARGS__);                                                                  \
    __VA_ARGS__
#define ASK(...)                                                                                   \
    scenario::call(#__VA_ARGS__);                                                                  \
    scenario::answer(__VA_ARGS__)

namespace scenario
{

/// Comes before anything else.
void start();

/// The platform's trace level. Negative: the platform holds none.
void setTraceLevel(int level);

void heading(const char* title);
void call(const char* text);

void answer(bool truth);
void answer(int number);
void answer(sql::integer number);
void answer(double number);
void answer(const char* text);
void answer(const sql::string& text);
void answer(const std::vector<sql::string>& items);
void answer(const sql::Field* field);
void answer(const sql::Value* value);
void answer(const sql::Record* record);
void answer(const void* pointer); // only whether it is null

void foundation();
void times();
void timesBeyond32Bits();
void columns();
void values();
void floats();
void records();
void statements();
void databases();
void recordSets();
void tables();
void keys();
void copies();

} // namespace scenario

#endif
