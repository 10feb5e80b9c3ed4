// Comparing what a user types with names.
#pragma once

#include <string>
#include <string_view>

namespace halveron {

/// A text in UTF-8 without its difference of capitals and small letters, to compare with others.
std::string FoldedCase(std::string_view text);
/// A key by which names are ordered as people look them up: capitals do not count, and numbers
/// within names count as numbers.
std::string NaturalSortKey(const std::string& name);
/// True if every piece of `typed`, cut at blanks, occurs in `name`; both are folded.
bool HoldsAllPieces(std::string_view name, std::string_view typed);
/// A code point at the end of a text in UTF-8; an invalid one is left out.
void AppendCodePoint(std::string& text, char32_t character);
/// Takes the last character of a text in UTF-8 away.
void DropLastCharacter(std::string& text);
/// Where the character before or behind a place in a text of UTF-8 begins; never beyond its ends.
std::size_t PreviousCharacter(std::string_view text, std::size_t at);
std::size_t NextCharacter(std::string_view text, std::size_t at);

}  // namespace halveron
