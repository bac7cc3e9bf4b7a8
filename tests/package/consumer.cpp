// What a user's first program needs of the installed package: headers, symbols of the library, templates made in it.
#include <sstream>

#include <vantiflux/core/Exception.h>
#include <vantiflux/values/Image.h>
#include <vantiflux/values/Matrix4.h>

int main() {
  Vantiflux::Matrix4<float> m;
  std::istringstream("2 0 0 1 0 2 0 2 0 0 2 3 0 0 0 1") >> m;
  if (m.det() != 8)
    return 1;
  Vantiflux::Image image;
  image.setParameters(4, 2, Vantiflux::Image::string2Format("yuyv"));
  if (image.size() != 16)
    return 2;
  try {
    throw Vantiflux::Exception("caught by its base");
  } catch (const std::exception& e) {
    return e.what() == std::string("caught by its base") ? 0 : 3;
  }
}
