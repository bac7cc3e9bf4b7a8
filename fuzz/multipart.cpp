// Bodies of several parts, as forms send them, and what their headers are made of. The first line is the boundary.
#include <cstdint>
#include <sstream>
#include <string>

#include <fuzz/Input.h>
#include <vantiflux/platform/pelorn/MultipartMessage.h>
#include <vantiflux/platform/pelorn/ProtocolHTTP.h>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t size) {
  fuzz::Input input(bytes, size);
  const std::string boundary = input.line();
  const std::string text = input.rest();
  std::istringstream stream(text);
  Pelorn::MultipartMessage message(stream, boundary);
  std::size_t total = 0;
  bool skips = false;
  do {
    for (const auto& [name, value] : message.headers.getParams()) {
      std::string token;
      Config::ParamBag parameters;
      Pelorn::ProtocolHTTP::parseTokenAndParameters(value, token, parameters);
    }
    std::string body;
    if (!skips)
      message.body(body);
    fuzz::require(boundary.empty() || body.find("\r\n--" + boundary) == std::string::npos);
    total += body.size();
    skips = !skips;
  } while (message.next());
  fuzz::require(total <= text.size());
  fuzz::require(!message.next());
  return 0;
}
