#include "foundation/Cells.h"

#include <algorithm>
#include <atomic>
#include <iterator>
#include <mutex>
#include <new>
#include <thread>
#include <vector>

#if defined(__SANITIZE_ADDRESS__)
#define PEL_CELL_POOLS 0
#elif defined(__has_feature)
#if __has_feature(address_sanitizer)
#define PEL_CELL_POOLS 0
#endif
#endif
#ifndef PEL_CELL_POOLS
#define PEL_CELL_POOLS 1
#endif

namespace pel::detail {

namespace {

// The pool's lock: a cell is taken or given in a few instructions, and an
// uncontended mutex would cost more than that (two atomic operations and
// two calls); a waiting thread yields.
class TSpinLock {
 public:
  void lock() noexcept {
    while (FHeld.exchange(true, std::memory_order_acquire))
      while (FHeld.load(std::memory_order_relaxed)) std::this_thread::yield();
  }
  void unlock() noexcept { FHeld.store(false, std::memory_order_release); }

 private:
  std::atomic<bool> FHeld{false};
};

// See Cells.h.
class TCellPool {
 public:
  void* Take(std::size_t Size) {
    const std::size_t k = (Size + 7) / 8;
    if (!PEL_CELL_POOLS || k >= kSizes) return ::operator new(Size);
    std::lock_guard<TSpinLock> lock(FLock);
    if (!FFree[k]) Refill(k);
    void* cell = FFree[k];
    FFree[k] = *static_cast<void**>(cell);
    ++FLive;
    return cell;
  }
  void Give(void* Ptr, std::size_t Size) noexcept {
    const std::size_t k = (Size + 7) / 8;
    if (!PEL_CELL_POOLS || k >= kSizes) {
      ::operator delete(Ptr);
      return;
    }
    std::lock_guard<TSpinLock> lock(FLock);
    *static_cast<void**>(Ptr) = FFree[k];
    FFree[k] = Ptr;
    if (--FLive > 0) return;
    for (void* block : FBlocks) ::operator delete(block);
    FBlocks.clear();
    std::fill(std::begin(FFree), std::end(FFree), nullptr);
  }

 private:
  static constexpr std::size_t kSizes = 33;
  static constexpr std::size_t kBlock = 64 * 1024;
  void Refill(std::size_t k) {
    const std::size_t cell = 8 * k;
    // Room first, so that the push cannot fail once the block is taken;
    // doubling, so that a million blocks are not copied a million times.
    if (FBlocks.size() == FBlocks.capacity()) FBlocks.reserve(2 * FBlocks.size() + 16);
    auto* block = static_cast<char*>(::operator new(kBlock));
    FBlocks.push_back(block);
    // Linked front to back, so that objects made one after the other lie
    // side by side.
    for (std::size_t at = (kBlock / cell - 1) * cell;; at -= cell) {
      *reinterpret_cast<void**>(block + at) = FFree[k];
      FFree[k] = block + at;
      if (at == 0) break;
    }
  }
  TSpinLock FLock;
  void* FFree[kSizes] = {};
  std::vector<void*> FBlocks;
  std::size_t FLive = 0;
};

// Never destroyed: objects may be freed while the program ends.
TCellPool& Pool() {
  static TCellPool* pool = new TCellPool;
  return *pool;
}

}  // namespace

void* TakeCell(std::size_t Size) { return Pool().Take(Size); }
void GiveCell(void* Ptr, std::size_t Size) noexcept { Pool().Give(Ptr, Size); }

}  // namespace pel::detail
