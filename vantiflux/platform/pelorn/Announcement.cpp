#include <vantiflux/platform/pelorn/Announcement.h>

#include <sstream>

#include <vantiflux/platform/pelorn/Gather.h>
#include <vantiflux/platform/pelorn/ibinstream.h>
#include <vantiflux/platform/pelorn/obinstream.h>

namespace Pelorn {

namespace {

constexpr unsigned magic = 0x58465456; // "VTFX"
constexpr unsigned short layout = 1;

} // namespace

std::string Announcement::encode() const {
  Gather bytes;
  GatherBuf buffer(&bytes);
  std::ostream stream(&buffer);
  obinstream out(stream);
  out << magic << layout << static_cast<unsigned short>(kind) << major << minor << id << port
      << static_cast<unsigned long>(instance) << protocol;
  return bytes.text();
}

std::optional<Announcement> Announcement::decode(std::string_view bytes) {
  ViewBuf buffer(bytes);
  std::istream stream(&buffer);
  ibinstream in(stream);
  unsigned seenMagic = 0;
  unsigned short seenLayout = 0;
  unsigned short kind = 0;
  unsigned long instance = 0;
  Announcement result;
  in >> seenMagic >> seenLayout >> kind >> result.major >> result.minor >> result.id >> result.port >> instance >>
      result.protocol;
  if (!in || seenMagic != magic || seenLayout != layout || kind > static_cast<unsigned short>(Kind::Answer) ||
      result.protocol.size() > maxProtocol)
    return std::nullopt;
  result.kind = static_cast<Kind>(kind);
  result.instance = instance;
  return result;
}

} // namespace Pelorn
