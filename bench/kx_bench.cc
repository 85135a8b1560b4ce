// Times the module beside FFmpeg's Matroska muxer and a raw write of the same
// frames. Every measurement runs in a child process of its own, so that its
// peak memory can be read from getrusage; the writers are interleaved run by
// run and each result is the median of the runs.
//
//   kx_bench [--runs N] [--tiny] [--out-dir DIR] [--workload w1|w2] [--writer TEXT]
//            [--baseline LIBKX_MKV.so]
//
// --out-dir keeps the files of the last run there, with hashes.txt (FNV-1a
// of each file): the module's outputs must not change while it is tuned.
// The DateUTC clock is pinned so that the module's files are reproducible.
// --writer keeps only the writers whose name contains TEXT (for profiling).
// --baseline adds the two tables of another build of the module, loaded with
// dlopen, so that a change is measured against its base in the same run.
#include <dlfcn.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <functional>
#include <map>
#include <string>
#include <vector>

#include "bench/module_writers.h"
#include "bench/peer_writers.h"
#include "bench/workloads.h"
#include "src/platform/clock.h"

namespace kx::bench {
namespace {

struct Writer {
  const char* name;
  const char* extension;
  std::function<bool(const Workload&, const std::string&)> write;
};

constexpr const char* kRawName = "raw fwrite";
constexpr const char* kFfmpegName = "ffmpeg";

// The rows of the table.
std::vector<Writer> Writers(const std::string& baseline) {
  std::vector<Writer> writers = {
      {"kx_mkv single-stream", "mkv", WriteSingleStream},
      {"kx_mkv multi-stream", "multi.mkv", WriteMultiStream},
      {kFfmpegName, "ffmpeg.mkv",
       [](const auto& w, const auto& p) { return WriteFfmpeg(w, p, true); }},
      {"ffmpeg write_crc32=0", "ffmpeg-nocrc.mkv",
       [](const auto& w, const auto& p) { return WriteFfmpeg(w, p, false); }},
      {kRawName, "raw", WriteRaw},
  };
  if (baseline.empty()) {
    return writers;
  }
  void* library = dlopen(baseline.c_str(), RTLD_NOW | RTLD_LOCAL);
  const auto single = reinterpret_cast<const FileFormat* (*)()>(
      library != nullptr ? dlsym(library, "GetFileFormats") : nullptr);
  const auto multi = reinterpret_cast<const FileMultiStreamFormat* (*)()>(
      library != nullptr ? dlsym(library, "GetFileMultiStreamFormats") : nullptr);
  if (single == nullptr || multi == nullptr) {
    std::fprintf(stderr, "kx_bench: cannot load %s\n", baseline.c_str());
    std::exit(2);
  }
  writers.insert(
      writers.begin() + 2,
      {{"baseline single-stream", "base.mkv",
        [single](const auto& w, const auto& p) { return WriteSingleStreamWith(single(), w, p); }},
       {"baseline multi-stream", "base-multi.mkv",
        [multi](const auto& w, const auto& p) { return WriteMultiStreamWith(multi(), w, p); }}});
  return writers;
}

struct Sample {
  int64_t nanoseconds = 0;
  int64_t peak_growth_kib = 0;  // peak resident size above that at the start
  int64_t file_bytes = 0;
  int32_t ok = 0;
};

int64_t MaxRssKib() {
  rusage usage{};
  getrusage(RUSAGE_SELF, &usage);
  return usage.ru_maxrss;
}

// Runs one write in a child process and reports its time and memory.
Sample Measure(const Writer& writer, const Workload& workload, const std::string& path) {
  std::array<int, 2> pipe_ends{};
  Sample sample;
  unlink(path.c_str());  // the last run's file is not truncated on the clock
  if (pipe(pipe_ends.data()) != 0) {
    return sample;
  }
  const pid_t child = fork();
  if (child == 0) {
    close(pipe_ends[0]);
    const int64_t rss_before = MaxRssKib();
    const auto begin = std::chrono::steady_clock::now();
    sample.ok = writer.write(workload, path) ? 1 : 0;
    const auto end = std::chrono::steady_clock::now();
    sample.nanoseconds = std::chrono::duration_cast<std::chrono::nanoseconds>(end - begin).count();
    sample.peak_growth_kib = MaxRssKib() - rss_before;
    struct stat info {};
    sample.file_bytes = stat(path.c_str(), &info) == 0 ? info.st_size : 0;
    const bool sent = write(pipe_ends[1], &sample, sizeof sample) == sizeof sample;
    _exit(sent ? 0 : 1);
  }
  close(pipe_ends[1]);
  if (child > 0 && read(pipe_ends[0], &sample, sizeof sample) != sizeof sample) {
    sample = Sample{};
  }
  close(pipe_ends[0]);
  int status = 0;
  if (child > 0) {
    waitpid(child, &status, 0);
  }
  return sample;
}

std::string FilePath(const std::string& dir, const std::string& tag, const char* extension) {
  std::string path = dir;
  path += '/';
  path += tag;
  path += '.';
  path += extension;
  return path;
}

uint64_t Fnv1a(const std::string& path) {
  std::ifstream in(path, std::ios::binary);
  uint64_t hash = 0xcbf29ce484222325ULL;
  std::vector<char> buffer(1 << 20);
  while (in.read(buffer.data(), static_cast<std::streamsize>(buffer.size())) || in.gcount() > 0) {
    for (std::streamsize i = 0; i < in.gcount(); ++i) {
      hash = (hash ^ static_cast<uint8_t>(buffer[static_cast<size_t>(i)])) * 0x100000001b3ULL;
    }
  }
  return hash;
}

int64_t Median(std::vector<int64_t> values) {
  std::sort(values.begin(), values.end());
  return values.empty() ? 0 : values[values.size() / 2];
}

struct Options {
  int runs = 11;
  bool tiny = false;
  std::string out_dir;
  std::string only;
  std::string writer;
  std::string baseline;
};

bool Run(const Workload& workload, const Options& options, const std::string& dir,
         const std::string& tag, std::FILE* hashes) {
  std::vector<Writer> writers = Writers(options.baseline);
  const auto left_out = [&](const Writer& w) {
    return std::string(w.name).find(options.writer) == std::string::npos;
  };
  writers.erase(std::remove_if(writers.begin(), writers.end(), left_out), writers.end());
  std::map<size_t, std::vector<Sample>> samples;
  bool ok = true;
  for (int run = 0; run < options.runs; ++run) {
    for (size_t k = 0; k < writers.size(); ++k) {
      const size_t i = (k + static_cast<size_t>(run)) % writers.size();  // rotate the order
      const std::string path = FilePath(dir, tag, writers[i].extension);
      const Sample sample = Measure(writers[i], workload, path);
      if (sample.ok == 0) {
        std::fprintf(stderr, "kx_bench: %s failed on %s\n", writers[i].name, workload.name.c_str());
        ok = false;
      }
      samples[i].push_back(sample);
    }
  }
  std::map<size_t, int64_t> median;
  for (const auto& [i, list] : samples) {
    std::vector<int64_t> times;
    for (const Sample& s : list) {
      times.push_back(s.nanoseconds);
    }
    median[i] = Median(times);
  }
  // Ratios against the raw write and FFmpeg's defaults, when they ran.
  const auto median_of = [&](const char* name) {
    for (size_t i = 0; i < writers.size(); ++i) {
      if (std::string(writers[i].name) == name) {
        return static_cast<double>(median[i]);
      }
    }
    return 0.0;
  };
  const double raw = median_of(kRawName);
  const double ffmpeg = median_of(kFfmpegName);
  const auto frames = static_cast<double>(workload.frames.size());
  std::printf("\n%s: %zu frames, %.1f MB payload, %d runs\n\n", workload.name.c_str(),
              workload.frames.size(), static_cast<double>(workload.payload_bytes) / 1e6,
              options.runs);
  std::printf(
      "| writer | median ms | MB/s | ns/frame | container B/frame | peak MiB | x raw | x ffmpeg "
      "|\n");
  std::printf("|---|---:|---:|---:|---:|---:|---:|---:|\n");
  for (size_t i = 0; i < writers.size(); ++i) {
    const Sample& last = samples[i].back();
    std::vector<int64_t> peaks;
    for (const Sample& s : samples[i]) {
      peaks.push_back(s.peak_growth_kib);
    }
    const auto t = static_cast<double>(median[i]);
    std::printf(
        "| %s | %.1f | %.0f | %.0f | %.1f | %.1f | %.3f | %.3f |\n", writers[i].name, t / 1e6,
        static_cast<double>(workload.payload_bytes) / (t / 1e9) / 1e6, t / frames,
        static_cast<double>(last.file_bytes - static_cast<int64_t>(workload.payload_bytes)) /
            frames,
        static_cast<double>(Median(peaks)) / 1024.0, t / raw, t / ffmpeg);
    if (hashes != nullptr) {
      const std::string path = FilePath(dir, tag, writers[i].extension);
      std::fprintf(hashes, "%016llx  %s\n", static_cast<unsigned long long>(Fnv1a(path)),
                   path.substr(dir.size() + 1).c_str());
    }
  }
  std::fflush(stdout);
  return ok;
}

}  // namespace
}  // namespace kx::bench

int main(int argc, char** argv) {
  using namespace kx::bench;
  Options options;
  for (int i = 1; i < argc; ++i) {
    const std::string arg = argv[i];
    if (arg == "--runs" && i + 1 < argc) {
      options.runs = std::max(1, std::atoi(argv[++i]));
    } else if (arg == "--tiny") {
      options.tiny = true;
      options.runs = 1;
    } else if (arg == "--out-dir" && i + 1 < argc) {
      options.out_dir = argv[++i];
    } else if (arg == "--baseline" && i + 1 < argc) {
      options.baseline = argv[++i];
    } else if (arg == "--writer" && i + 1 < argc) {
      options.writer = argv[++i];
    } else if (arg == "--workload" && i + 1 < argc) {
      options.only = argv[++i];
    } else {
      std::fprintf(stderr,
                   "usage: kx_bench [--runs N] [--tiny] [--out-dir DIR] [--workload w1|w2] "
                   "[--writer TEXT]\n");
      return 2;
    }
  }
  kx::platform::PinCurrentUnixTime(1700000000);

  std::string dir = options.out_dir;
  if (dir.empty()) {
    // tmpfs keeps the disk out of the measurement.
    std::string pattern =
        access("/dev/shm", W_OK) == 0
            ? "/dev/shm/kx_bench.XXXXXX"
            : std::filesystem::temp_directory_path().string() + "/kx_bench.XXXXXX";
    if (mkdtemp(pattern.data()) == nullptr) {
      std::perror("kx_bench: mkdtemp");
      return 1;
    }
    dir = pattern;
  } else {
    std::filesystem::create_directories(dir);
  }
  std::FILE* hashes =
      options.out_dir.empty() ? nullptr : std::fopen((dir + "/hashes.txt").c_str(), "w");

  bool ok = true;
  if (options.only.empty() || options.only == "w1") {
    ok = Run(AudioVideo(options.tiny ? 2 : 120), options, dir, "w1", hashes) && ok;
  }
  if (options.only.empty() || options.only == "w2") {
    ok = Run(SmallFrames(options.tiny ? 500 : 200000), options, dir, "w2", hashes) && ok;
  }
  if (hashes != nullptr) {
    std::fclose(hashes);
  } else {
    std::filesystem::remove_all(dir);
  }
  return ok ? 0 : 1;
}
