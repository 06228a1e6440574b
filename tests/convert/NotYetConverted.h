#ifndef TESSELU_TESTS_CONVERT_NOTYETCONVERTED_H
#define TESSELU_TESTS_CONVERT_NOTYETCONVERTED_H

#include <algorithm>
#include <set>
#include <string>

namespace convert_test {

/// Pairs that have no kernel yet, by the names of their tests; with a star at the end all that begin alike.
inline const std::set<std::string> kNotYetConverted = {
#include "convert/NotYetConverted.inc"
};

inline bool IsNotYetConverted(const std::string& name) {
    return std::any_of(kNotYetConverted.begin(), kNotYetConverted.end(), [&](const std::string& each) {
        return each.back() == '*' ? name.compare(0, each.size() - 1, each, 0, each.size() - 1) == 0
                                  : name == each;
    });
}

}  // namespace convert_test

#endif  // TESSELU_TESTS_CONVERT_NOTYETCONVERTED_H
