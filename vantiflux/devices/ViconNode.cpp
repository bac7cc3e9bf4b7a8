#include <vantiflux/devices/ViconNode.h>

#include <algorithm>
#include <cmath>
#include <iterator>

#include <vantiflux/core/Exception.h>
#include <vantiflux/core/FieldRow.h>
#include <vantiflux/platform/pelorn/Deadline.h>
#include <vantiflux/platform/pelorn/Exception.h>
#include <vantiflux/platform/pelorn/InetAddress.h>
#include <vantiflux/values/SlotTypes.h>

namespace Vantiflux {

using N = ViconNode;

template <>
const char* const NodeDescription<N>::typeName_ = "Vicon";
template <>
const char* const NodeDescription<N>::shortDescription_ = "Reads Vicon tracking data.";
template <>
const char* const NodeDescription<N>::longDescription_ =
    "Polls a Vicon real-time server and publishes position, orientation and matrix of each body, and position and "
    "visibility of each marker.";

template <>
Field NodeDescription<N>::fields_[] = {
    fieldRow<N>("Host", "Vicon host address or hostname.", "localhost", &N::setHost, &N::getHost),
    fieldRow<N>("Port", "Vicon socket port.", "800", &N::setPort, &N::getPort),
};
template <>
NodeType NodeDescription<N>::type_(typeName_, &create, author_, shortDescription_, longDescription_, fields_,
                                   std::size(fields_));

const NodeType* ViconNode::type() const {
  return &type_;
}

ViconNode::ViconNode() = default;

ViconNode::~ViconNode() {
  disable();
  stopWorker();
}

namespace {

struct Closing {
  explicit Closing(Pelorn::StreamBuf& s) : stream(s) {}
  ~Closing() { stream.close(); }
  Pelorn::StreamBuf& stream;
};

double valueOf(const std::vector<double>& values, std::int32_t number) {
  return number < 0 ? 0 : values[static_cast<std::size_t>(number)];
}

/// From the server's frame in millimetres.
Vec3<float> metres(double x, double y, double z) {
  return {static_cast<float>(x / 1000.0), static_cast<float>(z / 1000.0), static_cast<float>(-y / 1000.0)};
}

/// The turn by `angle`, which is not zero, about a unit axis, and the move.
Matrix4<float> rodrigues(double u, double v, double w, double angle, const Vec3<float>& move) {
  const double s = std::sin(angle);
  const double c = std::cos(angle);
  const double t = 1 - c;
  const auto f = [](double value) { return static_cast<float>(value); };
  return Matrix4<float>({f(t * u * u + c), f(t * u * v - w * s), f(t * u * w + v * s), move.x, //
                         f(t * u * v + w * s), f(t * v * v + c), f(t * v * w - u * s), move.y, //
                         f(t * u * w - v * s), f(t * v * w + u * s), f(t * w * w + c), move.z, //
                         0, 0, 0, 1});
}

} // namespace

ViconNode::MarkerData ViconNode::decode(const MarkerChannel& channel, const std::vector<double>& values) {
  const auto& [x, y, z, o] = channel.number;
  return {metres(valueOf(values, x), valueOf(values, y), valueOf(values, z)), !(valueOf(values, o) > 0.5)};
}

ViconNode::BodyData ViconNode::decode(const BodyChannel& channel, const std::vector<double>& values) {
  const auto& number = channel.number;
  const double rx = valueOf(values, number[0]);
  const double ry = valueOf(values, number[1]);
  const double rz = valueOf(values, number[2]);
  const double angle = std::sqrt(rx * rx + ry * ry + rz * rz);
  const double h = angle < 1e-10 ? 1 : std::sin(angle / 2) / angle;
  BodyData body;
  body.position = metres(valueOf(values, number[3]), valueOf(values, number[4]), valueOf(values, number[5]));
  body.rotation = Rotation(static_cast<float>(rx * h), static_cast<float>(rz * h), static_cast<float>(-ry * h),
                           static_cast<float>(std::cos(angle / 2)));
  // Without a rotation the matrix is the identity and loses the translation: kept on purpose, because saved set-ups
  // depend on it.
  if (angle > 1e-15)
    body.matrix = rodrigues(rx / angle, rz / angle, -ry / angle, angle, body.position);
  return body;
}

bool ViconNode::openVicon() {
  try {
    if (!connect())
      return false;
    if (!request(ViconParser::Info))
      throw Exception("Error send");
    const Pelorn::Deadline deadline(replyTime);
    ViconParser parser([&](void* bytes, std::size_t size) { return receive(bytes, size, deadline.remaining()); });
    channels_ = parser.readChannels();
    return true;
  } catch (const Exception& e) {
    report(e.what());
    return false;
  }
}

bool ViconNode::connect() {
  const std::string host = getHost();
  try {
    socket_.open(host, getPort(), replyTime);
  } catch (const Pelorn::Exception& e) {
    if (!socket_.broken())
      addLog(e.what());
    return false;
  }
  stream_.discard(); // what an earlier connection left
  return socket_.setTcpNoDelay(true);
}

/// Prints what went wrong, unless it is that the node was told to stop.
void ViconNode::report(const std::string& text) {
  if (!socket_.broken())
    print(text.empty() ? "Error! Error! Error! Error! Error!" : text);
}

bool ViconNode::request(ViconParser::Type type) {
  const auto fields = ViconParser::request(type);
  return stream_.write(std::string_view(reinterpret_cast<const char*>(fields.data()), sizeof fields));
}

/// All of the bytes, within the limit of time if that is not negative.
bool ViconNode::receive(void* bytes, std::size_t size, int milliseconds) {
  const Pelorn::Deadline deadline(milliseconds);
  auto* to = static_cast<char*>(bytes);
  while (size > 0) {
    if (milliseconds >= 0 && deadline.remaining() == 0) // however fast it sends
      return false;
    if (stream_.in_avail() <= 0 && stream_.waitForData(deadline.remaining()) != Pelorn::WaitResult::Data)
      return false;
    const std::streamsize got = stream_.sgetn(
        to, std::min(static_cast<std::streamsize>(size), std::max<std::streamsize>(stream_.in_avail(), 1)));
    to += got;
    size -= static_cast<std::size_t>(got);
    if (got == 0)
      return false;
  }
  return true;
}

bool ViconNode::search() {
  const Closing closing(stream_);
  if (openVicon()) {
    makeSlots();
    return true;
  }
  if (!isStopped())
    setState(Error, "Did not detect a vicon tracker at " + getHost());
  return false;
}

void ViconNode::makeSlots() {
  while (bodies_.size() < channels_.bodies().size())
    bodies_.push_back(std::make_unique<PoseSlots>(bodies_.size()));
  while (markers_.size() < channels_.markers().size())
    markers_.push_back(std::make_unique<MarkerSlots>(std::to_string(markers_.size())));
}

TrackerNode::Rows ViconNode::foundSlots() {
  Rows rows;
  for (std::size_t i = 0; i < channels_.bodies().size(); ++i)
    addPose(rows, i, *bodies_[i]);
  for (std::size_t i = 0; i < channels_.markers().size(); ++i) {
    rows.emplace_back(markers_[i]->position.getDescription(), &markers_[i]->position);
    rows.emplace_back(markers_[i]->visible.getDescription(), &markers_[i]->visible);
  }
  return rows;
}

// The server may have more to tell than when the slots were published: those slots exist, and nobody is connected.
void ViconNode::thread() {
  const Closing closing(stream_);
  if (!openVicon()) {
    if (!isStopped())
      setState(Error, "Vicon does not exist");
    return;
  }
  makeSlots();
  std::vector<double> values(channels_.names().size());
  ViconParser parser([this](void* bytes, std::size_t size) { return receive(bytes, size, -1); });
  setState(Running, "Operating");
  try {
    while (!isStopped())
      if (readFrame(parser, values))
        write(values);
  } catch (const Exception& e) {
    report(e.what());
    if (!isStopped())
      return; // the state stays, kept on purpose, because saved set-ups depend on it
  }
  reportEnd();
}

/// Asks for a frame; false if none comes soon. A late reply is taken for that of the next request.
bool ViconNode::readFrame(ViconParser& parser, std::vector<double>& values) {
  if (!request(ViconParser::Data))
    throw Exception("Error Requesting");
  if (stream_.waitForData(100) == Pelorn::WaitResult::Timeout)
    return false;
  parser.readData(values);
  return true;
}

void ViconNode::write(const std::vector<double>& values) {
  for (std::size_t i = 0; i < channels_.markers().size(); ++i) {
    const MarkerData data = decode(channels_.markers()[i], values);
    markers_[i]->position.push(data.position);
    markers_[i]->visible.push(data.visible);
  }
  for (std::size_t i = 0; i < channels_.bodies().size(); ++i) {
    const BodyData data = decode(channels_.bodies()[i], values);
    bodies_[i]->position.push(data.position);
    bodies_[i]->orientation.push(data.rotation);
    bodies_[i]->matrix.push(data.matrix);
  }
}

} // namespace Vantiflux
