#include "src/ebml/info.h"

#include "src/ebml/element_ids.h"

namespace MatroskaWriter {
namespace {

constexpr uint64_t kMillisecondScale = 1000000;

}  // namespace

Info::Info()
    : Master(ids::kInfo),
      segment_uid(ids::kSegmentUID),
      prev_uid(ids::kPrevUID),
      next_uid(ids::kNextUID),
      segment_filename(ids::kSegmentFilename),
      prev_filename(ids::kPrevFilename),
      next_filename(ids::kNextFilename),
      timecode_scale(ids::kTimecodeScale),
      duration(ids::kDuration),
      date_utc(ids::kDateUTC),
      title(ids::kTitle),
      muxing_app(ids::kMuxingApp),
      writing_app(ids::kWritingApp) {
  timecode_scale.Set(kMillisecondScale);
}

void Info::VisitChildren(ChildVisitor& visitor) const {
  visitor.Visit(segment_uid);
  visitor.Visit(prev_uid);
  visitor.Visit(next_uid);
  visitor.Visit(segment_filename);
  visitor.Visit(prev_filename);
  visitor.Visit(next_filename);
  visitor.Visit(timecode_scale);
  visitor.Visit(duration);
  visitor.Visit(date_utc);
  visitor.Visit(title);
  visitor.Visit(muxing_app);
  visitor.Visit(writing_app);
}

}  // namespace MatroskaWriter
