// The writers the module is measured against: FFmpeg's Matroska muxer and a
// plain write of the frames' bytes.
#ifndef KX_BENCH_PEER_WRITERS_H_
#define KX_BENCH_PEER_WRITERS_H_

#include <string>

#include "bench/workloads.h"

namespace kx::bench {

// libavformat's "matroska" muxer, with its defaults or with write_crc32=0.
bool WriteFfmpeg(const Workload& workload, const std::string& path, bool crc32);

// One fwrite per frame: the floor for any container.
bool WriteRaw(const Workload& workload, const std::string& path);

}  // namespace kx::bench

#endif  // KX_BENCH_PEER_WRITERS_H_
