// The start of the file (EBML header, Segment, reserved area, Info), the
// Tracks element and the in-place updates of codec private data.
#include <cstring>
#include <memory>
#include <string>
#include <string_view>

#include "src/ebml/element_ids.h"
#include "src/ebml/segment.h"
#include "src/ebml/tracks.h"
#include "src/ebml/void_element.h"
#include "src/mkv/codec_ids.h"
#include "src/mkv/codec_private.h"
#include "src/mkv/matroska_file_writer.h"
#include "src/platform/clock.h"

namespace kx {
namespace {

namespace ids = MatroskaWriter::ids;

// The reserved area behind the Segment header: a Void of 4096 zero bytes
// with a 2-byte size field (EC 50 00), 1 + 2 + 4096 = 4099 bytes. At close
// the main SeekHead goes there, followed by a Void filling the rest.
constexpr uint64_t kReservedPayload = 4096;
constexpr int64_t kReservedSize = 4099;

constexpr std::u16string_view kMuxerName = u"Tarnwhistle Matroska Muxer";
// Matroska dates count from 2001-01-01T00:00:00 UTC.
constexpr int64_t kMatroskaEpochUnixSeconds = 978307200;

}  // namespace

MatroskaFileWriter::MatroskaFileWriter(int64_t cluster_span_ms)
    : cluster_span_ms_(cluster_span_ms),
      cluster_(ids::kCluster),
      cues_(ids::kCues),
      cluster_seek_head_(ids::kSeekHead),
      main_seek_head_(ids::kSeekHead) {
  cue_point_.positions.Append(std::make_unique<MatroskaWriter::CueTrackPosition>());
}

MatroskaFileWriter::~MatroskaFileWriter() = default;

int32_t MatroskaFileWriter::Read(void* buffer, uint32_t size, uint32_t* done) {
  if (!file_) {
    return kNoFileObject;
  }
  const uint32_t count = file_->Read(buffer, size);
  if (done != nullptr) {
    *done = count;
  }
  return kOk;
}

int32_t MatroskaFileWriter::Write(const void* buffer, uint32_t size, uint32_t* done) {
  if (!file_) {
    return kNoFileObject;
  }
  const uint32_t count = file_->Write(buffer, size);
  if (done != nullptr) {
    *done = count;
  }
  return kOk;
}

int32_t MatroskaFileWriter::SeekTo(int64_t offset, uint32_t origin, uint64_t* result) {
  if (!file_) {
    return kNoFileObject;
  }
  const int64_t status = file_->SeekTo(offset, origin);
  if (result != nullptr) {
    *result = static_cast<uint64_t>(status);
  }
  return kOk;
}

int64_t MatroskaFileWriter::Tell() const { return file_ ? file_->Tell() : 0; }

bool MatroskaFileWriter::OpenOutput(const char16_t* path) {
  Close();
  file_ = std::make_unique<FileEx>();
  return file_->Open(path, "wb");
}

void MatroskaFileWriter::ResetFileState() {
  header_written_ = false;
  tracks_written_ = false;
  video_seen_ = false;
  audio_seen_ = false;
  first_block_pending_ = true;
  base_time_ = 0;
  last_written_time_ = 0;
  cue_track_ = 0;
  cue_block_counter_ = 0;
  last_cue_pos_ = -1;
  last_cue_time_ = -1;
  segment_pos_ = segment_data_pos_ = info_pos_ = tracks_pos_ = 0;
  reserved_size_ = 0;
}

void MatroskaFileWriter::AppendSeek(MatroskaWriter::Seek& seek_head, uint32_t id,
                                    int64_t position) {
  seek_entry_.seek_id.target.set_id(id);
  seek_entry_.seek_position.Set(static_cast<uint64_t>(position - segment_data_pos_));
  seek_head.Add(seek_entry_);
}

void MatroskaFileWriter::WriteHeader() {
  SeekTo(0, kSeekBegin, nullptr);

  MatroskaWriter::EBML ebml;
  FillEbmlHeader(ebml);
  ebml.Write(*this);

  segment_pos_ = Tell();
  MatroskaWriter::Segment segment;  // size unknown until close
  segment.Write(*this);

  segment_data_pos_ = Tell();
  MatroskaWriter::Void reserved(kReservedPayload);
  reserved.Write(*this);
  reserved_size_ = kReservedSize;

  AppendSeek(main_seek_head_, ids::kInfo, Tell());
  info_pos_ = Tell();
  info_.muxing_app.Set(kMuxerName);
  info_.writing_app.Set(kMuxerName);
  info_.timecode_scale.Set(1000000);
  info_.duration.Set(0.0F);
  info_.date_utc.Set((platform::CurrentUnixTime() - kMatroskaEpochUnixSeconds) * 1000000000);
  info_.Write(*this);

  // Tracks follows Info directly, written by the first flush.
  AppendSeek(main_seek_head_, ids::kTracks, Tell());
  cluster_.timecode.Set(0);
}

void MatroskaFileWriter::WriteTracks() {
  // The Tracks element owns its entries, so it gets copies: each track keeps
  // its own entry for later updates.
  MatroskaWriter::Track element;
  for (const auto& track : tracks_) {
    element.entries.Append(std::make_unique<MatroskaWriter::TrackEntry>(track->entry()));
  }
  element.Write(*this);
}

void MatroskaFileWriter::RewriteTracks() {
  const int64_t position = Tell();
  SeekTo(tracks_pos_, kSeekBegin, nullptr);
  WriteTracks();
  SeekTo(position, kSeekBegin, nullptr);
}

bool MatroskaFileWriter::StoreCodecPrivate(MatroskaStream& stream, const uint8_t* data,
                                           size_t size) {
  MatroskaWriter::CBinary& codec_private = stream.entry().codec_private;
  if (!tracks_written_) {
    codec_private.Assign(data, size);
    return true;
  }
  // Tracks is on disk: the value must fit the bytes written there.
  if (size > codec_private.length()) {
    return false;
  }
  if (size != 0) {
    std::memcpy(codec_private.bytes().data(), data, size);
  }
  RewriteTracks();
  return true;
}

void MatroskaFileWriter::StoreVideoConfiguration(MatroskaStream& stream, const uint8_t* second,
                                                 int32_t second_size, const uint8_t* first,
                                                 int32_t first_size) {
  const std::string codec_id = stream.entry().codec_id.Text();
  if (codec_id == "V_MPEG1" || codec_id == "V_MPEG2") {
    if (first == nullptr || first_size < 1) {
      return;
    }
    if (auto header = FindMpegSequenceHeader(first, static_cast<size_t>(first_size))) {
      StoreCodecPrivate(stream, first + header->offset, header->length);
    }
  } else if (CodecIdStartsWith(codec_id, "V_MPEG4/ISO/AVC")) {
    const auto record = AvcConfigurationRecord(first, first_size, second, second_size);
    if (!record.empty()) {
      StoreCodecPrivate(stream, record.data(), record.size());
    }
  }
}

}  // namespace kx
