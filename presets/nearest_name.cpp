#include "presets/nearest_name.h"

#include <algorithm>
#include <limits>

namespace halveron {

namespace {

constexpr int kEditCost = 4;
constexpr int kCaseCost = 1;

char Lower(char letter) { return letter >= 'A' && letter <= 'Z' ? letter + ('a' - 'A') : letter; }

int ReplaceCost(char a, char b) {
  if (a == b) return 0;
  return Lower(a) == Lower(b) ? kCaseCost : kEditCost;
}

int EditDistance(std::string_view a, std::string_view b) {
  std::vector<int> before, above(b.size() + 1), row(b.size() + 1);
  for (std::size_t j = 0; j <= b.size(); ++j) above[j] = static_cast<int>(j) * kEditCost;
  for (std::size_t i = 1; i <= a.size(); ++i) {
    row[0] = static_cast<int>(i) * kEditCost;
    for (std::size_t j = 1; j <= b.size(); ++j) {
      row[j] = std::min({above[j] + kEditCost, row[j - 1] + kEditCost,
                         above[j - 1] + ReplaceCost(a[i - 1], b[j - 1])});
      if (i > 1 && j > 1 && Lower(a[i - 1]) == Lower(b[j - 2]) &&
          Lower(a[i - 2]) == Lower(b[j - 1])) {
        row[j] = std::min(row[j], before[j - 2] + kEditCost);
      }
    }
    before = above;
    above.swap(row);
  }
  return above[b.size()];
}

std::string LowerCase(std::string_view text) {
  std::string lower(text);
  std::transform(lower.begin(), lower.end(), lower.begin(), Lower);
  return lower;
}

std::string_view FirstWord(std::string_view text) { return text.substr(0, text.find(' ')); }

/// Both in lower case.
using ModuleMatch = bool (*)(std::string_view typed, std::string_view module);

/// The number that a built-in module's name begins with; empty if there is none.
std::string_view NumberOf(std::string_view module) {
  const std::string_view word = FirstWord(module);
  return word.find_first_of("0123456789") != std::string_view::npos ? word : std::string_view();
}

/// "s310 vc", "310", "s310vco"
bool HasNumber(std::string_view typed, std::string_view module) {
  const std::string_view number = NumberOf(module);
  if (number.empty()) return false;
  const std::string_view digits = number.substr(1);
  const std::string_view word = FirstWord(typed);
  return word == number || (word == digits && !digits.empty()) ||
         (digits.size() > 1 && word.starts_with(number));
}

/// "s31", "31"
bool NumberBegins(std::string_view typed, std::string_view module) {
  const std::string_view number = NumberOf(module);
  const bool saysMore = typed.size() > 1 || typed.find_first_of("0123456789") == 0;
  return saysMore && !number.empty() &&
         (number.starts_with(typed) || number.substr(1).starts_with(typed));
}

/// "vco"
bool HasPart(std::string_view typed, std::string_view module) {
  return typed.size() > 2 && module.find(typed) != std::string_view::npos;
}

/// "did you mean "A", "B" or "C"?"
std::string AskFor(const std::vector<std::string>& names) {
  constexpr std::size_t kMost = 4;
  const std::size_t count = std::min(names.size(), kMost);
  std::string text = "did you mean ";
  for (std::size_t i = 0; i < count; ++i) {
    if (i > 0) text += i + 1 == count ? " or " : ", ";
    text += Quoted(names[i]);
  }
  return text += "?";
}

constexpr std::size_t kLongestCompared = 200;  // keeps hostile input from costing time

}  // namespace

std::string NearestName(std::string_view name, const std::vector<std::string>& candidates) {
  name = name.substr(0, kLongestCompared);
  std::string nearest;
  int least = std::numeric_limits<int>::max();
  for (const std::string& candidate : candidates) {
    const int distance = EditDistance(name, candidate);
    if (distance < least) {
      least = distance;
      nearest = candidate;
    }
  }
  return nearest;
}

std::string DidYouMean(std::string_view name, const std::vector<std::string>& candidates) {
  if (candidates.empty()) return "there is none to choose from";
  return AskFor({NearestName(name, candidates)});
}

std::string DidYouMeanModule(std::string_view name, const std::vector<std::string>& modules) {
  const std::string typed = LowerCase(name.substr(0, kLongestCompared));
  for (const ModuleMatch match : {HasNumber, NumberBegins, HasPart}) {
    std::vector<std::string> found;
    for (const std::string& module : modules) {
      const bool isNew = std::find(found.begin(), found.end(), module) == found.end();
      if (!typed.empty() && isNew && match(typed, LowerCase(module))) found.push_back(module);
    }
    if (!found.empty()) return AskFor(found);
  }
  // A mistyped number is nearer to a number than to any whole name.
  std::vector<std::string> numbers;
  for (const std::string& module : modules) numbers.emplace_back(FirstWord(module));
  if (FirstWord(typed) != typed || typed.find_first_of("0123456789") == std::string::npos) {
    return DidYouMean(name, modules);
  }
  const std::string nearest = NearestName(typed, numbers);
  const auto at = std::find(numbers.begin(), numbers.end(), nearest) - numbers.begin();
  return modules.empty() ? DidYouMean(name, modules)
                         : AskFor({modules[static_cast<std::size_t>(at)]});
}

std::string Quoted(std::string_view name) {
  constexpr std::size_t kLongest = 80;
  std::string quoted(1, '"');
  quoted += name.substr(0, kLongest);
  if (name.size() > kLongest) quoted += "...";
  quoted += '"';
  return quoted;
}

}  // namespace halveron
