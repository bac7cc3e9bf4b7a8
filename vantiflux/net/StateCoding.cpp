// How codecs fill and read the event that carries a value. They know the event by name only.
#include <string>

#include <vantiflux/net/SetStateEvent.h>
#include <vantiflux/values/BasicDecoder.h>
#include <vantiflux/values/BasicEncoder.h>

namespace Vantiflux {

void BasicEncoder::popAndEncode(SetStateEvent& event) {
  event.getState().clear();
  event.setTimeStamp(popAndEncode(event.getState()));
}

void BasicDecoder::decodeAndPush(const SetStateEvent& event) {
  if (PendingValue* const pending = event.getPending())
    return pending->push(event.getTimeStamp());
  const Pelorn::Gather& state = event.getState();
  if (state.blocks().empty())
    decodeAndPush(state.text(), event.getTimeStamp());
  else
    decodeAndPush(state.str(), event.getTimeStamp()); // not one that was received
}

} // namespace Vantiflux
