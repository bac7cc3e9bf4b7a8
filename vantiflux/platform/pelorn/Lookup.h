#pragma once

#include <string>
#include <vantiflux/platform/pelorn/InetAddress.h>

namespace Pelorn {

class Deadline;
class Notifier;

/// Name look-ups that end at a deadline, or when `stop` (if any) is signalled. The system's look-up cannot be broken
/// off, so it runs on a thread of its own, which outlives the wait; there are at most 16 of those, beyond which a
/// look-up fails.
InetAddress lookUpAddress(const std::string& name, const Deadline& deadline, const Notifier* stop = nullptr);

/// The name of a host, empty when there is none in time.
std::string lookUpName(const InetAddress& address, const Deadline& deadline);

} // namespace Pelorn
