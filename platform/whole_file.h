// Files that are read and written in one go.
#pragma once

#include <cstddef>
#include <span>
#include <string>
#include <vector>

namespace halveron::platform {

/// Files above this are refused: nothing that is read whole comes near it.
inline constexpr std::size_t kMostWholeFileBytes = std::size_t{256} << 20;

/// All bytes of a file. Throws FileError if it cannot be opened or read, or is too large.
std::vector<std::byte> ReadWholeFile(const std::string& path);

/// The first bytes of a file, all of a shorter one. Throws FileError if it cannot be read.
std::vector<std::byte> ReadFileBeginning(const std::string& path, std::size_t most);

/// What outlives a crash of the machine.
enum class Durability {
  kAtomic,   ///< the old file or the new one is there, or, after a crash of the machine, neither
  kFlushed,  ///< one of the two is; costs a wait for the disk
};

/// Puts the bytes into a temporary file beside `path` and renames it over that, so that an
/// existing file stays whole until the new bytes are complete. It keeps its permissions; a link is
/// followed; what is no regular file, such as a pipe, is written to. Throws FileError, also for a
/// file that its user has protected from writing, and leaves nothing behind.
void WriteWholeFile(const std::string& path, std::span<const std::byte> bytes,
                    Durability durability = Durability::kFlushed);

/// Puts a complete temporary file of the same folder in the place of `path`, a regular file or
/// none, whose permissions it takes over. False, with the cause in errno, if it cannot.
bool ReplaceFile(const std::string& temporary, const std::string& path,
                 Durability durability = Durability::kFlushed);

}  // namespace halveron::platform
