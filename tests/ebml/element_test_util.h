// Helpers for the element tests: expected bytes written as hex text, and an
// element's whole output captured in memory.
#ifndef KX_TESTS_EBML_ELEMENT_TEST_UTIL_H_
#define KX_TESTS_EBML_ELEMENT_TEST_UTIL_H_

#include <cstdint>
#include <string_view>
#include <vector>

#include "src/ebml/cid.h"

namespace kx::test {

using Bytes = std::vector<uint8_t>;

// "1A 45 DF A3" -> {0x1A, 0x45, 0xDF, 0xA3}; blanks are ignored.
Bytes Hex(std::string_view text);

// The bytes of `text` as they are, no terminator.
Bytes Ascii(std::string_view text);

// Concatenation.
Bytes Join(std::initializer_list<Bytes> parts);

// Everything `element.Write` sends to a fresh stream. Also checks that the
// result is not an error and that the element's Size(true) matches.
Bytes Written(const MatroskaWriter::CID& element);

}  // namespace kx::test

#endif  // KX_TESTS_EBML_ELEMENT_TEST_UTIL_H_
