#include <vantiflux/web/rest/PictureDecoder.h>

#include <algorithm>
#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <cstdlib>
#include <limits>
#include <mutex>
#include <stdexcept>

#include <malloc.h>

namespace {

/// What the decoder may still take: a short file may claim, or unpack to, any size.
constexpr std::size_t memoryLimit = std::size_t{256} << 20;
thread_local std::size_t allowance = memoryLimit;

void* take(std::size_t size) {
  if (size > allowance)
    return nullptr;
  void* const memory = std::malloc(size);
  allowance -= std::min(allowance, malloc_usable_size(memory));
  return memory;
}

void giveBack(void* memory) {
  allowance += malloc_usable_size(memory);
  std::free(memory);
}

void* takeAgain(void* memory, std::size_t size) {
  const std::size_t before = malloc_usable_size(memory);
  if (size > before && size - before > allowance)
    return nullptr;
  void* const moved = std::realloc(memory, size);
  if (moved != nullptr) {
    allowance += before;
    allowance -= std::min(allowance, malloc_usable_size(moved));
  }
  return moved;
}

} // namespace

// Only formats that people send, out of a decoder that knows many.
#define STB_IMAGE_IMPLEMENTATION
#define STB_IMAGE_STATIC
#define STBI_ONLY_JPEG
#define STBI_ONLY_PNG
#define STBI_ONLY_BMP
#define STBI_NO_STDIO
#define STBI_NO_FAILURE_STRINGS
#define STBI_MAX_DIMENSIONS 65535
#define STBI_ASSERT(condition) static_cast<void>(condition)
#define STBI_MALLOC(size) take(size)
#define STBI_REALLOC(memory, size) takeAgain(memory, size)
#define STBI_FREE(memory) giveBack(memory)
#include <stb/stb_image.h>

namespace REST {

namespace {

constexpr std::chrono::seconds patience{10};
constexpr int mostWaiting = 8; ///< each one has a thread of the server's, of which there are not many more to spare

struct Places {
  std::mutex lock; ///< guards the rest
  std::condition_variable oneIsFree;
  int free = 2;
  int waiting = 0;
};

Places& places() {
  static auto* const the = new Places; // never destroyed: threads may outlive static destruction
  return *the;
}

/// A JPEG file may go over its pixels as often as it likes, ten bytes each time. Some ten times is usual, for a picture
/// that becomes finer and finer.
constexpr std::uint64_t scanLimit = 100;
constexpr std::uint64_t workLimit = std::uint64_t{1} << 31; ///< pixels times scans: some seconds

/// Whether the work that the file asks for is granted. What looks like the mark of a scan and is none counts as well:
/// with a thumbnail and a colour profile it comes to a few.
bool isGranted(const unsigned char* bytes, int size) {
  int width = 0;
  int height = 0;
  int channels = 0;
  if (stbi_info_from_memory(bytes, size, &width, &height, &channels) == 0 || width <= 0 || height <= 0)
    return false;
  std::uint64_t scans = 0;
  if (bytes[0] == 0xff)
    for (int i = 1; i < size; ++i)
      scans += bytes[i - 1] == 0xff && bytes[i] == 0xda ? 1 : 0;
  return scans <= scanLimit && scans * static_cast<unsigned>(width) * static_cast<unsigned>(height) <= workLimit;
}

} // namespace

PicturePlace::PicturePlace() {
  Places& all = places();
  std::unique_lock guard(all.lock);
  const auto isFree = [&] { return all.free > 0; };
  bool mayCome = isFree();
  if (!mayCome && all.waiting < mostWaiting) {
    ++all.waiting;
    mayCome = all.oneIsFree.wait_for(guard, patience, isFree);
    --all.waiting;
  }
  if (!mayCome)
    throw std::runtime_error("Too many images at a time");
  --all.free;
}

PicturePlace::~PicturePlace() {
  Places& all = places();
  {
    const std::lock_guard guard(all.lock);
    ++all.free;
  }
  all.oneIsFree.notify_one();
}

PictureDecoder::PictureDecoder(const unsigned char* bytes, std::size_t size) {
  allowance = memoryLimit;
  int width = 0;
  int height = 0;
  int channels = 0;
  if (size <= static_cast<std::size_t>(std::numeric_limits<int>::max()) && isGranted(bytes, static_cast<int>(size)))
    pixels_.reset(stbi_load_from_memory(bytes, static_cast<int>(size), &width, &height, &channels, 3));
  if (pixels_ == nullptr || width <= 0 || height <= 0)
    throw std::runtime_error("Error converting image");
  width_ = static_cast<unsigned>(width);
  height_ = static_cast<unsigned>(height);
}

void PictureDecoder::Free::operator()(unsigned char* pixels) const noexcept {
  stbi_image_free(pixels);
}

} // namespace REST
