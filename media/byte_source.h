// Where a decoder gets its bytes from.
#pragma once

#include <cstdint>
#include <cstdio>
#include <memory>
#include <span>
#include <string>
#include <vector>

namespace halveron::media {

/// Bytes in their order, from a file, from memory or from a server.
class ByteSource {
 public:
  ByteSource() = default;
  virtual ~ByteSource() = default;
  ByteSource(const ByteSource&) = delete;
  ByteSource& operator=(const ByteSource&) = delete;

  /// Waits for at least one byte, and returns how many it took; 0 at the end. Throws
  /// platform::UserError.
  virtual std::size_t Read(std::span<std::uint8_t> target) = 0;
  /// Goes to a place; false if the source has no such place, or only goes on.
  virtual bool Seek(std::int64_t /*position*/) { return false; }
  /// Bytes of the whole; -1 if nobody knows.
  virtual std::int64_t Size() const { return -1; }
};

class FileSource final : public ByteSource {
 public:
  /// Throws platform::FileError if it cannot be opened or is no regular file.
  explicit FileSource(const std::string& path);

  std::size_t Read(std::span<std::uint8_t> target) override;
  bool Seek(std::int64_t position) override;
  std::int64_t Size() const override { return size_; }

 private:
  struct Closer {
    void operator()(std::FILE* file) const { std::fclose(file); }
  };
  std::unique_ptr<std::FILE, Closer> file_;
  std::int64_t size_ = 0;
};

class MemorySource final : public ByteSource {
 public:
  explicit MemorySource(std::vector<std::uint8_t> bytes) : bytes_(std::move(bytes)) {}

  std::size_t Read(std::span<std::uint8_t> target) override;
  bool Seek(std::int64_t position) override;
  std::int64_t Size() const override { return static_cast<std::int64_t>(bytes_.size()); }

 private:
  std::vector<std::uint8_t> bytes_;
  std::size_t position_ = 0;
};

}  // namespace halveron::media
