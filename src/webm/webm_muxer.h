// The single-stream muxer of the "WEBM" row: the Matroska file layout with
// what web players expect of WebM. A full EBML header (DocTypeVersion 2, as
// SimpleBlocks need), tracks numbered 1 and 2, one SimpleBlock per frame,
// Clusters on a 1000 ms grid, and a flush after every sample once both kinds
// have been seen, so nothing waits in memory longer than it must. No
// start-code detection and no processor-load pacing: H.264 samples are
// stored as handed over unless the FourCC names the NAL-unit path.
//
// Audio configuration data is stored for "A_AAC", "A_VORBIS" and also
// "A_OPUS": a browser will not play Opus without its OpusHead in
// CodecPrivate, so the WebM row takes it like the Matroska rows do.
#ifndef KX_WEBM_WEBM_MUXER_H_
#define KX_WEBM_WEBM_MUXER_H_

#include <cstdint>
#include <memory>

#include "src/mkv/single_stream_muxer.h"
#include "src/mkv/video_intake.h"

namespace kx {

class WebmMuxer1 : public SingleStreamMuxer {
 public:
  WebmMuxer1();
  ~WebmMuxer1() override;

  int32_t WriteVideoSample(const MediaSample& sample) override;

 protected:
  void FillEbmlHeader(MatroskaWriter::EBML& header) const override;
  std::unique_ptr<MatroskaStream> MakeVideoTrack(const VideoParams& video) override;
  std::unique_ptr<MatroskaStream> MakeAudioTrack(const AudioParams& audio) override;

 private:
  // Never told to look for start codes: no conversion path.
  VideoIntake video_intake_;
};

}  // namespace kx

#endif  // KX_WEBM_WEBM_MUXER_H_
