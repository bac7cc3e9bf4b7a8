// An encoded value as it comes from a peer; the first byte chooses the codec. Whatever the bytes are, a value comes
// out, its encoding is read back as it is, and it takes no more memory than the bytes account for.
#include <cstdint>
#include <cstdlib>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include <sanitizer/allocator_interface.h>

#include <vantiflux/core/BasicInSlot.h>
#include <vantiflux/core/BasicOutSlot.h>
#include <vantiflux/platform/pelorn/Gather.h>
#include <vantiflux/values/BasicCodec.h>

namespace {

using namespace Vantiflux;

/// A decoder whose slot is connected to an encoder's.
struct Ends {
  explicit Ends(const BasicCodec& codec) : decoder(codec.createDecoder()), encoder(codec.createEncoder()) {
    decoder->initialize("", "");
    encoder->initialize("", "");
    decoder->getOutSlot()->connect(encoder->getInSlot());
  }

  std::string take() {
    Pelorn::Gather gather;
    encoder->popAndEncode(gather);
    return gather.str();
  }

  std::unique_ptr<BasicDecoder> decoder;
  std::unique_ptr<BasicEncoder> encoder;
};

std::vector<std::unique_ptr<Ends>> makeEnds() {
  std::vector<BasicCodec*> codecs;
  BasicCodec::getCodecs(codecs);
  std::vector<std::unique_ptr<Ends>> ends;
  ends.reserve(codecs.size());
  for (const BasicCodec* const codec : codecs)
    ends.push_back(std::make_unique<Ends>(*codec));
  return ends;
}

void expect(bool holds) {
  if (!holds)
    std::abort();
}

// Inputs are a few KiB.
void refuseLargeBlocks(const volatile void*, std::size_t size) {
  expect(size <= std::size_t{1} << 20);
}

void ignore(const volatile void*) {}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t size) {
  static auto* const all = new std::vector<std::unique_ptr<Ends>>(makeEnds());
  [[maybe_unused]] static const int hooked = __sanitizer_install_malloc_and_free_hooks(refuseLargeBlocks, ignore);
  if (size == 0)
    return 0;
  Ends& ends = *(*all)[bytes[0] % all->size()];
  const std::string_view state(reinterpret_cast<const char*>(bytes + 1), size - 1);

  ends.decoder->decodeAndPush(state, 1);
  const std::string first = ends.take();
  // The parameters of an empty value are longer than nothing; a list may announce more elements than it has.
  expect(first.size() <= state.size() + 200);
  ends.decoder->decodeAndPush(first, 2);
  expect(ends.take() == first);

  std::string_view head = state;
  if (const auto pending = ends.decoder->begin(head, state.size())) {
    expect(pending->block().size() == head.size());
    pending->push(3);
    expect(ends.take().size() == state.size());
  }
  return 0;
}
