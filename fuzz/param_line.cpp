// Lines of parameters, as they come from a command or a web form: what was read can be written and read again, and a
// malformed line changes nothing.
#include <cstdint>
#include <string>

#include <fuzz/Input.h>
#include <vantiflux/platform/config/ParamLine.h>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t size) {
  const std::string text = fuzz::Input(bytes, size).rest();
  const Config::Params before = {{"before", "kept"}};
  Config::ParamLine line;
  line.setParamLine("before=kept");
  try {
    line.setParamLine(text);
  } catch (const Config::ParamLine::Exception& error) {
    fuzz::require(line.getParams() == before && *error.what() != '\0');
  }
  std::string written;
  for (const auto& [name, value] : line.getParams()) {
    fuzz::require(!name.empty());
    written += Config::ParamLine::quote(name) + '=' + Config::ParamLine::quote(value) + ' ';
  }
  Config::ParamLine again;
  again.setParamLine(written);
  fuzz::require(again.getParams() == line.getParams());
  // Any text at all can be a value.
  again.setParamLine("name=" + Config::ParamLine::quote(text));
  fuzz::require(again.getParams().at(0).second == text);
  return 0;
}
