#include <vantiflux/values/Image.h>

#include <algorithm>
#include <array>
#include <cctype>
#include <string_view>
#include <unordered_map>

namespace Vantiflux {

namespace {

// A format's name, and its size as a multiple of the number of pixels plus a fraction of it.
struct FormatRow {
  const char* name;
  std::uint32_t wholes;
  std::uint32_t fractionShift; // 0: no fraction
};

constexpr std::array<FormatRow, Image::formatCount> formats = {{
    {"NONE", 0, 0},    {"BGR232", 1, 0}, {"BGR555", 2, 0}, {"BGR565", 2, 0},  {"BGR24", 3, 0},
    {"RGB24", 3, 0},   {"BGR32", 4, 0},  {"RGB32", 4, 0},  {"SHORT16", 2, 0}, {"FLOAT16", 2, 0},
    {"FLOAT32", 4, 0}, {"Y444", 3, 0},   {"IYU2", 3, 0},   {"I420", 1, 1},    {"YVU9", 1, 3},
    {"YUV9", 1, 3},    {"Y800", 1, 0},   {"Y1600", 2, 0},  {"Y422", 2, 0},    {"Y411", 1, 1},
    {"Y41P", 1, 1},    {"YV12", 1, 1},   {"YUY2", 2, 0},   {"YUV422P", 2, 0}, {"YUV411P", 1, 1},
}};

const FormatRow& rowOf(Image::Format format) {
  return formats[format > Image::NONE && format < Image::formatCount ? static_cast<std::size_t>(format) : 0];
}

using FormatMap = std::unordered_map<std::string_view, Image::Format>;

FormatMap makeFormatMap() {
  FormatMap map = {
      {"IYUV", Image::I420},   {"YUV420P", Image::I420}, {"YVU410", Image::YVU9}, {"YUV410P", Image::YUV9},
      {"Y8", Image::Y800},     {"GREY", Image::Y800},    {"Y16", Image::Y1600},   {"UYVY", Image::Y422},
      {"YUV411", Image::Y41P}, {"YVU420", Image::YV12},  {"YUYV", Image::YUY2},   {"YUV422", Image::YUY2},
  };
  for (int format = 0; format < Image::formatCount; ++format)
    map.emplace(formats[static_cast<std::size_t>(format)].name, static_cast<Image::Format>(format));
  return map;
}

} // namespace

// In 32 bits on purpose: both ends of a connection must come to the same size, also for an absurd one.
void Image::setParameters(unsigned int width, unsigned int height, Format format) {
  const std::uint32_t pixels = width * height;
  const FormatRow& row = rowOf(format);
  const std::uint32_t size = pixels * row.wholes + (row.fractionShift > 0 ? pixels >> row.fractionShift : 0);
  if (size > capacity())
    clear(); // what holds if there is not so much memory
  buffer_.require(size);
  size_ = size;
  width_ = width;
  height_ = height;
  format_ = format;
}

const char* Image::format2String(Format format) {
  return rowOf(format).name;
}

Image::Format Image::string2Format(const std::string& name) {
  static const FormatMap map = makeFormatMap();
  constexpr const char* blanks = " \t\n\r";
  const auto first = name.find_first_not_of(blanks);
  if (first == std::string::npos)
    return NONE;
  std::string key = name.substr(first, name.find_last_not_of(blanks) - first + 1);
  std::transform(key.begin(), key.end(), key.begin(),
                 [](unsigned char c) { return static_cast<char>(std::toupper(c)); });
  const auto found = map.find(key);
  return found == map.end() ? NONE : found->second;
}

} // namespace Vantiflux
