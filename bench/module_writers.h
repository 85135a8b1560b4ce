// Writing a workload through the module's function tables, as a host does:
// from CreateMediaFile to the end of CloseMediaFile.
#ifndef KX_BENCH_MODULE_WRITERS_H_
#define KX_BENCH_MODULE_WRITERS_H_

#include <string>

#include "bench/workloads.h"
#include "include/kx_mkv/kx_mkv.h"

namespace kx::bench {

// Through the single-stream table's "MKV " row. False when the module
// refused the file or a frame.
bool WriteSingleStream(const Workload& workload, const std::string& path);

// Through the multi-stream table's "MKV " row: video as stream 0 (marked
// absent when the workload has none), audio as stream 1.
bool WriteMultiStream(const Workload& workload, const std::string& path);

// The same through the catalogues of another build of the module (one
// loaded with dlopen), to compare two builds in one run.
bool WriteSingleStreamWith(const FileFormat* formats, const Workload& workload,
                           const std::string& path);
bool WriteMultiStreamWith(const FileMultiStreamFormat* formats, const Workload& workload,
                          const std::string& path);

}  // namespace kx::bench

#endif  // KX_BENCH_MODULE_WRITERS_H_
