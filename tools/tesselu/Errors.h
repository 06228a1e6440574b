#ifndef TESSELU_TOOLS_ERRORS_H
#define TESSELU_TOOLS_ERRORS_H

#include <stdexcept>

namespace tool {

// What the program returns. A signal returns 128 and its number.
constexpr int kExitSuccess = 0, kExitFailure = 1, kExitUsage = 2;

/// The program was called wrongly.
struct UsageError : std::runtime_error {
    using std::runtime_error::runtime_error;
};

/// Pictures could not be compared, where 1 says that they differ.
struct NoVerdict : std::runtime_error {
    using std::runtime_error::runtime_error;
};

/// The work could not be done.
struct Failure : std::runtime_error {
    using std::runtime_error::runtime_error;
};

}  // namespace tool

#endif  // TESSELU_TOOLS_ERRORS_H
