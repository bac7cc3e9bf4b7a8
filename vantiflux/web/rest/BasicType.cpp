#include <vantiflux/web/rest/BasicType.h>

#include <type_traits>

#include <vantiflux/core/InterruptedException.h>
#include <vantiflux/web/rest/SlotMutexes.h>
#include <vantiflux/web/rest/SlotTypeList.h>

namespace REST {

using namespace Vantiflux;

namespace {

/// The name of a value of type T, and of a list of them.
template <class T>
constexpr const char* typeName = nullptr;
template <>
constexpr const char* typeName<bool> = "bool";
template <>
constexpr const char* typeName<long> = "int";
template <>
constexpr const char* typeName<Color> = "float3";
template <>
constexpr const char* typeName<ColorRGBA> = "float4";
template <>
constexpr const char* typeName<Rotation> = "float4";
template <>
constexpr const char* typeName<float> = "float";
template <>
constexpr const char* typeName<Vec2<float>> = "float2";
template <>
constexpr const char* typeName<Vec3<float>> = "float3";
template <>
constexpr const char* typeName<Vec4<float>> = "float4";
template <>
constexpr const char* typeName<double> = "double";
template <>
constexpr const char* typeName<Vec2<double>> = "double2";
template <>
constexpr const char* typeName<Vec3<double>> = "double3";
template <>
constexpr const char* typeName<Vec4<double>> = "double4";
template <>
constexpr const char* typeName<Matrix3<float>> = "fmat3";
template <>
constexpr const char* typeName<Matrix3<double>> = "dmat3";
template <>
constexpr const char* typeName<Matrix4<float>> = "fmat";
template <>
constexpr const char* typeName<Matrix4<double>> = "dmat";
template <>
constexpr const char* typeName<Time> = "double";
template <>
constexpr const char* typeName<Image> = "jpg";

using SingleTypes = TypeList<bool, long, Color, ColorRGBA, float, Vec2<float>, Vec3<float>, Vec4<float>, double,
                             Vec2<double>, Vec3<double>, Vec4<double>, Matrix3<float>, Matrix3<double>, Matrix4<float>,
                             Matrix4<double>, Time, SmartPtr<Image>, Rotation>;
using ListTypes =
    TypeList<ListOf<bool>, ListOf<Color>, ListOf<ColorRGBA>, ListOf<float>, ListOf<Vec2<float>>, ListOf<Vec3<float>>,
             ListOf<Vec4<float>>, ListOf<double>, ListOf<Vec2<double>>, ListOf<Vec3<double>>, ListOf<Vec4<double>>,
             ListOf<long>, ListOf<Matrix4<float>>, ListOf<Matrix4<double>>, ListOf<Time>, ListOf<Image>>;

template <class T>
BasicType describe(std::uint64_t length, BasicType::Cardinality cardinality) {
  BasicType type{typeName<T>, length, cardinality, {}};
  if constexpr (std::is_same_v<T, Image>)
    type.formats = {"png", "string"};
  else if constexpr (std::is_same_v<T, Rotation>)
    type.formats = {"string"};
  else
    type.formats = {"string", "json", "xml"};
  return type;
}

template <class T>
std::uint64_t get_size(OutSlot<ListOf<T>>&) {
  return 0;
}

/// Holds a mutex, if nobody else does.
class TryLock {
public:
  explicit TryLock(Tarsil::Mutex& mutex) TARSIL_NO_ANALYSIS : mutex_(mutex), holds_(mutex.tryLock()) {}
  ~TryLock() TARSIL_NO_ANALYSIS {
    if (holds_)
      mutex_.unlock();
  }
  explicit operator bool() const noexcept { return holds_; }

private:
  Tarsil::Mutex& mutex_;
  const bool holds_;
};

// Whoever looks and takes under the slot's lock never waits for a value that another reader took in between. Nor is a
// value taken while a listener has it in hand; but a writer holds no lock of the slot between storing the value and
// telling of it, so a listener may be told of one that has been taken here, and must look first. The locks are not
// waited for: the lock of structure would be lent meanwhile, and the node might go. An interrupt is meant for the
// slot's own reader, and handed on.
template <class T>
std::uint64_t get_size(InSlot<ListOf<T>>& slot) {
  const TryLock alone(slot.*SlotMutexes::listeners);
  const TryLock locked(slot.*SlotMutexes::data);
  if (!alone || !locked || slot.empty())
    return 0;
  try {
    const ListOf<T> list = slot.pop().getValue();
    return list ? list->size() : 0;
  } catch (const InterruptedException&) {
    slot.interrupt();
    return 0;
  }
}

} // namespace

template <class Base, template <class> class Slot>
BasicType getBasicType(Base* slot) {
  BasicType type;
  if (slot == nullptr)
    return type;
  const auto single = [&type]<class T>(Slot<T>&) {
    if constexpr (std::is_same_v<T, SmartPtr<Image>>)
      type = describe<Image>(1, BasicType::Single);
    else
      type = describe<T>(1, BasicType::Single);
  };
  const auto list = [&type]<class T>(Slot<T>& typed) {
    type = describe<typename ListElement<T>::Type>(get_size(typed), BasicType::Multi);
  };
  if (!visitSlot<Slot>(SingleTypes{}, *slot, single))
    visitSlot<Slot>(ListTypes{}, *slot, list);
  return type;
}

template BasicType getBasicType<BasicOutSlot, OutSlot>(BasicOutSlot*);
template BasicType getBasicType<BasicInSlot, InSlot>(BasicInSlot*);

} // namespace REST
