// A one-line progress bar on the terminal while a long input is remuxed.
#ifndef KX_TOOLS_KXMUX_PROGRESS_H_
#define KX_TOOLS_KXMUX_PROGRESS_H_

#include <chrono>
#include <string>

namespace kxmux {

// The bar's text for a position within a total, both in seconds; `width` is
// the number of cells between the brackets.
std::string ProgressLine(double position, double total, int width);

class ProgressBar {
 public:
  // Inputs shorter than this finish before a bar would be worth drawing.
  static constexpr double kMinimumSeconds = 5.0;

  // Draws on stderr only when `enabled` (a terminal, not quiet) and the total
  // is long enough.
  ProgressBar(bool enabled, double total_seconds);
  ProgressBar(const ProgressBar&) = delete;
  ProgressBar& operator=(const ProgressBar&) = delete;
  ~ProgressBar();

  // Redraws at most ten times a second.
  void Update(double position_seconds);
  // Removes the bar so that what follows starts on a clean line.
  void Finish();

 private:
  bool active_;
  double total_;
  std::chrono::steady_clock::time_point last_draw_{};
  bool drawn_ = false;
};

}  // namespace kxmux

#endif  // KX_TOOLS_KXMUX_PROGRESS_H_
