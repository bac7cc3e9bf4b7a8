#pragma once

#include <cstddef>
#include <istream>
#include <string>
#include <vector>

#include <vantiflux/values/Matrix4.h>
#include <vantiflux/values/Vec3.h>

namespace Vantiflux {

/// What is known about a tracker's distortion: for each reference point where it truly lies, where the tracker reported
/// it, and how it was turned. The three lists are equally long.
struct ReferenceTable {
  static constexpr std::size_t minSize = 64;
  /// The work grows with the third power, and is done while slots are being connected.
  static constexpr std::size_t maxSize = 2048;

  std::vector<Vec3<float>> realityPos;
  std::vector<Vec3<float>> measurePos;
  std::vector<Matrix4<float>> measureOri;

  std::size_t size() const { return realityPos.size(); }

  /// Reads the text form, which is described at EqualizeNode, in place of what the table held. `origin` stands for the
  /// text in messages on standard error. Returns false if there are too few points, or too many; those that were read
  /// stay.
  bool parse(const std::string& text, const std::string& origin);

  /// Leaves the stream before the next number, or at its end.
  static void skipPossibleComments(std::istream& stream);
};

} // namespace Vantiflux
