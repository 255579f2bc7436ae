// The array-backed lists, queues and stacks of PelLists.
#include <algorithm>

#include "lists/PelLists.h"
#include "platform/classes/ListAlgorithms.h"

namespace pel {

// --- TFreeList ---------------------------------------------------------------

void TFreeList::BeforeDestruction() {
  Clear();
  TPersistent::BeforeDestruction();
}

void TFreeList::Error(const char* Msg, int32_t Data) { throw EListError(Msg, {Data}); }

void TFreeList::CheckIndex(int32_t Index) {
  if (Index < 0 || Index >= FCount) Error(SListIndexError, Index);
}

void TFreeList::Grow() {
  int32_t delta = detail::FrameworkGrowDelta(FCapacity);
  SetCapacity(FCapacity + delta);
}

void TFreeList::SetCapacity(int32_t NewCapacity) {
  if (NewCapacity < FCount || NewCapacity > MaxListSize) Error(SListCapacityError, NewCapacity);
  if (NewCapacity == FCapacity) return;
  FList.Reallocate(NewCapacity, FCount);
  FCapacity = NewCapacity;
}

TFreeList* TFreeList::Expand() {
  if (FCount == FCapacity) Grow();
  return this;
}

void TFreeList::Notify(TObject* Item, TListNotification Action) {
  if (Action == lnDeleted && FFreeItems && Item) Free(Item);
}

TObject* TFreeList::Get(int32_t Index) {
  CheckIndex(Index);
  return FList[Index];
}

void TFreeList::Put(int32_t Index, TObject* Item) {
  CheckIndex(Index);
  TObject* old = FList[Index];
  FList[Index] = Item;
  // Intended: no identity check, so re-storing an owned object frees it.
  if (old) Notify(old, lnDeleted);
  if (Item) Notify(Item, lnAdded);
}

int32_t TFreeList::Add(TObject* Item) {
  if (FCount == FCapacity) Grow();
  int32_t index = FCount;
  FList[index] = Item;
  ++FCount;
  if (Item) Notify(Item, lnAdded);
  return index;
}

void TFreeList::Insert(int32_t Index, TObject* Item) {
  if (Index < 0 || Index > FCount) Error(SListIndexError, Index);
  if (FCount == FCapacity) Grow();
  FList.Open(Index, FCount) = Item;
  ++FCount;
  if (Item) Notify(Item, lnAdded);
}

void TFreeList::Delete(int32_t Index) {
  TObject* item = Get(Index);
  CheckIndex(Index);
  FList.Erase(Index, FCount, FCapacity);
  --FCount;
  if (item) Notify(item, lnDeleted);
}

int32_t TFreeList::IndexOf(TObject* Item) const {
  for (int32_t i = 0; i < FCount; ++i)
    if (FList[i] == Item) return i;
  return -1;
}

int32_t TFreeList::Remove(TObject* Item) {
  int32_t index = IndexOf(Item);
  if (index >= 0) Delete(index);
  return index;
}

TObject* TFreeList::Extract(TObject* Item) {
  int32_t index = IndexOf(Item);
  if (index < 0) return nullptr;
  FList[index] = nullptr;
  Delete(index);
  Notify(Item, lnExtracted);
  return Item;
}

void TFreeList::SetCount(int32_t NewCount) {
  if (NewCount < 0 || NewCount > MaxListSize) Error(SListCountError, NewCount);
  if (NewCount > FCapacity) SetCapacity(NewCount);
  if (NewCount > FCount) {
    std::fill(FList.Data() + FCount, FList.Data() + NewCount, nullptr);
    FCount = NewCount;
  } else if (FFreeItems) {
    while (FCount > NewCount) Delete(FCount - 1);
  } else {
    // Without FreeItems a shrink drops the references silently.
    std::fill(FList.Data() + NewCount, FList.Data() + FCount, nullptr);
    FCount = NewCount;
  }
}

void TFreeList::Clear() {
  SetCount(0);
  SetCapacity(0);
}

void TFreeList::Pack() {
  for (int32_t i = FCount - 1; i >= 0; --i)
    if (!FList[i]) Delete(i);
}

void TFreeList::Exchange(int32_t Index1, int32_t Index2) {
  CheckIndex(Index1);
  CheckIndex(Index2);
  std::swap(FList[Index1], FList[Index2]);
}

void TFreeList::Move(int32_t CurIndex, int32_t NewIndex) {
  if (CurIndex == NewIndex) return;
  CheckIndex(NewIndex);
  TObject* item = Get(CurIndex);
  bool freeItems = FFreeItems;
  FFreeItems = false;
  TryFinally(
      [&] {
        Delete(CurIndex);
        Insert(NewIndex, item);
      },
      [&] { FFreeItems = freeItems; });
}

void TFreeList::QuickSort(int32_t L, int32_t R, TListSortCompare Compare) {
  detail::FrameworkQuickSort<void*>(
      L, R, [this](int32_t i) -> void* { return FList[i]; }, Compare,
      [this](int32_t i, int32_t j) { std::swap(FList[i], FList[j]); });
}

void TFreeList::Sort(TListSortCompare Compare) {
  if (FCount > 0) QuickSort(0, FCount - 1, Compare);
}

void TFreeList::Assign(TPersistent* Source) {
  if (auto* other = dynamic_cast<TFreeList*>(Source)) {
    Clear();
    for (int32_t i = 0; i < other->GetCount(); ++i) Add(other->FList[i]);
    return;
  }
  TPersistent::Assign(Source);
}

void TFreeList::Assign(TList* Source) {
  Clear();
  for (int32_t i = 0; i < Source->GetCount(); ++i) Add(static_cast<TObject*>(Source->Get(i)));
}

TFreeList* TFreeList::Clone(TFreeList* Dest) {
  if (!Dest) Dest = TClassOf<TFreeList>(ClassType()).Create();
  Dest->Assign(this);
  return Dest;
}

bool TFreeList::Equals(TObject* Obj) {
  if (auto* list = dynamic_cast<TList*>(Obj)) {
    if (list->GetCount() != FCount) return false;
    for (int32_t i = 0; i < FCount; ++i)
      if (list->Get(i) != FList[i]) return false;
    return true;
  }
  if (auto* other = dynamic_cast<TFreeList*>(Obj)) {
    if (other->FCount != FCount) return false;
    return std::equal(FList.Data(), FList.Data() + FCount, other->FList.Data());
  }
  return false;
}

// --- TQQueue / TQStack -----------------------------------------------------

void TQQueue::Empty() { throw EListError(SListEmpty); }

void TQQueue::Clear() {
  if (IsPlain())
    ClearUnnotified();
  else
    TList::Clear();
}

void* TQQueue::Top() {
  if (IsEmpty()) Empty();
  return Get(0);
}

void* TQQueue::TakeNotified(int32_t Index) {
  void* item = Top();
  Delete(Index);
  return item;
}

void* TQStack::Top() {
  if (IsEmpty()) Empty();
  return Get(GetCount() - 1);
}

void TQQueue::Assign(TObject* Source) {
  if (auto* list = dynamic_cast<TList*>(Source)) {
    Clear();
    for (int32_t i = 0; i < list->GetCount(); ++i) Add(list->Get(i));
    return;
  }
  if (auto* linked = dynamic_cast<TPelCustomLinkedList*>(Source)) {
    Clear();
    for (int32_t i = 0; i < linked->GetCount(); ++i) Add(linked->GetItem(i));
    // Intended: the items stay copied and the assignment still fails below.
  }
  throw EConvertError(pellists::SAssignError,
                      {Source ? Source->ClassName() : String("nil"), ClassName()});
}

// --- TQStringQueue / TQStringStack -------------------------------------------

void TQStringQueue::CheckNotEmpty() {
  if (GetCount() == 0) throw EListError(SListEmpty);
}

TObject* TQStringQueue::Top() {
  CheckNotEmpty();
  return GetObject(FTop);
}

String TQStringQueue::TopString() {
  CheckNotEmpty();
  return Get(FTop);
}

String TQStringQueue::TopItem(TObject*& AObject) {
  CheckNotEmpty();
  AObject = GetObject(FTop);
  return Get(FTop);
}

TObject* TQStringQueue::Pop() {
  TObject* object = Top();
  Delete(FTop);
  return object;
}

String TQStringQueue::PopString() {
  String s = TopString();
  Delete(FTop);
  return s;
}

String TQStringQueue::PopItem(TObject*& AObject) {
  String s = TopItem(AObject);
  Delete(FTop);
  return s;
}

void TQStringQueue::SetSorted(bool Value) {
  if (Value) throw EListError(SNotSortable);
}

void TQStringStack::Changed() {
  FTop = GetCount() - 1;
  TQStringQueue::Changed();
}

}  // namespace pel
