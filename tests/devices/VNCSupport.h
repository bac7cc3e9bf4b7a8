#pragma once

#include <array>
#include <chrono>
#include <csignal>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include <netinet/in.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

#include <gtest/gtest.h>

#include <apps/Process.h>
#include <devices/Picture.h>
#include <devices/TrackerSupport.h>
#include <vantiflux/devices/VNCNode.h>

namespace test {

using Words = std::vector<std::string>;

inline std::string lineOf(Process& process) {
  std::string line = process.readLine();
  if (!line.empty())
    line.pop_back();
  return line;
}

/// A program that is asked to end, so that it leaves nothing behind in the system; an X server has sockets there.
class TidyProcess : public Process {
public:
  using Process::Process;
  ~TidyProcess() {
    signal(SIGTERM);
    wait(std::chrono::seconds(5));
  }
};

/// A port of the system's choice on the loopback interface.
class Listener {
public:
  explicit Listener(bool listens = true) : fd_(::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0)) {
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    EXPECT_EQ(::bind(fd_.get(), reinterpret_cast<const sockaddr*>(&address), sizeof address), 0);
    if (listens)
      listen();
  }
  /// Until then it refuses whoever comes.
  void listen() const { EXPECT_EQ(::listen(fd_.get(), 5), 0); }
  /// The next one who comes, who is told so much.
  Pelorn::Descriptor greet(const std::string& words) const {
    pollfd entry{fd(), POLLIN, 0};
    Pelorn::Descriptor peer(::poll(&entry, 1, 30000) == 1 ? ::accept4(fd(), nullptr, nullptr, SOCK_CLOEXEC) : -1);
    const timeval limit{30, 0};
    EXPECT_EQ(::setsockopt(peer.get(), SOL_SOCKET, SO_SNDTIMEO, &limit, sizeof limit), 0);
    EXPECT_EQ(::send(peer.get(), words.data(), words.size(), MSG_NOSIGNAL), static_cast<ssize_t>(words.size()));
    return peer;
  }
  int fd() const { return fd_.get(); }
  std::string port() const { return std::to_string(Pelorn::SocketAddress::localOf(fd_.get()).getServicePort()); }

private:
  Pelorn::Descriptor fd_;
};

/// A VNC server with a screen of its own, which is 320 x 240 at first.
class VNCServer {
public:
  virtual ~VNCServer() = default;
  const std::string& display() const { return display_; }
  const std::string& port() const { return port_; }
  /// Which encodings it is to use, as of the node.
  virtual std::string encodings() const = 0;
  /// Whether it has said that this is the encoding that it uses, if it says so at all.
  virtual bool used(const std::string&) { return true; }

protected:
  std::string display_;
  std::string port_;
};

/// TigerVNC: an X server that speaks for itself. It is given its socket, and finds a display.
class TigerVNC : public VNCServer {
public:
  explicit TigerVNC(const Words& security = {"-SecurityTypes", "None"}) : server_(words(security), -1, listener_.fd()) {
    display_ = ":" + lineOf(server_);
    port_ = listener_.port();
  }
  std::string encodings() const override { return "Raw, CopyRect, Cursor, DesktopSize"; }

private:
  static Words words(const Words& security) {
    Words all{"/usr/bin/Xtigervnc", "-inetd", "-displayfd", "1", "-geometry", "320x240", "-depth", "24"};
    all.insert(all.end(), security.begin(), security.end());
    return mortal(all);
  }
  Listener listener_;
  TidyProcess server_;
};

/// x11vnc, which shows the screen of another X server.
class X11VNC : public VNCServer {
public:
  explicit X11VNC(std::string encodings, const Words& security = {"-nopw"})
      : encodings_(std::move(encodings)),
        screen_(mortal({"/usr/bin/Xvfb", "-displayfd", "1", "-screen", "0", "320x240x24"})) {
    display_ = ":" + lineOf(screen_);
    for (int attempt = 0; port_.empty() && attempt < 5; ++attempt)
      serve(security);
    EXPECT_FALSE(port_.empty()) << server_->errors();
  }
  std::string encodings() const override { return encodings_; }
  bool used(const std::string& encoding) override {
    std::string line;
    do
      line = server_->readErrorLine();
    while (!line.empty() && line.find(" encoding for client") == std::string::npos);
    return line.find("Using " + encoding) != std::string::npos;
  }

private:
  /// Without a port if another took it all the same.
  void serve(const Words& security) {
    Words words{
        "/usr/bin/x11vnc", "-display", display_,     "-localhost", "-noipv6", "-rfbport", std::to_string(freePort()),
        "-forever",        "-shared",  "-noxdamage", "-wait",      "10",      "-defer",   "10",
        "-nonap"};
    words.insert(words.end(), security.begin(), security.end());
    server_ = std::make_unique<TidyProcess>(mortal(words));
    for (std::string line = server_->readLine(); !line.empty() && port_.empty(); line = server_->readLine())
      if (line.rfind("PORT=", 0) == 0 && line != "PORT=0\n") {
        port_ = line.substr(5, line.size() - 6);
        return;
      }
  }

  std::string encodings_;
  TidyProcess screen_;
  std::unique_ptr<TidyProcess> server_;
};

/// The program on a screen.
class XPicture {
public:
  explicit XPicture(const std::string& display) {
    std::array<int, 2> ends{};
    EXPECT_EQ(::pipe2(ends.data(), O_CLOEXEC), 0);
    commands_ = Pelorn::Descriptor(ends[1]);
    const Pelorn::Descriptor input(ends[0]);
    process_ = std::make_unique<Process>(Words{X_PICTURE, display}, -1, input.get());
    EXPECT_EQ(lineOf(*process_), "ready");
  }
  void tell(const std::string& command) {
    const std::string line = command + "\n";
    EXPECT_EQ(::write(commands_.get(), line.data(), line.size()), static_cast<ssize_t>(line.size()));
    EXPECT_EQ(lineOf(*process_), "done");
  }
  std::string event() { return lineOf(*process_); }

private:
  Pelorn::Descriptor commands_;
  std::unique_ptr<Process> process_;
};

/// A node, its slots, and who uses them.
class VNCClient : public Bench<Vantiflux::VNCNode> {
public:
  explicit VNCClient(const VNCServer& server, const std::string& password = {})
      : VNCClient(server.port(), server.encodings(), password) {}
  explicit VNCClient(const std::string& port, const std::string& encodings = {}, const std::string& password = {})
      : Bench({{"Address", "127.0.0.1"}, {"Port", port}, {"Password", password}}) {
    if (!encodings.empty())
      node->setFieldValue("Encodings", encodings);
    ns.addOutSlot("position", &position);
    const std::array<std::string, 3> labels{"Left", "Right", "Middle"};
    for (std::size_t i = 0; i < 3; ++i) {
      ns.addOutSlot(labels[i], &buttons[i]);
      ns.addRoute(labels[i], "n/" + labels[i] + " Mouse Button");
    }
    ns.addInSlot("frames", &frames);
    ns.addRoute("position", "n/Mouse Position");
    ns.addRoute("n/Frames", "frames");
  }
  ~VNCClient() {
    ns.clear();
    ns.removeInSlot("frames", &frames);
    ns.removeOutSlot("position", &position);
    const std::array<std::string, 3> labels{"Left", "Right", "Middle"};
    for (std::size_t i = 0; i < 3; ++i)
      ns.removeOutSlot(labels[i], &buttons[i]);
  }

  /// Whether a frame comes that is of this size, and has these pixels.
  template <class Pixel>
  bool shows(unsigned width, unsigned height, Pixel pixel) {
    return eventually([&] {
      const auto frame = frames.top().getValue();
      if (!frame || frame->width() != width || frame->height() != height || frame->format() != Vantiflux::Image::RGB24)
        return false;
      const unsigned char* p = frame->data();
      for (unsigned row = 0; row < height; ++row)
        for (unsigned x = 0; x < width; ++x, p += 3)
          if ((std::uint32_t{p[0]} << 16 | std::uint32_t{p[1]} << 8 | p[2]) != pixel(x, height - 1 - row))
            return false;
      return true;
    });
  }
  /// In pixels from the top left corner of a screen of 320 x 240.
  void moveTo(unsigned x, unsigned y) {
    position.push(
        Vantiflux::Vec2<float>((static_cast<float>(x) + 0.5F) / 319, 1 - (static_cast<float>(y) + 0.5F) / 239));
  }

  Vantiflux::OutSlot<Vantiflux::Vec2<float>> position;
  std::array<Vantiflux::OutSlot<bool>, 3> buttons; ///< left, right, middle
  Vantiflux::InSlot<Vantiflux::SmartPtr<Vantiflux::Image>> frames;
};

} // namespace test
