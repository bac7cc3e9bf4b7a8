#pragma once

#include <istream>
#include <memory>
#include <string>
#include <utility>
#include <vantiflux/Export.h>

namespace Pelorn {

class URLImpl;

/// The place of a document: a shared, immutable value, or empty. Copies are cheap. Threads: as for a `shared_ptr`.
class VANTIFLUX_API URL {
public:
  URL() noexcept = default;
  URL(std::shared_ptr<const URLImpl> impl) noexcept : impl_(std::move(impl)) {} // NOLINT: a URL is its implementation

  /// `URLImpl::create`, but throws `URLImpl::Exception` with "Cannot parse URL" in place of a null result.
  static URL parse(const std::string& text, const URL& base = URL());

  bool empty() const noexcept { return impl_ == nullptr; }
  /// The absolute form with special characters coded, empty for the empty URL. Parsing it
  /// gives the same place.
  std::string toString() const;

  /// The document as a stream, from the beginning. The empty URL stands for `URLFile::_cwd`. Throws
  /// `URLImpl::Exception`.
  std::unique_ptr<std::istream> open() const;

  const URLImpl* get() const noexcept { return impl_.get(); }
  const URLImpl* operator->() const noexcept { return impl_.get(); }

  bool operator==(const URL& other) const { return toString() == other.toString(); }

private:
  std::shared_ptr<const URLImpl> impl_;
};

} // namespace Pelorn
