#ifndef TESSELU_BENCH_TABLE_H
#define TESSELU_BENCH_TABLE_H

#include <ostream>
#include <string>
#include <vector>

#include "Contest.h"

namespace bench {

/// What one entrant needed, over all repetitions.
struct Timing {
    Column column;
    std::string name;
    int difference;          ///< the largest from our result, -1 if not compared
    double median = 0;       ///< ns a pixel, or a call at kCallSize
    double uncertainty = 0;  ///< standard error of the median, as a fraction of it
};

Timing Summarize(const Entrant& entrant, std::vector<double> nanoseconds);

/// A line of the table.
struct Row {
    const char* title;
    Size size;
    Aim aim;
    double bytes;  ///< read and written in all
    std::vector<Timing> timings;
};

/// Says for each operation how many times faster ours is than the best of the others and than the copy of the
/// same bytes, and whether that is what we want. Rows of one operation are brought together.
void PrintTable(std::ostream& out, const std::vector<Row>& rows);

/// The same of calls that have next to nothing to do, in ns a call.
void PrintCalls(std::ostream& out, const std::vector<Row>& rows);

/// Lists the entrants of each operation, with the largest difference of their results from ours.
void PrintEntrants(std::ostream& out, const std::vector<Row>& rows);

}  // namespace bench

#endif  // TESSELU_BENCH_TABLE_H
