#include "platform/classes/Lists.h"

#include <algorithm>
#include <utility>

#include "platform/RTLConsts.h"
#include "platform/SysUtils.h"
#include "platform/classes/ListAlgorithms.h"

namespace pel {

void TList::BeforeDestruction() {
  TObject::BeforeDestruction();
  // Here rather than in the destructor, so that descendants' Notify runs.
  Clear();
}

void TList::Error(const char* Msg, int32_t Data) { throw EListError(Msg, {Data}); }

void TList::Insert(int32_t Index, void* Item) {
  if (Index < 0 || Index > FCount) Error(SListIndexError, Index);
  if (FCount == FCapacity) Grow();
  FList.Open(Index, FCount) = Item;
  ++FCount;
  if (Item) Notify(Item, lnAdded);
}

int32_t TList::Remove(void* Item) {
  int32_t result = IndexOf(Item);
  if (result >= 0) Delete(result);
  return result;
}

void* TList::Extract(void* Item) {
  int32_t i = IndexOf(Item);
  if (i < 0) return nullptr;
  // Cleared first so that Delete reports no deletion.
  FList[i] = nullptr;
  Delete(i);
  Notify(Item, lnExtracted);
  return Item;
}

void TList::Clear() {
  SetCount(0);
  SetCapacity(0);
}

int32_t TList::IndexOf(void* Item) const {
  for (int32_t i = 0; i < FCount; ++i)
    if (FList[i] == Item) return i;
  return -1;
}

void* TList::First() const { return Get(0); }

void* TList::Last() const { return Get(FCount - 1); }

void TList::Pack() {
  for (int32_t i = FCount - 1; i >= 0; --i)
    if (!FList[i]) Delete(i);
}

void TList::QuickSort(int32_t L, int32_t R, TListSortCompare Compare) {
  detail::FrameworkQuickSort<void*>(
      L, R, [this](int32_t i) { return FList[i]; }, Compare,
      [this](int32_t i, int32_t j) { std::swap(FList[i], FList[j]); });
}

void TList::Sort(TListSortCompare Compare) {
  if (FCount > 1) QuickSort(0, FCount - 1, Compare);
}

void TList::Move(int32_t CurIndex, int32_t NewIndex) {
  if (CurIndex == NewIndex) return;
  if (NewIndex < 0 || NewIndex >= FCount) Error(SListIndexError, NewIndex);
  void* item = Get(CurIndex);
  // The item travels as nil so that neither step notifies.
  FList[CurIndex] = nullptr;
  Delete(CurIndex);
  Insert(NewIndex, nullptr);
  FList[NewIndex] = item;
}

void TList::Exchange(int32_t Index1, int32_t Index2) {
  CheckIndex(Index1);
  CheckIndex(Index2);
  std::swap(FList[Index1], FList[Index2]);
}

TList* TList::Expand() {
  if (FCount == FCapacity) Grow();
  return this;
}

void TList::Put(int32_t Index, void* Item) {
  CheckIndex(Index);
  if (Item == FList[Index]) return;
  void* temp = FList[Index];
  FList[Index] = Item;
  if (temp) Notify(temp, lnDeleted);
  if (Item) Notify(Item, lnAdded);
}

void TList::SetCount(int32_t NewCount) {
  if (NewCount < 0 || NewCount > MaxListSize) Error(SListCountError, NewCount);
  if (NewCount > FCapacity) SetCapacity(NewCount);
  if (NewCount > FCount) {
    std::fill(FList.Data() + FCount, FList.Data() + NewCount, nullptr);
  } else {
    for (int32_t i = FCount - 1; i >= NewCount; --i) Delete(i);
  }
  FCount = NewCount;
}

void TList::SetCapacity(int32_t NewCapacity) {
  if (NewCapacity < FCount || NewCapacity > MaxListSize) Error(SListCapacityError, NewCapacity);
  if (NewCapacity == FCapacity) return;
  FList.Reallocate(NewCapacity, FCount);
  FCapacity = NewCapacity;
}

void TList::Grow() {
  int32_t delta = detail::FrameworkGrowDelta(FCapacity);
  SetCapacity(FCapacity + delta);
}

void TList::Notify(void*, TListNotification) {}

}  // namespace pel
