#include "framework/class_pool.h"

#include <memory_resource>
#include <new>
#include <utility>

namespace halveron {

namespace {

constexpr std::size_t kCacheLine = 64;
constexpr std::size_t kMostPerChunk = 64;

}  // namespace

class ClassPool::Chunks final : public CBaseObject {
 public:
  explicit Chunks(std::size_t objectSize)
      : memory({kMostPerChunk, 2 * (objectSize + kCacheLine)}, std::pmr::new_delete_resource()) {}

  std::pmr::synchronized_pool_resource memory;
};

ClassPool::ClassPool(std::size_t objectSize)
    : chunks_(SharedPointer<Chunks>::Adopt(new Chunks(objectSize))) {}

ClassPool::~ClassPool() = default;

void* ClassPool::Take(std::size_t size) const {
  // The object's share of the pool stands before it.
  static_assert(sizeof(SharedPointer<Chunks>) <= kCacheLine);
  void* memory = chunks_->memory.allocate(size + kCacheLine, kCacheLine);
  auto* block = static_cast<std::byte*>(memory);
  new (block) SharedPointer<Chunks>(chunks_);
  return block + kCacheLine;
}

void ClassPool::GiveBack(void* memory, std::size_t size) {
  std::byte* block = static_cast<std::byte*>(memory) - kCacheLine;
  auto* before = std::launder(reinterpret_cast<SharedPointer<Chunks>*>(block));
  const SharedPointer<Chunks> share = std::move(*before);
  before->~SharedPointer<Chunks>();
  share->memory.deallocate(block, size + kCacheLine, kCacheLine);
}

}  // namespace halveron
