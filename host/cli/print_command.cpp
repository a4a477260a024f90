#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <chrono>
#include <cstdio>
#include <cstring>
#include <memory>
#include <thread>

#include "host/cli/client.h"
#include "host/cli/commands.h"
#include "platform/kernel/unique_fd.h"

namespace portwise {

using Json = nlohmann::json;

namespace {

constexpr std::size_t kChunk = std::size_t{1} << 20;
constexpr std::chrono::milliseconds kPollPeriod{200};

struct PrintArguments {
  std::string printer;
  std::vector<std::string> files;
  std::string document;
  std::string user;
  bool wait = false;
};

std::string MachineName() {
  char name[256] = {};
  return gethostname(name, sizeof(name) - 1) == 0 ? name : "";
}

std::string DocumentName(const std::string& file) {
  return file == "-" ? "standard input" : file.substr(file.rfind('/') + 1);
}

/// The next piece of a file, at its end an empty one.
std::string ReadChunk(int file, const std::string& name) {
  std::string chunk(kChunk, '\0');
  std::size_t filled = 0;
  while (filled < chunk.size()) {
    ssize_t got = read(file, chunk.data() + filled, chunk.size() - filled);
    if (got < 0 && errno == EINTR) continue;
    if (got < 0) throw CommandError("cannot read " + name + ": " + std::strerror(errno));
    if (got == 0) break;
    filled += static_cast<std::size_t>(got);
  }
  chunk.resize(filled);
  return chunk;
}

unsigned Submit(Client& client, const PrintArguments& arguments, const std::string& name) {
  platform::UniqueFd file(name == "-" ? dup(STDIN_FILENO) : open(name.c_str(), O_RDONLY | O_CLOEXEC));
  if (!file) throw CommandError("cannot open " + name + ": " + std::strerror(errno));
  std::string chunk = ReadChunk(file.Get(), name);
  client.Ask({{"op", "submit-begin"},
              {"printer", arguments.printer},
              {"document", arguments.document.empty() ? DocumentName(name) : arguments.document},
              {"user", arguments.user},
              {"machine", MachineName()}});
  std::uint64_t size = 0;
  for (; !chunk.empty(); chunk = ReadChunk(file.Get(), name)) {
    client.Ask({{"op", "submit-data"}}, chunk);
    size += chunk.size();
  }
  return client.Ask({{"op", "submit-end"}, {"size", size}}).head.value("job", 0u);
}

/// Returns when the job has printed; throws when it never will by itself.
void WaitFor(Client& client, unsigned job) {
  std::string title = "job " + std::to_string(job);
  std::string shown;
  for (;; std::this_thread::sleep_for(kPollPeriod)) {
    Json head = client.Call({{"op", "job-get"}, {"job", job}}).head;
    if (head["error"] != 0u) {
      std::string outcome = head.value("outcome", "unknown");
      if (outcome == "deleted") throw CommandError(title + " was deleted");
      if (outcome != "printed") throw CommandError(title + " has left the queue; how is not known");
      std::fprintf(stderr, "%s: printed\n", title.c_str());
      return;
    }
    std::string state = head.value("state", "");
    std::string reason = head.value("reason", "");
    if (state == "held") throw CommandError(title + " is held: " + reason);
    std::string line = title + ": " + state + ", " + std::to_string(head.value("taken", std::uint64_t{0})) + " of " +
                       std::to_string(head.value("size", std::uint64_t{0})) + " bytes" +
                       (reason.empty() ? "" : " (" + reason + ")");
    if (line != shown) std::fprintf(stderr, "%s\n", line.c_str());
    shown = line;
  }
}

void Print(const PrintArguments& arguments) {
  Client client;
  std::vector<unsigned> jobs;
  for (const std::string& file : arguments.files) {
    jobs.push_back(Submit(client, arguments, file));
    std::printf("job %u\n", jobs.back());
    std::fflush(stdout);
  }
  for (std::size_t job = 0; arguments.wait && job < jobs.size(); ++job) WaitFor(client, jobs[job]);
}

}  // namespace

void AddPrintCommand(CLI::App& app) {
  auto arguments = std::make_shared<PrintArguments>();
  CLI::App* print = app.add_subcommand("print", "Print files as they are, each as a job");
  print->add_option("PRINTER", arguments->printer, "The printer")->required();
  print->add_option("FILE", arguments->files, "The files; - is standard input")->required();
  print->add_option("--name", arguments->document, "The document's name (the file's when left out)");
  print->add_option("--user", arguments->user, "Whom the job belongs to (you when left out)");
  print->add_flag("--wait", arguments->wait, "Wait until the jobs have printed; fail when one is held or deleted");
  print->callback([arguments] { Print(*arguments); });
}

}  // namespace portwise
