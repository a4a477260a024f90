#include "host/spool_folder.h"

#include <dirent.h>
#include <fcntl.h>
#include <sys/stat.h>

#include <algorithm>
#include <cerrno>
#include <charconv>
#include <cstdio>
#include <cstring>

#include "host/complain.h"

namespace portwise {

using platform::UniqueFd;

namespace {

constexpr char kLastId[] = "last-id";
/// Progress is a decimal number of this many digits, so that each new one covers the one before.
constexpr int kProgressDigits = 20;

std::string FileName(DWORD id, const char* extension) {
  char name[32];
  std::snprintf(name, sizeof(name), "%05u.%s", id, extension);
  return name;
}

template <class Number>
Number ParseNumber(const std::string& text) {
  Number number = 0;
  std::from_chars(text.data(), text.data() + text.size(), number);
  return number;
}

std::string Describe(const std::string& what) { return what + ": " + std::strerror(errno); }

bool WriteAll(int file, const std::string& content) {
  std::size_t done = 0;
  while (done < content.size()) {
    ssize_t written = write(file, content.data() + done, content.size() - done);
    if (written < 0 && errno == EINTR) continue;
    if (written <= 0) return false;
    done += static_cast<std::size_t>(written);
  }
  return true;
}

std::vector<std::string> ListFiles(int folder) {
  std::vector<std::string> names;
  int copy = openat(folder, ".", O_RDONLY | O_DIRECTORY | O_CLOEXEC);
  DIR* listing = copy < 0 ? nullptr : fdopendir(copy);
  if (!listing) return names;
  while (const dirent* entry = readdir(listing)) names.emplace_back(entry->d_name);
  closedir(listing);
  std::sort(names.begin(), names.end());
  return names;
}

}  // namespace

std::unique_ptr<SpoolFolder> SpoolFolder::Open(const std::string& home, std::string* why) {
  std::string path = home + "/spool";
  UniqueFd folder;
  if (mkdir(path.c_str(), 0700) == 0 || errno == EEXIST)
    folder = UniqueFd(open(path.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
  if (!folder || faccessat(folder.Get(), ".", W_OK | X_OK, AT_EACCESS) != 0) {
    *why = Describe("the spool folder " + path + " cannot be used");
    return nullptr;
  }
  return std::unique_ptr<SpoolFolder>(new SpoolFolder(std::move(folder)));
}

std::vector<Job> SpoolFolder::Load() {
  std::vector<std::string> names = ListFiles(folder_.Get());
  std::vector<Job> jobs;
  lastId_ = ParseNumber<DWORD>(ReadFile(kLastId));
  for (const std::string& name : names) {
    std::size_t dot = name.find('.');
    std::string extension = dot == std::string::npos ? std::string() : name.substr(dot);
    DWORD id = ParseNumber<DWORD>(name);
    lastId_ = std::max(lastId_, id);
    if (extension == ".json") {
      auto job = LoadJob(name);
      std::string why;
      if (job && job->deleting) {
        if (!Remove(id, &why)) Complain(why);
      } else if (job) {
        jobs.push_back(*job);
      }
      continue;
    }
    bool record = std::binary_search(names.begin(), names.end(), FileName(id, "json"));
    bool ours = extension == ".spl" || extension == ".progress";
    if (name.ends_with(".tmp") || (ours && !record)) unlinkat(folder_.Get(), name.c_str(), 0);
  }
  std::sort(jobs.begin(), jobs.end(), [](const Job& left, const Job& right) { return left.id < right.id; });
  return jobs;
}

std::optional<Job> SpoolFolder::LoadJob(const std::string& name) {
  auto job = FromRecord(nlohmann::json::parse(ReadFile(name), nullptr, false));
  if (!job || FileName(job->id, "json") != name) {
    Complain("spool/" + name + " is damaged and stays where it is; its job is not in the queue");
    return std::nullopt;
  }
  if (job->begun) job->taken = ParseNumber<std::uint64_t>(ReadFile(FileName(job->id, "progress")));
  if (job->begun && job->state != JobState::Held) {
    job->state = JobState::Held;
    job->reason = InterruptedReason(*job);
  }
  CheckData(&*job);
  return job;
}

void SpoolFolder::CheckData(Job* job) {
  struct stat status {};
  bool there = fstatat(folder_.Get(), FileName(job->id, "spl").c_str(), &status, 0) == 0;
  std::uint64_t size = there ? static_cast<std::uint64_t>(status.st_size) : 0;
  if (there && size == job->size) return;
  job->state = JobState::Held;
  job->reason = "only " + std::to_string(size) + " of " + std::to_string(job->size) + " bytes of its data are on disk";
}

bool SpoolFolder::SaveLastId(DWORD id, std::string* why) { return WriteDurably(kLastId, std::to_string(id), why); }

bool SpoolFolder::SaveJob(const Job& job, std::string* why) {
  std::string text = ToRecord(job).dump(2, ' ', false, nlohmann::json::error_handler_t::replace);
  return WriteDurably(FileName(job.id, "json"), text, why);
}

UniqueFd SpoolFolder::CreateData(DWORD id, std::string* why) {
  return OpenFile(FileName(id, "spl"), O_RDWR | O_CREAT | O_EXCL, why);
}

UniqueFd SpoolFolder::OpenData(DWORD id, std::string* why) { return OpenFile(FileName(id, "spl"), O_RDONLY, why); }

UniqueFd SpoolFolder::CreateProgress(DWORD id, std::string* why) {
  UniqueFd file = OpenFile(FileName(id, "progress"), O_RDWR | O_CREAT | O_TRUNC, why);
  if (file) SaveProgress(file, 0);
  return file;
}

void SpoolFolder::SaveProgress(const UniqueFd& file, std::uint64_t taken) {
  char text[kProgressDigits + 1];
  std::snprintf(text, sizeof(text), "%0*llu", kProgressDigits, static_cast<unsigned long long>(taken));
  // A progress that cannot be kept only makes the reason of a held job less exact.
  [[maybe_unused]] ssize_t written = pwrite(file.Get(), text, kProgressDigits, 0);
}

bool SpoolFolder::Remove(DWORD id, std::string* why) {
  const std::string record = FileName(id, "json");
  if (unlinkat(folder_.Get(), record.c_str(), 0) != 0 && errno != ENOENT) {
    *why = Describe("spool/" + record + " cannot be removed");
    return false;
  }
  fsync(folder_.Get());
  unlinkat(folder_.Get(), FileName(id, "spl").c_str(), 0);
  unlinkat(folder_.Get(), FileName(id, "progress").c_str(), 0);
  return true;
}

UniqueFd SpoolFolder::OpenFile(const std::string& name, int flags, std::string* why) {
  UniqueFd file(openat(folder_.Get(), name.c_str(), flags | O_CLOEXEC, 0600));
  if (!file) *why = Describe("spool/" + name + " cannot be opened");
  return file;
}

bool SpoolFolder::WriteDurably(const std::string& name, const std::string& content, std::string* why) {
  std::string temporary = name + ".tmp";
  UniqueFd file = OpenFile(temporary, O_WRONLY | O_CREAT | O_TRUNC, why);
  if (!file) return false;
  if (WriteAll(file.Get(), content) && fsync(file.Get()) == 0 &&
      renameat(folder_.Get(), temporary.c_str(), folder_.Get(), name.c_str()) == 0 && fsync(folder_.Get()) == 0)
    return true;
  *why = Describe("spool/" + name + " cannot be written");
  unlinkat(folder_.Get(), temporary.c_str(), 0);
  return false;
}

std::string SpoolFolder::ReadFile(const std::string& name) {
  std::string content;
  UniqueFd file(openat(folder_.Get(), name.c_str(), O_RDONLY | O_CLOEXEC));
  char buffer[4096];
  for (ssize_t size; file && (size = read(file.Get(), buffer, sizeof(buffer))) > 0;)
    content.append(buffer, static_cast<std::size_t>(size));
  return content;
}

}  // namespace portwise
