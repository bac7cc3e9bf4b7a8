// What a value costs on its way through the codecs, beside copying the bytes that it has on the wire.
#include <cstring>
#include <memory>
#include <string>

#include <benchmark/benchmark.h>

#include <vantiflux/values/BasicCodec.h>
#include <vantiflux/values/SlotTypes.h>

namespace {

using namespace Vantiflux;

template <class T>
class Sender {
public:
  explicit Sender(const char* name) : encoder_(BasicCodec::findCodec(name)->createEncoder()) {
    encoder_->initialize("Label", "");
    slot_ = dynamic_cast<InSlot<T>*>(encoder_->getInSlot());
  }
  void encode(const Data<T>& data, Pelorn::Gather& gather) {
    slot_->push(data);
    gather.clear();
    encoder_->popAndEncode(gather);
  }

private:
  std::unique_ptr<BasicEncoder> encoder_;
  InSlot<T>* slot_;
};

std::unique_ptr<BasicDecoder> receiver(const char* name) {
  auto decoder = BasicCodec::findCodec(name)->createDecoder();
  decoder->initialize("Label", "");
  return decoder;
}

template <class T>
void encode(benchmark::State& state, const char* name, const T& value) {
  Sender<T> sender(name);
  Pelorn::Gather gather;
  const Data<T> data(value);
  for (auto _ : state) {
    sender.encode(data, gather);
    benchmark::DoNotOptimize(gather.size());
  }
  state.SetItemsProcessed(state.iterations());
  state.SetBytesProcessed(state.iterations() * static_cast<std::int64_t>(gather.size()));
}

template <class T>
void decode(benchmark::State& state, const char* name, const T& value) {
  Pelorn::Gather gather;
  Sender<T>(name).encode(value, gather);
  const std::string wire = gather.str();
  const auto decoder = receiver(name);
  for (auto _ : state)
    decoder->decodeAndPush(wire, 1);
  state.SetItemsProcessed(state.iterations());
  state.SetBytesProcessed(state.iterations() * static_cast<std::int64_t>(wire.size()));
}

void copyYardstick(benchmark::State& state, std::size_t size) {
  const std::string from(size, 'x');
  std::string to(size, ' ');
  for (auto _ : state) {
    std::memcpy(to.data(), from.data(), size);
    benchmark::DoNotOptimize(to.data());
    benchmark::ClobberMemory();
  }
  state.SetBytesProcessed(state.iterations() * static_cast<std::int64_t>(size));
}

template <class T>
SmartPtr<T> pooled(T value) {
  SmartPtr<T> pointer;
  pointer.acquire();
  *pointer = std::move(value);
  return pointer;
}

Image frame() {
  Image image;
  image.setParameters(1920, 1080, Image::RGB24);
  return image;
}

template <class T>
void registerBoth(const char* name, const T& value) {
  benchmark::RegisterBenchmark((std::string("encode") + name).c_str(),
                               [=](benchmark::State& state) { encode<T>(state, name, value); });
  benchmark::RegisterBenchmark((std::string("decode") + name).c_str(),
                               [=](benchmark::State& state) { decode<T>(state, name, value); });
}

void registerYardstick(std::size_t size) {
  benchmark::RegisterBenchmark(("copyYardstick/" + std::to_string(size)).c_str(),
                               [=](benchmark::State& state) { copyYardstick(state, size); });
}

} // namespace

int main(int argc, char** argv) {
  registerBoth("SFMatrix4f", Matrix4<float>());
  registerYardstick(64);
  registerBoth("SFString", std::string(60, 'x'));
  registerBoth("MFVec3f", pooled(std::vector<Vec3<float>>(10000)));
  registerYardstick(120004);
  registerBoth("MFString", pooled(std::vector<std::string>(1000, "a text")));
  registerBoth("SFImage", pooled(frame()));
  registerYardstick(1920 * 1080 * 3 + 12);
  benchmark::Initialize(&argc, argv);
  benchmark::RunSpecifiedBenchmarks();
  benchmark::Shutdown();
}
