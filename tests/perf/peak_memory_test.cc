// Peak memory while writing is bounded by the queues and the open Cluster:
// half an hour of audio and video costs no more than three minutes, apart
// from the few bytes per Cluster of the cue and cluster index.
#include <gtest/gtest.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

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

// How far the peak resident size of a child process grows while it writes
// `seconds` of the A/V workload through the module to /dev/null; -1 when the
// module refused the file or a frame.
int64_t PeakGrowthKib(int seconds) {
  int ends[2];
  if (pipe(ends) != 0) {
    return -1;
  }
  const pid_t child = fork();
  if (child == 0) {
    const Workload workload = AudioVideo(seconds);
    const int64_t before = MaxRssKib();
    const bool ok = WriteSingleStream(workload, "/dev/null");
    const int64_t growth = ok ? MaxRssKib() - before : -1;
    _exit(write(ends[1], &growth, sizeof growth) == sizeof growth ? 0 : 1);
  }
  close(ends[1]);
  int64_t growth = -1;
  if (child < 0 || read(ends[0], &growth, sizeof growth) != sizeof growth) {
    growth = -1;
  }
  close(ends[0]);
  int status = 0;
  waitpid(child, &status, 0);
  return growth;
}

TEST(PeakMemory, DoesNotGrowWithTheFile) {
  const int64_t short_file = PeakGrowthKib(180);
  const int64_t long_file = PeakGrowthKib(1800);  // 1.9 GB of frames
  ASSERT_GE(short_file, 0);
  ASSERT_GE(long_file, 0);
  // A queue holds a few blocks, a Cluster 300 ms: some MiB of 200 kB frames.
  EXPECT_LT(long_file, 32 * 1024) << "KiB";
  EXPECT_LT(long_file - short_file, 4 * 1024)
      << "KiB: 3 min " << short_file << ", 30 min " << long_file;
}

}  // namespace
}  // namespace kx::bench
