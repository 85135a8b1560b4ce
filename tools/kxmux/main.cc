// kxmux: remuxes a media file into Matroska/WebM through the kx_mkv module,
// driving the module exactly as the conversion host does.
//
// The output is written under a temporary name (OUTPUT.part) and renamed
// only when the module has closed it and it reads back as Matroska, so an
// interrupted or failed run never leaves a file that looks complete.
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <chrono>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

#include "src/platform/utf16.h"
#include "tools/kxmux/codecs.h"
#include "tools/kxmux/module.h"
#include "tools/kxmux/options.h"
#include "tools/kxmux/remux.h"
#include "tools/kxmux/summary.h"

namespace {

constexpr int kExitFailure = 1;
constexpr int kExitUsage = 2;

int Fail(const std::string& message) {
  std::fprintf(stderr, "kxmux: error: %s\n", message.c_str());
  return kExitFailure;
}

std::string ExecutableDir() {
  std::vector<char> buffer(4096);
  const ssize_t n = readlink("/proc/self/exe", buffer.data(), buffer.size() - 1);
  if (n <= 0) {
    return ".";
  }
  std::string path(buffer.data(), static_cast<size_t>(n));
  const size_t slash = path.find_last_of('/');
  return slash == std::string::npos ? "." : path.substr(0, slash);
}

bool SameFile(const std::string& a, const std::string& b) {
  struct stat sa {};
  struct stat sb {};
  return stat(a.c_str(), &sa) == 0 && stat(b.c_str(), &sb) == 0 && sa.st_dev == sb.st_dev &&
         sa.st_ino == sb.st_ino;
}

bool IsDirectory(const std::string& path) {
  struct stat info {};
  return stat(path.c_str(), &info) == 0 && S_ISDIR(info.st_mode);
}

std::string ParentDir(const std::string& path) {
  const size_t slash = path.find_last_of('/');
  if (slash == std::string::npos) {
    return ".";
  }
  return slash == 0 ? "/" : path.substr(0, slash);
}

// Termination signals are blocked and polled between samples, so that an
// interrupted run can still remove its partial output. Returns the signal
// that is pending, or 0.
int PendingTerminationSignal() {
  sigset_t pending;
  sigemptyset(&pending);
  if (sigpending(&pending) != 0) {
    return 0;
  }
  for (int signal : {SIGINT, SIGTERM, SIGHUP}) {
    if (sigismember(&pending, signal) == 1) {
      return signal;
    }
  }
  return 0;
}

void BlockTerminationSignals() {
  sigset_t set;
  sigemptyset(&set);
  for (int signal : {SIGINT, SIGTERM, SIGHUP}) {
    sigaddset(&set, signal);
  }
  sigprocmask(SIG_BLOCK, &set, nullptr);
}

int Run(const std::vector<std::string>& args) {
  std::string error;
  auto parsed = kxmux::ParseCommandLine(args, &error);
  if (!parsed) {
    std::fprintf(stderr, "kxmux: error: %s\nTry 'kxmux --help'.\n", error.c_str());
    return kExitUsage;
  }
  kxmux::Options options = std::move(*parsed);
  if (options.help) {
    std::fputs(kxmux::UsageText().c_str(), stdout);
    return 0;
  }
  const bool output_defaulted = options.output.empty();
  if (!kxmux::ResolveOutput(&options, &error)) {
    std::fprintf(stderr, "kxmux: error: %s\nTry 'kxmux --help'.\n", error.c_str());
    return kExitUsage;
  }
  if (options.input.empty()) {
    const std::string installed_sample = ExecutableDir() + "/" KXMUX_INSTALLED_SAMPLE;
    options.input =
        access(installed_sample.c_str(), R_OK) == 0 ? installed_sample : KXMUX_SAMPLE_PATH;
    if (access(options.input.c_str(), R_OK) != 0) {
      return Fail("the bundled sample " + options.input + " cannot be read");
    }
  }
  // The module takes UTF-16 file names; a name that is not UTF-8 would not
  // survive the conversion and the module would create another file.
  if (kx::platform::Utf16ToUtf8(kx::platform::Utf8ToUtf16(options.output)) != options.output) {
    return Fail("the output name is not valid UTF-8: " + options.output);
  }
  if (SameFile(options.input, options.output)) {
    return Fail("the output " + options.output + " is the input itself");
  }
  const std::string directory = ParentDir(options.output);
  if (output_defaulted && !IsDirectory(directory) && mkdir(directory.c_str(), 0777) != 0) {
    return Fail("cannot create the directory " + directory + ": " + std::strerror(errno));
  }
  if (!IsDirectory(directory)) {
    return Fail("the output directory " + directory + " does not exist");
  }

  BlockTerminationSignals();
  // The host's log library reads its destination when it writes, so this
  // must be set before the module is loaded and first logs.
  if (!options.log_file.empty() && setenv("YR_LOG_FILE", options.log_file.c_str(), 1) != 0) {
    return Fail("cannot set YR_LOG_FILE");
  }
  const std::string module_path =
      options.module_path.empty() ? kxmux::DefaultModulePath(ExecutableDir()) : options.module_path;
  auto module = kxmux::Module::Load(module_path, &error);
  if (!module) {
    return Fail(error);
  }
  const FileFormat* row = module->FindRow(*options.format);
  const FileMultiStreamFormat* multi_row =
      options.multi ? module->FindMultiRow(*options.format) : nullptr;
  if (row == nullptr || (options.multi && multi_row == nullptr)) {
    return Fail("the module has no " + std::string(options.multi ? "multi-stream " : "") +
                "catalogue row '" + kxmux::FourccText(*options.format) + "'");
  }

  const std::string part = options.output + ".part";
  kxmux::RemuxRequest request;
  request.input = options.input;
  request.output = part;
  request.row = row;
  request.multi_row = multi_row;
  request.video_fourcc = options.video_fourcc;
  request.audio_fourcc = options.audio_fourcc;
  request.any_codec = options.any_codec;
  request.no_video = options.no_video;
  request.no_audio = options.no_audio;
  request.quiet = options.quiet;
  request.progress = isatty(STDERR_FILENO) == 1;
  request.interrupted = [] { return PendingTerminationSignal() != 0; };

  const auto started = std::chrono::steady_clock::now();
  const kxmux::RemuxStatus status = kxmux::Remux(request, &error);
  const double seconds =
      std::chrono::duration<double>(std::chrono::steady_clock::now() - started).count();
  if (status == kxmux::RemuxStatus::kInterrupted) {
    unlink(part.c_str());
    const int signal = PendingTerminationSignal();
    std::fprintf(stderr, "kxmux: interrupted; %s was not written\n", options.output.c_str());
    return 128 + (signal != 0 ? signal : SIGINT);
  }
  if (status != kxmux::RemuxStatus::kOk) {
    unlink(part.c_str());
    return Fail(error);
  }

  auto summary = kxmux::ReadFileSummary(part, &error);
  if (!summary) {
    // Kept under its temporary name: useful to look at, not mistaken for a
    // finished file.
    return Fail(error + "; the module's output is kept as " + part);
  }
  if (std::rename(part.c_str(), options.output.c_str()) != 0) {
    const std::string reason = std::strerror(errno);
    unlink(part.c_str());
    return Fail("cannot rename " + part + " to " + options.output + ": " + reason);
  }
  std::string row_name = kxmux::FourccText(row->fourcc);
  row_name.erase(row_name.find_last_not_of(' ') + 1);
  if (options.json) {
    std::fputs(
        kxmux::FormatSummaryJson(*summary, {options.output, module->path(), row_name}).c_str(),
        stdout);
  } else if (!options.quiet) {
    std::printf("kxmux: wrote %s (%s row of %s) in %.2f s\n%s", options.output.c_str(),
                row_name.c_str(), module->path().c_str(), seconds,
                kxmux::FormatSummary(*summary).c_str());
  }
  return 0;
}

}  // namespace

int main(int argc, char** argv) { return Run(std::vector<std::string>(argv + 1, argv + argc)); }
