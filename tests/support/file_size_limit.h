#pragma once

#ifdef _WIN32
#include "tests/windows/file_size_limit.h"
#else
#include <sys/resource.h>

#include <csignal>

namespace portwise {

/// A full disk, for a scope: no file of the process grows beyond `bytes`.
class FileSizeLimit {
 public:
  explicit FileSizeLimit(rlim_t bytes) {
    std::signal(SIGXFSZ, SIG_IGN);
    getrlimit(RLIMIT_FSIZE, &before_);
    const rlimit small{bytes, before_.rlim_max};
    setrlimit(RLIMIT_FSIZE, &small);
  }
  ~FileSizeLimit() { setrlimit(RLIMIT_FSIZE, &before_); }
  FileSizeLimit(const FileSizeLimit&) = delete;
  FileSizeLimit& operator=(const FileSizeLimit&) = delete;

 private:
  rlimit before_ = {};
};

}  // namespace portwise
#endif
