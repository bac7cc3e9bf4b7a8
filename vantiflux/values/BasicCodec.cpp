#include <vantiflux/values/BasicCodec.h>

#include <mutex>

namespace Vantiflux {

namespace {

// Guards codecMap_ and what it points to. Nothing but a codec's sameType is called under it.
constinit std::mutex registry;

} // namespace

BasicCodec::CodecMap* BasicCodec::codecMap_ = nullptr;

BasicCodec::BasicCodec(const std::string& name, CreateEncoder encoderFactory, CreateDecoder decoderFactory,
                       const std::string& author)
    : name_(name), createEncoder_(encoderFactory), createDecoder_(decoderFactory), author_(author) {
  const std::lock_guard lock(registry);
  if (codecMap_ == nullptr)
    codecMap_ = new CodecMap;
  (*codecMap_)[name_] = this;
}

BasicCodec::~BasicCodec() {
  const std::lock_guard lock(registry);
  if (codecMap_ == nullptr)
    return;
  codecMap_->erase(name_);
  if (!codecMap_->empty())
    return;
  delete codecMap_;
  codecMap_ = nullptr;
}

std::unique_ptr<BasicEncoder> BasicCodec::createEncoder() const {
  return std::unique_ptr<BasicEncoder>(createEncoder_ == nullptr ? nullptr : createEncoder_());
}

std::unique_ptr<BasicDecoder> BasicCodec::createDecoder() const {
  return std::unique_ptr<BasicDecoder>(createDecoder_ == nullptr ? nullptr : createDecoder_());
}

BasicCodec* BasicCodec::findCodec(const std::string& name) {
  const std::lock_guard lock(registry);
  if (codecMap_ == nullptr)
    return nullptr;
  const auto found = codecMap_->find(name);
  return found == codecMap_->end() ? nullptr : found->second;
}

template <class Slot>
BasicCodec* BasicCodec::findBySlot(const Slot& slot) {
  const std::lock_guard lock(registry);
  if (codecMap_ == nullptr)
    return nullptr;
  for (const auto& [name, codec] : *codecMap_)
    if (codec->sameType(slot))
      return codec;
  return nullptr;
}

BasicCodec* BasicCodec::findCodec(const BasicOutSlot& slot) {
  return findBySlot(slot);
}

BasicCodec* BasicCodec::findCodec(const BasicInSlot& slot) {
  return findBySlot(slot);
}

void BasicCodec::getCodecs(std::vector<BasicCodec*>& codecs) {
  const std::lock_guard lock(registry);
  codecs.clear();
  if (codecMap_ == nullptr)
    return;
  for (const auto& [name, codec] : *codecMap_)
    codecs.push_back(codec);
}

} // namespace Vantiflux
