#pragma once

#include <cstdint>
#include <exception>
#include <map>
#include <memory>
#include <mutex>
#include <span>
#include <string>
#include <string_view>
#include <unordered_map>
#include <unordered_set>
#include <utility>
#include <vector>

#include <vantiflux/Export.h>
#include <vantiflux/core/Node.h>
#include <vantiflux/core/NodeDescription.h>
#include <vantiflux/core/NodeWorker.h>
#include <vantiflux/core/Setting.h>
#include <vantiflux/core/VariableReplacer.h>
#include <vantiflux/net/CommandEvent.h>
#include <vantiflux/net/SetStateEvent.h>
#include <vantiflux/net/VantifluxMultiConnector.h>
#include <vantiflux/platform/pelorn/HelloEvent.h>
#include <vantiflux/platform/pelorn/Wait.h>

namespace Vantiflux {

class BasicCodec;

/// Joins the slots of the namespace around the node to those of other processes: every slot of a type with a codec is
/// offered to the peers, and what peers offer stands in the namespace under the label of the offer, as a slot like any
/// other. Values travel only while somebody on the other side uses the slot.
///
/// Peers find each other by multicast, or are listed in "Servers". They connect if they have the same "ID". A listed
/// server that cannot be reached, or is lost, is tried again every second.
///
/// *States.* Running while enabled; Sleeping after that; Error when no server can be opened, until the node is enabled
/// again. An "Address" that is not one of this host alone is opened by the receive thread, since somebody may have to
/// be asked for it or for its name: the node is Sleeping until then. Fields count from the next enabling on, but for
/// "Import".
///
/// *Limits.* Of one peer, 65536 out-slots and as many in-slots are taken, with labels of 1024 and descriptions of 4096
/// bytes at most. Two nodes in one namespace that pass each other's twins on come to an end there.
///
/// *Threads.* Values and offers of peers are handled in the receive thread, values of this process are sent in the
/// thread that pushes them, which is never held up by a slow peer: see Pelorn::Communicator. The connect thread sees to
/// the listed servers. New connections introduce themselves on threads of the connector.
///
/// *Locks*, in their order, after the lock of structure and the locks of slots: the announcements lock, which makes
/// offers one after the other, so that each peer gets each offer once; then the lock of the maps, that of the clients,
/// and those of single slots and connections, under which nothing is called. Slots are connected, pushed and destroyed
/// under none of them.
///
/// *Twins* of peers' slots go with the root lock held, while the node is enabled: who holds it may use what he found.
///
/// *Failure.* What a peer sends concerns that peer alone: at worst its connection is closed, with a line in the log.
class VANTIFLUX_API NetworkNode : public Node, public Namespace::Listener, public NodeDescription<NetworkNode> {
public:
  class ExportedOutSlot;
  class ExportedInSlot;
  class ImportedOutSlot;
  class ImportedInSlot;

  static constexpr const char* defaultPrefix = "{Hostname}/{SlotLabel}";

  NetworkNode();
  ~NetworkNode() override;

  const NodeType* type() const override;

  /// Enabling a node that is enabled reads "Prefix" again, and tries once more to open a server that could not be
  /// opened.
  void enable() override;
  void disable() override;
  std::string getDetailedInfo() const override;

  void setMulticastAddress(const std::string& address) { connector_.setMulticastAddress(address); }
  std::string getMulticastAddress() const { return connector_.getMulticastAddress(); }
  void setMulticastPort(unsigned short port) { connector_.setMulticastPort(port); }
  unsigned short getMulticastPort() const { return connector_.getMulticastPort(); }
  void setMulticastTtl(int ttl) { connector_.setMulticastTtl(ttl); }
  int getMulticastTtl() const { return connector_.getMulticastTtl(); }
  void setAddress(const std::string& address) { address_.set(address); }
  std::string getAddress() const { return address_.get(); }
  void setPort(unsigned short port) { port_.set(port); }
  unsigned short getPort() const { return port_.get(); }
  void setId(short id) { connector_.setId(id); }
  short getId() const { return connector_.getId(); }
  /// Adds the listed servers, "address:port" between commas, to those that were listed before.
  void setServers(const std::string& servers);
  std::string getServers() const { return servers_.get(); }
  void setPrefix(const std::string& prefix) { prefix_.set(prefix); }
  std::string getPrefix() const { return prefix_.get(); }
  void setImportSlots(bool import) { import_.set(import); }
  bool getImportSlots() const { return import_.get(); }
  void setExportSlots(bool doExport) { export_.set(doExport); }
  bool getExportSlots() const { return export_.get(); }

  /// Introduces this side to a new peer and hears who that is. False, with a line in the log, when it is none to talk
  /// to. Blocks for two seconds at most, until the connector is told to break its waits.
  bool handShake(Pelorn::Communicator* communicator);
  /// The handshake, and then all offers. Called by the connector for each new connection.
  bool addClient(Pelorn::Communicator* communicator);
  /// Ends what came from that peer and what went to it. Not for a client that is just being added.
  void removeClient(Pelorn::Communicator* communicator);

  /// Carries out what a peer said; false, with a message on standard output, when that made no sense.
  bool dispatchEvent(Pelorn::Communicator* communicator, CommandEvent* event);
  // One command each; false for a null event and for a slot, or a codec, that is not known.
  bool handleAddOutSlotEvent(Pelorn::Communicator* communicator, AddSlotEvent* event);
  bool handleRemoveOutSlotEvent(Pelorn::Communicator* communicator, SlotCommandEvent* event);
  bool handleStartOutSlotEvent(Pelorn::Communicator* communicator, SlotCommandEvent* event);
  bool handleStopOutSlotEvent(Pelorn::Communicator* communicator, SlotCommandEvent* event);
  bool handleSetOutSlotStateEvent(Pelorn::Communicator* communicator, SetStateEvent* event);
  bool handleAddInSlotEvent(Pelorn::Communicator* communicator, AddSlotEvent* event);
  bool handleRemoveInSlotEvent(Pelorn::Communicator* communicator, SlotCommandEvent* event);
  bool handleStartInSlotEvent(Pelorn::Communicator* communicator, SlotCommandEvent* event);
  bool handleStopInSlotEvent(Pelorn::Communicator* communicator, SlotCommandEvent* event);
  bool handleSetInSlotStateEvent(Pelorn::Communicator* communicator, SetStateEvent* event);

  // Of the surrounding namespace.
  void outSlotAdded(Namespace& ns, const std::string& label, BasicOutSlot* slot) override;
  void outSlotRemoved(Namespace& ns, const std::string& label, BasicOutSlot* slot) override;
  void inSlotAdded(Namespace& ns, const std::string& label, BasicInSlot* slot) override;
  void inSlotRemoved(Namespace& ns, const std::string& label, BasicInSlot* slot) override;

private:
  class ExportedSlot;
  class ImportedSlot;

  struct ServerData {
    std::string address;
    unsigned short port;
  };
  template <class Exported>
  using ExportMap = std::map<unsigned long, std::shared_ptr<Exported>>;
  template <class Imported>
  using ImportMap =
      std::unordered_map<Pelorn::Communicator*, std::unordered_map<unsigned long, std::shared_ptr<Imported>>>;

  bool begin();
  bool openServer();
  void end();
  void clear();
  void connectThread();
  void recvThread();
  bool receiveFrom(Pelorn::Communicator& communicator);
  /// What call backs throw goes to the log and concerns this step only.
  template <class Step>
  void guarded(Step&& step);
  std::unique_ptr<Pelorn::Event> beginBulk(Pelorn::Communicator* communicator, std::string_view& head,
                                           std::size_t length, std::span<std::byte>& rest);
  void connectServers();
  std::vector<ServerData> serverList() const;

  std::string expandLabel(const std::string& label) const;
  void exportAll();
  template <class Exported, class Coder, class BasicSlot>
  std::shared_ptr<ExportedSlot> exportSlot(ExportMap<Exported>& map,
                                           std::unique_ptr<Coder> (BasicCodec::*makeCoder)() const,
                                           const std::string& label, BasicSlot* slot);
  std::shared_ptr<ExportedSlot> exportSlot(const std::string& label, BasicOutSlot* slot);
  std::shared_ptr<ExportedSlot> exportSlot(const std::string& label, BasicInSlot* slot);
  template <class BasicSlot>
  void offer(const std::string& label, BasicSlot* slot);
  template <class Exported>
  void withdrawExport(ExportMap<Exported>& map, const std::string& label, const Slot* slot);
  unsigned long drawSlotId();
  void markOwn(const Slot* slot);
  void unmarkOwn(const Slot* slot);
  bool isOwn(const Slot* slot) const;

  template <class Exported>
  std::shared_ptr<Exported> findExported(const ExportMap<Exported>& map, unsigned long id) const;
  template <class Imported>
  std::shared_ptr<Imported> findImported(const ImportMap<Imported>& map, Pelorn::Communicator* communicator,
                                         unsigned long id) const;
  template <class Imported>
  bool hasRoom(const ImportMap<Imported>& map, Pelorn::Communicator* communicator, const AddSlotEvent& event) const;
  template <class Imported>
  void enter(ImportMap<Imported>& map, Pelorn::Communicator* communicator, unsigned long id,
             const std::shared_ptr<Imported>& slot);
  void withdrawImports(const std::vector<std::shared_ptr<ImportedSlot>>& slots);
  template <class Imported>
  bool withdrawImport(ImportMap<Imported>& map, Pelorn::Communicator* communicator, const SlotCommandEvent* event);

  /// The number by which a waiting value of a slot is found on a connection, in both directions.
  static std::uint64_t stateNumber(CommandEvent::Command command, unsigned long id) noexcept {
    return (id + 1) << 1 | (command == CommandEvent::SetInSlotState ? 1U : 0U);
  }

  Setting<std::string> address_;
  Setting<unsigned short> port_{0};
  Setting<std::string> servers_;
  Setting<std::string> prefix_{defaultPrefix};
  Setting<bool> import_{true};
  Setting<bool> export_{true};
  const std::string hostName_;

  Namespace* surrounding_ = nullptr; ///< whose slots are exported; guarded by the lock of structure

  mutable std::mutex serverLock_; ///< guards the next
  std::vector<ServerData> serverList_;

  std::mutex announcementsLock_;   ///< held while offers are made; guards the template
  VariableReplacer labelTemplate_; ///< from "Prefix"

  mutable std::mutex slotsLock_; ///< guards the maps
  ExportMap<ExportedOutSlot> exportedOutSlots_;
  ExportMap<ExportedInSlot> exportedInSlots_;
  std::unordered_multimap<const Slot*, unsigned long> exportedBySlot_;
  ImportMap<ImportedOutSlot> importedOutSlots_;
  ImportMap<ImportedInSlot> importedInSlots_;
  std::unordered_set<const Slot*> ownSlots_; ///< of the twins, which are not to be exported again
  unsigned long nextSlotId_ = 0;

  mutable std::mutex clientsLock_; ///< guards the clients: who passed the handshake
  std::map<Pelorn::Communicator*, std::unique_ptr<Pelorn::HelloEvent>> clients_;

  VantifluxMultiConnector connector_;
  Pelorn::Wait wait_; ///< lets the connect thread sleep until it is to end
  NodeWorker connectWorker_;
  NodeWorker receiveWorker_;
};

template <class Step>
void NetworkNode::guarded(Step&& step) {
  try {
    step();
  } catch (const std::exception& e) {
    addLog(std::string("Exception while a peer was served: ") + e.what());
  } catch (...) {
    addLog("Exception of an unknown type while a peer was served");
  }
}

} // namespace Vantiflux
