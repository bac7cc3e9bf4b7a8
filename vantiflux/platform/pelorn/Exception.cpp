#include <vantiflux/platform/pelorn/Exception.h>

#include <cstring>
#include <utility>

namespace Pelorn {

namespace {

// strerror_r comes in two kinds: one returns the text, the other fills the buffer and returns a status.
[[maybe_unused]] const char* pick(const char* text, const char*) {
  return text;
}
[[maybe_unused]] const char* pick(int status, const char* buffer) {
  return status == 0 ? buffer : "Unknown error";
}

} // namespace

std::string errorText(int error) {
  char buffer[256] = "";
  return pick(strerror_r(error, buffer, sizeof buffer), buffer);
}

Exception::Exception(std::string message) : message_(std::move(message)) {}
Exception::~Exception() = default;

IOException::IOException(const std::string& what, int error)
    : Exception(what + ": " + errorText(error)), code_(error) {}
IOException::~IOException() = default;

} // namespace Pelorn
