// What arrives on a connection and from the multicast group: bytes in pieces of the input's own choice. Events that are
// understood can be sent again; a large state is received to its place as a network node does it.
#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <string>
#include <string_view>

#include <vantiflux/net/SetStateEvent.h>
#include <vantiflux/platform/pelorn/Announcement.h>
#include <vantiflux/platform/pelorn/FrameReader.h>
#include <vantiflux/values/BasicCodec.h>
#include <vantiflux/values/BasicDecoder.h>

using namespace Vantiflux;

namespace {

void announcement(std::string_view bytes) {
  const auto heard = Pelorn::Announcement::decode(bytes);
  if (heard.has_value() && Pelorn::Announcement::decode(heard->encode()) != heard)
    std::abort();
}

void again(Pelorn::Event& event) {
  const std::string bytes = event.encode()->bytes.str();
  const auto second = Pelorn::Event::decode(std::string_view(bytes).substr(Pelorn::Frame::prefix));
  if (second == nullptr || second->encode()->bytes.str() != bytes)
    std::abort();
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  static const auto decoder = [] {
    auto made = BasicCodec::findCodec("SFImage")->createDecoder();
    made->initialize("image", "");
    return std::shared_ptr<BasicDecoder>(std::move(made));
  }();
  if (size == 0)
    return 0;
  const std::size_t piece = std::size_t{data[0]} + 1;
  std::string_view bytes(reinterpret_cast<const char*>(data) + 1, size - 1);
  announcement(bytes);
  Pelorn::FrameReader reader;
  reader.setBulkHandler(
      [](std::string_view& head, std::size_t length, std::span<std::byte>& rest) -> std::unique_ptr<Pelorn::Event> {
        std::size_t stateLength = 0;
        std::string_view state = head;
        auto event = SetStateEvent::begin(state, length, stateLength);
        auto value =
            event == nullptr || stateLength > (std::size_t{1} << 24) ? nullptr : decoder->begin(state, stateLength);
        if (value == nullptr)
          return nullptr;
        rest = value->block();
        head = state;
        event->setPending(decoder, std::move(value));
        return event;
      });
  while (!bytes.empty() && !reader.failed()) {
    const auto room = reader.room();
    const std::size_t count = std::min({piece, room.size(), bytes.size()});
    if (count == 0)
      break;
    std::memcpy(room.data(), bytes.data(), count);
    reader.filled(count);
    bytes.remove_prefix(count);
    while (const auto event = reader.next()) {
      const auto* const state = dynamic_cast<const SetStateEvent*>(event.get());
      if (state == nullptr)
        again(*event);
      else
        decoder->decodeAndPush(*state);
    }
  }
  return 0;
}
