#include <vantiflux/platform/pelorn/Serial.h>

#include <algorithm>
#include <array>
#include <cctype>
#include <cerrno>
#include <fcntl.h>
#include <poll.h>
#include <string_view>
#include <sys/file.h>
#include <sys/ioctl.h>
#include <termios.h>
#include <utility>
#include <vantiflux/platform/pelorn/Deadline.h>
#include <vantiflux/platform/pelorn/Exception.h>

namespace Pelorn {

namespace {

static_assert(Serial::Baud110 == B110 && Serial::Baud300 == B300 && Serial::Baud600 == B600 &&
              Serial::Baud1200 == B1200 && Serial::Baud2400 == B2400 && Serial::Baud4800 == B4800 &&
              Serial::Baud9600 == B9600 && Serial::Baud19200 == B19200 && Serial::Baud38400 == B38400 &&
              Serial::Baud57600 == B57600 && Serial::Baud115200 == B115200);

constexpr std::array<std::pair<int, Serial::BaudRate>, 11> rates{{{110, Serial::Baud110},
                                                                  {300, Serial::Baud300},
                                                                  {600, Serial::Baud600},
                                                                  {1200, Serial::Baud1200},
                                                                  {2400, Serial::Baud2400},
                                                                  {4800, Serial::Baud4800},
                                                                  {9600, Serial::Baud9600},
                                                                  {19200, Serial::Baud19200},
                                                                  {38400, Serial::Baud38400},
                                                                  {57600, Serial::Baud57600},
                                                                  {115200, Serial::Baud115200}}};

std::string lower(std::string text) {
  std::transform(text.begin(), text.end(), text.begin(),
                 [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
  return text;
}

std::string devicePath(const std::string& device) {
  if (!device.empty() && device[0] == '/')
    return device.find('\0') == std::string::npos ? device : std::string();
  const bool number = !device.empty() && device.size() <= 5 &&
                      std::all_of(device.begin(), device.end(), [](char c) { return c >= '0' && c <= '9'; });
  return number ? "/dev/ttyS" + std::to_string(std::stoi(device)) : std::string();
}

/// Waits until the line has sent what was written, or the time is over; true in the first case.
bool sendOut(int fd, const Deadline& deadline) {
  for (;;) {
    int waiting = 0;
    if (::ioctl(fd, TIOCOUTQ, &waiting) != 0 || waiting <= 0)
      return true;
    const int left = deadline.remaining();
    if (left == 0)
      return false;
    ::poll(nullptr, 0, std::min(left, 5)); // the line has no event for this
  }
}

} // namespace

Serial::Serial() = default;

Serial::~Serial() {
  Serial::close();
}

void Serial::open(Use use) {
  close();
  const std::lock_guard lock(settingsMutex_);
  const std::string path = devicePath(device_);
  if (path.empty())
    throw Exception("\"" + device_ + "\" is neither the number nor the path of a serial port");
  const std::string what = "Cannot open " + path;
  Descriptor fd(::open(path.c_str(), O_RDWR | O_NOCTTY | O_NONBLOCK | O_CLOEXEC));
  if (!fd)
    throw IOException(what, errno);
  if (::isatty(fd.get()) == 0)
    throw IOException(what, errno);
  const auto port = adopt(std::move(fd), what);
  if (use == Use::Lines)
    return;
  try {
    saved_ = occupy(port->fd(), settings_, what);
  } catch (...) {
    if (handle() == port)
      Channel::close();
    throw;
  }
}

/// Takes the data of the port for this descriptor, and returns the settings found. A lock of the file, and not the
/// terminal's own exclusive mode: that would shut out those who look at the lines, and outlast a failure.
std::unique_ptr<termios> Serial::occupy(int fd, const Settings& settings, const std::string& what) {
  if (::flock(fd, LOCK_EX | LOCK_NB) != 0)
    throw IOException(what, errno == EWOULDBLOCK ? EBUSY : errno);
  auto found = std::make_unique<termios>();
  if (::tcgetattr(fd, found.get()) != 0)
    throw IOException(what, errno);
  if (!apply(fd, settings)) {
    const int error = errno;
    ::tcsetattr(fd, TCSANOW, found.get());
    throw IOException(what, error);
  }
  return found;
}

void Serial::close() {
  const auto port = handle();
  // First, so that nobody goes on writing while the line empties.
  Channel::close();
  const std::lock_guard lock(settingsMutex_);
  if (!port || !saved_)
    return;
  // The system would hold up the close itself, for up to half a minute, for the sake of a line that stands still.
  if (!sendOut(port->fd(), Deadline(500)))
    ::tcflush(port->fd(), TCOFLUSH);
  ::tcsetattr(port->fd(), TCSANOW, saved_.get());
  ::flock(port->fd(), LOCK_UN); // a reader on its way out may keep the descriptor open for a moment
  saved_.reset();
}

void Serial::finish(const Handle& on, const Deadline& deadline) {
  sendOut(on.fd(), deadline);
}

void Serial::setDevice(const std::string& device) {
  const std::lock_guard lock(settingsMutex_);
  device_ = device;
}

std::string Serial::getDevice() const {
  const std::lock_guard lock(settingsMutex_);
  return device_;
}

std::string Serial::getDevicePath() const {
  return devicePath(getDevice());
}

template <class Change>
bool Serial::change(Change&& change) {
  const std::lock_guard lock(settingsMutex_);
  Settings changed = settings_;
  change(changed);
  const auto port = handle();
  if (port && saved_ && !apply(port->fd(), changed))
    return false;
  settings_ = changed;
  return true;
}

Serial::Settings Serial::settings() const {
  const std::lock_guard lock(settingsMutex_);
  return settings_;
}

bool Serial::setBaudRate(BaudRate rate) {
  return toBitsPerSecond(rate) != 0 && change([&](Settings& s) { s.rate = rate; });
}

Serial::BaudRate Serial::getBaudRate() const {
  return settings().rate;
}

bool Serial::setBitsPerSecond(int rate) {
  BaudRate value{};
  return toBaudRate(rate, value) && setBaudRate(value);
}

int Serial::getBitsPerSecond() const {
  return toBitsPerSecond(settings().rate);
}

bool Serial::setDataBits(int bits) {
  return (bits == 7 || bits == 8) && change([&](Settings& s) { s.dataBits = bits; });
}

int Serial::getDataBits() const {
  return settings().dataBits;
}

bool Serial::setStopBits(int bits) {
  return (bits == 1 || bits == 2) && change([&](Settings& s) { s.stopBits = bits; });
}

int Serial::getStopBits() const {
  return settings().stopBits;
}

bool Serial::setParity(Parity parity) {
  return change([&](Settings& s) { s.parity = parity; });
}

Serial::Parity Serial::getParity() const {
  return settings().parity;
}

bool Serial::setHandshake(Handshake handshake) {
  return change([&](Settings& s) { s.handshake = handshake; });
}

Serial::Handshake Serial::getHandshake() const {
  return settings().handshake;
}

bool Serial::setParity(const std::string& text) {
  const std::string word = lower(text);
  if (word == "none")
    return setParity(Parity::None);
  if (word == "even")
    return setParity(Parity::Even);
  return word == "odd" && setParity(Parity::Odd);
}

bool Serial::setHandshake(const std::string& text) {
  const std::string word = lower(text);
  if (word == "none")
    return setHandshake(Handshake::None);
  if (word == "hardware")
    return setHandshake(Handshake::Hardware);
  return word == "software" && setHandshake(Handshake::Software);
}

bool Serial::setDTR(bool on) {
  return setLine(TIOCM_DTR, on);
}
bool Serial::setRTS(bool on) {
  return setLine(TIOCM_RTS, on);
}
bool Serial::getCTS(bool& on) const {
  return getLine(TIOCM_CTS, on);
}
bool Serial::getDSR(bool& on) const {
  return getLine(TIOCM_DSR, on);
}

bool Serial::setLine(int line, bool on) {
  const auto port = handle();
  return port && ::ioctl(port->fd(), on ? TIOCMBIS : TIOCMBIC, &line) == 0;
}

bool Serial::getLine(int line, bool& on) const {
  const auto port = handle();
  int lines = 0;
  if (!port || ::ioctl(port->fd(), TIOCMGET, &lines) != 0)
    return false;
  on = (lines & line) != 0;
  return true;
}

bool Serial::apply(int fd, const Settings& settings) {
  termios raw{};
  if (::tcgetattr(fd, &raw) != 0)
    return false;
  ::cfmakeraw(&raw);
  raw.c_cflag &= ~static_cast<tcflag_t>(CSIZE | PARENB | PARODD | CSTOPB | CRTSCTS);
  raw.c_cflag |= CREAD | CLOCAL | static_cast<tcflag_t>(settings.dataBits == 7 ? CS7 : CS8);
  if (settings.parity != Parity::None)
    raw.c_cflag |= settings.parity == Parity::Odd ? PARENB | PARODD : PARENB;
  if (settings.stopBits == 2)
    raw.c_cflag |= CSTOPB;
  raw.c_iflag &= ~static_cast<tcflag_t>(IXOFF | IXANY | INPCK);
  if (settings.handshake == Handshake::Hardware)
    raw.c_cflag |= CRTSCTS;
  if (settings.handshake == Handshake::Software)
    raw.c_iflag |= IXON | IXOFF;
  // At least one byte: with none, an idle line would look like its end.
  raw.c_cc[VMIN] = 1;
  raw.c_cc[VTIME] = 0;
  return ::cfsetispeed(&raw, settings.rate) == 0 && ::cfsetospeed(&raw, settings.rate) == 0 &&
         ::tcsetattr(fd, TCSANOW, &raw) == 0;
}

bool Serial::toBaudRate(int bitsPerSecond, BaudRate& rate) noexcept {
  for (const auto& [bits, value] : rates) {
    if (bits == bitsPerSecond) {
      rate = value;
      return true;
    }
  }
  return false;
}

int Serial::toBitsPerSecond(BaudRate rate) noexcept {
  for (const auto& [bits, value] : rates) {
    if (value == rate)
      return bits;
  }
  return 0;
}

} // namespace Pelorn
