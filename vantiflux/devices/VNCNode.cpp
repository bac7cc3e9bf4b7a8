#include <vantiflux/devices/VNCNode.h>

#include <iterator>

#include <vantiflux/core/FieldRow.h>
#include <vantiflux/core/InvalidFieldException.h>
#include <vantiflux/devices/RFBHandshake.h>
#include <vantiflux/devices/RFBSession.h>
#include <vantiflux/platform/pelorn/Exception.h>

namespace Vantiflux {

using N = VNCNode;

template <>
const char* const NodeDescription<N>::typeName_ = "VNC";
template <>
const char* const NodeDescription<N>::shortDescription_ = "Receives GUIs from VNC servers.";
template <>
const char* const NodeDescription<N>::longDescription_ =
    "Receives GUIs from VNC servers. Publishes the screen of a VNC server as images, and moves its pointer.";

template <>
Field NodeDescription<N>::fields_[] = {
    fieldRow<N>("Address", "Address of the machine the VNC server runs on.", "", &N::setAddress, &N::getAddress),
    fieldRow<N>("Port", "Port the VNC server listens at for clients. Usually VNC servers use port 5900.", "5900",
                &N::setPort, &N::getPort),
    fieldRow<N>("Password", "Password used to log into the VNC server.", "", &N::setPassword, &N::getPassword),
};
template <>
NodeType NodeDescription<N>::type_(typeName_, &create, author_, shortDescription_, longDescription_, fields_,
                                   std::size(fields_));

const NodeType* VNCNode::type() const {
  return &type_;
}

VNCNode::VNCNode() : worker_(*this, [this] { thread(); }) {
  stream_.setQueueLimit(maxQueued);
  attachSlot("Mouse Position", mousePosition_);
  attachSlot("Left Mouse Button", leftButton_);
  attachSlot("Right Mouse Button", rightButton_);
  attachSlot("Middle Mouse Button", middleButton_);
  attachSlot("Frames", frames_);
  publishSlots();
}

VNCNode::~VNCNode() {
  disable();
  VNCNode::stop();
}

void VNCNode::start() {
  worker_.start([this] {
    socket_.resetWait();
    return true;
  });
}

void VNCNode::stop() {
  worker_.stop([this] { socket_.breakWait(); });
}

// The value is taken under the lock, so that of two writers the later one has the last word.
void VNCNode::newData(BasicInSlot& slot) {
  const std::lock_guard guard(pointerLock_);
  if (&slot == &mousePosition_) {
    const Vec2<float> position = mousePosition_.top().getValue();
    pointer_.move(position.x, position.y);
  } else if (&slot == &leftButton_) {
    pointer_.press(0, leftButton_.top().getValue());
  } else if (&slot == &rightButton_) {
    pointer_.press(1, rightButton_.top().getValue());
  } else if (&slot == &middleButton_) {
    pointer_.press(2, middleButton_.top().getValue());
  }
}

// What is buffered is not read either once the node is to stop: an update may take minutes.
bool VNCNode::receive(void* bytes, std::size_t size) {
  return !socket_.broken() && stream_.sgetn(static_cast<char*>(bytes), static_cast<std::streamsize>(size)) ==
                                  static_cast<std::streamsize>(size);
}

// There is room for all of them: no more are sent while some wait.
void VNCNode::send(std::string_view message) {
  stream_.queueWrite(message);
}

std::string VNCNode::encodings() const {
  try {
    return getFieldValue("Encodings");
  } catch (const InvalidFieldException&) {
    return {};
  }
}

// A mere move does not queue up behind others; the latest is told when the server has taken them.
bool VNCNode::sendPointer(std::string_view message, bool pressed) {
  return (pressed || stream_.queued() == 0) && stream_.queueWrite(message);
}

void VNCNode::thread() {
  struct Closing {
    ~Closing() { node.closeConnection(); }
    VNCNode& node;
  } const closing{*this};
  RFBStream stream([this](void* bytes, std::size_t size) { return receive(bytes, size); },
                   [this](std::string_view message) { send(message); });
  if (openConnection(stream))
    communicate(stream);
}

bool VNCNode::openConnection(RFBStream& stream) {
  const std::string address = getAddress();
  const unsigned short port = getPort();
  try {
    socket_.open(address, port);
  } catch (const Pelorn::Exception& e) {
    if (!socket_.broken()) {
      addLog(e.what());
      setState(Error, "Cannot connect to " + address + ": " + std::to_string(port));
    }
    return false;
  }
  stream_.discard(); // what the last connection left when it was stopped
  socket_.setTcpNoDelay(true);
  socket_.setKeepAlive(true);
  RFBHandshake handshake(stream, getPassword());
  std::string trouble;
  try {
    if (handshake.run())
      return true;
    trouble = handshake.refusal();
  } catch (const RFBStream::Ended& e) {
    trouble = e.what();
  } catch (const RFBStream::Trouble& e) {
    trouble = e.what();
  }
  if (!socket_.broken())
    addLog(trouble);
  return false;
}

void VNCNode::closeConnection() {
  {
    const std::lock_guard guard(pointerLock_);
    pointer_.close();
  }
  stream_.close();
}

void VNCNode::communicate(RFBStream& stream) {
  std::string end;
  try {
    RFBSession session(stream, encodings());
    session.begin();
    setState(Running, "Connected to " + session.name());
    followScreen(session);
  } catch (const RFBStream::Ended& e) {
    if (!socket_.broken())
      addLog(end = e.what());
  } catch (const RFBStream::Trouble& e) {
    addLog(e.what());
    setState(Error, e.what());
    return;
  }
  // After a shutdown from inside it stays Disabled. Who ends before the screen is known finds the state from before.
  if (changeState(Running, Sleeping) || changeState(Error, Sleeping) || changeState(Sleeping, Sleeping))
    setShortInfo(end);
}

void VNCNode::followScreen(RFBSession& session) {
  const RFBScreen& screen = session.screen();
  const auto updatePointer = [&] {
    const std::lock_guard guard(pointerLock_);
    pointer_.resize(screen.width(), screen.height());
    pointer_.tellAgain();
  };
  {
    const std::lock_guard guard(pointerLock_);
    pointer_.open([this](std::string_view message, bool pressed) { return sendPointer(message, pressed); },
                  screen.width(), screen.height());
  }
  while (!socket_.broken()) {
    if (stream_.queued() == 0) // or the server has not even taken the last request
      session.request();
    Pelorn::WaitResult result = Pelorn::WaitResult::Timeout;
    bool complete = false;
    while (!complete && (result = stream_.waitForData(50)) == Pelorn::WaitResult::Data)
      complete = session.handleMessage();
    if (!complete && result == Pelorn::WaitResult::Error)
      throw RFBStream::Ended("Connection lost");
    updatePointer();
    frames_.push(session.screen().frame());
  }
}

} // namespace Vantiflux
