#pragma once

#include <cstddef>
#include <mutex>
#include <string>
#include <string_view>

#include <vantiflux/Export.h>
#include <vantiflux/core/InSlot.h>
#include <vantiflux/core/Node.h>
#include <vantiflux/core/NodeDescription.h>
#include <vantiflux/core/NodeWorker.h>
#include <vantiflux/core/OutSlot.h>
#include <vantiflux/core/Setting.h>
#include <vantiflux/devices/RFBPointer.h>
#include <vantiflux/devices/RFBStream.h>
#include <vantiflux/platform/pelorn/Socket.h>
#include <vantiflux/platform/pelorn/StreamBuf.h>
#include <vantiflux/values/SlotTypes.h>

namespace Vantiflux {

class RFBSession;

/// A client of a VNC server: shows its screen, and moves its pointer.
///
/// | Slot                  | Direction | Type              |                                      |
/// |-----------------------|-----------|-------------------|--------------------------------------|
/// | "Mouse Position"      | in        | `Vec2<float>`     | from 0 to 1; (0, 0) is at lower left |
/// | "Left Mouse Button"   | in        | `bool`            | whether it is down: bit 0            |
/// | "Right Mouse Button"  | in        | `bool`            | bit 1, for servers the middle one    |
/// | "Middle Mouse Button" | in        | `bool`            | bit 2, for servers the right one     |
/// | "Frames"              | out       | `SmartPtr<Image>` | the screen in RGB24, last line first |
///
/// The bits of the two buttons are kept on purpose, because set-ups depend on them.
///
/// Fields: "Address", "Port" and "Password" of the server; they count from the next start on. Of a password, eight
/// bytes count. A parameter "Encodings", if one is set, names the encodings to ask for in place of all, between commas,
/// as RFBSession knows them: "Raw, CopyRect, Cursor, DesktopSize" for a server that uses one that we cannot read. A
/// framebuffer has 2^25 pixels at most, a cursor 1024 in each direction.
///
/// A frame is written after each update, and after 50 ms without one.
///
/// *Threads.* One worker connects, reads and pushes, while a slot is in use. `newData` sends in the writer's thread,
/// and never blocks. What is put into the slots before the server is ready counts when it is; of what comes faster than
/// the server takes it, the latest counts.
///
/// *Failure.* A server that cannot be reached gives the state Error. One that does not let us in, or speaks something
/// else, leaves the state as it is; the log has the reason. When the connection ends, or the server says what nobody
/// knows, the node sleeps. A server that says what cannot be, a rectangle outside its framebuffer for one, loses its
/// connection with the state Error. Nothing connects again before the next start.
class VANTIFLUX_API VNCNode : public Node, public NodeDescription<VNCNode> {
public:
  VNCNode();
  ~VNCNode() override;

  const NodeType* type() const override;
  void start() override;
  void stop() override;
  void newData(BasicInSlot& slot) override;

  void setAddress(const std::string& address) { address_.set(address); }
  std::string getAddress() const { return address_.get(); }
  void setPort(unsigned short port) { port_.set(port); }
  unsigned short getPort() const { return port_.get(); }
  void setPassword(const std::string& password) { password_.set(password); }
  std::string getPassword() const { return password_.get(); }

private:
  std::string encodings() const;
  void thread();
  bool openConnection(RFBStream& stream);
  void closeConnection();
  void communicate(RFBStream& stream);
  void followScreen(RFBSession& session);
  bool receive(void* bytes, std::size_t size);
  void send(std::string_view message);
  bool sendPointer(std::string_view message, bool pressed);

  static constexpr std::size_t maxQueued = std::size_t{1} << 16; ///< bytes that a server is yet to take

  Setting<std::string> address_;
  Setting<unsigned short> port_{5900};
  Setting<std::string> password_;

  InSlot<Vec2<float>> mousePosition_{"Receives the position of the mouse pointer"};
  InSlot<bool> leftButton_{"Receives the state of the left mouse button"};
  InSlot<bool> rightButton_{"Receives the state of the right mouse button"};
  InSlot<bool> middleButton_{"Receives the state of the middle mouse button"};
  OutSlot<SmartPtr<Image>> frames_{"Video frames"};

  std::mutex pointerLock_; ///< guards the pointer; under it slots are read, and messages left in the stream's queue
  RFBPointer pointer_;

  Pelorn::Socket socket_;
  Pelorn::StreamBuf stream_{socket_, 64, std::size_t{1} << 18}; ///< its writing side is for all threads
  NodeWorker worker_;
};

} // namespace Vantiflux
