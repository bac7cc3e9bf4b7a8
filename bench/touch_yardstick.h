#pragma once

#include <string>
#include <vector>

/// What cannot be done without, as plainly as it can be written, and built with the compiler's best for this machine.
namespace Yardstick {

/// The sum of all arguments of a bundle's messages.
double walkBundle(const std::string& datagram);

/// The least sum of the distances of three series: the whole table of each, without the paths.
double leastSum(const std::vector<std::vector<std::vector<double>>>& patterns,
                const std::vector<std::vector<double>>& query);

} // namespace Yardstick
