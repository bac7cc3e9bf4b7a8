#pragma once

#include <memory>
#include <mutex>
#include <string>
#include <vantiflux/Export.h>
#include <vantiflux/platform/pelorn/Channel.h>

struct termios;

namespace Pelorn {

/// A serial port in raw mode, or a look at its control lines.
///
/// The device is a decimal number N for /dev/ttySN, or the path of any terminal device (an adapter such as
/// /dev/ttyUSB0, a pseudo-terminal). One at a time has a port open for its data, in this and all processes that keep to
/// it: whoever comes second gets the cause EBUSY. Any number may look at the lines beside it; they touch no setting.
/// `close` puts the line settings back that opening for data found.
///
/// Threads: all operations from any thread. Setters take effect at once on an open port and otherwise when it is
/// opened. `close` may take up to half a second, while the line sends what was written; what a stalled line holds is
/// then dropped.
class VANTIFLUX_API Serial : public Channel {
public:
  /// The values are the platform's speed constants.
  enum BaudRate : unsigned {
    Baud110 = 0000003,
    Baud300 = 0000007,
    Baud600 = 0000010,
    Baud1200 = 0000011,
    Baud2400 = 0000013,
    Baud4800 = 0000014,
    Baud9600 = 0000015,
    Baud19200 = 0000016,
    Baud38400 = 0000017,
    Baud57600 = 0010001,
    Baud115200 = 0010002
  };
  enum class Parity { None, Even, Odd };
  enum class Handshake { None, Hardware, Software };
  enum class Use { Data, Lines };

  /// Device "0", 9600 baud, 8 data bits, no parity, 1 stop bit, no handshake.
  Serial();
  ~Serial() override;

  /// Closes an open port, opens the device and applies the settings if it is for data. Throws `IOException`, or
  /// `Exception` when the device is not named in one of the two ways. Never waits for a carrier.
  void open(Use use = Use::Data);
  void close() override;

  void setDevice(const std::string& device);
  std::string getDevice() const;
  /// The file that the device's name stands for, empty when it is malformed.
  std::string getDevicePath() const;

  // Each setter below returns false and changes nothing when it does not know the value or the open port refuses it.

  bool setBaudRate(BaudRate rate);
  BaudRate getBaudRate() const;
  /// In bits per second: 110, 300, 600, 1200, 2400, 4800, 9600, 19200, 38400, 57600 or 115200.
  bool setBitsPerSecond(int rate);
  int getBitsPerSecond() const;
  /// 7 or 8.
  bool setDataBits(int bits);
  int getDataBits() const;
  /// 1 or 2.
  bool setStopBits(int bits);
  int getStopBits() const;
  bool setParity(Parity parity);
  Parity getParity() const;
  bool setHandshake(Handshake handshake);
  Handshake getHandshake() const;
  /// The same in words, upper and lower case alike: "none", "even", "odd"; "none", "hardware", "software".
  bool setParity(const std::string& text);
  bool setHandshake(const std::string& text);

  // Lines of the open port. False when it is closed or has no such lines, as a pseudo-terminal.

  bool setDTR(bool on);
  bool setRTS(bool on);
  bool getCTS(bool& on) const;
  bool getDSR(bool& on) const;

  static bool toBaudRate(int bitsPerSecond, BaudRate& rate) noexcept;
  static int toBitsPerSecond(BaudRate rate) noexcept;

protected:
  /// Waits until the line has sent what was written.
  void finish(const Handle& on, const Deadline& deadline) override;

private:
  struct Settings {
    BaudRate rate = Baud9600;
    int dataBits = 8;
    int stopBits = 1;
    Parity parity = Parity::None;
    Handshake handshake = Handshake::None;
  };

  template <class Change>
  bool change(Change&& change);
  Settings settings() const;
  static bool apply(int fd, const Settings& settings);
  static std::unique_ptr<termios> occupy(int fd, const Settings& settings, const std::string& what);
  bool setLine(int line, bool on);
  bool getLine(int line, bool& on) const;

  mutable std::mutex settingsMutex_; // guards the members below; the channel's own mutex is taken inside it
  std::string device_ = "0";
  Settings settings_;
  std::unique_ptr<termios> saved_; // line settings found at open; null when not open for data
};

} // namespace Pelorn
