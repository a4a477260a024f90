#pragma once

#include <termios.h>

#include <string>

namespace portwise {

/// The settings of a serial line, as a text such as "9600,n,8,1" or "115200,e,7,2,xonxoff": bits per second, parity
/// (n, e, o, m or s), data bits (5 to 8), stop bits (1 or 2) and flow control (none when left out, xonxoff or x,
/// rtscts or p).
struct LineSettings {
  enum class Flow { None, XonXoff, RtsCts };

  speed_t speed = B9600;
  char parity = 'n';
  int dataBits = 8;
  int stopBits = 1;
  Flow flow = Flow::None;

  /// False, with what is wrong, when the text is not one of a line.
  static bool Parse(const std::string& text, LineSettings* settings, std::string* why);

  /// Makes the settings those of a terminal that passes bytes as they are, with a read that does not wait.
  void ApplyTo(termios* terminal) const;
};

}  // namespace portwise
