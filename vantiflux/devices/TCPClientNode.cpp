#include <vantiflux/devices/TCPClientNode.h>

#include <chrono>
#include <iterator>
#include <utility>

#include <vantiflux/platform/pelorn/Exception.h>
#include <vantiflux/values/SlotTypes.h>

namespace Vantiflux {

using N = TCPClientNode;

template <>
const char* const NodeDescription<N>::typeName_ = "TCPClient";
template <>
const char* const NodeDescription<N>::shortDescription_ = "Exchanges data with a TCP server.";
template <>
const char* const NodeDescription<N>::longDescription_ =
    "Connects to a TCP server, publishes what it sends as messages, cut by a delimiter, by length or by pauses, and "
    "sends texts to it. Connects again when the connection is lost.";

template <>
Field NodeDescription<N>::fields_[] = {
    fieldRow<N>("Address", "Address of the machine the node connects to. ", "", &N::setAddress, &N::getAddress),
    fieldRow<N>("Port", "Port the node connects to", "0", &N::setPort, &N::getPort),
    N::initStringRow<N>("server"),
    N::deinitStringRow<N>("server"),
    N::delimiterRow<N>(),
    N::maxBytesRow<N>(),
};
template <>
NodeType NodeDescription<N>::type_(typeName_, &create, author_, shortDescription_, longDescription_, fields_,
                                   std::size(fields_));

const NodeType* TCPClientNode::type() const {
  return &type_;
}

TCPClientNode::TCPClientNode()
    : TCPNode("Sends data to the server", "Receives data from the server"), bytesOut_("Receives data from the server") {
  attachSlot("Data out", bytesOut_);
}

TCPClientNode::~TCPClientNode() {
  disable();
  stopWork();
}

bool TCPClientNode::prepare() {
  socket_.resetWait();
  return true;
}

void TCPClientNode::interrupt() {
  socket_.breakWait();
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
    if (!lasted && !waitThread(retryPause))
      return;
  }
}

bool TCPClientNode::connect(const std::string& address, unsigned short port) {
  try {
    socket_.open(address, port, connectTime);
  } catch (const Pelorn::Exception& e) {
    if (!socket_.broken() && trouble_ != e.what())
      addLog(trouble_ = e.what());
    return false;
  }
  trouble_.clear();
  configure(socket_);
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
