#include "host/cli/interruption.h"

#include <poll.h>
#include <signal.h>
#include <termios.h>
#include <unistd.h>

#include <cstring>
#include <iterator>

namespace portwise {

namespace {

constexpr int kSignals[] = {SIGINT, SIGTERM, SIGHUP};
/// A signal that comes just before a wait does not end it, so waits are cut into pieces of this length.
constexpr int kSliceMilliseconds = 100;

volatile sig_atomic_t happened = 0;
const char* volatile lastWords = "";
struct sigaction before[std::size(kSignals)];
termios terminal;
bool onTerminal = false;

void Note(int signal) {
  if (happened) {
    // One who is in the background would be stopped here.
    if (onTerminal && tcgetpgrp(STDIN_FILENO) == getpgrp()) tcsetattr(STDIN_FILENO, TCSANOW, &terminal);
    const char* words = lastWords;
    if (write(STDOUT_FILENO, words, std::strlen(words)) < 0) _exit(1);
    _exit(128 + signal);
  }
  happened = 1;
}

}  // namespace

Interruption::Interruption(const char* farewell) {
  happened = 0;
  lastWords = farewell;
  onTerminal = tcgetattr(STDIN_FILENO, &terminal) == 0;
  for (std::size_t i = 0; i < std::size(kSignals); ++i) {
    struct sigaction action = {};
    action.sa_handler = Note;
    sigaction(kSignals[i], nullptr, &before[i]);
    if (before[i].sa_handler != SIG_IGN) sigaction(kSignals[i], &action, nullptr);
  }
}

Interruption::~Interruption() {
  for (std::size_t i = 0; i < std::size(kSignals); ++i) sigaction(kSignals[i], &before[i], nullptr);
}

bool Interruption::Happened() const { return happened != 0; }

bool Interruption::WaitFor(int milliseconds) const {
  for (int left = milliseconds; left > 0 && !Happened(); left -= kSliceMilliseconds)
    poll(nullptr, 0, left < kSliceMilliseconds ? left : kSliceMilliseconds);
  return Happened();
}

}  // namespace portwise
