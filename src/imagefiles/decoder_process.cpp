#include "imagefiles/decoder_process.h"

#include <fcntl.h>
#include <poll.h>
#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <cstring>

namespace kelvane {

bool WriteAllToDescriptor(int fd, const void* data, size_t size) {
  const auto* p = static_cast<const uint8_t*>(data);
  while (size > 0) {
    const ssize_t n = ::write(fd, p, size);
    if (n < 0) {
      if (errno == EINTR) continue;
      return false;
    }
    p += n;
    size -= static_cast<size_t>(n);
  }
  return true;
}

namespace {

[[noreturn]] void RunChild(int write_end, const std::function<bool(int)>& work) {
  const char* keep = std::getenv("KELVANE_DECODER_STDERR");
  if (!keep || !*keep || std::strcmp(keep, "0") == 0) {
    const int null_fd = ::open("/dev/null", O_WRONLY);
    if (null_fd >= 0) {
      ::dup2(null_fd, STDERR_FILENO);
      ::close(null_fd);
    }
  }
  // A parent that stops listening ends the child quietly.
  ::signal(SIGPIPE, SIG_DFL);
  bool ok = false;
  try {
    ok = work(write_end);
  } catch (...) {
    ok = false;
  }
  ::close(write_end);
  ::_exit(ok ? 0 : 3);
}

}  // namespace

bool RunInDecoderProcess(const std::function<bool(int out_fd)>& work, std::vector<uint8_t>& output,
                         std::chrono::milliseconds limit) {
  output.clear();
  int fds[2];
  if (::pipe2(fds, O_CLOEXEC) != 0) return false;
  const pid_t pid = ::fork();
  if (pid < 0) {
    ::close(fds[0]);
    ::close(fds[1]);
    return false;
  }
  if (pid == 0) {
    ::close(fds[0]);
    RunChild(fds[1], work);
  }
  ::close(fds[1]);

  const auto deadline = std::chrono::steady_clock::now() + limit;
  bool timed_out = false;
  uint8_t chunk[65536];
  for (;;) {
    const auto left = std::chrono::duration_cast<std::chrono::milliseconds>(deadline - std::chrono::steady_clock::now());
    if (left.count() <= 0) {
      timed_out = true;
      break;
    }
    pollfd p{fds[0], POLLIN, 0};
    const int ready = ::poll(&p, 1, static_cast<int>(left.count()));
    if (ready < 0) {
      if (errno == EINTR) continue;
      timed_out = true;  // cannot wait any more: give up on the child
      break;
    }
    if (ready == 0) continue;  // the loop head notices the deadline
    const ssize_t n = ::read(fds[0], chunk, sizeof chunk);
    if (n < 0) {
      if (errno == EINTR || errno == EAGAIN) continue;
      break;
    }
    if (n == 0) break;  // the child closed its end
    output.insert(output.end(), chunk, chunk + n);
  }
  ::close(fds[0]);
  if (timed_out) ::kill(pid, SIGKILL);

  int status = 0;
  while (::waitpid(pid, &status, 0) < 0) {
    if (errno != EINTR) return false;
  }
  return !timed_out && WIFEXITED(status) && WEXITSTATUS(status) == 0;
}

}  // namespace kelvane
