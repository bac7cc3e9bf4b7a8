#include <vantiflux/devices/TCPNode.h>

namespace Vantiflux {

TCPNode::~TCPNode() = default;

void TCPNode::initialize() {
  Node::initialize();
  startWorker([this] { return prepare(); });
}

void TCPNode::shutdown() {
  stopWork();
  Node::shutdown();
}

void TCPNode::stopWork() {
  stopWorker([this] { interrupt(); });
}

void TCPNode::configure(Pelorn::Socket& socket) {
  socket.setTcpNoDelay(true);
  socket.setKeepAlive(true);
}

} // namespace Vantiflux
