// kxmux --json: the summary of the written file for scripts and CI.
#include <array>
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <string>

#include "tools/kxmux/summary.h"

namespace kxmux {
namespace {

// A JSON string. Bytes from 0x80 up pass through: the texts are UTF-8 (kxmux
// refuses other output names; CodecID and DocType are ASCII).
std::string Quoted(const std::string& text) {
  std::string out = "\"";
  for (const char c : text) {
    if (c == '"' || c == '\\') {
      out += '\\';
      out += c;
    } else if (static_cast<unsigned char>(c) < 0x20) {
      std::array<char, 8> escaped = {};
      std::snprintf(escaped.data(), escaped.size(), "\\u%04x", static_cast<unsigned>(c));
      out += escaped.data();
    } else {
      out += c;
    }
  }
  return out + "\"";
}

// JSON has no NaN or infinity; a damaged float element reads as null.
std::string Number(double value, const char* format) {
  if (!std::isfinite(value)) {
    return "null";
  }
  std::array<char, 64> text = {};
  std::snprintf(text.data(), text.size(), format, value);
  return text.data();
}

// Members are added in order; Text() closes the object.
class JsonObject {
 public:
  JsonObject& Add(const std::string& name, const std::string& json_value) {
    text_ += (text_.empty() ? "{" : ",") + Quoted(name) + ":" + json_value;
    return *this;
  }
  JsonObject& Add(const std::string& name, uint64_t value) {
    return Add(name, std::to_string(value));
  }
  [[nodiscard]] std::string Text() const { return text_.empty() ? "{}" : text_ + "}"; }

 private:
  std::string text_;
};

}  // namespace

std::string FormatSummaryJson(const FileSummary& summary, const SummarySource& source) {
  std::string tracks;
  for (const TrackSummary& track : summary.tracks) {
    JsonObject entry;
    entry.Add("number", track.number)
        .Add("track_type", track.track_type)
        .Add("type", Quoted(track.type))
        .Add("codec_id", Quoted(track.codec_id));
    if (track.type == "video") {
      entry.Add("width", track.width).Add("height", track.height);
    } else if (track.type == "audio") {
      entry.Add("sampling_frequency", Number(track.sampling_frequency, "%.10g"))
          .Add("channels", track.channels);
    }
    tracks += (tracks.empty() ? "" : ",") + entry.Text();
  }
  const std::string module =
      JsonObject().Add("path", Quoted(source.module_path)).Add("row", Quoted(source.row)).Text();
  return JsonObject()
             .Add("file", Quoted(source.file))
             .Add("bytes", summary.size)
             .Add("doc_type", Quoted(summary.doc_type))
             .Add("duration_seconds", Number(summary.duration_seconds, "%.3f"))
             .Add("clusters", summary.clusters)
             .Add("cue_points", summary.cue_points)
             .Add("module", module)
             .Add("tracks", "[" + tracks + "]")
             .Text() +
         "\n";
}

}  // namespace kxmux
