#include <fcntl.h>
#include <signal.h>
#include <sys/file.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "host/complain.h"
#include "host/server.h"
#include "host/spooler.h"
#include "host/system_files.h"
#include "platform/home.h"
#include "platform/registry/registry_control.h"

namespace portwise {

namespace {

constexpr char kUsage[] =
    "portwise-spooler: the print spooler. It takes no arguments, serves the home that PORTWISE_HOME names, prints\n"
    "'ready' on standard output when it does, and ends on SIGTERM.\n";

constexpr std::chrono::seconds kStopTime{10};

/// The lock on a home, which only one spooler can hold; it ends with the process.
platform::UniqueFd LockHome(const std::string& home, std::string* why) {
  std::string path = home + "/spooler.lock";
  platform::UniqueFd lock(open(path.c_str(), O_RDWR | O_CREAT | O_CLOEXEC, 0600));
  if (!lock) {
    *why = "cannot open " + path + ": " + std::strerror(errno);
    return {};
  }
  if (flock(lock.Get(), LOCK_EX | LOCK_NB) == 0) return lock;
  *why = errno == EWOULDBLOCK ? "another spooler serves " + home + " already"
                              : "cannot lock " + path + ": " + std::strerror(errno);
  return {};
}

sigset_t StopSignals() {
  sigset_t signals;
  sigemptyset(&signals);
  for (int signal : {SIGTERM, SIGINT, SIGHUP}) sigaddset(&signals, signal);
  return signals;
}

/// A thousand clients of the monitor's network service take three descriptors each, which is more than what programs
/// get unless they ask.
void RaiseFileLimit() {
  constexpr rlim_t kEnough = 16384;
  rlimit limit;
  if (getrlimit(RLIMIT_NOFILE, &limit) != 0 || limit.rlim_cur >= kEnough) return;
  limit.rlim_cur = std::min(limit.rlim_max, kEnough);
  setrlimit(RLIMIT_NOFILE, &limit);
}

int Refuse(const std::string& why) {
  Complain(why);
  return 1;
}

int RunSpooler() {
  // What the spooler and its monitors write (dumps, logs, captures) shows what is printed: it is for those who may use
  // the spooler, and for nobody else.
  umask(0007);
  // Before any thread, so that all threads inherit it and the signals come to sigwait alone.
  sigset_t signals = StopSignals();
  pthread_sigmask(SIG_BLOCK, &signals, nullptr);
  RaiseFileLimit();
  // A printer that goes away, or a file that may not grow, is an error of the call and no reason to die.
  signal(SIGPIPE, SIG_IGN);
  signal(SIGXFSZ, SIG_IGN);

  std::string why;
  std::string home = platform::Home();
  platform::UniqueFd lock = LockHome(home, &why);
  if (!lock) return Refuse(why);
  if (std::string fault = platform::RegistryFault(); !fault.empty()) return Refuse(fault);
  // Without them the event log still shows what its entries say, and everything is in English.
  if (std::string fault = InstallSystemFiles(); !fault.empty()) Complain(fault);
  auto spooler = Spooler::Start(home, &why);
  if (!spooler) return Refuse(why);
  auto server = Server::Start(home, *spooler, &why);
  int signal = 0;
  if (server) {
    std::puts("ready");
    std::fflush(stdout);
    sigwait(&signals, &signal);
  } else {
    Complain(why);
  }
  auto limit = std::chrono::steady_clock::now() + kStopTime;
  spooler->BeginStop();
  bool ended = (!server || server->Stop(limit));
  ended = spooler->Stop(limit) && ended;
  // Threads that are still in the monitor use everything that destructors would take away. What they were at is on
  // disk as it must be.
  if (!ended) std::_Exit(server ? 0 : 1);
  return server ? 0 : 1;
}

}  // namespace

}  // namespace portwise

int main(int argc, char**) {
  if (argc > 1) {
    std::fputs(portwise::kUsage, stderr);
    return 2;
  }
  return portwise::RunSpooler();
}
