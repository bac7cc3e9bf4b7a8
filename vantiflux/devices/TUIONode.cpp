#include <vantiflux/devices/TUIONode.h>

#include <algorithm>
#include <iomanip>
#include <iterator>
#include <sstream>
#include <utility>

#include <vantiflux/core/FieldRow.h>
#include <vantiflux/devices/DeviceText.h>
#include <vantiflux/platform/pelorn/Exception.h>
#include <vantiflux/platform/tarsil/Console.h>

namespace Vantiflux {

using N = TUIONode;

template <>
const char* const NodeDescription<N>::typeName_ = "TUIO";
template <>
const char* const NodeDescription<N>::shortDescription_ = "Receives TUIO Packages";
template <>
const char* const NodeDescription<N>::longDescription_ =
    "Implements the TUIO Interface, specified on https://www.tuio.org/";

template <>
Field NodeDescription<N>::fields_[] = {
    fieldRow<N>("Port", "TUIO socket port.", "3333", &N::setPort, &N::getPort),
};
template <>
NodeType NodeDescription<N>::type_(typeName_, &create, author_, shortDescription_, longDescription_, fields_,
                                   std::size(fields_));

const NodeType* TUIONode::type() const {
  return &type_;
}

namespace {

/// A profile: its address, its interaction_type, and what the values of its "set" messages mean, a letter each.
struct Profile {
  std::string_view address;
  unsigned type;
  std::string_view letters;
};
constexpr std::array<Profile, 9> profiles{{
    {"/tuio/2Dobj", 37, "ixyaXYAmr"},
    {"/tuio/2Dcur", 41, "xyXYm"},
    {"/tuio/2Dblb", 49, "xyawhfXYAmr"},
    {"/tuio/25Dobj", 69, "ixyzaXYZAmr"},
    {"/tuio/25Dcur", 73, "xyzXYZm"},
    {"/tuio/25Dblb", 81, "xyzawhfXYZAmr"},
    {"/tuio/3Dobj", 133, "ixyzabcXYZABCmr"},
    {"/tuio/3Dcur", 137, "xyzXYZm"},
    {"/tuio/3Dblb", 145, "xyzabcwhdfXYZABCmr"},
}};

/// The letters in the order of the values of a session. The letter "i" stands for none of them.
constexpr std::string_view valueLetters = "xyzXYZmabcABCrwhdf";

constexpr std::array<unsigned char, 256> makePlaces() {
  std::array<unsigned char, 256> places{};
  for (std::size_t i = 0; i < valueLetters.size(); ++i)
    places[static_cast<unsigned char>(valueLetters[i])] = static_cast<unsigned char>(i);
  return places;
}
constexpr std::array<unsigned char, 256> places = makePlaces();

bool isFor(std::string_view message, std::string_view address) {
  return message.size() > address.size() && message.starts_with(address) && message[address.size()] == '\0';
}

} // namespace

TUIONode::TUIONode() : worker_(*this, [this] { thread(); }) {
  attachSlot("isActive", isActive_);
  attachSlot("sequenceID", sequenceID_);
  attachSlot("addID", addID_);
  attachSlot("removeID", removeID_);
  attachSlot("eventMap", eventMap_);
  attachSlot("objectID", objectID_);
  attachSlot("position", position_);
  attachSlot("velocity", velocity_);
  attachSlot("acceleration", acceleration_);
  attachSlot("angle", angle_);
  attachSlot("angularVelocity", angularVelocity_);
  attachSlot("anglarAcceleration", anglarAcceleration_);
  attachSlot("dimension", dimension_);
  attachSlot("volume", volume_);
  attachSlot("sightLoom", sightLoom_);
  publishSlots();
}

TUIONode::~TUIONode() {
  disable();
  TUIONode::stop();
}

void TUIONode::start() {
  worker_.start([this] { return open(); });
}

void TUIONode::stop() {
  worker_.stop([this] { socket_.breakWait(); });
}

// With the lock of structure held: nobody has to be asked for this address.
bool TUIONode::open() {
  socket_.resetWait();
  try {
    socket_.open("0.0.0.0", getPort());
    return true;
  } catch (const Pelorn::Exception& e) {
    addLog(e.what());
    return false;
  }
}

void TUIONode::thread() {
  struct Closing {
    ~Closing() { socket.close(); }
    Pelorn::UDP& socket;
  } const closing{socket_};
  setState(Running, "Operating on 0.0.0.0:" + std::to_string(socket_.getLocalAddress().getServicePort()));
  std::array<char, maxDatagram> buffer{};
  Pelorn::WaitResult result;
  while ((result = socket_.waitForData(-1)) == Pelorn::WaitResult::Data) {
    int size = maxDatagram;
    if (socket_.receive(buffer.data(), size))
      process_data(buffer.data(), static_cast<unsigned>(size));
  }
  if (!socket_.broken())
    report(result == Pelorn::WaitResult::Timeout ? "TUIO::UDP::WaitForData = Timeout"
                                                 : "TUIO::UDP::WaitForData = Error");
  reportEnd();
}

void TUIONode::report(const std::string& text) {
  Tarsil::printErrorLine(text);
  if (trouble_ != text)
    addLog(trouble_ = text);
}

// A datagram may have a thousand.
void TUIONode::reportFault(const std::string& text) {
  if (!std::exchange(faulty_, true))
    report(text);
}

// The parts of the datagram are looked at before anything is done: one that is cut short changes nothing.
bool TUIONode::process_data(const char* data, unsigned size) {
  faulty_ = false;
  try {
    if (!OSC::readBundle(std::string_view(data, size), elements_))
      return false;
  } catch (const OSC::Malformed& e) {
    reportFault("TUIO: malformed datagram: " + e.getMessage());
    return false;
  }
  bool good = true;
  for (const std::string_view element : elements_)
    good = process_message(element) && good;
  return good;
}

bool TUIONode::process_message(std::string_view message) {
  const auto profile = std::find_if(profiles.begin(), profiles.end(),
                                    [&](const Profile& candidate) { return isFor(message, candidate.address); });
  if (profile == profiles.end()) {
    reportFault("TUIO: unknown tag: " + DeviceText::shown(message.substr(0, message.find('\0'))));
    return false;
  }
  try {
    tags_.process_tag(message.substr(profile->address.size() + 1));
    return process_command(profile->type, tags_.text(0));
  } catch (const OSC::Malformed& e) {
    reportFault("TUIO: malformed message: " + std::string(profile->address) + ": " + e.getMessage());
    return false;
  }
}

bool TUIONode::process_command(unsigned type, std::string_view command) {
  if (command == "alive") {
    prepare_data(type);
  } else if (command == "set") {
    process_data(type);
  } else if (command == "fseq") {
    send_data();
  } else if (command != "source") {
    reportFault("TUIO: unknown message: " + DeviceText::shown(command));
    return false;
  }
  return true;
}

void TUIONode::prepare_data(unsigned type) {
  alive_.clear();
  for (std::size_t i = 1; i < tags_.size(); ++i)
    alive_.push_back(tags_.integer(i));
  Sessions& sessions = sessions_[type & kind];
  for (const std::int32_t session : alive_)
    if (sessions.try_emplace(session).second)
      noteChange(added_, session);
  std::sort(alive_.begin(), alive_.end());
  std::erase_if(sessions, [this](const auto& entry) {
    const bool gone = !std::binary_search(alive_.begin(), alive_.end(), entry.first);
    if (gone)
      noteChange(removed_, entry.first);
    return gone;
  });
}

void TUIONode::noteChange(std::vector<long>& changes, std::int32_t session) {
  const char* const tooMany = "TUIO: too many changes without the end of a frame";
  if (changes.size() < maxChanges)
    changes.push_back(session);
  else if (trouble_ != tooMany) // there is no end to them
    reportFault(tooMany);
}

// All values are read before the first is written: a malformed message changes nothing.
void TUIONode::process_data(unsigned type) {
  const auto profile = std::find_if(profiles.begin(), profiles.end(),
                                    [type](const Profile& candidate) { return candidate.type == type; });
  if (profile == profiles.end()) {
    std::ostringstream text;
    text << "TUIO: unknown type: 0x" << std::hex << type;
    reportFault(text.str());
    return;
  }
  if (tags_.size() < 2)
    return;
  const std::int32_t session = tags_.integer(1);
  Sessions& sessions = sessions_[type & kind];
  const auto found = sessions.find(session);
  if (session == -1 || found == sessions.end())
    return;
  tuio_data data = found->second;
  const std::size_t count = std::min(profile->letters.size(), tags_.size() - 2);
  for (std::size_t i = 0; i < count; ++i) {
    const char letter = profile->letters[i];
    if (letter == 'i')
      data.id = tags_.integer(i + 2);
    else
      data.values[places[static_cast<unsigned char>(letter)]] = tags_.number(i + 2);
  }
  found->second = data;
}

template <class T, class Get>
TUIONode::List<T> TUIONode::listOf(Get&& get) const {
  List<T> list;
  list.acquire();
  list->resize(shown_.size());
  std::transform(shown_.begin(), shown_.end(), list->begin(), [&get](const Shown* session) { return get(*session); });
  return list;
}

void TUIONode::send_data() {
  const std::int32_t frame = tags_.integer(1);
  if (frame == -1)
    return;
  shown_.clear();
  for (const auto& [ofKind, sessions] : sessions_)
    for (const Shown& session : sessions)
      shown_.push_back(&session);
  const auto vectors = [this](tuio_data::Place place) {
    return listOf<Vec3<float>>([place](const Shown& s) { return s.second.vector(place); });
  };
  const auto numbers = [this](tuio_data::Place place) {
    return listOf<float>([place](const Shown& s) { return s.second.values[place]; });
  };
  eventMap_.push(listOf<long>([](const Shown& s) { return s.first; }));
  objectID_.push(listOf<long>([](const Shown& s) { return s.second.id; }));
  position_.push(vectors(tuio_data::position));
  velocity_.push(vectors(tuio_data::velocity));
  acceleration_.push(numbers(tuio_data::acceleration));
  angle_.push(vectors(tuio_data::angle));
  angularVelocity_.push(vectors(tuio_data::angularVelocity));
  anglarAcceleration_.push(numbers(tuio_data::angularAcceleration));
  dimension_.push(vectors(tuio_data::dimension));
  volume_.push(numbers(tuio_data::volume));
  sightLoom_.push(listOf<Vec3<float>>([](const Shown& s) {
    return Vec3<float>(s.second.values[tuio_data::position], s.second.values[tuio_data::position + 1],
                       static_cast<float>(s.first));
  }));
  sendChanges(addID_, added_);
  sendChanges(removeID_, removed_);
  sequenceID_.push(static_cast<long>(frame));
  isActive_.push(true);
}

void TUIONode::sendChanges(OutSlot<List<long>>& slot, std::vector<long>& changes) {
  if (changes.empty())
    return;
  List<long> list;
  list.acquire();
  *list = changes;
  changes.clear();
  slot.push(std::move(list));
}

} // namespace Vantiflux
