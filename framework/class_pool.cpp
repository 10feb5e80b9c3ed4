#include "framework/class_pool.h"

#include <new>
#include <utility>

namespace halveron {

namespace {

constexpr std::size_t kCacheLine = 64;
constexpr std::size_t kMostPerChunk = 64;

/// Stands before each object.
using Share = std::shared_ptr<std::pmr::memory_resource>;
static_assert(sizeof(Share) <= kCacheLine);

}  // namespace

ClassPool::ClassPool(std::size_t objectSize)
    : chunks_(std::make_shared<std::pmr::synchronized_pool_resource>(
          std::pmr::pool_options{kMostPerChunk, 2 * (objectSize + kCacheLine)},
          std::pmr::new_delete_resource())) {}

void* ClassPool::Take(std::size_t size) const {
  auto* block = static_cast<std::byte*>(chunks_->allocate(size + kCacheLine, kCacheLine));
  new (block) Share(chunks_);
  return block + kCacheLine;
}

void ClassPool::GiveBack(void* memory, std::size_t size) {
  std::byte* block = static_cast<std::byte*>(memory) - kCacheLine;
  auto* before = std::launder(reinterpret_cast<Share*>(block));
  const Share share = std::move(*before);
  before->~Share();
  share->deallocate(block, size + kCacheLine, kCacheLine);
}

}  // namespace halveron
