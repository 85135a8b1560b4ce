#include "src/ebml/audio.h"

#include "src/ebml/element_ids.h"

namespace MatroskaWriter {

Audio::Audio()
    : Master(ids::kAudio),
      sampling_frequency(ids::kSamplingFrequency),
      output_sampling_frequency(ids::kOutputSamplingFrequency),
      channels(ids::kChannels),
      channel_positions(ids::kChannelPositions),
      bit_depth(ids::kBitDepth) {}

void Audio::VisitChildren(ChildVisitor& visitor) const {
  visitor.Visit(sampling_frequency);
  visitor.Visit(output_sampling_frequency);
  visitor.Visit(channels);
  visitor.Visit(channel_positions);
  visitor.Visit(bit_depth);
}

}  // namespace MatroskaWriter
