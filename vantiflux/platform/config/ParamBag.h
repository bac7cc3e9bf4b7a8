#pragma once

#include <cstddef>
#include <string>
#include <unordered_map>
#include <utility>
#include <vantiflux/Export.h>
#include <vector>

namespace Config {

/// Name and value.
using Param = std::pair<std::string, std::string>;
using Params = std::vector<Param>;

/// A small bag of texts under names. Names are unique and case-sensitive. The order is that in which the names were
/// first set. Threads: as a standard container.
class VANTIFLUX_API ParamBag {
public:
  /// Adds a parameter, or replaces the value of the one with that name, which keeps its place.
  void setParam(const std::string& name, const std::string& value);
  /// The same; a null pointer counts as the empty text.
  void setParam(const char* name, const char* value);

  /// The value of the parameter, or `fallback` (which may be null) when there is none. The pointer is good until the
  /// bag changes.
  const char* getParam(const char* name, const char* fallback) const;
  std::string getParam(const std::string& name, const std::string& fallback) const;

  bool hasParam(const std::string& name) const { return find(name) != nullptr; }
  const Params& getParams() const noexcept { return params_; }

  void clear() noexcept;
  bool empty() const noexcept { return params_.empty(); }
  std::size_t size() const noexcept { return params_.size(); }

  Params::const_iterator begin() const noexcept { return params_.begin(); }
  Params::const_iterator end() const noexcept { return params_.end(); }

  bool operator==(const ParamBag& other) const { return params_ == other.params_; }

private:
  const std::string* find(const std::string& name) const;

  Params params_;
  std::unordered_map<std::string, std::size_t> index_; // place of each name in params_
};

} // namespace Config
