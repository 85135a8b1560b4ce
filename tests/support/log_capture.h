// Points the host log stand-in (YR_LOG_FILE) at a private file for the
// lifetime of the object, so a test can read back exactly what was logged.
#ifndef KX_TESTS_SUPPORT_LOG_CAPTURE_H_
#define KX_TESTS_SUPPORT_LOG_CAPTURE_H_

#include <cstdlib>
#include <optional>
#include <string>

#include "tests/support/temp_dir.h"

namespace kx::test {

class LogCapture {
 public:
  LogCapture() {
    if (const char* previous = std::getenv("YR_LOG_FILE")) previous_ = previous;
    setenv("YR_LOG_FILE", file_.c_str(), 1);
  }
  LogCapture(const LogCapture&) = delete;
  LogCapture& operator=(const LogCapture&) = delete;
  ~LogCapture() {
    previous_ ? setenv("YR_LOG_FILE", previous_->c_str(), 1) : unsetenv("YR_LOG_FILE");
  }

  // Everything logged so far (UTF-8, one record per line).
  std::string Text() const { return ReadFileBytes(file_); }

 private:
  TempDir dir_;
  std::filesystem::path file_ = dir_.path() / "host.log";
  std::optional<std::string> previous_;
};

}  // namespace kx::test

#endif  // KX_TESTS_SUPPORT_LOG_CAPTURE_H_
