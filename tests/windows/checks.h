// The Windows test programs are plain programs (GoogleTest is not
// cross-built): each check prints one "ok:" or "FAIL:" line and is counted.
#ifndef KX_TESTS_WINDOWS_CHECKS_H_
#define KX_TESTS_WINDOWS_CHECKS_H_

#include <cstdio>
#include <string>

namespace kx::testing {

class Checks {
 public:
  void operator()(bool ok, const std::string& what) {
    if (ok) {
      ++passed_;
    } else {
      ++failed_;
    }
    std::printf("%s: %s\n", ok ? "ok" : "FAIL", what.c_str());
  }
  [[nodiscard]] int passed() const { return passed_; }
  [[nodiscard]] int failed() const { return failed_; }

 private:
  int passed_ = 0;
  int failed_ = 0;
};

}  // namespace kx::testing

#endif  // KX_TESTS_WINDOWS_CHECKS_H_
