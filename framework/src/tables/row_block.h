#pragma once

#include <cstdint>
#include <cstdlib>
#include <memory>
#include <utility>

namespace fw {

/// Binary rows of one size, one after the other without gaps. Immutable once made.
class RowBlock {
 public:
  struct Free {
    void operator()(char* bytes) const { std::free(bytes); }
  };
  using Bytes = std::unique_ptr<char, Free>;  ///< from malloc: row buffers grow by realloc

  RowBlock() = default;
  RowBlock(Bytes bytes, std::uint32_t rowSize, std::uint32_t rowCount)
      : bytes_(std::move(bytes)), rowSize_(rowSize), rowCount_(rowCount) {}

  std::uint32_t rowCount() const { return rowCount_; }
  std::uint32_t rowSize() const { return rowSize_; }

  /// Row `index`, from 0; `rowSize()` bytes.
  const char* row(std::uint32_t index) const {
    return bytes_.get() + std::size_t{rowSize_} * index;
  }

 private:
  Bytes bytes_;
  std::uint32_t rowSize_ = 0;
  std::uint32_t rowCount_ = 0;
};

}  // namespace fw
