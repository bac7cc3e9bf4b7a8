#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

#include <vantiflux/Export.h>

namespace Vantiflux {

/// The numbers of the channels that a marker's values come in: X, Y, Z and whether it is hidden.
struct MarkerChannel {
  static constexpr std::size_t channels = 4;
  std::array<std::int32_t, channels> number{-1, -1, -1, -1}; ///< -1 when unset
  std::string name;
};

/// The same of a body: rotation about, and translation along the three axes.
struct BodyChannel {
  static constexpr std::size_t channels = 6;
  std::array<std::int32_t, channels> number{-1, -1, -1, -1, -1, -1};
  std::string name;
};

/// What a Vicon server measures: the names of its channels, sorted out. A name is that of a marker or a body, a blank,
/// and a token in angle brackets for the component: "Head <A-X>".
class VANTIFLUX_API ViconChannels {
public:
  /// The tokens in the order of the channels.
  struct VANTIFLUX_API ClientCodes {
    using MarkerTokens = std::array<std::string_view, MarkerChannel::channels>;
    using BodyTokens = std::array<std::string_view, BodyChannel::channels>;
    static constexpr MarkerTokens MakeMarkerTokens() { return {"<P-X>", "<P-Y>", "<P-Z>", "<P-O>"}; }
    static constexpr BodyTokens MakeBodyTokens() { return {"<A-X>", "<A-Y>", "<A-Z>", "<T-X>", "<T-Y>", "<T-Z>"}; }
    static const MarkerTokens markerTokens_;
    static const BodyTokens bodyTokens_;
  };

  void add(const std::string& channel);

  const std::vector<std::string>& names() const noexcept { return names_; }
  const std::vector<MarkerChannel>& markers() const noexcept { return markers_; }
  const std::vector<BodyChannel>& bodies() const noexcept { return bodies_; }
  std::int32_t frameChannel() const noexcept { return frame_; }

private:
  /// Where a name stands in the list of markers or bodies: there may be thousands.
  using Places = std::unordered_map<std::string, std::size_t>;

  template <class Channel>
  static Channel* find(std::vector<Channel>& channels, const Places& places, const std::string& name);
  template <class Channel>
  static Channel& append(std::vector<Channel>& channels, Places& places, const std::string& name);

  Places markerPlaces_;
  Places bodyPlaces_;
  std::vector<std::string> names_;
  std::vector<MarkerChannel> markers_;
  std::vector<BodyChannel> bodies_;
  std::int32_t frame_ = -1;
};

/// Reads the replies of a Vicon real-time server. All fields are 64-bit integers, and the data 64-bit floating point
/// numbers, in the byte order of this machine.
///
/// *Failure.* Throws an Exception with one of the texts that the node prints. What the other side announces is taken in
/// only up to limits, and memory grows only with what has arrived.
class VANTIFLUX_API ViconParser {
public:
  static constexpr std::int64_t maxChannels = 16384;
  static constexpr std::int64_t maxNameLength = 1024;

  enum Type : std::int64_t { Info = 1, Data = 2 };

  /// Takes exactly so many bytes; false if they do not come.
  using Source = std::function<bool(void* bytes, std::size_t size)>;

  explicit ViconParser(Source source) : source_(std::move(source)) {}

  static std::array<std::int64_t, 2> request(Type type) noexcept { return {type, 0}; }

  ViconChannels readChannels();
  /// As many values as there are channels; another number is an error.
  void readData(std::vector<double>& values);

private:
  void readHead(Type type);
  std::int64_t readInteger();
  void read(void* bytes, std::size_t size);

  Source source_;
};

} // namespace Vantiflux
