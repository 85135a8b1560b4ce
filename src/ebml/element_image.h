// Elements already coded, in the order they were added, waiting to be
// written as one run of bytes: the blocks of a Cluster, the points of the
// Cues. Coded bytes and small frames are copied into one buffer, so that a
// Cluster of small blocks reaches the stream in a single write; a large frame
// is not copied again: its storage is taken over and written from where it
// is, between the bytes around it.
#ifndef KX_EBML_ELEMENT_IMAGE_H_
#define KX_EBML_ELEMENT_IMAGE_H_

#include <cstddef>
#include <cstdint>
#include <utility>
#include <vector>

#include "src/io/istream.h"

namespace MatroskaWriter {

class ElementImage : public kx::IStream {
 public:
  // Frames from this size on are taken over rather than copied.
  static constexpr size_t kTakenFrameBytes = 4096;

  // Room for `size` more bytes at the end, to be filled and then kept with
  // Commit; the pointer is valid until the next change.
  uint8_t* Reserve(size_t size);
  void Commit(size_t size) { committed_ += size; }
  // Appends `frame` itself as the next bytes; `owner` goes back with it.
  void Take(std::vector<uint8_t>&& frame, uint64_t owner);

  [[nodiscard]] uint64_t size() const { return size_ + committed_; }
  [[nodiscard]] bool empty() const { return size() == 0; }

  // Writes every byte, in order; returns the result of the last stream write.
  int32_t WriteTo(kx::IStream& stream) const;

  // Empties the image, handing each taken frame's storage and owner to
  // `give_back(std::vector<uint8_t>&&, uint64_t)`; the buffer keeps its
  // room for the next blocks unless it grew unusually large.
  template <typename GiveBack>
  void Clear(GiveBack&& give_back) {
    for (TakenFrame& taken : taken_) {
      give_back(std::move(taken.frame), taken.owner);
    }
    taken_.clear();
    committed_ = 0;
    if (bytes_.size() > kKeptBytes) {
      bytes_ = {};  // an unusual cluster's room is not held for the next ones
    }
    size_ = 0;
  }

  // IStream, for elements coded by their own Write: appends.
  int32_t Read(void* buffer, uint32_t size, uint32_t* done) override;
  int32_t Write(const void* buffer, uint32_t size, uint32_t* done) override;
  int32_t SeekTo(int64_t offset, uint32_t origin, uint64_t* result) override;
  using kx::IStream::Write;

 private:
  struct TakenFrame {
    size_t bytes_before;  // bytes of the buffer written before the frame
    std::vector<uint8_t> frame;
    uint64_t owner;
  };

  // Grown, never shrunk, so that a block's room is not zeroed every time;
  // only its first `committed_` bytes belong to the image.
  static constexpr size_t kKeptBytes = size_t{1} << 20;
  std::vector<uint8_t> bytes_;
  size_t committed_ = 0;
  std::vector<TakenFrame> taken_;
  uint64_t size_ = 0;  // bytes of the taken frames
};

}  // namespace MatroskaWriter

#endif  // KX_EBML_ELEMENT_IMAGE_H_
