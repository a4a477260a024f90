#include "platform/kernel/share_table.h"

#include <algorithm>
#include <mutex>
#include <vector>

namespace portwise::platform {
namespace {

struct Claim {
  unsigned long long id;
  dev_t device;
  ino_t inode;
  DWORD access;
  DWORD share;
};

struct Table {
  std::mutex mutex;
  std::vector<Claim> claims;
  unsigned long long lastId = 0;
};

Table& Claims() {
  static auto& table = *new Table;
  return table;
}

bool IsSameFile(const Claim& claim, const struct stat& file) {
  return claim.device == file.st_dev && claim.inode == file.st_ino;
}

bool Shares(DWORD share, DWORD access) {
  return (!(access & GENERIC_READ) || (share & FILE_SHARE_READ)) &&
         (!(access & GENERIC_WRITE) || (share & FILE_SHARE_WRITE));
}

}  // namespace

std::optional<ShareClaim> ShareClaim::Take(const struct stat& file, DWORD access, DWORD share) {
  std::lock_guard lock(Claims().mutex);
  if (!(access & (GENERIC_READ | GENERIC_WRITE))) {
    share = FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE;
  }
  for (const Claim& other : Claims().claims) {
    if (IsSameFile(other, file) && !(Shares(other.share, access) && Shares(share, other.access))) return std::nullopt;
  }
  const auto id = ++Claims().lastId;
  Claims().claims.push_back({id, file.st_dev, file.st_ino, access, share});
  return ShareClaim(id);
}

bool ShareClaim::MayDelete(const struct stat& file) {
  std::lock_guard lock(Claims().mutex);
  return std::all_of(Claims().claims.begin(), Claims().claims.end(), [&file](const Claim& claim) {
    return !IsSameFile(claim, file) || (claim.share & FILE_SHARE_DELETE);
  });
}

ShareClaim::~ShareClaim() {
  if (id_ == 0) return;
  std::lock_guard lock(Claims().mutex);
  std::erase_if(Claims().claims, [this](const Claim& claim) { return claim.id == id_; });
}

}  // namespace portwise::platform
