#pragma once

#include <vantiflux/core/FieldRow.h>

namespace Vantiflux {

/// Rows of the field tables of nodes on a serial line that class N has setters and getters for; `standard` is the
/// default.
namespace SerialRows {

template <class N>
Field baudRate(const char* standard) {
  return fieldRow<N>(
      "BaudRate",
      "Baud rate of the serial port. Possible values are 110, 300, 600, 1200, 2400, 4800, 9600, 19200, 38400, "
      "57600 or 115200.",
      standard, &N::setBaudRate, &N::getBaudRate);
}

template <class N>
Field dataBits() {
  return fieldRow<N>("DataBits",
                     "Number of data bits used for the communication on the serial port. Possible values are 7 or 8.",
                     "8", &N::setDataBits, &N::getDataBits);
}

template <class N>
Field parity() {
  return fieldRow<N>(
      "Parity", "Type of parity used for the communication on the serial port. Possible values are even, odd or none.",
      "none", &N::setParity, &N::getParity);
}

template <class N>
Field handshake(const char* standard) {
  return fieldRow<N>("Handshake", "Type of handshake (flow control). Possible values are none, hardware or software.",
                     standard, &N::setHandshake, &N::getHandshake);
}

} // namespace SerialRows

} // namespace Vantiflux
