#include "platform/classes/StringList.h"

#include <algorithm>

#include "platform/classes/ListAlgorithms.h"

namespace pel {

TStringList::~TStringList() = default;

void TStringList::BeforeDestruction() {
  FOnChange = nullptr;
  FOnChanging = nullptr;
  TStrings::BeforeDestruction();
}

void TStringList::CheckIndex(int32_t Index) {
  if (Index < 0 || Index >= FCount) Error(SListIndexError, Index);
}

void TStringList::Changed() {
  if (UpdateCount() == 0 && FOnChange) FOnChange(this);
}

void TStringList::Changing() {
  if (UpdateCount() == 0 && FOnChanging) FOnChanging(this);
}

void TStringList::SetUpdateState(bool Updating) {
  if (Updating)
    Changing();
  else
    Changed();
}

String TStringList::Get(int32_t Index) {
  CheckIndex(Index);
  return FList[Index].FString;
}

TObject* TStringList::GetObject(int32_t Index) {
  CheckIndex(Index);
  return FList[Index].FObject;
}

void TStringList::Put(int32_t Index, const String& S) {
  if (FSorted) Error(SSortedListError, 0);
  CheckIndex(Index);
  Changing();
  FList[Index].FString = S;
  Changed();
}

void TStringList::PutObject(int32_t Index, TObject* AObject) {
  CheckIndex(Index);
  Changing();
  FList[Index].FObject = AObject;
  Changed();
}

void TStringList::SetCapacity(int32_t NewCapacity) {
  if (NewCapacity < FCount) Error(SListCapacityError, NewCapacity);
  FList.Reallocate(NewCapacity, FCount);
  FCapacity = NewCapacity;
}

void TStringList::Grow() {
  int32_t delta = detail::FrameworkGrowDelta(FCapacity);
  SetCapacity(FCapacity + delta);
}

int32_t TStringList::Add(const String& S) { return AddObject(S, nullptr); }

int32_t TStringList::AddObject(const String& S, TObject* AObject) {
  int32_t Result = FCount;
  if (FSorted && Find(S, Result)) {
    if (FDuplicates == dupIgnore) return Result;
    if (FDuplicates == dupError) Error(SDuplicateString, 0);
  }
  InsertItem(Result, S, AObject);
  return Result;
}

void TStringList::Insert(int32_t Index, const String& S) { InsertObject(Index, S, nullptr); }

void TStringList::InsertObject(int32_t Index, const String& S, TObject* AObject) {
  if (FSorted) Error(SSortedListError, 0);
  if (Index < 0 || Index > FCount) Error(SListIndexError, Index);
  InsertItem(Index, S, AObject);
}

void TStringList::InsertItem(int32_t Index, const String& S, TObject* AObject) {
  Changing();
  if (FCount == FCapacity) Grow();
  // A descendant's SetCapacity may have declined to grow.
  if (FCount == FCapacity) Error(SListCapacityError, FCount);
  TStringItem& item = FList.Open(Index, FCount);
  item.FString = S;
  item.FObject = AObject;
  ++FCount;
  Changed();
}

void TStringList::Delete(int32_t Index) {
  CheckIndex(Index);
  Changing();
  FList.Erase(Index, FCount, FCapacity);
  --FCount;
  Changed();
}

void TStringList::Clear() {
  if (FCount == 0) return;
  Changing();
  for (int32_t i = 0; i < FCount; ++i) FList[i] = TStringItem{};
  FCount = 0;
  SetCapacity(0);
  Changed();
}

void TStringList::Exchange(int32_t Index1, int32_t Index2) {
  CheckIndex(Index1);
  CheckIndex(Index2);
  Changing();
  ExchangeItems(Index1, Index2);
  Changed();
}

void TStringList::ExchangeItems(int32_t Index1, int32_t Index2) {
  std::swap(FList[Index1], FList[Index2]);
}

int32_t TStringList::CompareStrings(const String& S1, const String& S2) {
  return FCaseSensitive ? AnsiCompareStr(S1, S2) : AnsiCompareText(S1, S2);
}

bool TStringList::Find(const String& S, int32_t& Index) {
  return detail::FrameworkFind(
      FCount, FDuplicates == dupAccept,
      [&](int32_t i) { return CompareStrings(FList[i].FString, S); }, Index);
}

int32_t TStringList::IndexOf(const String& S) {
  if (!FSorted) return TStrings::IndexOf(S);
  int32_t Index;
  return Find(S, Index) ? Index : -1;
}

void TStringList::QuickSort(int32_t L, int32_t R, TStringListSortCompare Compare) {
  int32_t I;
  do {
    I = L;
    int32_t J = R;
    int32_t P = (L + R) >> 1;
    do {
      while (Compare(this, I, P) < 0) ++I;
      while (Compare(this, J, P) > 0) --J;
      if (I <= J) {
        ExchangeItems(I, J);
        // The pivot is followed by index, as the items move.
        if (P == I)
          P = J;
        else if (P == J)
          P = I;
        ++I;
        --J;
      }
    } while (I <= J);
    if (L < J) QuickSort(L, J, Compare);
    L = I;
  } while (I < R);
}

void TStringList::CustomSort(TStringListSortCompare Compare) {
  if (FSorted || FCount <= 1) return;
  Changing();
  QuickSort(0, FCount - 1, Compare);
  Changed();
}

void TStringList::Sort() {
  CustomSort([](TStringList* List, int32_t Index1, int32_t Index2) {
    return List->CompareStrings(List->FList[Index1].FString, List->FList[Index2].FString);
  });
}

void TStringList::SetSorted(bool Value) {
  if (FSorted == Value) return;
  if (Value) Sort();
  FSorted = Value;
}

void TStringList::SetCaseSensitive(bool Value) {
  if (FCaseSensitive == Value) return;
  FCaseSensitive = Value;
  // A sorted list is put in the order of its new comparison.
  if (FSorted) {
    FSorted = false;
    SetSorted(true);
  }
}

}  // namespace pel
