#pragma once

#include <cstddef>
#include <string>
#include <vector>

namespace Vantiflux {

class Namespace;
class Root;

/// A path of labels with "/" between them, followed through the tree. Where labels hold a "/" themselves, the first way
/// is taken that leads to a namespace, with the shorter labels first.
///
/// *Threads.* With the root lock held, for as long as the result is used.
/// *Failure.* Throws InvalidNamespaceException when no way leads to a namespace.
class NamespacePath {
public:
  struct Step {
    Namespace* space;
    std::size_t end; ///< of its label, in the path
  };

  NamespacePath(Root& root, const std::string& path);

  /// The namespaces on the way, the target last; none for the root itself.
  const std::vector<Step>& steps() const noexcept { return steps_; }
  Namespace& target() const;

  /// The path of a child.
  static std::string join(const std::string& parent, const std::string& label);

private:
  Root& root_;
  std::vector<Step> steps_;
};

} // namespace Vantiflux
