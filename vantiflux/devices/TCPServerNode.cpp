#include <vantiflux/devices/TCPServerNode.h>

#include <iterator>
#include <utility>

#include <vantiflux/platform/pelorn/Exception.h>
#include <vantiflux/platform/pelorn/StreamBuf.h>
#include <vantiflux/values/SlotTypes.h>

namespace Vantiflux {

using N = TCPServerNode;

template <>
const char* const NodeDescription<N>::typeName_ = "TCPServer";
template <>
const char* const NodeDescription<N>::shortDescription_ = "Exchanges data with a TCP client.";
template <>
const char* const NodeDescription<N>::longDescription_ = "Waits for a TCP client, publishes what it sends as messages, "
                                                         "cut by a delimiter, by length or by pauses, and sends "
                                                         "texts to it. Serves one client at a time.";

template <>
Field NodeDescription<N>::fields_[] = {
    fieldRow<N>("Address",
                "Address of the network interface the server listens at for clients. When you do not specify this "
                "parameter, the server listens at the default network interface.",
                "", &N::setAddress, &N::getAddress),
    fieldRow<N>("Port",
                "Port the server listens at for clients. When you do not specify this parameter, the server "
                "automatically chooses an available port.",
                "0", &N::setPort, &N::getPort),
    N::initStringRow<N>("client"),
    N::deinitStringRow<N>("client"),
    N::delimiterRow<N>(),
    N::maxBytesRow<N>(),
};
template <>
NodeType NodeDescription<N>::type_(typeName_, &create, author_, shortDescription_, longDescription_, fields_,
                                   std::size(fields_));

const NodeType* TCPServerNode::type() const {
  return &type_;
}

TCPServerNode::TCPServerNode() : TCPNode("Sends data to the client", "Receives data from the client") {}

TCPServerNode::~TCPServerNode() {
  disable();
  stopWork();
}

// Here the lock of structure is held, so only an address that nobody has to be asked for is opened at once.
bool TCPServerNode::prepare() {
  listener_.resetWait();
  const std::string address = getAddress();
  return Pelorn::InetAddress::needsLookUp(address) || openListener(address);
}

bool TCPServerNode::openListener(const std::string& address) {
  try {
    listener_.open(address, getPort());
  } catch (const Pelorn::Exception& e) {
    if (!listener_.broken()) // told to end while it was looking up a name
      setState(Error, std::string("Cannot open server - ") + e.what());
    return false;
  }
  return true;
}

// The listener first: the worker looks at it after it has made a client known.
void TCPServerNode::interrupt() {
  listener_.breakWait();
  const Tarsil::MutexLock lock(clientMutex_);
  if (client_ != nullptr)
    client_->breakWait();
}

void TCPServerNode::thread() {
  struct Closing {
    ~Closing() { listener.close(); }
    Pelorn::ServerSocket& listener;
  } const closing{listener_};
  try {
    if (listener_.isOpen() || openListener(getAddress()))
      serveClients();
  } catch (const Pelorn::Exception& e) {
    setState(Error, e.what());
  }
}

void TCPServerNode::serveClients() {
  while (!listener_.broken()) {
    const Pelorn::SocketAddress local = listener_.getLocalAddress();
    setState(Running, "Waiting for client on " + local.getHostAddress() + ":" + std::to_string(local.getServicePort()));
    if (auto client = listener_.accept())
      serve(std::move(client));
  }
}

void TCPServerNode::serve(std::unique_ptr<Pelorn::Socket> client) {
  configure(*client);
  Pelorn::StreamBuf stream(*client);
  struct Known { // for as long as this function may be interrupted
    Known(TCPServerNode& n, Pelorn::Socket* socket) : node(n) { set(socket); }
    ~Known() { set(nullptr); }
    void set(Pelorn::Socket* socket) {
      const Tarsil::MutexLock lock(node.clientMutex_);
      node.client_ = socket;
    }
    TCPServerNode& node;
  } const known(*this, client.get());
  if (listener_.broken())
    return;
  talk(
      stream,
      [&] {
        const Pelorn::SocketAddress remote = client->getRemoteAddress();
        setState(Running, "Communicating with client from " + client->getRemoteHostName() + ":" +
                              std::to_string(remote.getServicePort()));
      },
      [this](const std::string& message) { dataOut_.push(message); });
}

} // namespace Vantiflux
