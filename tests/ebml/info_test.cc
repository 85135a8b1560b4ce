#include "src/ebml/info.h"

#include <gtest/gtest.h>

#include "tests/ebml/element_test_util.h"
#include "tests/support/memory_stream.h"

namespace kx::test {
namespace {

TEST(InfoTest, FreshInfoHoldsOnlyTheTimecodeScale) {
  EXPECT_EQ(Written(MatroskaWriter::Info()), Hex("15 49 A9 66 87 2A D7 B1 83 0F 42 40"));
}

TEST(InfoTest, WritesChildrenInTheirFixedOrder) {
  MatroskaWriter::Info info;
  info.writing_app.Set(u"W");
  info.muxing_app.Set(u"M");
  info.title.Set(u"T");
  info.date_utc.Set(-1);
  info.duration.Set(1.0F);
  info.next_filename.Set(u"n");
  info.prev_filename.Set(u"p");
  info.segment_filename.Set(u"s");
  const Bytes uid = Hex("AA");
  info.next_uid.Assign(uid.data(), 1);
  info.prev_uid.Assign(uid.data(), 1);
  info.segment_uid.Assign(uid.data(), 1);
  EXPECT_EQ(Written(info), Hex("15 49 A9 66 BA"
                               "73 A4 81 AA 3C B9 23 81 AA 3E B9 23 81 AA"
                               "73 84 81 73 3C 83 AB 81 70 3E 83 BB 81 6E"
                               "2A D7 B1 83 0F 42 40 44 89 84 3F 80 00 00 44 61 81 FF"
                               "7B A9 81 54 4D 80 81 4D 57 41 81 57"));
}

TEST(InfoTest, DurationRewriteKeepsTheSize) {
  MatroskaWriter::Info info;
  info.duration.Set(0.0F);
  MemoryStream stream;
  info.Write(stream);
  const size_t size = stream.bytes().size();

  info.duration.Set(123456.0F);
  stream.SeekTo(0, kx::kSeekBegin, nullptr);
  info.Write(stream);
  EXPECT_EQ(stream.bytes().size(), size);
  EXPECT_EQ(Bytes(stream.bytes().end() - 4, stream.bytes().end()), Hex("47 F1 20 00"));
}

}  // namespace
}  // namespace kx::test
