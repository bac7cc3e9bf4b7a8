#pragma once

#include <exception>
#include <string>
#include <vantiflux/Export.h>

namespace XMLWrap {

/// A document that is not well-formed, exceeds a limit, or cannot be written.
class VANTIFLUX_API SAXException : public std::exception {
public:
  explicit SAXException(std::string message);
  /// The message ends in " (line L, column C)"; both count from 1.
  SAXException(const std::string& message, unsigned long line, unsigned long column);
  ~SAXException() override;

  const std::string& getMessage() const noexcept { return message_; }
  const char* what() const noexcept override { return message_.c_str(); }
  /// 0 when unknown.
  unsigned long getLine() const noexcept { return line_; }
  unsigned long getColumn() const noexcept { return column_; }

private:
  std::string message_;
  unsigned long line_ = 0;
  unsigned long column_ = 0;
};

} // namespace XMLWrap
