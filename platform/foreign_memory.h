// What somebody else's code hands over by pointer, read without trusting the pointer.
#pragma once

#include <cstddef>
#include <optional>
#include <string>

namespace halveron::platform {

/// Copies bytes that may not be there. False, with nothing copied for sure, if they are not.
bool CopyForeign(const void* from, void* to, std::size_t bytes);

/// Text up to its NUL; none if it is not readable or longer than `most` bytes.
std::optional<std::string> CopyForeignText(const char* text, std::size_t most);

/// Whether the address lies in the code of a loaded library.
bool IsInLoadedLibrary(const void* address);

}  // namespace halveron::platform
