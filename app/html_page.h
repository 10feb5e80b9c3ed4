// What the pages of the manual are made of.
#pragma once

#include <iosfwd>
#include <span>
#include <string>
#include <string_view>

namespace halveron {

/// Text as HTML shows it.
std::string EscapedHtml(std::string_view text);

/// The page up to its heading, which is its title.
void BeginHtmlPage(std::ostream& page, const std::string& title);
void EndHtmlPage(std::ostream& page);

/// A row of a table that is open; `cell` is "th" or "td", the texts are HTML.
void AddHtmlRow(std::ostream& page, const char* cell, std::span<const std::string> texts);

}  // namespace halveron
