#include <vantiflux/filters/EqualizeNode.h>

#include <cmath>
#include <exception>
#include <fstream>
#include <iomanip>
#include <iterator>
#include <locale>
#include <string_view>
#include <utility>

#include <vantiflux/core/FieldRow.h>
#include <vantiflux/filters/CalibrationFile.h>
#include <vantiflux/filters/RadialBasis.h>
#include <vantiflux/filters/ReferenceTable.h>
#include <vantiflux/platform/tarsil/Console.h>
#include <vantiflux/values/Pose.h>
#include <vantiflux/values/SlotTypes.h>

namespace Vantiflux {

namespace {

constexpr std::string_view filePrefix = "file:";
constexpr const char* defaultFile = "calibration.cln";
constexpr const char* defaultText = "file:calibration.cln";

using Vector = Vec3<float>;

Vector cross(const Vector& a, const Vector& b) {
  return {a.y * b.z - a.z * b.y, a.z * b.x - a.x * b.z, a.x * b.y - a.y * b.x};
}

Vector normalised(const Vector& v) {
  const float length = std::sqrt(v.x * v.x + v.y * v.y + v.z * v.z);
  return {v.x / length, v.y / length, v.z / length};
}

Vector column(const Matrix4<float>& m, std::size_t index) {
  return {m[index], m[index + 4], m[index + 8]};
}

void setColumn(Matrix4<float>& m, std::size_t index, const Vector& v) {
  m[index] = v.x;
  m[index + 4] = v.y;
  m[index + 8] = v.z;
}

/// The rows of the correction are what is interpolated as columns of the reported orientation: its inverse.
void correct(const RadialBasis::Sums& sums, const Vector& a, const Vector& b, Vector& outA, Vector& outB) {
  const Vector x = normalised(sums.x);
  const Vector y = normalised(sums.y);
  const Vector z = cross(x, y);
  Matrix4<float> correction({x.x, x.y, x.z, 0, y.x, y.y, y.z, 0, z.x, z.y, z.z, 0, 0, 0, 0, 1});
  Matrix4<float> orientation;
  setColumn(orientation, 0, a);
  setColumn(orientation, 1, b);
  setColumn(orientation, 2, cross(a, b));
  correction.mult(orientation);
  outA = column(correction, 0);
  outB = column(correction, 1);
}

template <class T>
T entry(const std::vector<T>& list, int index, const T& none) {
  return index >= 0 && static_cast<std::size_t>(index) < list.size() ? list[static_cast<std::size_t>(index)] : none;
}

constexpr Vector noVector(-1, -1, -1);

} // namespace

using N = EqualizeNode;

template <>
const char* const NodeDescription<N>::typeName_ = "Equalize";
template <>
const char* const NodeDescription<N>::shortDescription_ = "This node equalizes distorted tracker data.";
template <>
const char* const NodeDescription<N>::longDescription_ =
    "This node equalizes distorted tracker data. A table of reference points tells where a sensor truly was, where the "
    "tracker reported it and how it was turned there; between the points the correction is interpolated by radial "
    "basis functions.";

template <>
Field NodeDescription<N>::fields_[] = {
    fieldRow<N>("RSquare", "Float value, which is used for the equalization. Usually 0 < rSquare <= 100.", "0.001",
                &N::setRSquare, &N::getRSquare),
    fieldRow<N>("ReferenceData",
                "The reference data on which the equalization is based. Allowed is real data, as well as a file in the "
                "form \"file:<filename>\".",
                defaultText, &N::setReferenceData, &N::getReferenceData),
};
template <>
NodeType NodeDescription<N>::type_(typeName_, &create, author_, shortDescription_, longDescription_, fields_,
                                   std::size(fields_));

const NodeType* EqualizeNode::type() const {
  return &type_;
}

EqualizeNode::EqualizeNode()
    : referenceData_(defaultText), table_(std::make_shared<ReferenceTable>()), fit_(std::make_shared<RadialBasis>()) {}

EqualizeNode::~EqualizeNode() {
  disable();
}

// Running also without a table. A table without a solution must not reach whoever connects a slot as an exception.
void EqualizeNode::start() {
  if (getState() == Running)
    return;
  if (table()->size() == 0)
    readDefaultFile();
  try {
    initCoefficients();
  } catch (const std::exception& e) {
    refuse(std::string("The reference data cannot be used: ") + e.what());
    return;
  }
  const std::size_t points = fit()->size();
  setState(Running, points == 0 ? "No reference data: all positions are zero"
                                : "Equalizing with " + std::to_string(points) + " reference points");
}

// Taken as plain data: what was read stays the node's own text, and is saved with it.
void EqualizeNode::readDefaultFile() {
  const std::string path = CalibrationFile::find(defaultFile);
  addLog("No reference data was set, trying file " + path);
  setReferenceData(getFileContent(path));
}

void EqualizeNode::setReferenceData(const std::string& text) {
  const bool inFile = text.starts_with(filePrefix);
  std::string origin = "ReferenceData";
  std::string content;
  if (inFile) {
    const std::string name = text.substr(filePrefix.size());
    origin = CalibrationFile::find(name);
    content = getFileContent(origin);
    if (content.empty()) {
      refuse("File with reference data empty or not readable: " + name);
      return;
    }
  }
  ReferenceTable read;
  if (!read.parse(inFile ? content : text, origin)) {
    refuse("Can't parse reference data.");
    return;
  }
  install(std::move(read), &text);
}

std::string EqualizeNode::getReferenceData() const {
  const Tarsil::MutexLock guard(lock_);
  return referenceData_;
}

void EqualizeNode::setReferenceData(const std::vector<Vec3<float>>& reality, const std::vector<Vec3<float>>& measure,
                                    const std::vector<Matrix4<float>>& ori) {
  if (reality.size() != measure.size() || reality.size() != ori.size())
    refuse("Supplied reference data is incomplete.");
  else if (reality.size() < ReferenceTable::minSize)
    refuse("The reference data must have at least " + std::to_string(ReferenceTable::minSize) + " points.");
  else if (reality.size() > ReferenceTable::maxSize)
    refuse("The reference data may have at most " + std::to_string(ReferenceTable::maxSize) + " points.");
  else
    install({reality, measure, ori}, nullptr);
}

void EqualizeNode::install(ReferenceTable table, const std::string* text) {
  auto fresh = std::make_shared<const ReferenceTable>(std::move(table));
  const Tarsil::MutexLock guard(lock_);
  std::swap(table_, fresh);
  if (text != nullptr)
    referenceData_ = *text;
}

std::shared_ptr<const ReferenceTable> EqualizeNode::table() const {
  const Tarsil::MutexLock guard(lock_);
  return table_;
}

std::shared_ptr<const RadialBasis> EqualizeNode::fit() const {
  const Tarsil::MutexLock guard(lock_);
  return fit_;
}

bool EqualizeNode::parseReferenceDataStr(const std::string& text, std::vector<Vec3<float>>& reality,
                                         std::vector<Vec3<float>>& measure, std::vector<Matrix4<float>>& ori,
                                         const std::string& origin) {
  ReferenceTable table;
  const bool good = table.parse(text, origin);
  reality = std::move(table.realityPos);
  measure = std::move(table.measurePos);
  ori = std::move(table.measureOri);
  return !good;
}

std::string EqualizeNode::getFileContent(const std::string& path) {
  try {
    return CalibrationFile::read(path);
  } catch (const std::exception&) {
    Tarsil::printErrorLine("Can't open file \"" + path + "\" for reading.");
    return {};
  }
}

void EqualizeNode::skipPossibleComments(std::istream& stream) {
  ReferenceTable::skipPossibleComments(stream);
}

void EqualizeNode::initCoefficients() {
  const auto points = table();
  auto fresh = std::make_shared<const RadialBasis>();
  if (points->size() != 0)
    fresh = std::make_shared<const RadialBasis>(*points, rSquare_);
  const Tarsil::MutexLock guard(lock_);
  std::swap(fit_, fresh);
}

void EqualizeNode::equalize(Vec3<float>& position) const {
  position = fit()->at(position).position;
}

void EqualizeNode::equalize(Vec3<float>& position, Vec3<float>& a, Vec3<float>& b, Vec3<float>& outA,
                            Vec3<float>& outB) const {
  correct(fit()->at(position), a, b, outA, outB);
}

// All nine sums are taken at the reported position, in one go over the points.
void EqualizeNode::equalize(Matrix4<float>& m) const {
  const RadialBasis::Sums sums = fit()->at(column(m, 3));
  Vector u, v;
  correct(sums, column(m, 0), column(m, 1), u, v);
  const Vector w = cross(u, v);
  setColumn(m, 0, cross(v, w));
  setColumn(m, 1, v);
  setColumn(m, 2, w);
  setColumn(m, 3, sums.position);
  m[12] = m[13] = m[14] = 0;
  m[15] = 1;
}

void EqualizeNode::filterPose(std::size_t stream, Matrix4<float>& pose) {
  equalize(pose);
  const Pose parts = splitPose(pose);
  const BasicData::TimeStamp time = now();
  streams_[stream].out.push({pose, time});
  streams_[stream].orientation.push({parts.rotation, time});
  streams_[stream].position.push({parts.position, time});
}

Vec3<float> EqualizeNode::getRealityPos(int index) const {
  return entry(table()->realityPos, index, noVector);
}

Vec3<float> EqualizeNode::getMeasurePos(int index) const {
  return entry(table()->measurePos, index, noVector);
}

Matrix4<float> EqualizeNode::getMeasureOri(int index) const {
  return entry(table()->measureOri, index, Matrix4<float>());
}

Vec3<float> EqualizeNode::getCoeffPos(int index) const {
  const auto functions = fit();
  const auto i = static_cast<std::size_t>(index);
  return index >= 0 && i < functions->size() ? functions->coeffPos(i) : noVector;
}

Matrix4<float> EqualizeNode::getCoeffOri(int index) const {
  const auto functions = fit();
  const auto i = static_cast<std::size_t>(index);
  return index >= 0 && i < functions->size() ? functions->coeffOri(i) : Matrix4<float>();
}

void EqualizeNode::saveReferenceData(const std::string& path) const {
  std::ofstream file(path, std::ios::binary);
  file << getReferenceData() << std::flush;
  if (!file)
    Tarsil::printErrorLine("Unable to open file for saving reference data: " + path);
}

void EqualizeNode::saveCoefficients(const std::string& path) const {
  const auto functions = fit();
  const std::string line(35, '=');
  std::ofstream file(path);
  file.imbue(std::locale::classic());
  file << std::fixed;
  const auto triple = [&file](const Vector& v) {
    file << std::setw(8) << v.x << ' ' << std::setw(8) << v.y << ' ' << std::setw(8) << v.z;
  };
  file << "position coefficients\n" << line << '\n';
  for (std::size_t i = 0; i < functions->size(); ++i) {
    triple(functions->coeffPos(i));
    file << '\n';
  }
  file << "\norientation coefficients\n" << line << '\n';
  for (std::size_t i = 0; i < functions->size(); ++i) {
    const Matrix4<float> m = functions->coeffOri(i);
    triple(column(m, 0));
    file << " \t ";
    triple(column(m, 1));
    file << '\n';
  }
  file.flush();
  if (!file)
    Tarsil::printErrorLine("Unable to open file for saving coefficients: " + path);
}

} // namespace Vantiflux
