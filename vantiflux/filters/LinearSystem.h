#pragma once

#include <cstddef>
#include <functional>
#include <vector>

namespace Vantiflux {

/// Solves A x = b for each right side b, all as long as the square matrix A, which is given element by element. One
/// decomposition, of about 2/3 size^3 operations, serves them all.
///
/// *Threads.* From any thread; callers wait for each other.
/// *Failure.* Throws Exception for a singular matrix, or one that is so nearly so that numbers overflow.
std::vector<std::vector<double>> solveLinear(std::size_t size,
                                             const std::function<double(std::size_t row, std::size_t column)>& a,
                                             const std::vector<std::vector<double>>& rightSides);

} // namespace Vantiflux
