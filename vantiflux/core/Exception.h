#pragma once

#include <exception>
#include <string>
#include <utility>

#include <vantiflux/Export.h>

namespace Vantiflux {

/// Base of all exceptions of the library. Its one member is the message, which may be empty.
class VANTIFLUX_API Exception : public std::exception {
public:
  Exception() = default;
  explicit Exception(std::string message) : message_(std::move(message)) {}
  ~Exception() override;

  const std::string& getMessage() const noexcept { return message_; }
  const char* what() const noexcept override { return message_.c_str(); }

private:
  std::string message_;
};

} // namespace Vantiflux
