#ifndef TESSELU_TOOLS_ERRORS_H
#define TESSELU_TOOLS_ERRORS_H

#include <stdexcept>

namespace tool {

/// The program was called wrongly: exit status 2.
struct UsageError : std::runtime_error {
    using std::runtime_error::runtime_error;
};

/// The work could not be done: exit status 1.
struct Failure : std::runtime_error {
    using std::runtime_error::runtime_error;
};

/// A signal asked the program to stop: exit status 130.
struct Interrupted : std::runtime_error {
    Interrupted() : std::runtime_error("interrupted") {}
};

}  // namespace tool

#endif  // TESSELU_TOOLS_ERRORS_H
