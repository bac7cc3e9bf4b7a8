#include <vantiflux/devices/RFBPointer.h>

#include <algorithm>
#include <cmath>
#include <utility>

#include <vantiflux/devices/RFBStream.h>

namespace Vantiflux {

void RFBPointer::open(Send send, std::uint16_t width, std::uint16_t height) {
  send_ = std::move(send);
  toldX_ = toldY_ = 0;
  toldButtons_ = 0;
  refused_ = false;
  resize(width, height);
  tell();
}

void RFBPointer::resize(std::uint16_t width, std::uint16_t height) {
  width_ = width;
  height_ = height;
}

void RFBPointer::close() {
  send_ = nullptr;
}

void RFBPointer::tellAgain() {
  if (refused_)
    tell();
}

void RFBPointer::move(float x, float y) {
  if (std::isnan(x) || std::isnan(y))
    return;
  moved_ = true;
  x_ = std::clamp(x, 0.0F, 1.0F);
  y_ = std::clamp(y, 0.0F, 1.0F);
  tell();
}

void RFBPointer::press(unsigned bit, bool down) {
  const unsigned mask = 1U << bit;
  buttons_ = static_cast<std::uint8_t>(down ? buttons_ | mask : buttons_ & ~mask);
  tell();
}

void RFBPointer::tell() {
  if (!send_)
    return;
  std::uint16_t x = toldX_;
  std::uint16_t y = toldY_;
  if (moved_) {
    const auto right = static_cast<float>(width_ - 1);
    const auto bottom = static_cast<float>(height_ - 1);
    x = static_cast<std::uint16_t>(right * x_);
    y = static_cast<std::uint16_t>(bottom - bottom * y_);
  }
  const bool pressed = buttons_ != toldButtons_;
  refused_ =
      (pressed || x != toldX_ || y != toldY_) && !send_(RFBMessage().u8(5).u8(buttons_).u16(x).u16(y).bytes(), pressed);
  if (refused_)
    return;
  toldX_ = x;
  toldY_ = y;
  toldButtons_ = buttons_;
}

} // namespace Vantiflux
