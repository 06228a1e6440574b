#ifndef TESSELU_TESTS_VECTOR_VECTOROPERATIONS_H
#define TESSELU_TESTS_VECTOR_VECTOROPERATIONS_H

#include <string>
#include <vector>

#include "vector/ModelRuns.h"

namespace vector_test {

/// Every form of every operation on batches, each with its model.
const std::vector<Operation>& Operations();
const Operation& Named(const std::string& name);

/// Normalised vectors of three arrays.
std::vector<Floats> StructureModel(const std::vector<Floats>& in, std::size_t n, Arithmetic arithmetic);

}  // namespace vector_test

#endif  // TESSELU_TESTS_VECTOR_VECTOROPERATIONS_H
