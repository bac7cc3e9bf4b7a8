// The codecs of all value types. They register when the library is loaded and go when the process ends, after the root.
#include <memory>
#include <string>
#include <vector>

#include <vantiflux/values/Codec.h>
#include <vantiflux/values/codecs/Lists.h>
#include <vantiflux/values/codecs/Numbers.h>
#include <vantiflux/values/codecs/Plain.h>
#include <vantiflux/values/codecs/SFImage.h>
#include <vantiflux/values/codecs/SFSample.h>

namespace Vantiflux {

namespace {

using Codecs = std::vector<std::unique_ptr<BasicCodec>>;

template <class T, class AnEncoder, class ADecoder>
void add(Codecs& codecs, const char* name) {
  codecs.push_back(std::make_unique<Codec<T>>(name, AnEncoder::create, ADecoder::create, "The Vantiflux developers"));
}

template <class T>
void addNumbers(Codecs& codecs, const char* name) {
  add<T, NumbersEncoder<T>, NumbersDecoder<T>>(codecs, name);
}

template <class E>
void addList(Codecs& codecs, const char* name) {
  add<SmartPtr<std::vector<E>>, MFEncoder<E>, MFDecoder<E>>(codecs, name);
}

void addSingles(Codecs& codecs) {
  add<bool, SFBoolEncoder, SFBoolDecoder>(codecs, "SFBool");
  addNumbers<Color>(codecs, "SFColor");
  addNumbers<ColorRGBA>(codecs, "SFColorRGBA");
  addNumbers<double>(codecs, "SFDouble");
  addNumbers<float>(codecs, "SFFloat");
  add<SmartPtr<Image>, SFImageEncoder, SFImageDecoder>(codecs, "SFImage");
  addNumbers<long>(codecs, "SFInt32");
  addNumbers<Matrix3<double>>(codecs, "SFMatrix3d");
  addNumbers<Matrix3<float>>(codecs, "SFMatrix3f");
  addNumbers<Matrix4<double>>(codecs, "SFMatrix4d");
  addNumbers<Matrix4<float>>(codecs, "SFMatrix4f");
  addNumbers<Rotation>(codecs, "SFRotation");
  add<std::string, SFStringEncoder, SFStringDecoder>(codecs, "SFString");
  addNumbers<Time>(codecs, "SFTime");
  addNumbers<Vec2<double>>(codecs, "SFVec2d");
  addNumbers<Vec2<float>>(codecs, "SFVec2f");
  addNumbers<Vec3<double>>(codecs, "SFVec3d");
  addNumbers<Vec3<float>>(codecs, "SFVec3f");
  addNumbers<Vec4<double>>(codecs, "SFVec4d");
  addNumbers<Vec4<float>>(codecs, "SFVec4f");
  add<SmartPtr<Sample>, SFSampleEncoder, SFSampleDecoder>(codecs, "SFSample");
}

void addLists(Codecs& codecs) {
  addList<bool>(codecs, "MFBool");
  addList<Color>(codecs, "MFColor");
  addList<ColorRGBA>(codecs, "MFColorRGBA");
  addList<double>(codecs, "MFDouble");
  addList<float>(codecs, "MFFloat");
  addList<long>(codecs, "MFInt32");
  addList<Matrix3<double>>(codecs, "MFMatrix3d");
  addList<Matrix3<float>>(codecs, "MFMatrix3f");
  addList<Matrix4<double>>(codecs, "MFMatrix4d");
  addList<Matrix4<float>>(codecs, "MFMatrix4f");
  addList<Rotation>(codecs, "MFRotation");
  addList<std::string>(codecs, "MFString");
  addList<Time>(codecs, "MFTime");
  addList<Vec2<double>>(codecs, "MFVec2d");
  addList<Vec2<float>>(codecs, "MFVec2f");
  addList<Vec3<double>>(codecs, "MFVec3d");
  addList<Vec3<float>>(codecs, "MFVec3f");
  addList<Vec4<double>>(codecs, "MFVec4d");
  addList<Vec4<float>>(codecs, "MFVec4f");
}

const Codecs all = [] {
  Codecs codecs;
  addSingles(codecs);
  addLists(codecs);
  return codecs;
}();

} // namespace

} // namespace Vantiflux
