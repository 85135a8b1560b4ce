// Writing a workload through the module's function tables, as a host does:
// from CreateMediaFile to the end of CloseMediaFile.
#ifndef KX_BENCH_MODULE_WRITERS_H_
#define KX_BENCH_MODULE_WRITERS_H_

#include <string>

#include "bench/workloads.h"

namespace kx::bench {

// Through the single-stream table's "MKV " row. False when the module
// refused the file or a frame.
bool WriteSingleStream(const Workload& workload, const std::string& path);

// Through the multi-stream table's "MKV " row: video as stream 0 (marked
// absent when the workload has none), audio as stream 1.
bool WriteMultiStream(const Workload& workload, const std::string& path);

}  // namespace kx::bench

#endif  // KX_BENCH_MODULE_WRITERS_H_
