#pragma once

#include <functional>
#include <string>

#include <vantiflux/Export.h>
#include <vantiflux/core/Field.h>
#include <vantiflux/core/FieldRow.h>
#include <vantiflux/core/Setting.h>
#include <vantiflux/devices/StreamNode.h>
#include <vantiflux/platform/pelorn/StreamBuf.h>

namespace Vantiflux {

/// A stream node whose device sends bytes without bounds between messages; see MessageCutter for how they are cut.
class VANTIFLUX_API ByteStreamNode : public StreamNode {
public:
  ~ByteStreamNode() override;

  void setDelimiter(int value) { delimiter_.set(value); }
  int getDelimiter() const { return delimiter_.get(); }
  void setMaxBytes(int value) { maxBytes_.set(value); }
  int getMaxBytes() const { return maxBytes_.get(); }

  /// The last two rows of the tables of fields.
  template <class N>
  static Field delimiterRow() {
    return fieldRow<N>("Delimiter", delimiterText_, "-1", &ByteStreamNode::setDelimiter, &ByteStreamNode::getDelimiter);
  }
  template <class N>
  static Field maxBytesRow() {
    return fieldRow<N>("MaxBytes", maxBytesText_, "-1", &ByteStreamNode::setMaxBytes, &ByteStreamNode::getMaxBytes);
  }

protected:
  using StreamNode::StreamNode;

  /// How long the device may keep the init string waiting before it is heard all the same, in milliseconds.
  static constexpr int initSendTime = 2000;

  /// All that passes on an open stream: sends the init string, calls `ready`, calls `push` with each message until the
  /// stream ends or is broken, and sends what is still queued and the deinit string. What arrives at "Data in"
  /// meanwhile goes out after the init string. Of an init string that the device does not take in time, the rest is
  /// queued before all else, and goes out as the device takes it.
  void talk(Pelorn::StreamBuf& stream, const std::function<void()>& ready,
            const std::function<void(const std::string& message)>& push);

  /// The last words of `talk`: the pieces of the deinit string.
  virtual void sayGoodbye(Pelorn::StreamBuf& stream);

private:
  bool introduce(Pelorn::StreamBuf& stream);

  static constexpr const char* delimiterText_ = "The ASCII code of the delimiting character that separates messages. "
                                                "A value of -1 means that there is no delimiting character.";
  static constexpr const char* maxBytesText_ = "The maximum number of bytes a message consists of. "
                                               "A value of -1 means that there is no maximum number of bytes.";

  Setting<int> delimiter_{-1};
  Setting<int> maxBytes_{-1};
};

} // namespace Vantiflux
