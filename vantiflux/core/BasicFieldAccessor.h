#pragma once

#include <locale>
#include <memory>
#include <sstream>
#include <string>

#include <vantiflux/Export.h>
#include <vantiflux/core/InvalidValueException.h>

namespace Vantiflux {

class Node;

/// Reaches one field of a node class as text.
/// Texts do not depend on the locale of the host.
/// *Threads.* As the setter and the getter behind it.
class VANTIFLUX_API BasicFieldAccessor {
public:
  virtual ~BasicFieldAccessor();

  /// Throws InvalidValueException for text that does not parse, leaving the node as it is, and std::bad_cast for a node
  /// of another class.
  virtual void set(Node& node, const std::string& text) const = 0;
  virtual std::string get(const Node& node) const = 0;
  /// Whether the node holds the value that the text stands for, or one that is written in the same way. Throws as
  /// `set`.
  virtual bool sameValue(const Node& node, const std::string& text) const = 0;
  virtual std::unique_ptr<BasicFieldAccessor> clone() const = 0;

  /// The whole text, but for white space at its start, must be a value in the form of the type's stream operator.
  template <class T>
  static void string2Value(const std::string& text, T& value) {
    std::istringstream stream(text);
    stream.imbue(std::locale::classic());
    T parsed{};
    char trailing = 0;
    if (!(stream >> parsed) || stream.get(trailing))
      throw InvalidValueException("Cannot convert \"" + text + "\" to a value");
    value = parsed;
  }
  /// "true", "on", "yes", "1", "t", "y" and "false", "off", "no", "0", "f", "n", in any case.
  static void string2Value(const std::string& text, bool& value);
  static void string2Value(const std::string& text, std::string& value) { value = text; }

  /// In the default format of the type's stream operator: six significant digits of a `float`.
  template <class T>
  static std::string value2String(const T& value) {
    std::ostringstream stream;
    stream.imbue(std::locale::classic());
    stream << value;
    return stream.str();
  }
  static std::string value2String(bool value) { return value ? "true" : "false"; }
  static std::string value2String(const std::string& value) { return value; }
};

} // namespace Vantiflux
