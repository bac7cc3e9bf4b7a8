// Connections; what travels on them stands in NetworkNodeEvents.cpp and NetworkNodeSlots.cpp.
#include <vantiflux/net/NetworkNode.h>

#include <algorithm>
#include <cstdlib>
#include <exception>
#include <iterator>
#include <utility>

#include <vantiflux/core/FieldRow.h>
#include <vantiflux/net/ExportedSlots.h>
#include <vantiflux/net/ImportedSlots.h>
#include <vantiflux/platform/pelorn/InetAddress.h>
#include <vantiflux/platform/tarsil/Console.h>
#include <vantiflux/platform/xmlwrap/XMLText.h>

namespace Vantiflux {

using Pelorn::Communicator;
using Pelorn::HelloEvent;

namespace {

constexpr const char* protocolName = "Vantiflux";
constexpr short protocolMajor = 2;
constexpr short protocolMinor = 0;
constexpr int helloTime = 1000;
constexpr int serverInterval = 1000;

// Whether somebody may have to be asked for the address, or for the name of it.
bool mayAsk(const std::string& address) {
  return !address.empty() &&
         (Pelorn::InetAddress::needsLookUp(address) || !Pelorn::InetAddress::getByName(address).isLoopback());
}

} // namespace

using N = NetworkNode;

template <>
const char* const NodeDescription<N>::typeName_ = "Network";
template <>
const char* const NodeDescription<N>::shortDescription_ = "Shares slots with other processes.";
template <>
const char* const NodeDescription<N>::longDescription_ =
    "Offers the slots of the surrounding namespace to the network nodes of other processes, which it finds by "
    "multicast, and publishes the slots that those offer.";

template <>
Field NodeDescription<N>::fields_[] = {
    fieldRow<N>("MulticastAddress", "IP address of the multicast group used by network nodes to connect to each other.",
                "224.21.12.68", &N::setMulticastAddress, &N::getMulticastAddress),
    fieldRow<N>("MulticastPort", "Port number of the multicast group used by network nodes to connect to each other.",
                "4711", &N::setMulticastPort, &N::getMulticastPort),
    fieldRow<N>("MulticastTTL",
                "\"Time To Live\" value for multicast messages. This value defines how many network segments a "
                "multicast message can cover. 0 keeps a message on the host, 1 on the local network.",
                "2", &N::setMulticastTtl, &N::getMulticastTtl),
    fieldRow<N>("Address",
                "Address of the network interface the server listens for clients. When you do not specify this "
                "parameter, the server listens at the default network interface.",
                "", &N::setAddress, &N::getAddress),
    fieldRow<N>("Port",
                "Port the server listens for clients. When you do not specify this parameter, the server "
                "automatically chooses an available port.",
                "0", &N::setPort, &N::getPort),
    fieldRow<N>("ID",
                "ID number of the network node. Only network nodes with the same ID number can connect to each other.",
                "0", &N::setId, &N::getId),
    fieldRow<N>("Servers", "List of servers to connect to, by address and port: \"host:port,host:port\".", "",
                &N::setServers, &N::getServers),
    fieldRow<N>("Prefix",
                "A prefix the network node puts in front of all labels of exported slots. When you do not enter a "
                "label here, the network node automatically takes the hostname as prefix.",
                N::defaultPrefix, &N::setPrefix, &N::getPrefix),
    fieldRow<N>("Import",
                "When this value is true, the network node imports OutSlots and InSlots from other network nodes.",
                "true", &N::setImportSlots, &N::getImportSlots),
    fieldRow<N>("Export",
                "When this value is true, the network node exports OutSlots and InSlots to other network nodes.",
                "true", &N::setExportSlots, &N::getExportSlots),
};
template <>
NodeType NodeDescription<N>::type_(typeName_, &create, author_, shortDescription_, longDescription_, fields_,
                                   std::size(fields_));

const NodeType* NetworkNode::type() const {
  return &type_;
}

NetworkNode::NetworkNode()
    : hostName_(Pelorn::InetAddress::getLocalHostName()), connector_(*this),
      connectWorker_(*this, [this] { connectThread(); }), receiveWorker_(*this, [this] { recvThread(); }) {
  connector_.setProtocol(protocolName, protocolMajor, protocolMinor);
  connector_.setMulticastAddress("224.21.12.68");
  connector_.setMulticastPort(4711);
  connector_.setMulticastTtl(2);
  addExternalRoute("*", "{SlotLabel}");
}

NetworkNode::~NetworkNode() {
  NetworkNode::disable();
  const TreeLock lock;
  end();
}

void NetworkNode::setServers(const std::string& servers) {
  servers_.set(servers);
  bool any = false;
  for (std::size_t at = 0; at <= servers.size();) {
    const std::size_t comma = std::min(servers.find(',', at), servers.size());
    const std::string entry = servers.substr(at, comma - at);
    at = comma + 1;
    if (entry.empty())
      continue;
    const std::size_t colon = entry.find(':');
    if (colon == std::string::npos) {
      Tarsil::printErrorLine("ERROR: Invalid server definition \"" + entry + '"');
      continue;
    }
    const long port = std::strtol(entry.c_str() + colon + 1, nullptr, 10);
    const std::lock_guard lock(serverLock_);
    serverList_.push_back({entry.substr(0, colon), static_cast<unsigned short>(port)});
    any = true;
  }
  const Change change(*this);
  if (any && receiveWorker_.isRunning())
    connectServers();
}

std::vector<NetworkNode::ServerData> NetworkNode::serverList() const {
  const std::lock_guard lock(serverLock_);
  return serverList_;
}

void NetworkNode::enable() {
  const Change change(*this);
  std::exception_ptr failure; // of a child: this node is enabled all the same
  try {
    Node::enable();
  } catch (...) {
    failure = std::current_exception();
  }
  if (enabled()) {
    surrounding_ = getParent();
    if (surrounding_ != nullptr) {
      const std::lock_guard lock(announcementsLock_);
      const std::string prefix = getPrefix();
      labelTemplate_.setFormat(prefix.empty() ? defaultPrefix : prefix);
    }
    if (getState() == Error) // its run may be on its last steps, and a start would be lost on it
      receiveWorker_.stop([this] { connector_.breakWait(); });
    receiveWorker_.start([this] { return begin(); });
  }
  if (failure != nullptr)
    std::rethrow_exception(failure);
}

// What the receive thread's run needs, under the lock of structure.
bool NetworkNode::begin() {
  clear(); // what an earlier run has left that could not be waited for
  surrounding_ = getParent();
  if (getExportSlots() && surrounding_ != nullptr) {
    exportAll();
    surrounding_->addListener(*this);
  }
  connector_.resetWait();
  if (mayAsk(getAddress()) || openServer())
    return true;
  clear();
  return false;
}

bool NetworkNode::openServer() {
  if (!connector_.open(getAddress(), getPort(), true)) {
    if (connector_.broken()) {
      setState(Sleeping, "");
      return false;
    }
    Tarsil::printErrorLine("ERROR: Cannot open server for Vantiflux Network node");
    setState(Error, "Cannot open server");
    return false;
  }
  const Pelorn::SocketAddress server = connector_.getServerAddress();
  const std::string where =
      (server.getAddress().isAny() ? hostName_ : server.getHostName()) + ':' + std::to_string(server.getServicePort());
  Tarsil::printLine("Vantiflux Network node listening on " + where);
  setShortInfo("Server listening on " + where);
  const TreeLock lock;
  if (enabled())
    connectServers();
  return true;
}

void NetworkNode::connectServers() {
  if (!serverList().empty())
    connectWorker_.start([this] { return wait_.create(); });
}

void NetworkNode::disable() {
  const Change change(*this);
  std::exception_ptr failure;
  try {
    Node::disable();
  } catch (...) {
    failure = std::current_exception();
  }
  if (!enabled()) // nobody has asked for the opposite meanwhile
    end();
  if (failure != nullptr)
    std::rethrow_exception(failure);
}

// While the threads are waited for, others may have the lock and enable the node again.
void NetworkNode::end() {
  receiveWorker_.stop([this] { connector_.breakWait(); });
  if (connectWorker_.stop([this] { wait_.signal(); }))
    wait_.close();
  if (!enabled())
    clear();
  else if (receiveWorker_.isRunning())
    connectServers();
}

void NetworkNode::clear() {
  connector_.close();
  if (surrounding_ != nullptr)
    surrounding_->removeListener(*this);
  ExportMap<ExportedOutSlot> exportedOut;
  ExportMap<ExportedInSlot> exportedIn;
  ImportMap<ImportedOutSlot> importedOut;
  ImportMap<ImportedInSlot> importedIn;
  {
    const std::lock_guard lock(slotsLock_);
    exportedOut.swap(exportedOutSlots_);
    exportedIn.swap(exportedInSlots_);
    importedOut.swap(importedOutSlots_);
    importedIn.swap(importedInSlots_);
    exportedBySlot_.clear();
  }
  const auto withdrawAll = [this](const auto& slots) {
    for (const auto& entry : slots)
      guarded([&] { entry.second->withdraw(); });
  };
  withdrawAll(exportedOut);
  withdrawAll(exportedIn);
  for (const auto& client : importedOut)
    withdrawAll(client.second);
  for (const auto& client : importedIn)
    withdrawAll(client.second);
  std::map<Communicator*, std::unique_ptr<HelloEvent>> clients;
  const std::lock_guard lock(clientsLock_);
  clients.swap(clients_);
}

void NetworkNode::connectThread() {
  do {
    for (const ServerData& server : serverList())
      connector_.connectToServer(server.address, server.port);
  } while (wait_.wait(serverInterval));
}

bool NetworkNode::addClient(Communicator* communicator) {
  if (!handShake(communicator))
    return false;
  communicator->reader().setBulkHandler(
      [this, communicator](std::string_view& head, std::size_t length, std::span<std::byte>& rest) {
        return beginBulk(communicator, head, length, rest);
      });
  std::vector<std::shared_ptr<const ExportedSlot>> exported; // go after the lock
  const std::lock_guard announcing(announcementsLock_);
  if (getExportSlots()) {
    const std::lock_guard lock(slotsLock_);
    for (const auto& [id, slot] : exportedOutSlots_)
      exported.push_back(slot);
    for (const auto& [id, slot] : exportedInSlots_)
      exported.push_back(slot);
  }
  for (const auto& slot : exported)
    slot->sendAddSlotEvent(communicator);
  communicator->admit(); // and it gets what is offered from now on
  return true;
}

bool NetworkNode::handShake(Communicator* communicator) {
  const char* const silent = "Client did not perform handshake - disconnected";
  const auto fail = [this](const std::string& line) {
    addLog(line);
    return false;
  };
  addLog("Client accepted");
  HelloEvent own(protocolName, "C++ NetworkNode", protocolMajor, protocolMinor);
  connector_.introduce(own);
  if (!own.send(communicator))
    return fail(silent);
  const Pelorn::WaitResult waited = communicator->waitForEvent(helloTime);
  if (waited == Pelorn::WaitResult::Timeout)
    return fail("Client did not perform handshake for more than one second - disconnected");
  std::unique_ptr<Pelorn::Event> event;
  if (waited != Pelorn::WaitResult::Data || !Pelorn::Event::receive(communicator, event))
    return fail(silent);
  if (dynamic_cast<HelloEvent*>(event.get()) == nullptr)
    return fail(silent);
  std::unique_ptr<HelloEvent> hello(static_cast<HelloEvent*>(event.release()));
  if (hello->getProtocol() != protocolName)
    return fail("Client does not use Vantiflux protocol (it is using " + hello->getProtocol() + ") - disconnected");
  if (hello->getMajor() != protocolMajor)
    return fail("Client does not use protocol major version " + std::to_string(protocolMajor) + " (it is using " +
                std::to_string(hello->getMajor()) + ") - disconnected");
  const std::string who = hello->getUser() + "@" + hello->getHost();
  switch (connector_.settle(*communicator, *hello)) {
  case Pelorn::MultiConnector::Settled::Stays:
    break;
  case Pelorn::MultiConnector::Settled::IsThisOne:
    return fail("Client is this network node itself - disconnected");
  case Pelorn::MultiConnector::Settled::HasOtherId:
    return fail("Client has another ID (it is using " + std::to_string(hello->getId()) + ") - disconnected");
  case Pelorn::MultiConnector::Settled::IsDuplicate:
    return fail("Client is connected already - " + who);
  case Pelorn::MultiConnector::Settled::Failed:
    return fail(silent);
  }
  addLog("Handshake ok - " + who);
  const std::lock_guard lock(clientsLock_);
  clients_[communicator] = std::move(hello);
  return true;
}

void NetworkNode::removeClient(Communicator* communicator) {
  {
    const std::lock_guard lock(clientsLock_);
    const auto found = clients_.find(communicator);
    if (found == clients_.end())
      return;
    addLog("Client disconnected - " + found->second->getUser() + "@" + found->second->getHost());
    clients_.erase(found);
  }
  std::vector<std::shared_ptr<ExportedSlot>> exported;
  std::vector<std::shared_ptr<ImportedSlot>> imported;
  {
    const std::lock_guard lock(slotsLock_);
    for (const auto& [id, slot] : exportedOutSlots_)
      exported.push_back(slot);
    for (const auto& [id, slot] : exportedInSlots_)
      exported.push_back(slot);
    for (auto& [id, slot] : importedOutSlots_[communicator])
      imported.push_back(std::move(slot));
    for (auto& [id, slot] : importedInSlots_[communicator])
      imported.push_back(std::move(slot));
    importedOutSlots_.erase(communicator);
    importedInSlots_.erase(communicator);
  }
  for (const auto& slot : exported)
    guarded([&] { slot->removeCommunicator(communicator); });
  withdrawImports(imported);
}

std::string NetworkNode::getDetailedInfo() const {
  const std::lock_guard lock(clientsLock_);
  if (clients_.empty())
    return "No clients are currently connected to the NetworkNode.<p>\n";
  std::string text = "The following clients are currently connected to the NetworkNode:<p>\n";
  for (const auto& [communicator, hello] : clients_)
    text += "User: " + XMLWrap::escapeText(hello->getUser()) + "<br>\nHost: " + XMLWrap::escapeText(hello->getHost()) +
            "<br>\nSystem: " + XMLWrap::escapeText(hello->getSystem()) +
            "<br>\nClient: " + XMLWrap::escapeText(hello->getClientName()) +
            "<br>\nProtocol: " + XMLWrap::escapeText(hello->getProtocol()) + ' ' + std::to_string(hello->getMajor()) +
            '.' + std::to_string(hello->getMinor()) + "<p>\n";
  return text;
}

} // namespace Vantiflux
