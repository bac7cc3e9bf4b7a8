#pragma once

#include <atomic>
#include <cstddef>
#include <istream>
#include <memory>
#include <string>
#include <vector>

#include <vantiflux/Export.h>
#include <vantiflux/core/NodeDescription.h>
#include <vantiflux/filters/PoseFilterNode.h>
#include <vantiflux/platform/tarsil/Mutex.h>

namespace Vantiflux {

class RadialBasis;
struct ReferenceTable;

/// Corrects the spatial distortion of a tracker by a table of reference points: where a sensor truly was, where the
/// tracker reported it, and how it was turned in the report when it was not turned at all. Radial basis functions with
/// a multiquadric kernel are fitted to the table at each start. Three map reported to true positions, six give the
/// correction of the orientation at the reported position.
///
/// | Field           | Default                |                                                                   |
/// |-----------------|------------------------|-------------------------------------------------------------------|
/// | "RSquare"       | 0.001                  | roundness of the kernel, in squared units; between 0 and 100      |
/// | "ReferenceData" | "file:calibration.cln" | the table as text, or "file:" and the name of a file that has it  |
///
/// Both count from the next start on. Slots, threads and states are those of PoseFilterNode.
///
/// *The table as text* is a sequence of records of ten decimal numbers with white space between: true position x y z,
/// reported position x y z, orientation as a unit quaternion x y z w. A comment, from "#" to the end of the line, may
/// stand before any number. The record at the end of the text is not taken: end the text with one to spare. A table has
/// 64 to 2048 points.
///
/// *Files.* A file name that is not absolute is looked for in the working directory, in the directories of the
/// environment variable VANTIFLUX_CALIBRATION_PATH (joined by colons), in $XDG_CONFIG_HOME/vantiflux, or
/// $HOME/.config/vantiflux if that is not set, and in /etc/vantiflux. A node that was given no table reads
/// "calibration.cln" from there at its start; none comes with the library. Without a table every position comes out as
/// zero, and the short info says so.
///
/// *Failure.* A table that cannot be taken gives the state Error; the one before it stays. So does a table for which
/// there is no solution, as when a reported position stands in it twice; what was fitted before stays.
class VANTIFLUX_API EqualizeNode : public PoseFilterNode, public NodeDescription<EqualizeNode> {
public:
  EqualizeNode();
  ~EqualizeNode() override;

  const NodeType* type() const override;
  void start() override;

  void setRSquare(float rSquare) { rSquare_ = rSquare; }
  float getRSquare() const { return rSquare_; }
  void setReferenceData(const std::string& text);
  /// The text that was accepted last, with its "file:" if it had one; at first the default.
  std::string getReferenceData() const;
  /// Takes a table that is at hand.
  void setReferenceData(const std::vector<Vec3<float>>& reality, const std::vector<Vec3<float>>& measure,
                        const std::vector<Matrix4<float>>& ori);

  /// Replaces the three lists by what the text holds. Returns true on failure: fewer than 64 points, or more than 2048.
  /// Says on standard error what is wrong, and where: the "source file" there is `origin`, with the line in the text.
  static bool parseReferenceDataStr(const std::string& text, std::vector<Vec3<float>>& reality,
                                    std::vector<Vec3<float>>& measure, std::vector<Matrix4<float>>& ori,
                                    const std::string& origin = "ReferenceData");
  /// The whole file, or, with a line on standard error, the empty text.
  static std::string getFileContent(const std::string& path);
  /// Moves on to the next number, or to the end.
  static void skipPossibleComments(std::istream& stream);

  /// Fits the functions to the table. Values flow on meanwhile, through the fit before. Throws Exception if there is no
  /// solution.
  void initCoefficients();

  /// The true position for a reported one; zero without a fit.
  void equalize(Vec3<float>& position) const;
  /// Corrects the first two columns a and b of an orientation that was reported at the position.
  void equalize(Vec3<float>& position, Vec3<float>& a, Vec3<float>& b, Vec3<float>& outA, Vec3<float>& outB) const;
  /// Corrects a pose.
  void equalize(Matrix4<float>& m) const;

  /// One entry of the table, or of the fit. Without such an entry a vector is (-1, -1, -1), and a matrix the identity.
  Vec3<float> getRealityPos(int index) const;
  Vec3<float> getMeasurePos(int index) const;
  Matrix4<float> getMeasureOri(int index) const;
  Vec3<float> getCoeffPos(int index) const;
  Matrix4<float> getCoeffOri(int index) const;

  /// Writes the accepted text to a file as it stands. A file that cannot be written is told on standard error.
  void saveReferenceData(const std::string& path) const;
  /// Writes the coefficients, for people to look at.
  void saveCoefficients(const std::string& path) const;

protected:
  void filterPose(std::size_t stream, Matrix4<float>& pose) override;

private:
  void install(ReferenceTable table, const std::string* text);
  void readDefaultFile();
  std::shared_ptr<const ReferenceTable> table() const;
  std::shared_ptr<const RadialBasis> fit() const;

  std::atomic<float> rSquare_{0.001F};
  mutable Tarsil::Mutex lock_; ///< innermost; guards the text and the two pointers, what they point to never changes
  std::string referenceData_ TARSIL_GUARDED_BY(lock_);
  std::shared_ptr<const ReferenceTable> table_ TARSIL_GUARDED_BY(lock_);
  std::shared_ptr<const RadialBasis> fit_ TARSIL_GUARDED_BY(lock_);
};

} // namespace Vantiflux
