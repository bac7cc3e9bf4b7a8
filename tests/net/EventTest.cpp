// Events and announcements in their bytes, the queue of a connection, and what a reader makes of bytes that arrive.
#include <cstring>
#include <functional>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include <vantiflux/net/SetStateEvent.h>
#include <vantiflux/platform/pelorn/Announcement.h>
#include <vantiflux/platform/pelorn/FrameReader.h>
#include <vantiflux/platform/pelorn/HelloEvent.h>
#include <vantiflux/platform/pelorn/OutputQueue.h>

namespace {

using namespace Vantiflux;
using namespace std::string_literals;
using Pelorn::Event;
using Pelorn::Frame;
using Pelorn::FrameReader;
using Pelorn::OutputQueue;

std::string bytesOf(Event& event) {
  return event.encode()->bytes.str();
}

const std::string removeBytes = "\x0c\0\0\0\x2e\x01\x02\0\x07\0\0\0\0\0\0\0"s;
const std::string stateBytes = "\x21\0\0\0\x2f\x01\x06\0\x07\0\0\0\0\0\0\0\xd2\x04\0\0\0\0\0\0\x05\0\0\0\0\0\0\0hello"s;

TEST(Event, HasTheseBytes) {
  SlotCommandEvent remove(CommandEvent::RemoveOutSlot, 7);
  EXPECT_EQ(bytesOf(remove), removeBytes);
  SetStateEvent state(CommandEvent::SetOutSlotState);
  state.setSlotId(7);
  state.setTimeStamp(1234);
  state.getState().append("hello", 5);
  EXPECT_EQ(bytesOf(state), stateBytes);
  state.getState().clear();
  EXPECT_EQ(bytesOf(state), "\x1c\0\0\0\x2f\x01\x06\0\x07\0\0\0\0\0\0\0\xd2\x04\0\0\0\0\0\0\0\0\0\0\0\0\0\0"s);
  AddSlotEvent add(CommandEvent::AddInSlot);
  add.setSlotId(1);
  add.setLabel("a/b");
  add.setDescription("d");
  add.setCodec("SFBool");
  EXPECT_EQ(bytesOf(add), "\x22\0\0\0\x2d\x01\x07\0\x01\0\0\0\0\0\0\0\x03\0\0\0a/b\x01\0\0\0d\x06\0\0\0SFBool"s);
  Pelorn::HelloEvent hello("P", "C", 2, 1);
  hello.setLink(0x0102030405060708, -2);
  const std::string text = bytesOf(hello);
  EXPECT_EQ(text.substr(4, 16), "\x01\0\x01\0\0\0P\x01\0\0\0C\x02\0\x01\0"s);
  EXPECT_EQ(text.substr(text.size() - 10), "\x08\x07\x06\x05\x04\x03\x02\x01\xfe\xff"s);
  Pelorn::VerdictEvent verdict(true);
  EXPECT_EQ(bytesOf(verdict), "\x03\0\0\0\x02\0\x01"s);

  Pelorn::Announcement announcement;
  announcement.protocol = "P";
  announcement.major = 2;
  announcement.id = -1;
  announcement.port = 0x1234;
  announcement.instance = 9;
  EXPECT_EQ(announcement.encode(), "VTFX\x01\0\0\0\x02\0\0\0\xff\xff\x34\x12\x09\0\0\0\0\0\0\0\x01\0\0\0P"s);
  EXPECT_EQ(Pelorn::Announcement::decode(announcement.encode()), announcement);
  const std::string whole = announcement.encode();
  for (std::size_t size = 0; size < whole.size(); ++size)
    EXPECT_EQ(Pelorn::Announcement::decode(whole.substr(0, size)), std::nullopt);
}

TEST(Event, IsReadWithWhatIsThere) {
  const auto decode = [](std::string bytes) { return Event::decode(bytes); };
  const auto state = decode(stateBytes.substr(4));
  EXPECT_EQ(dynamic_cast<SetStateEvent&>(*state).getState().text(), "hello");
  // A state that is longer than the event stays empty; a field that is cut short makes the event unreadable.
  const auto longer = decode(stateBytes.substr(4, stateBytes.size() - 5));
  EXPECT_TRUE(dynamic_cast<SetStateEvent&>(*longer).getState().empty());
  for (std::size_t size = 0; size < 28; ++size)
    EXPECT_EQ(decode(stateBytes.substr(4, size)), nullptr) << size;
  EXPECT_EQ(decode("\x2c\x02\x01\0"s), nullptr); // no such type
  EXPECT_NE(decode("\x2c\x01\x01\0and more"s), nullptr);
  EXPECT_EQ(decode("\x2d\x01\x01\0\x01\0\0\0\0\0\0\0\xff\xff\xff\xff"s + "text"), nullptr); // a string of 4 GiB
}

/// Feeds bytes in pieces of that size, and notes what comes out.
std::vector<std::string> read(FrameReader& reader, const std::string& bytes, std::size_t piece) {
  std::vector<std::string> result;
  for (std::size_t at = 0; at < bytes.size() && !reader.failed();) {
    const auto room = reader.room();
    if (room.empty())
      break;
    const std::size_t count = std::min({piece, room.size(), bytes.size() - at});
    std::memcpy(room.data(), bytes.data() + at, count);
    reader.filled(count);
    at += count;
    while (const auto event = reader.next()) {
      const auto* const state = dynamic_cast<const SetStateEvent*>(event.get());
      result.push_back(state == nullptr ? "command" : state->getState().text());
    }
  }
  return result;
}

TEST(FrameReader, FindsEventsWhereverTheBytesAreParted) {
  SetStateEvent large(CommandEvent::SetOutSlotState);
  const std::string text(300'000, 'x');
  large.getState().append(text.data(), text.size());
  const std::string bytes = removeBytes + stateBytes + bytesOf(large) + stateBytes + removeBytes;
  const std::vector<std::string> expected{"command", "hello", text, "hello", "command"};
  for (const std::size_t piece :
       {std::size_t{1}, std::size_t{3}, std::size_t{1000}, std::size_t{70'000}, bytes.size()}) {
    FrameReader reader;
    EXPECT_EQ(read(reader, bytes, piece), expected) << piece;
  }
  const std::string two = removeBytes + stateBytes;
  for (std::size_t split = 1; split < two.size(); ++split) {
    FrameReader reader;
    auto found = read(reader, two.substr(0, split), two.size());
    const auto rest = read(reader, two.substr(split), two.size());
    found.insert(found.end(), rest.begin(), rest.end());
    EXPECT_EQ(found, (std::vector<std::string>{"command", "hello"})) << split;
  }
}

TEST(FrameReader, ReceivesTheBulkOfALargeEventToItsPlace) {
  SetStateEvent large(CommandEvent::SetOutSlotState);
  std::string text(100'000, 'x');
  text.back() = 'z';
  large.getState().append(text.data(), text.size());
  const std::string bytes = removeBytes + bytesOf(large) + stateBytes;
  for (const std::size_t piece : {std::size_t{1}, std::size_t{700}, bytes.size() - 100}) {
    FrameReader reader;
    std::string place;
    reader.setBulkHandler([&](std::string_view& head, std::size_t length, std::span<std::byte>& rest) {
      std::size_t size = 0;
      auto event = SetStateEvent::begin(head, length, size);
      place.resize(size);
      rest = std::as_writable_bytes(std::span(place));
      return event;
    });
    EXPECT_EQ(read(reader, bytes, piece), (std::vector<std::string>{"command", "", "hello"})) << piece;
    EXPECT_EQ(place, text);
  }
}

TEST(FrameReader, FailsForLengthsThatCannotBe) {
  for (const std::string& bytes : {"\0\0\0\0"s, "\x01\0\0\0"s, "\xff\xff\xff\xff"s, "\x02\0\0\0\xff\x7f"s}) {
    FrameReader reader;
    EXPECT_EQ(read(reader, bytes + "more", 100), std::vector<std::string>());
    EXPECT_TRUE(reader.failed() || reader.room().empty());
  }
  FrameReader limited;
  limited.setLimit(10);
  EXPECT_TRUE(read(limited, removeBytes, 100).empty());
  EXPECT_TRUE(limited.failed());
}

Frame::Pointer frame(std::uint64_t number, char mark, std::size_t size) {
  auto made = std::make_shared<Frame>();
  made->bytes.append(std::string(size, mark).data(), size);
  made->supersedes = number;
  return made;
}

std::string marks(OutputQueue& queue) {
  std::vector<Frame::Pointer> batch;
  queue.take(batch, std::size_t{1} << 30);
  std::string result;
  for (const auto& taken : batch)
    for (const char mark : taken->bytes.text())
      if (result.empty() || result.back() != mark)
        result += mark;
  return result;
}

TEST(OutputQueue, ReplacesWaitingStatesWhenItIsFullAndDropsNoCommand) {
  constexpr std::size_t mega = std::size_t{1} << 20;
  OutputQueue queue;
  for (int i = 0; i < 3; ++i)
    queue.push(frame(1, static_cast<char>('a' + i), mega)); // room for all: none is lost
  queue.push(frame(0, 'C', 10));
  for (int i = 0; i < 9; ++i)
    queue.push(frame(2, static_cast<char>('0' + i), mega));
  queue.push(frame(1, 'd', mega)); // full: takes the place of the latest of its slot
  queue.push(frame(0, 'D', 10));
  queue.push(frame(3, 'x', mega)); // the first of its slot
  queue.push(frame(3, 'y', mega));
  EXPECT_EQ(marks(queue), "abdC0128Dy");
  // Empty again, all is as before, although the numbers are known.
  queue.push(frame(1, 'e', 10));
  queue.push(frame(1, 'f', 10));
  EXPECT_EQ(marks(queue), "ef");
  // Small states share frames and are not replaced then. When the queue is full, those that come are.
  for (int i = 0; i < 100'000; ++i)
    queue.push(frame(i % 2 == 0 ? 1 : 2, i % 2 == 0 ? 'a' : 'b', 100));
  EXPECT_LE(queue.bytes(), OutputQueue::fullAt + 200);
  queue.push(frame(0, 'C', 10));
  queue.push(frame(1, 'c', 10));
  queue.push(frame(2, 'd', 10));
  const std::string all = marks(queue);
  EXPECT_EQ(all.substr(0, 4) + all.substr(all.size() - 4), "ababbcdC");
  // What is on its way is not replaced.
  std::vector<Frame::Pointer> batch;
  for (int i = 0; i < 9; ++i)
    queue.push(frame(1, static_cast<char>('0' + i), mega));
  queue.take(batch, 1);
  queue.push(frame(1, 'g', mega));
  queue.push(frame(1, 'h', mega));
  EXPECT_EQ(marks(queue), "1234568h");
  // Commands that nobody takes end the connection.
  bool goes = true;
  for (int i = 0; i < 65 && goes; ++i)
    goes = queue.push(frame(0, 'c', mega));
  EXPECT_FALSE(goes);
}

} // namespace
