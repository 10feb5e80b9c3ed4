// Texts in UTF-8.
#pragma once

#include <cstddef>
#include <string_view>

namespace halveron::platform {

/// Whether a text is well-formed: no bytes outside a sequence, no sequence that is cut short or
/// longer than it needs to be, no surrogates and nothing above U+10FFFF.
bool IsUtf8(std::string_view text);

/// The longest beginning of a text with at most so many bytes that cuts no sequence.
std::string_view Utf8Prefix(std::string_view text, std::size_t mostBytes);

}  // namespace halveron::platform
