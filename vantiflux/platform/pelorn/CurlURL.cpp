#include <vantiflux/platform/pelorn/CurlURL.h>

#include <memory>
#include <new>

namespace Pelorn {

CurlURL::CurlURL(const std::string& url, unsigned flags) : handle_(curl_url()) {
  if (!handle_)
    throw std::bad_alloc();
  valid_ = curl_url_set(handle_, CURLUPART_URL, url.c_str(), CURLU_URLENCODE | flags) == CURLUE_OK;
}

CurlURL::~CurlURL() {
  curl_url_cleanup(handle_);
}

bool CurlURL::resolve(const std::string& reference) {
  return valid_ && curl_url_set(handle_, CURLUPART_URL, reference.c_str(), CURLU_URLENCODE) == CURLUE_OK;
}

bool CurlURL::get(CURLUPart part, std::string& text, unsigned flags) const {
  char* raw = nullptr;
  if (!valid_ || curl_url_get(handle_, part, &raw, flags) != CURLUE_OK)
    return false;
  const std::unique_ptr<char, void (*)(void*)> owner(raw, curl_free);
  text = raw;
  return true;
}

} // namespace Pelorn
