#include <vantiflux/devices/TCPClientNode.h>

#include <chrono>
#include <iterator>
#include <utility>

#include <vantiflux/platform/pelorn/Exception.h>
#include <vantiflux/values/SlotTypes.h>

namespace Vantiflux {

const char* const TCPClientNode::typeName_ = "TCPClient";
const char* const TCPClientNode::author_ = "The Vantiflux developers";
const char* const TCPClientNode::shortDescription_ = "Exchanges data with a TCP server.";
const char* const TCPClientNode::longDescription_ = "Connects to a TCP server, publishes what it sends as messages, "
                                                    "cut by a delimiter, by length or by pauses, and sends "
                                                    "texts to it.";

using N = TCPClientNode;
Field TCPClientNode::fields_[] = {
    fieldRow<N>("Address", "Address of the machine the node connects to. ", "", &N::setAddress, &N::getAddress),
    fieldRow<N>("Port", "Port the node connects to", "0", &N::setPort, &N::getPort),
    fieldRow<N>("InitString", "A initialization string that is send to the server after opening the connection.", "",
                &N::setInitString, &N::getInitString),
    fieldRow<N>("DeinitString", "A deinitialization string that is send to the server before closing the connection.",
                "", &N::setDeinitString, &N::getDeinitString),
    delimiterRow<N>(),
    maxBytesRow<N>(),
};
NodeType TCPClientNode::type_(typeName_, &TCPClientNode::create, author_, shortDescription_, longDescription_, fields_,
                              std::size(fields_));

Node* TCPClientNode::create() {
  return new TCPClientNode;
}

TCPClientNode::TCPClientNode()
    : ByteStreamNode("Sends data to the server", "Receives data from the server"),
      bytesOut_("Receives data from the server") {
  attachSlot("Data out", bytesOut_);
}

TCPClientNode::~TCPClientNode() {
  disable();
  stopWork();
}

void TCPClientNode::initialize() {
  Node::initialize();
  startWorker([this] {
    socket_.resetWait();
    return true;
  });
}

void TCPClientNode::shutdown() {
  stopWork();
  Node::shutdown();
}

void TCPClientNode::stopWork() {
  stopWorker([this] { socket_.breakWait(); });
}

// A broken wait stands for the order to end, from `stopWork` on until the next run is prepared.
void TCPClientNode::thread() {
  using Clock = std::chrono::steady_clock;
  trouble_.clear();
  while (!socket_.broken()) {
    const std::string address = getAddress();
    const unsigned short port = getPort();
    const std::string server = address + ":" + std::to_string(port);
    setState(Running, "Trying to connect to " + server);
    bool lasted = false;
    if (connect(address, port)) {
      const auto begin = Clock::now();
      communicate(server);
      lasted = Clock::now() - begin >= std::chrono::seconds(1);
    }
    if (!lasted && !waitThread(1000))
      return;
  }
}

bool TCPClientNode::connect(const std::string& address, unsigned short port) {
  try {
    socket_.open(address, port);
  } catch (const Pelorn::Exception& e) {
    if (!socket_.broken() && trouble_ != e.what())
      addLog(trouble_ = e.what());
    return false;
  }
  trouble_.clear();
  socket_.setTcpNoDelay(true);
  socket_.setKeepAlive(true);
  return true;
}

void TCPClientNode::communicate(const std::string& server) {
  struct Closing {
    ~Closing() { stream.close(); }
    Pelorn::StreamBuf& stream;
  } const closing{stream_};
  talk(
      stream_, [&] { setState(Running, "Communicating with server on " + server); },
      [this](const std::string& message) { push(message); });
}

void TCPClientNode::push(const std::string& message) {
  dataOut_.push(message);
  if (!bytesOut_.isConnected())
    return;
  SmartPtr<std::vector<long>> bytes;
  bytes.acquire();
  bytes->clear();
  for (const char c : message)
    bytes->push_back(static_cast<unsigned char>(c));
  bytesOut_.push(std::move(bytes));
}

} // namespace Vantiflux
