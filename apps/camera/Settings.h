#pragma once

#include <cstdint>
#include <map>
#include <string>
#include <string_view>
#include <vector>

namespace Camera {

struct Size {
  std::uint32_t width = 0;
  std::uint32_t height = 0;
};

/// How one simulated camera behaves.
///
/// A text describes it: settings between commas, lists between plus signs, as in
/// `card=Left eye,size=1280x720+640x480,formats=YUYV,rate=60`. Several cameras stand between semicolons; the first is
/// /dev/video0. An empty text is one camera with the defaults.
///
/// | Setting | Default | |
/// |---|---|---|
/// | `card` | Simulated Camera | the name of the card |
/// | `size` | 640x480+320x240+1280x720+1920x1080 | sizes offered; it is set to the first |
/// | `formats` | YUYV+RGB3+RGB4 | pixel layouts offered, by their four characters; it is set to the first |
/// | `adjust` | yes | a format that it does not offer is replaced (yes), or refused (no) |
/// | `rate` | 30 | frames a second; 0: as fast as they are taken |
/// | `io` | mmap | how frames are had: `mmap`, or `read` |
/// | `inputs` | Camera | names of the inputs |
/// | `frames` | 0 | how many frames come, then silence; 0: no end |
/// | `silent` | no | no frame ever comes |
/// | `unplug` | 0 | after so many frames it is unplugged; and plugged in again, but for who had it open; 0: never |
/// | `fail` | none | requests that fail, such as STREAMON+DQBUF@3: from their third call of an opening on |
/// | `lie` | none | what a broken driver tells wrong: INDEX, LENGTH, COUNT, SIZE |
/// | `buffers` | 0 | how many buffers it grants; 0: as many as are asked for |
/// | `short` | 0 | bytes that each `read` lacks |
/// | `absent` | no | there is no such file |
///
/// Requests that can fail: OPEN (counted over all openings), POLL, READ, MMAP, and those of Video4Linux2 without their
/// prefix: QUERYCAP, G_FMT, S_FMT, S_INPUT, REQBUFS, QUERYBUF, QBUF, DQBUF, STREAMON, STREAMOFF, ENUMINPUT, ENUM_FMT,
/// ENUM_FRAMESIZES, ENUM_FRAMEINTERVALS.
struct Settings {
  std::string card = "Simulated Camera";
  std::vector<Size> sizes = {{640, 480}, {320, 240}, {1280, 720}, {1920, 1080}};
  std::vector<std::string> formats = {"YUYV", "RGB3", "RGB4"};
  std::vector<std::string> inputs = {"Camera"};
  bool adjust = true;
  bool readOnly = false;
  bool silent = false;
  bool absent = false;
  double rate = 30;
  unsigned frames = 0;
  unsigned unplug = 0;
  unsigned buffers = 0;
  unsigned shortBy = 0;
  std::map<std::string, unsigned> failing; ///< request, and the call from which on it fails
  std::vector<std::string> lies;

  bool liesAbout(std::string_view what) const;
};

/// The cameras that a text describes. Throws std::invalid_argument, with the reason, for a text that says nothing
/// sensible.
std::vector<Settings> parseCameras(std::string_view text);

/// The same for a single one.
Settings parseCamera(std::string_view text);

} // namespace Camera
