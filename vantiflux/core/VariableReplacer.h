#pragma once

#include <memory>
#include <string>
#include <utility>
#include <vector>

#include <vantiflux/Export.h>
#include <vantiflux/platform/config/ParamBag.h>

namespace Vantiflux {

/// A text with variables in braces: "{NamespaceLabel}/{SlotLabel}". A backslash before a brace makes it a plain one; an
/// unclosed brace is a plain one too. There is no malformed template.
/// *Threads.* `toString` from many at a time.
class VANTIFLUX_API VariableReplacer {
public:
  class VANTIFLUX_API Element {
  public:
    virtual ~Element();
    virtual std::string toString(const Config::ParamBag& params) const = 0;
  };

  /// A literal.
  class VANTIFLUX_API Text final : public Element {
  public:
    explicit Text(std::string text) : text_(std::move(text)) {}
    std::string toString(const Config::ParamBag&) const override { return text_; }

  private:
    std::string text_;
  };

  /// Replaced by the parameter of its name, or by nothing when there is none.
  class VANTIFLUX_API Variable final : public Element {
  public:
    explicit Variable(std::string name) : name_(std::move(name)) {}
    std::string toString(const Config::ParamBag& params) const override;

  private:
    std::string name_;
  };

  void setFormat(const std::string& format);
  std::string toString(const Config::ParamBag& params) const;
  void clear() { elements_.clear(); }

  /// Without the backslashes that stand directly before a brace.
  std::string stripEscapes(const std::string& text) const;

private:
  void addText(const std::string& text);

  std::vector<std::unique_ptr<Element>> elements_;
};

} // namespace Vantiflux
