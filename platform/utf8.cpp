#include "platform/utf8.h"

namespace halveron::platform {

namespace {

bool Continues(char letter) { return (static_cast<unsigned char>(letter) & 0xC0) == 0x80; }

/// Bytes of the sequence that a byte begins; 0 if it begins none.
std::size_t SequenceLength(unsigned char first) {
  return first < 0x80   ? 1
         : first < 0xC2 ? 0
         : first < 0xE0 ? 2
         : first < 0xF0 ? 3
         : first < 0xF5 ? 4
                        : 0;
}

}  // namespace

bool IsUtf8(std::string_view text) {
  while (!text.empty()) {
    const auto first = static_cast<unsigned char>(text[0]);
    const std::size_t length = SequenceLength(first);
    if (length == 0 || length > text.size()) return false;
    for (std::size_t i = 1; i < length; ++i) {
      if (!Continues(text[i])) return false;
    }
    if (length > 2) {
      // The second byte excludes what a shorter sequence says, surrogates, and what is too high.
      const auto second = static_cast<unsigned char>(text[1]);
      if ((first == 0xE0 && second < 0xA0) || (first == 0xED && second >= 0xA0) ||
          (first == 0xF0 && second < 0x90) || (first == 0xF4 && second >= 0x90)) {
        return false;
      }
    }
    text.remove_prefix(length);
  }
  return true;
}

std::string_view Utf8Prefix(std::string_view text, std::size_t mostBytes) {
  if (text.size() <= mostBytes) return text;
  while (mostBytes > 0 && Continues(text[mostBytes])) --mostBytes;
  return text.substr(0, mostBytes);
}

}  // namespace halveron::platform
