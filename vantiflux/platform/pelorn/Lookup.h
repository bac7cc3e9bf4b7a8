#pragma once

#include <string>
#include <vantiflux/platform/pelorn/InetAddress.h>

namespace Pelorn {

class Deadline;
class Notifier;

/// How long those who open something wait for the address of a host, in milliseconds: long enough for a second name
/// server to be asked after the first one stayed silent.
inline constexpr int lookUpTime = 10000;

/// Name look-ups that end at a deadline, or when `stop` (if any) is signalled. The system's look-up cannot be broken
/// off, so it runs on a thread of its own, which outlives the wait. Who asks for what is being looked up already waits
/// with the others. There are at most 16 such threads for addresses, and 16 for names, beyond which a look-up fails; it
/// fails likewise when the system has no memory or thread to spare.
InetAddress lookUpAddress(const std::string& name, const Deadline& deadline, const Notifier* stop = nullptr);

/// The name of a host, empty when there is none within half a second. One that hangs holds up nobody after that: who
/// asks meanwhile gets none at once.
std::string lookUpName(const InetAddress& address, const Notifier* stop = nullptr);

} // namespace Pelorn
