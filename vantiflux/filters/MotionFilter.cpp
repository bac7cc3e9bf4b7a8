#include <vantiflux/filters/MotionFilterNode.h>

#include <algorithm>

namespace Vantiflux {

using Filter = MotionFilterNode::Filter;
using Point = MotionFilterNode::Point;

namespace {

// Component by component, four side by side.
void add(Point& sum, const Point& p) {
  for (std::size_t c = 0; c < sum.size(); ++c)
    sum[c] += p[c];
}

} // namespace

Filter::Filter(std::uint32_t size) : points_(std::max<std::uint32_t>(size, 1)) {}

Filter::~Filter() = default;

void Filter::filter(unsigned int monotonyLength, Point& p) {
  if (first_)
    std::fill(points_.begin(), points_.end(), p);
  first_ = false;
  index_ = static_cast<std::size_t>(index_) + 1 == points_.size() ? 0 : index_ + 1;
  points_[static_cast<std::size_t>(index_)] = p;

  if (isMonotone(monotonyLength)) {
    averageLength_ = static_cast<std::int32_t>(monotonyLength - 1U); // 0 gives -1, which stays until the next run
    return;
  }
  if (static_cast<std::uint32_t>(averageLength_) < points_.size())
    ++averageLength_;
  getAverage(p);
}

bool Filter::isMonotone(unsigned int length) const {
  if (length == 0)
    return true;
  // Two steps beyond the seam nothing new is seen any more.
  const std::size_t steps = std::min<std::size_t>(length - 1, points_.size() + 1);
  return hasRun(steps, [](float older, float newer) { return older >= newer; }) ||
         hasRun(steps, [](float older, float newer) { return newer >= older; });
}

// A comparison with a NaN ends no run. Once across the seam, the walk stays at the last place.
template <class Ends>
bool Filter::hasRun(std::size_t steps, Ends ends) const {
  for (std::size_t c = 0; c < Point().size(); ++c) {
    float newer = points_[static_cast<std::size_t>(index_)][c];
    std::int32_t place = index_;
    std::size_t step = 0;
    for (; step < steps; ++step) {
      place = std::max(place - 1, -1);
      const float older = place < 0 ? points_.back()[c] : points_[static_cast<std::size_t>(place)][c];
      if (ends(older, newer))
        break;
      newer = older;
    }
    if (step == steps)
      return true;
  }
  return false;
}

void Filter::getAverage(Point& result) const {
  Point sum{};
  const std::int32_t beforeSeam = std::min(averageLength_, index_ + 1);
  for (std::int32_t i = 0; i < beforeSeam; ++i)
    add(sum, points_[static_cast<std::size_t>(index_ - i)]);
  for (std::int32_t i = beforeSeam; i < averageLength_; ++i)
    add(sum, points_.back());
  const auto divisor = static_cast<float>(static_cast<std::uint32_t>(averageLength_));
  for (std::size_t c = 0; c < sum.size(); ++c)
    result[c] = sum[c] / divisor;
}

} // namespace Vantiflux
