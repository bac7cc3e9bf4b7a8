#pragma once

#include <memory>
#include <string>
#include <type_traits>

#include <vantiflux/core/BasicFieldAccessor.h>
#include <vantiflux/core/Node.h>

namespace Vantiflux {

/// Reaches a field of node class N with values of type T through the class's own setter and getter. A setter takes
/// numbers by value and everything else by constant reference; a getter returns a copy, so that it can lock.
template <class N, class T>
class FieldAccessor final : public BasicFieldAccessor {
public:
  using Param = std::conditional_t<std::is_arithmetic_v<T>, T, const T&>;
  using Setter = void (N::*)(Param);
  using Getter = T (N::*)() const;

  FieldAccessor(Setter setter, Getter getter) : setter_(setter), getter_(getter) {}

  void set(Node& node, const std::string& text) const override {
    T value{};
    string2Value(text, value);
    (dynamic_cast<N&>(node).*setter_)(value);
  }

  std::string get(const Node& node) const override { return value2String((dynamic_cast<const N&>(node).*getter_)()); }

  bool sameValue(const Node& node, const std::string& text) const override {
    T value{};
    string2Value(text, value);
    const T current = (dynamic_cast<const N&>(node).*getter_)();
    return current == value || value2String(current) == value2String(value);
  }

  std::unique_ptr<BasicFieldAccessor> clone() const override { return std::make_unique<FieldAccessor>(*this); }

private:
  Setter setter_;
  Getter getter_;
};

} // namespace Vantiflux
