#include <vantiflux/filters/ReferenceTable.h>

#include <algorithm>
#include <array>
#include <limits>
#include <locale>
#include <sstream>

#include <vantiflux/platform/tarsil/Console.h>
#include <vantiflux/values/Pose.h>

namespace Vantiflux {

namespace {

constexpr std::size_t usualSize = 216; // a cube of six points each way

using Record = std::array<float, 10>;

void readRecord(std::istream& stream, Record& record) {
  for (float& number : record) {
    ReferenceTable::skipPossibleComments(stream);
    stream >> number;
  }
  ReferenceTable::skipPossibleComments(stream);
}

void append(ReferenceTable& table, const Record& r) {
  table.realityPos.emplace_back(r[0], r[1], r[2]);
  table.measurePos.emplace_back(r[3], r[4], r[5]);
  table.measureOri.push_back(rotationMatrix({r[6], r[7], r[8], r[9]}));
}

/// "(origin:line)" for where the stream stands.
std::string place(std::istream& stream, const std::string& text, const std::string& origin) {
  const bool atEnd = stream.eof();
  stream.clear();
  const auto read = atEnd ? text.end() : text.begin() + static_cast<std::ptrdiff_t>(stream.tellg());
  return "(" + origin + ":" + std::to_string(1 + std::count(text.begin(), read, '\n')) + ")";
}

} // namespace

void ReferenceTable::skipPossibleComments(std::istream& stream) {
  while (stream.good() && (stream >> std::ws).good() && stream.peek() == '#')
    stream.ignore(std::numeric_limits<std::streamsize>::max(), '\n');
}

bool ReferenceTable::parse(const std::string& text, const std::string& origin) {
  realityPos.clear();
  measurePos.clear();
  measureOri.clear();
  realityPos.reserve(usualSize);
  measurePos.reserve(usualSize);
  measureOri.reserve(usualSize);

  std::istringstream stream(text);
  stream.imbue(std::locale::classic()); // whatever the host's decimal point
  while (size() <= maxSize) {
    Record record{};
    readRecord(stream, record);
    // A record at the very end of the text is not stored, whether whole or not. Kept on purpose, because saved set-ups
    // depend on it.
    if (stream.eof())
      break;
    if (!stream) {
      Tarsil::printErrorLine("There's something wrong with the reference data. " + place(stream, text, origin));
      break;
    }
    append(*this, record);
  }
  if (size() < minSize)
    Tarsil::printErrorLine("Found only " + std::to_string(size()) + " reference points, but there must be at least " +
                           std::to_string(minSize) + ", " + place(stream, text, origin));
  if (size() > maxSize)
    Tarsil::printErrorLine("There are more than " + std::to_string(maxSize) + " reference points, " +
                           place(stream, text, origin));
  return size() >= minSize && size() <= maxSize;
}

} // namespace Vantiflux
