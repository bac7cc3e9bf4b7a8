#include <vantiflux/net/VantifluxMultiConnector.h>

#include <vantiflux/net/NetworkNode.h>

namespace Vantiflux {

VantifluxMultiConnector::VantifluxMultiConnector(NetworkNode& node) : MultiConnector(8, 0), node_(node) {}

VantifluxMultiConnector::~VantifluxMultiConnector() {
  close();
}

bool VantifluxMultiConnector::addCommunicator(Pelorn::Communicator* communicator) {
  if (!node_.addClient(communicator))
    return false;
  if (MultiConnector::addCommunicator(communicator))
    return true;
  node_.removeClient(communicator); // the connector is being closed
  return false;
}

} // namespace Vantiflux
