/*
 * A host in plain C against the public header alone, as the conversion host
 * is: it loads the module at run time, reports both catalogues and drives
 * the scenarios below through both tables. Built for both systems, so the
 * Linux module and kx_mkv.dll under wine get the same calls with the same
 * bytes in the same order (track UIDs come from the runtime's never-seeded
 * generator), and their files, reports and logs must be equal.
 *
 * Usage: scenario_host MODULE OUT_DIR REPORT  (OUT_DIR ASCII, ending with a
 * path separator)
 */
#include <stdint.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#ifdef _WIN32
#include <windows.h>
#else
#include <dlfcn.h>
#endif

#include "include/kx_mkv/kx_mkv.h"

#define FCC(s) KX_FOURCC((s)[0], (s)[1], (s)[2], (s)[3])

/* VPS, SPS and PPS of a 320x240 HEVC Main stream. */
static const uint8_t kHevcSets[] =
    "\x00\x00\x00\x01\x40\x01\x0c\x01\xff\xff\x01\x60\x00\x00\x03\x00\x90\x00\x00\x03\x00\x00"
    "\x03\x00\x3c\x95\x98\x09\x00\x00\x00\x01\x42\x01\x01\x01\x60\x00\x00\x03\x00\x90\x00\x00"
    "\x03\x00\x00\x03\x00\x3c\xa0\x0a\x08\x0f\x16\x59\x59\xa4\x93\x2b\xc0\x5a\x02\x00\x00\x03"
    "\x00\x02\x00\x00\x03\x00\x32\x10\x00\x00\x00\x01\x44\x01\xc1\x72\xb4\x62\x40";
static const uint8_t kSps[] = {0x67, 0x64, 0x00, 0x1F, 0xAC, 0xD9, 0x40, 0x50, 0x05, 0xBB};
static const uint8_t kPps[] = {0x68, 0xEB, 0xE3, 0xCB, 0x22, 0xC0};
static const uint8_t kAac[] = {0x12, 0x10};

/* type: 2 video (a x b pixels), 3 audio (a Hz, b channels), 5 subtitles. */
typedef struct Stream {
  int type;
  const char* fourcc;
  int32_t a, b;
  int samples;
} Stream;

typedef struct Scenario {
  const char16_t* file; /* under OUT_DIR */
  int multi;            /* 0: single-stream, video (if any) then audio */
  const char* container;
  Stream streams[4];
} Scenario;

/* Names with accents, CJK text and a character outside the BMP; a file in a
 * folder that does not exist (refused); a file that gets no sample. */
/* clang-format off */
static const Scenario kScenarios[] = {
    {u"single_h264_aac.mkv", 0, "MKV ", {{2, "H264", 640, 360, 60}, {3, "AAC ", 48000, 2, 110}}},
    {u"single_i264_ac3.mkv", 0, "KMKV", {{2, "I264", 720, 576, 40}, {3, "AC3 ", 48000, 6, 50}}},
    {u"\u00e9t\u00e9_\u30d5\u30a1\u30a4\u30eb_\U0001F3AC.mkv", 0, "HMKV",
     {{2, "HEVC", 320, 240, 50}, {3, "AC3 ", 48000, 2, 60}}},
    {u"single_vfw_pcm.mkv", 0, "MKV ", {{2, "MJPG", 320, -240, 30}, {3, "PCM ", 48000, 2, 40}}},
    {u"single_vp9_vorbis.webm", 0, "WEBM", {{2, "VP9 ", 426, 240, 40}, {3, "VBIS", 44100, 2, 70}}},
    {u"single_mp3.mka", 0, "MKA ", {{0}, {3, "MP3 ", 44100, 2, 90}}},
    {u"single_empty.mkv", 0, "MKV ", {{2, "H264", 640, 360, 0}, {3, "AAC ", 48000, 2, 0}}},
    {u"missing_folder/never.mkv", 0, "MKV ", {{2, "H264", 640, 360, 5}, {3, "AAC ", 48000, 2, 5}}},
    {u"multi_h264_aac_ac3_ass.mkv", 1, "MKV ", {{2, "H264", 640, 360, 50},
     {3, "AAC ", 48000, 2, 90}, {3, "AC3 ", 48000, 6, 60}, {5, "ASS ", 0, 0, 2}}},
    {u"\u591a\u8def_\u00f1_hevc.mkv", 1, "HMKV", {{2, "HEVC", 320, 240, 40}, {3, "AAC ", 44100, 2, 70}}},
    {u"multi_vp8_opus.webm", 1, "WEBM", {{2, "VP8 ", 320, 240, 40}, {3, "OPUS", 48000, 2, 80}}},
};
/* clang-format on */

static uint32_t seed = 1;

/* Payload bytes, never zero, so that no start code appears by accident. */
static uint8_t Byte(void) {
  seed = seed * 1103515245u + 12345u;
  return (uint8_t)((seed >> 16) % 255 + 1);
}

/* 40 ms frames, 1024-sample audio frames, one subtitle a second. */
static int64_t Start(const Stream* s, int i) {
  return s->type == 2 ? i * 400000LL : s->type == 3 ? i * 10240000000LL / s->a : i * 10000000LL;
}

/* Sample i of a stream: for H.264 and HEVC a start code and a slice header
 * (after the parameter sets on an HEVC key frame), then payload bytes. */
static void Sample(const Stream* s, int i, uint8_t* out, MediaSample* m) {
  const int key = s->type != 2 || i % 25 == 0;
  const int32_t size = 100 + (int32_t)(Byte() % 200) + (s->type == 2 ? 400 + 1500 * key : 0);
  int32_t n = 0;
  if (FCC(s->fourcc) == FCC("H264") || FCC(s->fourcc) == FCC("I264")) {
    memcpy(out, key ? "\0\0\0\1\x65" : "\0\0\0\1\x41", 5);
    n = 5;
  } else if (FCC(s->fourcc) == FCC("HEVC")) {
    if (key) {
      memcpy(out, kHevcSets, sizeof kHevcSets - 1);
      n = sizeof kHevcSets - 1;
    }
    memcpy(out + n, key ? "\0\0\0\1\x26\1" : "\0\0\0\1\x02\1", 6);
    n += 6;
  }
  while (n < size) out[n++] = Byte();
  memset(m, 0, sizeof *m);
  m->start = Start(s, i);
  m->duration = (int32_t)(Start(s, i + 1) - m->start);
  m->keyframe = key;
  if (s->type == 2) {
    m->videoData = out;
    m->videoSize = n;
  } else if (s->type == 3) {
    m->audioData = out;
    m->audioSize = n;
  } else {
    m->subtitleData = out;
    m->subtitleSize = n;
  }
}

static void Params(const Stream* s, MediaFileParams* p) {
  if (s->type == 2) {
    p->video.fourcc = FCC(s->fourcc);
    p->video.width = s->a;
    p->video.height = s->b;
    p->video.frameRate = 25.0;
    p->video.bitCount = 24;
  } else if (s->type == 3) {
    p->audio.fourcc = FCC(s->fourcc);
    p->audio.sampleRate = s->a;
    p->audio.channels = s->b;
    p->audio.bitsPerSample = 16;
  } else if (s->type == 5) {
    p->subtitle.fourcc = FCC(s->fourcc);
  }
}

/* Hands over a stream's codec configuration, if it has one: a list of
 * blocks, each with its little-endian 32-bit length, for the multi-stream
 * table; the blocks themselves (SPS first) for the single-stream one. */
static void Configure(const FileFormat* single, const FileMultiStreamFormat* multi, void* h,
                      int index, const Stream* s) {
  const uint8_t* parts[2] = {NULL, NULL};
  uint32_t sizes[2] = {0, 0};
  uint8_t list[128];
  uint32_t size = 0;
  if (FCC(s->fourcc) == FCC("H264")) {
    parts[0] = kSps, sizes[0] = sizeof kSps, parts[1] = kPps, sizes[1] = sizeof kPps;
  } else if (FCC(s->fourcc) == FCC("HEVC")) {
    parts[0] = kHevcSets, sizes[0] = sizeof kHevcSets - 1;
  } else if (FCC(s->fourcc) == FCC("AAC ")) {
    parts[0] = kAac, sizes[0] = sizeof kAac;
  } else {
    return;
  }
  for (int k = 0; k < 2 && parts[k]; ++k) {
    for (int b = 0; b < 4; ++b) list[size++] = (uint8_t)(sizes[k] >> (8 * b));
    memcpy(list + size, parts[k], sizes[k]);
    size += sizes[k];
  }
  if (multi) {
    multi->WriteExtraDataMultiStream(h, (uint32_t)index, list, (int32_t)size);
  } else if (s->type == 2) {
    single->WriteVideoExtraData(h, parts[1], (int32_t)sizes[1], parts[0], (int32_t)sizes[0]);
  } else {
    single->WriteAudioExtraData(h, parts[0], (int32_t)sizes[0]);
  }
}

/* Video configuration goes in before the samples; audio configuration after
 * ten samples, once the Tracks element is on disk and must be patched. */
static void Run(const FileFormat* single, const FileMultiStreamFormat* multi, const char* dir,
                const Scenario* sc, FILE* report) {
  static uint8_t data[4096];
  char16_t path[1024];
  size_t n = 0;
  for (; dir[n]; ++n) path[n] = (char16_t)(unsigned char)dir[n];
  for (const char16_t* c = sc->file; *c;) path[n++] = *c++;
  path[n] = 0;
  while (single->fourcc != FCC(sc->container)) ++single;
  while (multi->fourcc != FCC(sc->container)) ++multi;

  MediaFileParams* params = calloc(1, sizeof *params);
  const Stream* streams = sc->streams;
  void* h;
  if (sc->multi) {
    h = multi->CreateMediaFileMultiStream();
    for (int i = 0; streams[i].type && i < 4; ++i) {
      memset(params, 0, sizeof *params);
      Params(&streams[i], params);
      fprintf(
          report, " add=%d",
          multi->AddStreamInfoMultiStream(h, streams[i].type, 1, (uint32_t)i, (uint32_t)i, params));
    }
    fprintf(report, " init=%d", multi->InitMediaFileMultiStream(h, FCC(sc->container), path, 0));
  } else {
    Params(&streams[0], params);
    Params(&streams[1], params);
    params->containerFourcc = FCC(sc->container);
    params->noVideo = streams[0].type != 2;
    if (streams[0].type == 2) {
      AspectRatioRecord aspect = {{0}, 16, 9, {0}};
      single->SetDisplayAspectRatio(&aspect);
    }
    h = single->CreateMediaFile(path, params);
    fprintf(report, " handle=%d", h != NULL);
  }
  free(params);
  const FileMultiStreamFormat* table = sc->multi ? multi : NULL;
  int done[4] = {0, 0, 0, 0};
  int64_t accepted = 0;
  for (int i = 0; h != NULL && i < 4; ++i)
    if (streams[i].type == 2) Configure(single, table, h, i, &streams[i]);
  for (int next = 0; h != NULL && next >= 0;) {
    next = -1;
    for (int i = 0; i < 4; ++i) {
      if (done[i] < streams[i].samples &&
          (next < 0 || Start(&streams[i], done[i]) < Start(&streams[next], done[next]))) {
        next = i;
      }
    }
    if (next < 0) break;
    const Stream* s = &streams[next];
    if (s->type == 3 && done[next] == 10) Configure(single, table, h, next, s);
    MediaSample m;
    Sample(s, done[next]++, data, &m);
    accepted += sc->multi      ? multi->WriteSampleMultiStream(h, (uint32_t)next, &m, NULL)
                : s->type == 2 ? single->WriteVideoData(h, &m)
                               : single->WriteAudioData(h, &m, NULL);
  }
  if (sc->multi) {
    multi->CloseMediaFileMultiStream(h);
  } else if (h != NULL) {
    fprintf(report, " close=%d", single->CloseMediaFile(h));
  }
  fprintf(report, " accepted=%lld\n", (long long)accepted);
}

/* A catalogue row as bytes: FourCC and texts, both codec lists, the flag. */
static void Row(FILE* report, const void* row, const CodecList* lists[2], uint64_t flag) {
  fwrite(row, 408, 1, report);
  for (int k = 0; k < 2; ++k) {
    for (const CodecList* c = lists[k]; c && *c; ++c) fwrite(c, sizeof *c, 1, report);
    fputc('|', report);
  }
  fwrite(&flag, sizeof flag, 1, report);
}

int main(int argc, char** argv) {
  if (argc != 4) {
    fprintf(stderr, "usage: %s MODULE OUT_DIR REPORT\n", argv[0]);
    return 2;
  }
#ifdef _WIN32
  HMODULE module = LoadLibraryA(argv[1]);
  FARPROC get_single = module ? GetProcAddress(module, "GetFileFormats") : NULL;
  FARPROC get_multi = module ? GetProcAddress(module, "GetFileMultiStreamFormats") : NULL;
#else
  void* module = dlopen(argv[1], RTLD_NOW | RTLD_LOCAL);
  void* get_single = module ? dlsym(module, "GetFileFormats") : NULL;
  void* get_multi = module ? dlsym(module, "GetFileMultiStreamFormats") : NULL;
#endif
  FILE* report = fopen(argv[3], "wb");
  if (get_single == NULL || get_multi == NULL || report == NULL) {
    fprintf(stderr, "cannot load %s or write %s\n", argv[1], argv[3]);
    return 1;
  }
  /* ISO C has no conversion from an object to a function pointer. */
  const FileFormat* (*single_table)(void);
  const FileMultiStreamFormat* (*multi_table)(void);
  memcpy(&single_table, &get_single, sizeof single_table);
  memcpy(&multi_table, &get_multi, sizeof multi_table);
  const FileFormat* single = single_table();
  const FileMultiStreamFormat* multi = multi_table();
  for (const FileFormat* f = single; f->fourcc; ++f)
    Row(report, f, (const CodecList*[]){f->audioCodecs, f->videoCodecs}, f->flag);
  for (const FileMultiStreamFormat* f = multi; f->fourcc; ++f)
    Row(report, f, (const CodecList*[]){f->audioCodecs, f->videoCodecs}, f->flag);
  for (size_t i = 0; i < sizeof kScenarios / sizeof kScenarios[0]; ++i) {
    fprintf(report, "scenario %u:", (unsigned)i);
    Run(single, multi, argv[2], &kScenarios[i], report);
  }
  return fclose(report) == 0 ? 0 : 1;
}
