#pragma once

#include <algorithm>
#include <string>
#include <unordered_map>
#include <vector>

#include <vantiflux/core/Labels.h>

namespace Vantiflux {

/// Rules by one of their patterns, in list order: literal patterns by hash, the others one after the other.
template <class Rule>
class PatternIndex {
public:
  void add(const std::string& lowered, Rule* rule) { bucket(lowered).push_back(rule); }

  void erase(const std::string& lowered, const Rule* rule) {
    std::erase(bucket(lowered), rule);
    if (const auto found = literal_.find(lowered); found != literal_.end() && found->second.empty())
      literal_.erase(found);
  }

  /// The rules whose pattern matches the label, by their order of adding.
  std::vector<Rule*> matching(const std::string& label) const {
    const std::string lowered = Labels::lower(label);
    std::vector<Rule*> result;
    if (const auto found = literal_.find(lowered); found != literal_.end())
      result = found->second;
    const auto literals = static_cast<std::ptrdiff_t>(result.size());
    for (const auto& [pattern, rules] : patterns_)
      if (Labels::matchesLower(pattern, lowered))
        result.insert(result.end(), rules.begin(), rules.end());
    if (static_cast<std::ptrdiff_t>(result.size()) != literals)
      std::sort(result.begin(), result.end(), [](const Rule* a, const Rule* b) { return a->order < b->order; });
    return result;
  }

private:
  std::vector<Rule*>& bucket(const std::string& lowered) {
    return Labels::isPattern(lowered) ? patterns_[lowered] : literal_[lowered];
  }

  std::unordered_map<std::string, std::vector<Rule*>> literal_;
  std::unordered_map<std::string, std::vector<Rule*>> patterns_;
};

} // namespace Vantiflux
