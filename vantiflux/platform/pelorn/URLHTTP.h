#pragma once

#include <memory>
#include <string>
#include <vantiflux/platform/pelorn/URLImpl.h>

namespace Pelorn {

/// A document of a web server. Reading it takes 10 seconds at most to connect, 60 in all. It
/// follows up to five redirections, to http and https only. A status of 400 or above is a failure.
class URLHTTP : public URLImpl {
public:
  ~URLHTTP() override;

  /// Null when `url` is not a well-formed http or https URL.
  static std::shared_ptr<const URLHTTP> parse(const std::string& url);

  std::string toString() const override { return url_; }
  std::string label() const override;
  std::string read(const Notifier* stop = nullptr) const override;
  bool mayBlock() const noexcept override { return true; }
  std::shared_ptr<const URLImpl> resolve(const std::string& reference) const override;

private:
  explicit URLHTTP(std::string url);

  std::string url_;
};

} // namespace Pelorn
