#include "host/monitors/line_settings.h"

#include <algorithm>
#include <cctype>
#include <sstream>
#include <vector>

namespace portwise {

namespace {

struct SpeedRow {
  const char* text;
  speed_t speed;
};

constexpr SpeedRow kSpeeds[] = {
    {"300", B300},         {"600", B600},         {"1200", B1200},       {"2400", B2400},       {"4800", B4800},
    {"9600", B9600},       {"19200", B19200},     {"38400", B38400},     {"57600", B57600},     {"115200", B115200},
    {"230400", B230400},   {"460800", B460800},   {"500000", B500000},   {"921600", B921600},   {"1000000", B1000000},
    {"1500000", B1500000}, {"2000000", B2000000}, {"3000000", B3000000}, {"4000000", B4000000},
};

struct FlowRow {
  const char* text;
  LineSettings::Flow flow;
};

constexpr FlowRow kFlows[] = {
    {"none", LineSettings::Flow::None}, {"xonxoff", LineSettings::Flow::XonXoff},
    {"x", LineSettings::Flow::XonXoff}, {"rtscts", LineSettings::Flow::RtsCts},
    {"p", LineSettings::Flow::RtsCts},
};

constexpr tcflag_t kDataBits[] = {CS5, CS6, CS7, CS8};

std::vector<std::string> Fields(const std::string& text) {
  std::vector<std::string> fields(1);
  for (char byte : text) {
    if (byte == ',') {
      fields.emplace_back();
    } else if (byte != ' ') {
      fields.back() += static_cast<char>(std::tolower(static_cast<unsigned char>(byte)));
    }
  }
  return fields;
}

template <class Row, std::size_t kCount>
const Row* Find(const Row (&rows)[kCount], const std::string& text) {
  const auto* found = std::find_if(std::begin(rows), std::end(rows), [&](const Row& row) { return row.text == text; });
  return found == std::end(rows) ? nullptr : found;
}

bool IsOneOf(const std::string& field, const char* characters) {
  return field.size() == 1 && std::string(characters).find(field[0]) != std::string::npos;
}

}  // namespace

bool LineSettings::Parse(const std::string& text, LineSettings* settings, std::string* why) {
  const std::vector<std::string> fields = Fields(text);
  auto fail = [&](const std::string& reason) {
    *why = "the line settings \"" + text + "\" cannot be used: " + reason;
    return false;
  };
  if (fields.size() < 4 || fields.size() > 5)
    return fail("they are SPEED,PARITY,DATABITS,STOPBITS[,FLOW], such as 9600,n,8,1,xonxoff");
  const SpeedRow* speed = Find(kSpeeds, fields[0]);
  if (!speed) return fail("\"" + fields[0] + "\" is not a speed that lines have");
  if (!IsOneOf(fields[1], "neoms")) return fail("the parity is n, e, o, m or s");
  if (!IsOneOf(fields[2], "5678")) return fail("there are 5 to 8 data bits");
  if (!IsOneOf(fields[3], "12")) return fail("there are 1 or 2 stop bits");
  const FlowRow* flow = Find(kFlows, fields.size() == 5 ? fields[4] : "none");
  if (!flow) return fail("the flow control is none, xonxoff or rtscts");
  *settings = {speed->speed, fields[1][0], fields[2][0] - '0', fields[3][0] - '0', flow->flow};
  return true;
}

void LineSettings::ApplyTo(termios* terminal) const {
  cfmakeraw(terminal);
  terminal->c_cflag &= ~static_cast<tcflag_t>(CSIZE | CSTOPB | PARENB | PARODD | CMSPAR | CRTSCTS);
  // The modem lines say nothing about a printer.
  terminal->c_cflag |= kDataBits[dataBits - 5] | CLOCAL | CREAD;
  if (stopBits == 2) terminal->c_cflag |= CSTOPB;
  if (parity != 'n') terminal->c_cflag |= PARENB;
  if (parity == 'o' || parity == 'm') terminal->c_cflag |= PARODD;
  if (parity == 'm' || parity == 's') terminal->c_cflag |= CMSPAR;
  if (flow == Flow::RtsCts) terminal->c_cflag |= CRTSCTS;
  terminal->c_iflag &= ~static_cast<tcflag_t>(IXON | IXOFF | IXANY);
  if (flow == Flow::XonXoff) terminal->c_iflag |= IXON | IXOFF;
  terminal->c_cc[VMIN] = 0;
  terminal->c_cc[VTIME] = 0;
  cfsetispeed(terminal, speed);
  cfsetospeed(terminal, speed);
}

}  // namespace portwise
