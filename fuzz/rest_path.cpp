// Paths of requests to the REST interface, with every method, against a tree with nested nodes, fields and slots: each
// is answered with 200 or 406. The first byte chooses the method, the first line is the path, the rest is the body.
#include <array>
#include <cstdint>
#include <memory>
#include <string>

#include <fuzz/Input.h>
#include <vantiflux/core/Root.h>
#include <vantiflux/filters/ThresholdFilterNode.h>
#include <vantiflux/values/SlotTypes.h>
#include <vantiflux/web/rest/REST.h>

namespace {

using namespace Vantiflux;

class SlotNode : public Node {
public:
  SlotNode() {
    addInSlot("In", &in);
    addInSlot("List.x", &list);
    addOutSlot("Out", &out);
    publishSlots();
  }
  ~SlotNode() override { disable(); }

  InSlot<double> in;
  InSlot<SmartPtr<std::vector<float>>> list;
  OutSlot<Vec3<float>> out;
};

bool plant() {
  Root& root = Root::the();
  root.addNamespace("a", std::make_unique<SlotNode>());
  root.addNamespace("b c", std::make_unique<ThresholdFilterNode>());
  root.getNamespace("a")->addNamespace("0", std::make_unique<SlotNode>());
  root.getNamespace("a")->addNamespace("x.y", std::make_unique<Namespace>());
  return true;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t size) {
  static const bool planted = plant();
  static_cast<void>(planted);
  static constexpr std::array<const char*, 5> methods = {"GET", "POST", "DELETE", "PUT", "HEAD"};
  fuzz::Input input(bytes, size);
  const std::uint8_t choice = input.byte();
  Pelorn::ProtocolHTTP::Request request;
  request.method = methods[choice % methods.size()];
  const std::string line = input.line();
  request.path = (choice & 0x80) != 0 ? line : "/Vantiflux/element/" + line;
  request.body = input.rest();
  Pelorn::ProtocolHTTP::Reply reply;
  fuzz::require(REST::dispatch(nullptr, request, reply) == 1);
  fuzz::require(reply.status == 200 || reply.status == 406);
  return 0;
}
