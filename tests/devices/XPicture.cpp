// A program on an X screen: fills it with the picture, tells of the pointer, and does what it is told.
//   XPicture DISPLAY, and on standard input lines of:
//     draw SEED                     the picture
//     copy X Y WIDTH HEIGHT TOX TOY
// It answers each with "done", and prints "press B X Y", "release B X Y".
#include <cstdint>
#include <iostream>
#include <sstream>
#include <string>
#include <vector>

#include <poll.h>
#include <unistd.h>

#include <X11/Xlib.h>
#include <X11/Xutil.h>

#include "Picture.h"

namespace {

class Program {
public:
  explicit Program(const char* name) : display_(XOpenDisplay(name)) {
    if (display_ == nullptr)
      return;
    XSetWindowAttributes attributes{};
    attributes.override_redirect = True;
    attributes.event_mask = ButtonPressMask | ButtonReleaseMask | PointerMotionMask;
    window_ = XCreateWindow(display_, DefaultRootWindow(display_), 0, 0, 2000, 2000, 0, CopyFromParent, InputOutput,
                            CopyFromParent, CWOverrideRedirect | CWEventMask, &attributes);
    context_ = XCreateGC(display_, window_, 0, nullptr);
    XMapRaised(display_, window_);
    XSync(display_, False);
  }

  int run() {
    if (display_ == nullptr)
      return 1;
    std::cout << "ready" << std::endl;
    pollfd sources[]{{STDIN_FILENO, POLLIN, 0}, {ConnectionNumber(display_), POLLIN, 0}};
    for (std::string line;;) {
      while (XPending(display_) > 0)
        tellEvent();
      if (poll(sources, 2, -1) < 0)
        return 1;
      char c = 0;
      if (sources[0].revents == 0)
        continue;
      if (read(STDIN_FILENO, &c, 1) != 1)
        return 0;
      if (c != '\n') {
        line += c;
        continue;
      }
      obey(line);
      line.clear();
    }
  }

private:
  void tellEvent() {
    XEvent event;
    XNextEvent(display_, &event);
    if (event.type == ButtonPress || event.type == ButtonRelease)
      std::cout << (event.type == ButtonPress ? "press " : "release ") << event.xbutton.button << ' ' << event.xbutton.x
                << ' ' << event.xbutton.y << std::endl;
  }

  void obey(const std::string& line) {
    std::istringstream words(line);
    std::string verb;
    words >> verb;
    if (verb == "draw") {
      unsigned seed = 0;
      words >> seed;
      draw(seed);
    } else {
      int x = 0, y = 0, toX = 0, toY = 0;
      unsigned width = 0, height = 0;
      words >> x >> y >> width >> height >> toX >> toY;
      XCopyArea(display_, window_, window_, context_, x, y, width, height, toX, toY);
    }
    XSync(display_, False);
    std::cout << "done" << std::endl;
  }

  void draw(unsigned seed) {
    XWindowAttributes root{};
    XGetWindowAttributes(display_, DefaultRootWindow(display_), &root);
    const auto width = static_cast<unsigned>(root.width);
    const auto height = static_cast<unsigned>(root.height);
    std::vector<std::uint32_t> pixels;
    for (unsigned y = 0; y < height; ++y)
      for (unsigned x = 0; x < width; ++x)
        pixels.push_back(test::pictureAt(x, y, seed));
    XImage* const image =
        XCreateImage(display_, DefaultVisual(display_, DefaultScreen(display_)), 24, ZPixmap, 0,
                     reinterpret_cast<char*>(pixels.data()), width, height, 32, static_cast<int>(width * 4));
    XPutImage(display_, window_, context_, image, 0, 0, 0, 0, width, height);
    XSync(display_, False);
    image->data = nullptr;
    XDestroyImage(image);
  }

  Display* display_;
  Window window_ = 0;
  GC context_ = nullptr;
};

} // namespace

int main(int argc, char** argv) {
  return argc == 2 ? Program(argv[1]).run() : 2;
}
