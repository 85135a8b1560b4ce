/*
 * kx_mkv: Matroska / WebM writer module.
 *
 * The public interface a conversion host compiles against. The host loads the
 * module (kx_mkv.dll on Windows, libkx_mkv.so on Linux), calls one of the two
 * exports to get a catalogue of output formats, picks a row by its container
 * FourCC and then drives the file through that row's function pointers.
 *
 * Every record below crosses the module boundary and is fixed byte for byte
 * (64-bit targets, little-endian, natural alignment); each offset is pinned by
 * a static assertion at the end of this header.
 *
 * Threading: the module starts no threads and takes no locks. Every call runs
 * to completion on the caller's thread. The single-stream interface keeps
 * module-wide state and serves one file at a time; multi-stream handles are
 * independent of each other, but one handle must be used from one thread at a
 * time.
 */
#ifndef KX_MKV_KX_MKV_H_
#define KX_MKV_KX_MKV_H_

/* The header is C as much as C++, so the C++-only spellings that the modernize
   checks ask for (using, <cstdint>, no void parameter list) cannot be used. */
/* NOLINTBEGIN(modernize-*) */

#include <stddef.h>
#include <stdint.h>
#ifndef __cplusplus
#include <uchar.h>
#endif

#if defined(_WIN32)
#if defined(KX_MKV_BUILDING)
#define KX_MKV_API __declspec(dllexport)
#else
#define KX_MKV_API __declspec(dllimport)
#endif
#else
#define KX_MKV_API __attribute__((visibility("default")))
#endif

#ifdef __cplusplus
extern "C" {
#endif

/* A FourCC: four ASCII characters, the first in the lowest byte. */
#define KX_FOURCC(a, b, c, d)                                            \
  ((uint32_t)(uint8_t)(a) | ((uint32_t)(uint8_t)(b) << 8) |              \
   ((uint32_t)(uint8_t)(c) << 16) | ((uint32_t)(uint8_t)(d) << 24))

/* ---- Host records ------------------------------------------------------ */

/* Video part of MediaFileParams. Host-owned gaps are named hostReserved*. */
typedef struct VideoParams {
  uint32_t fourcc;              /* 0: video codec FourCC */
  int32_t width;                /* 4 */
  int32_t height;               /* 8: negative = bottom-up; |height| is used */
  uint8_t hostReserved12[4];    /* 12 */
  double frameRate;             /* 16: frames per second */
  int32_t bitRate;              /* 24: logged only */
  uint8_t hostReserved28[20];   /* 28 */
  uint16_t bitCount;            /* 48: for the BITMAPINFOHEADER only */
  uint8_t hostReserved50[22];   /* 50 */
  uint32_t marker;              /* 72: "MDSR" when the pacing words are valid */
  uint32_t flags;               /* 76: bit 0 = use the display-aspect pair */
  uint8_t hostReserved80[16];   /* 80 */
  uint32_t lightPacingOrAdditionsMode; /* 96: single-stream: light pacing;
                                          multi-stream: additions mode */
  uint8_t hostReserved100[12];  /* 100 */
  uint32_t projection;          /* 112: 360 = spherical video */
  uint32_t stereoMode;          /* 116: 0, 1 or 2, with projection 360 */
  uint8_t hostReserved120[116]; /* 120 */
  uint32_t pacing;              /* 236: with the marker */
  uint8_t hostReserved240[3936]; /* 240 */
  int32_t aspectNumerator;      /* 4176 */
  int32_t aspectDenominator;    /* 4180 */
  uint8_t hostReserved4184[2064]; /* 4184 */
} VideoParams;                  /* 6248 bytes */

/* Audio part of MediaFileParams. */
typedef struct AudioParams {
  uint32_t fourcc;              /* 0: audio codec FourCC */
  int32_t sampleRate;           /* 4: Hz */
  int32_t channels;             /* 8 */
  int32_t bitRate;              /* 12: logged only */
  uint8_t hostReserved16[8];    /* 16 */
  int32_t bitsPerSample;        /* 24 */
  char16_t language[10];        /* 28: NUL-terminated UTF-16, logged only */
  uint32_t marker;              /* 48: "MDSR" when the pacing word is valid */
  uint8_t hostReserved52[4260]; /* 52 */
  uint32_t pacing;              /* 4312 */
  uint8_t hostReserved4316[1908]; /* 4316 */
} AudioParams;                  /* 6224 bytes */

/* Subtitle part of MediaFileParams (logged by the multi-stream interface). */
typedef struct SubtitleParams {
  uint32_t fourcc;              /* 0 */
  uint8_t hostReserved4[12];    /* 4 */
  char16_t language[10];        /* 16: NUL-terminated UTF-16 */
  uint8_t hostReserved36[2048]; /* 36 */
} SubtitleParams;               /* 2084 bytes */

/* Stream parameters: given to CreateMediaFile, and once per stream to
   AddStreamInfoMultiStream. The module only reads it. */
typedef struct MediaFileParams {
  VideoParams video;            /* 0 */
  AudioParams audio;            /* 6248 */
  SubtitleParams subtitle;      /* 12472 */
  uint32_t noVideo;             /* 14556: non-zero = no video track */
  uint32_t noAudio;             /* 14560: non-zero = no audio track */
  uint32_t noSubtitle;          /* 14564: carried, never acted on */
  uint32_t containerFourcc;     /* 14568: catalogue key ("MKV " ...) */
  uint8_t hostReserved14572[29044]; /* 14572 */
} MediaFileParams;              /* 43616 bytes */

/* One compressed sample. Which fields are meaningful depends on the kind of
   stream it is written to; the slots at 16, 24 and 32 are shared. Byte counts
   are signed 32-bit values in the low half of their 8-byte slot. Video data
   of the NAL-unit paths is rewritten in place, so it is not const. */
typedef struct MediaSample {
  uint8_t hostReserved0[8];     /* 0 */
  uint8_t* subtitleData;        /* 8: external subtitle */
  union {
    uint8_t* videoData;         /* 16: video */
    int32_t subtitleSize;       /* 16: external subtitle */
  };
  union {
    int32_t videoSize;          /* 24: video */
    uint8_t* audioData;         /* 24: audio */
  };
  union {
    uint8_t* additionalData;    /* 32: video BlockAdditional */
    int32_t audioSize;          /* 32: audio */
  };
  uint8_t hostReserved40[16];   /* 40 */
  uint32_t additionalSize;      /* 56: video BlockAdditional byte count */
  uint8_t hostReserved60[20];   /* 60 */
  int32_t keyframe;             /* 80: video; non-zero = key frame */
  uint8_t hostReserved84[28];   /* 84 */
  int64_t start;                /* 112: 100-ns units */
  uint8_t hostReserved120[8];   /* 120 */
  int32_t duration;             /* 128: 100-ns units */
  uint8_t hostReserved132[4];   /* 132 */
} MediaSample;                  /* 136 bytes */

/* Optional with an audio sample: a count followed by `count` uint32_t frame
   sizes; the sample's data holds the frames back to back. */
typedef struct FrameSizeTable {
  int32_t count;                /* 0; the sizes follow at offset 4 */
} FrameSizeTable;

static inline const uint32_t* FrameSizeTableSizes(const FrameSizeTable* table) {
  return (const uint32_t*)(const void*)(table + 1);
}

/* Passed to SetDisplayAspectRatio; copied whole, only the pair is used. */
typedef struct AspectRatioRecord {
  uint8_t hostReserved0[12];    /* 0 */
  int32_t numerator;            /* 12 */
  int32_t denominator;          /* 16 */
  uint8_t hostReserved20[4];    /* 20 */
} AspectRatioRecord;            /* 24 bytes */

/* ---- Function tables ---------------------------------------------------- */

/* Single-stream interface. */
typedef void* (*CreateMediaFileFunc)(const char16_t* path, const MediaFileParams* params);
typedef int32_t (*WriteAudioDataFunc)(void* handle, const MediaSample* sample,
                                      const FrameSizeTable* frames);
typedef int32_t (*WriteVideoDataFunc)(void* handle, const MediaSample* sample);
typedef int32_t (*CloseMediaFileFunc)(void* handle);
typedef void (*WriteAudioExtraDataFunc)(void* handle, const uint8_t* data, int32_t size);
typedef void (*WriteVideoExtraDataFunc)(void* handle, const uint8_t* second, int32_t secondSize,
                                        const uint8_t* first, int32_t firstSize);
typedef void (*SetDisplayAspectRatioFunc)(const AspectRatioRecord* record);

/* Multi-stream interface. Every stream is announced with its type and its
   OutStreamIndex, the number by which samples and extra data name it later;
   its Matroska TrackNumber is OutStreamIndex + 1. Extra data is
   length-prefixed (32-bit little-endian lengths): one block for audio and
   subtitles, two (SPS or sequence header or HEVC parameter sets, then PPS)
   for video. A block whose length runs past the given size is refused. */
#define KX_STREAM_VIDEO 2
#define KX_STREAM_AUDIO 3
#define KX_STREAM_SUBPIC_INTERNAL 4 /* accepted, never written */
#define KX_STREAM_SUBPIC_EXTERNAL 5

/* Subtitle FourCCs of external subtitle streams that get a subtitle track
   (Matroska containers only; WebM knows no such text track). Samples carry
   one event's text, extra data the script header for ASS and SSA. Other
   subtitle FourCCs get no track. */
#define KX_SUBTITLE_SRT KX_FOURCC('S', 'R', 'T', ' ') /* plain UTF-8: "S_TEXT/UTF8" */
#define KX_SUBTITLE_ASS KX_FOURCC('A', 'S', 'S', ' ') /* "S_TEXT/ASS" */
#define KX_SUBTITLE_SSA KX_FOURCC('S', 'S', 'A', ' ') /* "S_TEXT/SSA" */

typedef void* (*CreateMediaFileMultiStreamFunc)(void);
typedef int32_t (*AddStreamInfoMultiStreamFunc)(void* handle, int32_t type, uint32_t programid,
                                                uint32_t InStreamindex, uint32_t OutStreamIndex,
                                                const MediaFileParams* params);
typedef int32_t (*InitMediaFileMultiStreamFunc)(void* handle, uint32_t fileFourCC,
                                                const char16_t* fileName, uint64_t reserved);
typedef int32_t (*WriteSampleMultiStreamFunc)(void* handle, uint32_t OutStreamIndex,
                                              const MediaSample* sample,
                                              const FrameSizeTable* frames);
typedef void (*CloseMediaFileMultiStreamFunc)(void* handle);
typedef void (*WriteExtraDataMultiStreamFunc)(void* handle, uint32_t OutStreamIndex,
                                              const uint8_t* data, int32_t size);

/* A codec list: entries whose low 32 bits are a FourCC, ended by 0. */
typedef uint64_t CodecList;

/* ---- Catalogue records --------------------------------------------------- */

typedef struct FileFormat {
  uint32_t fourcc;                      /* 0: container FourCC; 0 ends the table */
  char16_t extension[10];               /* 4 */
  char16_t name[64];                    /* 24 */
  char16_t description[128];            /* 152 */
  const CodecList* audioCodecs;         /* 408 */
  const CodecList* videoCodecs;         /* 416: null for audio-only formats */
  CreateMediaFileFunc CreateMediaFile;  /* 424 */
  WriteAudioDataFunc WriteAudioData;    /* 432 */
  WriteVideoDataFunc WriteVideoData;    /* 440 */
  CloseMediaFileFunc CloseMediaFile;    /* 448 */
  WriteAudioExtraDataFunc WriteAudioExtraData; /* 456 */
  WriteVideoExtraDataFunc WriteVideoExtraData; /* 464 */
  uint64_t flag;                        /* 472: host-interpreted */
  SetDisplayAspectRatioFunc SetDisplayAspectRatio; /* 480 */
} FileFormat;                           /* 488 bytes */

typedef struct FileMultiStreamFormat {
  uint32_t fourcc;                      /* 0 */
  char16_t extension[10];               /* 4 */
  char16_t name[64];                    /* 24 */
  char16_t description[128];            /* 152 */
  const CodecList* audioCodecs;         /* 408 */
  const CodecList* videoCodecs;         /* 416 */
  const void* reserved;                 /* 424: always null */
  CreateMediaFileMultiStreamFunc CreateMediaFileMultiStream; /* 432 */
  AddStreamInfoMultiStreamFunc AddStreamInfoMultiStream;     /* 440 */
  InitMediaFileMultiStreamFunc InitMediaFileMultiStream;     /* 448 */
  WriteSampleMultiStreamFunc WriteSampleMultiStream;         /* 456 */
  CloseMediaFileMultiStreamFunc CloseMediaFileMultiStream;   /* 464 */
  WriteExtraDataMultiStreamFunc WriteExtraDataMultiStream;   /* 472 */
  uint64_t flag;                        /* 480: host-interpreted */
} FileMultiStreamFormat;                /* 488 bytes */

/* ---- Exports -------------------------------------------------------------- */

/* Both return a static table that ends with an all-zero record. They may be
   called any number of times and always return the same pointer. */
KX_MKV_API const FileFormat* GetFileFormats(void);
KX_MKV_API const FileMultiStreamFormat* GetFileMultiStreamFormats(void);

#ifdef __cplusplus
} /* extern "C" */
#endif

/* ---- Layout checks ------------------------------------------------------- */

#ifdef __cplusplus
#define KX_MKV_STATIC_ASSERT(cond, msg) static_assert(cond, msg)
#else
#define KX_MKV_STATIC_ASSERT(cond, msg) _Static_assert(cond, msg)
#endif
#define KX_MKV_AT(type, field, offset) \
  KX_MKV_STATIC_ASSERT(offsetof(type, field) == (offset), #type "." #field)

KX_MKV_STATIC_ASSERT(sizeof(void*) == 8, "the host records are laid out for 64-bit targets");
KX_MKV_STATIC_ASSERT(sizeof(char16_t) == 2, "UTF-16 code units");

KX_MKV_AT(VideoParams, fourcc, 0);
KX_MKV_AT(VideoParams, width, 4);
KX_MKV_AT(VideoParams, height, 8);
KX_MKV_AT(VideoParams, frameRate, 16);
KX_MKV_AT(VideoParams, bitRate, 24);
KX_MKV_AT(VideoParams, bitCount, 48);
KX_MKV_AT(VideoParams, marker, 72);
KX_MKV_AT(VideoParams, flags, 76);
KX_MKV_AT(VideoParams, lightPacingOrAdditionsMode, 96);
KX_MKV_AT(VideoParams, projection, 112);
KX_MKV_AT(VideoParams, stereoMode, 116);
KX_MKV_AT(VideoParams, pacing, 236);
KX_MKV_AT(VideoParams, aspectNumerator, 4176);
KX_MKV_AT(VideoParams, aspectDenominator, 4180);
KX_MKV_STATIC_ASSERT(sizeof(VideoParams) == 6248, "VideoParams size");

KX_MKV_AT(AudioParams, fourcc, 0);
KX_MKV_AT(AudioParams, sampleRate, 4);
KX_MKV_AT(AudioParams, channels, 8);
KX_MKV_AT(AudioParams, bitRate, 12);
KX_MKV_AT(AudioParams, bitsPerSample, 24);
KX_MKV_AT(AudioParams, language, 28);
KX_MKV_AT(AudioParams, marker, 48);
KX_MKV_AT(AudioParams, pacing, 4312);
KX_MKV_STATIC_ASSERT(sizeof(AudioParams) == 6224, "AudioParams size");

KX_MKV_AT(SubtitleParams, fourcc, 0);
KX_MKV_AT(SubtitleParams, language, 16);
KX_MKV_STATIC_ASSERT(sizeof(SubtitleParams) == 2084, "SubtitleParams size");

KX_MKV_AT(MediaFileParams, video, 0);
KX_MKV_AT(MediaFileParams, audio, 6248);
KX_MKV_AT(MediaFileParams, subtitle, 12472);
KX_MKV_AT(MediaFileParams, noVideo, 14556);
KX_MKV_AT(MediaFileParams, noAudio, 14560);
KX_MKV_AT(MediaFileParams, noSubtitle, 14564);
KX_MKV_AT(MediaFileParams, containerFourcc, 14568);
KX_MKV_STATIC_ASSERT(sizeof(MediaFileParams) == 43616, "MediaFileParams size");

KX_MKV_AT(MediaSample, subtitleData, 8);
KX_MKV_AT(MediaSample, videoData, 16);
KX_MKV_AT(MediaSample, subtitleSize, 16);
KX_MKV_AT(MediaSample, videoSize, 24);
KX_MKV_AT(MediaSample, audioData, 24);
KX_MKV_AT(MediaSample, additionalData, 32);
KX_MKV_AT(MediaSample, audioSize, 32);
KX_MKV_AT(MediaSample, additionalSize, 56);
KX_MKV_AT(MediaSample, keyframe, 80);
KX_MKV_AT(MediaSample, start, 112);
KX_MKV_AT(MediaSample, duration, 128);
KX_MKV_STATIC_ASSERT(sizeof(MediaSample) == 136, "MediaSample size");

KX_MKV_AT(FrameSizeTable, count, 0);
KX_MKV_STATIC_ASSERT(sizeof(FrameSizeTable) == 4, "FrameSizeTable header size");

KX_MKV_AT(AspectRatioRecord, numerator, 12);
KX_MKV_AT(AspectRatioRecord, denominator, 16);
KX_MKV_STATIC_ASSERT(sizeof(AspectRatioRecord) == 24, "AspectRatioRecord size");

KX_MKV_AT(FileFormat, fourcc, 0);
KX_MKV_AT(FileFormat, extension, 4);
KX_MKV_AT(FileFormat, name, 24);
KX_MKV_AT(FileFormat, description, 152);
KX_MKV_AT(FileFormat, audioCodecs, 408);
KX_MKV_AT(FileFormat, videoCodecs, 416);
KX_MKV_AT(FileFormat, CreateMediaFile, 424);
KX_MKV_AT(FileFormat, WriteAudioData, 432);
KX_MKV_AT(FileFormat, WriteVideoData, 440);
KX_MKV_AT(FileFormat, CloseMediaFile, 448);
KX_MKV_AT(FileFormat, WriteAudioExtraData, 456);
KX_MKV_AT(FileFormat, WriteVideoExtraData, 464);
KX_MKV_AT(FileFormat, flag, 472);
KX_MKV_AT(FileFormat, SetDisplayAspectRatio, 480);
KX_MKV_STATIC_ASSERT(sizeof(FileFormat) == 488, "FileFormat size");

KX_MKV_AT(FileMultiStreamFormat, fourcc, 0);
KX_MKV_AT(FileMultiStreamFormat, extension, 4);
KX_MKV_AT(FileMultiStreamFormat, name, 24);
KX_MKV_AT(FileMultiStreamFormat, description, 152);
KX_MKV_AT(FileMultiStreamFormat, audioCodecs, 408);
KX_MKV_AT(FileMultiStreamFormat, videoCodecs, 416);
KX_MKV_AT(FileMultiStreamFormat, reserved, 424);
KX_MKV_AT(FileMultiStreamFormat, CreateMediaFileMultiStream, 432);
KX_MKV_AT(FileMultiStreamFormat, AddStreamInfoMultiStream, 440);
KX_MKV_AT(FileMultiStreamFormat, InitMediaFileMultiStream, 448);
KX_MKV_AT(FileMultiStreamFormat, WriteSampleMultiStream, 456);
KX_MKV_AT(FileMultiStreamFormat, CloseMediaFileMultiStream, 464);
KX_MKV_AT(FileMultiStreamFormat, WriteExtraDataMultiStream, 472);
KX_MKV_AT(FileMultiStreamFormat, flag, 480);
KX_MKV_STATIC_ASSERT(sizeof(FileMultiStreamFormat) == 488, "FileMultiStreamFormat size");

#undef KX_MKV_AT

/* NOLINTEND(modernize-*) */

#endif /* KX_MKV_KX_MKV_H_ */
