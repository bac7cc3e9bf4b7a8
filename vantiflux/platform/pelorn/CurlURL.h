#pragma once

#include <curl/curl.h>
#include <string>

namespace Pelorn {

/// A URL taken apart by libcurl. Bare blanks and the like are coded; a URL without a known kind is not valid.
class CurlURL {
public:
  /// The flags are the library's, besides coding.
  explicit CurlURL(const std::string& url, unsigned flags = 0);
  ~CurlURL();
  CurlURL(const CurlURL&) = delete;
  CurlURL& operator=(const CurlURL&) = delete;

  bool valid() const noexcept { return valid_; }

  /// Replaces the URL by a reference relative to it. False when that is malformed.
  bool resolve(const std::string& reference);

  /// A part of the URL; false when it has none.
  bool get(CURLUPart part, std::string& text, unsigned flags = 0) const;

private:
  CURLU* handle_;
  bool valid_;
};

} // namespace Pelorn
