// Decoder processes: third-party decoders run in a child process of their
// own, so that a damaged file can neither crash nor hang the program.
//
// Contract:
//  - RunInDecoderProcess forks. The child runs `work` with the write end of a
//    pipe, then leaves with _exit (no atexit handlers, no flushing of the
//    parent's buffers). The parent collects everything written to the pipe.
//  - The result is true only when the child wrote its answer and left with
//    exit code 0 before the time limit. A child that crashes, is killed, or
//    runs past the limit (it is then killed with SIGKILL) gives false, and
//    `output` holds whatever arrived before.
//  - The child's standard error goes to /dev/null: decoders print their own
//    complaints there. Set KELVANE_DECODER_STDERR=1 in the environment to keep
//    it while debugging.
//  - Global state that a library keeps (DevIL's bound image, its error stack)
//    dies with the child; the parent's copy of the library is never touched.
//  - Callable from any thread; the parent side holds no locks.
#pragma once

#include <chrono>
#include <cstdint>
#include <functional>
#include <vector>

namespace kelvane {

// Writes all bytes to the descriptor, retrying short writes. False on error.
bool WriteAllToDescriptor(int fd, const void* data, size_t size);

// The time limit of one decode. Generous: the largest legitimate files of the
// sample set decode in well under a second.
inline constexpr std::chrono::milliseconds kDecodeTimeLimit{30000};

bool RunInDecoderProcess(const std::function<bool(int out_fd)>& work, std::vector<uint8_t>& output,
                         std::chrono::milliseconds limit = kDecodeTimeLimit);

}  // namespace kelvane
