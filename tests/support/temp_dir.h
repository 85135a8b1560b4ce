// A fresh directory for one test, removed with everything in it when the
// object goes away. It lives under KX_TEST_TMPDIR (the build tree's
// test-tmp, set by CMake) so that build trees never share files; mkdtemp
// keeps parallel test processes apart. Nothing is cached between runs.
#ifndef KX_TESTS_SUPPORT_TEMP_DIR_H_
#define KX_TESTS_SUPPORT_TEMP_DIR_H_

#include <filesystem>
#include <string>

namespace kx::test {

class TempDir {
 public:
  TempDir();
  TempDir(const TempDir&) = delete;
  TempDir& operator=(const TempDir&) = delete;
  ~TempDir();

  const std::filesystem::path& path() const { return path_; }
  // `name` inside the directory, as UTF-8.
  std::string Path(const std::string& name) const { return (path_ / name).string(); }
  // `name` inside the directory, as UTF-16 for the module's wide-name calls.
  std::u16string WidePath(std::u16string_view name) const;

 private:
  std::filesystem::path path_;
};

// The whole content of a file, or an empty string when it cannot be read.
std::string ReadFileBytes(const std::filesystem::path& path);

}  // namespace kx::test

#endif  // KX_TESTS_SUPPORT_TEMP_DIR_H_
