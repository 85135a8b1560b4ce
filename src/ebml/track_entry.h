// One track's description. It holds every child the writer knows, each unset
// or empty until the track setup assigns it; the type selector decides
// whether the Video or the Audio master is part of the entry.
#ifndef KX_EBML_TRACK_ENTRY_H_
#define KX_EBML_TRACK_ENTRY_H_

#include <cstdint>

#include "src/ebml/ansi.h"
#include "src/ebml/audio.h"
#include "src/ebml/binary.h"
#include "src/ebml/master.h"
#include "src/ebml/scalars.h"
#include "src/ebml/utf8.h"
#include "src/ebml/video.h"

namespace MatroskaWriter {

class TrackEntry : public Master {
 public:
  // Values of type_selector.
  static constexpr uint32_t kVideo = 1;
  static constexpr uint32_t kAudio = 2;

  TrackEntry();
  // Copies carry every child with its value, flag, text and bytes, the
  // selector and the whole Video and Audio subtrees; the copy owns its own
  // storage, so a temporary Tracks list can own copies while each track keeps
  // its entry.
  TrackEntry(const TrackEntry& other);
  TrackEntry& operator=(const TrackEntry& other);
  TrackEntry(TrackEntry&& other) noexcept;
  TrackEntry& operator=(TrackEntry&& other) noexcept;
  ~TrackEntry() override;

  CUInt track_number;
  CUInt track_uid;
  CUInt track_type;
  CUInt flag_enabled;
  CUInt flag_default;
  CUInt flag_lacing;
  CUInt min_cache;
  CUInt max_cache;
  CUInt default_duration;
  CUInt max_block_addition_id;
  CUTF8 name;
  CANSI language;
  CBinary codec_id;  // assigned with SetText: written with a trailing zero
  CBinary codec_private;
  CUTF8 codec_name;
  CUTF8 codec_settings;
  CANSI codec_info_url;
  CANSI codec_download_url;
  CUInt codec_decode_all;
  CUInt track_overlay;
  CUInt seek_pre_roll;
  Video video;
  Audio audio;
  // kVideo: `video` is written; kAudio: `audio` is; anything else (0 for
  // subtitle tracks): neither.
  uint32_t type_selector = 0;

 protected:
  void VisitChildren(ChildVisitor& visitor) const override;
};

}  // namespace MatroskaWriter

#endif  // KX_EBML_TRACK_ENTRY_H_
