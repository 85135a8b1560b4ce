// Peak memory while writing is bounded by the queues and the open Cluster:
// half an hour of audio and video costs no more than three minutes, apart
// from the few bytes per Cluster of the cue and cluster index.
#include <gtest/gtest.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>

#include "bench/module_writers.h"
#include "bench/workloads.h"

// Freed blocks must be reused at once for the resident size to mean anything
// under AddressSanitizer, whose runtime looks this function up by name.
// NOLINTNEXTLINE(bugprone-reserved-identifier): the name the runtime looks for
extern "C" __attribute__((visibility("default"))) const char* __asan_default_options() {
  return "quarantine_size_mb=0:thread_local_quarantine_size_kb=0";
}

namespace kx::bench {
namespace {

int64_t MaxRssKib() {
  rusage usage{};
  getrusage(RUSAGE_SELF, &usage);
  return usage.ru_maxrss;
}

// How far, in units of 256 KiB, the peak resident size of a child process
// grows while it writes `seconds` of the A/V workload through the module to
// /dev/null. The child's exit status carries it (254 for 254 and more); -1
// when the module refused the file or a frame.
int64_t PeakGrowth(int seconds) {
  const pid_t child = fork();
  if (child == 0) {
    const Workload workload = AudioVideo(seconds);
    const int64_t before = MaxRssKib();
    const bool ok = WriteSingleStream(workload, "/dev/null");
    _exit(ok ? static_cast<int>(std::min<int64_t>((MaxRssKib() - before) / 256, 254)) : 255);
  }
  int status = 0;
  const bool exited = child > 0 && waitpid(child, &status, 0) == child && WIFEXITED(status);
  return exited && WEXITSTATUS(status) != 255 ? WEXITSTATUS(status) : -1;
}

TEST(PeakMemory, DoesNotGrowWithTheFile) {
  const int64_t short_file = PeakGrowth(180);
  const int64_t long_file = PeakGrowth(1800);  // 1.9 GB of frames
  ASSERT_GE(short_file, 0);
  ASSERT_GE(long_file, 0);
  // A queue holds a few blocks, a Cluster 300 ms: some MiB of 200 kB frames.
  EXPECT_LT(long_file, 32 * 4) << "x 256 KiB";
  EXPECT_LT(long_file - short_file, 4 * 4)
      << "x 256 KiB: 3 min " << short_file << ", 30 min " << long_file;
}

}  // namespace
}  // namespace kx::bench
