#ifndef TESSELU_BENCH_PLAIN_ENTRANTS_H
#define TESSELU_BENCH_PLAIN_ENTRANTS_H

#include "Contest.h"
#include "Pictures.h"
#include "Processor.h"

namespace bench {

/// Enters the plain loops as compiled for a processor of that level, and what the C library has.
void EnterPlain(Contests& contests, const Pictures& pictures, Level level);

/// The compiler and the flags of the plain loops.
const char* PlainCompiler(Level level);

/// Enters the copy of as many bytes as an operation moves.
void EnterCopies(Contests& contests, const Pictures& pictures);

}  // namespace bench

#endif  // TESSELU_BENCH_PLAIN_ENTRANTS_H
