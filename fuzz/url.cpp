// Places of documents, as they come from saved files: read against bases of each kind, never opened. The absolute form
// names the same place again. The first line is the base.
#include <cstdint>
#include <string>

#include <fuzz/Input.h>
#include <vantiflux/platform/pelorn/URL.h>
#include <vantiflux/platform/pelorn/URLImpl.h>

namespace {

Pelorn::URL read(const std::string& text, const Pelorn::URL& base) {
  try {
    return Pelorn::URL::parse(text, base);
  } catch (const Pelorn::URLImpl::Exception&) {
    return {};
  }
}

void check(const Pelorn::URL& url) {
  if (url.empty())
    return;
  const std::string absolute = url.toString();
  for (const char c : absolute)
    fuzz::require(static_cast<unsigned char>(c) > ' ' && c != 0x7f);
  fuzz::require(read(absolute, {}).toString() == absolute);
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t size) {
  fuzz::Input input(bytes, size);
  const Pelorn::URL own = read(input.line(), {});
  const std::string text = input.rest();
  check(own);
  static const Pelorn::URL file = Pelorn::URL::parse("file:///home/someone/trees/main.vfx");
  static const Pelorn::URL http = Pelorn::URL::parse("http://localhost:8080/trees/main.vfx?a=b#c");
  for (const Pelorn::URL& base : {Pelorn::URL(), own, file, http})
    check(read(text, base));
  return 0;
}
