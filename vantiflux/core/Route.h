#pragma once

#include <string>
#include <utility>

namespace Vantiflux {

/// Joins the out-slots whose labels match `from` with the in-slots whose labels match `to`, inside one namespace. Both
/// keep their case.
struct Route {
  std::string from;
  std::string to;
};

} // namespace Vantiflux
