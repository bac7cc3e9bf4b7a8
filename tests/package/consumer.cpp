// What a user's first program needs of the installed package: headers, symbols of the library, templates made in it.
#include <sstream>
#include <string>

#include <vantiflux/core/Node.h>
#include <vantiflux/core/NodeType.h>
#include <vantiflux/core/Root.h>
#include <vantiflux/values/Image.h>
#include <vantiflux/values/Matrix4.h>
#include <vantiflux/values/SlotTypes.h>

int main() {
  Vantiflux::Matrix4<float> m;
  std::istringstream("2 0 0 1 0 2 0 2 0 0 2 3 0 0 0 1") >> m;
  if (m.det() != 8)
    return 1;
  Vantiflux::Image image;
  image.setParameters(4, 2, Vantiflux::Image::string2Format("yuyv"));
  if (image.size() != 16)
    return 2;

  Vantiflux::OutSlot<Vantiflux::Matrix4<float>> out;
  Vantiflux::InSlot<Vantiflux::Matrix4<float>> in;
  Vantiflux::Root& root = Vantiflux::Root::the();
  root.addOutSlot("Source", &out);
  root.addInSlot("Sink", &in);
  root.addRoute("source", "sink");
  out.push(m);
  const bool arrived = in.pop().getValue() == m;
  root.removeOutSlot("Source", &out);
  root.removeInSlot("Sink", &in);
  if (!arrived)
    return 3;

  try {
    Vantiflux::NodeType::newInstance("no such type");
  } catch (const Vantiflux::Exception&) {
    return 0;
  }
  return 4;
}
