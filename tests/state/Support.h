#pragma once

#include <filesystem>
#include <string>

#include <vantiflux/core/Node.h>
#include <vantiflux/core/OutSlot.h>
#include <vantiflux/platform/pelorn/URL.h>
#include <vantiflux/values/Matrix4.h>
#include <vantiflux/values/SlotTypes.h>

namespace Vantiflux::Test {

/// Type "StateSample": fields of every kind, and a slot "Value".
class SampleNode : public Node {
public:
  SampleNode();
  ~SampleNode() override;
  const NodeType* type() const override { return &type_; }

  bool getOn() const { return on_; }
  void setOn(bool on) { on_ = on; }
  int getCount() const { return count_; }
  void setCount(int count) { count_ = count; }
  unsigned short getPort() const { return port_; }
  void setPort(unsigned short port) { port_ = port; }
  float getGain() const { return gain_; }
  void setGain(float gain) { gain_ = gain; }
  std::string getTitle() const { return title_; }
  void setTitle(const std::string& title) { title_ = title; }
  Matrix4<float> getFrame() const { return frame_; }
  void setFrame(const Matrix4<float>& frame) { frame_ = frame; }

  /// What the node held when it was initialised: the title, and how many children.
  std::string initialized;
  static int alive;

protected:
  void initialize() override;

private:
  static Field fields_[];
  static NodeType type_;

  bool on_ = true;
  int count_ = 3;
  unsigned short port_ = 80;
  float gain_ = 0.5f;
  std::string title_;
  Matrix4<float> frame_;
  OutSlot<float> value_;
};

/// A whole document with these contents.
std::string document(const std::string& contents);

std::string save(Namespace& space);
void load(Namespace& space, const std::string& text);

/// The message of the exception of this class that the call throws; "none" when it throws nothing.
template <class E, class Call>
std::string messageOf(Call&& call) {
  try {
    call();
  } catch (const E& e) {
    return e.what();
  }
  return "none";
}

/// Labels and types of all below, in order, such as "A{Clock B}".
std::string outline(const Namespace& space);

/// A folder of its own, removed at the end.
class Folder {
public:
  Folder();
  ~Folder();
  Folder(const Folder&) = delete;
  Folder& operator=(const Folder&) = delete;

  Pelorn::URL write(const std::string& name, const std::string& text) const;
  Pelorn::URL url(const std::string& name) const;
  const std::filesystem::path& path() const { return path_; }

private:
  std::filesystem::path path_;
};

} // namespace Vantiflux::Test
