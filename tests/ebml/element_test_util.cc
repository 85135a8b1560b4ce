#include "tests/ebml/element_test_util.h"

#include <gtest/gtest.h>

#include <cctype>
#include <string>

#include "tests/support/memory_stream.h"

namespace kx::test {

Bytes Hex(std::string_view text) {
  Bytes out;
  std::string digits;
  for (const char c : text) {
    if (std::isxdigit(static_cast<unsigned char>(c)) != 0) {
      digits.push_back(c);
    }
  }
  EXPECT_EQ(digits.size() % 2, 0U) << "odd number of hex digits in " << text;
  for (size_t i = 0; i + 1 < digits.size(); i += 2) {
    out.push_back(static_cast<uint8_t>(std::stoul(digits.substr(i, 2), nullptr, 16)));
  }
  return out;
}

Bytes Ascii(std::string_view text) { return {text.begin(), text.end()}; }

Bytes Join(std::initializer_list<Bytes> parts) {
  Bytes out;
  for (const Bytes& part : parts) {
    out.insert(out.end(), part.begin(), part.end());
  }
  return out;
}

Bytes Written(const MatroskaWriter::CID& element) {
  MemoryStream stream;
  EXPECT_GE(element.Write(stream), 0);
  EXPECT_EQ(element.Size(true), stream.bytes().size());
  return stream.bytes();
}

}  // namespace kx::test
