#include "shell/single_instance.h"

#include <fcntl.h>
#include <sys/file.h>
#include <unistd.h>

#include <cerrno>
#include <cstdint>
#include <cstdio>

#include "imagefiles/load_bitmap.h"

namespace kelvane {

std::filesystem::path InstanceLockPath(const std::filesystem::path& executablePath) {
  uint64_t hash = 1469598103934665603ull;
  for (unsigned char c : executablePath.string()) {
    hash ^= c;
    hash *= 1099511628211ull;
  }
  char digits[17];
  std::snprintf(digits, sizeof digits, "%016llx", static_cast<unsigned long long>(hash));
  return std::filesystem::path(GetTempFolder()) / ("kelvane-" + std::string(digits) + ".lock");
}

InstanceLock::InstanceLock(const std::filesystem::path& lockFile) {
  const int fd = ::open(lockFile.c_str(), O_RDWR | O_CREAT | O_CLOEXEC, 0644);
  if (fd < 0) return;
  if (::flock(fd, LOCK_EX | LOCK_NB) == 0) {
    fd_ = fd;
    return;
  }
  anotherRuns_ = errno == EWOULDBLOCK;
  ::close(fd);
}

InstanceLock::~InstanceLock() {
  if (fd_ >= 0) ::close(fd_);  // closing the file releases the lock
}

}  // namespace kelvane
