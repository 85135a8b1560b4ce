#include <gtest/gtest.h>
#include <unistd.h>

#include <cstdio>
#include <filesystem>
#include <fstream>

#include "tests/windows/output_compare_util.h"

namespace kx::testing {
namespace {

// An Info-like run: ... DateUTC header, 8 value bytes, then a Title.
std::vector<uint8_t> Dated(uint8_t stamp, uint8_t after) {
  std::vector<uint8_t> bytes = {0x15, 0x49, 0xA9, 0x66, 0x44, 0x61, 0x88};
  for (int i = 0; i < 8; ++i) bytes.push_back(static_cast<uint8_t>(stamp + i));
  bytes.push_back(after);
  return bytes;
}

TEST(OutputCompareTest, OnlyTheDateValueMayDiffer) {
  EXPECT_EQ(CompareMasked(Dated(1, 0x7B), Dated(200, 0x7B)), "");
  // The byte right after the 8 masked ones still counts.
  EXPECT_NE(CompareMasked(Dated(1, 0x7B), Dated(1, 0x7C)), "");
}

TEST(OutputCompareTest, OnlyTheFirstDateHeaderIsMasked) {
  std::vector<uint8_t> a = Dated(1, 0);
  std::vector<uint8_t> b = Dated(2, 0);
  // The same pattern later (in sample data, say) is compared as it is.
  for (auto* v : {&a, &b}) v->insert(v->end(), {0x44, 0x61, 0x88});
  a.insert(a.end(), 8, 0x10);
  b.insert(b.end(), 8, 0x11);
  EXPECT_NE(CompareMasked(a, b), "");
}

TEST(OutputCompareTest, TruncatedDateIsNotMasked) {
  std::vector<uint8_t> a = {0x44, 0x61, 0x88, 1, 2, 3};
  std::vector<uint8_t> b = {0x44, 0x61, 0x88, 1, 2, 4};
  EXPECT_FALSE(MaskDateUtc(a));
  EXPECT_NE(CompareMasked(a, b), "");
}

TEST(OutputCompareTest, SizeAndPresenceDifferencesAreReported) {
  std::vector<uint8_t> longer = Dated(1, 0);
  longer.push_back(0);
  EXPECT_NE(CompareMasked(Dated(1, 0), longer), "");
  EXPECT_EQ(CompareMasked({}, {}), "");
}

TEST(OutputCompareTest, DirectoriesMustHoldTheSameFiles) {
  const auto root =
      std::filesystem::temp_directory_path() / ("kx_compare_" + std::to_string(getpid()));
  std::filesystem::remove_all(root);
  const auto write = [](const std::filesystem::path& path, const std::vector<uint8_t>& bytes) {
    std::filesystem::create_directories(path.parent_path());
    std::ofstream(path, std::ios::binary)
        .write(reinterpret_cast<const char*>(bytes.data()),
               static_cast<std::streamsize>(bytes.size()));
  };
  write(root / "a" / "same.mkv", Dated(1, 9));
  write(root / "b" / "same.mkv", Dated(5, 9));
  write(root / "a" / "empty.mkv", {});
  write(root / "b" / "empty.mkv", {});
  DirectoryComparison equal = CompareDirectories(root / "a", root / "b");
  EXPECT_EQ(equal.compared, 2);
  EXPECT_TRUE(equal.problems.empty());

  write(root / "b" / "extra.webm", {1});
  write(root / "a" / "same.mkv", Dated(1, 8));
  DirectoryComparison different = CompareDirectories(root / "a", root / "b");
  EXPECT_EQ(different.compared, 1);
  EXPECT_EQ(different.problems.size(), 2u);

  // Neither side wrote anything: nothing compared, nothing wrong.
  DirectoryComparison none = CompareDirectories(root / "missing1", root / "missing2");
  EXPECT_EQ(none.compared, 0);
  EXPECT_TRUE(none.problems.empty());
  std::filesystem::remove_all(root);
}

}  // namespace
}  // namespace kx::testing
