// Writes down, on standard output, every call of the scenario, all that the library does to the
// world meanwhile (log lines, assertion reports, SQL), and what the call returns. The clock does
// not move, so that two runs write the same bytes.

#ifndef SQLW_SCENARIO_TRACE_H
#define SQLW_SCENARIO_TRACE_H

#include <string>
#include <vector>

#include "Sql.h"

// STEP runs a statement, ASK a call that returns something: both are written as the source has
// them.
#define STEP(...)                                                                                  \
    scenario::call(#__VA_ARGS__);                                                                  \
    __VA_ARGS__
#define ASK(...)                                                                                   \
    scenario::call(#__VA_ARGS__);                                                                  \
    scenario::result(__VA_ARGS__)

namespace scenario
{

/// Comes before anything else.
void start();

/// The platform's trace level. Negative: the platform holds none.
void setTraceLevel(int level);

void heading(const char* title);
void call(const char* text);

void result(bool truth);
void result(int number);
void result(sql::integer number);
void result(double number);
void result(const char* text);
void result(const sql::string& text);
void result(const std::vector<sql::string>& items);
void result(const sql::Field* field);
void result(const sql::Value* value);
void result(const sql::Record* record);
void result(const void* pointer); // only whether it is null

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
