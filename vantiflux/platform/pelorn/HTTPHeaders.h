#pragma once

#include <string>
#include <string_view>

#include <vantiflux/Export.h>
#include <vantiflux/platform/config/ParamBag.h>

namespace Pelorn {

/// The headers of a request, of a reply or of a part of a message: as Config::ParamBag, but names are found in whatever
/// case they are asked for. The order is that in which names were first set. Threads: as a standard container.
class VANTIFLUX_API HTTPHeaders {
public:
  /// Adds a header, or replaces the value of the one with that name, which keeps its place and its spelling.
  void setParam(const std::string& name, const std::string& value);
  /// Adds a header as it was received: one more value of the same name is joined to the first by ", ".
  void addParam(std::string_view name, std::string_view value);

  /// The value, or `fallback` (which may be null) when there is no such header. Good until the headers change.
  const char* getParam(const char* name, const char* fallback) const;
  std::string getParam(const std::string& name, const std::string& fallback) const;
  /// The same, null when there is none.
  const std::string* findParam(std::string_view name) const;
  bool hasParam(std::string_view name) const { return findParam(name) != nullptr; }

  /// Whether the value, a list of words with commas between them, holds the word in any case.
  bool hasWord(std::string_view name, std::string_view word) const;

  const Config::Params& getParams() const noexcept { return params_; }
  void clear() noexcept { params_.clear(); }
  bool empty() const noexcept { return params_.empty(); }

private:
  Config::Params params_;
};

} // namespace Pelorn
