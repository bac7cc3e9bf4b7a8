#include <vantiflux/devices/ByteStreamNode.h>

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
  if (sendInitString([&stream](std::string_view piece) { return stream.write(piece); })) {
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

void ByteStreamNode::sayGoodbye(Pelorn::StreamBuf& stream) {
  sendDeinitString([&stream](std::string_view piece) { return stream.sendFinal(piece, finalSendTime); });
}

} // namespace Vantiflux
