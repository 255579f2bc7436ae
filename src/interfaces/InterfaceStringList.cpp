// TIStringList and the iterators over lists.
#include <utility>

#include "interfaces/InterfaceCollections.h"
#include "platform/classes/ListAlgorithms.h"

namespace pel {

namespace {

// Both ForEach forms: from the last index down, so that the action may
// delete the item it is given.
template <class Filter, class Action>
void ForEachDown(TStrings* List, const Filter& filter, const Action& action, int32_t ATag) {
  for (int32_t i = List->GetCount() - 1; i >= 0; --i) {
    if (filter && !filter(List, i, List->Get(i), List->GetObject(i), ATag)) continue;
    if (!action) RaiseAccessViolation();
    action(List, i, List->Get(i), List->GetObject(i), ATag);
  }
}

}  // namespace

// ---------------------------------------------------------------------------
// TIStringList

TIStringList::TIStringList() : FCompare(StringCompareFor(soCaseInsensitiveLocale)) {}

// Nobody is told: the owner and the events go first. Objects are not freed
// here; the interfaces and strings go with the items.
void TIStringList::BeforeDestruction() {
  FOwner = nullptr;
  FOnChange = nullptr;
  FOnChanging = nullptr;
  TStrings::BeforeDestruction();
}

void TIStringList::CheckIndex(int32_t Index) {
  if (Index < 0 || Index >= FCount) Error(SListIndexError, Index);
}

TIStringItem& TIStringList::Item(int32_t Index) { return FList[static_cast<std::size_t>(Index)]; }

void TIStringList::Assign(TPersistent* Source) {
  auto* platformList = dynamic_cast<TStringList*>(Source);
  if (FSorted && platformList && platformList->GetSorted()) {
    // Trust the source's order as it stands, even under another comparison.
    Updating(this, [&] {
      FSorted = false;
      TryFinally([&] { TStrings::Assign(Source); }, [&] { FSorted = true; });
    });
  } else {
    TStrings::Assign(Source);
  }
  if (auto* other = dynamic_cast<TIStringList*>(Source)) {
    for (int32_t i = 0; i < FCount; ++i) PutData(i, other->GetData(i));
    // Deliberately no re-sort: a sorted list keeps its former order.
    FStringOpsType = other->FStringOpsType;
    FCompare = other->FCompare;
  }
}

String TIStringList::Get(int32_t Index) {
  CheckIndex(Index);
  return Item(Index).FString;
}

TObject* TIStringList::GetObject(int32_t Index) {
  CheckIndex(Index);
  return Item(Index).FObject;
}

IPtr<IInterface> TIStringList::GetData(int32_t Index) {
  CheckIndex(Index);
  return Item(Index).FData;
}

void TIStringList::Put(int32_t Index, const String& S) {
  if (FOwner) FOwner->BeforePut(this, Index, S);
  if (FSorted) Error(SSortedListError, 0);
  CheckIndex(Index);
  Changing();
  Item(Index).FString = S;
  Changed();
}

void TIStringList::PutObject(int32_t Index, TObject* AObject) {
  if (FOwner) FOwner->BeforePutObject(this, Index, AObject);
  CheckIndex(Index);
  Changing();
  TIStringItem& item = Item(Index);
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
  IPtr<IInterface> old = std::exchange(Item(Index).FData, AData);
  Changed();
}

void TIStringList::SetCapacity(int32_t NewCapacity) {
  if (NewCapacity < FCount) Error(SListCapacityError, NewCapacity);
  FList.resize(static_cast<std::size_t>(NewCapacity));
  if (NewCapacity == 0) std::vector<TIStringItem>().swap(FList);
  FCapacity = NewCapacity;
}

// The flag is stored before notifying, so opening an update fires nothing
// and closing it fires Changed once. Intended.
void TIStringList::SetUpdateState(bool Updating) {
  FUpdating = Updating;
  if (Updating)
    Changing();
  else
    Changed();
}

void TIStringList::Changed() {
  if (FUpdating) return;
  if (FOwner) FOwner->StringsChanged(this);
  if (FOnChange) FOnChange(this);
}

void TIStringList::Changing() {
  if (FUpdating) return;
  if (FOwner) FOwner->StringsChanging(this);
  if (FOnChanging) FOnChanging(this);
}

int32_t TIStringList::Add(const String& S) {
  int32_t result = FCount;
  if (FSorted && Find(S, result)) {
    if (FDuplicates == dupIgnore) return result;
    if (FDuplicates == dupError) Error(SDuplicateString, 0);
  }
  InsertItem(result, S);
  return result;
}

void TIStringList::Insert(int32_t Index, const String& S) {
  if (FSorted) Error(SSortedListError, 0);
  if (Index < 0 || Index > FCount) Error(SListIndexError, Index);
  InsertItem(Index, S);
}

void TIStringList::Grow() { SetCapacity(FCapacity + detail::FrameworkGrowDelta(FCapacity)); }

void TIStringList::InsertItem(int32_t Index, const String& S) {
  Changing();
  if (FCount == FCapacity) Grow();
  auto at = FList.begin() + Index;
  std::move_backward(at, FList.begin() + FCount, FList.begin() + FCount + 1);
  *at = TIStringItem{S, nullptr, nullptr};
  ++FCount;
  Changed();
}

void TIStringList::Delete(int32_t Index) {
  if (FOwner) FOwner->BeforeDelete(this, Index);
  CheckIndex(Index);
  Changing();
  TIStringItem item = std::move(Item(Index));
  --FCount;
  std::move(FList.begin() + Index + 1, FList.begin() + FCount + 1, FList.begin() + Index);
  Item(FCount) = TIStringItem{};
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
    TIStringItem item = std::exchange(Item(i), TIStringItem{});
    item.FData = nullptr;
    if (FFreeObjects && item.FObject) Free(item.FObject);
  }
  SetCapacity(0);
  Changed();
}

void TIStringList::Exchange(int32_t Index1, int32_t Index2) {
  CheckIndex(Index1);
  CheckIndex(Index2);
  Changing();
  ExchangeItems(Index1, Index2);
  Changed();
}

void TIStringList::ExchangeItems(int32_t Index1, int32_t Index2) {
  std::swap(Item(Index1), Item(Index2));
}

bool TIStringList::Find(const String& S, int32_t& Index) {
  return detail::FrameworkFind(
      FCount, FDuplicates == dupAccept, [&](int32_t i) { return FCompare(Item(i).FString, S); },
      Index);
}

int32_t TIStringList::IndexOf(const String& S) {
  if (FSorted) {
    int32_t index;
    return Find(S, index) ? index : -1;
  }
  for (int32_t i = 0; i < FCount; ++i)
    if (FCompare(Item(i).FString, S) == 0) return i;
  return -1;
}

int32_t TIStringList::IndexOfData(const IPtr<IInterface>& AData) {
  for (int32_t i = 0; i < FCount; ++i)
    if (Item(i).FData == AData) return i;
  return -1;
}

void TIStringList::QuickSort(int32_t L, int32_t R) {
  detail::FrameworkQuickSort<String>(
      L, R, [this](int32_t i) -> const String& { return Item(i).FString; }, FCompare,
      [this](int32_t i, int32_t j) { ExchangeItems(i, j); });
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

void TIStringList::Sort() {
  if (FSorted || FCount < 2) return;
  Changing();
  QuickSort(0, FCount - 1);
  Changed();
}

void TIStringList::SetSorted(bool Value) {
  if (FSorted == Value) return;
  if (Value) Sort();
  FSorted = Value;
}

void TIStringList::SetStringOpsType(TStringOpsType Value) {
  if (FStringOpsType == Value) return;
  FStringOpsType = Value;
  FCompare = StringCompareFor(Value);
  if (FSorted && FCount > 1) {
    Changing();
    QuickSort(0, FCount - 1);
    Changed();
  }
}

void TIStringList::ForEach(TForEachFilterProc Filter, TForEachObjectProc Action, int32_t ATag) {
  ForEachDown(this, Filter, Action, ATag);
}

void TIStringList::ForEach(const TForEachFilterMethod& Filter, const TForEachObjectMethod& Action,
                           int32_t ATag) {
  ForEachDown(this, Filter, Action, ATag);
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
