#include "src/ebml/child_list.h"

#include <gtest/gtest.h>

#include <memory>
#include <stdexcept>
#include <vector>

#include "src/ebml/scalars.h"
#include "tests/ebml/element_test_util.h"
#include "tests/support/memory_stream.h"

namespace kx::test {
namespace {

using MatroskaWriter::ChildList;
using MatroskaWriter::CUInt;

std::unique_ptr<CUInt> Value(uint32_t id, uint64_t v) {
  auto element = std::make_unique<CUInt>(id);
  element->Set(v);
  return element;
}

TEST(ChildListTest, KeepsOrderAndOwnership) {
  ChildList<CUInt> list;
  EXPECT_TRUE(list.empty());
  list.Append(Value(0x81, 1));
  list.Append(nullptr);  // ignored
  list.Append(Value(0x82, 2));
  list.Append(Value(0x83, 3));
  ASSERT_EQ(list.size(), 3U);
  EXPECT_EQ(list.front().id(), 0x81U);
  EXPECT_EQ(list.back().id(), 0x83U);

  std::vector<uint64_t> values;
  for (const CUInt& child : list) {
    values.push_back(child.Value());
  }
  EXPECT_EQ(values, (std::vector<uint64_t>{1, 2, 3}));
  EXPECT_EQ(list.Size(), 9U);

  MemoryStream stream;
  EXPECT_EQ(list.Write(stream), 0);
  EXPECT_EQ(stream.bytes(), Hex("81 81 01 82 81 02 83 81 03"));

  list.RemoveFirst();
  EXPECT_EQ(list.front().Value(), 2U);
  list.Clear();
  EXPECT_TRUE(list.empty());
  list.RemoveFirst();  // harmless on an empty list
}

TEST(ChildListTest, EmptyListEndsThrowInsteadOfReadingPastTheStorage) {
  ChildList<CUInt> list;
  EXPECT_THROW(list.front(), std::out_of_range);
  EXPECT_THROW(list.back(), std::out_of_range);
}

TEST(ChildListTest, WritingStopsAtTheFirstFailingChild) {
  ChildList<CUInt> list;
  list.Append(Value(0x81, 1));
  list.Append(Value(0x82, 2));
  list.Append(Value(0x83, 3));
  MemoryStream stream;
  stream.FailWritesAfter(1, kx::kNoFileObject);
  EXPECT_EQ(list.Write(stream), kx::kNoFileObject);
  EXPECT_EQ(stream.write_sizes().size(), 2U);  // the third child was not tried
  EXPECT_EQ(stream.bytes(), Hex("81 81 01"));
}

}  // namespace
}  // namespace kx::test
