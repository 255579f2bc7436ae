// TList: the framework's list of untyped pointers.
//
// Storage grows by 4 while the capacity is at most 8, by 16 while it is at
// most 64 and by a quarter above (4, 8, 12, 28, 44, 60, 76, 95, 118, ...).
// Indexes are 0-based; a bad index raises EListError ("List index out of
// bounds (%d)") and leaves the list as it was.
//
// Descendants watch the pointers coming and going through the virtual
// Notify, which runs after the list has changed and never for nil:
//   Add, Insert          lnAdded
//   Delete, Remove       lnDeleted
//   Extract              lnExtracted (and no lnDeleted)
//   Put                  lnDeleted for the old pointer, then lnAdded for
//                        the new one (nothing when they are the same)
//   SetCount, Clear      lnDeleted for each pointer dropped, last first
//   Move, Exchange,
//   Sort, Pack (of nils) nothing
// Freeing the list clears it in BeforeDestruction, so a descendant's Notify
// sees every deletion.
//
// Deleting at index 0 (or near either end) costs constant time on average:
// the storage keeps a gap before the first item (see ListStorage.h), so a
// TList used as a first-in-first-out queue does not move its items on
// every pop. Capacity and its growth steps are those of the framework.
#pragma once

#include <cstdint>

#include "platform/RTLConsts.h"
#include "platform/System.h"
#include "platform/classes/ClassesTypes.h"
#include "platform/classes/ListStorage.h"

namespace pel {

// Orders two items for TList::Sort: <0, 0 or >0.
using TListSortCompare = int32_t (*)(void* Item1, void* Item2);

// The largest count and capacity a list accepts.
constexpr int32_t MaxListSize = INT32_MAX / 16;

class TList : public TObject {
  PEL_CLASS(TList, TObject)
 public:
  TList() = default;
  ~TList() override = default;
  void BeforeDestruction() override;

  int32_t Add(void* Item) {
    int32_t result = AddUnnotified(Item);
    if (Item) Notify(Item, lnAdded);
    return result;
  }
  void Insert(int32_t Index, void* Item);
  void Delete(int32_t Index) {
    void* temp = DeleteUnnotified(Index);
    if (temp) Notify(temp, lnDeleted);
  }
  // Deletes the first occurrence; returns its index or -1.
  int32_t Remove(void* Item);
  // Takes the first occurrence out without deleting it: Notify hears
  // lnExtracted. Returns Item, or nullptr when it is not in the list.
  void* Extract(void* Item);
  virtual void Clear();
  int32_t IndexOf(void* Item) const;
  void* First() const;
  void* Last() const;
  // Deletes every nil pointer.
  void Pack();
  void Sort(TListSortCompare Compare);
  // Moves the item at CurIndex to NewIndex; the others close up.
  void Move(int32_t CurIndex, int32_t NewIndex);
  void Exchange(int32_t Index1, int32_t Index2);
  // Grows the storage when it is full; returns the list.
  TList* Expand();

  void* Get(int32_t Index) const {
    CheckIndex(Index);
    return FList[Index];
  }
  void Put(int32_t Index, void* Item);
  int32_t GetCount() const { return FCount; }
  // Growing fills with nil; shrinking deletes the items beyond.
  void SetCount(int32_t NewCount);
  int32_t GetCapacity() const { return FCapacity; }
  // Raises SListCapacityError below Count or above MaxListSize.
  void SetCapacity(int32_t NewCapacity);
  // The storage itself (Count items are in use).
  void** List() { return FList.Data(); }

  // Raises EListError with Msg formatted with Data.
  [[noreturn]] static void Error(const char* Msg, int32_t Data);

 protected:
  virtual void Grow();
  virtual void Notify(void* Ptr, TListNotification Action);
  // Add, Delete and Clear without the calls to Notify, for a descendant that
  // knows its Notify is TList's own (which does nothing). Delete's returns
  // the pointer it took out.
  int32_t AddUnnotified(void* Item) {
    int32_t result = FCount;
    if (result == FCapacity) Grow();
    FList[result] = Item;
    ++FCount;
    return result;
  }
  void* DeleteUnnotified(int32_t Index) {
    CheckIndex(Index);
    void* temp = FList[Index];
    FList.Erase(Index, FCount, FCapacity);
    --FCount;
    return temp;
  }
  void ClearUnnotified() {
    FCount = 0;
    SetCapacity(0);
  }

 private:
  void CheckIndex(int32_t Index) const {
    if (Index < 0 || Index >= FCount) Error(SListIndexError, Index);
  }
  void QuickSort(int32_t L, int32_t R, TListSortCompare Compare);

  detail::FrontGapSlots<void*> FList;  // FCapacity slots
  int32_t FCount = 0;
  int32_t FCapacity = 0;
};

}  // namespace pel
