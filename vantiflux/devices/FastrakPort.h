#pragma once

#include <array>
#include <functional>
#include <string>
#include <string_view>
#include <utility>

#include <vantiflux/Export.h>
#include <vantiflux/devices/FastrakRecord.h>
#include <vantiflux/devices/LineReader.h>
#include <vantiflux/platform/pelorn/Serial.h>
#include <vantiflux/platform/pelorn/ioStream.h>

namespace Vantiflux {

/// The serial line to a Fastrak: finds the tracker at whatever speed it has, brings it to the one that is wanted, and
/// leaves it as it was found.
///
/// *Threads.* One thread, but for `resetWait` and `breakWait`. To end an operation soon, let `Sleep` return false
/// first, and then call `breakWait`.
class VANTIFLUX_API FastrakPort {
public:
  struct Settings {
    std::string device = "0";
    int baudRate = 115200;
    int dataBits = 8;
    Pelorn::Serial::Parity parity = Pelorn::Serial::Parity::None;
    Pelorn::Serial::Handshake handshake = Pelorn::Serial::Handshake::Software;
  };
  using Active = std::array<bool, FastrakRecord::stations>;

  enum class Opened { Yes, NoPort, NoTracker, Stopped };

  /// Sleeps for some milliseconds; false, at once, when the thread is to end.
  using Sleep = std::function<bool(int milliseconds)>;

  explicit FastrakPort(Sleep sleep) : sleep_(std::move(sleep)) {}
  FastrakPort(const FastrakPort&) = delete;
  FastrakPort& operator=(const FastrakPort&) = delete;

  /// Tries one speed after the other, some 4 seconds each, until a tracker answers, and switches that to the wanted
  /// speed. Unless it is found the port is closed again. After NoPort, `trouble` says more.
  Opened open(const Settings& settings);
  const std::string& trouble() const noexcept { return trouble_; }

  /// Makes the tracker silent, puts its speed back and closes the port. Takes a quarter of a second, somewhat less when
  /// told to stop, and up to half a second more when the line takes nothing.
  void close();

  /// The name that the tracker told.
  const std::string& name() const noexcept { return name_; }

  /// Switches all stations on and asks which of them have a sensor, three times at most. False without a proper answer.
  bool askActive(Active& active);

  /// Lets the tracker send records of position, quaternion and stylus, in centimetres.
  void startStream(const Active& active, const std::string& hemisphere);

  /// The next line, without a limit of time; false when the line ended or was broken.
  bool readLine(std::string_view& line);

  void breakWait() { port_.breakWait(); }
  void resetWait() { port_.resetWait(); }

private:
  bool openAt(int baudRate);
  bool detect();
  bool switchTo(int baudRate);
  void leave();
  bool stopped() { return !sleep_(0); }
  void send(std::string_view text);
  static std::string portSettings(const Settings& settings, int baudRate);

  const Sleep sleep_;
  Settings settings_;
  Pelorn::Serial port_;
  Pelorn::ioStream stream_{port_, 8192, 8192};
  LineReader reader_{stream_.buf()};
  std::string name_;
  std::string trouble_;
  int detectedRate_ = 0; ///< 0 while the tracker is not found
};

} // namespace Vantiflux
