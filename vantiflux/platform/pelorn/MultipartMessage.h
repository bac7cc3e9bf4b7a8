#pragma once

#include <cstddef>
#include <istream>
#include <string>
#include <string_view>

#include <vantiflux/Export.h>
#include <vantiflux/platform/pelorn/HTTPHeaders.h>

namespace Pelorn {

/// A body of several parts, as a browser sends a form with files, read from a stream part after part:
///
///     MultipartMessage message(stream, boundary);
///     do
///       use(message.headers, message.body(text));
///     while (message.next());
///
/// *Failure.* A message that is cut off has the parts that there were, the last one up to where it ends.
class VANTIFLUX_API MultipartMessage {
public:
  static constexpr std::size_t maxHeaders = 16384; ///< bytes of one part's headers: longer ones end the message

  /// Reads up to the headers of the first part. Without one, there is neither header nor body.
  MultipartMessage(std::istream& stream, const std::string& boundary);

  /// Of the current part.
  HTTPHeaders headers;

  /// Replaces the text by the current part's body, or what of it was not read before. Whether its end was there.
  bool body(std::string& text);
  /// Goes to the next part, past what was not read of this one. False, without headers, at the end.
  bool next();

private:
  bool fill();
  bool readHeaders();
  std::string_view rest() const { return std::string_view(buffer_).substr(at_); }

  std::istream& stream_;
  std::string delimiter_;
  std::string buffer_; ///< what was read ahead, from at_
  std::size_t at_ = 0;
  bool inPart_ = false; ///< its body is ahead
  bool ended_ = false;  ///< there are no parts any more
};

} // namespace Pelorn
