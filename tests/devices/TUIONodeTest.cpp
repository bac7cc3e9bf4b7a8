#include <vantiflux/devices/TUIONode.h>

#include <initializer_list>
#include <memory>
#include <string>
#include <tuple>
#include <vector>

#include <gtest/gtest.h>
#include <lo/lo.h>

#include <devices/TrackerSupport.h>
#include <vantiflux/platform/pelorn/UDP.h>

namespace {

using namespace Vantiflux;
using Ints = std::vector<long>;
using Floats = std::vector<float>;
using test::Bench;
using test::Collector;
using Vectors = std::vector<test::Vec3>;

/// A message, as it will stand in a bundle.
struct Message {
  Message(std::string to, const char* command) : address(std::move(to)), message(lo_message_new()) {
    lo_message_add_string(message, command);
  }
  Message& add(int value) {
    lo_message_add_int32(message, value);
    return *this;
  }
  Message& add(float value) {
    lo_message_add_float(message, value);
    return *this;
  }
  std::string address;
  lo_message message; // the bundle's
};

Message alive(const std::string& profile, const std::vector<int>& sessions) {
  Message message(profile, "alive");
  for (const int session : sessions)
    message.add(session);
  return message;
}
Message fseq(const std::string& profile, int number) {
  return Message(profile, "fseq").add(number);
}
/// The values from `first` on, in steps of 1; `object` is what stands before them, unless it is negative.
Message set(const std::string& profile, int session, int object, float first, int count) {
  Message message = Message(profile, "set").add(session);
  if (object >= 0)
    message.add(object);
  for (int i = 0; i < count; ++i)
    message.add(first + static_cast<float>(i));
  return message;
}

/// The datagram of a bundle.
std::string bundle(std::initializer_list<Message> messages) {
  const lo_bundle made = lo_bundle_new(LO_TT_IMMEDIATE);
  for (const Message& message : messages)
    lo_bundle_add_message(made, message.address.c_str(), message.message);
  std::string bytes(lo_bundle_length(made), '\0');
  lo_bundle_serialise(made, bytes.data(), nullptr);
  lo_bundle_free_recursive(made);
  return bytes;
}

/// A node on a free port, who sends to it, and what it has published.
struct Table : Bench<TUIONode> {
  Table() : Bench(test::Fields({{"Port", "0"}})), active(ns, "n/isActive") {
    EXPECT_TRUE(runs("Operating on "));
    sender.open("", 0, "127.0.0.1", port());
  }
  void send(const std::string& datagram) {
    EXPECT_TRUE(sender.send(datagram.data(), static_cast<int>(datagram.size())));
  }
  /// Sends it, and waits for the frame that it ends.
  void frame(std::initializer_list<Message> messages) {
    send(bundle(messages));
    ends();
  }
  void ends() {
    ++frames;
    EXPECT_EQ(active.atLeast(frames).size(), frames);
  }
  template <class T>
  T last(const std::string& label) const {
    std::vector<LabeledOutSlot> slots;
    ns.getOutSlots("n/" + label, slots);
    return dynamic_cast<OutSlot<T>&>(*slots.at(0).slot).getValue().getValue();
  }
  template <class T>
  std::vector<T> list(const std::string& label) const {
    const auto values = last<SmartPtr<std::vector<T>>>(label);
    return values ? *values : std::vector<T>();
  }
  long number() const { return last<long>("sequenceID"); }
  Ints sessions() const { return list<long>("eventMap"); }

  const Collector<bool> active;
  std::size_t frames = 0;
  Pelorn::UDP sender;
};

// What each value of a message means, by its place: 1, 2, 3 and so on are sent.
TEST(TUIONode, KnowsTheProfiles) {
  struct Expected {
    std::string profile;
    int object;
    int count;
    test::Vec3 position, velocity;
    float acceleration;
    test::Vec3 angle, angularVelocity;
    float angularAcceleration;
    test::Vec3 dimension;
    float volume;
  };
  Table table;
  int session = 0;
  for (const Expected& e : {
           Expected{"/tuio/2Dobj", 6, 8, {1, 2, 0}, {4, 5, 0}, 7, {3, 0, 0}, {6, 0, 0}, 8, {}, 0},
           Expected{"/tuio/2Dcur", -1, 5, {1, 2, 0}, {3, 4, 0}, 5, {}, {}, 0, {}, 0},
           Expected{"/tuio/2Dblb", -1, 11, {1, 2, 0}, {7, 8, 0}, 10, {3, 0, 0}, {9, 0, 0}, 11, {4, 5, 0}, 6},
           Expected{"/tuio/3Dobj", 9, 14, {1, 2, 3}, {7, 8, 9}, 13, {4, 5, 6}, {10, 11, 12}, 14, {}, 0},
           Expected{"/tuio/3Dcur", -1, 7, {1, 2, 3}, {4, 5, 6}, 7, {}, {}, 0, {}, 0},
           Expected{"/tuio/3Dblb", -1, 18, {1, 2, 3}, {11, 12, 13}, 17, {4, 5, 6}, {14, 15, 16}, 18, {7, 8, 9}, 10},
       }) {
    SCOPED_TRACE(e.profile);
    // A new session each time, or what another profile of the same kind has left would stay.
    table.frame({Message(e.profile, "source"), alive(e.profile, {++session}),
                 set(e.profile, session, e.object, 1, e.count), fseq(e.profile, 100 + session)});
    EXPECT_EQ(table.number(), 100 + session);
    EXPECT_EQ(table.list<long>("objectID"), Ints{std::max(e.object, 0)});
    EXPECT_EQ(table.list<test::Vec3>("position"), Vectors{e.position});
    EXPECT_EQ(table.list<test::Vec3>("velocity"), Vectors{e.velocity});
    EXPECT_EQ(table.list<float>("acceleration"), Floats{e.acceleration});
    EXPECT_EQ(table.list<test::Vec3>("angle"), Vectors{e.angle});
    EXPECT_EQ(table.list<test::Vec3>("angularVelocity"), Vectors{e.angularVelocity});
    EXPECT_EQ(table.list<float>("anglarAcceleration"), Floats{e.angularAcceleration});
    EXPECT_EQ(table.list<test::Vec3>("dimension"), Vectors{e.dimension});
    EXPECT_EQ(table.list<float>("volume"), Floats{e.volume});
    EXPECT_EQ(table.list<test::Vec3>("sightLoom"), (Vectors{{1, 2, static_cast<float>(session)}}));
    table.frame({alive(e.profile, {}), fseq(e.profile, 1)});
    EXPECT_EQ(table.sessions(), Ints());
    EXPECT_EQ(table.list<long>("removeID"), Ints{session});
  }
}

TEST(TUIONode, DropsWhatIsPaddedInTheProfilesBetween) {
  Table table;
  for (const std::string profile : {"/tuio/25Dobj", "/tuio/25Dcur", "/tuio/25Dblb"}) {
    table.send(bundle({alive(profile, {1}), fseq(profile, 1)}));
    table.frame({fseq("/tuio/2Dcur", 2)});
    EXPECT_EQ(table.sessions(), Ints());
    EXPECT_EQ(table.log().back(), "TUIO: malformed message: " + profile + ": argument 1 is missing");
  }
  // A sender that does not pad the address is understood, and one whose command is a symbol.
  const std::string zero(1, '\0');
  const auto unpadded = [&](std::string types, const std::string& arguments) {
    types.resize((types.size() + 4) / 4 * 4, '\0');
    const std::string message = "/tuio/25Dcur" + zero + types + arguments;
    return std::string(3, '\0') + static_cast<char>(message.size()) + message;
  };
  const std::string head = bundle({});
  const std::string one("\0\0\0\1", 4), half("\x3F\0\0\0", 4);
  table.send(head + unpadded(",Si", "alive" + std::string(3, '\0') + one) +
             unpadded(",sifff", "set" + zero + one + half + half + half) +
             unpadded(",si", "fseq" + std::string(4, '\0') + one));
  table.ends();
  EXPECT_EQ(table.list<test::Vec3>("position"), (Vectors{{0.5F, 0.5F, 0.5F}}));
}

TEST(TUIONode, FollowsSessionsThatComeAndGo) {
  Table table;
  const std::string cursor = "/tuio/2Dcur";
  table.frame({alive(cursor, {9, -4, 7}), set(cursor, 7, -1, 1, 5), set(cursor, 8, -1, 1, 5), fseq(cursor, 10)});
  EXPECT_EQ(table.sessions(), (Ints{-4, 7, 9}));
  EXPECT_EQ(table.list<long>("addID"), (Ints{9, -4, 7}));
  EXPECT_EQ(table.list<test::Vec3>("position"), (Vectors{{}, {1, 2, 0}, {}}));
  // Other kinds have sessions of their own, whatever the dimension; objects come first.
  table.frame({alive("/tuio/3Dobj", {9}), alive("/tuio/2Dblb", {1}), alive("/tuio/3Dcur", {9, 7}),
               set("/tuio/3Dobj", 9, 77, 3, 2), fseq(cursor, 11)});
  EXPECT_EQ(table.sessions(), (Ints{9, 7, 9, 1}));
  EXPECT_EQ(table.list<long>("objectID"), (Ints{77, 0, 0, 0}));
  EXPECT_EQ(table.list<test::Vec3>("position"), (Vectors{{3, 4, 0}, {1, 2, 0}, {}, {}}));
  EXPECT_EQ(table.list<long>("removeID"), Ints{-4});
  // A frame of number -1 publishes nothing. What came and went stays for the next one.
  table.send(bundle({alive(cursor, {7, 20}), set(cursor, -1, -1, 1, 5), fseq(cursor, -1)}));
  table.send(bundle({alive(cursor, {7})}));
  table.frame({alive(cursor, {7, 20}), fseq(cursor, 12)});
  EXPECT_EQ(table.sessions(), (Ints{9, 7, 20, 1}));
  EXPECT_EQ(table.list<long>("addID"), (Ints{20, 20}));
  EXPECT_EQ(table.list<long>("removeID"), (Ints{9, 20}));
  EXPECT_EQ(table.active.values().size(), 3u);
  // Nothing new: the lists are not written again.
  const Collector<SmartPtr<Ints>> added(table.ns, "n/addID");
  const std::size_t before = added.atLeast(1).size();
  table.frame({fseq(cursor, 13)});
  EXPECT_EQ(added.values().size(), before);
  EXPECT_EQ(table.number(), 13);
}

TEST(TUIONode, OutlivesEveryMalformedDatagram) {
  Table table;
  const std::string cursor = "/tuio/2Dcur";
  table.frame({alive(cursor, {1}), set(cursor, 1, -1, 1, 5), fseq(cursor, 1)});
  const std::string good = bundle({alive(cursor, {2}), set(cursor, 2, -1, 1, 5), fseq(cursor, -1)});
  const std::size_t first = bundle({alive(cursor, {2})}).size();
  const std::size_t second = bundle({alive(cursor, {2}), set(cursor, 2, -1, 1, 5)}).size();
  TUIONode apart;
  for (std::size_t size = 0; size < good.size(); ++size)
    if (size != first && size != second) { // there it is whole
      table.send(good.substr(0, size));
      if (size % 40 == 0) // more than so many might be more than the system keeps
        table.frame({fseq(cursor, 2)});
      const bool empty = size >= 8 && size <= 16; // a bundle of nothing
      EXPECT_EQ(apart.process_data(good.data(), static_cast<unsigned>(size)), empty) << size;
    }
  std::string lie = good;
  lie[16] = '\x7F'; // the first part's size
  table.send(lie);
  const std::string dance(200, 'd');
  table.send(
      bundle({Message("/tuio/2Dcur", dance.c_str()), Message("/tuio/2Dcur", "jump")})); // the first fault is enough
  table.send(bundle({Message("/tuio/4Dcur", "alive")}));
  table.send(bundle({Message("/tuio/2Dcur", "alive").add(3.5F), Message("/tuio/2Dcur", "fseq").add(3.5F)}));
  table.send(std::string(6000, 'x'));
  table.frame({fseq(cursor, 5)});
  EXPECT_EQ(table.sessions(), Ints{1});
  EXPECT_EQ(table.node->getState(), Node::Running);
  const test::Messages log = table.log();
  for (const std::string& text : std::initializer_list<std::string>{
           "TUIO: malformed datagram: cut short", "TUIO: unknown message: " + dance, "TUIO: unknown tag: /tuio/4Dcur",
           "TUIO: malformed message: /tuio/2Dcur: argument 2 is not of type i"})
    EXPECT_EQ(std::count(log.begin(), log.end(), text), 1) << text;
  EXPECT_EQ(std::count(log.begin(), log.end(), "TUIO: unknown message: jump"), 0);
}

TEST(TUIONode, KeepsNoMoreChangesThanItCan) {
  Table table;
  std::vector<int> many(800);
  for (int i = 0; i < 200; ++i) {
    for (std::size_t k = 0; k < many.size(); ++k)
      many[k] = i * 1000 + static_cast<int>(k);
    // Straight into the node, which does not run: datagrams would be lost.
    if (i == 0)
      table.ns.disable();
    const std::string datagram = bundle({alive("/tuio/2Dcur", many)});
    EXPECT_TRUE(table.node->process_data(datagram.data(), static_cast<unsigned>(datagram.size())));
  }
  const std::string end = bundle({fseq("/tuio/2Dcur", 1)});
  EXPECT_TRUE(table.node->process_data(end.data(), static_cast<unsigned>(end.size())));
  table.ns.enable();
  EXPECT_EQ(table.list<long>("addID").size(), TUIONode::maxChanges);
  EXPECT_EQ(table.list<long>("removeID").size(), TUIONode::maxChanges);
  EXPECT_EQ(table.sessions().size(), many.size());
}

TEST(TUIONode, StopsAtOnceAndStartsAgain) {
  Table table;
  table.ns.disable();
  const auto begin = [&] {
    table.ns.enable();
    EXPECT_TRUE(table.runs("Operating on "));
  };
  EXPECT_TRUE(test::stopsAtOnce(begin, [&] { table.ns.disable(); }));
  EXPECT_EQ(table.node->getState(), Node::Disabled);
}

TEST(TUIONode, StaysAsItIsWithoutAPort) {
  Pelorn::UDP other;
  other.open("0.0.0.0", 0);
  Bench<TUIONode> bench({{"Port", std::to_string(other.getLocalAddress().getServicePort())}});
  const Collector<bool> active(bench.ns, "n/isActive");
  EXPECT_EQ(bench.node->getState(), Node::Sleeping);
  EXPECT_EQ(bench.log().size(), 1u);
}

} // namespace
