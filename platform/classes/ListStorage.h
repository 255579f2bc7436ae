// The slots behind an array list (TList, TFreeList): a contiguous array whose
// first item may sit after a gap, so that deleting at the front costs
// constant time, as a queue that pops index 0 needs.
//
// The list keeps its own Count and Capacity, with the framework's growth
// steps; this only stores. Slot i of the list is Data()[i], and Data() is
// followed by at least Capacity slots, so the list's List() pointer can be
// written up to its capacity as in the framework.
//
// Deleting moves the shorter side: at the front that is nothing but the gap
// growing. The gap is given back when it is at least as large as the items
// (the items move down once, paid for by the deletions that made the gap) or
// when the list reallocates. Inserting at the front reuses the gap.
#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <new>
#include <type_traits>
#include <vector>

namespace pel::detail {

// The array under the slots. Plain values (pointers) live in a block that
// grows with realloc (at least twofold, see resize), and whose new slots
// are left as the allocator gives them, as the framework's ReallocMem
// leaves them (the list clears what it hands out: SetCount's new items, an
// opened slot); anything else lives in a vector, its new slots
// value-initialised.
template <class T, bool Plain = std::is_trivially_copyable_v<T>>
class SlotArray {
 public:
  T* data() { return FItems.data(); }
  const T* data() const { return FItems.data(); }
  std::size_t size() const { return FItems.size(); }
  std::size_t room() const { return FItems.capacity(); }
  void resize(std::size_t N) { FItems.resize(N); }
  void release_spare() {
    if (FItems.capacity() > FItems.size() * 2 + 16) FItems.shrink_to_fit();
  }

 private:
  std::vector<T> FItems;
};

template <class T>
class SlotArray<T, true> {
 public:
  SlotArray() = default;
  SlotArray(const SlotArray&) = delete;
  SlotArray& operator=(const SlotArray&) = delete;
  ~SlotArray() { std::free(FItems); }

  T* data() { return FItems; }
  const T* data() const { return FItems; }
  std::size_t size() const { return FSize; }
  std::size_t room() const { return FRoom; }
  // The block grows at least twofold and shrinks only to a quarter: a list
  // that grows in the framework's steps of a quarter would otherwise have
  // realloc copy it at every step once the allocator no longer maps large
  // blocks on their own (glibc stops doing so after the first is freed).
  void resize(std::size_t N) {
    if (N == FSize) return;
    if (N == 0) {
      std::free(FItems);
      FItems = nullptr;
      FRoom = 0;
    } else if (N > FRoom || N < FRoom / 4) {
      const std::size_t room = N > FRoom ? std::max(N, 2 * FRoom) : N;
      void* p = std::realloc(FItems, room * sizeof(T));
      if (!p) throw std::bad_alloc();
      FItems = static_cast<T*>(p);
      FRoom = room;
    }
    FSize = N;
  }
  void release_spare() {}

 private:
  T* FItems = nullptr;
  std::size_t FSize = 0;
  std::size_t FRoom = 0;  // slots allocated, FSize of them in use
};

template <class T>
class FrontGapSlots {
 public:
  FrontGapSlots() = default;
  FrontGapSlots(const FrontGapSlots&) = delete;
  FrontGapSlots& operator=(const FrontGapSlots&) = delete;

  T* Data() { return FFirst; }
  const T* Data() const { return FFirst; }
  T& operator[](int32_t Index) { return Data()[Index]; }
  const T& operator[](int32_t Index) const { return Data()[Index]; }

  // New room for Capacity slots holding the first Count items.
  void Reallocate(int32_t Capacity, int32_t Count) {
    Compact(Count);
    FSlots.resize(Pos(Capacity));
    // Memory goes back when the slots shrink a lot.
    FSlots.release_spare();
    SetFront(0);
  }

  // Removes slot Index of the Count in use; the vacated slot is cleared.
  // Emptying the list closes the gap.
  void Erase(int32_t Index, int32_t Count, int32_t Capacity) {
    T* first = Data();
    if (Index < Count / 2) {
      std::move_backward(first, first + Index, first + Index + 1);
      // The slot joins the gap, which nothing reads: only what holds a
      // resource is let go.
      if constexpr (!std::is_trivially_copyable_v<T>) *first = T();
      ++FFront;
      ++FFirst;
      KeepRoom(Count - 1, Capacity);
    } else {
      std::move(first + Index + 1, first + Count, first + Index);
      first[Count - 1] = T();
      if (Count == 1) SetFront(0);
    }
  }

  // Opens slot Index among the Count in use (Count < Capacity) and returns
  // it cleared; the caller stores the item. (A moved-from item keeps its
  // plain pointers, so the slot would otherwise still name its neighbour's.)
  T& Open(int32_t Index, int32_t Count) {
    T* first;
    if (FFront > 0 && Index < Count / 2 + 1) {
      SetFront(FFront - 1);
      first = Data();
      std::move(first + 1, first + Index + 1, first);
    } else {
      first = Data();
      std::move_backward(first + Index, first + Count, first + Count + 1);
    }
    first[Index] = T();
    return first[Index];
  }

 private:
  static std::size_t Pos(int32_t N) { return static_cast<std::size_t>(N); }

  // The gap, and the first item's slot with it (kept apart as the
  // queue's every step reads it).
  void SetFront(int32_t Front) {
    FFront = Front;
    FFirst = FSlots.data() + Front;
  }

  // Moves the items to the start of the array.
  void Compact(int32_t Count) {
    if (FFront == 0) return;
    T* slots = FSlots.data();
    std::move(slots + FFront, slots + FFront + Count, slots);
    std::fill(slots + Count, slots + FFront + Count, T());
    SetFront(0);
  }

  // Keeps Capacity slots after the gap: first takes the room the array
  // already has, then gives the gap back when it is at least as large as the
  // items, otherwise adds room by half again, so each costs constant time per
  // deletion on average.
  void KeepRoom(int32_t Count, int32_t Capacity) {
    if (Pos(FFront) + Pos(Capacity) > FSlots.size()) MakeRoom(Count, Capacity);
  }
  void MakeRoom(int32_t Count, int32_t Capacity) {
    std::size_t need = Pos(FFront) + Pos(Capacity);
    if (need <= FSlots.room()) {
      FSlots.resize(FSlots.room());
      return;
    }
    if (FFront >= Count) {
      Compact(Count);
      return;
    }
    FSlots.resize(std::max(need, FSlots.size() + FSlots.size() / 2));
    SetFront(FFront);
  }

  SlotArray<T> FSlots;
  T* FFirst = nullptr;  // FSlots.data() + FFront
  int32_t FFront = 0;   // slots before the first item
};

}  // namespace pel::detail
