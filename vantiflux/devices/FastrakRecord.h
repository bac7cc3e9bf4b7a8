#pragma once

#include <cstddef>
#include <string_view>

#include <vantiflux/Export.h>
#include <vantiflux/values/Rotation.h>
#include <vantiflux/values/Vec3.h>

namespace Vantiflux {

/// One measurement of a Fastrak, and its lines in general. A data record is the line
///
///     0 S e XXXXXXX YYYYYYY ZZZZZZZ AAAAAAA BBBBBBB CCCCCCC DDDDDDD . P \r
///
/// (without the blanks): station, error indicator, position in centimetres, quaternion with the scalar part first, and
/// the stylus, "1" when pressed.
struct VANTIFLUX_API FastrakRecord {
  static constexpr std::size_t stations = 4;
  static constexpr std::size_t length = 55;

  std::size_t sensor = 0; ///< the station less 1
  Vec3<float> position;   ///< in metres; x goes right, y up, z towards the viewer
  Rotation rotation;      ///< in the same frame
  bool pressed = false;   ///< the stylus

  /// Reads a line without its line feed. False, with the record as it was, if it is no data record, or has something
  /// else than a number in the place of one.
  static bool parse(std::string_view line, FastrakRecord& record) noexcept;

  /// Whether a reply (with the number 2) is of this kind.
  static bool isReply(std::string_view line, char kind) noexcept;
};

} // namespace Vantiflux
