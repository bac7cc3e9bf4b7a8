#include <vantiflux/web/BuildDate.h>

namespace Vantiflux {

const char* const buildDate = __DATE__ " " __TIME__;

} // namespace Vantiflux
