#include <vantiflux/core/Slot.h>

#include <utility>

namespace Vantiflux {

Slot::Slot(std::string description, Tarsil::Mutex::Kind dataKind, Tarsil::Mutex::Kind listenersKind)
    : dataMutex_(dataKind), listenersMutex_(listenersKind), description_(std::move(description)) {}

Slot::~Slot() = default;

} // namespace Vantiflux
