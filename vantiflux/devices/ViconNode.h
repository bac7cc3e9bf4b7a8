#pragma once

#include <memory>
#include <string>
#include <vector>

#include <vantiflux/Export.h>
#include <vantiflux/core/NodeDescription.h>
#include <vantiflux/core/Setting.h>
#include <vantiflux/devices/PoseSlots.h>
#include <vantiflux/devices/SearchingNode.h>
#include <vantiflux/devices/ViconParser.h>
#include <vantiflux/platform/pelorn/Socket.h>
#include <vantiflux/platform/pelorn/StreamBuf.h>

namespace Vantiflux {

/// Polls a Vicon real-time server over TCP for bodies and markers.
///
/// | Slot            | Direction | Type             |                              |
/// |-----------------|-----------|------------------|------------------------------|
/// | "Position N"    | out       | `Vec3<float>`    | of body N, in metres         |
/// | "Orientation N" | out       | `Rotation`       |                              |
/// | "Matrix N"      | out       | `Matrix4<float>` | both in one; see below       |
/// | "Marker N"      | out       | `Vec3<float>`    | of marker N, in metres       |
/// | "Visible N"     | out       | `bool`           | whether the cameras see it   |
///
/// The server tells which there are when the node is initialised; it numbers them from 0, in the order of its channels.
/// Fields: "Host" and "Port".
///
/// *Frames.* (x, y, z) of the server is (x, z, -y) here: right-handed, y up.
///
/// *Failure.* A server that does not answer properly gives the state Error. A connection that breaks later ends the
/// work, without a change of the state, until the node is started again; the reason is printed and in the log.
class VANTIFLUX_API ViconNode : public SearchingNode, public NodeDescription<ViconNode> {
public:
  using MarkerChannel = Vantiflux::MarkerChannel;
  using BodyChannel = Vantiflux::BodyChannel;
  using ClientCodes = ViconChannels::ClientCodes;

  /// The decoded values of one marker, and of one body, in a frame of data. What no channel tells is zero.
  struct MarkerData {
    Vec3<float> position;
    bool visible = true;
  };
  struct BodyData {
    Vec3<float> position;
    Rotation rotation;
    Matrix4<float> matrix;
  };
  static MarkerData decode(const MarkerChannel& channel, const std::vector<double>& values);
  static BodyData decode(const BodyChannel& channel, const std::vector<double>& values);

  ViconNode();
  ~ViconNode() override;

  const NodeType* type() const override;

  void setHost(const std::string& host) { host_.set(host); }
  std::string getHost() const { return host_.get(); }
  void setPort(unsigned short port) { port_.set(port); }
  unsigned short getPort() const { return port_.get(); }

protected:
  bool search() override;
  Rows foundSlots() override;
  void thread() override;
  void prepare() override { socket_.resetWait(); }
  void interrupt() override { socket_.breakWait(); }

private:
  static constexpr int replyTime = 5000; ///< milliseconds for the list of channels

  struct MarkerSlots {
    explicit MarkerSlots(const std::string& number) : position("Marker " + number), visible("Visible " + number) {}
    OutSlot<Vec3<float>> position;
    OutSlot<bool> visible;
  };

  bool openVicon();
  bool connect();
  void makeSlots();
  bool request(ViconParser::Type type);
  bool receive(void* bytes, std::size_t size, int milliseconds);
  bool readFrame(ViconParser& parser, std::vector<double>& values);
  void write(const std::vector<double>& values);
  void report(const std::string& text);

  Setting<std::string> host_{"localhost"};
  Setting<unsigned short> port_{800};

  Pelorn::Socket socket_;
  Pelorn::StreamBuf stream_{socket_, 64, 65536};
  ViconChannels channels_; ///< of the present connection; the worker's, and whoever acts on its search

  // Added to by the worker, and never destroyed: see TrackerNode.
  std::vector<std::unique_ptr<PoseSlots>> bodies_;
  std::vector<std::unique_ptr<MarkerSlots>> markers_;
};

} // namespace Vantiflux
