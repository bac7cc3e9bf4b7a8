#pragma once

#include <cstdint>
#include <string>

#include <vantiflux/Export.h>
#include <vantiflux/platform/pelorn/Event.h>

namespace Pelorn {

/// The first event in each direction of a connection: which protocol is spoken, and who speaks it. User, host and
/// system are those of the process that makes the event. Instance and ID belong to the connector (see MultiConnector),
/// which fills them in.
class VANTIFLUX_API HelloEvent : public Event {
public:
  /// For receiving.
  HelloEvent() = default;
  HelloEvent(const std::string& protocol, const std::string& client, short major, short minor);

  const EventType& type() const override { return type_; }
  void addFields() override;
  void getFields() override;
  static Event* create() { return new HelloEvent; }

  const std::string& getProtocol() const noexcept { return protocol_; }
  const std::string& getClientName() const noexcept { return clientName_; }
  short getMajor() const noexcept { return major_; }
  short getMinor() const noexcept { return minor_; }
  const std::string& getUser() const noexcept { return user_; }
  const std::string& getHost() const noexcept { return host_; }
  const std::string& getSystem() const noexcept { return system_; }

  void setLink(std::uint64_t instance, short id) noexcept {
    instance_ = instance;
    id_ = id;
  }
  std::uint64_t getInstance() const noexcept { return instance_; }
  short getId() const noexcept { return id_; }

private:
  static EventType type_;

  std::string protocol_;
  std::string clientName_;
  short major_ = 0;
  short minor_ = 0;
  std::string user_;
  std::string host_;
  std::string system_;
  unsigned long instance_ = 0;
  short id_ = 0;
};

/// Follows the hello from the side with the lesser instance number: whether this connection stays, or goes because the
/// two have another one.
class VANTIFLUX_API VerdictEvent : public Event {
public:
  explicit VerdictEvent(bool stays = false) : stays_(stays) {}

  const EventType& type() const override { return type_; }
  void addFields() override;
  void getFields() override;
  static Event* create() { return new VerdictEvent; }

  bool stays() const noexcept { return stays_; }

private:
  static EventType type_;

  bool stays_;
};

} // namespace Pelorn
