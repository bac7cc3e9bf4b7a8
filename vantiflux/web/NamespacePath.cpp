#include <vantiflux/web/NamespacePath.h>

#include <algorithm>
#include <set>
#include <utility>

#include <vantiflux/core/InvalidNamespaceException.h>
#include <vantiflux/core/Labels.h>
#include <vantiflux/core/Namespace.h>
#include <vantiflux/core/Root.h>

namespace Vantiflux {

namespace {

/// Looks for a way through labels that may hold a "/".
class Search {
public:
  Search(const std::string& path, std::vector<NamespacePath::Step>& steps)
      : path_(Labels::lower(path)), steps_(steps) {}

  bool from(Namespace& space, std::size_t start) {
    if (failed_.contains({&space, start}))
      return false;
    for (const NamespacePath::Step& step : choices(space, start)) {
      steps_.push_back(step);
      if (step.end == path_.size() || from(*step.space, step.end + 1))
        return true;
      steps_.pop_back();
    }
    failed_.insert({&space, start});
    return false;
  }

private:
  std::vector<NamespacePath::Step> choices(Namespace& space, std::size_t start) const {
    std::vector<NamespacePath::Step> result;
    for (Namespace* const child : space.getNamespaces()) {
      const std::string label = Labels::lower(child->getLabel());
      const std::size_t end = start + label.size();
      if (end <= path_.size() && path_.compare(start, label.size(), label) == 0 &&
          (end == path_.size() || path_[end] == '/'))
        result.push_back({child, end});
    }
    std::sort(result.begin(), result.end(), [](const auto& a, const auto& b) { return a.end < b.end; });
    return result;
  }

  const std::string path_;
  std::vector<NamespacePath::Step>& steps_;
  std::set<std::pair<const Namespace*, std::size_t>> failed_;
};

} // namespace

NamespacePath::NamespacePath(Root& root, const std::string& path) : root_(root) {
  if (path.empty())
    return;
  try {
    Namespace* at = &root;
    for (std::size_t start = 0; start <= path.size(); start = steps_.back().end + 1) {
      const std::size_t end = std::min(path.find('/', start), path.size());
      at = at->getNamespace(path.substr(start, end - start));
      steps_.push_back({at, end});
    }
  } catch (const InvalidNamespaceException&) {
    steps_.clear();
    if (!Search(path, steps_).from(root, 0))
      throw;
  }
}

Namespace& NamespacePath::target() const {
  return steps_.empty() ? root_ : *steps_.back().space;
}

std::string NamespacePath::join(const std::string& parent, const std::string& label) {
  return parent.empty() ? label : parent + '/' + label;
}

} // namespace Vantiflux
