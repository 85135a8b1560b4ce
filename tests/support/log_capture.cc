#include "tests/support/log_capture.h"

#include <cstdlib>
#include <system_error>

namespace kx::test {

namespace {
constexpr const char* kLogVariable = "YR_LOG_FILE";
}  // namespace

LogCapture::LogCapture() : file_(dir_.path() / "host.log") {
  if (const char* previous = std::getenv(kLogVariable)) {
    previous_ = previous;
  }
  setenv(kLogVariable, file_.c_str(), 1);
}

LogCapture::~LogCapture() {
  if (previous_) {
    setenv(kLogVariable, previous_->c_str(), 1);
  } else {
    unsetenv(kLogVariable);
  }
}

std::string LogCapture::Text() const { return ReadFileBytes(file_); }

void LogCapture::Clear() const {
  std::error_code ignored;
  std::filesystem::remove(file_, ignored);
}

}  // namespace kx::test
