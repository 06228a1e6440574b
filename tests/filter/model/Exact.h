#ifndef TESSELU_TESTS_FILTER_MODEL_EXACT_H
#define TESSELU_TESTS_FILTER_MODEL_EXACT_H

namespace filter_model {

/// The doubles nearest to the natural logarithm and to the cosine, found in fixed point of 128 bits.
/// @throws std::logic_error where those do not tell to which side to round.
double NearestLog(double value);     ///< `value` above 2^-24, at most 1
double NearestCosine(double angle);  ///< `angle` within -4...4

}  // namespace filter_model

#endif  // TESSELU_TESTS_FILTER_MODEL_EXACT_H
