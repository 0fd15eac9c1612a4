// The whole interface of the library, called from a script that never varies: its trace on standard
// output is the same on every machine, but for the lines that ../differences lists.

#include <cstdlib>

#include "Trace.h"

int main()
{
    using namespace scenario;
    setenv("TZ", "CET-1CEST,M3.5.0,M10.5.0/3", 1);
    start();
    foundation();
    times();
    timesBeyond32Bits();
    columns();
    values();
    floats();
    records();
    statements();
    databases();
    recordSets();
    tables();
    keys();
    copies();
    return 0;
}
