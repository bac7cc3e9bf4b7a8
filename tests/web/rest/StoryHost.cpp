// A host with a web node and one node for each type of value, each of which passes on what is written into its slot
// "In". Prints the port, then does what each line of its input says: "first" and "second" push that value from all
// nodes, "burst N" pushes the numbers from 1 to N from the node "long" as fast as it can. Ends with its input.
#include <cstdint>
#include <functional>
#include <iostream>
#include <map>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include <vantiflux/web/WebNode.h>
#include <web/rest/Tree.h>

namespace {

using namespace Vantiflux;
using test::listOf;

std::map<std::string, std::vector<std::function<void()>>> pushers;

void push(const std::string& which) {
  for (const auto& pushOne : pushers[which])
    pushOne();
}

template <class T>
class EchoNode : public test::SlotNode<T> {
public:
  EchoNode() { this->in.addListener(*this); }
  void newData(BasicInSlot&) override { this->out.push(this->in.pop()); }
};

template <class T>
EchoNode<T>* plant(const std::string& label, const T& first, const T& second) {
  auto owned = std::make_unique<EchoNode<T>>();
  EchoNode<T>* const node = owned.get();
  Root::the().addNamespace(label, std::move(owned));
  pushers["first"].emplace_back([node, first] { node->out.push(first); });
  pushers["second"].emplace_back([node, second] { node->out.push(second); });
  return node;
}

/// A value, and a list of two.
template <class T>
void plantBoth(const std::string& label, const T& first, const T& second) {
  plant<T>(label, first, second);
  plant<test::List<T>>(label + "s", listOf<T>({first, second}), listOf<T>({second}));
}

SmartPtr<Image> picture(unsigned char shade) {
  SmartPtr<Image> image;
  image.acquire();
  image->setParameters(48, 32, Image::RGB24);
  for (unsigned i = 0; i < 48 * 32; ++i) {
    image->data()[3 * i] = shade;
    image->data()[3 * i + 1] = static_cast<unsigned char>(i % 48 * 5);
    image->data()[3 * i + 2] = static_cast<unsigned char>(i / 48 * 7);
  }
  return image;
}

} // namespace

int main() {
  auto web = std::make_unique<WebNode>();
  WebNode* const server = web.get();
  web->setAddress("127.0.0.1");
  Root::the().addNamespace("Web", std::move(web));

  plantBoth<bool>("bool", true, false);
  EchoNode<long>* const counter = plant<long>("long", 1L << 40, -2);
  plant<test::List<long>>("longs", listOf<long>({1, -2}), listOf<long>({}));
  plantBoth<float>("float", 0.1F, -1.5F);
  plantBoth<double>("double", 0.1, 1e300);
  plantBoth<std::string>("string", "one \"text\"", "gr\xc3\xbc\xc3\x9f");
  plantBoth<Time>("time", Time(0), Time(1e9));
  plantBoth<Color>("color", Color(1, 0.5F, 0), Color(0, 0, 1));
  plantBoth<ColorRGBA>("color4", ColorRGBA(1, 0.5F, 0, 1), ColorRGBA(0, 0, 1, 0));
  plant<Rotation>("rotation", Rotation(1, 2, 3, 4), Rotation(0, 0, 0, 1));
  plantBoth<Vec2<float>>("vec2f", {1, 2}, {3, 4});
  plantBoth<Vec2<double>>("vec2d", {1, 2}, {3, 4});
  plantBoth<Vec3<float>>("vec3f", {1, 2, 3}, {4, 5, 6});
  plantBoth<Vec3<double>>("vec3d", {1, 2, 3}, {4, 5, 6});
  plantBoth<Vec4<float>>("vec4f", {1, 2, 3, 4}, {5, 6, 7, 8});
  plantBoth<Vec4<double>>("vec4d", {1, 2, 3, 4}, {5, 6, 7, 8});
  plant<Matrix3<float>>("matrix3f", {}, Matrix3<float>({1, 2, 3, 4, 5, 6, 7, 8, 9}));
  plant<Matrix3<double>>("matrix3d", {}, Matrix3<double>({1, 2, 3, 4, 5, 6, 7, 8, 9}));
  plant<Matrix4<float>>("matrix4f", {}, Matrix4<float>({1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13, 14, 15, 16}));
  plant<Matrix4<double>>("matrix4d", {}, Matrix4<double>({1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13, 14, 15, 16}));
  plant<SmartPtr<Image>>("image", picture(40), picture(200));
  plant<test::List<Image>>("images", listOf<Image>({{}}), {}); // these three have no text
  plant<test::List<Matrix4<float>>>("matrix4fs", listOf<Matrix4<float>>({{}}), {});
  plant<test::List<Matrix4<double>>>("matrix4ds", listOf<Matrix4<double>>({{}}), {});

  // For the grammar of paths.
  auto leaf = std::make_unique<test::SlotNode<long>>();
  leaf->out.push(7);
  plant<float>("parent", 1, 2)->addNamespace("Leaf.one", std::move(leaf));
  Root::the().addNamespace("plain", std::make_unique<Namespace>());
  plant<bool>("-1", true, false);
  plant<bool>("12", true, false);
  push("first");

  std::cout << server->getActualPort() << std::endl;
  for (std::string line; std::getline(std::cin, line);) {
    if (line.rfind("burst ", 0) == 0)
      for (long i = 1, last = std::stol(line.substr(6)); i <= last; ++i)
        counter->out.push(i);
    else
      push(line);
    std::cout << "done" << std::endl;
  }
}
