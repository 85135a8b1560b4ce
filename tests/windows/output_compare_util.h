// Compares the files the Linux and the Windows module wrote for the same
// scenarios. The only bytes allowed to differ are the DateUTC value: the
// 8 bytes after the first DateUTC element header (ID 0x44 0x61, size 0x88).
#ifndef KX_TESTS_WINDOWS_OUTPUT_COMPARE_UTIL_H_
#define KX_TESTS_WINDOWS_OUTPUT_COMPARE_UTIL_H_

#include <cstdint>
#include <filesystem>
#include <string>
#include <vector>

namespace kx::testing {

// Zeroes the 8 value bytes after the first 0x44 0x61 0x88 in `bytes`. Only
// the first: Info is written once near the start of the file, and masking
// every match would hide differences in sample data. Returns false (and
// changes nothing) when there is no complete DateUTC element.
bool MaskDateUtc(std::vector<uint8_t>& bytes);

// Compares two files after masking; empty when equal, else what differs.
std::string CompareMasked(std::vector<uint8_t> reference, std::vector<uint8_t> candidate);

struct DirectoryComparison {
  int compared = 0;                   // files present on both sides and equal
  std::vector<std::string> problems;  // one line per difference
};

// Every regular file (by name, recursively) must exist on both sides with
// equal masked contents.
DirectoryComparison CompareDirectories(const std::filesystem::path& reference,
                                       const std::filesystem::path& candidate);

}  // namespace kx::testing

#endif  // KX_TESTS_WINDOWS_OUTPUT_COMPARE_UTIL_H_
