#include "platform/foreign_memory.h"

#include <link.h>
#include <sys/uio.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdint>
#include <cstring>

namespace halveron::platform {

bool CopyForeign(const void* from, void* to, std::size_t bytes) {
  if (bytes == 0) return true;
  if (!from) return false;
  const iovec local{to, bytes};
  const iovec remote{const_cast<void*>(from), bytes};
  // The system copies from our own process and answers an unreadable address with an error.
  const ssize_t copied = process_vm_readv(getpid(), &local, 1, &remote, 1, 0);
  if (copied == static_cast<ssize_t>(bytes)) return true;
  if (copied >= 0 || (errno != ENOSYS && errno != EPERM)) return false;
  std::memcpy(to, from, bytes);  // a sandbox forbids the call: nothing is left but trust
  return true;
}

std::optional<std::string> CopyForeignText(const char* text, std::size_t most) {
  constexpr std::size_t kChunk = 64;
  std::string result;
  while (text && result.size() <= most) {
    // Pieces never cross a page, since the page behind the text may be missing.
    const char* next = text + result.size();
    const std::size_t size = kChunk - reinterpret_cast<std::uintptr_t>(next) % kChunk;
    char piece[kChunk];
    if (!CopyForeign(next, piece, size)) return std::nullopt;
    const char* end = std::find(piece, piece + size, '\0');
    result.append(piece, static_cast<std::size_t>(end - piece));
    if (end != piece + size) {
      return result.size() <= most ? std::optional(result) : std::nullopt;
    }
  }
  return std::nullopt;
}

bool IsInLoadedLibrary(const void* address) {
  const auto isCodeOf = [](dl_phdr_info* library, std::size_t, void* wanted) {
    const auto place = reinterpret_cast<std::uintptr_t>(wanted);
    for (int i = 0; i < library->dlpi_phnum; ++i) {
      const auto& part = library->dlpi_phdr[i];
      const std::uintptr_t start = library->dlpi_addr + part.p_vaddr;
      if (part.p_type == PT_LOAD && (part.p_flags & PF_X) != 0 && place >= start &&
          place - start < part.p_memsz) {
        return 1;
      }
    }
    return 0;
  };
  return dl_iterate_phdr(isCodeOf, const_cast<void*>(address)) != 0;
}

}  // namespace halveron::platform
