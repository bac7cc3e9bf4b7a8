#pragma once

#include <vantiflux/Export.h>
#include <vantiflux/platform/pelorn/MultiConnector.h>

namespace Vantiflux {

class NetworkNode;

/// The connector of a network node: a connection joins the others once the node has taken the peer as a client.
class VANTIFLUX_API VantifluxMultiConnector : public Pelorn::MultiConnector {
public:
  explicit VantifluxMultiConnector(NetworkNode& node);
  ~VantifluxMultiConnector() override;

  bool addCommunicator(Pelorn::Communicator* communicator) override;

private:
  NetworkNode& node_;
};

} // namespace Vantiflux
