#include "presets/json_place.h"

#include <algorithm>
#include <cctype>
#include <cmath>
#include <set>

#include "platform/file_error.h"
#include "presets/nearest_name.h"

namespace halveron {

using platform::FileError;

namespace {

bool IsPlainKey(const std::string& key) {
  return !key.empty() && std::all_of(key.begin(), key.end(), [](unsigned char letter) {
    return std::isalnum(letter) || letter == '_';
  });
}

std::string LineAndColumn(const std::string& text, std::size_t at) {
  at = std::min(at, text.size());
  const auto begin = text.begin();
  const auto end = begin + static_cast<std::ptrdiff_t>(at);
  const auto lines = std::count(begin, end, '\n');
  const std::size_t lineStart = at == 0 ? std::string::npos : text.rfind('\n', at - 1);
  const std::size_t column = lineStart == std::string::npos ? at + 1 : at - lineStart;
  return "line " + std::to_string(lines + 1) + ", column " + std::to_string(column);
}

/// The library's message without its own code and position.
std::string CauseOf(const nlohmann::json::exception& error) {
  std::string cause = error.what();
  for (const char* mark : {"] ", "column "}) {
    const auto at = cause.find(mark);
    if (at == std::string::npos) continue;
    cause = cause.substr(at + std::string(mark).size());
  }
  const auto position = cause.find(": ");
  if (position != std::string::npos && std::isdigit(static_cast<unsigned char>(cause[0]))) {
    cause = cause.substr(position + 2);
  }
  return cause.substr(0, cause.find("; last read"));
}

}  // namespace

void JsonPlace::Fail(const std::string& cause, const std::string& remedy) const {
  throw FileError(file_, path_, cause, remedy);
}

void JsonPlace::RequireObject(const std::vector<std::string>& known) const {
  if (!value_.is_object()) Fail("must be an object in braces");
  for (const auto& [key, member] : value_.items()) {
    if (std::find(known.begin(), known.end(), key) != known.end()) continue;
    Fail("unknown key " + Quoted(key), DidYouMean(key, known));
  }
}

std::optional<JsonPlace> JsonPlace::Find(const std::string& key) const {
  const auto found = value_.find(key);
  if (found == value_.end()) return std::nullopt;
  std::string step = IsPlainKey(key) ? (path_.empty() ? key : "." + key) : "[\"" + key + "\"]";
  return JsonPlace(*found, file_, path_ + step);
}

JsonPlace JsonPlace::Require(const std::string& key) const {
  auto found = Find(key);
  if (!found) Fail("the key " + Quoted(key) + " is missing", "add it");
  return *found;
}

std::vector<JsonPlace> JsonPlace::Elements() const {
  if (!value_.is_array()) Fail("must be a list in brackets");
  std::vector<JsonPlace> elements;
  for (std::size_t i = 0; i < value_.size(); ++i) {
    elements.emplace_back(value_[i], file_, path_ + "[" + std::to_string(i) + "]");
  }
  return elements;
}

std::vector<std::pair<std::string, JsonPlace>> JsonPlace::Members() const {
  if (!value_.is_object()) Fail("must be an object in braces");
  std::vector<std::pair<std::string, JsonPlace>> members;
  for (const auto& [key, member] : value_.items()) members.emplace_back(key, *Find(key));
  return members;
}

int JsonPlace::Integer(int least, int most) const {
  const std::string range = std::to_string(least) + " to " + std::to_string(most);
  if (!value_.is_number_integer()) Fail("must be a whole number", "give one from " + range);
  const bool fits = value_.is_number_unsigned()
                        ? value_.get<std::uint64_t>() <= static_cast<std::uint64_t>(most)
                        : value_.get<std::int64_t>() <= most;
  if (!fits || value_.get<std::int64_t>() < least) {
    Fail(value_.dump() + " is out of range", "give a number from " + range);
  }
  return value_.get<int>();
}

double JsonPlace::Number() const {
  if (!value_.is_number()) Fail("must be a number");
  return value_.get<double>();
}

bool JsonPlace::Flag() const {
  if (!value_.is_boolean()) Fail("must be true or false");
  return value_.get<bool>();
}

std::string JsonPlace::Text() const {
  if (!value_.is_string()) Fail("must be a text in quotes");
  return value_.get<std::string>();
}

JsonPlace::Json ParseJson(const std::string& text, const std::string& file) {
  using Event = JsonPlace::Json::parse_event_t;
  std::vector<std::set<std::string>> openObjects;
  std::string repeatedKey;
  const auto watch = [&](int, Event event, JsonPlace::Json& parsed) {
    if (event == Event::object_start) openObjects.emplace_back();
    if (event == Event::object_end) openObjects.pop_back();
    if (event == Event::key && repeatedKey.empty() &&
        !openObjects.back().insert(parsed.get<std::string>()).second) {
      repeatedKey = parsed.get<std::string>();
    }
    return true;
  };
  try {
    auto document = JsonPlace::Json::parse(text, watch);
    if (!repeatedKey.empty()) {
      throw FileError(file, "", "the key " + Quoted(repeatedKey) + " is used twice in one object",
                      "remove one of them");
    }
    return document;
  } catch (const nlohmann::json::parse_error& error) {
    // The library reports the byte after the last one that it read.
    throw FileError(file, LineAndColumn(text, error.byte > 0 ? error.byte - 1 : 0), CauseOf(error));
  } catch (const nlohmann::json::exception& error) {
    throw FileError(file, "", CauseOf(error));
  }
}

}  // namespace halveron
