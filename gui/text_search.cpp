#include "gui/text_search.h"

#include <glib.h>

#include <algorithm>
#include <memory>

namespace halveron {
namespace {

bool IsInsideCharacter(char byte) { return (static_cast<unsigned char>(byte) & 0xC0) == 0x80; }

}  // namespace

std::string FoldedCase(std::string_view text) {
  const auto length = static_cast<gssize>(text.size());
  const std::unique_ptr<char, decltype(&g_free)> valid(g_utf8_make_valid(text.data(), length),
                                                       &g_free);
  const std::unique_ptr<char, decltype(&g_free)> folded(g_utf8_casefold(valid.get(), -1), &g_free);
  return folded.get();
}

std::string NaturalSortKey(const std::string& name) {
  const std::string folded = FoldedCase(name);
  const std::unique_ptr<char, decltype(&g_free)> key(
      g_utf8_collate_key_for_filename(folded.c_str(), -1), &g_free);
  return key.get();
}

bool HoldsAllPieces(std::string_view name, std::string_view typed) {
  for (std::size_t at = 0; at < typed.size();) {
    const std::size_t end = std::min(typed.find(' ', at), typed.size());
    if (name.find(typed.substr(at, end - at)) == std::string_view::npos) return false;
    at = end + 1;
  }
  return true;
}

void AppendCodePoint(std::string& text, char32_t character) {
  if (!g_unichar_validate(character)) return;
  char bytes[6];
  const int length = g_unichar_to_utf8(character, bytes);
  text.append(bytes, static_cast<std::size_t>(length));
}

void DropLastCharacter(std::string& text) { text.resize(PreviousCharacter(text, text.size())); }

std::size_t PreviousCharacter(std::string_view text, std::size_t at) {
  at = std::min(at, text.size());
  if (at == 0) return 0;
  --at;
  while (at > 0 && IsInsideCharacter(text[at])) --at;
  return at;
}

std::size_t NextCharacter(std::string_view text, std::size_t at) {
  if (at >= text.size()) return text.size();
  ++at;
  while (at < text.size() && IsInsideCharacter(text[at])) ++at;
  return at;
}

}  // namespace halveron
