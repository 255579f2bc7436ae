// InterfaceCollections: containers whose elements are counted interfaces.
//
// Every container here holds exactly one reference for each interface it
// stores: storing adds one, overwriting, deleting or clearing a slot
// releases one. The one deliberate exception is the fixed list's Clear (see
// TIFixedList).
//
//  * TPelInterfaceList: a growable list with a Notify hook, Move, Pack and
//    Sort. Growth runs 4, 8, 12, 28, 44, 60, 76, 95, ...
//  * TIFixedList: a list over storage of fixed capacity, either its own 25
//    inline slots or an array of slots the caller supplies and keeps.
//  * TIList: a fixed list that reports additions and deletions through
//    Notify, and can be assigned and cloned.
//  * TIQueue, TIStack: first-in-first-out and last-in-first-out dispensers
//    on the platform's TInterfaceList.
//  * TIHashTable, TIStringHashTable: the hash-table engine with interface
//    values, under pointer and string keys; TIHashtableEnumerator and
//    TIStringHashtableEnumerator walk them.
//  * TIStringList: a string list whose per-item Data slot holds an
//    interface; TStringsIterator, TListIterator, TFreeListIterator and
//    TInterfaceListIterator walk platform and library lists through the
//    iterator interfaces.
//
// Slots are IPtr<IInterface>, so a slot's reference is released when the
// slot is overwritten or destroyed.
#pragma once

#include <array>
#include <cstdint>
#include <vector>

#include "foundation/CommonInterfaces.h"
#include "foundation/Structures.h"
#include "hashing/PelHashTable.h"
#include "lists/PelLists.h"
#include "platform/Classes.h"

namespace pel {

// Slot storage: a pointer to the first of a run of slots (the list knows
// how many). TSmallInterfaceHeap is a fixed list's own storage;
// TInterfaceArray a growable array of slots.
using TInterfaceHeap = IPtr<IInterface>;
using PInterfaceHeap = TInterfaceHeap*;
constexpr int32_t SmallInterfaceHeapSize = 25;
using TSmallInterfaceHeap = std::array<IPtr<IInterface>, SmallInterfaceHeapSize>;
using TInterfaceArray = std::vector<IPtr<IInterface>>;

// Orders two interfaces for TPelInterfaceList::Sort: <0, 0 or >0.
using TInterfaceListSortCompare = int32_t (*)(const IPtr<IInterface>& Item1,
                                              const IPtr<IInterface>& Item2);

// Dispensers raise this with EListError; lower case on purpose, unlike the
// linked lists' message.
constexpr const char* SIListEmpty = "list is empty";

// ---------------------------------------------------------------------------
// TPelInterfaceList: a growable list of interfaces.
//
// Notify hears of every non-empty interface that enters (lnAdded) or leaves
// (lnDeleted) the list through Add, Insert, Put, Delete, Remove, SetCount
// and Clear; a leaving interface is reported after it has left the list and
// while it is still referenced. Exchange, Move, Pack (which deletes only
// empty slots) and Sort report nothing. Bad indexes raise EListError with
// the platform's messages through Error, and leave the list as it was.
class TPelInterfaceList : public TInterfacedObject {
  PEL_CLASS(TPelInterfaceList, TInterfacedObject)
 public:
  TPelInterfaceList() = default;
  // Clears here so that a descendant's Notify hears every deletion.
  void BeforeDestruction() override;

  int32_t Add(const IPtr<IInterface>& Item);
  void Insert(int32_t Index, const IPtr<IInterface>& Item);
  void Delete(int32_t Index);
  // Deletes the first slot holding Item; returns its index or -1.
  int32_t Remove(const IPtr<IInterface>& Item);
  void Exchange(int32_t Index1, int32_t Index2);
  void Move(int32_t CurIndex, int32_t NewIndex);
  int32_t IndexOf(const IPtr<IInterface>& Item) const;
  IPtr<IInterface> First();
  IPtr<IInterface> Last();
  IPtr<IInterface> Get(int32_t Index);
  void Put(int32_t Index, const IPtr<IInterface>& Item);
  // Deletes every empty slot, keeping the order of the rest.
  void Pack();
  // Grows when full; returns the list.
  TPelInterfaceList* Expand();
  // Quicksort (not stable); notifies nothing.
  void Sort(TInterfaceListSortCompare Compare);

  int32_t GetCount() const { return FCount; }
  // Growing adds empty slots; shrinking deletes from the last (notifying).
  void SetCount(int32_t NewCount);
  int32_t GetCapacity() const { return FCapacity; }
  void SetCapacity(int32_t NewCapacity);
  // The slots themselves (Count in use).
  PInterfaceHeap List() { return FList.data(); }

  // Virtual operations in their table order.
  virtual void Grow();

 protected:
  virtual void Notify(const IPtr<IInterface>& Item, TListNotification Action);

 public:
  virtual void Clear();
  // Raises EListError with Msg formatted with Data.
  [[noreturn]] virtual void Error(const char* Msg, int32_t Data);

 private:
  void CheckIndex(int32_t Index);
  void QuickSort(int32_t L, int32_t R, TInterfaceListSortCompare Compare);

  TInterfaceArray FList;  // FCapacity slots
  int32_t FCount = 0;
  int32_t FCapacity = 0;
};

// ---------------------------------------------------------------------------
// TIFixedList: a list over storage of fixed capacity.
//
// Made without arguments it uses its own 25 slots; made with (Storage,
// Capacity) it uses Capacity slots at Storage, which the caller keeps and
// must keep alive as long as the list. A full list raises EOutOfMemory on
// Add and Insert; bad indexes raise EListError. Nothing is notified.
//
// Kept on purpose: Clear sets Count to 0 and releases nothing. The
// interfaces stay referenced by their slots until a slot is overwritten or
// emptied (a later Add, Insert or SetCount), or until the storage goes: the
// inline slots release theirs when the list is destroyed, the caller's when
// the caller destroys them.
class TIFixedList : public TInterfacedObject {
  PEL_CLASS(TIFixedList, TInterfacedObject)
 public:
  TIFixedList();
  TIFixedList(PInterfaceHeap Storage, int32_t Capacity);

  int32_t Add(const IPtr<IInterface>& Item);
  void Insert(int32_t Index, const IPtr<IInterface>& Item);
  void Delete(int32_t Index);
  int32_t Remove(const IPtr<IInterface>& Item);
  void Exchange(int32_t Index1, int32_t Index2);
  int32_t IndexOf(const IPtr<IInterface>& Item) const;
  IPtr<IInterface> First() { return Get(0); }
  IPtr<IInterface> Last() { return Get(FCount - 1); }
  IPtr<IInterface> Get(int32_t Index);
  void Put(int32_t Index, const IPtr<IInterface>& Item);
  // Shrinking deletes from the last; growing empties the new slots. The
  // slot just past a grown list is emptied too when the storage has it.
  void SetCount(int32_t NewCount);
  // Count := 0, keeping every reference (see above).
  virtual void Clear();

  int32_t GetCount() const { return FCount; }
  int32_t GetCapacity() const { return FCapacity; }

 protected:
  void CheckIndex(int32_t Index) const;
  PInterfaceHeap Slots() const { return FStorage; }

 private:
  int32_t FCapacity;
  int32_t FCount = 0;
  PInterfaceHeap FStorage;
  TSmallInterfaceHeap FSmallHeap;
};

// ---------------------------------------------------------------------------
// TIList: a fixed list that reports through Notify and copies itself.
//
// Add and Insert notify lnAdded, empty items included; Delete notifies
// lnDeleted after the item has left the list, then releases it. Clear
// deletes from the front, so every item is released and reported. Assign
// replaces the contents with another list's interfaces (shared, not
// copied); Clone makes a list of the same class (through its argument-less
// constructor) and assigns this one into it. AssignTo always raises here;
// descendants that can copy themselves override it.
class TIList : public TIFixedList {
  PEL_CLASS(TIList, TIFixedList)
 public:
  using TIFixedList::TIFixedList;

  int32_t Add(const IPtr<IInterface>& Item);
  void Insert(int32_t Index, const IPtr<IInterface>& Item);
  void Delete(int32_t Index);
  // Deletes the first slot holding Item (notifying); returns its index or -1.
  int32_t Remove(const IPtr<IInterface>& Item);
  void Clear() override;

  // Virtual operations in their table order.
  virtual void AssignTo(TIList* Dest);
  virtual void AssignTo(TPersistent* Dest);

 protected:
  virtual void Notify(const IPtr<IInterface>& Item, TListNotification Action);

 public:
  // Null raises the assignment error; itself leaves the list as it is.
  virtual void Assign(TIList* Source);
  // A new list of this class holding the same interfaces; the caller owns
  // it (free it, or hand it to a counted reference).
  virtual TIList* Clone();

  // Raises EConvertError "Cannot assign a <Source's class or nil> to a
  // <this list's class>".
  [[noreturn]] void AssignError(TObject* Source);
};

// ---------------------------------------------------------------------------
// Dispensers on the platform's interface list. Push adds at the end; a
// queue pops and peeks index 0, a stack the last index. Popping or peeking
// an empty dispenser raises EListError "list is empty". An empty item may
// be pushed and comes out again as empty.
class TIQueue : public TInterfaceList {
  PEL_CLASS(TIQueue, TInterfaceList)
 public:
  // Removes the next item and returns it (the caller holds the reference
  // the dispenser had).
  virtual IPtr<IInterface> Pop();
  virtual void Push(const IPtr<IInterface>& Item);
  virtual IPtr<IInterface> Peek();
  bool IsEmpty() { return GetCount() == 0; }

 protected:
  void CheckNotEmpty();
};

class TIStack : public TIQueue {
  PEL_CLASS(TIStack, TIQueue)
 public:
  IPtr<IInterface> Pop() override;
  IPtr<IInterface> Peek() override;
};

// ---------------------------------------------------------------------------
// Hash tables with interface values.
//
// They are the engine of PelHashTable with one difference: the value of an
// entry is an interface (IValue), of which the entry holds one reference,
// released when the entry goes (remove, clear, destruction of the table).
// The engine's pointer value of an entry stays unused: put and read values
// through the operations below, not through the engine's PutValue(Key,
// void*) and GetValue.
//
// A missing key raises EPelHashtableError "No such element: %s" with the
// key as text: a string table's key itself, and for a pointer table the
// zero-terminated text the key points to. Pointer keys of a TIHashTable
// must therefore point to readable, zero-terminated memory whenever a
// lookup may miss.
//
// Assign from a table of the same class copies its settings and shares its
// interfaces (both tables reference them). A table assigned to itself is
// left as it is.

class TIHashtableEntry : public TPelHashtableEntry {
  PEL_CLASS(TIHashtableEntry, TPelHashtableEntry)
 public:
  IPtr<IInterface> IValue;
};

class TIStringHashtableEntry : public TPelStringHashtableEntry {
  PEL_CLASS(TIStringHashtableEntry, TPelStringHashtableEntry)
 public:
  IPtr<IInterface> IValue;
};

namespace detail {
template <class Table>
struct TIHashtableOps;
}

class TIHashTable : public TPelCustomHashtable {
  PEL_CLASS(TIHashTable, TPelCustomHashtable)
  template <class>
  friend struct detail::TIHashtableOps;

 public:
  using TPelCustomHashtable::PutValue;
  using TPelCustomHashtable::TPelCustomHashtable;

  // Another TIHashTable: one update that clears, copies the settings and
  // puts every key with its interface.
  void Assign(TPersistent* Source) override;
  TPelHashtableEntry* NewHashtableEntry() override;
  // Stores Value under Key; returns the interface it replaced (the table's
  // reference to it goes with the result) or null.
  virtual IPtr<IInterface> PutValue(void* Key, const IPtr<IInterface>& Value);

  IPtr<IInterface> Put(void* Key, const IPtr<IInterface>& Value) { return PutValue(Key, Value); }
  IPtr<IInterface> Get(void* Key);
  IPtr<IInterface> GetItem(void* Key) { return Get(Key); }
  void SetItem(void* Key, const IPtr<IInterface>& Value) { PutValue(Key, Value); }
  // Removes Key; the table's reference to its interface goes with the result.
  IPtr<IInterface> Remove(void* Key);
  bool ContainsKey(void* Key) { return HasKey(Key); }
  // Value is the stored interface, or null when Key is absent.
  bool ContainsKey(void* Key, IPtr<IInterface>& Value);
  IPtr<IInterface> GetItemByIndex(int32_t Index);
  // A new enumerator over the values (its IIterator hands out the keys).
  IPtr<IInterfaceIterator> Elements();
};

// String keys. The interface operations take the key as a String; the
// inherited pointer-valued Get, Put and Remove of the string table are not
// for this table's values (C++ cannot give an operation of the same
// arguments another result type), so the interface forms of Get and Remove
// are GetIntf and RemoveIntf.
class TIStringHashTable : public TPelStringHashtable {
  PEL_CLASS(TIStringHashTable, TPelStringHashtable)
  template <class>
  friend struct detail::TIHashtableOps;

 public:
  using TPelStringHashtable::Put;
  using TPelStringHashtable::PutValue;
  using TPelStringHashtable::TPelStringHashtable;

  // Another TIStringHashTable: its settings first (so a non-empty table
  // with another hash method raises before anything changes), then one
  // update that clears and puts every key with its interface. Other
  // sources as for the string table.
  void Assign(TPersistent* Source) override;
  TPelHashtableEntry* NewHashtableEntry() override;
  // Key is zero-terminated text.
  virtual IPtr<IInterface> PutValue(void* Key, const IPtr<IInterface>& Value);

  IPtr<IInterface> Put(const String& Key, const IPtr<IInterface>& Value);
  IPtr<IInterface> GetIntf(const String& Key);
  IPtr<IInterface> GetItem(const String& Key) { return GetIntf(Key); }
  void SetItem(const String& Key, const IPtr<IInterface>& Value) { Put(Key, Value); }
  IPtr<IInterface> RemoveIntf(const String& Key);
  // False for the empty string.
  bool ContainsKey(const String& Key) { return TPelStringHashtable::ContainsKey(Key); }
  bool ContainsKey(const String& Key, IPtr<IInterface>& Value);
  IPtr<IInterface> GetItemByIndex(int32_t Index);
  // A new enumerator over the values (its IStringIterator hands out keys).
  IPtr<IInterfaceIterator> Elements();
};

// Walks a TIHashTable, buckets from the top down and each chain from its
// head: IInterfaceIterator hands out the values, IIterator the keys
// (CurrentKey, NextKey), over one shared position. It holds a plain pointer
// to its table, which must outlive it; Reset it after changing the table.
// Past the end, and before the first element, the element operations raise
// "No such element".
class TIHashtableEnumerator : public TInterfacedObject,
                              public TPointerIteratorAdapter,
                              public TInterfaceIteratorAdapter {
  PEL_CLASS(TIHashtableEnumerator, TInterfacedObject)
 public:
  explicit TIHashtableEnumerator(TPelCustomHashtable* Table);

  HRESULT QueryInterface(const TGUID& IID, void** Obj) override {
    return TInterfacedObject::QueryInterface(IID, Obj);
  }
  int32_t AddRef() override { return TInterfacedObject::AddRef(); }
  int32_t Release() override { return TInterfacedObject::Release(); }
  bool GetInterface(const TGUID& IID, void** Obj) override;

  // Elements not yet handed out.
  int32_t GetCount() override { return FCount; }
  bool HasMoreElements() override;
  void Reset() override;

  // The next entry, or null when none is left (forgetting the current one).
  TPelHashtableEntry* NextEntry();
  IPtr<IInterface> CurrentElementI() override;
  IPtr<IInterface> NextElementI() override;
  void* CurrentElementP() override { return CurrentKey(); }
  void* NextElementP() override { return NextKey(); }
  void* CurrentKey();
  void* NextKey();

 protected:
  TPelHashtableEntry* CurrentEntry();
  static IPtr<IInterface> ValueOf(TPelHashtableEntry* Entry);

 private:
  int32_t FBucket = 0;
  TPelCustomHashtable* FTable;
  TPelHashtableEntry* FNextEntry = nullptr;
  int32_t FCount = 0;
  TPelHashtableEntry* FCurrentEntry = nullptr;
};

// The same for a TIStringHashTable, with IStringIterator handing out the
// keys as strings.
class TIStringHashtableEnumerator : public TIHashtableEnumerator, public TStringIteratorAdapter {
  PEL_CLASS(TIStringHashtableEnumerator, TIHashtableEnumerator)
 public:
  using TIHashtableEnumerator::TIHashtableEnumerator;

  HRESULT QueryInterface(const TGUID& IID, void** Obj) override {
    return TInterfacedObject::QueryInterface(IID, Obj);
  }
  int32_t AddRef() override { return TInterfacedObject::AddRef(); }
  int32_t Release() override { return TInterfacedObject::Release(); }
  bool GetInterface(const TGUID& IID, void** Obj) override;
  int32_t GetCount() override { return TIHashtableEnumerator::GetCount(); }
  bool HasMoreElements() override { return TIHashtableEnumerator::HasMoreElements(); }
  void Reset() override { TIHashtableEnumerator::Reset(); }

  String CurrentElementS() override;
  String NextElementS() override;
};

// ---------------------------------------------------------------------------
// TIStringList: the string list of Structures (TPelStringList) with its Data
// slot holding an interface instead of an object. Everything else is that
// list's: the four comparisons (soCaseInsensitiveLocale by default),
// sorting, Find, duplicates, growth, notifications, the owner hook and the
// messages. Differences:
//  * each item's Data holds one reference, released when the item is
//    deleted or cleared or Data is replaced; destruction releases them too
//    (the string slots go with the list);
//  * PutObject also empties Data, releasing its interface: storing an
//    object clears the interface slot, intended;
//  * there is no FreeData; FreeObjects frees owned objects on Delete,
//    Clear and PutObject as in TPelStringList, not on destruction;
//  * Assign from another TIStringList copies each Data by index.
// CustomSort orders the items with a caller's comparison of two indexes.

class TIStringList;
using TIStringListSortCompare = int32_t (*)(TIStringList* List, int32_t Index1, int32_t Index2);

class TIStringList : public TPelStringListBase<TIStringItem> {
  PEL_CLASS(TIStringList, TStrings)
 public:
  TIStringList() = default;
  void BeforeDestruction() override;

  void Assign(TPersistent* Source) override;
  // Owner.BeforePutObject first; releases Data, frees the old object when
  // FreeObjects.
  void PutObject(int32_t Index, TObject* AObject) override;
  // Owner.BeforeClear first (also when empty).
  void Clear() override;
  // Owner.BeforeDelete first.
  void Delete(int32_t Index) override;

  // No owner call; the old interface is released.
  virtual void PutData(int32_t Index, const IPtr<IInterface>& AData);
  // Nothing on a sorted list or one of fewer than two strings.
  virtual void CustomSort(TIStringListSortCompare Compare);

 protected:
  using TPelStringListBase::QuickSort;
  void QuickSort(int32_t L, int32_t R, TIStringListSortCompare Compare);
};

// ---------------------------------------------------------------------------
// Iterators over lists. Each holds a plain pointer to its source, which
// must outlive it, and a position that starts before the first element:
// HasMoreElements is true while the position is below the source's count
// less one, NextElement advances and then reads, CurrentElement reads at
// the position. Nothing is checked here: a read at a bad position (before
// the first NextElement, or past the end) raises what the source raises.

// Over a TStrings: the strings (IStringIterator), their objects
// (IObjectIterator) and the same objects as pointers (IIterator).
class TStringsIterator : public TInterfacedObject,
                         public TStringIteratorAdapter,
                         public TObjectIteratorAdapter,
                         public TPointerIteratorAdapter {
  PEL_CLASS(TStringsIterator, TInterfacedObject)
 public:
  explicit TStringsIterator(TStrings* Source) : FSource(Source) {}
  bool GetInterface(const TGUID& IID, void** Obj) override;
  int32_t GetCount() override { return FSource->GetCount(); }
  bool HasMoreElements() override { return FPosition < FSource->GetCount() - 1; }
  void Reset() override { FPosition = -1; }
  String CurrentElementS() override { return FSource->Get(FPosition); }
  String NextElementS() override { return FSource->Get(++FPosition); }
  TObject* CurrentElementO() override { return FSource->GetObject(FPosition); }
  TObject* NextElementO() override { return FSource->GetObject(++FPosition); }
  void* CurrentElementP() override { return CurrentElementO(); }
  void* NextElementP() override { return NextElementO(); }

 private:
  TStrings* FSource;
  int32_t FPosition = -1;
};

// Over a platform TList or a TFreeList: the entries as pointers (IIterator)
// and as objects (IObjectIterator).
template <class List>
class TPointerListIterator : public TInterfacedObject,
                             public TPointerIteratorAdapter,
                             public TObjectIteratorAdapter {
 public:
  explicit TPointerListIterator(List* Source) : FSource(Source) {}
  bool GetInterface(const TGUID& IID, void** Obj) override {
    return GetInterfaceOf<TPointerListIterator, IIterator, IObjectIterator>(this, IID, Obj);
  }
  int32_t GetCount() override { return FSource->GetCount(); }
  bool HasMoreElements() override { return FPosition < FSource->GetCount() - 1; }
  void Reset() override { FPosition = -1; }
  void* CurrentElementP() override { return FSource->Get(FPosition); }
  void* NextElementP() override { return FSource->Get(++FPosition); }
  TObject* CurrentElementO() override { return static_cast<TObject*>(CurrentElementP()); }
  TObject* NextElementO() override { return static_cast<TObject*>(NextElementP()); }

 private:
  List* FSource;
  int32_t FPosition = -1;
};

class TListIterator : public TPointerListIterator<TList> {
  PEL_CLASS(TListIterator, TInterfacedObject)
 public:
  using TPointerListIterator::TPointerListIterator;
};

class TFreeListIterator : public TPointerListIterator<TFreeList> {
  PEL_CLASS(TFreeListIterator, TInterfacedObject)
 public:
  using TPointerListIterator::TPointerListIterator;
};

// Over a platform TInterfaceList or a TPelInterfaceList, told apart on every
// call; any other source counts 0 and hands out nothing.
class TInterfaceListIterator : public TInterfacedObject, public IInterfaceIterator {
  PEL_CLASS(TInterfaceListIterator, TInterfacedObject)
 public:
  explicit TInterfaceListIterator(TObject* Source) : FSource(Source) {}
  bool GetInterface(const TGUID& IID, void** Obj) override;
  IPtr<IInterface> CurrentElement() override { return ElementAt(FPosition); }
  int32_t GetCount() override;
  bool HasMoreElements() override { return FPosition < GetCount() - 1; }
  IPtr<IInterface> NextElement() override { return ElementAt(++FPosition); }
  void Reset() override { FPosition = -1; }

 private:
  IPtr<IInterface> ElementAt(int32_t Index);

  TObject* FSource;
  int32_t FPosition = -1;
};

}  // namespace pel
