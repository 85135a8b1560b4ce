#include "tools/kxmux/options.h"

#include <algorithm>
#include <cctype>

#include "tools/kxmux/codecs.h"

namespace kxmux {
namespace {

std::string Lower(std::string_view text) {
  std::string out(text);
  std::transform(out.begin(), out.end(), out.begin(),
                 [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
  return out;
}

// The file name without directories and without its last extension.
std::string Stem(std::string_view path) {
  const size_t slash = path.find_last_of('/');
  if (slash != std::string_view::npos) {
    path.remove_prefix(slash + 1);
  }
  const size_t dot = path.find_last_of('.');
  if (dot != std::string_view::npos && dot > 0) {
    path = path.substr(0, dot);
  }
  return std::string(path);
}

}  // namespace

std::string UsageText() {
  return "usage: kxmux [options] [INPUT] [OUTPUT]\n"
         "\n"
         "Remuxes INPUT (any file FFmpeg can read) into a Matroska or WebM file through the\n"
         "kx_mkv module. Without INPUT the bundled sample is used; without OUTPUT the file\n"
         "goes to out/<input name>.<format extension>.\n"
         "\n"
         "options:\n"
         "  --format ROW         catalogue row MKV, KMKV, HMKV, MKA or WEBM (default: from "
         "OUTPUT's extension)\n"
         "  --video-fourcc CODE  module FourCC for the video: H264 (default), I264, K264, havc, "
         "HEVC, Xvid, ...\n"
         "  --audio-fourcc CODE  module FourCC for the audio, e.g. AAC or WAAC\n"
         "  --any-codec          allow codecs that the chosen row does not list\n"
         "  --no-video           leave the video stream out (with --multi: every video stream)\n"
         "  --no-audio           leave the audio stream out (with --multi: every audio stream)\n"
         "  --multi              every video, audio and text subtitle stream, through the "
         "multi-stream table\n"
         "  --log FILE           append the module's log lines to FILE\n"
         "  --module PATH        the module to load (default: the libkx_mkv.so of this build or "
         "install)\n"
         "  --json               print the summary as one JSON object on stdout\n"
         "  -q, --quiet          print errors only\n"
         "  -h, --help           show this text\n"
         "\n"
         "exit status: 0 written; 1 failed (one 'kxmux: error:' line on stderr, no OUTPUT);\n"
         "2 wrong usage; 128+N stopped by signal N (130 for Ctrl-C), no OUTPUT\n";
}

std::optional<Options> ParseCommandLine(const std::vector<std::string>& args, std::string* error) {
  Options options;
  std::vector<std::string> positional;
  bool options_ended = false;
  for (size_t i = 0; i < args.size(); ++i) {
    const std::string& arg = args[i];
    if (options_ended || arg.size() < 2 || arg[0] != '-') {
      positional.push_back(arg);
      continue;
    }
    if (arg == "--") {
      options_ended = true;
      continue;
    }
    // Split "--name=value".
    std::string name = arg;
    std::optional<std::string> inline_value;
    if (const size_t eq = arg.find('='); arg.rfind("--", 0) == 0 && eq != std::string::npos) {
      name = arg.substr(0, eq);
      inline_value = arg.substr(eq + 1);
    }
    const auto value = [&]() -> std::optional<std::string> {
      if (inline_value) {
        return inline_value;
      }
      if (i + 1 < args.size()) {
        return args[++i];
      }
      *error = "option " + name + " needs a value";
      return std::nullopt;
    };
    const auto flag = [&](bool* target) {
      if (inline_value) {
        *error = "option " + name + " takes no value";
        return false;
      }
      *target = true;
      return true;
    };

    if (name == "-h" || name == "--help") {
      if (!flag(&options.help)) {
        return std::nullopt;
      }
    } else if (name == "-q" || name == "--quiet") {
      if (!flag(&options.quiet)) {
        return std::nullopt;
      }
    } else if (name == "--any-codec") {
      if (!flag(&options.any_codec)) {
        return std::nullopt;
      }
    } else if (name == "--no-video") {
      if (!flag(&options.no_video)) {
        return std::nullopt;
      }
    } else if (name == "--multi") {
      if (!flag(&options.multi)) {
        return std::nullopt;
      }
    } else if (name == "--json") {
      if (!flag(&options.json)) {
        return std::nullopt;
      }
    } else if (name == "--no-audio") {
      if (!flag(&options.no_audio)) {
        return std::nullopt;
      }
    } else if (name == "--format") {
      const auto text = value();
      if (!text) {
        return std::nullopt;
      }
      options.format = FormatFromName(*text);
      if (!options.format) {
        *error = "unknown format '" + *text + "' (use MKV, KMKV, HMKV, MKA or WEBM)";
        return std::nullopt;
      }
    } else if (name == "--video-fourcc" || name == "--audio-fourcc") {
      const auto text = value();
      if (!text) {
        return std::nullopt;
      }
      const auto code = ParseFourcc(*text);
      if (!code) {
        *error = name + " needs 1 to 4 ASCII characters, not '" + *text + "'";
        return std::nullopt;
      }
      (name == "--video-fourcc" ? options.video_fourcc : options.audio_fourcc) = code;
    } else if (name == "--log" || name == "--module") {
      const auto text = value();
      if (!text) {
        return std::nullopt;
      }
      if (text->empty()) {
        *error = "option " + name + " needs a non-empty value";
        return std::nullopt;
      }
      (name == "--log" ? options.log_file : options.module_path) = *text;
    } else {
      *error = "unknown option " + name;
      return std::nullopt;
    }
  }
  if (positional.size() > 2) {
    *error = "too many arguments (expected at most INPUT and OUTPUT)";
    return std::nullopt;
  }
  for (const std::string& path : positional) {
    if (path.empty()) {
      *error = "empty file name";
      return std::nullopt;
    }
  }
  if (!positional.empty()) {
    options.input = positional[0];
  }
  if (positional.size() == 2) {
    options.output = positional[1];
  }
  if (options.no_video && options.no_audio) {
    *error = "--no-video and --no-audio together leave nothing to write";
    return std::nullopt;
  }
  return options;
}

std::optional<uint32_t> FormatFromName(std::string_view name) {
  const std::string lower = Lower(name);
  if (lower == "mkv") {
    return kFormatMkv;
  }
  if (lower == "kmkv") {
    return kFormatKmkv;
  }
  if (lower == "hmkv") {
    return kFormatHmkv;
  }
  if (lower == "mka") {
    return kFormatMka;
  }
  if (lower == "webm") {
    return kFormatWebm;
  }
  return std::nullopt;
}

std::optional<uint32_t> FormatFromPath(std::string_view path) {
  const size_t dot = path.find_last_of('.');
  const size_t slash = path.find_last_of('/');
  if (dot == std::string_view::npos || (slash != std::string_view::npos && dot < slash)) {
    return std::nullopt;
  }
  const std::string extension = Lower(path.substr(dot));
  if (extension == ".mkv") {
    return kFormatMkv;
  }
  if (extension == ".mka") {
    return kFormatMka;
  }
  if (extension == ".webm") {
    return kFormatWebm;
  }
  return std::nullopt;
}

std::string ExtensionFor(uint32_t format) {
  if (format == kFormatMka) {
    return ".mka";
  }
  if (format == kFormatWebm) {
    return ".webm";
  }
  return ".mkv";
}

bool ResolveOutput(Options* options, std::string* error) {
  if (!options->format) {
    if (options->output.empty()) {
      options->format = kFormatMkv;
    } else {
      options->format = FormatFromPath(options->output);
      if (!options->format) {
        *error = "cannot tell the format from the name '" + options->output +
                 "' (use .mkv, .mka or .webm, or --format)";
        return false;
      }
    }
  }
  if (options->output.empty()) {
    const std::string stem = options->input.empty() ? "sample" : Stem(options->input);
    options->output = "out/" + stem + ExtensionFor(*options->format);
  }
  return true;
}

}  // namespace kxmux
