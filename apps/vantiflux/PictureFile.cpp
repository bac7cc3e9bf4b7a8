#include "PictureFile.h"

#include <algorithm>
#include <array>
#include <cctype>
#include <csetjmp>
#include <cstddef>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <memory>

#include <jpeglib.h>

#include <vantiflux/core/Exception.h>

#define STB_IMAGE_WRITE_STATIC
#define STB_IMAGE_WRITE_IMPLEMENTATION
#define STBI_WRITE_NO_STDIO
#include <stb/stb_image_write.h>

namespace Host {

namespace {

using Vantiflux::Image;

constexpr int jpegQuality = 92;

// Pixels as the encoders take them: one or three bytes each.
struct Pixels {
  const unsigned char* bytes;
  int width;
  int height;
  int channels;
};

const char* const tooLarge = "is too large for a picture file";

[[noreturn]] void refuse(const Image& image, const std::string& why) {
  throw Vantiflux::Exception("an image of " + std::to_string(image.width()) + "x" + std::to_string(image.height()) +
                             " in " + Image::format2String(image.format()) + " " + why);
}

Pixels pixelsOf(const Image& image) {
  const std::size_t channels = image.format() == Image::Y800 ? 1 : 3;
  if (image.size() == 0)
    refuse(image, "has no pixels");
  if (image.width() > JPEG_MAX_DIMENSION || image.height() > JPEG_MAX_DIMENSION ||
      image.size() != std::size_t{image.width()} * image.height() * channels || image.size() > 1U << 30)
    refuse(image, tooLarge);
  return {image.data(), static_cast<int>(image.width()), static_cast<int>(image.height()), static_cast<int>(channels)};
}

// The fourth byte is of no use in a picture.
Image withoutFourth(const Image& image) {
  if (image.size() / 4 < std::uint64_t{image.width()} * image.height()) // whose size has wrapped
    refuse(image, tooLarge);
  Image result;
  result.setParameters(image.width(), image.height(), Image::RGB24);
  const std::size_t pixels = std::min(image.size() / 4, result.size() / 3);
  for (std::size_t i = 0; i < pixels; ++i)
    std::copy_n(image.data() + 4 * i, 3, result.data() + 3 * i);
  return result;
}

Image toPicture(const Image& image) {
  if (image.format() == Image::RGB32)
    return withoutFourth(image);
  Image result;
  image.convertFormat(image.format() == Image::Y800 ? Image::Y800 : Image::RGB24, result);
  const bool lost = result.size() == 0 && image.size() > 0;
  if (lost || (result.format() != Image::RGB24 && result.format() != Image::Y800))
    refuse(image, "cannot be turned into a picture");
  return result;
}

std::string encodePNG(const Pixels& pixels) {
  std::string file;
  const auto append = [](void* context, void* data, int size) {
    static_cast<std::string*>(context)->append(static_cast<const char*>(data), static_cast<std::size_t>(size));
  };
  if (stbi_write_png_to_func(append, &file, pixels.width, pixels.height, pixels.channels, pixels.bytes,
                             pixels.width * pixels.channels) == 0)
    throw Vantiflux::Exception("the picture could not be encoded");
  return file;
}

// The encoder's own way out on an error is to end the process.
struct JPEGFailure {
  jpeg_error_mgr manager{};
  std::jmp_buf wayOut{};
  std::array<char, JMSG_LENGTH_MAX> text{};
};

struct JPEGMemory {
  unsigned char* bytes = nullptr;
  unsigned long size = 0;
};

void leave(j_common_ptr encoder) {
  auto* const failure = reinterpret_cast<JPEGFailure*>(encoder->err); // its first member
  failure->manager.format_message(encoder, failure->text.data());
  std::longjmp(failure->wayOut, 1);
}

// Holds nothing that has a destructor: an error jumps out of it.
bool compress(const Pixels& pixels, JPEGFailure& failure, JPEGMemory& memory) {
  jpeg_compress_struct encoder{};
  encoder.err = jpeg_std_error(&failure.manager);
  failure.manager.error_exit = leave;
  if (setjmp(failure.wayOut) != 0) {
    jpeg_destroy_compress(&encoder);
    return false;
  }
  jpeg_create_compress(&encoder);
  jpeg_mem_dest(&encoder, &memory.bytes, &memory.size);
  encoder.image_width = static_cast<JDIMENSION>(pixels.width);
  encoder.image_height = static_cast<JDIMENSION>(pixels.height);
  encoder.input_components = pixels.channels;
  encoder.in_color_space = pixels.channels == 1 ? JCS_GRAYSCALE : JCS_RGB;
  jpeg_set_defaults(&encoder);
  jpeg_set_quality(&encoder, jpegQuality, TRUE);
  jpeg_start_compress(&encoder, TRUE);
  while (encoder.next_scanline < encoder.image_height) {
    auto* line = const_cast<unsigned char*>(pixels.bytes) +
                 std::size_t{encoder.next_scanline} * static_cast<std::size_t>(pixels.width * pixels.channels);
    jpeg_write_scanlines(&encoder, &line, 1);
  }
  jpeg_finish_compress(&encoder);
  jpeg_destroy_compress(&encoder);
  return true;
}

std::string encodeJPEG(const Pixels& pixels) {
  JPEGFailure failure;
  JPEGMemory memory;
  const bool compressed = compress(pixels, failure, memory);
  if (!compressed) // what the encoder has allocated it may have freed already
    throw Vantiflux::Exception("the picture could not be encoded: " + std::string(failure.text.data()));
  const std::unique_ptr<unsigned char, decltype(&std::free)> owner(memory.bytes, &std::free);
  return {reinterpret_cast<const char*>(memory.bytes), memory.size};
}

} // namespace

PictureKind pictureKindOf(const std::string& file) {
  std::string ending = std::filesystem::path(file).extension().string();
  std::transform(ending.begin(), ending.end(), ending.begin(),
                 [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
  if (ending == ".png")
    return PictureKind::PNG;
  if (ending == ".jpg" || ending == ".jpeg")
    return PictureKind::JPEG;
  throw Vantiflux::Exception("\"" + file + "\" does not end in .png, .jpg or .jpeg");
}

std::string encodePicture(const Image& image, PictureKind kind) {
  const Image picture = toPicture(image);
  const Pixels pixels = pixelsOf(picture);
  return kind == PictureKind::PNG ? encodePNG(pixels) : encodeJPEG(pixels);
}

} // namespace Host
