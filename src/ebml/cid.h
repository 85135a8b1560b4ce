// Base of every element: an EBML ID plus the two operations every element
// offers, Size and Write. Both are driven by one measuring function per class
// (Measure), so the size a caller plans with and the size field Write codes can
// never come from two different formulas. Size and Write themselves are not
// virtual: classes shape their output through Measure and Emit, and Write is
// the one place where debug builds check the bytes against the measure.
// Write measures the whole tree once (Plan) and then emits it with the
// measured extents (WritePlanned), so no element is measured twice.
#ifndef KX_EBML_CID_H_
#define KX_EBML_CID_H_

#include <array>
#include <cstddef>
#include <cstdint>
#include <cstring>

#include "src/ebml/vint.h"
#include "src/io/istream.h"

namespace MatroskaWriter {

class SizePlan;

// Result of Write for an element that has no valid coding (a payload of 2^56 - 1
// bytes or more, a block with more frames than lacing can express). Nothing is
// written then; E_INVALIDARG in HRESULT terms.
inline constexpr int32_t kNotCodable = static_cast<int32_t>(0x80070057);

// Largest known size an EBML size field can carry: 2^56 - 1 itself means
// "unknown size".
inline constexpr uint64_t kMaxKnownSize = (uint64_t{1} << 56) - 2;

// Longest ID plus the longest size field.
inline constexpr size_t kMaxHeaderBytes = 12;

// How an element occupies the file, as computed by its Measure.
struct Extent {
  uint64_t header = 0;   // ID and size field
  uint64_t payload = 0;  // content
  // The content follows as separate elements written by the caller (Segment);
  // Write emits only the header.
  bool header_only = false;
  // False when the element cannot be coded; Write then refuses it.
  bool codable = true;

  [[nodiscard]] uint64_t total() const { return header + payload; }
  [[nodiscard]] uint64_t written() const { return header_only ? header : total(); }
};

class CID {
 public:
  explicit CID(uint32_t id = 0);
  CID(const CID&) = default;
  CID& operator=(const CID&) = default;
  CID(CID&&) = default;
  CID& operator=(CID&&) = default;
  virtual ~CID();

  [[nodiscard]] uint32_t id() const { return id_; }
  void set_id(uint32_t id) {
    id_ = id;
    CodeId();
  }

  // Payload size, or the full size with ID and size field. An element that is
  // left out of the file (unset value, empty text) is 0 either way.
  [[nodiscard]] uint64_t Size(bool with_header) const;

  // Writes ID, size field and payload. Value elements return the stream's
  // result of their last write; masters, blocks and Void return 0; an element
  // without a coding returns kNotCodable and writes nothing.
  int32_t Write(kx::IStream& stream) const;

  // ID bytes plus the width of the size field for `payload_size`. A size with
  // no coding is counted with an 8-byte field (Write refuses it anyway).
  [[nodiscard]] uint64_t HeaderSize(uint64_t payload_size) const {
    const int width = payload_size > kMaxKnownSize ? 8 : vint::Width(payload_size);
    return static_cast<uint64_t>(id_width_) + static_cast<uint64_t>(width);
  }

  // The element's layout. A bare CID is just its ID bytes (the payload of a
  // SeekID), with no size field.
  [[nodiscard]] virtual Extent Measure() const;

  // Adds the extents of the element and of everything below it to `plan`, in
  // writing order, and returns the element's own. A leaf adds its Measure.
  virtual Extent Plan(SizePlan& plan) const;
  // Writes the element whose extent is next in `plan` and moves the plan
  // past its subtree; results as Write. Masters call it for their children.
  int32_t WritePlanned(kx::IStream& stream, SizePlan& plan) const;

  // Codes ID and minimal size field for `payload` into `out` (at least
  // kMaxHeaderBytes); returns the number of bytes.
  size_t EncodeHeader(uint64_t payload, uint8_t* out) const {
    std::memcpy(out, id_code_.data(), id_code_.size());  // the bytes past the ID are overwritten
    return size_t{id_width_} + vint::Encode(payload, vint::Width(payload), out + id_width_);
  }

  // Bytes of an ID: up to and including its highest non-zero byte (0 for 0).
  static int IdWidth(uint32_t id) {
    return id > 0xFFFFFFU ? 4 : id > 0xFFFFU ? 3 : id > 0xFFU ? 2 : id != 0 ? 1 : 0;
  }
  // Codes `id` into `out` (at least 4 bytes) with the length marker of its
  // width forced into the first byte; returns the number of bytes.
  static size_t EncodeId(uint32_t id, uint8_t* out) {
    const int n = IdWidth(id);
    for (int i = n - 1; i >= 0; --i) {
      out[i] = static_cast<uint8_t>(id);
      id >>= 8;
    }
    if (n != 0) {
      // Force the length marker of an n-byte ID; a well-formed ID has it.
      const auto marker = static_cast<uint8_t>(0x80U >> (n - 1));
      out[0] = static_cast<uint8_t>((out[0] & ((marker << 1U) - 1U)) | marker);
    }
    return static_cast<size_t>(n);
  }

 protected:
  // Writes the element as measured. Called only by Write, only for an element
  // that is present and codable, with the extent Measure just returned.
  virtual int32_t Emit(kx::IStream& stream, const Extent& extent) const;
  // Emit for an element whose children's extents are in `plan` (masters);
  // anything else ignores the plan.
  virtual int32_t EmitPlanned(kx::IStream& stream, const Extent& extent, SizePlan& plan) const;

  // The usual layout: ID, minimal size field, `payload` bytes.
  [[nodiscard]] Extent Standard(uint64_t payload) const {
    Extent extent;
    extent.header = HeaderSize(payload);
    extent.payload = payload;
    extent.codable = payload <= kMaxKnownSize;
    return extent;
  }
  int32_t WriteHeader(kx::IStream& stream, uint64_t payload) const;
  // Writes ID, size field and `size` bytes of `data` as the payload, small
  // payloads together with the header in one stream write.
  int32_t WriteWithBytes(kx::IStream& stream, const uint8_t* data, uint64_t size) const;

 private:
  // Every header of the element starts with the same ID bytes: coded once.
  void CodeId() { id_width_ = static_cast<uint8_t>(EncodeId(id_, id_code_.data())); }

  uint32_t id_;
  std::array<uint8_t, 4> id_code_{};
  uint8_t id_width_ = 0;
};

}  // namespace MatroskaWriter

#endif  // KX_EBML_CID_H_
