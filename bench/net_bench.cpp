// What it costs to use a slot of another process, beside bare sockets and ZeroMQ. Each measurement runs in two
// processes of its own on the loopback interface, one that pushes and one that listens.
//
//     net_bench [latency|rate|frames|idle]... [--quick]
#include <algorithm>
#include <atomic>
#include <chrono>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <functional>
#include <memory>
#include <new>
#include <string>
#include <string_view>
#include <thread>
#include <utility>
#include <vector>

#include <arpa/inet.h>
#include <netinet/tcp.h>
#include <sys/mman.h>
#include <sys/prctl.h>
#include <sys/resource.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

#include <zmq.h>

#include <vantiflux/net/NetworkNode.h>
#include <vantiflux/values/Image.h>
#include <vantiflux/values/SlotTypes.h>

namespace {

using namespace Vantiflux;
using Clock = std::chrono::steady_clock;
using Payload = Matrix4<float>;
static_assert(sizeof(Payload) == 64);

constexpr std::size_t maxSamples = 20'000;

/// What the two processes share.
struct Shared {
  std::atomic<bool> go;
  std::atomic<bool> over;
  std::atomic<int> port;
  std::atomic<long> received;
  std::atomic<long> frames; ///< of video that came
  std::atomic<long> wrong;  ///< came out of order
  std::atomic<long> sourceTime;
  std::atomic<long> sinkTime; ///< microseconds of processor time
  std::atomic<double> seconds;
  double samples[maxSamples]; ///< microseconds
};

long processorTime() {
  rusage usage{};
  getrusage(RUSAGE_SELF, &usage);
  return (usage.ru_utime.tv_sec + usage.ru_stime.tv_sec) * 1'000'000 + usage.ru_utime.tv_usec + usage.ru_stime.tv_usec;
}

long now() {
  return std::chrono::duration_cast<std::chrono::nanoseconds>(Clock::now().time_since_epoch()).count();
}

void waitUntil(const std::function<bool()>& condition) {
  while (!condition())
    std::this_thread::sleep_for(std::chrono::microseconds(200));
}

/// Runs both sides in processes of their own, and returns what they have left.
template <class Side>
Shared* run(Side&& source, Side&& sink) {
  auto* const shared =
      static_cast<Shared*>(mmap(nullptr, sizeof(Shared), PROT_READ | PROT_WRITE, MAP_SHARED | MAP_ANONYMOUS, -1, 0));
  new (shared) Shared{};
  std::fflush(stdout);
  std::vector<pid_t> children;
  for (const auto& side : {sink, source}) {
    const pid_t child = fork();
    if (child == 0) {
      prctl(PR_SET_PDEATHSIG, SIGKILL);
      if (std::freopen("/dev/null", "w", stdout) == nullptr)
        _exit(1);
      side(*shared);
      _exit(0);
    }
    children.push_back(child);
  }
  for (const pid_t child : children)
    waitpid(child, nullptr, 0);
  return shared;
}
using Function = std::function<void(Shared&)>;

/// A namespace with a network node, the same for both sides.
struct Space {
  Space(const std::string& name) {
    auto made = std::make_unique<NetworkNode>();
    made->setAddress("127.0.0.1");
    made->setMulticastTtl(0);
    made->setMulticastPort(static_cast<unsigned short>(20000 + getppid() % 20000));
    made->setPrefix(name + "/{SlotLabel}");
    top.enable();
    node = std::move(made);
  }
  void begin() { top.addNamespace("Net", std::unique_ptr<Node>(std::move(node))); }
  Namespace top;
  std::unique_ptr<NetworkNode> node;
};

double percentile(Shared* shared, long count, double part) {
  std::sort(shared->samples, shared->samples + count);
  return shared->samples[static_cast<long>(static_cast<double>(count - 1) * part)];
}

// Latency: the value holds the time at which it was pushed.

Payload stamped() {
  Payload value;
  const long time = now();
  std::memcpy(static_cast<void*>(&value), &time, sizeof time);
  return value;
}

void take(Shared& shared, const void* bytes) {
  long time = 0;
  std::memcpy(&time, bytes, sizeof time);
  const long index = shared.received.load(std::memory_order_relaxed);
  if (index < static_cast<long>(maxSamples))
    shared.samples[index] = static_cast<double>(now() - time) / 1000.0;
  shared.received.store(index + 1);
}

void everyMillisecond(long count, const std::function<void()>& step) {
  auto next = Clock::now();
  for (long i = 0; i < count; ++i) {
    std::this_thread::sleep_until(next += std::chrono::milliseconds(1));
    step();
  }
}

struct Taker : BasicInSlot::Listener {
  explicit Taker(Shared& s) : shared(s) { slot.addListener(*this); }
  void newData(BasicInSlot&) override {
    const Payload value = slot.pop().getValue();
    take(shared, &value);
  }
  Shared& shared;
  InSlot<Payload> slot;
};

Shared* slotLatency(long count) {
  return run<Function>(
      [&](Shared& shared) {
        Space space("S");
        OutSlot<Payload> out;
        space.top.addOutSlot("x", &out);
        space.begin();
        waitUntil([&] { return out.isConnected(); });
        everyMillisecond(count, [&] { out.push(Data<Payload>(stamped())); });
        waitUntil([&] { return shared.received >= count; });
      },
      [&](Shared& shared) {
        Space space("T");
        Taker taker(shared);
        space.top.addInSlot("y", &taker.slot);
        space.top.addRoute("S/x", "y");
        space.begin();
        waitUntil([&] { return shared.received >= count; });
      });
}

int connected(Shared& shared) {
  waitUntil([&] { return shared.port != 0; });
  const int fd = socket(AF_INET, SOCK_STREAM, 0);
  sockaddr_in to{};
  to.sin_family = AF_INET;
  to.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
  to.sin_port = htons(static_cast<std::uint16_t>(shared.port));
  if (connect(fd, reinterpret_cast<sockaddr*>(&to), sizeof to) != 0)
    _exit(1);
  const int on = 1;
  setsockopt(fd, IPPROTO_TCP, TCP_NODELAY, &on, sizeof on);
  return fd;
}

int accepted(Shared& shared) {
  const int server = socket(AF_INET, SOCK_STREAM, 0);
  sockaddr_in address{};
  address.sin_family = AF_INET;
  address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
  socklen_t size = sizeof address;
  if (bind(server, reinterpret_cast<sockaddr*>(&address), sizeof address) != 0 || listen(server, 1) != 0 ||
      getsockname(server, reinterpret_cast<sockaddr*>(&address), &size) != 0)
    _exit(1);
  shared.port = ntohs(address.sin_port);
  return accept(server, nullptr, nullptr);
}

bool readAll(int fd, char* bytes, std::size_t size) {
  while (size != 0) {
    const ssize_t got = recv(fd, bytes, size, 0);
    if (got <= 0)
      return false;
    bytes += got;
    size -= static_cast<std::size_t>(got);
  }
  return true;
}

void writeAll(int fd, const char* bytes, std::size_t size) {
  while (size != 0) {
    const ssize_t sent = send(fd, bytes, size, 0);
    if (sent <= 0)
      _exit(1);
    bytes += sent;
    size -= static_cast<std::size_t>(sent);
  }
}

Shared* socketLatency(long count) {
  return run<Function>(
      [&](Shared& shared) {
        const int fd = connected(shared);
        everyMillisecond(count, [&] {
          const Payload value = stamped();
          writeAll(fd, reinterpret_cast<const char*>(&value), sizeof value);
        });
        waitUntil([&] { return shared.received >= count; });
      },
      [&](Shared& shared) {
        const int fd = accepted(shared);
        Payload value;
        while (shared.received < count && readAll(fd, reinterpret_cast<char*>(&value), sizeof value))
          take(shared, &value);
      });
}

Shared* zmqLatency(long count) {
  return run<Function>(
      [&](Shared& shared) {
        void* const context = zmq_ctx_new();
        void* const publisher = zmq_socket(context, ZMQ_PUB);
        zmq_bind(publisher, "tcp://127.0.0.1:*");
        char endpoint[64] = "";
        std::size_t size = sizeof endpoint;
        zmq_getsockopt(publisher, ZMQ_LAST_ENDPOINT, endpoint, &size);
        shared.port = std::atoi(std::strrchr(endpoint, ':') + 1);
        while (!shared.go) { // until the subscription has come
          zmq_send(publisher, "", 0, 0);
          std::this_thread::sleep_for(std::chrono::milliseconds(1));
        }
        everyMillisecond(count, [&] {
          const Payload value = stamped();
          zmq_send(publisher, &value, sizeof value, 0);
        });
        waitUntil([&] { return shared.received >= count; });
      },
      [&](Shared& shared) {
        waitUntil([&] { return shared.port != 0; });
        void* const context = zmq_ctx_new();
        void* const subscriber = zmq_socket(context, ZMQ_SUB);
        zmq_setsockopt(subscriber, ZMQ_SUBSCRIBE, "", 0);
        zmq_connect(subscriber, ("tcp://127.0.0.1:" + std::to_string(shared.port)).c_str());
        Payload value;
        while (shared.received < count) {
          const int size = zmq_recv(subscriber, &value, sizeof value, 0);
          shared.go = true;
          if (size == sizeof value)
            take(shared, &value);
        }
      });
}

void latency(bool quick) {
  const long count = quick ? 50 : 5000;
  std::printf("Latency of a 64-byte value at 1,000 a second, in microseconds\n");
  double medians[3];
  int i = 0;
  for (const auto& [name, measure] :
       {std::pair{"bare socket", &socketLatency}, std::pair{"slot", &slotLatency}, std::pair{"ZeroMQ", &zmqLatency}}) {
    Shared* const result = measure(count);
    medians[i++] = percentile(result, count, 0.5);
    std::printf("  %-12s median %8.1f   99th percentile %8.1f\n", name, percentile(result, count, 0.5),
                percentile(result, count, 0.99));
  }
  std::printf("  slot to bare socket: %.2f (goal 1.3)   slot to ZeroMQ: %.2f (goal 0.33)\n", medians[1] / medians[0],
              medians[1] / medians[2]);
}

// Rate: numbered values; the source stays a little ahead of the sink, so that none is replaced.

struct Counter : BasicInSlot::Listener {
  explicit Counter(Shared& s) : shared(s) { slot.addListener(*this); }
  void newData(BasicInSlot&) override {
    const Payload value = slot.pop().getValue();
    long number = 0;
    std::memcpy(&number, &value, sizeof number);
    if (number != next++)
      shared.wrong.fetch_add(1);
    shared.received.store(shared.received.load(std::memory_order_relaxed) + 1, std::memory_order_release);
  }
  Shared& shared;
  long next = 0;
  InSlot<Payload> slot;
};

void rate(std::size_t slots, long count) {
  constexpr long ahead = 20'000;
  Shared* const result = run<Function>(
      [&](Shared& shared) {
        Space space("S");
        std::vector<std::unique_ptr<OutSlot<Payload>>> outs;
        for (std::size_t i = 0; i < slots; ++i) {
          outs.push_back(std::make_unique<OutSlot<Payload>>());
          space.top.addOutSlot("x" + std::to_string(i), outs.back().get());
        }
        space.begin();
        for (const auto& out : outs)
          waitUntil([&] { return out->isConnected(); });
        const long before = processorTime();
        const long begin = now();
        Payload value;
        for (long i = 0; i < count; ++i) {
          const long number = i / static_cast<long>(slots);
          std::memcpy(static_cast<void*>(&value), &number, sizeof number);
          while (i - shared.received.load(std::memory_order_acquire) > ahead)
            std::this_thread::sleep_for(std::chrono::microseconds(50));
          outs[static_cast<std::size_t>(i) % slots]->push(Data<Payload>(value));
        }
        waitUntil([&] { return shared.received >= count; });
        shared.seconds = static_cast<double>(now() - begin) / 1e9;
        shared.sourceTime = processorTime() - before;
        shared.over = true;
      },
      [&](Shared& shared) {
        Space space("T");
        std::vector<std::unique_ptr<Counter>> counters;
        for (std::size_t i = 0; i < slots; ++i) {
          const std::string name = std::to_string(i);
          counters.push_back(std::make_unique<Counter>(shared));
          space.top.addInSlot("y" + name, &counters.back()->slot);
          space.top.addRoute("S/x" + name, "y" + name);
        }
        space.begin();
        waitUntil([&] { return shared.received > 0; });
        const long before = processorTime();
        waitUntil([&] { return shared.over.load(); });
        shared.sinkTime = processorTime() - before;
      });
  std::printf(
      "  %3zu slot%s %10.0f values a second, %ld out of order; %.2f us of processor time a value in the source, "
      "%.2f in the sink\n",
      slots, slots == 1 ? ": " : "s:", static_cast<double>(count) / result->seconds, result->wrong.load(),
      static_cast<double>(result->sourceTime) / static_cast<double>(count),
      static_cast<double>(result->sinkTime) / static_cast<double>(count));
}

// Frames of video. Two are on their way at a time. Now and then a third comes before the second has left the queue, and
// replaces it: only what arrives counts.

constexpr unsigned width = 1920;
constexpr unsigned height = 1080;
constexpr std::size_t frameSize = std::size_t{width} * height * 3;

struct Viewer : BasicInSlot::Listener {
  explicit Viewer(Shared& s) : shared(s) { slot.addListener(*this); }
  void newData(BasicInSlot&) override {
    const SmartPtr<Image> image = slot.pop().getValue();
    if (image->size() != frameSize)
      return;
    long number = 0;
    std::memcpy(&number, image->data(), sizeof number);
    shared.frames.fetch_add(1);
    shared.received.store(number + 1);
  }
  Shared& shared;
  InSlot<SmartPtr<Image>> slot;
};

/// In seconds for a frame.
double slotFrames(long count) {
  const Shared* const result = run<Function>(
      [&](Shared& shared) {
        Space space("S");
        OutSlot<SmartPtr<Image>> out;
        space.top.addOutSlot("x", &out);
        space.begin();
        waitUntil([&] { return out.isConnected(); });
        const long begin = now();
        for (long i = 0; i < count; ++i) {
          while (i - shared.received.load() > 1)
            std::this_thread::sleep_for(std::chrono::microseconds(20));
          SmartPtr<Image> image;
          image.acquire();
          image->setParameters(width, height, Image::RGB24);
          std::memcpy(image->data(), &i, sizeof i);
          out.push(Data<SmartPtr<Image>>(image));
        }
        waitUntil([&] { return shared.received >= count; });
        shared.seconds = static_cast<double>(now() - begin) / 1e9;
        shared.over = true;
      },
      [&](Shared& shared) {
        Space space("T");
        Viewer viewer(shared);
        space.top.addInSlot("y", &viewer.slot);
        space.top.addRoute("S/x", "y");
        space.begin();
        waitUntil([&] { return shared.over.load(); });
      });
  return result->seconds / static_cast<double>(std::max(result->frames.load(), 1L));
}

// As many buffers take turns as in the pool of images.
double socketFrames(long count) {
  return run<Function>(
             [&](Shared& shared) {
               const int fd = connected(shared);
               std::vector<std::string> frames(4, std::string(frameSize, 'x'));
               const long begin = now();
               for (long i = 0; i < count; ++i) {
                 while (i - shared.received.load() > 1)
                   std::this_thread::sleep_for(std::chrono::microseconds(20));
                 writeAll(fd, frames[static_cast<std::size_t>(i) % frames.size()].data(), frameSize);
               }
               waitUntil([&] { return shared.received >= count; });
               shared.seconds = static_cast<double>(now() - begin) / 1e9;
             },
             [&](Shared& shared) {
               const int fd = accepted(shared);
               std::vector<std::string> frames(2, std::string(frameSize, '\0'));
               for (long i = 0; i < count; ++i) {
                 if (!readAll(fd, frames[static_cast<std::size_t>(i) % frames.size()].data(), frameSize))
                   _exit(1);
                 shared.received.fetch_add(1);
               }
             })
             ->seconds /
         static_cast<double>(count);
}

void frames(bool quick) {
  const long count = quick ? 10 : 600;
  const double bytes = static_cast<double>(frameSize) / 1e9;
  const double bare = socketFrames(count);
  const double slot = slotFrames(count);
  std::printf(
      "1080p RGB24 frames, in gigabytes a second\n  bare socket %.2f   slot %.2f   ratio of the times %.2f (goal "
      "1.2)\n",
      bytes / bare, bytes / slot, slot / bare);
}

// A slot that is exported and that nobody uses.

double pushTime(bool exported, long count) {
  return run<Function>(
             [&](Shared& shared) {
               Space space("S");
               OutSlot<Payload> out;
               if (exported)
                 space.top.addOutSlot("x", &out);
               space.begin();
               const Data<Payload> data{Payload()};
               const long begin = now();
               for (long i = 0; i < count; ++i)
                 out.push(data);
               shared.seconds = static_cast<double>(now() - begin) / static_cast<double>(count);
             },
             [](Shared&) {})
      ->seconds;
}

void idle(bool quick) {
  const long count = quick ? 1000 : 20'000'000;
  const double plain = pushTime(false, count);
  const double exported = pushTime(true, count);
  std::printf("Push of a slot that nobody uses, in nanoseconds\n  not exported %.1f   exported %.1f   ratio %.2f\n",
              plain, exported, exported / plain);
}

} // namespace

int main(int argc, char** argv) {
  bool quick = false;
  std::vector<std::string_view> chosen;
  for (int i = 1; i < argc; ++i) {
    const std::string_view word = argv[i];
    if (word == "--quick" || word.substr(0, 20) == "--benchmark_min_time")
      quick = true;
    else if (word.substr(0, 2) != "--")
      chosen.push_back(word);
  }
  const auto wanted = [&](std::string_view name) {
    return chosen.empty() || std::find(chosen.begin(), chosen.end(), name) != chosen.end();
  };
  if (wanted("latency"))
    latency(quick);
  if (wanted("rate")) {
    std::printf("64-byte values, none lost (goal 1,000,000 a second)\n");
    rate(1, quick ? 1000 : 3'000'000);
    rate(100, quick ? 1000 : 3'000'000);
  }
  if (wanted("frames"))
    frames(quick);
  if (wanted("idle"))
    idle(quick);
  return 0;
}
