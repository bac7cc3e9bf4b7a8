#include <vantiflux/devices/ByteStreamNode.h>

#include <vantiflux/devices/Allowance.h>
#include <vantiflux/devices/MessageCutter.h>

namespace Vantiflux {

ByteStreamNode::~ByteStreamNode() = default;

void ByteStreamNode::talk(Pelorn::StreamBuf& stream, const std::function<void()>& ready,
                          const std::function<void(const std::string& message)>& push) {
  struct Closing { // a listener may throw
    ~Closing() { outlet.close(); }
    Outlet& outlet;
  } const closing{outlet_};
  outlet_.hold();
  if (introduce(stream)) {
    outlet_.open([&stream](const std::string& message) { return stream.queueWrite(message); });
    ready();
    const MessageCutter cutter(getMaxBytes(), getDelimiter());
    std::string message;
    while (cutter.next(stream, message))
      push(message);
  }
  outlet_.close();
  sayGoodbye(stream);
}

bool ByteStreamNode::introduce(Pelorn::StreamBuf& stream) {
  int limit = initSendTime;
  const bool sent = sendInitString([&stream, &limit](std::string_view piece) {
    if (stream.write(piece, limit))
      return true;
    limit = 0; // a device that stands still is not waited for again
    return stream.queued() > 0;
  });
  return sent && !stream.channel().broken();
}

// One allowance for all that has to go out, or each piece could take its time anew.
void ByteStreamNode::sayGoodbye(Pelorn::StreamBuf& stream) {
  Allowance allowance(finalSendTime);
  sendDeinitString(
      [&](std::string_view piece) { return allowance.spend([&](int left) { return stream.sendFinal(piece, left); }); });
  allowance.spend([&](int left) { return stream.finish(left); });
}

} // namespace Vantiflux
