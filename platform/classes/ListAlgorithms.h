// The framework's list algorithms, shared by every list that sorts or
// searches the same way over its own storage.
#pragma once

#include <cstdint>

namespace pel::detail {

// How much a full list grows: by 4 while its capacity is at most 8, by 16
// while it is at most 64, by a quarter above (4, 8, 12, 28, 44, 60, 76, 95,
// 118, ...).
constexpr int32_t FrameworkGrowDelta(int32_t Capacity) {
  return Capacity > 64 ? Capacity / 4 : Capacity > 8 ? 16 : 4;
}

// The framework's quicksort over the positions L..R: the middle element (by
// value) is the pivot; the left index advances while its key orders before
// the pivot, the right one retreats while its key orders after; the left
// part recurses, the right part iterates. Equal keys end in no particular
// order. KeyAt(i) gives the key at position i, Compare(a, b) orders two
// keys (<0, 0, >0), Swap(i, j) exchanges two positions.
template <class Key, class KeyAt, class Compare, class Swap>
void FrameworkQuickSort(int32_t L, int32_t R, const KeyAt& keyAt, const Compare& compare,
                        const Swap& swap) {
  int32_t I;
  do {
    I = L;
    int32_t J = R;
    const Key P = keyAt(static_cast<int32_t>((static_cast<uint32_t>(L) + R) >> 1));
    do {
      while (compare(keyAt(I), P) < 0) ++I;
      while (compare(keyAt(J), P) > 0) --J;
      if (I <= J) {
        swap(I, J);
        ++I;
        --J;
      }
    } while (I <= J);
    if (L < J) FrameworkQuickSort<Key>(L, J, keyAt, compare, swap);
    L = I;
  } while (I < R);
}

// The framework's binary search over Count sorted positions. CompareAt(i)
// orders the item at i against the target. Returns whether the target was
// found; Index is where it was met (with AcceptDuplicates, the first of
// equal items) or where it would be inserted.
template <class CompareAt>
bool FrameworkFind(int32_t Count, bool AcceptDuplicates, const CompareAt& compareAt,
                   int32_t& Index) {
  bool Result = false;
  int32_t L = 0;
  int32_t H = Count - 1;
  while (L <= H) {
    int32_t I = static_cast<int32_t>((static_cast<uint32_t>(L) + static_cast<uint32_t>(H)) >> 1);
    int32_t C = compareAt(I);
    if (C < 0) {
      L = I + 1;
    } else {
      H = I - 1;
      if (C == 0) {
        Result = true;
        if (!AcceptDuplicates) L = I;
      }
    }
  }
  Index = L;
  return Result;
}

}  // namespace pel::detail
