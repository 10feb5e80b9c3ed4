// Bounds-checked reading and writing of raw little-endian blocks.
#pragma once

#include <algorithm>
#include <cstddef>
#include <cstring>
#include <optional>
#include <span>
#include <string_view>
#include <type_traits>

namespace halveron {

/// Reads plain values one after another. A read past the end leaves its target unchanged, answers
/// false and makes every later read fail too.
class ByteReader {
 public:
  ByteReader(const void* data, std::size_t size)
      : bytes_(static_cast<const std::byte*>(data), size) {}

  template <class T>
  bool Read(T& target) {
    static_assert(std::is_trivially_copyable_v<T>);
    const std::span<const std::byte> source = Take(sizeof(T));
    if (source.size() != sizeof(T)) return false;
    std::memcpy(&target, source.data(), sizeof(T));
    return true;
  }

  /// The next `size` bytes, or none if fewer remain.
  std::span<const std::byte> Take(std::size_t size) {
    if (failed_ || size > Remaining()) {
      failed_ = true;
      return {};
    }
    const auto taken = bytes_.subspan(position_, size);
    position_ += size;
    return taken;
  }

  /// The text before the next NUL, which is taken with it; none, and all later reads fail, if no
  /// NUL stands among the next `limit` bytes.
  std::optional<std::string_view> TakeString(std::size_t limit) {
    const auto window = bytes_.subspan(position_, std::min(limit, Remaining()));
    const auto end = std::find(window.begin(), window.end(), std::byte{0});
    if (failed_ || end == window.end()) {
      failed_ = true;
      return std::nullopt;
    }
    const auto length = static_cast<std::size_t>(end - window.begin());
    position_ += length + 1;
    return std::string_view(reinterpret_cast<const char*>(window.data()), length);
  }

  std::size_t Position() const { return position_; }
  std::size_t Remaining() const { return bytes_.size() - position_; }
  bool Failed() const { return failed_; }

 private:
  std::span<const std::byte> bytes_;
  std::size_t position_ = 0;
  bool failed_ = false;
};

/// Writes plain values one after another into a block of a given size. A write that does not fit
/// is left out, answers false and makes every later write fail too.
class ByteWriter {
 public:
  ByteWriter(void* data, std::size_t size) : bytes_(static_cast<std::byte*>(data), size) {}

  template <class T>
  bool Write(const T& value) {
    static_assert(std::is_trivially_copyable_v<T>);
    if (failed_ || sizeof(T) > bytes_.size() - position_) {
      failed_ = true;
      return false;
    }
    std::memcpy(bytes_.data() + position_, &value, sizeof(T));
    position_ += sizeof(T);
    return true;
  }

  std::size_t Position() const { return position_; }
  bool Failed() const { return failed_; }

 private:
  std::span<std::byte> bytes_;
  std::size_t position_ = 0;
  bool failed_ = false;
};

}  // namespace halveron
