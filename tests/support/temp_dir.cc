#include "tests/support/temp_dir.h"

#include <cstdlib>
#include <fstream>
#include <iterator>
#include <stdexcept>
#include <string>
#include <system_error>

#include "src/platform/utf16.h"

namespace kx::test {

TempDir::TempDir() {
  const char* base = std::getenv("KX_TEST_TMPDIR");
  const std::filesystem::path root = base != nullptr && *base != '\0'
                                         ? std::filesystem::path(base)
                                         : std::filesystem::temp_directory_path();
  std::filesystem::create_directories(root);
  std::string pattern = (root / "kx_test_XXXXXX").string();
  if (mkdtemp(pattern.data()) == nullptr) throw std::runtime_error("mkdtemp failed: " + pattern);
  path_ = pattern;
}

TempDir::~TempDir() {
  std::error_code ignored;
  std::filesystem::remove_all(path_, ignored);
}

std::u16string TempDir::WidePath(std::u16string_view name) const {
  // The directory part comes from the system in its own (UTF-8) encoding.
  std::u16string wide = platform::Utf8ToUtf16(path_.string());
  wide.push_back(u'/');
  wide.append(name);
  return wide;
}

std::string ReadFileBytes(const std::filesystem::path& path) {
  std::ifstream in(path, std::ios::binary);
  return {std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>()};
}

}  // namespace kx::test
