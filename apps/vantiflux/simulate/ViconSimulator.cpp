#include <array>
#include <cstdint>
#include <cstring>
#include <memory>
#include <mutex>
#include <string>
#include <utility>
#include <vector>

#include <CLI/App.hpp>
#include <CLI/Config.hpp>
#include <CLI/Formatter.hpp>

#include <vantiflux/platform/pelorn/ServerSocket.h>
#include <vantiflux/platform/pelorn/StreamBuf.h>

#include "Motion.h"
#include "Options.h"
#include "Session.h"
#include "SimulateCommand.h"

namespace Simulate {

namespace {

struct ViconOptions : Options {
  std::string listen = "127.0.0.1:8000";
  unsigned bodies = 1;
  unsigned markers = 0;
};

/// A packet: everything in it is eight bytes wide, but for the letters of names.
class Packet {
public:
  Packet& integer(std::int64_t value) { return append(&value, sizeof value); }
  Packet& number(double value) { return append(&value, sizeof value); }
  Packet& text(const std::string& value) {
    return integer(static_cast<std::int64_t>(value.size())).append(value.data(), value.size());
  }
  std::string bytes;

private:
  Packet& append(const void* data, std::size_t size) {
    bytes.append(static_cast<const char*>(data), size);
    return *this;
  }
};

class ViconSimulator {
public:
  explicit ViconSimulator(const ViconOptions& options) : options_(options), chance_(options.seed) {}

  void run() {
    Place place = placeOf(options_.listen);
    listener_.open(place.address, place.port);
    place.port = listener_.getLocalAddress().getServicePort(); // also after a restart
    Session session(options_.seconds, [this] { interrupt(); });
    announce(place.address + ":" + std::to_string(place.port));
    while (!session.over() && !options_.ends(frames_)) {
      if (down_ && !session.sleep(options_.pause))
        break;
      if (std::exchange(down_, false))
        listener_.open(place.address, place.port);
      if (const auto client = listener_.accept())
        serve(*client, session);
    }
  }

private:
  void interrupt() {
    const std::lock_guard guard(lock_);
    listener_.breakWait();
    if (client_ != nullptr)
      client_->breakWait();
  }

  void setClient(Pelorn::Socket* client) {
    const std::lock_guard guard(lock_);
    client_ = client;
  }

  void serve(Pelorn::Socket& client, Session& session) {
    client.setTcpNoDelay(true);
    Pelorn::StreamBuf stream(client);
    setClient(&client);
    auto next = Clock::now();
    for (std::array<std::int64_t, 2> request{}; !options_.ends(frames_) && !session.over() && read(stream, request);) {
      if (request == std::array<std::int64_t, 2>{1, 0}) {
        send(stream, channels());
      } else if (request == std::array<std::int64_t, 2>{2, 0}) {
        next = std::max(next, Clock::now() - std::chrono::seconds(1));
        next += std::chrono::duration_cast<Clock::duration>(std::chrono::duration<double>(1 / options_.rate));
        if (!session.sleepUntil(next))
          break;
        answerFrame(stream);
        if (frames_ == options_.breakAfter && session.sleep(options_.pause))
          break;
        if (frames_ == options_.restartAfter) {
          down_ = true;
          listener_.close();
          break;
        }
      } else {
        break; // it does not speak this protocol
      }
    }
    setClient(nullptr);
    client.close();
  }

  static bool read(Pelorn::StreamBuf& stream, std::array<std::int64_t, 2>& request) {
    std::array<char, sizeof request> bytes{};
    for (char& byte : bytes) {
      if (!stream.waitForData())
        return false;
      byte = static_cast<char>(stream.sbumpc());
    }
    std::memcpy(request.data(), bytes.data(), sizeof request);
    return true;
  }

  std::string channels() const {
    std::vector<std::string> names{"Time <F>"};
    for (unsigned i = 0; i < options_.bodies; ++i)
      for (const char* const token : {"<A-X>", "<A-Y>", "<A-Z>", "<T-X>", "<T-Y>", "<T-Z>"})
        names.push_back("Body " + std::to_string(i) + " " + token);
    for (unsigned i = 0; i < options_.markers; ++i)
      for (const char* const token : {"<P-X>", "<P-Y>", "<P-Z>", "<P-O>"})
        names.push_back("Body:Marker" + std::to_string(i) + " " + token);
    Packet packet;
    packet.integer(1).integer(1).integer(static_cast<std::int64_t>(names.size()));
    for (const std::string& name : names)
      packet.text(name);
    return packet.bytes;
  }

  /// The server's frame: x to the right, y away from the viewer, z up; millimetres.
  std::string frame(std::int64_t kind, std::int64_t reply, std::int64_t more) {
    const double seconds = static_cast<double>(frames_) / options_.rate;
    Packet packet;
    packet.integer(kind).integer(reply).integer(1 + 6 * options_.bodies + 4 * options_.markers + more);
    packet.number(static_cast<double>(frames_));
    for (unsigned i = 0; i < options_.bodies; ++i) {
      const Pose pose = noisy(poseAt(i, seconds), options_.noise, options_.jitter, chance_);
      const auto [a, b, c] = axisAngleOf(pose.rotation);
      const auto [x, y, z] = pose.position;
      for (const double value : {a, -c, b, x * 1000, -z * 1000, y * 1000})
        packet.number(value);
    }
    for (unsigned i = 0; i < options_.markers; ++i) {
      const auto [x, y, z] = noisy(poseAt(i, seconds), options_.noise, 0, chance_).position;
      const bool hidden = (frames_ / 32 + i) % 4 == 3;
      for (const double value : {x * 1000, -z * 1000, y * 1000, hidden ? 1.0 : 0.0})
        packet.number(value);
    }
    return packet.bytes;
  }

  void answerFrame(Pelorn::StreamBuf& stream) {
    const bool bad = chance_.happens(options_.malform);
    const unsigned kind = bad ? chance_.below(4) : 4;
    std::string reply = frame(kind == 0 ? 3 : 2, kind == 1 ? 7 : 1, kind == 2 ? 1000 : 0);
    if (kind == 3)
      reply.resize(chance_.below(static_cast<unsigned>(reply.size())));
    if (!chance_.happens(options_.lose))
      send(stream, reply);
    if (kind == 3)
      stream.close();
    ++frames_;
  }

  void send(Pelorn::StreamBuf& stream, std::string bytes) {
    while (options_.split && bytes.size() > 1) {
      const std::size_t size = 1 + chance_.below(static_cast<unsigned>(bytes.size()));
      stream.write(bytes.substr(0, size));
      bytes.erase(0, size);
    }
    stream.write(bytes);
  }

  const ViconOptions options_;
  Chance chance_;
  Pelorn::ServerSocket listener_;
  bool down_ = false; ///< restarting
  std::uint64_t frames_ = 0;
  std::mutex lock_; ///< guards the pointer
  Pelorn::Socket* client_ = nullptr;
};

} // namespace

void addVicon(CLI::App& simulate, Program& program) {
  const auto options = std::make_shared<ViconOptions>();
  CLI::App* const command =
      simulate.add_subcommand("vicon", "A Vicon real-time server; it prints the address that it listens on");
  command->add_option("--listen", options->listen, "Where to listen; port 0 takes a free one")
      ->type_name("ADDRESS:PORT")
      ->capture_default_str();
  command->add_option("--bodies", options->bodies, "How many bodies")->check(CLI::Range(0, 100))->capture_default_str();
  command->add_option("--markers", options->markers, "How many markers")->check(CLI::Range(0, 1000));
  addOptions(*command, *options);
  command->callback([options, &program] { program = [options] { ViconSimulator(*options).run(); }; });
}

} // namespace Simulate
