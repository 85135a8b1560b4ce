#include "src/ebml/ebml_header.h"

#include <gtest/gtest.h>

#include "tests/ebml/element_test_util.h"

namespace kx::test {
namespace {

TEST(EBMLTest, WritesOnlyTheChildrenThatAreSet) {
  MatroskaWriter::EBML header;
  EXPECT_EQ(Written(header), Hex("1A 45 DF A3 80"));

  header.doc_type.Set("matroska");
  header.doc_type_version.Set(1);
  header.doc_type_read_version.Set(1);
  const Bytes expected =
      Join({Hex("1A 45 DF A3 93 42 82 88"), Ascii("matroska"), Hex("42 87 81 01 42 85 81 01")});
  EXPECT_EQ(Written(header), expected);
  EXPECT_EQ(expected.size(), 24U);
}

TEST(EBMLTest, WritesChildrenInTheirFixedOrder) {
  MatroskaWriter::EBML header;
  // Assigned in reverse to show that the order is the element's, not the
  // caller's.
  header.doc_type_read_version.Set(2);
  header.doc_type_version.Set(4);
  header.doc_type.Set("webm");
  header.ebml_max_size_length.Set(8);
  header.ebml_max_id_length.Set(4);
  header.ebml_read_version.Set(1);
  header.ebml_version.Set(1);
  EXPECT_EQ(Written(header), Join({Hex("1A 45 DF A3 9F"
                                       "42 86 81 01 42 F7 81 01 42 F2 81 04 42 F3 81 08"
                                       "42 82 84"),
                                   Ascii("webm"), Hex("42 87 81 04 42 85 81 02")}));
}

}  // namespace
}  // namespace kx::test
