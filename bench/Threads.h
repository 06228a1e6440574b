#ifndef TESSELU_BENCH_THREADS_H
#define TESSELU_BENCH_THREADS_H

#include <ostream>
#include <string>
#include <vector>

#include "Contest.h"
#include "Options.h"

namespace bench {

/// An operation on one thread and on two, and what two threads make of the plain copy of as many bytes.
struct ThreadsRow {
    std::string name;   ///< as in "operation/size"
    std::string title;  ///< in the table
    Size size;
    double alone, workers, copy, copies;  ///< ns a pixel by the clock on the wall; median
};

/// Names of the operations, as in "operation/size".
std::vector<std::string> ThreadsNames(const Size& size);

/// Times one size. Ends the program where two threads do not give the bytes of one.
ThreadsRow RunThreads(const std::string& name, const Size& size, const Options& options);

void PrintThreads(std::ostream& out, const std::vector<ThreadsRow>& rows);

}  // namespace bench

#endif  // TESSELU_BENCH_THREADS_H
