#include <vantiflux/filters/LinearSystem.h>

#include <cmath>
#include <limits>
#include <mutex>

#include <newmat/newmat.h>

#include <vantiflux/core/Exception.h>

namespace Vantiflux {

namespace {

// newmat keeps a trace of its calls, for messages, in global variables.
std::mutex newmatLock;

void fill(NEWMAT::Matrix& matrix, int size, const std::function<double(std::size_t, std::size_t)>& a) {
  for (int row = 0; row < size; ++row)
    for (int column = 0; column < size; ++column)
      matrix.element(row, column) = a(static_cast<std::size_t>(row), static_cast<std::size_t>(column));
}

std::vector<double> solve(NEWMAT::CroutMatrix& decomposed, const std::vector<double>& rightSide) {
  NEWMAT::ColumnVector b(static_cast<int>(rightSide.size()));
  b << rightSide.data();
  const NEWMAT::ColumnVector x = decomposed.i() * b;
  std::vector<double> result(x.Store(), x.Store() + x.Storage());
  for (const double value : result)
    if (!(std::abs(value) <= std::numeric_limits<float>::max()))
      throw Exception("The system of equations has no solution in numbers of single precision");
  return result;
}

} // namespace

std::vector<std::vector<double>> solveLinear(std::size_t size,
                                             const std::function<double(std::size_t row, std::size_t column)>& a,
                                             const std::vector<std::vector<double>>& rightSides) {
  const std::lock_guard guard(newmatLock);
  try {
    NEWMAT::Matrix matrix(static_cast<int>(size), static_cast<int>(size));
    fill(matrix, static_cast<int>(size), a);
    matrix.Release(); // the decomposition may take its memory
    NEWMAT::CroutMatrix decomposed(matrix);
    std::vector<std::vector<double>> solutions;
    solutions.reserve(rightSides.size());
    for (const std::vector<double>& rightSide : rightSides)
      solutions.push_back(solve(decomposed, rightSide));
    return solutions;
  } catch (const NEWMAT::SingularException&) {
    throw Exception("The system of equations is singular");
  } catch (const NEWMAT::BaseException&) { // none of the standard library's kind
    throw Exception("The system of equations cannot be solved");
  }
}

} // namespace Vantiflux
