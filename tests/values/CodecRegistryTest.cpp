#include <memory>

#include <values/CodecSupport.h>

#include <vantiflux/values/Codec.h>
#include <vantiflux/values/codecs/Plain.h>

namespace {

using namespace Vantiflux;

class Own {};

} // namespace

template <>
struct Vantiflux::TypeName<Own> {
  static const char* getName() { return "Own"; }
};

namespace {

TEST(CodecRegistry, FindsByExactName) {
  ASSERT_NE(BasicCodec::findCodec("SFBool"), nullptr);
  EXPECT_STREQ(BasicCodec::findCodec("SFBool")->getTypeName(), "bool");
  EXPECT_EQ(BasicCodec::findCodec("sfbool"), nullptr);
  EXPECT_EQ(BasicCodec::findCodec(""), nullptr);
}

TEST(CodecRegistry, FindsBySlot) {
  const InSlot<long> longs;
  EXPECT_EQ(BasicCodec::findCodec(longs), BasicCodec::findCodec("SFInt32"));
  const BufferedInSlot<SmartPtr<Sample>> derived("", 4);
  EXPECT_EQ(BasicCodec::findCodec(derived), BasicCodec::findCodec("SFSample"));
  const OutSlot<SmartPtr<std::vector<Image>>> images;
  EXPECT_EQ(BasicCodec::findCodec(images), nullptr);
}

TEST(CodecRegistry, LetsALaterOneReplaceAndEitherTakeTheNameAway) {
  const auto make = [] { return std::make_unique<Codec<Own>>("Own", nullptr, nullptr, "Somebody"); };
  auto first = make();
  auto second = make();
  EXPECT_EQ(BasicCodec::findCodec("Own"), second.get());
  EXPECT_EQ(second->getAuthor(), "Somebody");
  EXPECT_EQ(second->createEncoder(), nullptr);
  EXPECT_EQ(second->createDecoder(), nullptr);
  const OutSlot<Own> slot;
  EXPECT_EQ(BasicCodec::findCodec(slot), second.get());
  first.reset();
  EXPECT_EQ(BasicCodec::findCodec("Own"), nullptr);
  EXPECT_EQ(BasicCodec::findCodec(slot), nullptr);
}

TEST(CodecRegistry, MakesTypedSlotsFromAName) {
  const auto encoder = BasicCodec::findCodec("SFString")->createEncoder();
  EXPECT_EQ(encoder->getInSlot(), nullptr);
  encoder->initialize("A/Label", "A description");
  EXPECT_EQ(encoder->getLabel(), "A/Label");
  EXPECT_EQ(encoder->getInSlot()->getDescription(), "A description");
  EXPECT_EQ(encoder->getInSlot()->getTypeID(), typeid(std::string));
  const auto decoder = BasicCodec::findCodec("MFTime")->createDecoder();
  EXPECT_EQ(decoder->getOutSlot(), nullptr);
  decoder->initialize("A/Label", "A description");
  EXPECT_EQ(decoder->getOutSlot()->getDescription(), "A description");
  EXPECT_EQ(decoder->getOutSlot()->getTypeID(), typeid(SmartPtr<std::vector<Time>>));
}

TEST(CodecRegistry, PassesAnInterruptedPopOn) {
  const test::Ends<bool> ends("SFBool");
  ends.in->interrupt();
  Pelorn::Gather gather;
  EXPECT_THROW(ends.encoder->popAndEncode(gather), InterruptedException);
  EXPECT_EQ(ends.encode(true).str(), "\1") << "and works on";
}

} // namespace
