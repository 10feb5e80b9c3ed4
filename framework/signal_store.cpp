#include "framework/signal_store.h"

#include <algorithm>
#include <optional>

namespace halveron {

namespace {

constexpr std::uint32_t kFullLine = 0xFFFF;
static_assert(SignalStore::kLine == 16);

std::uint32_t MaskOf(std::size_t cells) { return (std::uint32_t{1} << cells) - 1; }

/// The first of `cells` free cells side by side.
std::optional<std::size_t> FindFree(std::uint32_t taken, std::size_t cells) {
  for (std::size_t first = 0; first + cells <= SignalStore::kLine; ++first) {
    if ((taken & MaskOf(cells) << first) == 0) return first;
  }
  return std::nullopt;
}

}  // namespace

std::size_t SignalStore::Share::UsedLines() const {
  const auto last = std::find_if(taken.rbegin(), taken.rend(), [](auto mask) { return mask != 0; });
  return static_cast<std::size_t>(taken.rend() - last);
}

void SignalStore::AddBlock(std::size_t lines) {
  shares_.push_back({.block = std::make_shared<Block>(lines, withImage_),
                     .taken = std::vector<std::uint16_t>(lines)});
}

void SignalStore::Reserve(std::size_t lines) {
  if (shares_.empty()) AddBlock(std::max(lines, kFewestLines));
}

SignalStore::Place SignalStore::Take(std::size_t cells) {
  for (Share& share : shares_) {
    std::size_t& first = cells == kLine ? share.firstEmpty : share.firstOpen;
    const auto isPassed = [&](std::uint32_t taken) {
      return cells == kLine ? taken != 0 : taken == kFullLine;
    };
    while (first < share.taken.size() && isPassed(share.taken[first])) ++first;
    for (std::size_t line = first; line < share.taken.size(); ++line) {
      const auto cell = FindFree(share.taken[line], cells);
      if (!cell) continue;
      const Place place{share.block.get(), line * kLine + *cell};
      Mark(share, place, cells);
      return place;
    }
  }
  std::size_t lines = kFewestLines;
  for (const Share& share : shares_) lines += share.taken.size();
  AddBlock(lines);
  return Take(cells);
}

void SignalStore::Mark(Share& share, const Place& place, std::size_t cells) {
  std::uint16_t& taken = share.taken[place.offset / kLine];
  taken = static_cast<std::uint16_t>(taken | MaskOf(cells) << place.offset % kLine);
}

void SignalStore::ForgetTaken() {
  for (Share& share : shares_) {
    std::fill(share.taken.begin(), share.taken.end(), std::uint16_t{0});
    share.firstEmpty = share.firstOpen = 0;
  }
}

void SignalStore::Keep(const Place& place, std::size_t cells) {
  for (Share& share : shares_) {
    if (share.block.get() == place.block) Mark(share, place, cells);
  }
}

void SignalStore::DropEmptyBlocks() {
  std::erase_if(shares_, [](const Share& share) { return share.UsedLines() == 0; });
}

}  // namespace halveron
