#pragma once

#include <algorithm>
#include <cstdint>
#include <initializer_list>
#include <memory>
#include <mutex>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

#include <platform/support.h>
#include <vantiflux/core/InSlot.h>
#include <vantiflux/core/Namespace.h>
#include <vantiflux/core/Node.h>
#include <vantiflux/core/OutSlot.h>
#include <vantiflux/platform/pelorn/Exception.h>
#include <vantiflux/platform/pelorn/StreamBuf.h>
#include <vantiflux/values/SlotTypes.h>

namespace test {

using Messages = std::vector<std::string>;

/// Names and values of fields.
struct Fields : std::vector<std::pair<std::string, std::string>> {
  Fields(std::initializer_list<value_type> rows) : vector(rows) {}
};

/// Keeps the messages that reach an in-slot.
class Inbox : public Vantiflux::BasicInSlot::Listener {
public:
  Inbox() { slot.addListener(*this); }
  ~Inbox() override { slot.removeListener(*this); }

  void newData(Vantiflux::BasicInSlot&) override {
    if (slot.empty()) // two writers left one value for two calls
      return;
    const std::string message = slot.pop().getValue();
    const std::lock_guard guard(lock_);
    messages_.push_back(message);
  }

  Messages messages() const {
    const std::lock_guard guard(lock_);
    return messages_;
  }
  /// The messages, as soon as there are that many.
  Messages wait(std::size_t count) const {
    EXPECT_TRUE(eventually([&] { return messages().size() >= count; }));
    return messages();
  }
  /// All bytes, as soon as there are that many.
  std::string waitBytes(std::size_t size) const {
    const auto joined = [this] {
      std::string all;
      for (const std::string& message : messages())
        all += message;
      return all;
    };
    EXPECT_TRUE(eventually([&] { return joined().size() >= size; }));
    return joined();
  }

  Vantiflux::InSlot<std::string> slot;

private:
  mutable std::mutex lock_;
  Messages messages_;
};

/// An enabled namespace with one node "n", and, once routed, a writer to its "Data in" and a reader of its "Data out".
template <class NodeClass>
class Bench {
public:
  explicit Bench(const Fields& fields = Fields({})) {
    auto made = std::make_unique<NodeClass>();
    node = made.get();
    for (const auto& [name, value] : fields)
      node->setFieldValue(name, value);
    ns.enable();
    ns.addInSlot("reader", &inbox.slot);
    ns.addOutSlot("writer", &writer);
    ns.addNamespace("n", std::unique_ptr<Vantiflux::Node>(std::move(made)));
  }
  ~Bench() {
    ns.clear();
    ns.removeInSlot("reader", &inbox.slot);
    ns.removeOutSlot("writer", &writer);
  }

  void route() {
    ns.addRoute("n/Data out", "reader");
    ns.addRoute("writer", "n/Data in");
  }
  void unroute() {
    ns.removeRoute("writer", "n/Data in");
    ns.removeRoute("n/Data out", "reader");
  }
  bool reaches(Vantiflux::Node::State state) const {
    return eventually([&] { return node->getState() == state; });
  }
  /// Whether the node comes to be Running with a short info that begins so.
  bool runs(const std::string& info) const {
    return eventually([&] {
      return node->getState() == Vantiflux::Node::Running && node->getShortInfo().compare(0, info.size(), info) == 0;
    });
  }
  /// The port behind the last colon of the short info.
  std::uint16_t port() const {
    const std::string info = node->getShortInfo();
    return static_cast<std::uint16_t>(std::stoi(info.substr(info.rfind(':') + 1)));
  }
  Messages log() const {
    Messages lines;
    node->getLog(lines);
    return lines;
  }

  Vantiflux::Namespace ns;
  NodeClass* node = nullptr;
  Inbox inbox;
  Vantiflux::OutSlot<std::string> writer;
};

/// That many bytes, or fewer at the end of the stream, and not one more.
inline std::string receive(Pelorn::Socket& socket, std::size_t size) {
  std::string text;
  while (text.size() < size) {
    Pelorn::StreamBuf stream(socket, 1, std::min<std::size_t>(size - text.size(), 65536));
    if (stream.waitForData(30000) != Pelorn::WaitResult::Data)
      break;
    std::string part(static_cast<std::size_t>(stream.in_avail()), '\0');
    stream.sgetn(part.data(), static_cast<std::streamsize>(part.size()));
    text += part;
  }
  return text;
}

inline void send(Pelorn::Socket& socket, const std::string& text) {
  Pelorn::StreamBuf stream(socket);
  EXPECT_TRUE(stream.write(text, 30000));
}

} // namespace test
