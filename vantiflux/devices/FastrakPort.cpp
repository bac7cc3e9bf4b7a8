#include <vantiflux/devices/FastrakPort.h>

#include <algorithm>

#include <vantiflux/platform/pelorn/Exception.h>
#include <vantiflux/platform/tarsil/Thread.h>

namespace Vantiflux {

namespace {

constexpr std::array<int, 9> usualRates{9600, 19200, 38400, 115200, 1200, 2400, 4800, 57600, 300};

constexpr int attempts = 3;
constexpr int replyTime = 1000;    // milliseconds that the tracker has for a reply
constexpr int settlingTime = 250;  // for the tracker to change its speed, and for the line to empty before that
constexpr int shortSettling = 150; // the same, when somebody waits for the end

// For rates that the tracker knows.
std::string rateCode(int baudRate) {
  for (const int known : {300, 1200, 2400, 4800, 9600, 19200, 38400, 57600, 115200})
    if (known == baudRate)
      return std::to_string(known / 100);
  return {};
}

std::string trimmed(std::string_view text) {
  constexpr std::string_view blanks = " \r\n\t";
  const auto begin = text.find_first_not_of(blanks);
  if (begin == std::string_view::npos)
    return {};
  return std::string(text.substr(begin, text.find_last_not_of(blanks) - begin + 1));
}

} // namespace

FastrakPort::Opened FastrakPort::open(const Settings& settings) {
  settings_ = settings;
  detectedRate_ = 0;
  std::array<int, usualRates.size() + 1> rates{settings.baudRate};
  std::copy(usualRates.begin(), usualRates.end(), rates.begin() + 1);
  for (const int rate : rates) {
    if (!openAt(rate))
      return stopped() ? Opened::Stopped : Opened::NoPort;
    if (detect()) {
      detectedRate_ = rate;
      break;
    }
    if (stopped())
      break;
  }
  if (detectedRate_ != 0 && (detectedRate_ == settings.baudRate || switchTo(settings.baudRate)))
    return Opened::Yes;
  leave();
  return stopped() ? Opened::Stopped : Opened::NoTracker;
}

bool FastrakPort::openAt(int baudRate) {
  port_.setDevice(settings_.device);
  try {
    if (!port_.setBitsPerSecond(baudRate) || !port_.setDataBits(settings_.dataBits) ||
        !port_.setParity(settings_.parity) || !port_.setHandshake(settings_.handshake))
      throw Pelorn::Exception("the port refuses its settings");
    port_.open();
  } catch (const Pelorn::Exception& e) {
    trouble_ = e.what();
    port_.close();
    return false;
  }
  stream_.restart();
  reader_.discard();
  port_.setDTR(true);
  port_.setRTS(true);
  return true;
}

bool FastrakPort::detect() {
  for (int attempt = 0; attempt < attempts; ++attempt) {
    send("c");
    if (!sleep_(200))
      return false;
    reader_.discard();
    send("S");
    std::string_view line;
    const LineReader::Result result = reader_.read(line, replyTime);
    if (result == LineReader::Result::Line && FastrakRecord::isReply(line, 'S')) {
      name_ = trimmed(line.substr(3));
      return true;
    }
    if (result == LineReader::Result::End && !sleep_(replyTime))
      return false;
  }
  return false;
}

// The tracker changes its speed as soon as it has the command, so from then on this side must follow it, whatever
// happens: otherwise it could not be put back. The port stays open meanwhile, so nobody else can take it.
bool FastrakPort::switchTo(int baudRate) {
  const std::string command = portSettings(settings_, baudRate);
  send(command);
  const bool settled = sleep_(settlingTime);
  const bool followed = port_.setBitsPerSecond(baudRate);
  if (settled && followed) {
    reader_.discard();
    return true;
  }
  if (followed && !command.empty())
    close();
  return false;
}

void FastrakPort::close() {
  if (detectedRate_ != 0 && port_.isOpen()) {
    const bool hurry = stopped();
    stream_.buf().sendFinal("c" + portSettings(settings_, detectedRate_), shortSettling);
    if (hurry || !sleep_(settlingTime))
      Tarsil::Thread::sleep(shortSettling);
  }
  leave();
}

void FastrakPort::leave() {
  port_.setDTR(false);
  port_.setRTS(false);
  stream_.close();
  detectedRate_ = 0;
}

bool FastrakPort::askActive(Active& active) {
  for (int attempt = 0; attempt < attempts && !stopped(); ++attempt) {
    for (char station = '1'; station <= '4'; ++station)
      send(std::string("l") + station + ",1\r");
    send("l1\r");
    std::string_view line;
    // Nine characters with the line feed.
    if (reader_.read(line, replyTime) != LineReader::Result::Line || line.size() + 1 < 9 ||
        !FastrakRecord::isReply(line, 'l'))
      continue;
    for (std::size_t i = 0; i < active.size(); ++i)
      active[i] = line[3 + i] == '1';
    return true;
  }
  return false;
}

void FastrakPort::startStream(const Active& active, const std::string& hemisphere) {
  send("F");
  send("u");
  for (std::size_t i = 0; i < active.size(); ++i) {
    if (!active[i])
      continue;
    const std::string n = std::to_string(i + 1);
    send("R" + n + "\r");
    send("G" + n + ",0,0,0\r");
    send("b" + n + "\r");
    send("O" + n + ",2,11,16,1\r");
    send("H" + n + "," + hemisphere + "\r");
  }
  send("e1,0\r");
  send("C");
}

bool FastrakPort::readLine(std::string_view& line) {
  return reader_.read(line, -1) == LineReader::Result::Line;
}

void FastrakPort::send(std::string_view text) {
  if (!text.empty()) // a line that stands still must not hold up anything: what waits for it goes out later, or never
    stream_.buf().queueWrite(text);
}

/// The command that sets up the tracker's side of the line; empty, if the tracker does not know such a line.
std::string FastrakPort::portSettings(const Settings& settings, int baudRate) {
  using Serial = Pelorn::Serial;
  const std::string rate = rateCode(baudRate);
  if (rate.empty())
    return {};
  const char parity = settings.parity == Serial::Parity::None   ? 'N'
                      : settings.parity == Serial::Parity::Even ? 'E'
                                                                : 'O';
  const char handshake = settings.handshake == Serial::Handshake::Hardware ? '1' : '0';
  return "o" + rate + "," + parity + "," + std::to_string(settings.dataBits) + "," + handshake + "\r";
}

} // namespace Vantiflux
