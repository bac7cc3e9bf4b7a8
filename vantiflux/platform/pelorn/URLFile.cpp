#include <vantiflux/platform/pelorn/URLFile.h>

#include <algorithm>
#include <cerrno>
#include <climits>
#include <curl/curl.h>
#include <fcntl.h>
#include <filesystem>
#include <memory>
#include <new>
#include <string_view>
#include <sys/stat.h>
#include <system_error>
#include <utility>
#include <vantiflux/platform/pelorn/CurlURL.h>
#include <vantiflux/platform/pelorn/Descriptor.h>

namespace Pelorn {

const URL URLFile::_cwd{std::make_shared<URLFile>("./")};

namespace {

bool isPlain(unsigned char c) {
  return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9') ||
         std::string_view("-._~/").find(static_cast<char>(c)) != std::string_view::npos;
}

std::string percentCoded(const std::string& path) {
  constexpr std::string_view digits = "0123456789ABCDEF";
  std::string result;
  for (const char c : path) {
    const auto byte = static_cast<unsigned char>(c);
    if (isPlain(byte)) {
      result += c;
    } else {
      result += '%';
      result += digits[byte >> 4];
      result += digits[byte & 15];
    }
  }
  return result;
}

[[noreturn]] void fail(const std::string& path, const std::string& why) {
  throw URLImpl::Exception("Cannot open " + path + ": " + why);
}

/// Opens a regular file of tolerable size. The path is followed once: what stands there may change at any moment.
Descriptor openRegular(const std::string& path) {
  // Without blocking, or a pipe with no writer would hold the caller up.
  Descriptor fd(::open(path.c_str(), O_RDONLY | O_NONBLOCK | O_NOCTTY | O_CLOEXEC));
  struct stat status {};
  if (!fd || ::fstat(fd.get(), &status) != 0)
    fail(path, errorText(errno));
  if (S_ISDIR(status.st_mode))
    fail(path, errorText(EISDIR));
  if (!S_ISREG(status.st_mode))
    fail(path, "not a regular file");
  if (static_cast<unsigned long long>(status.st_size) > URLImpl::maxDocument)
    fail(path, errorText(EFBIG));
  return fd;
}

} // namespace

URLFile::URLFile(std::string path) : path_(std::move(path)) {}

URLFile::~URLFile() = default;

std::shared_ptr<const URLFile> URLFile::parse(const std::string& url) {
  // What ".." leads to is for the file system to say: the folder before it may be a symbolic link.
  const CurlURL parsed(url, CURLU_PATH_AS_IS);
  std::string coded;
  if (!parsed.get(CURLUPART_PATH, coded) || coded.size() > 3 * PATH_MAX)
    return nullptr;
  int length = 0;
  const std::unique_ptr<char, void (*)(void*)> decoded(
      curl_easy_unescape(nullptr, coded.c_str(), static_cast<int>(coded.size()), &length), curl_free);
  if (!decoded)
    throw std::bad_alloc();
  std::string path(decoded.get(), static_cast<std::size_t>(length));
  if (path.empty() || path[0] != '/' || path.find('\0') != std::string::npos)
    return nullptr;
  return std::make_shared<URLFile>(std::move(path));
}

std::string URLFile::toString() const {
  return "file://" + percentCoded(absolutePath());
}

std::string URLFile::read(const Notifier*) const {
  const std::string path = absolutePath();
  const Descriptor fd = openRegular(path);
  std::string document;
  std::size_t size = 0;
  for (;;) {
    if (size == document.size())
      document.resize(std::min(std::max<std::size_t>(2 * size, 65536), maxDocument + 1));
    const ssize_t got = ::read(fd.get(), document.data() + size, document.size() - size);
    if (got < 0 && errno != EINTR)
      fail(path, errorText(errno));
    if (got == 0)
      break;
    size += static_cast<std::size_t>(std::max<ssize_t>(got, 0));
    if (size > maxDocument) // it has grown meanwhile
      fail(path, errorText(EFBIG));
  }
  document.resize(size);
  return document;
}

std::shared_ptr<const URLImpl> URLFile::resolve(const std::string& reference) const {
  if (reference[0] == '/')
    return std::make_shared<URLFile>(reference);
  const std::string own = absolutePath();
  std::string_view rest = reference;
  while (rest.size() > 2 && rest.substr(0, 2) == "./")
    rest.remove_prefix(2);
  return std::make_shared<URLFile>(own.substr(0, own.rfind('/') + 1) + std::string(rest));
}

std::string URLFile::absolutePath() const {
  if (!path_.empty() && path_[0] == '/')
    return path_;
  std::error_code error;
  std::string directory = std::filesystem::current_path(error).string();
  if (error)
    throw Exception("No working directory: " + error.message());
  if (directory.back() != '/')
    directory += '/';
  return directory + (path_ == "./" ? std::string() : path_);
}

} // namespace Pelorn
