// Memory for signals that stay where they are while others come and go.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <vector>

#include "framework/rack_limits.h"

namespace halveron {

/// Signals side by side: the voices of one point, or sixteen points of mono modules.
struct alignas(64) SignalLine {
  std::array<float, kMaxVoices> cells{};
};

/// Hands out cells of lines in blocks of memory. A copy shares the blocks and knows by itself which
/// cells are taken: the layout of the next sample plan begins as a copy of the present one's.
class SignalStore {
 public:
  static constexpr std::size_t kLine = kMaxVoices;

  struct Block {
    explicit Block(std::size_t count, bool withImage)
        : size(count),
          lines(std::make_unique<SignalLine[]>(count)),
          image(withImage ? std::make_unique<SignalLine[]>(count + 1) : nullptr) {}

    std::size_t size;
    std::unique_ptr<SignalLine[]> lines;
    /// Of as many lines, if the store has one, and one behind them: a vector may be read from any
    /// cell on.
    std::unique_ptr<SignalLine[]> image;
  };
  /// Cells that lie side by side within a line.
  struct Place {
    Block* block = nullptr;
    std::size_t offset = 0;  ///< in cells from the start of the block

    Place Next(std::size_t cells) const { return {block, offset + cells}; }
    float* Cell() const { return block->lines[offset / kLine].cells.data() + offset % kLine; }
    /// Null in a store without an image.
    float* ImageCell() const {
      return block->image ? block->image[offset / kLine].cells.data() + offset % kLine : nullptr;
    }
    bool operator==(const Place&) const = default;
  };
  struct Share {
    std::shared_ptr<Block> block;
    std::vector<std::uint16_t> taken;  ///< by line, a bit for each cell
    std::size_t firstEmpty = 0;        ///< no line below it is empty
    std::size_t firstOpen = 0;         ///< all lines below it are full

    /// Lines up to the last with a cell taken.
    std::size_t UsedLines() const;
  };

  explicit SignalStore(bool withImage) : withImage_(withImage) {}

  /// Makes room for so many lines in one block, if there is none.
  void Reserve(std::size_t lines);
  /// `cells` of 1 to kLine, of any contents, that begin a line if they fill one. Allocates if none
  /// is free.
  Place Take(std::size_t cells);
  Place TakeLine() { return Take(kLine); }

  /// Begins a new count of what is taken; cells that nobody keeps are free afterwards.
  void ForgetTaken();
  void Keep(const Place& place, std::size_t cells);
  /// Lets go of blocks without a cell taken.
  void DropEmptyBlocks();

  const std::vector<Share>& Shares() const { return shares_; }

 private:
  static constexpr std::size_t kFewestLines = 32;

  void AddBlock(std::size_t lines);
  static void Mark(Share& share, const Place& place, std::size_t cells);

  std::vector<Share> shares_;
  bool withImage_;
};

}  // namespace halveron
