// EBML IDs of every element the writer produces, as the Matroska standard
// writes them (length-marker bits included). One table, so that no element
// class and no muxer carries its own copy of a number.
#ifndef KX_EBML_ELEMENT_IDS_H_
#define KX_EBML_ELEMENT_IDS_H_

#include <cstdint>

namespace MatroskaWriter::ids {

// EBML header.
inline constexpr uint32_t kEBML = 0x1A45DFA3;
inline constexpr uint32_t kEBMLVersion = 0x4286;
inline constexpr uint32_t kEBMLReadVersion = 0x42F7;
inline constexpr uint32_t kEBMLMaxIDLength = 0x42F2;
inline constexpr uint32_t kEBMLMaxSizeLength = 0x42F3;
inline constexpr uint32_t kDocType = 0x4282;
inline constexpr uint32_t kDocTypeVersion = 0x4287;
inline constexpr uint32_t kDocTypeReadVersion = 0x4285;

// Global elements.
inline constexpr uint32_t kVoid = 0xEC;

// Segment and the seek index.
inline constexpr uint32_t kSegment = 0x18538067;
inline constexpr uint32_t kSeekHead = 0x114D9B74;
inline constexpr uint32_t kSeek = 0x4DBB;
inline constexpr uint32_t kSeekID = 0x53AB;
inline constexpr uint32_t kSeekPosition = 0x53AC;

// Segment information.
inline constexpr uint32_t kInfo = 0x1549A966;
inline constexpr uint32_t kSegmentUID = 0x73A4;
inline constexpr uint32_t kPrevUID = 0x3CB923;
inline constexpr uint32_t kNextUID = 0x3EB923;
inline constexpr uint32_t kSegmentFilename = 0x7384;
inline constexpr uint32_t kPrevFilename = 0x3C83AB;
inline constexpr uint32_t kNextFilename = 0x3E83BB;
inline constexpr uint32_t kTimecodeScale = 0x2AD7B1;
inline constexpr uint32_t kDuration = 0x4489;
inline constexpr uint32_t kDateUTC = 0x4461;
inline constexpr uint32_t kTitle = 0x7BA9;
inline constexpr uint32_t kMuxingApp = 0x4D80;
inline constexpr uint32_t kWritingApp = 0x5741;

// Cue index.
inline constexpr uint32_t kCues = 0x1C53BB6B;
inline constexpr uint32_t kCuePoint = 0xBB;
inline constexpr uint32_t kCueTime = 0xB3;
inline constexpr uint32_t kCueTrackPositions = 0xB7;
inline constexpr uint32_t kCueTrack = 0xF7;
inline constexpr uint32_t kCueClusterPosition = 0xF1;
inline constexpr uint32_t kCueBlockNumber = 0x5378;
inline constexpr uint32_t kCueCodecState = 0xEA;

// Tracks.
inline constexpr uint32_t kTracks = 0x1654AE6B;
inline constexpr uint32_t kTrackEntry = 0xAE;
inline constexpr uint32_t kTrackNumber = 0xD7;
inline constexpr uint32_t kTrackUID = 0x73C5;
inline constexpr uint32_t kTrackType = 0x83;
inline constexpr uint32_t kFlagEnabled = 0xB9;
inline constexpr uint32_t kFlagDefault = 0x88;
inline constexpr uint32_t kFlagLacing = 0x9C;
inline constexpr uint32_t kMinCache = 0x6DE7;
inline constexpr uint32_t kMaxCache = 0x6DF8;
inline constexpr uint32_t kDefaultDuration = 0x23E383;
inline constexpr uint32_t kMaxBlockAdditionID = 0x55EE;
inline constexpr uint32_t kName = 0x536E;
inline constexpr uint32_t kLanguage = 0x22B59C;
inline constexpr uint32_t kCodecID = 0x86;
inline constexpr uint32_t kCodecPrivate = 0x63A2;
inline constexpr uint32_t kCodecName = 0x258688;
inline constexpr uint32_t kCodecSettings = 0x3A9697;
inline constexpr uint32_t kCodecInfoURL = 0x3B4040;
inline constexpr uint32_t kCodecDownloadURL = 0x26B240;
inline constexpr uint32_t kCodecDecodeAll = 0xAA;
inline constexpr uint32_t kTrackOverlay = 0x6FAB;
inline constexpr uint32_t kSeekPreRoll = 0x56BB;

// Video.
inline constexpr uint32_t kVideo = 0xE0;
inline constexpr uint32_t kFlagInterlaced = 0x9A;
inline constexpr uint32_t kFieldOrder = 0x9D;
inline constexpr uint32_t kStereoMode = 0x53B8;
inline constexpr uint32_t kAlphaMode = 0x53C0;
inline constexpr uint32_t kPixelWidth = 0xB0;
inline constexpr uint32_t kPixelHeight = 0xBA;
inline constexpr uint32_t kDisplayWidth = 0x54B0;
inline constexpr uint32_t kDisplayHeight = 0x54BA;
inline constexpr uint32_t kDisplayUnit = 0x54B2;
inline constexpr uint32_t kAspectRatioType = 0x54B3;
inline constexpr uint32_t kColourSpace = 0x2EB524;
inline constexpr uint32_t kGammaValue = 0x2FB523;
inline constexpr uint32_t kFrameRate = 0x2383E3;

// Colour.
inline constexpr uint32_t kColour = 0x55B0;
inline constexpr uint32_t kMatrixCoefficients = 0x55B1;
inline constexpr uint32_t kBitsPerChannel = 0x55B2;
inline constexpr uint32_t kChromaSubsamplingHorz = 0x55B3;
inline constexpr uint32_t kChromaSubsamplingVert = 0x55B4;
inline constexpr uint32_t kCbSubsamplingHorz = 0x55B5;
inline constexpr uint32_t kCbSubsamplingVert = 0x55B6;
inline constexpr uint32_t kChromaSitingHorz = 0x55B7;
inline constexpr uint32_t kChromaSitingVert = 0x55B8;
inline constexpr uint32_t kRange = 0x55B9;
inline constexpr uint32_t kTransferCharacteristics = 0x55BA;
inline constexpr uint32_t kPrimaries = 0x55BB;
inline constexpr uint32_t kMaxCLL = 0x55BC;
inline constexpr uint32_t kMaxFALL = 0x55BD;

// Mastering metadata.
inline constexpr uint32_t kMasteringMetadata = 0x55D0;
inline constexpr uint32_t kPrimaryRChromaticityX = 0x55D1;
inline constexpr uint32_t kPrimaryRChromaticityY = 0x55D2;
inline constexpr uint32_t kPrimaryGChromaticityX = 0x55D3;
inline constexpr uint32_t kPrimaryGChromaticityY = 0x55D4;
inline constexpr uint32_t kPrimaryBChromaticityX = 0x55D5;
inline constexpr uint32_t kPrimaryBChromaticityY = 0x55D6;
inline constexpr uint32_t kWhitePointChromaticityX = 0x55D7;
inline constexpr uint32_t kWhitePointChromaticityY = 0x55D8;
inline constexpr uint32_t kLuminanceMax = 0x55D9;
inline constexpr uint32_t kLuminanceMin = 0x55DA;

// Projection.
inline constexpr uint32_t kProjection = 0x7670;
inline constexpr uint32_t kProjectionType = 0x7671;
inline constexpr uint32_t kProjectionPrivate = 0x7672;
inline constexpr uint32_t kProjectionPoseYaw = 0x7673;
inline constexpr uint32_t kProjectionPosePitch = 0x7674;
inline constexpr uint32_t kProjectionPoseRoll = 0x7675;

// Audio.
inline constexpr uint32_t kAudio = 0xE1;
inline constexpr uint32_t kSamplingFrequency = 0xB5;
inline constexpr uint32_t kOutputSamplingFrequency = 0x78B5;
inline constexpr uint32_t kChannels = 0x9F;
inline constexpr uint32_t kChannelPositions = 0x7D7B;
inline constexpr uint32_t kBitDepth = 0x6264;

// Clusters and blocks.
inline constexpr uint32_t kCluster = 0x1F43B675;
inline constexpr uint32_t kTimecode = 0xE7;
inline constexpr uint32_t kPosition = 0xA7;
inline constexpr uint32_t kPrevSize = 0xAB;
inline constexpr uint32_t kBlockGroup = 0xA0;
inline constexpr uint32_t kBlock = 0xA1;
inline constexpr uint32_t kSimpleBlock = 0xA3;
inline constexpr uint32_t kBlockDuration = 0x9B;
inline constexpr uint32_t kReferencePriority = 0xFA;
inline constexpr uint32_t kReferenceBlock = 0xFB;
inline constexpr uint32_t kReferenceVirtual = 0xFD;
inline constexpr uint32_t kCodecState = 0xA4;
inline constexpr uint32_t kBlockAdditions = 0x75A1;
inline constexpr uint32_t kBlockMore = 0xA6;
inline constexpr uint32_t kBlockAddID = 0xEE;
inline constexpr uint32_t kBlockAdditional = 0xA5;

}  // namespace MatroskaWriter::ids

#endif  // KX_EBML_ELEMENT_IDS_H_
