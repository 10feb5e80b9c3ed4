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

/// Puts the bytes into a temporary file beside `path` and renames it over that, so that an
/// existing file stays whole until the new bytes are complete. Throws FileError, and leaves nothing
/// behind.
void WriteWholeFile(const std::string& path, std::span<const std::byte> bytes);

}  // namespace halveron::platform
