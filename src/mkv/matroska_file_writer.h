// The file layout every muxer of the module writes, from the EBML header to
// the Cues, and the mechanics they share:
//
//   EBML header | Segment (8-byte size, patched at close)
//     | reserved area, 4099 bytes: a Void now; main SeekHead + Void at close
//     | Info (Duration patched at close) | Tracks (patched when codec private
//     data arrives late) | Clusters on a fixed time grid | last Cluster
//     | Cues | cluster SeekHead
//
// Nothing is written before the first flush. Subclasses feed frames into the
// tracks' queues and decide when to flush; what differs between the muxers
// (EBML header, cue track, duration source, cluster span) is stated by the
// constructor arguments and the virtual hooks below.
#ifndef KX_MKV_MATROSKA_FILE_WRITER_H_
#define KX_MKV_MATROSKA_FILE_WRITER_H_

#include <cstddef>
#include <cstdint>
#include <memory>
#include <vector>

#include "src/ebml/cluster.h"
#include "src/ebml/cues.h"
#include "src/ebml/ebml_header.h"
#include "src/ebml/info.h"
#include "src/ebml/seek.h"
#include "src/io/file_ex.h"
#include "src/io/istream.h"
#include "src/mkv/matroska_stream.h"

namespace kx {

class MatroskaFileWriter : public IStream {
 public:
  MatroskaFileWriter(const MatroskaFileWriter&) = delete;
  MatroskaFileWriter& operator=(const MatroskaFileWriter&) = delete;
  ~MatroskaFileWriter() override;

  // IStream: forwards to the open file; kNoFileObject without one.
  int32_t Read(void* buffer, uint32_t size, uint32_t* done) override;
  int32_t Write(const void* buffer, uint32_t size, uint32_t* done) override;
  int32_t SeekTo(int64_t offset, uint32_t origin, uint64_t* result) override;
  using IStream::Write;

  // Flushes what is queued, writes the end of the file, rewrites the Segment
  // size, the Info and the reserved area, and closes the file. A file that
  // never received a block stays empty. A second call does nothing.
  void Close();

  // Merges every track's queue in time order into Clusters; returns the
  // number of bytes the file grew by.
  int64_t FlushQueues();

  [[nodiscard]] bool has_file() const { return file_ != nullptr; }

 protected:
  // `cluster_span_ms`: the cluster grid (300 for Matroska, 1000 for WebM).
  explicit MatroskaFileWriter(int64_t cluster_span_ms);

  // Fills the EBML header's children.
  virtual void FillEbmlHeader(MatroskaWriter::EBML& header) const = 0;
  // The TrackNumber whose key frames get cue points; chosen when Tracks is
  // first written.
  [[nodiscard]] virtual uint64_t ChooseCueTrack() const = 0;
  // The Duration written at close before the final check, in 100-ns units.
  [[nodiscard]] virtual int64_t ClosingDuration() const = 0;

  // Closes what is open and opens `path` for writing; false on failure.
  bool OpenOutput(const char16_t* path);
  // Back to the state of a fresh file (tracks are the subclass's business).
  void ResetFileState();

  // Sets a track's CodecPrivate: before Tracks is written it takes `size`
  // bytes; afterwards it must fit the bytes already written, is copied over
  // their start, and Tracks is rewritten in place. Returns whether stored.
  bool StoreCodecPrivate(MatroskaStream& stream, const uint8_t* data, size_t size);
  // Applies video configuration data by CodecID: MPEG-1/2 sequence header
  // from `first`, or the AVC record from `first` (SPS) and `second` (PPS).
  void StoreVideoConfiguration(MatroskaStream& stream, const uint8_t* second, int32_t second_size,
                               const uint8_t* first, int32_t first_size);
  // Writes Tracks again at its place and returns to where the file was.
  void RewriteTracks();

  std::vector<std::unique_ptr<MatroskaStream>>& tracks() { return tracks_; }
  [[nodiscard]] const std::vector<std::unique_ptr<MatroskaStream>>& tracks() const {
    return tracks_;
  }
  [[nodiscard]] bool tracks_written() const { return tracks_written_; }
  [[nodiscard]] int64_t Tell() const;

  // The two "seen" flags gate flushing: blocks of one kind wait until the
  // other kind has produced a block (or is known to be absent).
  bool video_seen_ = false;
  bool audio_seen_ = false;

  // Marks the written kind as seen, then flushes once the other kind has
  // been seen too and the written track's queue holds `threshold` blocks.
  void FlushIfDue(bool video_written, const MatroskaStream& written, size_t threshold);

 private:
  void WriteHeader();
  void WriteTracks();
  MatroskaStream* EarliestTrack();
  void TakeIntoCluster(MatroskaStream& track);
  void AddCuePoint(const MatroskaWriter::CBlock& block);
  void WriteCluster();
  // Empties the Cluster, handing its blocks back to their tracks for reuse.
  void RecycleClusterBlocks();
  void FixDuration();
  void Finalize();
  void AppendSeek(MatroskaWriter::Seek& seek_head, uint32_t id, int64_t position);

  const int64_t cluster_span_ms_;
  MatroskaWriter::Cluster cluster_;
  MatroskaWriter::Cue cues_;
  // Filled again for every cue point and index entry; the Cues and the
  // SeekHeads keep only their bytes.
  MatroskaWriter::CuePoint cue_point_;
  MatroskaWriter::SeekHead seek_entry_;
  MatroskaWriter::Seek cluster_seek_head_;
  MatroskaWriter::Seek main_seek_head_;
  MatroskaWriter::Info info_;
  int64_t segment_pos_ = 0;
  int64_t segment_data_pos_ = 0;
  int64_t info_pos_ = 0;
  int64_t tracks_pos_ = 0;
  int64_t reserved_size_ = 0;
  std::unique_ptr<FileEx> file_;
  std::vector<std::unique_ptr<MatroskaStream>> tracks_;
  bool header_written_ = false;
  bool tracks_written_ = false;
  bool first_block_pending_ = true;
  int64_t base_time_ = 0;          // ms: the first block's start
  int64_t last_written_time_ = 0;  // 100 ns: start of the last block taken
  uint64_t cue_track_ = 0;
  int64_t last_cue_pos_ = -1;
  int64_t last_cue_time_ = -1;
  uint64_t cue_block_counter_ = 0;
};

}  // namespace kx

#endif  // KX_MKV_MATROSKA_FILE_WRITER_H_
