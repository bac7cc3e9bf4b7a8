// Pictures out of a tree, taken by the program with a simulated camera.
#include <algorithm>
#include <array>
#include <cstdlib>
#include <filesystem>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include <apps/Folder.h>
#include <apps/Process.h>
#include <gtest/gtest.h>

#define STB_IMAGE_STATIC
#define STB_IMAGE_IMPLEMENTATION
#include <stb/stb_image.h>

namespace {

using test::Folder;
using test::Process;

const std::string cameraTree = TREES "/camera.vfx";
const std::string clockTree = TREES "/clock.vfx";

class Picture {
public:
  explicit Picture(const std::string& file)
      : pixels_(stbi_load(file.c_str(), &width, &height, &channels, 3), &stbi_image_free) {}

  /// Whether the pixel, counted from the end where negative, has about that color.
  bool shows(int x, int y, std::array<int, 3> color) const {
    if (pixels_ == nullptr)
      return false;
    const unsigned char* const pixel = pixels_.get() + 3 * ((y < 0 ? height + y : y) * width + (x < 0 ? width + x : x));
    return std::equal(color.begin(), color.end(), pixel, [](int a, int b) { return std::abs(a - b) < 24; });
  }

  int width = 0, height = 0, channels = 0;

private:
  std::unique_ptr<unsigned char, decltype(&stbi_image_free)> pixels_;
};

constexpr std::array<int, 3> red{255, 0, 0}, green{0, 255, 0}, blue{0, 0, 255}, yellow{255, 255, 0},
    white{255, 255, 255}, black{0, 0, 0};

/// Lets the program take a picture and returns what it complains of.
std::string take(const std::string& label, const std::string& file, const std::string& camera = "rate=30",
                 const std::vector<std::string>& options = {"--timeout", "200"}) {
  std::vector<std::string> words{HOST_PROGRAM, "simulate", "camera",   "--device", camera, "--",
                                 HOST_PROGRAM, "snapshot", cameraTree, label,      file};
  words.insert(words.end(), options.begin(), options.end());
  Process process(words);
  const std::string errors = process.errors();
  EXPECT_EQ(process.wait(), errors.find("vantiflux: ") == std::string::npos ? 0 : 1) << errors;
  return errors;
}

TEST(Snapshot, ShowsTheTestCardAtEachStationOfTheTree) {
  const Folder folder;
  for (const std::string kind : {"png", "jpg"}) {
    const std::string file = folder.file("picture." + kind);
    take("Camera/Frames", file);
    const Picture straight(file);
    EXPECT_EQ(straight.width, 640);
    EXPECT_EQ(straight.height, 480);
    EXPECT_TRUE(straight.shows(20, 20, red) && straight.shows(-20, 20, green));
    EXPECT_TRUE(straight.shows(20, -20, blue) && straight.shows(-20, -20, yellow));
    EXPECT_TRUE(straight.shows(20, 240, white) && straight.shows(520, 240, blue));

    take("mirror/frames_out", file);
    const Picture mirrored(file);
    EXPECT_TRUE(mirrored.shows(20, 20, green) && mirrored.shows(-20, 20, red));
    EXPECT_TRUE(mirrored.shows(20, -20, yellow) && mirrored.shows(-20, -20, blue));

    take("Channels/Red Channel", file, "rate=30", {"--skip", "3", "--timeout", "200"});
    const Picture channel(file);
    EXPECT_EQ(channel.channels, 1);
    EXPECT_TRUE(channel.shows(-20, 20, white) && channel.shows(20, 20, black) && channel.shows(20, -20, white));
  }
}

TEST(Snapshot, TellsWhyThereIsNone) {
  const Folder folder;
  const std::string file = folder.file("picture.png");
  const std::vector<std::string> soon{"--timeout", "0.2"};
  const auto complaint = [](const std::string& errors) {
    const std::size_t at = errors.find("vantiflux: ");
    return at == std::string::npos ? errors : errors.substr(at);
  };
  EXPECT_EQ(complaint(take("Camera/Frames", file, "silent=yes", soon)),
            "vantiflux: no image arrived under \"Camera/Frames\" within 0.2 s\n");
  EXPECT_EQ(complaint(take("Camera/Frames", file, "absent=yes", {"--timeout", "5"})), // the worker has tried by then
            "vantiflux: no image arrived under \"Camera/Frames\" within 5 s; Camera: Cannot open device\n");
  EXPECT_EQ(complaint(take("Camera", file, "rate=0", soon)),
            "vantiflux: nothing arrived under \"Camera\" within 0.2 s\n");
  EXPECT_FALSE(std::filesystem::exists(file));
  EXPECT_EQ(complaint(take("Camera/Frames", folder.file("picture.gif"))),
            "vantiflux: \"" + folder.file("picture.gif") + "\" does not end in .png, .jpg or .jpeg\n");
  EXPECT_EQ(complaint(take("Camera/Frames", "/nowhere/picture.png")),
            "vantiflux: Cannot save \"/nowhere/picture.png\": No such file or directory\n");

  Process process({HOST_PROGRAM, "snapshot", clockTree, "Time", file});
  EXPECT_EQ(process.errors(), "vantiflux: what arrives under \"Time\" is no image, but of type Vantiflux::Time\n");
  EXPECT_EQ(process.wait(), 1);
}

TEST(SimulatedCamera, RefusesWhatMakesNoSense) {
  const std::vector<std::pair<std::string, std::string>> refused = {
      {"speed=3", "a camera has no setting \"speed=3\""},
      {"rate", "a camera has no setting \"rate\""},
      {"rate=-1", "a camera's setting \"rate\" cannot be \"-1\""},
      {"rate=nan", "a camera's setting \"rate\" cannot be \"nan\""},
      {"size=0x5", "a camera's setting \"size\" cannot be \"0x5\""},
      {"size=640", "a camera's setting \"size\" cannot be \"640\""},
      {"formats=YUV", "a camera's setting \"formats\" cannot be \"YUV\""},
      {"fail=FLY", "a camera's setting \"fail\" cannot be \"FLY\""},
      {"card=A;card=B", "a camera's settings hold no semicolon"},
  };
  for (const auto& [settings, why] : refused) {
    Process process({HOST_PROGRAM, "simulate", "camera", "--device", settings, "--", "/bin/true"});
    EXPECT_EQ(process.errors(), "vantiflux: " + why + "\n");
    EXPECT_EQ(process.wait(), 1);
  }
  Process process({HOST_PROGRAM, "simulate", "camera", "--", "/no/such/program", "--help"});
  EXPECT_EQ(process.errors(), "vantiflux: Cannot run \"/no/such/program\": No such file or directory\n");
  EXPECT_EQ(process.wait(), 1);
}

} // namespace
