#include <vantiflux/state/Inclusion.h>

namespace Vantiflux {

bool InclusionShare::claim(const std::shared_ptr<InclusionTotal>& total) {
  release();
  if (total->files >= maxFiles)
    return false;
  ++total->files;
  total_ = total;
  return true;
}

bool InclusionShare::add(std::size_t bytes) {
  if (!total_ || bytes > maxBytes - total_->bytes)
    return false;
  total_->bytes += bytes;
  bytes_ += bytes;
  return true;
}

void InclusionShare::release() {
  if (!total_)
    return;
  --total_->files;
  total_->bytes -= bytes_;
  total_.reset();
  bytes_ = 0;
}

} // namespace Vantiflux
