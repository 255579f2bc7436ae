// TIStringList and the iterators over lists.
#include <utility>

#include "interfaces/InterfaceCollections.h"
#include "platform/classes/ListAlgorithms.h"

namespace pel {

// ---------------------------------------------------------------------------
// TIStringList

// Nobody is told: the owner and the events go first. Objects are not freed
// here; the interfaces and strings go with the items.
void TIStringList::BeforeDestruction() {
  DropListeners();
  TStrings::BeforeDestruction();
}

void TIStringList::Assign(TPersistent* Source) {
  Updating(this, [&] { AssignStrings(Source); });
  if (auto* other = dynamic_cast<TIStringList*>(Source)) {
    for (int32_t i = 0; i < FCount; ++i) PutData(i, other->GetData(i));
    // Deliberately no re-sort: a sorted list keeps its former order.
    TakeComparison(*other);
  }
}

void TIStringList::PutObject(int32_t Index, TObject* AObject) {
  if (FOwner) FOwner->BeforePutObject(this, Index, AObject);
  CheckIndex(Index);
  Changing();
  TIStringItem& item = FList[Index];
  item.FData = nullptr;  // storing an object empties the interface slot: intended
  // No comparison with the new object: storing the same owned object again
  // frees it, as in TPelStringList.
  if (FFreeObjects && item.FObject) Free(item.FObject);
  item.FObject = AObject;
  Changed();
}

void TIStringList::PutData(int32_t Index, const IPtr<IInterface>& AData) {
  CheckIndex(Index);
  Changing();
  IPtr<IInterface> old = std::exchange(FList[Index].FData, AData);
  Changed();
}

void TIStringList::Delete(int32_t Index) {
  if (FOwner) FOwner->BeforeDelete(this, Index);
  CheckIndex(Index);
  Changing();
  TIStringItem item = std::move(FList[Index]);
  FList.Erase(Index, FCount, FCapacity);
  --FCount;
  item.FData = nullptr;
  if (FFreeObjects && item.FObject) Free(item.FObject);
  Changed();
}

void TIStringList::Clear() {
  if (FOwner) FOwner->BeforeClear(this);
  if (FCount == 0) return;
  Changing();
  int32_t count = std::exchange(FCount, 0);
  for (int32_t i = 0; i < count; ++i) {
    TIStringItem item = std::exchange(FList[i], TIStringItem{});
    item.FData = nullptr;
    if (FFreeObjects && item.FObject) Free(item.FObject);
  }
  SetCapacity(0);
  Changed();
}

// The pivot is followed by index as the items move.
void TIStringList::QuickSort(int32_t L, int32_t R, TIStringListSortCompare Compare) {
  int32_t i;
  do {
    i = L;
    int32_t j = R;
    int32_t p = (L + R) >> 1;
    do {
      while (Compare(this, i, p) < 0) ++i;
      while (Compare(this, j, p) > 0) --j;
      if (i <= j) {
        ExchangeItems(i, j);
        if (p == i)
          p = j;
        else if (p == j)
          p = i;
        ++i;
        --j;
      }
    } while (i <= j);
    if (L < j) QuickSort(L, j, Compare);
    L = i;
  } while (i < R);
}

void TIStringList::CustomSort(TIStringListSortCompare Compare) {
  if (FSorted || FCount < 2) return;
  Changing();
  QuickSort(0, FCount - 1, Compare);
  Changed();
}

// ---------------------------------------------------------------------------
// Iterators

bool TStringsIterator::GetInterface(const TGUID& IID, void** Obj) {
  return GetInterfaceOf<TStringsIterator, IStringIterator, IObjectIterator, IIterator>(this, IID,
                                                                                       Obj);
}

bool TInterfaceListIterator::GetInterface(const TGUID& IID, void** Obj) {
  return GetInterfaceOf<TInterfaceListIterator, IInterfaceIterator>(this, IID, Obj);
}

int32_t TInterfaceListIterator::GetCount() {
  if (auto* platformList = dynamic_cast<TInterfaceList*>(FSource)) return platformList->GetCount();
  if (auto* pelList = dynamic_cast<TPelInterfaceList*>(FSource)) return pelList->GetCount();
  return 0;
}

IPtr<IInterface> TInterfaceListIterator::ElementAt(int32_t Index) {
  if (auto* platformList = dynamic_cast<TInterfaceList*>(FSource)) return platformList->Get(Index);
  if (auto* pelList = dynamic_cast<TPelInterfaceList*>(FSource)) return pelList->Get(Index);
  return nullptr;
}

}  // namespace pel
