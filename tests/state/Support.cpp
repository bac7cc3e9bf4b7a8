#include "Support.h"

#include <cstdlib>
#include <fstream>
#include <sstream>
#include <stdexcept>

#include <vantiflux/core/FieldAccessor.h>
#include <vantiflux/state/StateKeeperXML.h>

namespace Vantiflux::Test {

int SampleNode::alive = 0;

Field SampleNode::fields_[] = {
    Field("On", "", "true", FieldAccessor<SampleNode, bool>(&SampleNode::setOn, &SampleNode::getOn)),
    Field("Count", "", "3", FieldAccessor<SampleNode, int>(&SampleNode::setCount, &SampleNode::getCount)),
    Field("Port", "", "80", FieldAccessor<SampleNode, unsigned short>(&SampleNode::setPort, &SampleNode::getPort)),
    Field("Gain", "", "0.5", FieldAccessor<SampleNode, float>(&SampleNode::setGain, &SampleNode::getGain)),
    Field("Title", "", "", FieldAccessor<SampleNode, std::string>(&SampleNode::setTitle, &SampleNode::getTitle)),
    Field("Frame", "", BasicFieldAccessor::value2String(Matrix4<float>()),
          FieldAccessor<SampleNode, Matrix4<float>>(&SampleNode::setFrame, &SampleNode::getFrame)),
};

NodeType SampleNode::type_(
    "StateSample", [] { return static_cast<Node*>(new SampleNode); }, nullptr, nullptr, nullptr, fields_, 6);

SampleNode::SampleNode() {
  ++alive;
  addOutSlot("Value", &value_);
  publishSlots();
}

SampleNode::~SampleNode() {
  disable();
  --alive;
}

void SampleNode::initialize() {
  Node::initialize();
  initialized = title_ + " " + std::to_string(getNamespaces().size());
}

std::string document(const std::string& contents) {
  return "<Vantiflux versionMajor=\"1\" versionMinor=\"0\">" + contents + "</Vantiflux>";
}

std::string save(Namespace& space) {
  std::ostringstream stream;
  StateKeeperXML::save(space, stream);
  return stream.str();
}

void load(Namespace& space, const std::string& text) {
  std::istringstream stream(text);
  StateKeeperXML::load(space, stream);
}

std::string outline(const Namespace& space) {
  std::string result;
  for (const Namespace* const child : space.getNamespaces()) {
    if (!result.empty())
      result += ' ';
    result += child->getLabel();
    if (dynamic_cast<const Node*>(child) != nullptr)
      result += ':' + child->typeName();
    if (!child->getNamespaces().empty())
      result += '{' + outline(*child) + '}';
  }
  return result;
}

Folder::Folder() {
  std::string name = (std::filesystem::temp_directory_path() / "vantiflux-state-XXXXXX").string();
  if (mkdtemp(name.data()) == nullptr)
    throw std::runtime_error("Cannot make a folder");
  path_ = name;
}

Folder::~Folder() {
  std::error_code ignored;
  std::filesystem::remove_all(path_, ignored);
}

Pelorn::URL Folder::write(const std::string& name, const std::string& text) const {
  std::filesystem::create_directories((path_ / name).parent_path());
  std::ofstream(path_ / name, std::ios::binary) << text;
  return url(name);
}

Pelorn::URL Folder::url(const std::string& name) const {
  return Pelorn::URL::parse((path_ / name).string());
}

} // namespace Vantiflux::Test
