#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include <boost/asio/buffer.hpp>
#include <boost/beast/http/parser.hpp>

#include <vantiflux/Export.h>
#include <vantiflux/platform/pelorn/ProtocolHTTP.h>

namespace Pelorn {

struct WebLimits;

/// Takes one request out of a stream of bytes that come in pieces of any size.
class VANTIFLUX_API HTTPParser {
public:
  explicit HTTPParser(const WebLimits& limits);

  /// Takes what it can use off the front of the input: 0 to go on, or the status with which the request is to be
  /// refused. What it leaves there while it is not done must stand in front of what comes next. Stops after the head.
  unsigned long parse(std::string_view& input);

  bool hasHead() const { return parser_.is_header_done(); }
  bool isDone() const { return parser_.is_done(); }
  /// Whether any byte has been taken.
  bool hasBegun() const { return headSize_ > 0; }

  /// Moves the head out. 0, or the status with which the request is to be refused.
  unsigned long takeHead(ProtocolHTTP::Request& request);
  std::string takeBody() { return std::move(parser_.get().body()); }
  std::size_t bodySize() { return parser_.get().body().size(); }
  /// Sets the limit of the body; false when what the head says of it exceeds that already.
  bool setBodyLimit(std::size_t limit);

private:
  /// A text that grows with what arrives, and not to the length that the client says there will be.
  struct Body {
    using value_type = std::string;
    class reader {
    public:
      template <bool isRequest, class Fields>
      reader(boost::beast::http::header<isRequest, Fields>&, std::string& body) : body_(body) {}
      void init(const boost::optional<std::uint64_t>&, boost::beast::error_code& error) { error = {}; }
      template <class Buffers>
      std::size_t put(const Buffers& buffers, boost::beast::error_code& error) {
        error = {};
        std::size_t size = 0;
        const auto end = boost::asio::buffer_sequence_end(buffers);
        for (auto at = boost::asio::buffer_sequence_begin(buffers); at != end; ++at) {
          const boost::asio::const_buffer piece = *at;
          body_.append(static_cast<const char*>(piece.data()), piece.size());
          size += piece.size();
        }
        return size;
      }
      void finish(boost::beast::error_code& error) { error = {}; }

    private:
      std::string& body_;
    };
  };

  const WebLimits& limits_;
  boost::beast::http::request_parser<Body> parser_;
  std::size_t headSize_ = 0;
};

} // namespace Pelorn
