#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <map>
#include <string>
#include <unordered_map>
#include <vector>

#include <vantiflux/core/Labels.h>

namespace Vantiflux {

/// Rules by one of their patterns, in list order: literal patterns by hash, the others one after the other.
template <class Rule>
class PatternIndex {
public:
  void add(const std::string& lowered, Rule* rule) {
    Rules& rules = index(lowered)[lowered];
    rules.emplace_hint(rules.end(), rule->order, rule);
  }

  void erase(const std::string& lowered, const Rule* rule) {
    Index& rulesByPattern = index(lowered);
    const auto found = rulesByPattern.find(lowered);
    if (found == rulesByPattern.end())
      return;
    found->second.erase(rule->order);
    if (found->second.empty())
      rulesByPattern.erase(found);
  }

  /// The rules whose pattern matches the label, by their order of adding.
  std::vector<Rule*> matching(const std::string& label) const {
    const std::string lowered = Labels::lower(label);
    std::vector<Rule*> result;
    if (const auto found = literal_.find(lowered); found != literal_.end())
      append(found->second, result);
    const auto literals = static_cast<std::ptrdiff_t>(result.size());
    for (const auto& [pattern, rules] : patterns_)
      if (Labels::matchesLower(pattern, lowered))
        append(rules, result);
    if (static_cast<std::ptrdiff_t>(result.size()) != literals)
      std::sort(result.begin(), result.end(), [](const Rule* a, const Rule* b) { return a->order < b->order; });
    return result;
  }

private:
  // By their order, and not in a vector: thousands of rules may share a pattern, and be removed one by one.
  using Rules = std::map<std::uint64_t, Rule*>;
  using Index = std::unordered_map<std::string, Rules>;

  Index& index(const std::string& lowered) { return Labels::isPattern(lowered) ? patterns_ : literal_; }

  static void append(const Rules& rules, std::vector<Rule*>& result) {
    for (const auto& [order, rule] : rules)
      result.push_back(rule);
  }

  Index literal_;
  Index patterns_;
};

} // namespace Vantiflux
