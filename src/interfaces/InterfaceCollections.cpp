#include "interfaces/InterfaceCollections.h"

#include <new>
#include <utility>

#include "platform/RTLConsts.h"

namespace pel {

// ---------------------------------------------------------------------------
// TPelInterfaceList

void TPelInterfaceList::BeforeDestruction() {
  TInterfacedObject::BeforeDestruction();
  Clear();
}

void TPelInterfaceList::Error(const char* Msg, int32_t Data) {
  throw EListError(Format(Msg, {Data}));
}

void TPelInterfaceList::CheckIndex(int32_t Index) {
  if (Index < 0 || Index >= FCount) Error(SListIndexError, Index);
}

void TPelInterfaceList::Grow() {
  int32_t delta = FCapacity > 64 ? FCapacity / 4 : FCapacity > 8 ? 16 : 4;
  SetCapacity(FCapacity + delta);
}

void TPelInterfaceList::SetCapacity(int32_t NewCapacity) {
  if (NewCapacity < FCount || NewCapacity > MaxListSize) Error(SListCapacityError, NewCapacity);
  if (NewCapacity == FCapacity) return;
  try {
    FList.resize(static_cast<std::size_t>(NewCapacity));
    if (NewCapacity == 0) TInterfaceArray().swap(FList);
  } catch (const std::bad_alloc&) {
    throw EOutOfMemory(SysConst::SOutOfMemory);
  }
  FCapacity = NewCapacity;
}

void TPelInterfaceList::SetCount(int32_t NewCount) {
  if (NewCount < 0 || NewCount > MaxListSize) Error(SListCountError, NewCount);
  if (NewCount > FCapacity) SetCapacity(NewCount);
  // The slots above Count are always empty, so growing only counts them.
  for (int32_t i = FCount - 1; i >= NewCount; --i) Delete(i);
  FCount = NewCount;
}

int32_t TPelInterfaceList::Add(const IPtr<IInterface>& Item) {
  if (FCount == FCapacity) Grow();
  int32_t index = FCount;
  FList[static_cast<std::size_t>(index)] = Item;
  ++FCount;
  if (Item) Notify(Item, lnAdded);
  return index;
}

void TPelInterfaceList::Insert(int32_t Index, const IPtr<IInterface>& Item) {
  if (Index < 0 || Index > FCount) Error(SListIndexError, Index);
  if (FCount == FCapacity) Grow();
  auto at = FList.begin() + Index;
  std::move_backward(at, FList.begin() + FCount, FList.begin() + FCount + 1);
  *at = Item;
  ++FCount;
  if (Item) Notify(Item, lnAdded);
}

void TPelInterfaceList::Delete(int32_t Index) {
  CheckIndex(Index);
  // The list's reference moves to a temporary, released after Notify.
  IPtr<IInterface> item = std::move(FList[static_cast<std::size_t>(Index)]);
  --FCount;
  std::move(FList.begin() + Index + 1, FList.begin() + FCount + 1, FList.begin() + Index);
  if (item) Notify(item, lnDeleted);
}

int32_t TPelInterfaceList::Remove(const IPtr<IInterface>& Item) {
  int32_t index = IndexOf(Item);
  if (index >= 0) Delete(index);
  return index;
}

void TPelInterfaceList::Exchange(int32_t Index1, int32_t Index2) {
  CheckIndex(Index1);
  CheckIndex(Index2);
  FList[static_cast<std::size_t>(Index1)].swap(FList[static_cast<std::size_t>(Index2)]);
}

// Only empty slots pass through Delete and Insert, so Notify hears nothing.
void TPelInterfaceList::Move(int32_t CurIndex, int32_t NewIndex) {
  if (CurIndex == NewIndex) return;
  if (NewIndex < 0 || NewIndex >= FCount) Error(SListIndexError, NewIndex);
  CheckIndex(CurIndex);
  IPtr<IInterface> item = std::move(FList[static_cast<std::size_t>(CurIndex)]);
  Delete(CurIndex);
  Insert(NewIndex, nullptr);
  FList[static_cast<std::size_t>(NewIndex)] = std::move(item);
}

int32_t TPelInterfaceList::IndexOf(const IPtr<IInterface>& Item) const {
  for (int32_t i = 0; i < FCount; ++i)
    if (FList[static_cast<std::size_t>(i)] == Item) return i;
  return -1;
}

IPtr<IInterface> TPelInterfaceList::First() { return Get(0); }

IPtr<IInterface> TPelInterfaceList::Last() { return Get(FCount - 1); }

IPtr<IInterface> TPelInterfaceList::Get(int32_t Index) {
  CheckIndex(Index);
  return FList[static_cast<std::size_t>(Index)];
}

void TPelInterfaceList::Put(int32_t Index, const IPtr<IInterface>& Item) {
  CheckIndex(Index);
  IPtr<IInterface> old = std::exchange(FList[static_cast<std::size_t>(Index)], Item);
  if (old) Notify(old, lnDeleted);
  if (Item) Notify(Item, lnAdded);
}

void TPelInterfaceList::Pack() {
  for (int32_t i = FCount - 1; i >= 0; --i)
    if (!FList[static_cast<std::size_t>(i)]) Delete(i);
}

TPelInterfaceList* TPelInterfaceList::Expand() {
  if (FCount == FCapacity) Grow();
  return this;
}

void TPelInterfaceList::Sort(TInterfaceListSortCompare Compare) {
  if (!FList.empty() && FCount > 0) QuickSort(0, FCount - 1, Compare);
}

void TPelInterfaceList::QuickSort(int32_t L, int32_t R, TInterfaceListSortCompare Compare) {
  auto at = [this](int32_t i) -> IPtr<IInterface>& { return FList[static_cast<std::size_t>(i)]; };
  int32_t i;
  do {
    i = L;
    int32_t j = R;
    IPtr<IInterface> pivot = at((L + R) >> 1);
    do {
      while (Compare(at(i), pivot) < 0) ++i;
      while (Compare(at(j), pivot) > 0) --j;
      if (i <= j) {
        at(i).swap(at(j));
        ++i;
        --j;
      }
    } while (i <= j);
    if (L < j) QuickSort(L, j, Compare);
    L = i;
  } while (i < R);
}

void TPelInterfaceList::Notify(const IPtr<IInterface>&, TListNotification) {}

void TPelInterfaceList::Clear() {
  SetCount(0);
  SetCapacity(0);
}

// ---------------------------------------------------------------------------
// TIFixedList

TIFixedList::TIFixedList() : FCapacity(SmallInterfaceHeapSize), FStorage(nullptr) {
  FStorage = FSmallHeap.data();
}

TIFixedList::TIFixedList(PInterfaceHeap Storage, int32_t Capacity)
    : FCapacity(Capacity), FStorage(Storage) {}

void TIFixedList::CheckIndex(int32_t Index) const {
  if (Index < 0 || Index >= FCount) throw EListError(Format(SListIndexError, {Index}));
}

int32_t TIFixedList::Add(const IPtr<IInterface>& Item) {
  if (FCount == FCapacity) throw EOutOfMemory(SysConst::SOutOfMemory);
  FStorage[FCount] = Item;
  return FCount++;
}

void TIFixedList::Insert(int32_t Index, const IPtr<IInterface>& Item) {
  if (Index < 0 || Index > FCount) throw EListError(Format(SListIndexError, {Index}));
  if (FCount == FCapacity) throw EOutOfMemory(SysConst::SOutOfMemory);
  std::move_backward(FStorage + Index, FStorage + FCount, FStorage + FCount + 1);
  FStorage[Index] = Item;
  ++FCount;
}

void TIFixedList::Delete(int32_t Index) {
  CheckIndex(Index);
  --FCount;
  std::move(FStorage + Index + 1, FStorage + FCount + 1, FStorage + Index);
  FStorage[FCount] = nullptr;
}

int32_t TIFixedList::Remove(const IPtr<IInterface>& Item) {
  int32_t index = IndexOf(Item);
  if (index >= 0) Delete(index);
  return index;
}

void TIFixedList::Exchange(int32_t Index1, int32_t Index2) {
  CheckIndex(Index1);
  CheckIndex(Index2);
  FStorage[Index1].swap(FStorage[Index2]);
}

int32_t TIFixedList::IndexOf(const IPtr<IInterface>& Item) const {
  for (int32_t i = 0; i < FCount; ++i)
    if (FStorage[i] == Item) return i;
  return -1;
}

IPtr<IInterface> TIFixedList::Get(int32_t Index) {
  CheckIndex(Index);
  return FStorage[Index];
}

void TIFixedList::Put(int32_t Index, const IPtr<IInterface>& Item) {
  CheckIndex(Index);
  FStorage[Index] = Item;
}

// Growing empties the slot just past the new count as well (one more than
// needed, intended), where the storage has that slot.
void TIFixedList::SetCount(int32_t NewCount) {
  if (NewCount < 0 || NewCount > MaxListSize) throw EListError(Format(SListIndexError, {NewCount}));
  if (NewCount > FCapacity) throw EOutOfMemory(SysConst::SOutOfMemory);
  if (NewCount < FCount) {
    for (int32_t i = FCount - 1; i >= NewCount; --i) TIFixedList::Delete(i);
  } else {
    for (int32_t i = FCount; i <= NewCount && i < FCapacity; ++i) FStorage[i] = nullptr;
  }
  FCount = NewCount;
}

// Keeps the references in the slots: intended (see the header).
void TIFixedList::Clear() { FCount = 0; }

// ---------------------------------------------------------------------------
// TIList

int32_t TIList::Add(const IPtr<IInterface>& Item) {
  int32_t index = TIFixedList::Add(Item);
  Notify(Item, lnAdded);
  return index;
}

void TIList::Insert(int32_t Index, const IPtr<IInterface>& Item) {
  TIFixedList::Insert(Index, Item);
  Notify(Item, lnAdded);
}

void TIList::Delete(int32_t Index) {
  IPtr<IInterface> item = Get(Index);
  TIFixedList::Delete(Index);
  Notify(item, lnDeleted);
}

int32_t TIList::Remove(const IPtr<IInterface>& Item) {
  int32_t index = IndexOf(Item);
  if (index >= 0) Delete(index);
  return index;
}

void TIList::Clear() {
  while (GetCount() > 0) Delete(0);
}

void TIList::Notify(const IPtr<IInterface>&, TListNotification) {}

void TIList::AssignError(TObject* Source) {
  String source = Source ? Source->ClassName() : String("nil");
  throw EConvertError(SAssignError, {source, ClassName()});
}

void TIList::AssignTo(TIList* Dest) { CheckAssigned(Dest)->AssignError(this); }

void TIList::AssignTo(TPersistent* Dest) { AssignError(Dest); }

void TIList::Assign(TIList* Source) {
  if (!Source) AssignError(nullptr);
  if (Source == this) return;
  Clear();
  for (int32_t i = 0; i < Source->GetCount(); ++i) Add(Source->Get(i));
}

TIList* TIList::Clone() {
  TIList* copy = TClassOf<TIList>(ClassType()).Create();
  try {
    copy->Assign(this);
  } catch (...) {
    Free(copy);
    throw;
  }
  return copy;
}

// ---------------------------------------------------------------------------
// Dispensers

void TIQueue::CheckNotEmpty() {
  if (GetCount() == 0) throw EListError(SIListEmpty);
}

IPtr<IInterface> TIQueue::Pop() {
  CheckNotEmpty();
  IPtr<IInterface> item = Get(0);
  Delete(0);
  return item;
}

void TIQueue::Push(const IPtr<IInterface>& Item) { Add(Item); }

IPtr<IInterface> TIQueue::Peek() {
  CheckNotEmpty();
  return Get(0);
}

IPtr<IInterface> TIStack::Pop() {
  CheckNotEmpty();
  int32_t last = GetCount() - 1;
  IPtr<IInterface> item = Get(last);
  Delete(last);
  return item;
}

IPtr<IInterface> TIStack::Peek() {
  CheckNotEmpty();
  return Get(GetCount() - 1);
}

}  // namespace pel
