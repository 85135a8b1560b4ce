// Processor-load pacing: on machines with one or two processors the host may
// ask the muxer to slow down while the whole system is busy. Every few video
// samples the system's processor usage is measured and reported on the
// debugger output; above 80 percent the caller's thread sleeps a while.
#ifndef KX_MKV_PROCESSOR_PACING_H_
#define KX_MKV_PROCESSOR_PACING_H_

#include <cstdint>
#include <string>

#include "include/kx_mkv/kx_mkv.h"

namespace kx {

class ProcessorPacing {
 public:
  explicit ProcessorPacing(int32_t processor_count);

  // Reads the pacing words of the host's parameters: the video part's when it
  // carries the "MDSR" marker, else the audio part's.
  void Configure(const MediaFileParams& params);

  // Called after every video sample.
  void Step();

  // Percentage of busy time since the previous call; -1 when the system
  // times cannot be read. The first call measures since system start.
  int32_t GetCpuUsage();

  // The debugger line for one measurement.
  static std::u16string UsageLine(int32_t processor_count, int32_t usage);

 private:
  int32_t processor_count_;
  bool enabled_ = false;
  bool light_ = false;
  uint32_t counter_ = 0;
  double previous_idle_ = 0;
  double previous_kernel_ = 0;
  double previous_user_ = 0;
};

}  // namespace kx

#endif  // KX_MKV_PROCESSOR_PACING_H_
