// TStringList: the framework's string list with its own storage.
//
// Sorted lists keep their strings in CompareStrings order (AnsiCompareText,
// or AnsiCompareStr when CaseSensitive) and answer Find by binary search;
// Add of a string already there follows Duplicates (dupIgnore returns the
// existing index, dupError raises, dupAccept inserts before the equal ones).
// Insert and Put raise SSortedListError on a sorted list. Each change fires
// OnChanging before and OnChange after, unless an update is open; opening
// an update fires OnChanging and closing it fires OnChange.
//
// Growth: 4, 8, 12, 28, 44, 60, 76, 95, 118, ... (+4 up to a capacity of 8,
// +16 up to 64, then a quarter).
#pragma once

#include <vector>

#include "platform/TypInfo.h"
#include "platform/classes/ClassesTypes.h"
#include "platform/classes/ListStorage.h"
#include "platform/classes/Strings.h"

namespace pel {

// The run-time description of TDuplicates, for published properties.
inline const char* const kDuplicatesNames[] = {"dupIgnore", "dupAccept", "dupError"};
inline const TTypeInfo TDuplicatesInfo = EnumTypeInfo("TDuplicates", kDuplicatesNames);

class TStringList;
// Orders the strings at Index1 and Index2 of List for CustomSort.
using TStringListSortCompare = int32_t (*)(TStringList* List, int32_t Index1, int32_t Index2);

class TStringList : public TStrings {
  PEL_CLASS(TStringList, TStrings)
 public:
  TStringList() = default;
  ~TStringList() override;
  // Drops the events so that destruction notifies nobody.
  void BeforeDestruction() override;

  String Get(int32_t Index) override;
  int32_t GetCapacity() override { return FCapacity; }
  int32_t GetCount() override { return FCount; }
  TObject* GetObject(int32_t Index) override;
  void Put(int32_t Index, const String& S) override;
  void PutObject(int32_t Index, TObject* AObject) override;
  // Raises SListCapacityError below Count.
  void SetCapacity(int32_t NewCapacity) override;
  void SetUpdateState(bool Updating) override;
  int32_t Add(const String& S) override;
  int32_t AddObject(const String& S, TObject* AObject) override;
  void Clear() override;
  void Delete(int32_t Index) override;
  void Exchange(int32_t Index1, int32_t Index2) override;
  int32_t IndexOf(const String& S) override;
  void Insert(int32_t Index, const String& S) override;
  void InsertObject(int32_t Index, const String& S, TObject* AObject) override;
  int32_t CompareStrings(const String& S1, const String& S2) override;

  // Binary search (the list must be sorted): whether S is there, and its
  // index (with dupAccept the first of equal strings) or where it would go.
  virtual bool Find(const String& S, int32_t& Index);
  virtual void Sort();
  // Sorts with Compare unless the list is Sorted.
  virtual void CustomSort(TStringListSortCompare Compare);

  bool GetSorted() const { return FSorted; }
  void SetSorted(bool Value);
  TDuplicates GetDuplicates() const { return FDuplicates; }
  void SetDuplicates(TDuplicates Value) { FDuplicates = Value; }
  bool GetCaseSensitive() const { return FCaseSensitive; }
  void SetCaseSensitive(bool Value);
  const TNotifyEvent& GetOnChange() const { return FOnChange; }
  void SetOnChange(TNotifyEvent Value) { FOnChange = std::move(Value); }
  const TNotifyEvent& GetOnChanging() const { return FOnChanging; }
  void SetOnChanging(TNotifyEvent Value) { FOnChanging = std::move(Value); }

 protected:
  virtual void Changed();
  virtual void Changing();
  void ExchangeItems(int32_t Index1, int32_t Index2);
  void Grow();
  virtual void InsertItem(int32_t Index, const String& S, TObject* AObject);

 private:
  struct TStringItem {
    String FString;
    TObject* FObject = nullptr;
  };
  void CheckIndex(int32_t Index);
  void QuickSort(int32_t L, int32_t R, TStringListSortCompare Compare);

  // FCapacity items; deleting at the front is cheap (see ListStorage.h), as
  // the string queues built on this list need.
  detail::FrontGapSlots<TStringItem> FList;
  int32_t FCount = 0;
  int32_t FCapacity = 0;
  bool FSorted = false;
  TDuplicates FDuplicates = dupIgnore;
  bool FCaseSensitive = false;
  TNotifyEvent FOnChange;
  TNotifyEvent FOnChanging;
};

}  // namespace pel
