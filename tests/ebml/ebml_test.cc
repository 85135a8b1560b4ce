// The size coding every element shares, through the Void filler that pads
// the reserved area: every length is coded in the narrowest width whose
// all-ones pattern (the "unknown size" marker) it avoids, and every gap of
// two bytes or more can be covered exactly.
#include <gtest/gtest.h>

#include <algorithm>
#include <vector>

#include "src/ebml/void_element.h"

namespace kx::test {
namespace {

struct Bytes : IStream, std::vector<uint8_t> {
  int32_t Read(void* /*buffer*/, uint32_t /*size*/, uint32_t* /*done*/) override { return -1; }
  int32_t Write(const void* data, uint32_t size, uint32_t* /*done*/) override {
    insert(end(), static_cast<const uint8_t*>(data), static_cast<const uint8_t*>(data) + size);
    return kOk;
  }
  int32_t SeekTo(int64_t /*offset*/, uint32_t /*origin*/, uint64_t* /*result*/) override {
    return -1;
  }
};

TEST(EbmlSize, VoidLengthsAndWidthsReadBack) {
  for (uint64_t length = 0; length < 20000; ++length) {
    for (const int width : {0, 1, 2, 3, 8}) {
      Bytes b;
      MatroskaWriter::Void filler(length, width);
      ASSERT_EQ(filler.Write(b), 0) << length;
      ASSERT_GE(b.size(), 2U);
      ASSERT_EQ(b[0], 0xEC);
      int n = 1;  // the size field's width: one more than its leading zero bits
      while (n <= 8 && (b[1] & (0x80 >> (n - 1))) == 0) ++n;
      uint64_t value = b[1] & ((0x80 >> (n - 1)) - 1);
      for (int i = 1; i < n; ++i) value = value << 8 | b[1 + i];
      const int minimal = length < 127 ? 1 : length < 16383 ? 2 : 3;
      EXPECT_EQ(n, std::max(width, minimal)) << length << " " << width;
      EXPECT_EQ(value, length) << length << " " << width;
      EXPECT_EQ(b.size(), 1 + n + length) << length;
      EXPECT_EQ(filler.Size(true), b.size()) << length;
    }
  }
}

}  // namespace
}  // namespace kx::test
