#include "tests/windows/output_compare_util.h"

#include <algorithm>
#include <fstream>
#include <iterator>
#include <map>
#include <set>

namespace kx::testing {
namespace {

constexpr uint8_t kDateUtcHeader[] = {0x44, 0x61, 0x88};
constexpr size_t kDateUtcValueSize = 8;

std::vector<uint8_t> ReadAll(const std::filesystem::path& path) {
  std::ifstream in(path, std::ios::binary);
  return std::vector<uint8_t>(std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>());
}

std::map<std::string, std::filesystem::path> ListFiles(const std::filesystem::path& root) {
  std::map<std::string, std::filesystem::path> files;
  std::error_code error;
  if (!std::filesystem::is_directory(root, error)) return files;
  for (const auto& entry : std::filesystem::recursive_directory_iterator(root)) {
    if (entry.is_regular_file()) {
      files[std::filesystem::relative(entry.path(), root).generic_string()] = entry.path();
    }
  }
  return files;
}

}  // namespace

bool MaskDateUtc(std::vector<uint8_t>& bytes) {
  const auto header =
      std::search(bytes.begin(), bytes.end(), std::begin(kDateUtcHeader), std::end(kDateUtcHeader));
  if (header == bytes.end()) return false;
  const size_t value = static_cast<size_t>(header - bytes.begin()) + sizeof kDateUtcHeader;
  if (bytes.size() - value < kDateUtcValueSize) return false;
  std::fill_n(bytes.begin() + static_cast<std::ptrdiff_t>(value), kDateUtcValueSize, 0);
  return true;
}

std::string CompareMasked(std::vector<uint8_t> reference, std::vector<uint8_t> candidate) {
  const bool reference_dated = MaskDateUtc(reference);
  const bool candidate_dated = MaskDateUtc(candidate);
  if (reference_dated != candidate_dated) return "DateUTC present on one side only";
  if (reference.size() != candidate.size()) {
    return "sizes differ: " + std::to_string(reference.size()) + " and " +
           std::to_string(candidate.size()) + " bytes";
  }
  const auto diff = std::mismatch(reference.begin(), reference.end(), candidate.begin());
  if (diff.first == reference.end()) return {};
  return "first difference at offset " + std::to_string(diff.first - reference.begin());
}

DirectoryComparison CompareDirectories(const std::filesystem::path& reference,
                                       const std::filesystem::path& candidate) {
  DirectoryComparison result;
  const auto left = ListFiles(reference);
  const auto right = ListFiles(candidate);
  std::set<std::string> names;
  for (const auto& [name, path] : left) names.insert(name);
  for (const auto& [name, path] : right) names.insert(name);
  for (const auto& name : names) {
    const auto l = left.find(name);
    const auto r = right.find(name);
    if (l == left.end()) {
      result.problems.push_back(name + ": written only by the candidate");
    } else if (r == right.end()) {
      result.problems.push_back(name + ": written only by the reference");
    } else if (std::string why = CompareMasked(ReadAll(l->second), ReadAll(r->second));
               !why.empty()) {
      result.problems.push_back(name + ": " + why);
    } else {
      ++result.compared;
    }
  }
  return result;
}

}  // namespace kx::testing
