#pragma once

#include <exception>
#include <string>
#include <vantiflux/Export.h>

namespace Pelorn {

/// Text for an `errno` value ("Connection refused"). The one place where system errors become words. Thread-safe.
VANTIFLUX_API std::string errorText(int error);

/// Base of everything that this library throws.
class VANTIFLUX_API Exception : public std::exception {
public:
  explicit Exception(std::string message);
  ~Exception() override;

  const char* what() const noexcept override { return message_.c_str(); }
  const std::string& message() const noexcept { return message_; }

private:
  std::string message_;
};

/// A system call failed, or an operation was broken off (code `ECANCELED`).
class VANTIFLUX_API IOException : public Exception {
public:
  /// The message is `what`, ": " and the text of `error`.
  IOException(const std::string& what, int error);
  ~IOException() override;

  /// The `errno` value.
  int code() const noexcept { return code_; }

private:
  int code_;
};

} // namespace Pelorn
