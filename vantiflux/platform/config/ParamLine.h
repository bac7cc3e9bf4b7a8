#pragma once

#include <exception>
#include <string>
#include <string_view>
#include <vantiflux/Export.h>
#include <vantiflux/platform/config/ParamBag.h>

namespace Config {

/// Parameters written as one line of text, such as `Device=/dev/ttyUSB0 Name="left hand" Axis=1,3,-2`.
///
/// Grammar:
///
///     line  = [pair] { blank pair } ;  blanks (space, tab, carriage return, line feed) around are ignored
///     pair  = text "=" [text] ;        no blank beside "="; the name must not be empty
///     text  = { plain | escape | quoted | raw } ;
///
/// - *plain*: any character but a blank, `"`, `'`, `\`, and, in a name, `=`;
/// - *escape*: `\n`, `\r`, `\t` for the control characters, `\xHH` for a byte by two hexadecimal digits, and `\` before
/// any
///   other character for that character itself;
/// - *quoted*: `"` ... `"`, with blanks and `=` in it as they are, and with escapes;
/// - *raw*: `'` ... `'`, everything in it as it is, with no way to write `'`.
///
/// A name may occur more than once. `quote` writes any text so that it reads back the same.
class VANTIFLUX_API ParamLine {
public:
  /// Says what is wrong and at which character of the line, counted from 1.
  class VANTIFLUX_API Exception : public std::exception {
  public:
    explicit Exception(std::string message);
    ~Exception() override;
    const char* what() const noexcept override { return message_.c_str(); }

  private:
    std::string message_;
  };

  /// Replaces the pairs by those of `line`. Throws `Exception` and then keeps what it had.
  void setParamLine(const std::string& line);

  /// The pairs in the order of the line.
  const Params& getParams() const noexcept { return params_; }

  /// `text` as a name or a value of a line.
  static std::string quote(std::string_view text);

private:
  Params params_;
};

} // namespace Config
