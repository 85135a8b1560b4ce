// Compares the scenario files of the Linux module (reference) with those of
// the Windows module, masking only DateUTC.
//
// Usage: output_compare REFERENCE_DIR CANDIDATE_DIR
#include <cstdio>

#include "tests/windows/output_compare_util.h"

int main(int argc, char** argv) {
  if (argc != 3) {
    std::fprintf(stderr, "usage: %s REFERENCE_DIR CANDIDATE_DIR\n", argv[0]);
    return 2;
  }
  const auto result = kx::testing::CompareDirectories(argv[1], argv[2]);
  for (const auto& problem : result.problems) std::printf("DIFFERENT %s\n", problem.c_str());
  if (result.compared == 0 && result.problems.empty()) {
    std::printf("no scenario wrote a file on either side: nothing to compare\n");
  } else {
    std::printf("%d files identical apart from DateUTC, %zu different\n", result.compared,
                result.problems.size());
  }
  return result.problems.empty() ? 0 : 1;
}
