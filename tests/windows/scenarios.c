/*
 * The shared end-to-end scenarios (see scenarios.h). Every sample is made
 * here from a fixed pseudo-random sequence, so both hosts hand the module the
 * same bytes. Payload bytes are never zero, so that no start code appears by
 * accident inside a synthetic NAL unit.
 */
#include "tests/windows/scenarios.h"

#include <inttypes.h>
#include <stdint.h>
#include <stdlib.h>
#include <string.h>

/* ---- Small growable byte buffer ------------------------------------------ */

typedef struct Bytes {
  uint8_t* data;
  size_t size;
  size_t capacity;
} Bytes;

static void BytesReserve(Bytes* b, size_t extra) {
  if (b->size + extra <= b->capacity) return;
  size_t capacity = b->capacity ? b->capacity : 256;
  while (capacity < b->size + extra) capacity *= 2;
  uint8_t* data = (uint8_t*)realloc(b->data, capacity);
  if (data == NULL) abort(); /* a test program: no way on without memory */
  b->data = data;
  b->capacity = capacity;
}

static void BytesPut(Bytes* b, const void* data, size_t size) {
  BytesReserve(b, size);
  memcpy(b->data + b->size, data, size);
  b->size += size;
}

static void BytesByte(Bytes* b, uint8_t value) { BytesPut(b, &value, 1); }

static void BytesLe32(Bytes* b, uint32_t v) {
  const uint8_t le[4] = {(uint8_t)v, (uint8_t)(v >> 8), (uint8_t)(v >> 16), (uint8_t)(v >> 24)};
  BytesPut(b, le, 4);
}

static void BytesFree(Bytes* b) {
  free(b->data);
  b->data = NULL;
  b->size = b->capacity = 0;
}

/* ---- Deterministic payload -------------------------------------------- */

typedef struct Random {
  uint32_t state;
} Random;

static uint32_t RandomNext(Random* r) {
  uint32_t x = r->state;
  x ^= x << 13;
  x ^= x >> 17;
  x ^= x << 5;
  r->state = x;
  return x;
}

/* `size` bytes from 1 to 255. */
static void PutPayload(Bytes* b, Random* r, size_t size) {
  BytesReserve(b, size);
  for (size_t i = 0; i < size; ++i) b->data[b->size++] = (uint8_t)(RandomNext(r) % 255 + 1);
}

static const uint8_t kStart4[4] = {0, 0, 0, 1};
static const uint8_t kStart3[3] = {0, 0, 1};

/* ---- HEVC parameter sets, written bit by bit ------------------------------ */

typedef struct Bits {
  uint8_t bytes[256];
  size_t bit;
} Bits;

static void BitsPut(Bits* w, uint32_t value, int count) {
  for (int i = count - 1; i >= 0; --i) {
    if ((value >> i) & 1) w->bytes[w->bit / 8] |= (uint8_t)(0x80 >> (w->bit % 8));
    ++w->bit;
  }
}

static void BitsUe(Bits* w, uint32_t value) {
  const uint32_t coded = value + 1;
  int length = 0;
  while ((coded >> length) > 1) ++length;
  BitsPut(w, 0, length);
  BitsPut(w, coded, length + 1);
}

/* rbsp_trailing_bits, then the NAL unit with emulation prevention, after a
 * four-byte start code. */
static void PutNal(Bytes* out, uint8_t type, Bits* w) {
  BitsPut(w, 1, 1);
  while (w->bit % 8) BitsPut(w, 0, 1);
  BytesPut(out, kStart4, 4);
  BytesByte(out, (uint8_t)(type << 1));
  BytesByte(out, 1);
  int zeros = 0;
  for (size_t i = 0; i < w->bit / 8; ++i) {
    const uint8_t byte = w->bytes[i];
    if (zeros >= 2 && byte <= 3) {
      BytesByte(out, 3);
      zeros = 0;
    }
    BytesByte(out, byte);
    zeros = byte == 0 ? zeros + 1 : 0;
  }
}

/* Main profile, level 3, progressive frames, no sub-layers. */
static void PutProfileTierLevel(Bits* w) {
  BitsPut(w, 0, 2);           /* general_profile_space */
  BitsPut(w, 0, 1);           /* general_tier_flag */
  BitsPut(w, 1, 5);           /* general_profile_idc */
  BitsPut(w, 0x60000000, 32); /* compatibility: Main and Main 10 */
  BitsPut(w, 0x9000, 16);     /* progressive_source, frame_only_constraint */
  BitsPut(w, 0, 32);
  BitsPut(w, 90, 8); /* general_level_idc */
}

static void PutHevcParameterSets(Bytes* out) {
  Bits vps = {{0}, 0};
  BitsPut(&vps, 0, 4); /* vps_video_parameter_set_id */
  BitsPut(&vps, 3, 2); /* base layer internal and available */
  BitsPut(&vps, 0, 6); /* vps_max_layers_minus1 */
  BitsPut(&vps, 0, 3); /* vps_max_sub_layers_minus1 */
  BitsPut(&vps, 1, 1); /* vps_temporal_id_nesting_flag */
  BitsPut(&vps, 0xFFFF, 16);
  PutProfileTierLevel(&vps);
  BitsPut(&vps, 1, 1); /* vps_sub_layer_ordering_info_present_flag */
  BitsUe(&vps, 4);
  BitsUe(&vps, 2);
  BitsUe(&vps, 0);
  BitsPut(&vps, 0, 6); /* vps_max_layer_id */
  BitsUe(&vps, 0);     /* vps_num_layer_sets_minus1 */
  BitsPut(&vps, 0, 2); /* no timing info, no extension */
  PutNal(out, 32, &vps);

  Bits sps = {{0}, 0};
  BitsPut(&sps, 0, 4); /* sps_video_parameter_set_id */
  BitsPut(&sps, 0, 3); /* sps_max_sub_layers_minus1 */
  BitsPut(&sps, 1, 1); /* sps_temporal_id_nesting_flag */
  PutProfileTierLevel(&sps);
  BitsUe(&sps, 0);   /* sps_seq_parameter_set_id */
  BitsUe(&sps, 1);   /* chroma_format_idc 4:2:0 */
  BitsUe(&sps, 320); /* pic_width_in_luma_samples */
  BitsUe(&sps, 240);
  BitsPut(&sps, 0, 1); /* conformance_window_flag */
  BitsUe(&sps, 0);     /* bit depths */
  BitsUe(&sps, 0);
  BitsUe(&sps, 4);     /* log2_max_pic_order_cnt_lsb_minus4 */
  BitsPut(&sps, 1, 1); /* sps_sub_layer_ordering_info_present_flag */
  BitsUe(&sps, 4);
  BitsUe(&sps, 2);
  BitsUe(&sps, 0);
  BitsUe(&sps, 0); /* coding and transform block sizes, hierarchy depths */
  BitsUe(&sps, 3);
  BitsUe(&sps, 0);
  BitsUe(&sps, 3);
  BitsUe(&sps, 0);
  BitsUe(&sps, 0);
  BitsPut(&sps, 0, 1); /* scaling_list_enabled_flag */
  BitsPut(&sps, 3, 2); /* amp, sample adaptive offset */
  BitsPut(&sps, 0, 1); /* pcm_enabled_flag */
  BitsUe(&sps, 2);     /* num_short_term_ref_pic_sets */
  BitsUe(&sps, 1);     /* set 0: one negative picture */
  BitsUe(&sps, 0);
  BitsUe(&sps, 0);
  BitsPut(&sps, 1, 1);
  BitsPut(&sps, 1, 1); /* set 1: predicted from set 0 */
  BitsPut(&sps, 0, 1);
  BitsUe(&sps, 0);
  BitsPut(&sps, 1, 1);
  BitsPut(&sps, 0, 1);
  BitsPut(&sps, 1, 1);
  BitsPut(&sps, 0, 1); /* long_term_ref_pics_present_flag */
  BitsPut(&sps, 3, 2); /* temporal mvp, strong intra smoothing */
  BitsPut(&sps, 1, 1); /* vui_parameters_present_flag */
  BitsPut(&sps, 1, 1); /* aspect_ratio_info_present_flag */
  BitsPut(&sps, 1, 8); /* square samples */
  BitsPut(&sps, 0, 3); /* overscan, video signal type, chroma location */
  BitsPut(&sps, 0, 3);
  BitsPut(&sps, 0, 1); /* default_display_window_flag */
  BitsPut(&sps, 1, 1); /* vui_timing_info_present_flag */
  BitsPut(&sps, 1, 32);
  BitsPut(&sps, 25, 32);
  BitsPut(&sps, 0, 2); /* poc proportional, hrd parameters */
  BitsPut(&sps, 1, 1); /* bitstream_restriction_flag */
  BitsPut(&sps, 0, 3);
  BitsUe(&sps, 0); /* min_spatial_segmentation_idc */
  BitsUe(&sps, 2);
  BitsUe(&sps, 1);
  BitsUe(&sps, 15);
  BitsUe(&sps, 15);
  BitsPut(&sps, 0, 1); /* sps_extension_present_flag */
  PutNal(out, 33, &sps);

  Bits pps = {{0}, 0};
  BitsUe(&pps, 0);
  BitsUe(&pps, 0);
  BitsPut(&pps, 0, 7);
  BitsUe(&pps, 0);
  BitsUe(&pps, 0);
  BitsUe(&pps, 0); /* init_qp_minus26 */
  BitsPut(&pps, 0, 2);
  BitsPut(&pps, 1, 1); /* cu_qp_delta_enabled_flag */
  BitsUe(&pps, 0);
  BitsUe(&pps, 0);
  BitsUe(&pps, 0);
  BitsPut(&pps, 0, 4);
  BitsPut(&pps, 0, 1); /* tiles_enabled_flag */
  BitsPut(&pps, 1, 1); /* entropy_coding_sync_enabled_flag: wavefront */
  BitsPut(&pps, 0, 4); /* loop filter, deblocking, scaling list, list modification */
  BitsUe(&pps, 0);
  BitsPut(&pps, 0, 2);
  PutNal(out, 34, &pps);
}

/* ---- Frames of the synthetic streams ------------------------------------- */

typedef enum VideoKind {
  kVideoAnnexBH264, /* H264: Annex B, parameter sets inline, 3-byte codes */
  kVideoNalH264,    /* I264: 4-byte codes, several slices per frame */
  kVideoHevc,       /* Annex B HEVC, parameter sets with each key frame */
  kVideoMpeg2,      /* sequence header with each key frame */
  kVideoOpaque      /* VP8, VP9, VFW: bytes without structure */
} VideoKind;

static void MakeVideoFrame(Bytes* out, VideoKind kind, Random* r, int index, int key) {
  out->size = 0;
  const size_t body = 200 + RandomNext(r) % 900 + (key ? 1500 : 0);
  switch (kind) {
    case kVideoAnnexBH264:
      BytesPut(out, kStart4, 4);
      BytesByte(out, 0x09); /* access unit delimiter */
      BytesByte(out, 0xF0);
      if (key) {
        static const uint8_t sps[] = {0x67, 0x64, 0x00, 0x1F, 0xAC, 0xD9, 0x40, 0x50, 0x05, 0xBB};
        static const uint8_t pps[] = {0x68, 0xEB, 0xE3, 0xCB, 0x22, 0xC0};
        BytesPut(out, kStart3, 3);
        BytesPut(out, sps, sizeof sps);
        BytesPut(out, kStart3, 3);
        BytesPut(out, pps, sizeof pps);
      }
      BytesPut(out, kStart3, 3);
      BytesByte(out, key ? 0x65 : 0x41);
      PutPayload(out, r, body);
      break;
    case kVideoNalH264: {
      if (key) {
        BytesPut(out, kStart4, 4);
        BytesByte(out, 0x67);
        PutPayload(out, r, 12);
        BytesPut(out, kStart4, 4);
        BytesByte(out, 0x68);
        PutPayload(out, r, 4);
      }
      const int slices = 1 + index % 3;
      for (int s = 0; s < slices; ++s) {
        BytesPut(out, kStart4, 4);
        BytesByte(out, key ? 0x65 : 0x41);
        PutPayload(out, r, body / (size_t)slices);
      }
      if (index % 5 == 4) { /* an SEI the NAL path drops */
        BytesPut(out, kStart4, 4);
        BytesByte(out, 0x06);
        PutPayload(out, r, 9);
      }
      break;
    }
    case kVideoHevc:
      BytesPut(out, kStart4, 4);
      BytesByte(out, 35 << 1); /* access unit delimiter */
      BytesByte(out, 1);
      BytesByte(out, 0x50);
      if (key) PutHevcParameterSets(out);
      BytesPut(out, (index & 1) ? kStart3 : kStart4, (index & 1) ? 3 : 4);
      BytesByte(out, (uint8_t)((key ? 19 : 1) << 1));
      BytesByte(out, 1);
      PutPayload(out, r, body);
      if (index % 7 == 3) { /* a trailing suffix SEI clears the key flag */
        BytesPut(out, kStart3, 3);
        BytesByte(out, 40 << 1);
        BytesByte(out, 1);
        PutPayload(out, r, 7);
      }
      break;
    case kVideoMpeg2:
      if (key) {
        static const uint8_t sequence[] = {0,    0,    1,    0xB3, 0x14, 0x00,
                                           0xF0, 0x13, 0xFF, 0xFF, 0xE0, 0x18};
        static const uint8_t extension[] = {0, 0, 1, 0xB5, 0x14, 0x8A, 0x00, 0x01, 0x00, 0x00};
        static const uint8_t gop[] = {0, 0, 1, 0xB8, 0x00, 0x08, 0x00, 0x40};
        BytesPut(out, sequence, sizeof sequence);
        BytesPut(out, extension, sizeof extension);
        BytesPut(out, gop, sizeof gop);
      }
      BytesPut(out, kStart3, 3);
      BytesByte(out, 0x00); /* picture header */
      PutPayload(out, r, body);
      break;
    case kVideoOpaque:
      PutPayload(out, r, body);
      break;
  }
}

/* ---- Host records --------------------------------------------------------- */

static MediaFileParams* NewParams(void) {
  MediaFileParams* p = (MediaFileParams*)calloc(1, sizeof(MediaFileParams));
  if (p == NULL) abort();
  return p;
}

static void SetVideo(MediaFileParams* p, uint32_t fourcc, int32_t width, int32_t height,
                     double fps) {
  p->video.fourcc = fourcc;
  p->video.width = width;
  p->video.height = height;
  p->video.frameRate = fps;
  p->video.bitRate = 1500000;
  p->video.bitCount = 24;
}

static void SetAudio(MediaFileParams* p, uint32_t fourcc, int32_t rate, int32_t channels,
                     int32_t bits) {
  p->audio.fourcc = fourcc;
  p->audio.sampleRate = rate;
  p->audio.channels = channels;
  p->audio.bitRate = 192000;
  p->audio.bitsPerSample = bits;
  p->audio.language[0] = u'e';
  p->audio.language[1] = u'n';
  p->audio.language[2] = u'g';
}

/* ---- The run ---------------------------------------------------------- */

enum { kPathCapacity = 2048 };

typedef struct Run {
  const FileFormat* single;
  const FileMultiStreamFormat* multi;
  const char16_t* dir;
  FILE* report;
  int failures;
  char16_t path[kPathCapacity];
} Run;

static void Fail(Run* run, const char* id, const char* what) {
  ++run->failures;
  fprintf(run->report, "FAIL %s: %s\n", id, what);
}

static const char16_t* PathOf(Run* run, const char16_t* name) {
  size_t n = 0;
  for (const char16_t* s = run->dir; *s && n + 1 < kPathCapacity; ++s) run->path[n++] = *s;
  for (const char16_t* s = name; *s && n + 1 < kPathCapacity; ++s) run->path[n++] = *s;
  run->path[n] = 0;
  return run->path;
}

static const FileFormat* SingleRow(Run* run, const char* id, uint32_t fourcc) {
  for (const FileFormat* f = run->single; f != NULL && f->fourcc != 0; ++f) {
    if (f->fourcc == fourcc) return f;
  }
  Fail(run, id, "no single-stream row");
  return NULL;
}

static const FileMultiStreamFormat* MultiRow(Run* run, const char* id, uint32_t fourcc) {
  for (const FileMultiStreamFormat* f = run->multi; f != NULL && f->fourcc != 0; ++f) {
    if (f->fourcc == fourcc) return f;
  }
  Fail(run, id, "no multi-stream row");
  return NULL;
}

/* The times of a stream of equal frames: frame i starts at i * num / den
 * (100-ns units), so that the sum of durations does not drift. */
typedef struct Clock {
  int64_t num;
  int64_t den;
  int64_t offset;
} Clock;

static int64_t ClockAt(const Clock* c, int i) { return c->offset + (int64_t)i * c->num / c->den; }

static void FillVideoSample(MediaSample* s, Bytes* frame, const Clock* c, int i, int key) {
  memset(s, 0, sizeof *s);
  s->videoData = frame->data;
  s->videoSize = (int32_t)frame->size;
  s->keyframe = key;
  s->start = ClockAt(c, i);
  s->duration = (int32_t)(ClockAt(c, i + 1) - ClockAt(c, i));
}

static void FillAudioSample(MediaSample* s, Bytes* data, const Clock* c, int i, int frames) {
  memset(s, 0, sizeof *s);
  s->audioData = data->data;
  s->audioSize = (int32_t)data->size;
  s->start = ClockAt(c, i);
  s->duration = (int32_t)(ClockAt(c, i + frames) - ClockAt(c, i));
}

/* ---- Single-stream scenarios ------------------------------------------- */

typedef struct SingleSpec {
  const char* id;
  uint32_t container;
  uint32_t video; /* 0: no video */
  VideoKind video_kind;
  int32_t width, height;
  double fps;
  int video_frames;
  int key_interval;
  int64_t video_gap_at; /* frame index after which the times jump, 0: none */
  uint32_t audio;       /* 0: no audio */
  int32_t rate, channels, bits;
  int64_t audio_frame_num; /* 100-ns per audio frame = num / rate */
  int audio_frames;
  int frames_per_sample;          /* > 1: a FrameSizeTable with that many frames */
  int32_t aspect_num, aspect_den; /* SetDisplayAspectRatio when non-zero */
  int pacing;                     /* "MDSR" marker with light pacing */
  int video_extra;                /* 0 none, 1 before the samples, 2 after ten frames */
  int audio_extra;                /* same */
} SingleSpec;

static void SingleExtraVideo(const FileFormat* row, void* h, const SingleSpec* spec) {
  if (spec->video_kind == kVideoHevc) {
    Bytes sets = {0};
    PutHevcParameterSets(&sets);
    row->WriteVideoExtraData(h, NULL, 0, sets.data, (int32_t)sets.size);
    BytesFree(&sets);
  } else if (spec->video_kind == kVideoMpeg2) {
    Bytes frame = {0};
    Random r = {7};
    MakeVideoFrame(&frame, kVideoMpeg2, &r, 0, 1);
    row->WriteVideoExtraData(h, NULL, 0, frame.data, (int32_t)frame.size);
    BytesFree(&frame);
  } else {
    static const uint8_t sps[] = {0x67, 0x64, 0x00, 0x1F, 0xAC, 0xD9, 0x40, 0x50, 0x05, 0xBB};
    static const uint8_t pps[] = {0x68, 0xEB, 0xE3, 0xCB, 0x22, 0xC0};
    row->WriteVideoExtraData(h, pps, (int32_t)sizeof pps, sps, (int32_t)sizeof sps);
  }
}

static void SingleExtraAudio(const FileFormat* row, void* h, const SingleSpec* spec) {
  Bytes extra = {0};
  if (spec->audio == KX_FOURCC('V', 'B', 'I', 'S')) {
    Random r = {99};
    BytesByte(&extra, 2);
    BytesByte(&extra, 30);
    BytesByte(&extra, 120);
    PutPayload(&extra, &r, 30 + 120 + 2600);
  } else {
    BytesByte(&extra, 0x11); /* AAC LC, 48 kHz, stereo */
    BytesByte(&extra, 0x90);
  }
  row->WriteAudioExtraData(h, extra.data, (int32_t)extra.size);
  BytesFree(&extra);
}

static void RunSingle(Run* run, const SingleSpec* spec, const char16_t* file) {
  const FileFormat* row = SingleRow(run, spec->id, spec->container);
  if (row == NULL) return;
  MediaFileParams* params = NewParams();
  params->containerFourcc = spec->container;
  if (spec->video) {
    SetVideo(params, spec->video, spec->width, spec->height, spec->fps);
  } else {
    params->noVideo = 1;
  }
  if (spec->audio) {
    SetAudio(params, spec->audio, spec->rate, spec->channels, spec->bits);
  } else {
    params->noAudio = 1;
  }
  if (spec->pacing) {
    params->video.marker = KX_FOURCC('M', 'D', 'S', 'R');
    params->video.pacing = 1;
    params->video.lightPacingOrAdditionsMode = 1;
  }
  if (spec->aspect_num && row->SetDisplayAspectRatio) {
    AspectRatioRecord aspect;
    memset(&aspect, 0, sizeof aspect);
    aspect.numerator = spec->aspect_num;
    aspect.denominator = spec->aspect_den;
    row->SetDisplayAspectRatio(&aspect);
  }

  void* h = row->CreateMediaFile(PathOf(run, file), params);
  int64_t video_bytes = 0;
  int64_t audio_bytes = 0;
  if (h != NULL) {
    if (spec->video_extra == 1) SingleExtraVideo(row, h, spec);
    if (spec->audio_extra == 1) SingleExtraAudio(row, h, spec);

    const int64_t frame_num = (int64_t)(10000000.0 / spec->fps * 1000.0 + 0.5);
    Clock vclock = {frame_num, 1000, 0};
    Clock aclock = {spec->audio_frame_num, spec->rate > 0 ? spec->rate : 1, 0};
    Random r = {0x1234567u + (uint32_t)spec->video + (uint32_t)spec->audio};
    Bytes frame = {0};
    Bytes audio = {0};
    int v = 0;
    int a = 0;
    const int vcount = spec->video ? spec->video_frames : 0;
    const int acount = spec->audio ? spec->audio_frames : 0;
    const int per = spec->frames_per_sample > 1 ? spec->frames_per_sample : 1;
    while (v < vcount || a < acount) {
      int64_t vt = ClockAt(&vclock, v);
      if (spec->video_gap_at && v > spec->video_gap_at) vt += 100000000; /* 10 s later */
      const int64_t at = ClockAt(&aclock, a);
      if (v < vcount && (a >= acount || vt <= at)) {
        const int key = v % spec->key_interval == 0;
        MakeVideoFrame(&frame, spec->video_kind, &r, v, key);
        MediaSample s;
        FillVideoSample(&s, &frame, &vclock, v, key);
        s.start = vt;
        video_bytes += row->WriteVideoData(h, &s);
        ++v;
        if (v == 10 && spec->video_extra == 2) SingleExtraVideo(row, h, spec);
      } else {
        audio.size = 0;
        uint32_t sizes[1 + 8];
        sizes[0] = (uint32_t)per;
        for (int k = 0; k < per; ++k) {
          const size_t size = 100 + RandomNext(&r) % 400;
          sizes[1 + k] = (uint32_t)size;
          PutPayload(&audio, &r, size);
        }
        MediaSample s;
        FillAudioSample(&s, &audio, &aclock, a, per);
        audio_bytes += row->WriteAudioData(h, &s, per > 1 ? (const FrameSizeTable*)sizes : NULL);
        a += per;
        if (a >= 10 && a < 10 + per && spec->audio_extra == 2) SingleExtraAudio(row, h, spec);
      }
    }
    BytesFree(&frame);
    BytesFree(&audio);
    if (row->CloseMediaFile(h) != 0) Fail(run, spec->id, "CloseMediaFile did not return 0");
  }
  fprintf(run->report, "%s: handle=%s video_bytes=%" PRId64 " audio_bytes=%" PRId64 "\n", spec->id,
          h != NULL ? "yes" : "no", video_bytes, audio_bytes);
  free(params);
}

/* ---- Multi-stream scenarios ----------------------------------------------- */

typedef struct MultiStream {
  int32_t type; /* 2 video, 3 audio, 5 external subtitle */
  uint32_t out_index;
  uint32_t fourcc;
  VideoKind video_kind;
  int32_t a, b; /* width and height, or rate and channels */
  int frames;
  int additions; /* video: flags bit 0 with additions mode 1 */
  int extra;     /* 1: extra data before the samples, 2: after ten samples */
} MultiStream;

typedef struct MultiSpec {
  const char* id;
  uint32_t container;
  int count;
  MultiStream streams[4];
} MultiSpec;

static void MultiExtra(const FileMultiStreamFormat* row, void* h, const MultiStream* st) {
  Bytes extra = {0};
  if (st->type == 2) {
    if (st->video_kind == kVideoHevc) {
      Bytes sets = {0};
      PutHevcParameterSets(&sets);
      BytesLe32(&extra, (uint32_t)sets.size);
      BytesPut(&extra, sets.data, sets.size);
      BytesLe32(&extra, 0);
      BytesFree(&sets);
    } else {
      static const uint8_t sps[] = {0x67, 0x4D, 0x40, 0x1E, 0x9A, 0x66, 0x02, 0x80, 0x2D, 0xD8};
      static const uint8_t pps[] = {0x68, 0xEE, 0x3C, 0x80};
      BytesLe32(&extra, sizeof sps);
      BytesPut(&extra, sps, sizeof sps);
      BytesLe32(&extra, sizeof pps);
      BytesPut(&extra, pps, sizeof pps);
    }
  } else if (st->type == 3) {
    static const uint8_t aac[] = {0x12, 0x10};
    BytesLe32(&extra, sizeof aac);
    BytesPut(&extra, aac, sizeof aac);
  } else {
    static const char header[] = "[Script Info]\nScriptType: v4.00+\n";
    BytesLe32(&extra, sizeof header - 1);
    BytesPut(&extra, header, sizeof header - 1);
  }
  row->WriteExtraDataMultiStream(h, st->out_index, extra.data, (int32_t)extra.size);
  BytesFree(&extra);
}

static void RunMulti(Run* run, const MultiSpec* spec, const char16_t* file) {
  const FileMultiStreamFormat* row = MultiRow(run, spec->id, spec->container);
  if (row == NULL) return;
  void* h = row->CreateMediaFileMultiStream();
  MediaFileParams* params = NewParams();
  for (int i = 0; i < spec->count; ++i) {
    const MultiStream* st = &spec->streams[i];
    memset(params, 0, sizeof *params);
    if (st->type == 2) {
      SetVideo(params, st->fourcc, st->a, st->b, 25.0);
      if (st->additions) {
        params->video.flags = 1;
        params->video.lightPacingOrAdditionsMode = 1;
      }
      params->noAudio = 1;
    } else if (st->type == 3) {
      SetAudio(params, st->fourcc, st->a, st->b, 16);
      params->noVideo = 1;
    } else {
      params->subtitle.fourcc = st->fourcc;
      params->noVideo = 1;
      params->noAudio = 1;
    }
    if (row->AddStreamInfoMultiStream(h, st->type, 1, (uint32_t)i, st->out_index, params) != 1)
      Fail(run, spec->id, "AddStreamInfoMultiStream did not return 1");
  }
  free(params);

  const int32_t init = row->InitMediaFileMultiStream(h, spec->container, PathOf(run, file), 0);
  int64_t calls = 0;
  if (h != NULL && init) {
    for (int i = 0; i < spec->count; ++i) {
      if (spec->streams[i].extra == 1) MultiExtra(row, h, &spec->streams[i]);
    }
    /* Round-robin by time over all streams; each keeps its own clock. */
    int done[4] = {0};
    Random r = {0xC0FFEEu};
    Bytes data = {0};
    for (;;) {
      int next = -1;
      int64_t best = 0;
      Clock clocks[4];
      for (int i = 0; i < spec->count; ++i) {
        const MultiStream* st = &spec->streams[i];
        clocks[i].num = st->type == 3 ? 1024 * 10000000LL : 400000;
        clocks[i].den = st->type == 3 ? st->a : 1;
        clocks[i].offset = st->type == 5 ? 5000000 : 0;
        if (st->type == 5) clocks[i].num = 10000000; /* one line a second */
        if (done[i] >= st->frames) continue;
        const int64_t t = ClockAt(&clocks[i], done[i]);
        if (next < 0 || t < best) {
          next = i;
          best = t;
        }
      }
      if (next < 0) break;
      const MultiStream* st = &spec->streams[next];
      const int i = done[next];
      MediaSample s;
      if (st->type == 2) {
        const int key = i % 25 == 0;
        MakeVideoFrame(&data, st->video_kind, &r, i, key);
        FillVideoSample(&s, &data, &clocks[next], i, key);
        uint8_t alpha[64];
        if (st->additions) {
          for (size_t k = 0; k < sizeof alpha; ++k) alpha[k] = (uint8_t)(RandomNext(&r) | 1);
          s.additionalData = alpha;
          s.additionalSize = sizeof alpha;
        }
        row->WriteSampleMultiStream(h, st->out_index, &s, NULL);
      } else if (st->type == 3) {
        data.size = 0;
        PutPayload(&data, &r, 150 + RandomNext(&r) % 300);
        FillAudioSample(&s, &data, &clocks[next], i, 1);
        row->WriteSampleMultiStream(h, st->out_index, &s, NULL);
      } else {
        data.size = 0;
        static const char line[] = "Dialogue: 0,0:00:00.00,0:00:01.00,Default,,0,0,0,,hello";
        BytesPut(&data, line, sizeof line - 1);
        memset(&s, 0, sizeof s);
        s.subtitleData = data.data;
        s.subtitleSize = (int32_t)data.size;
        s.start = ClockAt(&clocks[next], i);
        s.duration = 9000000;
        row->WriteSampleMultiStream(h, st->out_index, &s, NULL);
      }
      ++calls;
      done[next] = i + 1;
      if (done[next] == 10 && st->extra == 2) MultiExtra(row, h, st);
    }
    BytesFree(&data);
  }
  row->CloseMediaFileMultiStream(h);
  fprintf(run->report, "%s: handle=%s init=%d samples=%" PRId64 "\n", spec->id,
          h != NULL ? "yes" : "no", (int)init, calls);
}

/* ---- The table of scenarios ---------------------------------------------- */

#define FCC KX_FOURCC

static const SingleSpec kSingle[] = {
    {.id = "single_mkv_h264_aac",
     .container = FCC('M', 'K', 'V', ' '),
     .video = FCC('H', '2', '6', '4'),
     .video_kind = kVideoAnnexBH264,
     .width = 640,
     .height = 360,
     .fps = 25.0,
     .video_frames = 75,
     .key_interval = 25,
     .audio = FCC('A', 'A', 'C', ' '),
     .rate = 48000,
     .channels = 2,
     .bits = 16,
     .audio_frame_num = 1024 * 10000000LL,
     .audio_frames = 141,
     .frames_per_sample = 1,
     .aspect_num = 1920,
     .aspect_den = 1080,
     .video_extra = 2,
     .audio_extra = 1},
    {.id = "single_kmkv_i264_ac3",
     .container = FCC('K', 'M', 'K', 'V'),
     .video = FCC('I', '2', '6', '4'),
     .video_kind = kVideoNalH264,
     .width = 720,
     .height = 576,
     .fps = 25.0,
     .video_frames = 60,
     .key_interval = 12,
     .audio = FCC('A', 'C', '3', ' '),
     .rate = 48000,
     .channels = 6,
     .bits = 16,
     .audio_frame_num = 1536 * 10000000LL,
     .audio_frames = 75,
     .frames_per_sample = 3,
     .pacing = 1,
     .video_extra = 1},
    {.id = "single_hmkv_hevc_ac3",
     .container = FCC('H', 'M', 'K', 'V'),
     .video = FCC('H', 'E', 'V', 'C'),
     .video_kind = kVideoHevc,
     .width = 320,
     .height = 240,
     .fps = 25.0,
     .video_frames = 60,
     .key_interval = 20,
     .audio = FCC('A', 'C', '3', ' '),
     .rate = 48000,
     .channels = 2,
     .bits = 16,
     .audio_frame_num = 1536 * 10000000LL,
     .audio_frames = 75,
     .frames_per_sample = 1,
     .video_extra = 1},
    {.id = "single_webm_vp9_vorbis",
     .container = FCC('W', 'E', 'B', 'M'),
     .video = FCC('V', 'P', '9', ' '),
     .video_kind = kVideoOpaque,
     .width = 426,
     .height = 240,
     .fps = 30.0,
     .video_frames = 60,
     .key_interval = 30,
     .audio = FCC('V', 'B', 'I', 'S'),
     .rate = 44100,
     .channels = 2,
     .bits = 16,
     .audio_frame_num = 1024 * 10000000LL,
     .audio_frames = 86,
     .frames_per_sample = 1,
     .audio_extra = 1},
    {.id = "single_mka_mp3",
     .container = FCC('M', 'K', 'A', ' '),
     .video_kind = kVideoOpaque,
     .fps = 25.0,
     .key_interval = 1,
     .audio = FCC('M', 'P', '3', ' '),
     .rate = 44100,
     .channels = 2,
     .bits = 16,
     .audio_frame_num = 1152 * 10000000LL,
     .audio_frames = 120,
     .frames_per_sample = 1},
    {.id = "single_mkv_mpeg2_pcm",
     .container = FCC('M', 'K', 'V', ' '),
     .video = FCC('M', 'P', '2', 'V'),
     .video_kind = kVideoMpeg2,
     .width = 720,
     .height = 480,
     .fps = 29.97,
     .video_frames = 45,
     .key_interval = 15,
     .audio = FCC('P', 'C', 'M', ' '),
     .rate = 48000,
     .channels = 2,
     .bits = 16,
     .audio_frame_num = 1600 * 10000000LL,
     .audio_frames = 45,
     .frames_per_sample = 1,
     .aspect_num = 4,
     .aspect_den = 3,
     .video_extra = 2},
    {.id = "single_mkv_vfw_kaac_gap",
     .container = FCC('M', 'K', 'V', ' '),
     .video = FCC('M', 'J', 'P', 'G'),
     .video_kind = kVideoOpaque,
     .width = 320,
     .height = -240,
     .fps = 25.0,
     .video_frames = 40,
     .key_interval = 5,
     .video_gap_at = 20,
     .audio = FCC('K', 'A', 'A', 'C'),
     .rate = 48000,
     .channels = 2,
     .bits = 16,
     .audio_frame_num = 1024 * 10000000LL,
     .audio_frames = 40,
     .frames_per_sample = 1},
    {.id = "single_mkv_empty",
     .container = FCC('M', 'K', 'V', ' '),
     .video = FCC('H', '2', '6', '4'),
     .video_kind = kVideoAnnexBH264,
     .width = 640,
     .height = 360,
     .fps = 25.0,
     .key_interval = 25,
     .audio = FCC('A', 'A', 'C', ' '),
     .rate = 48000,
     .channels = 2,
     .bits = 16,
     .audio_frame_num = 1024 * 10000000LL,
     .frames_per_sample = 1},
    {.id = "single_mkv_missing_folder",
     .container = FCC('M', 'K', 'V', ' '),
     .video = FCC('H', '2', '6', '4'),
     .video_kind = kVideoAnnexBH264,
     .width = 640,
     .height = 360,
     .fps = 25.0,
     .video_frames = 10,
     .key_interval = 25,
     .audio = FCC('A', 'A', 'C', ' '),
     .rate = 48000,
     .channels = 2,
     .bits = 16,
     .audio_frame_num = 1024 * 10000000LL,
     .audio_frames = 10,
     .frames_per_sample = 1},
};

/* File names, one per scenario, single-stream ones first. Some are not ASCII:
 * accents, Japanese and Chinese text and a character outside the BMP (a
 * surrogate pair in UTF-16). */
static const char16_t* const kFileNames[] = {
    u"single_mkv_h264_aac.mkv",
    u"single_kmkv_i264_ac3.mkv",
    u"single_hmkv_hevc_ac3.mkv",
    u"single_webm_vp9_vorbis.webm",
    u"single_mka_mp3.mka",
    u"\u00e9t\u00e9_\u30d5\u30a1\u30a4\u30eb_\U0001F3AC.mkv",
    u"single_mkv_vfw_kaac_gap.mkv",
    u"single_mkv_empty.mkv",
    u"missing_folder/never.mkv",
    u"multi_mkv_h264_aac_ac3.mkv",
    u"multi_webm_vp8_alpha_opus.webm",
    u"\u591a\u8def_\u00f1_hevc.mkv",
    u"multi_mka_two_audio.mka",
};

static const MultiSpec kMulti[] = {
    {"multi_mkv_h264_aac_ac3",
     FCC('M', 'K', 'V', ' '),
     4,
     {{2, 0, FCC('H', '2', '6', '4'), kVideoAnnexBH264, 640, 360, 60, 0, 2},
      {3, 1, FCC('A', 'A', 'C', ' '), kVideoOpaque, 48000, 2, 110, 0, 1},
      {3, 2, FCC('A', 'C', '3', ' '), kVideoOpaque, 48000, 6, 70, 0, 0},
      {5, 3, FCC('S', 'A', 'S', 'S'), kVideoOpaque, 0, 0, 2, 0, 1}}},
    {"multi_webm_vp8_alpha_opus",
     FCC('W', 'E', 'B', 'M'),
     2,
     {{2, 0, FCC('V', 'P', '8', ' '), kVideoOpaque, 320, 240, 50, 1, 0},
      {3, 1, FCC('O', 'P', 'U', 'S'), kVideoOpaque, 48000, 2, 90, 0, 0}}},
    {"multi_hmkv_hevc_aac",
     FCC('H', 'M', 'K', 'V'),
     2,
     {{2, 0, FCC('H', 'E', 'V', 'C'), kVideoHevc, 320, 240, 50, 0, 1},
      {3, 1, FCC('A', 'A', 'C', ' '), kVideoOpaque, 44100, 2, 90, 0, 2}}},
    {"multi_mka_two_audio",
     FCC('M', 'K', 'A', ' '),
     2,
     {{3, 0, FCC('A', 'A', 'C', ' '), kVideoOpaque, 48000, 2, 60, 0, 1},
      {3, 5, FCC('M', 'P', '3', ' '), kVideoOpaque, 44100, 2, 60, 0, 0}}},
};

#undef FCC

enum {
  kSingleCount = (int)(sizeof kSingle / sizeof kSingle[0]),
  kMultiCount = (int)(sizeof kMulti / sizeof kMulti[0]),
};

_Static_assert(sizeof kFileNames / sizeof kFileNames[0] == kSingleCount + kMultiCount,
               "one file name per scenario");

int KxScenarioCount(void) { return kSingleCount + kMultiCount; }

const char16_t* KxScenarioFileName(int index) {
  return index >= 0 && index < KxScenarioCount() ? kFileNames[index] : NULL;
}

int KxRunScenarios(const FileFormat* single, const FileMultiStreamFormat* multi,
                   const char16_t* dir, FILE* report) {
  Run* run = (Run*)calloc(1, sizeof(Run));
  if (run == NULL) abort();
  run->single = single;
  run->multi = multi;
  run->dir = dir;
  run->report = report;
  for (int i = 0; i < kSingleCount; ++i) RunSingle(run, &kSingle[i], kFileNames[i]);
  for (int i = 0; i < kMultiCount; ++i) RunMulti(run, &kMulti[i], kFileNames[kSingleCount + i]);
  const int failures = run->failures;
  free(run);
  return failures;
}
