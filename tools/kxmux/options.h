// kxmux's command line.
#ifndef KX_TOOLS_KXMUX_OPTIONS_H_
#define KX_TOOLS_KXMUX_OPTIONS_H_

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace kxmux {

struct Options {
  std::string input;               // empty: the bundled sample
  std::string output;              // after ResolveOutput: never empty
  std::optional<uint32_t> format;  // container FourCC; after ResolveOutput: set
  std::optional<uint32_t> video_fourcc;
  std::optional<uint32_t> audio_fourcc;
  std::string log_file;
  std::string module_path;
  bool quiet = false;
  bool any_codec = false;
  bool no_video = false;
  bool no_audio = false;
  bool multi = false;  // every stream, through the multi-stream table
  bool json = false;   // the summary as one JSON object on stdout
  bool help = false;
};

std::string UsageText();

// Parses the arguments after the program name. On wrong usage returns
// nullopt and sets *error to a one-line reason.
std::optional<Options> ParseCommandLine(const std::vector<std::string>& args, std::string* error);

// "MKV", "kmkv", "WebM", ... to the row's container FourCC.
std::optional<uint32_t> FormatFromName(std::string_view name);
// The container FourCC that a file extension implies (.mkv, .mka, .webm).
std::optional<uint32_t> FormatFromPath(std::string_view path);
// The extension of the row's files, with its dot.
std::string ExtensionFor(uint32_t format);

// Fills in what the user left out: the format from the output's extension (or
// MKV), and the output as out/<input name><extension>. Returns false with
// *error set when the format cannot be told.
bool ResolveOutput(Options* options, std::string* error);

}  // namespace kxmux

#endif  // KX_TOOLS_KXMUX_OPTIONS_H_
