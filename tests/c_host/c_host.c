/*
 * A minimal host written in plain C, as a conversion host would be: it
 * compiles against the public header only, loads the module at run time,
 * looks up both exports by name and walks both catalogues the way a host
 * picks its format. Any difference from the published catalogue makes it exit
 * with status 1.
 *
 * Usage: c_host path/to/libkx_mkv.so
 */
#define _POSIX_C_SOURCE 200809L

#include <dlfcn.h>
#include <stdint.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <uchar.h>
#include <unistd.h>

#include "include/kx_mkv/kx_mkv.h"

typedef const FileFormat* (*GetFileFormatsFunc)(void);
typedef const FileMultiStreamFormat* (*GetFileMultiStreamFormatsFunc)(void);

enum { kRowCount = 5 };

/* Counts the failed checks; every failure is reported on stderr. */
typedef struct Checker {
  int failures;
} Checker;

static void Fail(Checker* checker, const char* what, const char* row) {
  fprintf(stderr, "c_host: %s%s%s\n", what, row ? " in row " : "", row ? row : "");
  ++checker->failures;
}

static void Check(Checker* checker, int ok, const char* what, const char* row) {
  if (!ok) Fail(checker, what, row);
}

/* The published rows, the same in both tables. `singleVideo` and `multiVideo`
   are the lengths of the video lists, -1 for none. */
struct ExpectedRow {
  const char* fourcc;
  const char16_t* extension;
  const char16_t* name;
  const char16_t* description;
  int audio;
  int singleVideo;
  int multiVideo;
};

static const struct ExpectedRow kRows[kRowCount] = {
    {"KMKV", u".mkv", u"MKV", u"MKV File", 4, 17, 12},
    {"MKV ", u".mkv", u"MKV", u"MKV File", 5, 20, 21},
    {"HMKV", u".mkv", u"MKV", u"MKV File", 1, 21, 21},
    {"MKA ", u".mka", u"MKA", u"MKA File", 5, -1, -1},
    {"WEBM", u".webm", u"WEBM", u"WEBM File", 1, 4, 4},
};

/* A fixed UTF-16 field: the text, a NUL and zeros up to `units`. */
static int TextFieldIs(const char16_t* field, size_t units, const char16_t* text) {
  size_t i = 0;
  for (; text[i] != 0; ++i) {
    if (i >= units || field[i] != text[i]) return 0;
  }
  for (; i < units; ++i) {
    if (field[i] != 0) return 0;
  }
  return 1;
}

/* Entries up to the terminating 0; -1 for a null list or an entry whose high
   half is not zero. */
static int CodecCount(const CodecList* list) {
  int count = 0;
  if (list == NULL) return -1;
  for (; list[count] != 0; ++count) {
    if ((list[count] >> 32) != 0 || count > 64) return -1;
  }
  return count;
}

static int IsAllZero(const void* memory, size_t size) {
  const unsigned char* bytes = (const unsigned char*)memory;
  size_t i;
  for (i = 0; i < size; ++i) {
    if (bytes[i] != 0) return 0;
  }
  return 1;
}

static void CheckDescription(Checker* checker, uint32_t fourcc, const char16_t* extension,
                             const char16_t* name, const char16_t* description,
                             const struct ExpectedRow* expected) {
  const char* row = expected->fourcc;
  Check(checker, fourcc == KX_FOURCC(row[0], row[1], row[2], row[3]), "FourCC", row);
  Check(checker, TextFieldIs(extension, 10, expected->extension), "extension", row);
  Check(checker, TextFieldIs(name, 64, expected->name), "name", row);
  Check(checker, TextFieldIs(description, 128, expected->description), "description", row);
}

static void CheckSingleTable(Checker* checker, const FileFormat* table) {
  int rows = 0;
  int i;
  while (table[rows].fourcc != 0 && rows <= kRowCount) ++rows;
  if (rows != kRowCount) {
    Fail(checker, "single-stream table does not have 5 rows", NULL);
    return;
  }
  Check(checker, IsAllZero(&table[kRowCount], sizeof(FileFormat)),
        "single-stream terminator not zero", NULL);
  for (i = 0; i < kRowCount; ++i) {
    const FileFormat* format = &table[i];
    const struct ExpectedRow* expected = &kRows[i];
    const int audioOnly = expected->singleVideo < 0;
    const char* row = expected->fourcc;
    CheckDescription(checker, format->fourcc, format->extension, format->name, format->description,
                     expected);
    Check(checker, CodecCount(format->audioCodecs) == expected->audio, "audio codec count", row);
    Check(checker, CodecCount(format->videoCodecs) == expected->singleVideo, "video codec count",
          row);
    Check(checker, format->flag == (i == 0 ? 1u : 0u), "flag", row);
    Check(checker, format->CreateMediaFile != NULL, "CreateMediaFile", row);
    Check(checker, format->WriteAudioData != NULL, "WriteAudioData", row);
    Check(checker, format->CloseMediaFile != NULL, "CloseMediaFile", row);
    Check(checker, format->WriteAudioExtraData != NULL, "WriteAudioExtraData", row);
    /* The audio-only format offers none of the video functions. */
    Check(checker, (format->WriteVideoData == NULL) == audioOnly, "WriteVideoData", row);
    Check(checker, (format->WriteVideoExtraData == NULL) == audioOnly, "WriteVideoExtraData", row);
    Check(checker, (format->SetDisplayAspectRatio == NULL) == audioOnly, "SetDisplayAspectRatio",
          row);
    /* Every row drives the same functions. */
    Check(checker, format->CreateMediaFile == table[0].CreateMediaFile, "shared CreateMediaFile",
          row);
    Check(checker, format->CloseMediaFile == table[0].CloseMediaFile, "shared CloseMediaFile", row);
  }
  Check(checker, table[1].audioCodecs == table[3].audioCodecs, "MKV and MKA share one audio list",
        NULL);
}

static void CheckMultiTable(Checker* checker, const FileMultiStreamFormat* table) {
  int rows = 0;
  int i;
  while (table[rows].fourcc != 0 && rows <= kRowCount) ++rows;
  if (rows != kRowCount) {
    Fail(checker, "multi-stream table does not have 5 rows", NULL);
    return;
  }
  Check(checker, IsAllZero(&table[kRowCount], sizeof(FileMultiStreamFormat)),
        "multi-stream terminator not zero", NULL);
  for (i = 0; i < kRowCount; ++i) {
    const FileMultiStreamFormat* format = &table[i];
    const struct ExpectedRow* expected = &kRows[i];
    const char* row = expected->fourcc;
    CheckDescription(checker, format->fourcc, format->extension, format->name, format->description,
                     expected);
    Check(checker, CodecCount(format->audioCodecs) == expected->audio, "audio codec count", row);
    Check(checker, CodecCount(format->videoCodecs) == expected->multiVideo, "video codec count",
          row);
    Check(checker, format->flag == 1u, "flag", row);
    Check(checker, format->reserved == NULL, "reserved pointer", row);
    Check(checker, format->CreateMediaFileMultiStream != NULL, "CreateMediaFileMultiStream", row);
    Check(checker, format->AddStreamInfoMultiStream != NULL, "AddStreamInfoMultiStream", row);
    Check(checker, format->InitMediaFileMultiStream != NULL, "InitMediaFileMultiStream", row);
    Check(checker, format->WriteSampleMultiStream != NULL, "WriteSampleMultiStream", row);
    Check(checker, format->CloseMediaFileMultiStream != NULL, "CloseMediaFileMultiStream", row);
    Check(checker, format->WriteExtraDataMultiStream != NULL, "WriteExtraDataMultiStream", row);
  }
  Check(checker, table[1].audioCodecs == table[3].audioCodecs, "MKV and MKA share one audio list",
        NULL);
}

/* Reads the whole log file into `buffer` (NUL-terminated). */
static void ReadLog(const char* path, char* buffer, size_t size) {
  size_t length = 0;
  FILE* file = fopen(path, "rb");
  if (file != NULL) {
    length = fread(buffer, 1, size - 1, file);
    fclose(file);
  }
  buffer[length] = '\0';
}

int main(int argc, char** argv) {
  const char* tmp = getenv("TMPDIR");
  char logPath[4096];
  char log[512];
  int logFd;
  void* module;
  void* symbol;
  GetFileFormatsFunc getFileFormats;
  GetFileMultiStreamFormatsFunc getFileMultiStreamFormats;
  const FileFormat* single;
  const FileMultiStreamFormat* multi;
  Checker results = {0};
  Checker* checker = &results;

  if (argc != 2) {
    fprintf(stderr, "usage: %s path/to/libkx_mkv.so\n", argv[0]);
    return 2;
  }

  /* The host's log library writes to the file this variable names. */
  snprintf(logPath, sizeof logPath, "%s/kx_c_host_log_XXXXXX",
           tmp != NULL && tmp[0] != '\0' ? tmp : "/tmp");
  logFd = mkstemp(logPath);
  if (logFd < 0) {
    perror("c_host: mkstemp");
    return 2;
  }
  close(logFd);
  setenv("YR_LOG_FILE", logPath, 1);

  module = dlopen(argv[1], RTLD_NOW | RTLD_LOCAL);
  if (module == NULL) {
    fprintf(stderr, "c_host: dlopen: %s\n", dlerror());
    unlink(logPath);
    return 1;
  }

  /* ISO C has no conversion from void* to a function pointer; copy the bits. */
  symbol = dlsym(module, "GetFileFormats");
  Check(checker, symbol != NULL, "GetFileFormats is not exported", NULL);
  memcpy(&getFileFormats, &symbol, sizeof symbol);
  symbol = dlsym(module, "GetFileMultiStreamFormats");
  Check(checker, symbol != NULL, "GetFileMultiStreamFormats is not exported", NULL);
  memcpy(&getFileMultiStreamFormats, &symbol, sizeof symbol);
  if (checker->failures != 0) {
    dlclose(module);
    unlink(logPath);
    return 1;
  }

  single = getFileFormats();
  multi = getFileMultiStreamFormats();
  ReadLog(logPath, log, sizeof log);
  Check(checker,
        strcmp(log,
               "kx_mkv.dll: Return file formats...\n"
               "kx_mkv: GetFileMultiStreamFormats... \n") == 0,
        "log lines of the exports", NULL);

  Check(checker, single != NULL, "GetFileFormats returned null", NULL);
  Check(checker, multi != NULL, "GetFileMultiStreamFormats returned null", NULL);
  if (single != NULL) CheckSingleTable(checker, single);
  if (multi != NULL) CheckMultiTable(checker, multi);
  Check(checker, getFileFormats() == single, "GetFileFormats returned another table", NULL);
  Check(checker, getFileMultiStreamFormats() == multi,
        "GetFileMultiStreamFormats returned another table", NULL);

  dlclose(module);
  unlink(logPath);
  if (checker->failures != 0) {
    fprintf(stderr, "c_host: %d check(s) failed\n", checker->failures);
    return 1;
  }
  printf("c_host: both catalogues as published\n");
  return 0;
}
