// The host log stand-in is how every other test reads what the module logged,
// so its formatting has to be exact: each call is one UTF-8 record ending in
// exactly one line feed.
#include <climits>
#include <cstdlib>
#include <filesystem>
#include <string>

#include "gtest/gtest.h"
#include "host/yr_log.h"
#include "tests/support/log_capture.h"

namespace {

using kx::test::LogCapture;

TEST(HostLogFormat, WideTextArgumentsBecomeUtf8) {
  const LogCapture log;
  // %s and %ls both take UTF-16; non-ASCII text and a surrogate pair (U+1F600).
  HostLogFormat(u"[%s] [%ls]", u"t\u00ebst", u"\u65e5\u672c_\U0001F600");
  EXPECT_EQ(log.Text(), "[t\xC3\xABst] [\xE6\x97\xA5\xE6\x9C\xAC_\xF0\x9F\x98\x80]\n");

  log.Clear();
  // A lone surrogate cannot be encoded and becomes U+FFFD; the format text
  // itself is converted the same way.
  const std::u16string lone_high = {u'a', 0xD83D, u'b'};
  const std::u16string format = {0xDE00, u'%', u's'};
  HostLogFormat(format.c_str(), lone_high.c_str());
  EXPECT_EQ(log.Text(),
            "\xEF\xBF\xBD"
            "a\xEF\xBF\xBD"
            "b\n");

  log.Clear();
  HostLogFormat(u"empty[%ls]", u"");
  EXPECT_EQ(log.Text(), "empty[]\n");
}

TEST(HostLogFormat, NumbersCharactersAndPercent) {
  const LogCapture log;
  HostLogFormat(u"%d|%d|%d|%d", 0, -1, -2147483647 - 1, INT_MAX);
  HostLogFormat(u"%c%c%c%c|%c", 'W', 'E', 'B', 'M', 0xE9);
  HostLogFormat(u"%0.6f|%0.6f|%0.6f", 29.97002997002997, 25.0, -0.5);
  HostLogFormat(u"100%% of %d%%", 3);
  EXPECT_EQ(log.Text(),
            "0|-1|-2147483648|2147483647\n"
            "WEBM|\xC3\xA9\n"
            "29.970030|25.000000|-0.500000\n"
            "100% of 3%\n");
}

TEST(HostLogFormat, LineFeedIsAddedOnlyWhenMissing) {
  const LogCapture log;
  HostLogFormat(u"kx_mkv.dll: Return file formats...");
  HostLogFormat(u"kx_%ls: CloseMediaFileMultiStream \n", u"mkv");
  HostLogFormat(u"");
  // A line end produced by an argument counts as well.
  HostLogFormat(u"tail%ls", u"\n");
  EXPECT_EQ(log.Text(),
            "kx_mkv.dll: Return file formats...\n"
            "kx_mkv: CloseMediaFileMultiStream \n"
            "\n"
            "tail\n");
}

TEST(HostLogFormat, WholeLinesAsTheModuleWritesThem) {
  const LogCapture log;
  HostLogFormat(
      u"kx_%ls:AddStreamInfoMultiStream::streamfourcc= [%ls],width=%d ,height =%d "
      u",framerate=%0.6f,bitrate=%d \n",
      u"mkv", u"H264", 1920, -1080, 23.976023976023978, 8000000);
  HostLogFormat(
      u"kx_%ls:AddStreamInfoMultiStream::streamfourcc= [%ls], channel=%d ,samplerate =%d "
      u",bitrate=%d ,language=%ls \n",
      u"mkv", u"AAC ", 2, 48000, 192000, u"\u65e5\u672c\u8a9e");
  HostLogFormat(u"%s error at %s line[%d]", u"[kx_mkv]", u"hevc", 1027);
  EXPECT_EQ(log.Text(),
            "kx_mkv:AddStreamInfoMultiStream::streamfourcc= [H264],width=1920 ,height =-1080 "
            ",framerate=23.976024,bitrate=8000000 \n"
            "kx_mkv:AddStreamInfoMultiStream::streamfourcc= [AAC ], channel=2 ,samplerate =48000 "
            ",bitrate=192000 ,language=\xE6\x97\xA5\xE6\x9C\xAC\xE8\xAA\x9E \n"
            "[kx_mkv] error at hevc line[1027]\n");
}

TEST(HostLogText, LogsTheTextUnchanged) {
  const LogCapture log;
  HostLogText(u"kx_mkv.dll: Not enough memory to create avi writer.");
  // No formatting: conversions stay as written.
  HostLogText(u"100% %d %s \u00e9");
  HostLogText(u"own line end\n");
  EXPECT_EQ(log.Text(),
            "kx_mkv.dll: Not enough memory to create avi writer.\n"
            "100% %d %s \xC3\xA9\n"
            "own line end\n");
}

TEST(HostLog, NothingIsWrittenWithoutTheVariable) {
  const LogCapture log;
  unsetenv("YR_LOG_FILE");
  HostLogFormat(u"dropped %d", 1);
  HostLogText(u"dropped");
  EXPECT_FALSE(std::filesystem::exists(log.path()));
  // Set again, the same calls reach the file.
  setenv("YR_LOG_FILE", log.path().c_str(), 1);
  HostLogText(u"kept");
  EXPECT_EQ(log.Text(), "kept\n");
}

}  // namespace
