// Test support: command-line tools (ffprobe, mkvinfo) as black-box readers.
#ifndef KX_TESTS_SUPPORT_TOOLS_H_
#define KX_TESTS_SUPPORT_TOOLS_H_

#include <gtest/gtest.h>

#include <cstdint>
#include <initializer_list>
#include <string>
#include <vector>

namespace kx::test {

// Runs a shell command; returns its exit status and fills `output` with what
// it printed (stdout and stderr).
int RunCommand(const std::string& command, std::string* output = nullptr);

// The tools of the list that cannot be run, separated by spaces.
std::string MissingTools(std::initializer_list<const char*> tools);

// Stops the test when a tool is missing: a failure under CI=true, where the
// whole suite must run, a skip naming the tools elsewhere.
#define KX_REQUIRE_TOOLS(...)                                                                  \
  if (const std::string kx_missing = ::kx::test::MissingTools({__VA_ARGS__});                  \
      !kx_missing.empty()) {                                                                   \
    const char* kx_ci = std::getenv("CI");                                                     \
    if (kx_ci != nullptr && std::string(kx_ci) == "true") FAIL() << "missing: " << kx_missing; \
    GTEST_SKIP() << "missing tools: " << kx_missing;                                           \
  }

// One packet as `ffprobe -show_packets` reports it, in the stream's time base
// (milliseconds for Matroska); -1 where ffprobe says N/A.
struct ProbedPacket {
  int64_t pts = -1;
  int64_t size = 0;
  int64_t pos = -1;
  bool key = false;
};
// The packets of one stream (`selector` as for -select_streams: "v:0").
std::vector<ProbedPacket> ProbePackets(const std::string& path, const std::string& selector);

}  // namespace kx::test

#endif  // KX_TESTS_SUPPORT_TOOLS_H_
