// Whether another instance of the program is running, for the start-up's
// warning. The first instance takes an exclusive advisory lock (flock) on a
// lock file keyed by the executable's path and holds it for its whole life;
// a later instance that finds the lock taken knows that one runs. The lock
// goes with the process, also when it crashes, so a stale file never counts.
//
// Contract:
//  - InstanceLockPath gives <temp folder>/kelvane-<16 hex digits>.lock, the
//    digits a 64-bit FNV-1a hash of the executable's path as given: two copies
//    of the program in different folders do not see each other.
//  - InstanceLock never throws. When the lock file cannot be made or locked
//    for a reason other than another holder (a read-only temp folder), no
//    instance is reported: the warning is a courtesy, never a refusal.
//  - Within one process a second InstanceLock on the same file also reports
//    the first one, as flock locks belong to open files, not processes.
#pragma once

#include <filesystem>
#include <string>

namespace kelvane {

std::filesystem::path InstanceLockPath(const std::filesystem::path& executablePath);

class InstanceLock {
 public:
  explicit InstanceLock(const std::filesystem::path& lockFile);
  ~InstanceLock();
  InstanceLock(const InstanceLock&) = delete;
  InstanceLock& operator=(const InstanceLock&) = delete;

  // True when another holder had the lock when this object was made.
  bool AnotherInstanceRuns() const { return anotherRuns_; }
  // True when this object holds the lock.
  bool Held() const { return fd_ >= 0; }

 private:
  int fd_ = -1;
  bool anotherRuns_ = false;
};

}  // namespace kelvane
