// A process with a network node in its root, for tests of several of them. Arguments: Field=value for the node. Takes
// commands from standard input, a line each, and answers on descriptor 3 with any number of lines and a line with a
// dot. Labels and texts are single words.
#include <atomic>
#include <chrono>
#include <cstdlib>
#include <cstring>
#include <functional>
#include <iostream>
#include <map>
#include <memory>
#include <mutex>
#include <sstream>
#include <string>
#include <thread>
#include <vector>

#include <unistd.h>

#include <vantiflux/core/Root.h>
#include <vantiflux/net/NetworkNode.h>
#include <vantiflux/values/Image.h>
#include <vantiflux/values/SlotTypes.h>

namespace {

using namespace Vantiflux;
using Clock = std::chrono::steady_clock;

/// An in-slot that counts, and keeps what came last.
template <class T>
class Reader : public BasicInSlot::Listener {
public:
  explicit Reader(std::function<std::string(const T&)> text, OutSlot<T>* onward = nullptr)
      : text_(std::move(text)), onward_(onward) {
    slot.addListener(*this);
  }
  ~Reader() override { slot.removeListener(*this); }

  void newData(BasicInSlot&) override {
    const Data<T> data = slot.top();
    {
      const std::lock_guard guard(lock_);
      ++count_;
      last_ = data;
    }
    if (onward_ != nullptr)
      onward_->push(data);
  }
  std::string report() {
    const std::lock_guard guard(lock_);
    return std::to_string(count_) + ' ' + std::to_string(last_.getTimeStamp()) + ' ' + text_(last_.getValue());
  }

  InSlot<T> slot{"a reader"};

private:
  const std::function<std::string(const T&)> text_;
  OutSlot<T>* const onward_;
  std::mutex lock_;
  long count_ = 0;
  Data<T> last_;
};

/// Pushes numbered images as fast as it can.
class Camera {
public:
  Camera() : thread_([this] { run(); }) {}
  ~Camera() { stop(); }
  void stop() {
    stop_ = true;
    if (thread_.joinable())
      thread_.join();
  }
  std::string report() const { return std::to_string(pushed_) + ' ' + std::to_string(worst_); }

  OutSlot<SmartPtr<Image>> slot{"numbered images"};

private:
  void run() {
    for (long number = 1; !stop_; ++number) {
      SmartPtr<Image> image;
      image.acquire();
      image->setParameters(1280, 720, Image::RGB24);
      std::memcpy(image->data(), &number, sizeof number);
      const auto begin = Clock::now();
      slot.push(Data<SmartPtr<Image>>(image));
      const auto took = std::chrono::duration_cast<std::chrono::milliseconds>(Clock::now() - begin).count();
      worst_ = std::max<long>(worst_, took);
      pushed_ = number;
      std::this_thread::sleep_for(std::chrono::milliseconds(2));
    }
  }

  std::atomic<bool> stop_{false};
  std::atomic<long> pushed_{0};
  std::atomic<long> worst_{0}; ///< milliseconds that a push took
  std::thread thread_;
};

std::string numberOf(const SmartPtr<Image>& image) {
  long number = 0;
  if (image && image->size() >= sizeof number)
    std::memcpy(&number, image->data(), sizeof number);
  return std::to_string(number);
}

class Peer {
public:
  explicit Peer(const std::vector<std::string>& fields) {
    auto made = std::make_unique<NetworkNode>();
    node_ = made.get();
    for (const std::string& field : fields)
      node_->setFieldValue(field.substr(0, field.find('=')), field.substr(field.find('=') + 1));
    root_.addNamespace("Net", std::unique_ptr<Node>(std::move(made)));
  }
  ~Peer() {
    if (camera_ != nullptr)
      camera_->stop();
    root_.clear();
    for (const auto& [label, slot] : outs_)
      root_.removeOutSlot(label, slot.get());
    for (const auto& [label, reader] : ins_)
      root_.removeInSlot(label, &reader->slot);
    for (const auto& [label, reader] : viewers_)
      root_.removeInSlot(label, &reader->slot);
    if (camera_ != nullptr)
      root_.removeOutSlot("camera", &camera_->slot);
  }

  std::string run(const std::string& line) {
    std::istringstream words(line);
    std::string command;
    std::string a;
    std::string b;
    words >> command >> a >> b;
    std::string answer;
    if (command == "out") {
      outs_[a] = std::make_unique<OutSlot<std::string>>("text " + a);
      root_.addOutSlot(a, outs_[a].get());
    } else if (command == "unout") {
      root_.removeOutSlot(a, outs_.at(a).get());
      outs_.erase(a);
    } else if (command == "push") {
      BasicData::TimeStamp stamp = 0;
      words >> stamp;
      outs_.at(a)->push(stamp == 0 ? Data<std::string>(b) : Data<std::string>(b, stamp));
    } else if (command == "in") {
      ins_[a] = std::make_unique<Reader<std::string>>([](const std::string& text) { return text; },
                                                      b.empty() ? nullptr : outs_.at(b).get());
      root_.addInSlot(a, &ins_[a]->slot);
    } else if (command == "view") {
      viewers_[a] = std::make_unique<Reader<SmartPtr<Image>>>(numberOf);
      root_.addInSlot(a, &viewers_[a]->slot);
    } else if (command == "got") {
      answer = (viewers_.count(a) != 0 ? viewers_.at(a)->report() : ins_.at(a)->report()) + '\n';
    } else if (command == "camera") {
      camera_ = std::make_unique<Camera>();
      root_.addOutSlot("camera", &camera_->slot);
    } else if (command == "pushed") {
      answer = camera_->report() + '\n';
    } else if (command == "stopcamera") {
      camera_->stop();
      answer = camera_->report() + '\n';
    } else if (command == "route") {
      root_.addRoute(a, b);
    } else if (command == "unroute") {
      root_.removeRoute(a, b);
    } else if (command == "churn") {
      churn(std::stoi(a));
    } else if (command == "slots") {
      answer = slots();
    } else if (command == "clients") {
      answer = clients() + '\n';
    } else if (command == "log") {
      std::vector<std::string> lines;
      node_->getLog(lines);
      for (const std::string& entry : lines)
        answer += entry + '\n';
    } else if (command == "state") {
      answer = std::string(Node::stateName(node_->getState())) + ' ' + node_->getShortInfo() + '\n';
    } else if (command == "set") {
      node_->setFieldValue(a, b);
    } else if (command == "enable") {
      node_->enable();
    } else if (command == "disable") {
      node_->disable();
    } else if (command == "exit") {
      std::exit(0); // with everything at work
    }
    return answer;
  }

private:
  void churn(int rounds) {
    for (int i = 0; i < rounds; ++i) {
      OutSlot<std::string> out;
      InSlot<std::string> in;
      root_.addOutSlot("brief-out", &out);
      root_.addInSlot("brief-in", &in);
      out.push(std::to_string(i));
      root_.removeInSlot("brief-in", &in);
      root_.removeOutSlot("brief-out", &out);
    }
  }
  std::string slots() const {
    const Root::ReadLock lock; // slots of peers come and go
    std::vector<LabeledSlot> slots;
    root_.getSlots("*", Slot::Out, slots);
    root_.getSlots("*", Slot::In, slots);
    std::string all;
    for (const LabeledSlot& entry : slots)
      all += (entry.slot->getDirection() == Slot::Out ? "out " : "in ") + entry.label + '\n';
    return all;
  }
  std::string clients() const {
    const std::string text = node_->getDetailedInfo();
    int count = 0;
    for (std::size_t at = 0; (at = text.find("User: ", at)) != std::string::npos; ++at)
      ++count;
    return std::to_string(count);
  }

  Root& root_ = Root::the();
  NetworkNode* node_ = nullptr;
  std::map<std::string, std::unique_ptr<OutSlot<std::string>>> outs_;
  std::map<std::string, std::unique_ptr<Reader<std::string>>> ins_;
  std::map<std::string, std::unique_ptr<Reader<SmartPtr<Image>>>> viewers_;
  std::unique_ptr<Camera> camera_;
};

} // namespace

int main(int argc, char** argv) {
  Peer peer(std::vector<std::string>(argv + 1, argv + argc));
  for (std::string line; std::getline(std::cin, line) && line != "quit";) {
    std::string answer;
    try {
      answer = peer.run(line) + ".\n";
    } catch (const std::exception& e) {
      answer = std::string("exception ") + e.what() + "\n.\n";
    }
    if (write(3, answer.data(), answer.size()) < 0)
      return 1;
  }
  return 0;
}
