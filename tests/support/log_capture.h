// Points the host log stand-in (YR_LOG_FILE) at a private file for the
// lifetime of the object, so a test can read back exactly what was logged.
#ifndef KX_TESTS_SUPPORT_LOG_CAPTURE_H_
#define KX_TESTS_SUPPORT_LOG_CAPTURE_H_

#include <optional>
#include <string>

#include "tests/support/temp_dir.h"

namespace kx::test {

class LogCapture {
 public:
  LogCapture();
  LogCapture(const LogCapture&) = delete;
  LogCapture& operator=(const LogCapture&) = delete;
  // Restores YR_LOG_FILE as it was before.
  ~LogCapture();

  // Everything logged so far (UTF-8, one record per line).
  std::string Text() const;
  // Forgets what was logged so far.
  void Clear() const;
  const std::filesystem::path& path() const { return file_; }

 private:
  TempDir dir_;
  std::filesystem::path file_;
  std::optional<std::string> previous_;
};

}  // namespace kx::test

#endif  // KX_TESTS_SUPPORT_LOG_CAPTURE_H_
