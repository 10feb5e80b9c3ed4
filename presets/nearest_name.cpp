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

}  // namespace

std::string NearestName(std::string_view name, const std::vector<std::string>& candidates) {
  constexpr std::size_t kLongest = 200;  // keeps hostile input from costing time
  name = name.substr(0, kLongest);
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
  return "did you mean " + Quoted(NearestName(name, candidates)) + "?";
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
