// The REST interface and its WebSockets, beside bare Beast doing the same: the constant answer of a synchronous server,
// a sender that knows nothing of slots, and the encoders of a picture alone.
#include <algorithm>
#include <atomic>
#include <chrono>
#include <cstdint>
#include <functional>
#include <memory>
#include <mutex>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

#include <benchmark/benchmark.h>
#include <boost/asio/io_context.hpp>
#include <boost/asio/ip/tcp.hpp>
#include <boost/asio/post.hpp>
#include <boost/asio/read_until.hpp>
#include <boost/asio/write.hpp>
#include <boost/beast/core/buffers_to_string.hpp>
#include <boost/beast/core/flat_buffer.hpp>
#include <boost/beast/http.hpp>
#include <boost/beast/websocket.hpp>
#include <turbojpeg.h>

#include <vantiflux/core/Node.h>
#include <vantiflux/core/Root.h>
#include <vantiflux/values/SlotTypes.h>
#include <vantiflux/web/rest/Base64.h>
#include <vantiflux/web/rest/REST.h>
#include <vantiflux/web/rest/RESTInterceptor.h>

namespace {

using namespace Vantiflux;
namespace asio = boost::asio;
namespace beast = boost::beast;
namespace http = boost::beast::http;
namespace websocket = boost::beast::websocket;
using Tcp = asio::ip::tcp;
using WebSocket = websocket::stream<Tcp::socket>;
using Clock = std::chrono::steady_clock;

const Tcp::endpoint anyPort(asio::ip::address_v4::loopback(), 0);

Tcp::endpoint at(std::uint16_t port) {
  return {asio::ip::address_v4::loopback(), port};
}

class BenchNode : public Node {
public:
  BenchNode() {
    addOutSlot("Number", &number);
    addOutSlot("Picture", &picture);
    publishSlots();
  }
  ~BenchNode() override { disable(); }

  OutSlot<float> number;
  OutSlot<SmartPtr<Image>> picture;
};

/// The REST interface in front of a node.
class Rest {
public:
  Rest() {
    auto owned = std::make_unique<BenchNode>();
    node = owned.get();
    Root::the().addNamespace("bench", std::move(owned));
    node->number.push(1.5F);
    server.open("127.0.0.1", 0, "", "");
    port = server.getSocketAddress().getServicePort();
  }
  ~Rest() {
    REST::cleanup();
    server.close();
    static_cast<void>(Root::the().removeNamespace("bench"));
  }

  REST::RESTInterceptor server;
  BenchNode* node = nullptr;
  std::uint16_t port = 0;
};

/// A thread for each connection, and always the same answer.
class Constant {
public:
  Constant() : acceptor_(context_, anyPort), port(acceptor_.local_endpoint().port()) {
    accepting_ = std::thread([this] { accept(); });
  }
  ~Constant() {
    over_ = true;
    Tcp::socket last(context_);
    boost::system::error_code ignored;
    last.connect(at(port), ignored);
    accepting_.join();
    for (std::thread& thread : threads_)
      thread.join();
  }

private:
  void accept() {
    for (;;) {
      Tcp::socket socket(context_);
      acceptor_.accept(socket);
      if (over_)
        return;
      threads_.emplace_back([moved = std::move(socket)]() mutable { serve(moved); });
    }
  }

  static void serve(Tcp::socket& socket) {
    socket.set_option(Tcp::no_delay(true));
    beast::flat_buffer buffer;
    boost::system::error_code error;
    for (;;) {
      http::request<http::string_body> request;
      http::read(socket, buffer, request, error);
      if (error)
        return;
      http::response<http::string_body> response(http::status::ok, request.version());
      response.set(http::field::content_type, "text/plain");
      response.keep_alive(true);
      response.body() = "1.5";
      response.prepare_payload();
      http::write(socket, response, error);
    }
  }

  asio::io_context context_;
  Tcp::acceptor acceptor_;
  std::atomic<bool> over_{false};
  std::thread accepting_;
  std::vector<std::thread> threads_;

public:
  const std::uint16_t port;
};

/// A client's connection, made anew as often as the REST interface ends it.
class Wire {
public:
  explicit Wire(std::uint16_t port) : port_(port) {}

  void ask() {
    if (asked_++ % 99 == 0) {
      socket_ = Tcp::socket(context_);
      socket_.connect(at(port_));
      socket_.set_option(Tcp::no_delay(true));
    }
    static const std::string request =
        "GET /Vantiflux/element/bench/Number/data.string HTTP/1.1\r\nHost: localhost\r\n\r\n";
    asio::write(socket_, asio::buffer(request));
  }
  void take() {
    input_.clear();
    asio::read_until(socket_, asio::dynamic_buffer(input_), "\r\n\r\n1.5");
  }

private:
  const std::uint16_t port_;
  asio::io_context context_;
  Tcp::socket socket_{context_};
  std::string input_;
  int asked_ = 0;
};

template <class Server>
void get(benchmark::State& state) {
  Server server;
  std::vector<std::unique_ptr<Wire>> wires;
  for (int i = 0; i < state.range(0); ++i)
    wires.push_back(std::make_unique<Wire>(server.port));
  for ([[maybe_unused]] auto round : state) {
    for (const auto& wire : wires)
      wire->ask();
    for (const auto& wire : wires)
      wire->take();
  }
  state.SetItemsProcessed(state.iterations() * state.range(0));
  wires.clear();
}

BENCHMARK(get<Rest>)->Name("get/rest")->Arg(1)->Arg(8)->Arg(64)->UseRealTime();
BENCHMARK(get<Constant>)->Name("get/beast")->Arg(1)->Arg(8)->Arg(64)->UseRealTime();

/// WebSocket clients, all read by one thread.
class Clients {
public:
  explicit Clients(std::uint16_t port, std::int64_t count) {
    for (std::int64_t i = 0; i < count; ++i) {
      clients_.push_back(std::make_unique<Client>(context_));
      Client& client = *clients_.back();
      client.stream.next_layer().connect(at(port));
      client.stream.next_layer().set_option(Tcp::no_delay(true));
      client.stream.handshake("localhost", "/Vantiflux/element/bench/Number/data.string");
    }
  }
  ~Clients() {
    context_.stop();
    if (thread_.joinable())
      thread_.join();
  }

  WebSocket& one() { return clients_.front()->stream; }
  void start() {
    for (const auto& client : clients_)
      read(*client);
    thread_ = std::thread([this] { context_.run(); });
  }
  void waitForAll(const std::string& last) {
    for (const auto& client : clients_)
      for (;;) {
        {
          const std::lock_guard guard(client->lock);
          if (client->last == last)
            break;
        }
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
      }
  }

  std::atomic<std::int64_t> received{0};

private:
  struct Client {
    explicit Client(asio::io_context& context) : stream(context) {}
    WebSocket stream;
    beast::flat_buffer buffer;
    std::mutex lock; ///< guards the text
    std::string last;
  };

  void read(Client& client) {
    client.stream.async_read(client.buffer, [this, &client](const boost::system::error_code& error, std::size_t) {
      if (error)
        return;
      {
        const std::lock_guard guard(client.lock);
        client.last = beast::buffers_to_string(client.buffer.data());
      }
      client.buffer.consume(client.buffer.size());
      received.fetch_add(1, std::memory_order_relaxed);
      read(client);
    });
  }

  asio::io_context context_;
  std::vector<std::unique_ptr<Client>> clients_;
  std::thread thread_;
};

/// Sends to WebSocket clients from a thread of its own, which gets the texts from others: the latest to each, one at a
/// time.
class BareSender {
public:
  BareSender() : acceptor_(context_, anyPort), port(acceptor_.local_endpoint().port()) {
    accept();
    thread_ = std::thread([this] { context_.run(); });
  }
  ~BareSender() {
    context_.stop();
    thread_.join();
  }

  void push(int number) {
    {
      const std::lock_guard guard(lock_);
      text_ = std::to_string(number);
      ++version_;
      if (posted_)
        return;
      posted_ = true;
    }
    asio::post(context_, [this] {
      {
        const std::lock_guard guard(lock_);
        posted_ = false;
      }
      for (const auto& client : clients_)
        write(*client);
    });
  }
  void waitFor(std::int64_t clients) const {
    while (connected_ < clients)
      std::this_thread::yield();
  }
  /// To each client as fast as it goes, without looking at what others push.
  void flood() {
    asio::post(context_, [this] {
      text_ = "1.5";
      flooding_ = true;
      for (const auto& client : clients_)
        write(*client);
    });
  }

private:
  struct Client {
    explicit Client(Tcp::socket socket) : stream(std::move(socket)) {}
    WebSocket stream;
    std::string text;
    std::uint64_t version = 0;
    bool writing = false; ///< a second write meanwhile would never be done
  };

  void accept() {
    acceptor_.async_accept([this](const boost::system::error_code& error, Tcp::socket socket) {
      if (error)
        return;
      socket.set_option(Tcp::no_delay(true));
      auto client = std::make_shared<Client>(std::move(socket));
      client->stream.async_accept([this, client](const boost::system::error_code& failure) {
        if (failure)
          return;
        clients_.push_back(client);
        ++connected_;
      });
      accept();
    });
  }
  void write(Client& client) {
    if (client.writing)
      return;
    if (!flooding_) {
      const std::lock_guard guard(lock_);
      if (client.version == version_)
        return;
      client.version = version_;
      client.text = text_;
    }
    client.writing = true;
    client.stream.async_write(asio::buffer(flooding_ ? text_ : client.text),
                              [this, &client](const boost::system::error_code& error, std::size_t) {
                                client.writing = false;
                                if (!error)
                                  write(client);
                              });
  }

  asio::io_context context_;
  Tcp::acceptor acceptor_;
  std::vector<std::shared_ptr<Client>> clients_;
  std::atomic<std::int64_t> connected_{0};
  bool flooding_ = false;
  std::mutex lock_; ///< guards the next three
  std::string text_;
  std::uint64_t version_ = 0;
  bool posted_ = false;
  std::thread thread_;

public:
  const std::uint16_t port;
};

struct RestSender : Rest {
  static void waitFor(std::int64_t) {} // who comes late gets the last value
  void push(int value) { node->number.push(static_cast<float>(value)); }
};

/// From the push to the client's receive.
template <class Sender>
void latency(benchmark::State& state) {
  Sender sender;
  Clients clients(sender.port, 1);
  sender.waitFor(1);
  beast::flat_buffer buffer;
  std::vector<double> times;
  int number = 2;
  const auto receive = [&](const std::string& text) {
    for (;;) {
      buffer.clear();
      clients.one().read(buffer);
      if (beast::buffers_to_string(buffer.data()) == text)
        return;
    }
  };
  for ([[maybe_unused]] auto round : state) {
    number = number % 100000 + 1;
    const std::string text = std::to_string(number);
    const auto begin = Clock::now();
    sender.push(number);
    receive(text);
    times.push_back(std::chrono::duration<double, std::micro>(Clock::now() - begin).count());
  }
  std::sort(times.begin(), times.end());
  state.counters["median_us"] = times[times.size() / 2];
  state.counters["p99_us"] = times[times.size() * 99 / 100];
}

BENCHMARK(latency<RestSender>)->Name("latency/rest")->UseRealTime();
BENCHMARK(latency<BareSender>)->Name("latency/beast")->UseRealTime();

constexpr int portion = 200; ///< messages to each client in one round

void count(benchmark::State& state, Clients& clients) {
  for ([[maybe_unused]] auto round : state) {
    const std::int64_t goal = clients.received + portion * state.range(0);
    while (clients.received < goal)
      std::this_thread::sleep_for(std::chrono::microseconds(200));
  }
  state.SetItemsProcessed(state.iterations() * portion * state.range(0));
}

// A thread pushes as fast as it can.
template <class Sender>
void rate(benchmark::State& state) {
  Sender sender;
  Clients clients(sender.port, state.range(0));
  sender.waitFor(state.range(0));
  clients.start();
  std::atomic<bool> done{false};
  std::thread pusher([&] {
    for (int number = 0; !done; number = (number + 1) % 100000)
      sender.push(number);
  });
  count(state, clients);
  done = true;
  pusher.join();
}

// And nobody does.
void flood(benchmark::State& state) {
  BareSender sender;
  Clients clients(sender.port, state.range(0));
  sender.waitFor(state.range(0));
  clients.start();
  sender.flood();
  count(state, clients);
}

BENCHMARK(rate<RestSender>)->Name("rate/rest")->Arg(1)->Arg(100)->UseRealTime();
BENCHMARK(rate<BareSender>)->Name("rate/beast")->Arg(1)->Arg(100)->UseRealTime();
BENCHMARK(flood)->Name("rate/beast_alone")->Arg(1)->Arg(100)->UseRealTime();

// What pushing costs the writer at 1,000 values a second, by the number of clients; every client ends with the last.
void push(benchmark::State& state) {
  Rest rest;
  Clients clients(rest.port, state.range(0));
  clients.start();
  long number = 0;
  auto next = Clock::now();
  for ([[maybe_unused]] auto round : state) {
    std::this_thread::sleep_until(next += std::chrono::milliseconds(1));
    const auto begin = Clock::now();
    rest.node->number.push(static_cast<float>(++number % 100000));
    state.SetIterationTime(std::chrono::duration<double>(Clock::now() - begin).count());
  }
  clients.waitForAll(std::to_string(number % 100000));
}

BENCHMARK(push)->Arg(0)->Arg(1)->Arg(200)->UseManualTime()->Iterations(3000);

SmartPtr<Image> picture() {
  SmartPtr<Image> image;
  image.acquire();
  image->setParameters(1280, 720, Image::RGB24);
  std::uint32_t noise = 1;
  for (std::size_t i = 0; i < image->size(); ++i) {
    noise = noise * 1664525 + 1013904223;
    image->data()[i] = static_cast<unsigned char>(i / 3 % 1280 / 6 + (noise >> 28));
  }
  return image;
}

void pictureByRest(benchmark::State& state) {
  Rest rest;
  rest.node->picture.push(picture());
  asio::io_context context;
  std::string input;
  int asked = 0;
  Tcp::socket socket(context);
  for ([[maybe_unused]] auto round : state) {
    if (asked++ % 99 == 0) {
      socket = Tcp::socket(context);
      socket.connect(at(rest.port));
    }
    asio::write(socket, asio::buffer(std::string("GET /Vantiflux/element/bench/Picture/data.string HTTP/1.1\r\n"
                                                 "Host: localhost\r\n\r\n")));
    beast::flat_buffer buffer;
    http::response_parser<http::string_body> parser;
    parser.body_limit(UINT64_MAX);
    http::read(socket, buffer, parser);
    benchmark::DoNotOptimize(parser.get().body().size());
  }
}

void pictureByEncoders(benchmark::State& state) {
  const SmartPtr<Image> image = picture();
  for ([[maybe_unused]] auto round : state) {
    const tjhandle encoder = tjInitCompress();
    unsigned char* jpeg = nullptr;
    unsigned long size = 0;
    tjCompress2(encoder, image->data(), 1280, 0, 720, TJPF_RGB, &jpeg, &size, TJSAMP_420, 85, 0);
    std::vector<unsigned char> text((size + 2) / 3 * 4 + 1);
    std::size_t length = text.size();
    REST::base64_enc(jpeg, size, text.data(), &length);
    benchmark::DoNotOptimize(text.data());
    tjFree(jpeg);
    tjDestroy(encoder);
  }
}

BENCHMARK(pictureByRest)->Name("picture/rest")->UseRealTime();
BENCHMARK(pictureByEncoders)->Name("picture/encoders")->UseRealTime();

} // namespace

BENCHMARK_MAIN();
