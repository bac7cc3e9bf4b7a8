#pragma once

#include <cstddef>
#include <memory>

namespace Vantiflux {

/// How much files that include each other have brought into the tree, from the outermost one down.
struct InclusionTotal {
  std::size_t files = 0;
  std::size_t bytes = 0;
};

/// The part of one file in a total, for as long as the node that included it keeps its contents.
///
/// *Threads.* With the lock of structure held, which guards all totals.
class InclusionShare {
public:
  /// A few lines can include each other so that their number doubles with each level; so the whole is limited.
  static constexpr std::size_t maxFiles = 256;
  static constexpr std::size_t maxBytes = std::size_t{256} << 20;

  InclusionShare() = default;
  ~InclusionShare() { release(); }
  InclusionShare(const InclusionShare&) = delete;
  InclusionShare& operator=(const InclusionShare&) = delete;

  /// Takes the place of one file, in place of what was held; false, and nothing held, when the total is full.
  bool claim(const std::shared_ptr<InclusionTotal>& total);
  /// Adds its length; false, and nothing added, when that is too much.
  bool add(std::size_t bytes);
  void release();

  /// Null when nothing is held.
  const std::shared_ptr<InclusionTotal>& total() const noexcept { return total_; }

private:
  std::shared_ptr<InclusionTotal> total_;
  std::size_t bytes_ = 0;
};

} // namespace Vantiflux
