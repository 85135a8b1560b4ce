// A fresh directory under the system's temporary directory, removed with
// everything in it when the object goes away.
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
  // `name` inside the directory, as UTF-16 for the module's wide-name calls.
  std::u16string WidePath(std::u16string_view name) const;

 private:
  std::filesystem::path path_;
};

// The whole content of a file, or an empty string when it cannot be read.
std::string ReadFileBytes(const std::filesystem::path& path);

}  // namespace kx::test

#endif  // KX_TESTS_SUPPORT_TEMP_DIR_H_
