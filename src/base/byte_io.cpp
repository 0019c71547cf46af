#include "base/byte_io.h"

#include <atomic>
#include <cerrno>
#include <cstdio>
#include <string>
#include <fcntl.h>
#include <unistd.h>

namespace kelvane {

bool ReadWholeFile(const std::filesystem::path& path, ByteVector& out) {
  FILE* f = std::fopen(path.c_str(), "rb");
  if (!f) return false;
  out.clear();
  uint8_t buffer[65536];
  size_t n;
  while ((n = std::fread(buffer, 1, sizeof buffer, f)) > 0) out.insert(out.end(), buffer, buffer + n);
  const bool ok = !std::ferror(f);
  std::fclose(f);
  return ok;
}

static bool WriteAll(int fd, const ByteVector& bytes) {
  size_t done = 0;
  while (done < bytes.size()) {
    const ssize_t n = ::write(fd, bytes.data() + done, bytes.size() - done);
    if (n <= 0) return false;
    done += static_cast<size_t>(n);
  }
  return true;
}

bool OverwriteFileStart(const std::filesystem::path& path, const ByteVector& bytes) {
  const int fd = ::open(path.c_str(), O_WRONLY | O_CREAT, 0644);
  if (fd < 0) return false;
  const bool ok = WriteAll(fd, bytes);
  return ::close(fd) == 0 && ok;
}

bool MakeSiblingTempFile(const std::filesystem::path& path, std::filesystem::path& temp) {
  static std::atomic<unsigned> counter{0};
  for (int attempt = 0; attempt < 100; ++attempt) {
    temp = path;
    temp += "." + std::to_string(::getpid()) + "-" + std::to_string(counter++) + ".part";
    const int fd = ::open(temp.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0666);
    if (fd >= 0) {
      ::close(fd);
      return true;
    }
    if (errno != EEXIST) return false;
  }
  return false;
}

bool WriteFileAtomically(const std::filesystem::path& path, const ByteVector& bytes) {
  std::filesystem::path temp;
  if (!MakeSiblingTempFile(path, temp)) return false;
  const int fd = ::open(temp.c_str(), O_WRONLY | O_TRUNC | O_CLOEXEC);
  if (fd < 0) {
    std::error_code ec;
    std::filesystem::remove(temp, ec);
    return false;
  }
  bool ok = WriteAll(fd, bytes);
  ok = (::close(fd) == 0) && ok;
  std::error_code ec;
  if (ok) std::filesystem::rename(temp, path, ec);
  if (!ok || ec) {
    std::filesystem::remove(temp, ec);
    return false;
  }
  return true;
}

}  // namespace kelvane
