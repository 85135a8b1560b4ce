#include "src/ebml/track_entry.h"

#include "src/ebml/element_ids.h"

namespace MatroskaWriter {

TrackEntry::TrackEntry()
    : Master(ids::kTrackEntry),
      track_number(ids::kTrackNumber),
      track_uid(ids::kTrackUID),
      track_type(ids::kTrackType),
      flag_enabled(ids::kFlagEnabled),
      flag_default(ids::kFlagDefault),
      flag_lacing(ids::kFlagLacing),
      min_cache(ids::kMinCache),
      max_cache(ids::kMaxCache),
      default_duration(ids::kDefaultDuration),
      max_block_addition_id(ids::kMaxBlockAdditionID),
      name(ids::kName),
      language(ids::kLanguage),
      codec_id(ids::kCodecID),
      codec_private(ids::kCodecPrivate),
      codec_name(ids::kCodecName),
      codec_settings(ids::kCodecSettings),
      codec_info_url(ids::kCodecInfoURL),
      codec_download_url(ids::kCodecDownloadURL),
      codec_decode_all(ids::kCodecDecodeAll),
      track_overlay(ids::kTrackOverlay),
      seek_pre_roll(ids::kSeekPreRoll) {}

// Every member is a value type that copies deeply, so member-wise copying is
// exactly the required deep copy.
TrackEntry::TrackEntry(const TrackEntry&) = default;
TrackEntry& TrackEntry::operator=(const TrackEntry&) = default;
TrackEntry::TrackEntry(TrackEntry&&) noexcept = default;
TrackEntry& TrackEntry::operator=(TrackEntry&&) noexcept = default;
TrackEntry::~TrackEntry() = default;

void TrackEntry::VisitChildren(ChildVisitor& visitor) const {
  visitor.Visit(track_number);
  visitor.Visit(track_uid);
  visitor.Visit(track_type);
  visitor.Visit(flag_enabled);
  visitor.Visit(flag_default);
  visitor.Visit(flag_lacing);
  visitor.Visit(min_cache);
  visitor.Visit(max_cache);
  visitor.Visit(default_duration);
  visitor.Visit(max_block_addition_id);
  visitor.Visit(name);
  visitor.Visit(language);
  visitor.Visit(codec_id);
  visitor.Visit(codec_private);
  visitor.Visit(codec_name);
  visitor.Visit(codec_settings);
  visitor.Visit(codec_info_url);
  visitor.Visit(codec_download_url);
  visitor.Visit(codec_decode_all);
  visitor.Visit(track_overlay);
  visitor.Visit(seek_pre_roll);
  if (type_selector == kVideo) {
    visitor.Visit(video);
  } else if (type_selector == kAudio) {
    visitor.Visit(audio);
  }
}

}  // namespace MatroskaWriter
