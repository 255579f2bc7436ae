#include "foundation/Structures.h"

#include <algorithm>

#include "platform/classes/ListAlgorithms.h"

namespace pel {

TStringCompareFunc StringCompareFor(TStringOpsType Ops) {
  switch (Ops) {
    case soCaseSensitive:
      return &CompareStr;
    case soCaseInsensitive:
      return &CompareText;
    case soCaseSensitiveLocale:
      return &AnsiCompareStr;
    case soCaseInsensitiveLocale:
      break;
  }
  return &AnsiCompareText;
}

namespace {

// The walk of both ForEach forms: from the last index down, so that the
// action may delete the item it is given without disturbing the walk.
template <class Filter, class Action>
void ForEachDown(TStrings* list, const Filter& filter, const Action& action, int32_t ATag) {
  for (int32_t Index = list->GetCount() - 1; Index >= 0; --Index) {
    if (filter && !filter(list, Index, list->Get(Index), list->GetObject(Index), ATag)) continue;
    // The action is not checked for being assigned until it is needed;
    // calling a missing one is the framework's access violation.
    if (!action) RaiseAccessViolation();
    action(list, Index, list->Get(Index), list->GetObject(Index), ATag);
  }
}

}  // namespace

// --- TPelStringListBase ------------------------------------------------------

template <class TItem>
TPelStringListBase<TItem>::TPelStringListBase()
    : FCompare(StringCompareFor(soCaseInsensitiveLocale)) {}

template <class TItem>
void TPelStringListBase<TItem>::CheckIndex(int32_t Index) {
  if (Index < 0 || Index >= FCount) Error(SListIndexError, Index);
}

template <class TItem>
void TPelStringListBase<TItem>::AssignStrings(TPersistent* Source) {
  auto* platformList = dynamic_cast<TStringList*>(Source);
  if (FSorted && platformList && platformList->GetSorted()) {
    FSorted = false;
    TryFinally([&] { TStrings::Assign(Source); }, [&] { FSorted = true; });
  } else {
    TStrings::Assign(Source);
  }
}

template <class TItem>
String TPelStringListBase<TItem>::Get(int32_t Index) {
  CheckIndex(Index);
  return FList[Index].FString;
}

template <class TItem>
TObject* TPelStringListBase<TItem>::GetObject(int32_t Index) {
  CheckIndex(Index);
  return FList[Index].FObject;
}

template <class TItem>
auto TPelStringListBase<TItem>::GetData(int32_t Index) -> TData {
  CheckIndex(Index);
  return FList[Index].FData;
}

template <class TItem>
void TPelStringListBase<TItem>::Put(int32_t Index, const String& S) {
  if (FOwner) FOwner->BeforePut(this, Index, S);
  if (FSorted) Error(SSortedListError, 0);
  CheckIndex(Index);
  Changing();
  FList[Index].FString = S;
  Changed();
}

template <class TItem>
void TPelStringListBase<TItem>::SetCapacity(int32_t NewCapacity) {
  if (NewCapacity < FCount) Error(SListCapacityError, NewCapacity);
  FList.Reallocate(NewCapacity, FCount);
  FCapacity = NewCapacity;
}

// The flag is stored before notifying, so opening an update fires nothing
// and closing it fires Changed once. Intended.
template <class TItem>
void TPelStringListBase<TItem>::SetUpdateState(bool Updating) {
  FUpdating = Updating;
  if (Updating)
    Changing();
  else
    Changed();
}

template <class TItem>
void TPelStringListBase<TItem>::Changed() {
  if (FUpdating) return;
  if (FOwner) FOwner->StringsChanged(this);
  if (FOnChange) FOnChange(this);
}

template <class TItem>
void TPelStringListBase<TItem>::Changing() {
  if (FUpdating) return;
  if (FOwner) FOwner->StringsChanging(this);
  if (FOnChanging) FOnChanging(this);
}

template <class TItem>
int32_t TPelStringListBase<TItem>::Add(const String& S) {
  int32_t Result = FCount;
  if (FSorted && Find(S, Result)) {
    if (FDuplicates == dupIgnore) return Result;
    if (FDuplicates == dupError) Error(SDuplicateString, 0);
  }
  InsertItem(Result, S);
  return Result;
}

template <class TItem>
void TPelStringListBase<TItem>::Insert(int32_t Index, const String& S) {
  if (FSorted) Error(SSortedListError, 0);
  if (Index < 0 || Index > FCount) Error(SListIndexError, Index);
  InsertItem(Index, S);
}

template <class TItem>
void TPelStringListBase<TItem>::Grow() {
  int32_t capacity = GetCapacity();
  SetCapacity(capacity + detail::FrameworkGrowDelta(capacity));
}

template <class TItem>
void TPelStringListBase<TItem>::InsertItem(int32_t Index, const String& S) {
  Changing();
  if (FCount == GetCapacity()) Grow();
  // A descendant's SetCapacity may have declined to grow.
  if (FCount == GetCapacity()) Error(SListCapacityError, FCount);
  FList.Open(Index, FCount).FString = S;
  ++FCount;
  Changed();
}

template <class TItem>
void TPelStringListBase<TItem>::Exchange(int32_t Index1, int32_t Index2) {
  CheckIndex(Index1);
  CheckIndex(Index2);
  Changing();
  ExchangeItems(Index1, Index2);
  Changed();
}

template <class TItem>
void TPelStringListBase<TItem>::ExchangeItems(int32_t Index1, int32_t Index2) {
  std::swap(FList[Index1], FList[Index2]);
}

template <class TItem>
bool TPelStringListBase<TItem>::Find(const String& S, int32_t& Index) {
  return detail::FrameworkFind(
      FCount, FDuplicates == dupAccept, [&](int32_t i) { return FCompare(FList[i].FString, S); },
      Index);
}

template <class TItem>
int32_t TPelStringListBase<TItem>::IndexOf(const String& S) {
  if (FSorted) {
    int32_t Index;
    return Find(S, Index) ? Index : -1;
  }
  for (int32_t i = 0; i < FCount; ++i)
    if (FCompare(FList[i].FString, S) == 0) return i;
  return -1;
}

template <class TItem>
int32_t TPelStringListBase<TItem>::IndexOfData(const TData& AData) {
  for (int32_t i = 0; i < FCount; ++i)
    if (FList[i].FData == AData) return i;
  return -1;
}

template <class TItem>
void TPelStringListBase<TItem>::QuickSort(int32_t L, int32_t R) {
  detail::FrameworkQuickSort<String>(
      L, R, [this](int32_t i) -> const String& { return FList[i].FString; }, FCompare,
      [this](int32_t i, int32_t j) { ExchangeItems(i, j); });
}

template <class TItem>
void TPelStringListBase<TItem>::Sort() {
  if (FSorted || FCount < 2) return;
  Changing();
  QuickSort(0, FCount - 1);
  Changed();
}

template <class TItem>
void TPelStringListBase<TItem>::SetSorted(bool Value) {
  if (FSorted == Value) return;
  if (Value) Sort();
  FSorted = Value;
}

template <class TItem>
void TPelStringListBase<TItem>::SetStringOpsType(TStringOpsType Value) {
  if (FStringOpsType == Value) return;
  FStringOpsType = Value;
  FCompare = StringCompareFor(Value);
  if (FSorted && FCount > 1) {
    Changing();
    QuickSort(0, FCount - 1);
    Changed();
  }
}

template <class TItem>
void TPelStringListBase<TItem>::ForEach(TForEachFilterProc Filter, TForEachObjectProc Action,
                                        int32_t ATag) {
  ForEachDown(this, Filter, Action, ATag);
}

template <class TItem>
void TPelStringListBase<TItem>::ForEach(const TForEachFilterMethod& Filter,
                                        const TForEachObjectMethod& Action, int32_t ATag) {
  ForEachDown(this, Filter, Action, ATag);
}

template class TPelStringListBase<TPelStringItem>;
template class TPelStringListBase<TIStringItem>;

// --- TPelStringList ----------------------------------------------------------

// Owned objects are freed here rather than in the destructor so that a
// descendant's Clear is the one that runs. Nobody is told: the owner and the
// events are dropped first.
void TPelStringList::BeforeDestruction() {
  DropListeners();
  Clear();
  TStrings::BeforeDestruction();
}

void TPelStringList::Assign(TPersistent* Source) {
  Updating(this, [&] {
    AssignStrings(Source);
    if (auto* pelList = dynamic_cast<TPelStringList*>(Source)) {
      for (int32_t i = 0; i < FCount; ++i) PutData(i, pelList->GetData(i));
      // Deliberately no re-sort: a sorted list keeps its former order.
      TakeComparison(*pelList);
    }
  });
}

void TPelStringList::PutObject(int32_t Index, TObject* AObject) {
  if (FOwner) FOwner->BeforePutObject(this, Index, AObject);
  CheckIndex(Index);
  Changing();
  // Intended: no comparison with the new object, so storing the same owned
  // object again frees it.
  if (FFreeObjects && FList[Index].FObject) Free(FList[Index].FObject);
  FList[Index].FObject = AObject;
  Changed();
}

void TPelStringList::PutData(int32_t Index, TObject* AData) {
  CheckIndex(Index);
  Changing();
  // Intended, as in PutObject: the old Data is freed even when it is AData.
  if (FFreeData && FList[Index].FData) Free(FList[Index].FData);
  FList[Index].FData = AData;
  Changed();
}

void TPelStringList::Delete(int32_t Index) {
  if (FOwner) FOwner->BeforeDelete(this, Index);
  CheckIndex(Index);
  Changing();
  TPelStringItem& item = FList[Index];
  if (FFreeData && item.FData) Free(std::exchange(item.FData, nullptr));
  if (FFreeObjects && item.FObject) Free(std::exchange(item.FObject, nullptr));
  FList.Erase(Index, FCount, FCapacity);
  --FCount;
  Changed();
}

void TPelStringList::Clear() {
  if (FOwner) FOwner->BeforeClear(this);
  if (FCount == 0) return;
  Changing();
  int32_t count = FCount;
  FCount = 0;
  if (FFreeData || FFreeObjects) {
    for (int32_t i = 0; i < count; ++i) {
      TPelStringItem& item = FList[i];
      if (FFreeData && item.FData) Free(std::exchange(item.FData, nullptr));
      if (FFreeObjects && item.FObject) Free(std::exchange(item.FObject, nullptr));
    }
  }
  for (int32_t i = 0; i < count; ++i) FList[i] = TPelStringItem{};
  SetCapacity(0);
  Changed();
}

// --- TSFCList ----------------------------------------------------------------

void TSFCList::BeforeDestruction() {
  FOwner = nullptr;
  TStringList::BeforeDestruction();
}

void TSFCList::Assign(TPersistent* Source) {
  auto* platformList = dynamic_cast<TStringList*>(Source);
  if (!(GetSorted() && platformList && platformList->GetSorted())) {
    TStringList::Assign(Source);
    return;
  }
  // Trust the source's order: the sort that setting Sorted again would run
  // is skipped while Assigning is set.
  Updating(this, [&] {
    SetSorted(false);
    FAssigning = true;
    TryFinally(
        [&] {
          TStrings::Assign(Source);
          SetSorted(true);
        },
        [&] { FAssigning = false; });
  });
}

void TSFCList::Put(int32_t Index, const String& S) {
  if (FOwner) FOwner->BeforePut(this, Index, S);
  TStringList::Put(Index, S);
}

void TSFCList::PutObject(int32_t Index, TObject* AObject) {
  if (FOwner) FOwner->BeforePutObject(this, Index, AObject);
  TStringList::PutObject(Index, AObject);
}

// As in TPelStringList, the flag is stored first: opening fires nothing,
// closing fires Changed once. Intended.
void TSFCList::SetUpdateState(bool Updating) {
  FUpdating = Updating;
  TStringList::SetUpdateState(Updating);
}

int32_t TSFCList::AddObject(const String& S, TObject* AObject) {
  return Updating(this, [&] { return TStringList::AddObject(S, AObject); });
}

void TSFCList::Clear() {
  if (FOwner) FOwner->BeforeClear(this);
  TStringList::Clear();
}

void TSFCList::Delete(int32_t Index) {
  if (FOwner) FOwner->BeforeDelete(this, Index);
  TStringList::Delete(Index);
}

int32_t TSFCList::IndexOf(const String& S) {
  if (GetSorted()) {
    int32_t Index;
    return Find(S, Index) ? Index : -1;
  }
  for (int32_t i = 0; i < GetCount(); ++i)
    if (Get(i) == S) return i;
  return -1;
}

void TSFCList::Changed() {
  if (FUpdating) return;
  if (FOwner) FOwner->StringsChanged(this);
  TStringList::Changed();
}

void TSFCList::Changing() {
  if (FUpdating) return;
  if (FOwner) FOwner->StringsChanging(this);
  TStringList::Changing();
}

void TSFCList::Sort() {
  if (FAssigning) return;
  TStringList::Sort();
}

void TSFCList::ForEach(TForEachFilterProc Filter, TForEachObjectProc Action, int32_t ATag) {
  ForEachDown(this, Filter, Action, ATag);
}

void TSFCList::ForEach(const TForEachFilterMethod& Filter, const TForEachObjectMethod& Action,
                       int32_t ATag) {
  ForEachDown(this, Filter, Action, ATag);
}

// --- TSFCFreeList ------------------------------------------------------------

// Owned objects are freed while the descendant's Clear can still run; the
// change events are dropped first so that nobody is told.
void TSFCFreeList::BeforeDestruction() {
  SetOnChange(nullptr);
  SetOnChanging(nullptr);
  Clear();
  TSFCList::BeforeDestruction();
}

void TSFCFreeList::PutObject(int32_t Index, TObject* AObject) {
  Updating(this, [&] {
    if (FFreeMembers) Free(GetObject(Index));
    TSFCList::PutObject(Index, AObject);
  });
}

void TSFCFreeList::Delete(int32_t Index) {
  Updating(this, [&] {
    TObject* member = FFreeMembers ? GetObject(Index) : nullptr;
    TSFCList::Delete(Index);
    Free(member);
  });
}

void TSFCFreeList::Clear() {
  Updating(this, [&] {
    if (FFreeMembers)
      for (int32_t i = GetCount() - 1; i >= 0; --i) Delete(i);
    TSFCList::Clear();
  });
}

// --- TPelCollectionItem / TPelCollection --------------------------------------

TPelCollectionItem::~TPelCollectionItem() { Free(FFreeNotifies); }

// Subscribers are told first, while this item is still in its collection:
// the platform item leaves its collection in TCollectionItem's
// BeforeDestruction (the framework's item does so in its destructor, after
// the notification).
void TPelCollectionItem::BeforeDestruction() {
  NotifyAll();
  TCollectionItem::BeforeDestruction();
}

void TPelCollectionItem::FreeNotification(TPelCollectionItem* AItem) {
  if (FFreeNotifies && FFreeNotifies->IndexOf(AItem) >= 0) return;
  if (!FFreeNotifies) FFreeNotifies = New<TList>();
  FFreeNotifies->Add(AItem);
  // Coming back, AItem finds this item listed and stops: always mutual.
  AItem->FreeNotification(this);
}

void TPelCollectionItem::RemoveNotification(TPelCollectionItem* AItem) {
  if (!FFreeNotifies) return;
  FFreeNotifies->Remove(AItem);
  if (FFreeNotifies->GetCount() == 0) FreeAndNil(FFreeNotifies);
}

void TPelCollectionItem::RemoveFreeNotification(TPelCollectionItem* AItem) {
  RemoveNotification(AItem);
  AItem->RemoveNotification(this);
}

void TPelCollectionItem::Notification(TPelCollectionItem* AItem) {
  if (!FFreeNotifies) return;
  RemoveFreeNotification(AItem);
  AItem->RemoveFreeNotification(this);
}

void TPelCollectionItem::NotifyAll() {
  // Downwards: each call removes entries.
  for (int32_t i = FFreeNotifies ? FFreeNotifies->GetCount() - 1 : -1; i >= 0; --i) {
    if (!FFreeNotifies || i >= FFreeNotifies->GetCount()) continue;
    static_cast<TPelCollectionItem*>(FFreeNotifies->Get(i))->Notification(this);
  }
}

void TPelCollection::AssignTo(TPersistent* Dest) {
  if (auto* strings = dynamic_cast<TStrings*>(Dest)) {
    Updating(strings, [&] {
      strings->Clear();
      for (int32_t i = 0; i < GetCount(); ++i)
        strings->AddObject(GetItem(i)->GetDisplayName(), GetItem(i));
    });
    return;
  }
  TCollection::AssignTo(Dest);
}

int32_t TPelCollection::IndexOf(const String& Name) {
  for (int32_t i = 0; i < GetCount(); ++i)
    if (GetItem(i)->GetDisplayName() == Name) return i;
  return -1;
}

// --- TMaxCountStrings --------------------------------------------------------

void TMaxCountStrings::SetCapacity(int32_t NewCapacity) {
  if (FMaxCount > -1) {
    NewCapacity = std::min(NewCapacity, FMaxCount);
    if (NewCapacity <= GetCapacity() && NewCapacity >= FMaxCount)
      throw EStringListError(SStringListFull, {FMaxCount});
  }
  TStringList::SetCapacity(NewCapacity);
}

void TMaxCountStrings::SetMaxCount(int32_t Value) {
  if (Value == FMaxCount || Value < -1) return;
  FMaxCount = Value;
  if (Value > GetCapacity()) SetCapacity(Value);
}

// --- TRecentFiles ------------------------------------------------------------

void TRecentFiles::AfterConstruction() {
  TMaxCountStrings::AfterConstruction();
  SetCaseSensitive(false);
  SetMaxCount(4);
}

int32_t TRecentFiles::Push(const String& S) {
  int32_t i = IndexOf(S);
  if (i < 0) {
    if (GetCount() == GetMaxCount()) DeleteOldest();
    if (!FPushAtEnd) {
      Insert(0, S);
      return 0;
    }
    return Add(S);
  }
  if (!FPushAtEnd) {
    Move(i, 0);
    return 0;
  }
  Move(i, GetCount() - 1);
  return GetCount() - 1;
}

void TRecentFiles::DeleteOldest() {
  if (GetCount() == 0) return;
  Delete(FPushAtEnd ? 0 : GetCount() - 1);
}

void TRecentFiles::CreateMenuItemChildren(TMenuItem* MenuItem, bool Numbered,
                                          const TNotifyEvent& OnClick) {
  if (!MenuItem) return;
  for (int32_t i = 0; i < GetCount(); ++i) {
    TMenuItem* item = New<TMenuItem>(MenuItem);
    item->SetCaption(Numbered ? IntToStr(i) + " " + Get(i) : Get(i));
    item->SetOnClick(OnClick);
    MenuItem->Add(item);
  }
}

}  // namespace pel
