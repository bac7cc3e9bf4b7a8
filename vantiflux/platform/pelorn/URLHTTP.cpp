#include <vantiflux/platform/pelorn/URLHTTP.h>

#include <curl/curl.h>
#include <mutex>
#include <new>
#include <utility>
#include <vantiflux/platform/pelorn/CurlURL.h>
#include <vantiflux/platform/pelorn/Notifier.h>

namespace Pelorn {

namespace {

void initialiseCurl() {
  static std::once_flag once;
  std::call_once(once, [] { curl_global_init(CURL_GLOBAL_DEFAULT); });
}

/// Called by the library with a piece of the document; a result other than the size ends the transfer. No exception may
/// leave it.
std::size_t append(char* data, std::size_t, std::size_t size, void* target) noexcept {
  auto& document = *static_cast<std::string*>(target);
  if (size > URLImpl::maxDocument - document.size())
    return 0;
  try {
    document.append(data, size);
  } catch (const std::bad_alloc&) {
    return 0;
  }
  return size;
}

void configure(CURL* handle, const std::string& url, std::string& document) {
  curl_easy_setopt(handle, CURLOPT_URL, url.c_str());
  curl_easy_setopt(handle, CURLOPT_PROTOCOLS_STR, "http,https");
  curl_easy_setopt(handle, CURLOPT_REDIR_PROTOCOLS_STR, "http,https");
  curl_easy_setopt(handle, CURLOPT_FOLLOWLOCATION, 1L);
  curl_easy_setopt(handle, CURLOPT_MAXREDIRS, 5L);
  curl_easy_setopt(handle, CURLOPT_FAILONERROR, 1L);
  curl_easy_setopt(handle, CURLOPT_NOSIGNAL, 1L);
  curl_easy_setopt(handle, CURLOPT_QUICK_EXIT, 1L); // a look-up that hangs is left to itself
  curl_easy_setopt(handle, CURLOPT_CONNECTTIMEOUT, 10L);
  curl_easy_setopt(handle, CURLOPT_TIMEOUT, 60L);
  curl_easy_setopt(handle, CURLOPT_MAXFILESIZE_LARGE, static_cast<curl_off_t>(URLImpl::maxDocument));
  curl_easy_setopt(handle, CURLOPT_WRITEFUNCTION, append);
  curl_easy_setopt(handle, CURLOPT_WRITEDATA, &document);
}

/// A transfer under way: a group of one, since only a group can be waited for together with something else.
class Transfer {
public:
  explicit Transfer(CURL* handle) : group_(curl_multi_init()), handle_(handle) {
    if (!group_)
      throw std::bad_alloc();
    if (curl_multi_add_handle(group_, handle_) != CURLM_OK) {
      curl_multi_cleanup(group_);
      throw std::bad_alloc();
    }
  }
  ~Transfer() {
    curl_multi_remove_handle(group_, handle_);
    curl_multi_cleanup(group_);
  }
  Transfer(const Transfer&) = delete;
  Transfer& operator=(const Transfer&) = delete;

  /// To the end; `CURLE_ABORTED_BY_CALLBACK` when `stop` was signalled before.
  CURLcode run(const Notifier* stop) {
    curl_waitfd extra{stop ? stop->descriptor() : -1, CURL_WAIT_POLLIN, 0};
    int running = 1;
    while (curl_multi_perform(group_, &running) == CURLM_OK && running != 0) {
      if (curl_multi_poll(group_, &extra, stop ? 1 : 0, 1000, nullptr) != CURLM_OK)
        return CURLE_FAILED_INIT;
      if (extra.revents != 0)
        return CURLE_ABORTED_BY_CALLBACK;
    }
    int left = 0;
    const CURLMsg* const message = curl_multi_info_read(group_, &left);
    return message && message->msg == CURLMSG_DONE ? message->data.result : CURLE_FAILED_INIT;
  }

private:
  CURLM* group_;
  CURL* handle_;
};

} // namespace

URLHTTP::URLHTTP(std::string url) : url_(std::move(url)) {}

URLHTTP::~URLHTTP() = default;

std::shared_ptr<const URLHTTP> URLHTTP::parse(const std::string& url) {
  const CurlURL parsed(url);
  std::string scheme, host, whole;
  if (!parsed.get(CURLUPART_SCHEME, scheme) || (scheme != "http" && scheme != "https") ||
      !parsed.get(CURLUPART_HOST, host) || host.empty() || !parsed.get(CURLUPART_URL, whole))
    return nullptr;
  return std::shared_ptr<const URLHTTP>(new URLHTTP(whole));
}

std::shared_ptr<const URLImpl> URLHTTP::resolve(const std::string& reference) const {
  CurlURL parsed(url_);
  std::string whole;
  if (!parsed.resolve(reference) || !parsed.get(CURLUPART_URL, whole))
    return nullptr;
  return parse(whole);
}

std::string URLHTTP::label() const {
  const CurlURL parsed(url_);
  std::string host, path;
  return parsed.get(CURLUPART_HOST, host) && parsed.get(CURLUPART_PATH, path) ? host + path : "URL";
}

std::string URLHTTP::read(const Notifier* stop) const {
  initialiseCurl();
  const std::unique_ptr<CURL, void (*)(CURL*)> handle(curl_easy_init(), curl_easy_cleanup);
  if (!handle)
    throw std::bad_alloc();
  std::string document;
  configure(handle.get(), url_, document);
  const CURLcode result = Transfer(handle.get()).run(stop);
  if (result == CURLE_WRITE_ERROR || result == CURLE_FILESIZE_EXCEEDED)
    throw Exception("Cannot load " + label() + ": longer than " + std::to_string(maxDocument) + " bytes");
  if (result == CURLE_HTTP_RETURNED_ERROR) {
    long status = 0;
    curl_easy_getinfo(handle.get(), CURLINFO_RESPONSE_CODE, &status);
    throw Exception("Cannot load " + label() + ": status " + std::to_string(status));
  }
  if (result != CURLE_OK)
    throw Exception("Cannot load " + label() + ": " + curl_easy_strerror(result));
  return document;
}

} // namespace Pelorn
