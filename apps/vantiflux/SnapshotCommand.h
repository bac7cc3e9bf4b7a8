#pragma once

#include <string>

namespace Host {

struct SnapshotOptions {
  std::string tree;     ///< the file to load
  std::string label;    ///< of the slot, at the tree's top
  std::string file;     ///< where the picture goes
  unsigned skipped = 0; ///< how many images are let pass before: cameras need some to find the right exposure
  double seconds = 10;  ///< how long to wait for it
};

/// Loads a tree, takes one image that arrives under a label, and saves it as a picture. To be called before the process
/// has threads. Throws Vantiflux::Exception if the tree cannot be loaded, if no image comes in time (with what nodes
/// say about their trouble), or if it cannot be saved. The tree is empty afterwards in any case.
void takeSnapshot(const SnapshotOptions& options);

} // namespace Host
