#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <string_view>
#include <vector>

#include <vantiflux/Export.h>

namespace Vantiflux {

class TextCursor;

/// Reads the ASCII datagrams of an ART controller into records of bodies and sticks.
///
/// A datagram begins with "fr" and has lines that begin with what they hold; their order does not matter. Entries are
/// put in brackets:
///
///     3d n [id quality][x y z] ...                                 single markers
///     6d n [id quality][x y z a b c][r0 ... r8] ...                bodies
///     6df n [id quality buttons][x y z a b c][r0 ... r8] ...       sticks (any one character but "i")
///     6di n [id state quality][x y z][r0 ... r8] ...               inertial bodies, kept with the sticks
///     6df2 n m [id quality a b][x y z][r0 ... r8][buttons ...] ... sticks, second form (any two characters)
///
/// The records outlive the datagram: one that a datagram does not mention stays as it was.
///
/// *Failure.* An entry that is not complete, and what follows it on its line, is passed over. So are entries beyond the
/// limits.
class VANTIFLUX_API ARTParser {
public:
  /// As much of a datagram is read.
  static constexpr std::size_t maxDatagram = 32768;

  struct BodyRecord {
    std::uint64_t id = 0;
    float quality = 0;
    std::array<float, 3> position{}; ///< in millimetres, as all that the controller sends
    std::array<float, 3> angles{};   ///< as read; not used
    std::array<float, 9> rotation{}; ///< column by column
    bool valid = false;              ///< there has been data
    bool flyStick = false;           ///< belongs to the sticks
    std::uint32_t buttons = 0;       ///< bit k is button k
  };

  ARTParser(std::size_t maxBodies, std::size_t maxFlySticks) : bodies_(maxBodies), sticks_(maxFlySticks) {}

  /// False, with nothing read, if the text does not begin with "fr".
  bool parse(std::string_view datagram);

  const std::vector<BodyRecord>& bodies() const noexcept { return bodies_; }
  const std::vector<BodyRecord>& sticks() const noexcept { return sticks_; }

private:
  void parseMarkers(std::string_view line);
  void parseBodies(std::string_view line, std::string_view suffix);
  bool readCount(TextCursor& cursor, std::size_t& count) const;

  std::vector<BodyRecord> bodies_;
  std::vector<BodyRecord> sticks_;
};

} // namespace Vantiflux
