#include "app/html_page.h"

#include <ostream>

namespace halveron {

namespace {

constexpr char kStyle[] =
    "body{font:16px/1.5 sans-serif;max-width:50em;margin:2em auto;padding:0 1em;color:#222;"
    "background:#fff}"
    "table{border-collapse:collapse;width:100%;margin-bottom:1.5em}"
    "th,td{text-align:left;padding:.25em .75em .25em 0;border-bottom:1px solid #ddd}"
    "@media(prefers-color-scheme:dark){body{color:#ddd;background:#1c1c1c}a{color:#8bf}"
    "th,td{border-color:#444}}";

}  // namespace

std::string EscapedHtml(std::string_view text) {
  std::string escaped;
  for (const char letter : text) {
    switch (letter) {
      case '&':
        escaped += "&amp;";
        break;
      case '<':
        escaped += "&lt;";
        break;
      case '>':
        escaped += "&gt;";
        break;
      case '"':
        escaped += "&quot;";
        break;
      default:
        escaped += letter;
    }
  }
  return escaped;
}

void BeginHtmlPage(std::ostream& page, const std::string& title) {
  page << "<!DOCTYPE html>\n<html lang=\"en\">\n<head>\n<meta charset=\"utf-8\">\n<title>"
       << EscapedHtml(title) << "</title>\n<style>" << kStyle << "</style>\n</head>\n<body>\n<h1>"
       << EscapedHtml(title) << "</h1>\n";
}

void EndHtmlPage(std::ostream& page) { page << "</body>\n</html>\n"; }

void AddHtmlRow(std::ostream& page, const char* cell, std::span<const std::string> texts) {
  page << "<tr>";
  for (const std::string& text : texts) page << "<" << cell << ">" << text << "</" << cell << ">";
  page << "</tr>\n";
}

}  // namespace halveron
