#include <vantiflux/devices/UDPNode.h>

#include <iterator>
#include <string_view>

#include <vantiflux/core/FieldRow.h>
#include <vantiflux/devices/DeviceText.h>
#include <vantiflux/platform/pelorn/Exception.h>
#include <vantiflux/values/SlotTypes.h>

namespace Vantiflux {

using N = UDPNode;

template <>
const char* const NodeDescription<N>::typeName_ = "UDP";
template <>
const char* const NodeDescription<N>::shortDescription_ = "Sends and receives UDP datagrams.";
template <>
const char* const NodeDescription<N>::longDescription_ =
    "Publishes each UDP datagram that arrives as a message, and sends each text as a datagram.";

template <>
Field NodeDescription<N>::fields_[] = {
    fieldRow<N>("RemoteAddress", "Address of the machine the node sends packets to. ", "0.0.0.0", &N::setRemoteAddress,
                &N::getRemoteAddress),
    fieldRow<N>("RemotePort", "Port the node sends packets to", "0", &N::setRemotePort, &N::getRemotePort),
    fieldRow<N>("LocalAddress", "Address of the interface the node receives packets from. ", "0.0.0.0",
                &N::setLocalAddress, &N::getLocalAddress),
    fieldRow<N>("LocalPort", "Port the node receives packets from", "0", &N::setLocalPort, &N::getLocalPort),
    fieldRow<N>("InitString", "A initialization string that is send via UDP after opening the connection.", "",
                &N::setInitString, &N::getInitString),
    fieldRow<N>("DeinitString", "A deinitialization string that is send via UDP before closing the connection.", "",
                &N::setDeinitString, &N::getDeinitString),
};
template <>
NodeType NodeDescription<N>::type_(typeName_, &create, author_, shortDescription_, longDescription_, fields_,
                                   std::size(fields_));

const NodeType* UDPNode::type() const {
  return &type_;
}

UDPNode::UDPNode() : StreamNode("Sends data via UDP", "Receives data via UDP") {}

UDPNode::~UDPNode() {
  disable();
  UDPNode::stop();
}

void UDPNode::start() {
  startWorker([this] {
    socket_.resetWait();
    outlet_.hold();
    return true;
  });
}

void UDPNode::stop() {
  stopWorker([this] { socket_.breakWait(); });
}

void UDPNode::thread() {
  struct Closing {
    ~Closing() {
      node.outlet_.close();
      node.socket_.close();
    }
    UDPNode& node;
  } const closing{*this};
  if (!openSocket())
    return;
  const auto send = [this](std::string_view text) { return socket_.send(text.data(), static_cast<int>(text.size())); };
  // A datagram that is not taken is lost, as any datagram may be; that ends nothing.
  sendInitString([&send](std::string_view piece) {
    send(piece);
    return true;
  });
  outlet_.open(send);
  receive();
  outlet_.close();
  reportEnd();
  sendDeinitString([&send](std::string_view piece) {
    send(piece);
    return true;
  });
}

bool UDPNode::openSocket() {
  try {
    socket_.open(getLocalAddress(), getLocalPort(), getRemoteAddress(), getRemotePort());
  } catch (const Pelorn::Exception& e) {
    if (socket_.broken())
      return false; // told to end while it was looking up a name
    addLog(e.what());
    setState(Error, "Cannot open socket");
    return false;
  }
  return true;
}

void UDPNode::receive() {
  const Pelorn::SocketAddress local = socket_.getLocalAddress();
  setState(Running, "Operating on " + local.getHostAddress() + ":" + std::to_string(local.getServicePort()));
  std::string buffer(Pelorn::UDP::maxDatagram, '\0');
  while (socket_.waitForData() == Pelorn::WaitResult::Data) {
    int size = Pelorn::UDP::maxDatagram;
    if (socket_.receive(buffer.data(), size))
      dataOut_.push(DeviceText::latin1ToUTF8(std::string_view(buffer).substr(0, static_cast<std::size_t>(size))));
  }
  if (!socket_.broken())
    setState(Error, "The socket has failed");
}

} // namespace Vantiflux
