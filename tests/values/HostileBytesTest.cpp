// Bytes that no encoder wrote: cut off, grown, or made to cost memory.
#include <istream>

#include <values/CodecSupport.h>

namespace {

using namespace Vantiflux;
using test::bytes;
using test::Ends;

template <class T>
T decode(const char* codec, const std::string& wire) {
  return Ends<T>(codec).decode(wire);
}

TEST(HostileBytes, LeaveWhatCameWhole) {
  EXPECT_EQ(decode<bool>("SFBool", bytes("fe")), true);
  EXPECT_EQ(decode<bool>("SFBool", ""), false);
  EXPECT_EQ(decode<long>("SFInt32", bytes("01020304050607")), 0);
  EXPECT_EQ(decode<Vec3<float>>("SFVec3f", bytes("0000803f 00000040 0000")), Vec3<float>(1, 2, 0));
  EXPECT_EQ(decode<Matrix4<float>>("SFMatrix4f", bytes("00000040")),
            Matrix4<float>({2, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1}));
  EXPECT_EQ(decode<std::string>("SFString", bytes("03000000 6162")), "");
  EXPECT_EQ(decode<float>("SFFloat", bytes("0000803f 00")), 1) << "bytes behind the value";
  using Longs = SmartPtr<std::vector<long>>;
  EXPECT_EQ(*decode<Longs>("MFInt32", bytes("03000000 0700000000000000 080000000000")), std::vector<long>{7});
  using Strings = SmartPtr<std::vector<std::string>>;
  EXPECT_EQ(*decode<Strings>("MFString", bytes("02000000 01000000 61 02000000 61")), std::vector<std::string>{"a"});
  EXPECT_EQ(decode<Strings>("MFString", "")->size(), 0U);
}

TEST(HostileBytes, GiveNoHalfImages) {
  for (const char* wire : {"", "02000000 02000000 100000", "02000000 02000000 10000000 010203"})
    EXPECT_EQ(*decode<SmartPtr<Image>>("SFImage", bytes(wire)), Image()) << wire;
  const auto sound = decode<SmartPtr<Sample>>("SFSample", bytes("44ac000000000000 10 02 0100000000000000 01 010203"));
  EXPECT_EQ(*sound, Sample());
  // A sender of the other byte order: nothing is swapped.
  const auto big = decode<SmartPtr<Sample>>("SFSample", bytes("44ac000000000000 10 01 0100000000000000 00 0102"));
  EXPECT_EQ(big->data()[0], 1);
  EXPECT_EQ(big->size(), 2U);
}

// Sizes that wrap around, exceed what is there, or exceed any memory.
TEST(HostileBytes, TakeNoMemoryThatTheyCannotFill) {
  const std::string many = bytes("ffffffff 0000000000000000 0000000000000000");
  EXPECT_LT(decode<SmartPtr<std::vector<Matrix4<double>>>>("MFMatrix4d", many)->capacity(), 1024U);
  EXPECT_LT(decode<SmartPtr<std::vector<bool>>>("MFBool", many)->capacity(), 1024U);
  EXPECT_LT(decode<SmartPtr<std::vector<std::string>>>("MFString", many)->capacity(), 1024U);
  for (const char* wire : {"ffff0000 ffff0000 01000000", "00000100 ff7f0000 0a000000", "ffffffff ffffffff 05000000"})
    EXPECT_LT(decode<SmartPtr<Image>>("SFImage", bytes(wire) + std::string(100, 'x'))->capacity(), 1000000U) << wire;
  // 65536 by 65536 wraps round to no pixels at all.
  EXPECT_EQ(decode<SmartPtr<Image>>("SFImage", bytes("00000100 00000100 05000000"))->size(), 0U);
  for (const char* samples : {"ffffffffffffffff", "0000000000000080", "00000000ff000000"})
    EXPECT_LT(
        decode<SmartPtr<Sample>>("SFSample", bytes("0000000000000000 20 ff" + std::string(samples) + "01"))->capacity(),
        1000000U);
}

TEST(HostileBytes, EndAtEveryLengthWithoutHarm) {
  std::vector<BasicCodec*> codecs;
  BasicCodec::getCodecs(codecs);
  for (const BasicCodec* const codec : codecs) {
    const auto decoder = codec->createDecoder();
    decoder->initialize("Label", "");
    for (std::size_t length = 0; length < 150; ++length)
      for (const char fill : {'\0', '\1', '\x7f', '\xff'})
        decoder->decodeAndPush(std::string(length, fill), length);
  }
}

} // namespace
