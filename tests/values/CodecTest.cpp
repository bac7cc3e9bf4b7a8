// What each value looks like on the wire, and that it comes back.
#include <algorithm>
#include <array>
#include <bit>
#include <functional>
#include <istream>
#include <set>
#include <sstream>
#include <streambuf>

#include <values/CodecSupport.h>

#include <vantiflux/net/SetStateEvent.h>
#include <vantiflux/values/codecs/Numbers.h>

namespace {

using namespace Vantiflux;
using test::bytes;
using test::Ends;
using test::hex;
using test::image;
using test::pooled;
using test::sample;

/// A stream that gives one byte at a time and cannot tell how many are left, like one from a slow socket.
class Trickle : public std::streambuf {
public:
  explicit Trickle(std::string_view bytes) : bytes_(bytes) {}

protected:
  int_type underflow() override {
    if (next_ == bytes_.size())
      return traits_type::eof();
    byte_ = bytes_[next_++];
    setg(&byte_, &byte_, &byte_ + 1);
    return traits_type::to_int_type(byte_);
  }

private:
  std::string_view bytes_;
  std::size_t next_ = 0;
  char byte_ = 0;
};

/// One value in every form of going there and back.
template <class T>
void expectWire(const std::string& name, const T& value, const std::string& wire) {
  SCOPED_TRACE(name);
  const Ends<T> ends(name);
  EXPECT_EQ(hex(ends.encode(value).str()), hex(wire));
  EXPECT_TRUE(test::same(ends.decode(wire), value));

  std::ostringstream out;
  ends.in->push(Data<T>(value, 5));
  EXPECT_EQ(ends.encoder->popAndEncode(out), 5U);
  EXPECT_EQ(hex(out.str()), hex(wire));

  SetStateEvent event;
  ends.in->push(Data<T>(value, 6));
  ends.encoder->popAndEncode(event);
  ends.decoder->decodeAndPush(event);
  EXPECT_EQ(ends.out->getValue().getTimeStamp(), 6U);
  EXPECT_TRUE(test::same(ends.out->getValue().getValue(), value));

  Trickle trickle(wire);
  std::istream slow(&trickle);
  ends.decoder->decodeAndPush(slow, 7);
  EXPECT_FALSE(slow.fail());
  EXPECT_TRUE(test::same(ends.out->getValue().getValue(), value));
  EXPECT_EQ(slow.get(), std::istream::traits_type::eof());
}

struct Row {
  Row(const char* codec, const std::function<void(const std::string&, const std::string&)>& test, const char* wire)
      : name(codec), run([=] { test(codec, bytes(wire)); }) {}
  std::string name;
  std::function<void()> run;
};

template <class T>
Row row(const char* name, T value, const char* wire) {
  return {name, [value](const std::string& codec, const std::string& all) { expectWire<T>(codec, value, all); }, wire};
}
template <class E>
Row list(const char* name, std::vector<E> elements, const char* wire) {
  return row(name, pooled(std::move(elements)), wire);
}

// 1 is 0000803f and 000000000000f03f; 2 is 00000040 and ...0040; 0.5 is 0000003f; -2 is 000000c0.
const std::vector<Row>& table() {
  static const std::vector<Row> rows = {
      row("SFBool", true, "01"),
      row("SFBool", false, "00"),
      row("SFColor", Color(1, 0.5F, 0), "0000803f 0000003f 00000000"),
      row("SFColorRGBA", ColorRGBA(1, 0.5F, 0, 2), "0000803f 0000003f 00000000 00000040"),
      row("SFDouble", -2.0, "00000000000000c0"),
      row("SFFloat", -2.0F, "000000c0"),
      row("SFImage", image(2, 1, Image::RGB24), "02000000 01000000 05000000 01080f161d24"),
      row("SFImage", image(7, 9, Image::NONE), "07000000 09000000 00000000"),
      row("SFImage", image(7, 9, static_cast<Image::Format>(-2)), "07000000 09000000 feffffff"),
      row("SFInt32", -2L, "feffffffffffffff"),
      row("SFInt32", 0x0123456789abcdefL, "efcdab8967452301"),
      row("SFMatrix3d", Matrix3<double>({1, 2, 0, 0, 0, 0, 0, 0, 1}),
          "000000000000f03f 0000000000000040 0000000000000000 0000000000000000 0000000000000000 0000000000000000"
          "0000000000000000 0000000000000000 000000000000f03f"),
      row("SFMatrix3f", Matrix3<float>({1, 2, 0, 0, 0, 0, 0, 0, 1}),
          "0000803f 00000040 00000000 00000000 00000000 00000000 00000000 00000000 0000803f"),
      row("SFMatrix4d", Matrix4<double>({1, 0, 0, 2, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 1}),
          "000000000000f03f 0000000000000000 0000000000000000 0000000000000040 0000000000000000 0000000000000000"
          "0000000000000000 0000000000000000 0000000000000000 0000000000000000 0000000000000000 0000000000000000"
          "0000000000000000 0000000000000000 0000000000000000 000000000000f03f"),
      row("SFMatrix4f", Matrix4<float>({1, 0, 0, 2, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 1}),
          "0000803f 00000000 00000000 00000040 00000000 00000000 00000000 00000000 00000000 00000000 00000000"
          "00000000 00000000 00000000 00000000 0000803f"),
      row("SFRotation", Rotation(1, 2, 0, -2), "0000803f 00000040 00000000 000000c0"),
      row("SFString", std::string("a\0\xc3\xa4", 4), "04000000 6100c3a4"),
      row("SFString", std::string(), "00000000"),
      row("SFTime", Time(2), "0000000000000040"),
      row("SFVec2d", Vec2<double>(1, 2), "000000000000f03f 0000000000000040"),
      row("SFVec2f", Vec2<float>(1, 2), "0000803f 00000040"),
      row("SFVec3d", Vec3<double>(1, 2, 0), "000000000000f03f 0000000000000040 0000000000000000"),
      row("SFVec3f", Vec3<float>(1, 2, 0.5F), "0000803f 00000040 0000003f"),
      row("SFVec4d", Vec4<double>(1, 2, 0, -2), "000000000000f03f 0000000000000040 0000000000000000 00000000000000c0"),
      row("SFVec4f", Vec4<float>(1, 2, 0.5F, -2), "0000803f 00000040 0000003f 000000c0"),
      row("SFSample", sample(44100, 12, 2, 1), "44ac000000000000 0c 02 0100000000000000 01 01020304"),
      list<bool>("MFBool", {true, false, true}, "03000000 01 00 01"),
      list<Color>("MFColor", {Color(1, 2, 0)}, "01000000 0000803f 00000040 00000000"),
      list<ColorRGBA>("MFColorRGBA", {ColorRGBA(0, 0, 1)}, "01000000 00000000 00000000 0000803f 0000803f"),
      list<double>("MFDouble", {1, -2}, "02000000 000000000000f03f 00000000000000c0"),
      list<float>("MFFloat", {1, 2, -2}, "03000000 0000803f 00000040 000000c0"),
      list<float>("MFFloat", {}, "00000000"),
      list<long>("MFInt32", {1, -1}, "02000000 0100000000000000 ffffffffffffffff"),
      list<Matrix3<double>>("MFMatrix3d", {Matrix3<double>({2, 0, 0, 0, 0, 0, 0, 0, 1})},
                            "01000000 0000000000000040 0000000000000000 0000000000000000 0000000000000000"
                            "0000000000000000 0000000000000000 0000000000000000 0000000000000000 000000000000f03f"),
      list<Matrix3<float>>("MFMatrix3f", {Matrix3<float>({2, 0, 0, 0, 0, 0, 0, 0, 1})},
                           "01000000 00000040 00000000 00000000 00000000 00000000 00000000 00000000 00000000 0000803f"),
      list<Matrix4<double>>("MFMatrix4d", {Matrix4<double>({0, 0, 0, 2, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 1})},
                            "01000000 0000000000000000 0000000000000000 0000000000000000 0000000000000040"
                            "0000000000000000 0000000000000000 0000000000000000 0000000000000000"
                            "0000000000000000 0000000000000000 0000000000000000 0000000000000000"
                            "0000000000000000 0000000000000000 0000000000000000 000000000000f03f"),
      list<Matrix4<float>>("MFMatrix4f", {Matrix4<float>({0, 0, 0, 2, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 1})},
                           "01000000 00000000 00000000 00000000 00000040 00000000 00000000 00000000 00000000"
                           "00000000 00000000 00000000 00000000 00000000 00000000 00000000 0000803f"),
      list<Rotation>("MFRotation", {Rotation(1, 0, 0, 2)}, "01000000 0000803f 00000000 00000000 00000040"),
      list<std::string>("MFString", {"ab", "", "c"}, "03000000 02000000 6162 00000000 01000000 63"),
      list<Time>("MFTime", {Time(1), Time(2)}, "02000000 000000000000f03f 0000000000000040"),
      list<Vec2<double>>("MFVec2d", {{1, 2}}, "01000000 000000000000f03f 0000000000000040"),
      list<Vec2<float>>("MFVec2f", {{1, 2}, {0, 1}}, "02000000 0000803f 00000040 00000000 0000803f"),
      list<Vec3<double>>("MFVec3d", {{1, 2, 0}}, "01000000 000000000000f03f 0000000000000040 0000000000000000"),
      list<Vec3<float>>("MFVec3f", {{1, 2, 0}}, "01000000 0000803f 00000040 00000000"),
      list<Vec4<double>>("MFVec4d", {{1, 2, 0, 1}},
                         "01000000 000000000000f03f 0000000000000040 0000000000000000 000000000000f03f"),
      list<Vec4<float>>("MFVec4f", {{1, 2, 0, -2}}, "01000000 0000803f 00000040 00000000 000000c0"),
  };
  return rows;
}

TEST(Codec, HasTheseBytes) {
  std::set<std::string> names;
  for (const Row& entry : table()) {
    entry.run();
    names.insert(entry.name);
  }
  std::vector<BasicCodec*> codecs;
  BasicCodec::getCodecs(codecs);
  for (const BasicCodec* const codec : codecs)
    EXPECT_EQ(names.erase(codec->getName()), 1U) << codec->getName();
  EXPECT_TRUE(names.empty());
}

std::mt19937_64 random(20261121); // NOLINT: the same numbers each time

std::size_t below(std::size_t limit) {
  return std::uniform_int_distribution<std::size_t>(0, limit - 1)(random);
}

template <class T>
struct Random {
  static T make() {
    std::array<typename Numbers<T>::Number, Numbers<T>::count> numbers;
    for (auto& number : numbers)
      number = static_cast<typename Numbers<T>::Number>(static_cast<std::int64_t>(random()));
    return std::bit_cast<T>(numbers);
  }
};
template <>
struct Random<bool> {
  static bool make() { return below(2) == 1; }
};
template <>
struct Random<std::string> {
  static std::string make() {
    std::string text(below(3) == 0 ? 0 : below(300), '\0');
    std::generate(text.begin(), text.end(), [] { return static_cast<char>(below(256)); });
    return text;
  }
};
template <class E>
struct Random<SmartPtr<std::vector<E>>> {
  static SmartPtr<std::vector<E>> make() {
    std::vector<E> elements;
    for (std::size_t left = below(4) == 0 ? 0 : below(70); left > 0; --left)
      elements.push_back(Random<E>::make());
    return pooled(std::move(elements));
  }
};
template <>
struct Random<SmartPtr<Image>> {
  static SmartPtr<Image> make() {
    return image(static_cast<unsigned>(below(130)), static_cast<unsigned>(below(100)),
                 static_cast<Image::Format>(below(26)));
  }
};
template <>
struct Random<SmartPtr<Sample>> {
  static SmartPtr<Sample> make() {
    return sample(static_cast<unsigned>(random()), static_cast<unsigned char>(below(33)),
                  static_cast<unsigned char>(below(8)), below(900));
  }
};

// Large ones among the images go as references, and are received into place.
template <class T>
void expectRoundTrip(const Ends<T>& ends, const T& value) {
  const std::string wire = ends.encode(value).str();
  ASSERT_TRUE(test::same(ends.decode(wire), value));
  ASSERT_EQ(ends.encode(ends.decode(wire)).str(), wire);

  std::string_view head = std::string_view(wire).substr(0, 30);
  const std::size_t headSize = head.size();
  if (const auto pending = ends.decoder->begin(head, wire.size())) {
    const std::string_view rest = std::string_view(wire).substr(headSize - head.size());
    ASSERT_EQ(pending->block().size(), rest.size());
    std::copy(rest.begin(), rest.end(), reinterpret_cast<char*>(pending->block().data()));
    pending->push(99);
    ASSERT_EQ(ends.out->getValue().getTimeStamp(), 99U);
    ASSERT_TRUE(test::same(ends.out->getValue().getValue(), value));
  }
}

TEST(Codec, BringsBackRandomValues) {
  ValueTypes::forEach([]<class T>() {
    const OutSlot<T> slot;
    const std::string name = BasicCodec::findCodec(slot)->getName();
    SCOPED_TRACE(name);
    const Ends<T> ends(name);
    for (int i = 0; i < 200 && !testing::Test::HasFatalFailure(); ++i)
      expectRoundTrip(ends, Random<T>::make());
  });
  // Across the words of the packed vector.
  std::vector<bool> bits(65);
  bits[0] = bits[63] = bits[64] = true;
  expectRoundTrip(Ends<SmartPtr<std::vector<bool>>>("MFBool"), pooled(std::move(bits)));
}

// Their pixels stay where they are, and alive.
TEST(Codec, HandsOverLargeImagesWithoutCopies) {
  const Ends<SmartPtr<Image>> ends("SFImage");
  auto frame = image(640, 480, Image::RGB24);
  const unsigned char* const pixels = frame->data();
  const std::string wire = bytes("80020000 e0010000 05000000") + std::string(pixels, pixels + 921600);
  Pelorn::Gather gather = ends.encode(frame);
  gather.append("tail", 4);
  ASSERT_EQ(gather.blocks().size(), 1U);
  EXPECT_EQ(gather.blocks()[0].bytes.data, pixels);
  EXPECT_EQ(gather.text().size(), 12U + 4);
  EXPECT_EQ(gather.size(), wire.size() + 4);

  // Nobody else has the image any more, and yet its memory is not given to others.
  frame = {};
  ends.in->push(Data<SmartPtr<Image>>());
  auto other = image(640, 480, Image::RGB24);
  std::fill_n(other->data(), other->size(), 0);
  EXPECT_TRUE(gather.str() == wire + "tail");
  gather.clear();
  EXPECT_TRUE(gather.empty() && gather.str().empty());
}

TEST(Codec, ReceivesInPlaceOnlyWhatFits) {
  const Ends<SmartPtr<Image>> ends("SFImage");
  const std::string parameters = bytes("02000000 02000000 10000000");
  const auto begin = [&](std::string_view head, std::size_t size) {
    return ends.decoder->begin(head, size) != nullptr;
  };
  EXPECT_TRUE(begin(parameters, 16));
  EXPECT_FALSE(begin(parameters, 15));
  EXPECT_FALSE(begin(parameters, 17));
  EXPECT_FALSE(begin(parameters, 5));
  EXPECT_FALSE(begin(parameters.substr(0, 11), 16));
  const Ends<std::string> text("SFString");
  std::string_view head = "\4\0\0\0";
  EXPECT_EQ(text.decoder->begin(head, 8), nullptr);
}

TEST(Codec, EncodesNullPointersAsEmptyValues) {
  EXPECT_EQ(Ends<SmartPtr<Image>>("SFImage").encode({}).str(), std::string(12, '\0'));
  EXPECT_EQ(hex(Ends<SmartPtr<Sample>>("SFSample").encode({}).str()), std::string(36, '0') + "01");
  EXPECT_EQ(Ends<SmartPtr<std::vector<long>>>("MFInt32").encode({}).str(), std::string(4, '\0'));
}

} // namespace
