// Structures: TPelStringList, a string list with a choice of four comparison
// modes and two object slots per string.
//
// Every string carries an Object and an independent Data object; the list
// owns either kind when FreeObjects / FreeData is set. One comparison,
// chosen by StringOpsType, drives sorting, binary search and linear search
// alike:
//
//   soCaseSensitive          CompareStr       byte order
//   soCaseInsensitive        CompareText      byte order, ASCII case folded
//   soCaseSensitiveLocale    AnsiCompareStr   the current locale's collation
//   soCaseInsensitiveLocale  AnsiCompareText  the same, ignoring case (default)
//
// An optional owner (IStringsOwner) hears of every change before the
// OnChanging / OnChange events and is asked before Put, PutObject, Delete and
// Clear act, even when they then fail their index check.
//
// Growth: an empty list grows to 4, 8, 12, 28, 44, 60, 76, 95, 118, ...
// (+4 up to a capacity of 8, +16 up to 64, then a quarter).
//
// Kept on purpose:
//  * PutObject / PutData free the old owned object without comparing it with
//    the new one: storing the same owned object again frees it.
//  * Assign from another TPelStringList copies its comparison without
//    re-sorting, so a sorted target keeps the order of its former comparison.
//  * Closing an update (EndUpdate) fires Changed once; opening it fires
//    nothing, because the Updating flag is stored before the notification.
//
// A deliberate departure: SetCapacity below Count raises SListCapacityError
// (with the capacity asked for) and changes nothing, where the list would
// otherwise cut off the strings above the new capacity while Count still
// counted them, so that Get, Delete and Clear would reach strings (and
// owned objects) that are gone.
//
// Further down: TSFCList and TSFCFreeList bring the same owner hooks to the
// platform's TStringList; TPelCollectionItem and TPelCollection add mutual
// free notification to collections; TMaxCountStrings and TRecentFiles are a
// bounded string list and a most-recently-used list that fills menus.
#pragma once

#include <functional>
#include <vector>

#include "foundation/CommonInterfaces.h"
#include "platform/Classes.h"
#include "platform/Menus.h"

namespace pel {

enum TStringOpsType : uint8_t {
  soCaseSensitive,
  soCaseInsensitive,
  soCaseSensitiveLocale,
  soCaseInsensitiveLocale
};

using TStringCompareFunc = int32_t (*)(const String& S1, const String& S2);

// The comparison function a TStringOpsType selects.
TStringCompareFunc StringCompareFor(TStringOpsType Ops);

// Told of a string list's changes. It has no IID: it is reached only through
// the list's Owner property, never by a query.
struct IStringsOwner : virtual IInterface {
  virtual void StringsChanged(TObject* Sender) = 0;
  virtual void StringsChanging(TObject* Sender) = 0;
  virtual void BeforePut(TObject* Sender, int32_t Index, const String& S) = 0;
  virtual void BeforePutObject(TObject* Sender, int32_t Index, TObject* AObject) = 0;
  virtual void BeforeDelete(TObject* Sender, int32_t Index) = 0;
  virtual void BeforeClear(TObject* Sender) = 0;
};

using TListElementChangeEvent = std::function<void(TObject* Sender, int32_t Index)>;
using TForEachFilterMethod = std::function<bool(
    TObject* Sender, int32_t Index, const String& AString, TObject* AObject, int32_t ATag)>;
using TForEachObjectMethod = std::function<void(
    TObject* Sender, int32_t Index, const String& AString, TObject* AObject, int32_t ATag)>;
// The same callbacks as free functions.
using TForEachFilterProc = bool (*)(TObject* Sender, int32_t Index, const String& AString,
                                    TObject* AObject, int32_t ATag);
using TForEachObjectProc = void (*)(TObject* Sender, int32_t Index, const String& AString,
                                    TObject* AObject, int32_t ATag);

// The items of the two owned string lists: a string, its Object, and a Data
// slot that holds an object (TPelStringList) or an interface (TIStringList).
struct TPelStringItem {
  String FString;
  TObject* FObject = nullptr;
  TObject* FData = nullptr;
};
struct TIStringItem {
  String FString;
  TObject* FObject = nullptr;
  IPtr<IInterface> FData;
};

// What TPelStringList and TIStringList share: storage, the comparison,
// sorting and binary search, the owner's hooks and the change events. How
// the Object and Data slots are owned (PutObject, PutData, Delete, Clear,
// Assign, destruction) is each list's own.
template <class TItem>
class TPelStringListBase : public TStrings {
 public:
  using TData = decltype(TItem::FData);

  String Get(int32_t Index) override;
  int32_t GetCapacity() override { return FCapacity; }
  int32_t GetCount() override { return FCount; }
  TObject* GetObject(int32_t Index) override;
  // Owner.BeforePut first; raises SSortedListError on a sorted list.
  void Put(int32_t Index, const String& S) override;
  // Raises SListCapacityError below Count and changes nothing.
  void SetCapacity(int32_t NewCapacity) override;
  void SetUpdateState(bool Updating) override;

  // Sorted: inserts at the place Find gives (dupIgnore returns the existing
  // index, dupError raises SDuplicateString). Unsorted: appends.
  int32_t Add(const String& S) override;
  void Exchange(int32_t Index1, int32_t Index2) override;
  int32_t IndexOf(const String& S) override;
  // Raises SSortedListError on a sorted list.
  void Insert(int32_t Index, const String& S) override;

  virtual void Changed();
  virtual void Changing();

  virtual TData GetData(int32_t Index);
  // Binary search with the list's comparison (the list must be sorted).
  // Returns whether S is there; Index is its position (with dupAccept the
  // first of equal strings) or where S would be inserted.
  virtual bool Find(const String& S, int32_t& Index);
  // Calls Action for every index from the last to the first for which Filter
  // (when given) returns true; Action may delete the current item.
  virtual void ForEach(TForEachFilterProc Filter, TForEachObjectProc Action, int32_t ATag);
  virtual void ForEach(const TForEachFilterMethod& Filter, const TForEachObjectMethod& Action,
                       int32_t ATag);
  // The first index whose Data is AData, or -1.
  virtual int32_t IndexOfData(const TData& AData);
  // Quicksort with the list's comparison; nothing when the list is Sorted.
  virtual void Sort();

  bool GetSorted() const { return FSorted; }
  void SetSorted(bool Value);
  TStringOpsType GetStringOpsType() const { return FStringOpsType; }
  // A sorted list is re-sorted under the new comparison.
  void SetStringOpsType(TStringOpsType Value);
  TDuplicates GetDuplicates() const { return FDuplicates; }
  void SetDuplicates(TDuplicates Value) { FDuplicates = Value; }
  bool GetFreeObjects() const { return FFreeObjects; }
  void SetFreeObjects(bool Value) { FFreeObjects = Value; }
  const IPtr<IStringsOwner>& GetOwner() const { return FOwner; }
  void SetOwner(const IPtr<IStringsOwner>& Value) { FOwner = Value; }
  const TNotifyEvent& GetOnChange() const { return FOnChange; }
  void SetOnChange(TNotifyEvent Value) { FOnChange = std::move(Value); }
  const TNotifyEvent& GetOnChanging() const { return FOnChanging; }
  void SetOnChanging(TNotifyEvent Value) { FOnChanging = std::move(Value); }

 protected:
  TPelStringListBase();
  void CheckIndex(int32_t Index);
  void ExchangeItems(int32_t Index1, int32_t Index2);
  void Grow();
  void InsertItem(int32_t Index, const String& S);
  void QuickSort(int32_t L, int32_t R);
  // Assign's common part: the strings and objects of Source (sorting on
  // insertion when this list is sorted, unless Source is a sorted
  // TStringList, whose order is trusted as it stands).
  void AssignStrings(TPersistent* Source);
  // Takes the comparison of another list, deliberately without re-sorting.
  void TakeComparison(const TPelStringListBase& Source) {
    FStringOpsType = Source.FStringOpsType;
    FCompare = Source.FCompare;
  }
  // Before destruction: nobody is told of what follows.
  void DropListeners() {
    FOwner = nullptr;
    FOnChange = nullptr;
    FOnChanging = nullptr;
  }

  bool FUpdating = false;
  IPtr<IStringsOwner> FOwner;
  // FCapacity items; deleting at the front is cheap (see ListStorage.h).
  detail::FrontGapSlots<TItem> FList;
  int32_t FCount = 0;
  int32_t FCapacity = 0;
  bool FSorted = false;
  TDuplicates FDuplicates = dupIgnore;
  TNotifyEvent FOnChange;
  TNotifyEvent FOnChanging;
  TStringOpsType FStringOpsType = soCaseInsensitiveLocale;
  bool FFreeObjects = false;
  TStringCompareFunc FCompare;
};

extern template class TPelStringListBase<TPelStringItem>;
extern template class TPelStringListBase<TIStringItem>;

class TPelStringList : public TPelStringListBase<TPelStringItem> {
  PEL_CLASS(TPelStringList, TStrings)
 public:
  TPelStringList() = default;
  void BeforeDestruction() override;

  // Copies strings and objects from any string list (sorting on insertion
  // when this list is sorted, unless Source is a sorted TStringList); from a
  // TPelStringList also the Data objects and the comparison.
  void Assign(TPersistent* Source) override;

  // Owner.BeforePutObject first; frees the old object when FreeObjects.
  void PutObject(int32_t Index, TObject* AObject) override;
  // Owner.BeforeClear first (also when empty); frees owned Data, then owned
  // Objects, item by item from the first.
  void Clear() override;
  // Owner.BeforeDelete first; frees the owned Data, then the owned Object.
  void Delete(int32_t Index) override;
  virtual void PutData(int32_t Index, TObject* AData);

  bool GetFreeData() const { return FFreeData; }
  void SetFreeData(bool Value) { FFreeData = Value; }

 private:
  bool FFreeData = false;
};

// ---------------------------------------------------------------------------
// TSFCList: the platform string list with an IStringsOwner that is told
// before each mutation and on every change notice. Storage, comparison and
// sorting stay the platform list's.
class TSFCList : public TStringList {
  PEL_CLASS(TSFCList, TStringList)
  // Owner streams as a reference to the component that implements it; an
  // owner that is not a component is not written.
  PEL_PUBLISHED(TSFCList, Property<&TSFCList::GetOwner, &TSFCList::SetOwner>("Owner"))
 public:
  void BeforeDestruction() override;

  // A sorted platform source is copied in its own order, without re-sorting.
  void Assign(TPersistent* Source) override;
  void Put(int32_t Index, const String& S) override;
  void PutObject(int32_t Index, TObject* AObject) override;
  void SetUpdateState(bool Updating) override;
  // One Changed per addition and no Changing: the platform AddObject runs
  // inside an update bracket.
  int32_t AddObject(const String& S, TObject* AObject) override;
  void Clear() override;
  void Delete(int32_t Index) override;
  // Unsorted: the first string exactly equal to S (case-sensitive whatever
  // CaseSensitive says). Sorted: the platform Find.
  int32_t IndexOf(const String& S) override;
  void Changed() override;
  void Changing() override;
  void Sort() override;

  virtual void ForEach(TForEachFilterProc Filter, TForEachObjectProc Action, int32_t ATag);
  virtual void ForEach(const TForEachFilterMethod& Filter, const TForEachObjectMethod& Action,
                       int32_t ATag);

  const IPtr<IStringsOwner>& GetOwner() const { return FOwner; }
  void SetOwner(const IPtr<IStringsOwner>& Value) { FOwner = Value; }

 private:
  bool FAssigning = false;
  bool FUpdating = false;
  IPtr<IStringsOwner> FOwner;
};

// TSFCFreeList: a TSFCList that owns the objects of its strings while
// FreeMembers is set (the default).
class TSFCFreeList : public TSFCList {
  PEL_CLASS(TSFCFreeList, TSFCList)
  PEL_PUBLISHED(
      TSFCFreeList,
      Property<&TSFCFreeList::GetFreeMembers, &TSFCFreeList::SetFreeMembers>("FreeMembers"))
 public:
  void BeforeDestruction() override;

  void PutObject(int32_t Index, TObject* AObject) override;
  void Delete(int32_t Index) override;
  // Deletes the strings one by one from the last, freeing each object.
  void Clear() override;

  bool GetFreeMembers() const { return FFreeMembers; }
  void SetFreeMembers(bool Value) { FFreeMembers = Value; }

 private:
  bool FFreeMembers = true;
};

// ---------------------------------------------------------------------------
// Collections with mutual free notification.

// A collection item that can subscribe to another so that each is told
// (Notification) when the other is destroyed. Subscriptions are always
// mutual and listed once on each side.
class TPelCollectionItem : public TCollectionItem {
  PEL_CLASS(TPelCollectionItem, TCollectionItem)
 public:
  using TCollectionItem::TCollectionItem;
  ~TPelCollectionItem() override;
  // Tells every subscriber, last first, that this item is going; they still
  // find it in its collection.
  void BeforeDestruction() override;

  // AItem is being destroyed: drop the link both ways. Descendants drop
  // their own references to AItem and call this.
  virtual void Notification(TPelCollectionItem* AItem);
  virtual void FreeNotification(TPelCollectionItem* AItem);
  // Drops the link in both directions.
  virtual void RemoveFreeNotification(TPelCollectionItem* AItem);

  void NotifyAll();
  // Drops AItem from this item's list only.
  void RemoveNotification(TPelCollectionItem* AItem);
  // The items to tell (nil until the first subscription, and again once
  // the list is empty).
  TList* GetFreeNotifies() const { return FFreeNotifies; }

 private:
  TList* FFreeNotifies = nullptr;
};

class TPelCollection : public TCollection {
  PEL_CLASS(TPelCollection, TCollection)
 public:
  using TCollection::TCollection;
  // Fills a platform TStrings with each item's display name and the item.
  void AssignTo(TPersistent* Dest) override;
  // The first item whose display name is Name (case-sensitive), or -1.
  int32_t IndexOf(const String& Name);
};

// ---------------------------------------------------------------------------
// TMaxCountStrings: a platform string list that holds at most MaxCount
// strings (-1, the default: no limit). The bound is enforced where the list
// grows, in SetCapacity: the list fills to exactly MaxCount and the next
// addition raises EStringListError "String List Max Count exceeded: %d".

constexpr const char* SStringListFull = "String List Max Count exceeded: %d";

class TMaxCountStrings : public TStringList {
  PEL_CLASS(TMaxCountStrings, TStringList)
  PEL_PUBLISHED(
      TMaxCountStrings,
      Property<&TMaxCountStrings::GetMaxCount, &TMaxCountStrings::SetMaxCount>("MaxCount"))
 public:
  void SetCapacity(int32_t NewCapacity) override;

  int32_t GetMaxCount() const { return FMaxCount; }
  // Ignored when unchanged or below -1. Raising the bound above the
  // capacity makes room at once; lowering it removes nothing.
  void SetMaxCount(int32_t Value);

 private:
  int32_t FMaxCount = -1;
};

// TRecentFiles: a most-recently-used list (case-insensitive, four entries by
// default). Without PushAtEnd the newest entry is at index 0 and the oldest
// at the end; with it, the other way round.
class TRecentFiles : public TMaxCountStrings {
  PEL_CLASS(TRecentFiles, TMaxCountStrings)
  PEL_PUBLISHED(TRecentFiles,
                Property<&TRecentFiles::GetPushAtEnd, &TRecentFiles::SetPushAtEnd>("PushAtEnd")
                    .WithDefault(0))
 public:
  // Case-insensitive with four entries; set here rather than in the
  // constructor so that a descendant's SetCapacity is the one used.
  void AfterConstruction() override;

  // Adds S as the newest entry, or makes an entry equal to S (ignoring
  // case) the newest; when full, the oldest goes first. Returns S's index.
  int32_t Push(const String& S);
  // Deletes the oldest entry (nothing when empty).
  void DeleteOldest();
  // Adds one child item per string to MenuItem (owned by it), captioned
  // with the string, or "<index> <string>" when Numbered, and wired to
  // OnClick. Existing children are kept.
  void CreateMenuItemChildren(TMenuItem* MenuItem, bool Numbered, const TNotifyEvent& OnClick);

  bool GetPushAtEnd() const { return FPushAtEnd; }
  void SetPushAtEnd(bool Value) { FPushAtEnd = Value; }

 private:
  bool FPushAtEnd = false;
};

}  // namespace pel
