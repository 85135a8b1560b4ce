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

}  // namespace kx::bench

#endif  // KX_BENCH_MODULE_WRITERS_H_
