// PelHashTable: chained hash tables with selectable hash methods.
//
// TPelCustomHashtable is the engine. Keys and values are untyped pointers;
// the table owns its entries (never what keys or values point to). It
//   * hashes with one of four methods (HashType): division, truncation,
//     mid-square and folding; the last three work on the decimal digits of
//     the key and are computed arithmetically, without building text;
//   * grows to Capacity * 2 + 1 buckets when a new key arrives while
//     Count has reached Threshold (Capacity * LoadFactor, rounded to even);
//   * reaches entries by ordinal position (GetItemByIndex, GetKeyByIndex)
//     through a one-position cache, so walking positions forward or
//     backward costs amortised constant time;
//   * notifies the HashTableOwner hook first and OnChange second after a
//     put, remove or clear, unless inside BeginUpdate/EndUpdate;
//   * copies from another table (Assign) and hands its keys to a linked
//     list (AssignTo).
//
// Two deliberate departures from the original table's steps:
//   * Assign of a table to itself does nothing. The copy clears the
//     destination before it reads the source, so following the steps would
//     leave the table empty;
//   * SetCapacity(0) frees the entries it unlinks, leaving the table empty.
//     The original steps only drop them, which is safe for the destructor
//     (it clears first) and leaks every entry for anyone else.
//
// Keys: the hash methods read a key as a 32-bit integer. Pointers are 64
// bits wide here, so a pointer key is hashed by its low 32 bits (keys are
// still compared as whole pointers). Integer keys of TPelHashIntTable are
// stored as sign-extended pointers and read back exactly. The null pointer,
// and so integer key 0, is never a valid key ("Argument is null").
//
// Positions 0..Count-1 run over buckets upwards, each chain from head to
// tail; enumeration (the enumerators, NextElement, Assign) runs over buckets
// downwards. Both visit every entry once.
//
// TPelHashtable (pointer keys), TPelHashIntTable (integer keys) and
// TPelStringHashtable (string keys) are the typed front ends;
// TPelHashtableEnumerator and TPelStringHashTableEnumerator are the counted
// iterators returned by Elements and Indices.
//
// Lifetime rules the caller keeps:
//   * an enumerator holds a plain pointer to its table: the table must
//     outlive it. It does not follow entries added or removed after its
//     last Reset (the table's own cursor of NextElement included), and the
//     entry it holds as the next one is kept even when that entry is
//     removed and freed: Reset an enumerator after changing its table;
//   * assigning one table to another copies key and value pointers; a
//     string table's keys are its own character data, so a pointer table
//     filled from a string table must not outlive it, and a string table
//     filled from a pointer table reads every key as zero-terminated text.
#pragma once

#include <cstdint>

#include "foundation/Cells.h"
#include "foundation/CommonInterfaces.h"
#include "platform/Classes.h"
#include "platform/SysUtils.h"

namespace pel {

// Messages of this unit.
constexpr const char* SArgumentNull = "Argument is null";
constexpr const char* SSubscriptOutOfRange = "Subscript out of range";
constexpr const char* STableEmpty = "Table is empty";
constexpr const char* SNoSuchElement = "No such element";
constexpr const char* SNoSuchElementKey = "No such element: %s";
constexpr const char* SNonEmptyTable = "Cannot perform this operation with non-empty table";
// The 0.1 is the message as users know it; the check itself is permissive.
constexpr const char* SLoadFactorRange = "Load factor must be between 0.0 and 0.1";
constexpr const char* SIllegalNextElement =
    "Illegal NextElement Call, must be iterating over the keys";

PEL_EXCEPTION(EPelHashtableError, Exception)

enum TPelHashType : uint8_t { htTruncation, htDivision, htMidSquare, htFolding };
inline const char* const kPelHashTypeNames[] = {"htTruncation", "htDivision", "htMidSquare",
                                                "htFolding"};
// The run-time description of TPelHashType, for its published property.
inline const TTypeInfo TPelHashTypeInfo = EnumTypeInfo("TPelHashType", kPelHashTypeNames);

class TPelCustomHashtable;
class TPelHashtableEnumerator;

// A hook through which an outside object hears of a table's changes.
struct IHashTableOwner : virtual IInterface {
  static constexpr TGUID IID = TGUID::Parse("{6F0B3C52-8E1D-4A7B-9C24-3D5E7A1B9F60}");
  // After a change, when OnChange would fire.
  virtual void TableChanged(TPelCustomHashtable* Table) = 0;
  // At the start of every put, once the key is known not to be null.
  virtual void BeforePut(TPelCustomHashtable* Table, void* Key, void* Value) = 0;
  // At the start of every remove from a non-empty table, present key or not.
  virtual void BeforeRemove(TPelCustomHashtable* Table, void* Key) = 0;
  // At the start of a clear of a non-empty table.
  virtual void BeforeClear(TPelCustomHashtable* Table) = 0;
};

// One key/value pair, linked into its bucket's chain. The table reads and
// writes Index, Value and Next directly and reaches the key only through
// the virtual GetKey, SetKey and KeyEquals.
class TPelHashtableEntry : public TObject {
  PEL_CLASS(TPelHashtableEntry, TObject)
 public:
  PEL_CELL_ALLOCATED
  virtual void* GetKey();
  virtual void SetKey(void* Key);
  // Pointer identity.
  virtual bool KeyEquals(void* Key);

  int32_t GetIndex() const { return FIndex; }
  void* GetValue() const { return FValue; }
  TPelHashtableEntry* GetNext() const { return FNext; }

  int32_t FIndex = 0;  // the bucket the entry lies in
  void* FKey = nullptr;
  void* FValue = nullptr;
  TPelHashtableEntry* FNext = nullptr;  // next entry of the same bucket
};

// An entry whose key is a string. The table hands keys over as pointers to
// zero-terminated characters; the entry keeps its own copy of the text (the
// inherited pointer field stays unused) and compares exactly, byte by byte.
class TPelStringHashtableEntry : public TPelHashtableEntry {
  PEL_CLASS(TPelStringHashtableEntry, TPelHashtableEntry)
 public:
  // The stored string's characters, zero-terminated.
  void* GetKey() override;
  void SetKey(void* Key) override;
  bool KeyEquals(void* Key) override;

  const String& GetKeyString() const { return FKeyString; }

 private:
  String FKeyString;
};

// The hash-table engine. Published, and so streamed with a component that
// holds the table: Capacity (default 101), HashType (default htDivision),
// LoadFactor (written unless 0) and OnChange. The contents are not streamed.
//
// OnChange is streamed as the framework streams events, by the handler's
// method name. A handler here is a std::function, which has no name of its
// own: SetOnChange takes the name to write beside the handler, and a handler
// set without one writes nothing. Reading a stream stores the name only
// (binding it to a handler is the program's business); reading nil, or
// setting the name to "", also drops the handler.
class TPelCustomHashtable : public TPersistent {
  PEL_CLASS(TPelCustomHashtable, TPersistent)
  PEL_PUBLISHED(
      TPelCustomHashtable,
      Property<&TPelCustomHashtable::GetCapacity, &TPelCustomHashtable::SetCapacity>("Capacity")
          .WithDefault(101),
      Property<&TPelCustomHashtable::GetHashType, &TPelCustomHashtable::SetHashType>(
          "HashType", &TPelHashTypeInfo)
          .WithDefault(htDivision),
      Property<&TPelCustomHashtable::GetLoadFactor, &TPelCustomHashtable::SetLoadFactor>(
          "LoadFactor"),
      Property<&TPelCustomHashtable::GetOnChangeName, &TPelCustomHashtable::SetOnChangeName>(
          "OnChange", &TypeInfoNotifyEvent))
  friend class TPelHashtableEnumerator;

 public:
  using TCreateArgs = TCtorArgs<uint32_t, float>;

  // The load factor is taken as given.
  explicit TPelCustomHashtable(uint32_t InitialCapacity = 101, float LoadFactor = 0.75f);
  ~TPelCustomHashtable() override;
  // Clears the table (through the virtual Clear) and releases the buckets.
  void BeforeDestruction() override;

  // Another table: cleared, its settings, then its entries in one update.
  // Itself: nothing (see the header).
  void Assign(TPersistent* Source) override;
  void AssignTo(TPersistent* Dest) override;

  // Virtual operations, in the order descendants rely on.
  // The value stored under Key: "Table is empty", "No such element".
  virtual void* GetValue(void* Key);
  // An empty table answers false without looking at Key.
  virtual bool HasKey(void* Key, TPelHashtableEntry*& Entry);
  // The bucket of Key among Size buckets by the selected HashType.
  virtual int32_t HashCode(void* Key, int32_t Size);
  virtual TPelHashtableEntry* NewHashtableEntry();
  // Grows to Capacity * 2 + 1 buckets.
  virtual void Rehash();
  // Removes Key and returns its value: "Table is empty", "No such element".
  virtual void* RemoveValue(void* Key);
  // Stores Value under Key and returns the value it replaced (or null).
  virtual void* PutValue(void* Key, void* Value);
  virtual int32_t DivisionHash(void* Key, int32_t Size);
  virtual int32_t TruncationHash(void* Key, int32_t Size);
  virtual int32_t MidSquareHash(void* Key, int32_t Size);
  virtual int32_t FoldingHash(void* Key, int32_t Size);
  // Whether some entry holds Value (pointer identity).
  virtual bool ContainsItem(void* Value);
  virtual void BeginUpdate();
  virtual void Clear();
  virtual void EndUpdate();
  // The table's own cursor over its keys (see Reset and GetEOT).
  virtual void* NextElement();
  virtual void Reset();

  bool HasKey(void* Key);
  TPelHashtableEntry* FindEntry(void* Key);
  // The entry at ordinal position Index (EListError when out of bounds).
  TPelHashtableEntry* GoToEntry(int32_t Index);
  void* GetItemByIndex(int32_t Index);
  void* GetKeyByIndex(int32_t Index);
  void ClearCache();
  bool IsEmpty() const { return FCount == 0; }
  // True when the table's own cursor has no more keys.
  bool GetEOT();
  int32_t GetThreshold() const;

  uint32_t GetCapacity() const { return FCapacity; }
  // Rebuilds the buckets (no notification); 0 frees the entries and releases
  // the buckets.
  void SetCapacity(uint32_t Value);
  TPelHashType GetHashType() const { return FHashType; }
  // Only an empty table may change its hash method.
  void SetHashType(TPelHashType Value);
  float GetLoadFactor() const { return FLoadFactor; }
  void SetLoadFactor(float Value);
  int32_t GetCount() const { return FCount; }
  void SetCount(int32_t Value) { FCount = Value; }
  int32_t GetCollisions() const { return FCollisions; }
  void SetCollisions(int32_t Value) { FCollisions = Value; }
  const TNotifyEvent& GetOnChange() const { return FOnChange; }
  // Name is the handler's method name, what a stream writes for it.
  void SetOnChange(TNotifyEvent Value, String Name = String());
  // The method name of OnChange ("" when unnamed or unassigned).
  const String& GetOnChangeName() const { return FOnChangeName; }
  void SetOnChangeName(const String& Value);
  const IPtr<IHashTableOwner>& GetHashTableOwner() const { return FHashTableOwner; }
  void SetHashTableOwner(IPtr<IHashTableOwner> Value) { FHashTableOwner = std::move(Value); }

  // New enumerators over the values and over the keys.
  IPtr<IIterator> Elements();
  IPtr<IIterator> Indices();
  // The first entry of a bucket's chain (null for an empty bucket), for
  // enumerators that walk the table themselves.
  TPelHashtableEntry* BucketHead(uint32_t Bucket) const { return FBuckets[Bucket]; }

 protected:
  // Tells the owner hook, then OnChange, unless an update is open.
  virtual void Change();
  // The bucket of Key, checked to lie among the buckets.
  int32_t BucketOf(void* Key, uint32_t Size);
  // A new entry for Key (from NewHashtableEntry) linked at the head of
  // Bucket and counted; the caller sets its value and notifies.
  TPelHashtableEntry* LinkNewEntry(void* Key, int32_t Bucket);
  // Takes the entry for Key out of Bucket (moving the position cache as a
  // removal does) and returns it for the caller to free; null, with nothing
  // changed, when Key is not there.
  TPelHashtableEntry* UnlinkEntry(void* Key, int32_t Bucket);
  TPelHashtableEnumerator* InternalEnumerator() const { return FEnumerator; }

 private:
  void FreeAllEntries();
  void CacheFirst();
  void CacheStepForward();
  void CacheStepBackward();

  uint32_t FCapacity = 0;
  int32_t FCollisions = 0;
  int32_t FCount = 0;
  TPelHashType FHashType = htDivision;
  TPelHashtableEnumerator* FEnumerator = nullptr;
  TPelHashtableEntry** FBuckets = nullptr;
  TNotifyEvent FOnChange;
  String FOnChangeName;
  int32_t FUpdateCount = 0;
  float FLoadFactor = 0.75f;
  IPtr<IHashTableOwner> FHashTableOwner;
  int32_t FCachePosition = -1;
  TPelHashtableEntry* FCacheEntry = nullptr;
  int32_t FCacheBucket = 0;
};

// Creates tables of any class of the family: Create(InitialCapacity, LoadFactor).
using TPelHashtableClass = TClassOf<TPelCustomHashtable, uint32_t, float>;

// A table with pointer (or object) keys.
class TPelHashtable : public TPelCustomHashtable {
  PEL_CLASS(TPelHashtable, TPelCustomHashtable)
 public:
  using TPelCustomHashtable::TPelCustomHashtable;

  virtual void* Get(void* Key);
  // Returns the value replaced, or null.
  virtual void* Put(void* Key, void* Value);
  virtual void* Remove(void* Key);

  bool ContainsKey(void* Key);
  // Value is the stored value, or null when Key is absent.
  bool ContainsKey(void* Key, void*& Value);
  // Items[Key]: straight to the engine, not through Get and Put.
  void* GetItem(void* Key) { return GetValue(Key); }
  void SetItem(void* Key, void* Value) { PutValue(Key, Value); }
  // The next key of the table's own cursor.
  void* Next();
};

// A table with 32-bit integer keys, stored as pointers (key 0 is invalid).
class TPelHashIntTable : public TPelHashtable {
  PEL_CLASS(TPelHashIntTable, TPelHashtable)
 public:
  using TPelHashtable::ContainsKey;
  using TPelHashtable::Get;
  using TPelHashtable::GetItem;
  using TPelHashtable::Put;
  using TPelHashtable::Remove;
  using TPelHashtable::SetItem;
  using TPelHashtable::TPelHashtable;

  static void* KeyOf(int32_t Key) { return reinterpret_cast<void*>(static_cast<intptr_t>(Key)); }
  static int32_t KeyOf(void* Key) { return static_cast<int32_t>(reinterpret_cast<intptr_t>(Key)); }

  void* Get(int32_t Key) { return Get(KeyOf(Key)); }
  void* Put(int32_t Key, void* Value) { return Put(KeyOf(Key), Value); }
  void* Remove(int32_t Key) { return Remove(KeyOf(Key)); }
  bool ContainsKey(int32_t Key) { return ContainsKey(KeyOf(Key)); }
  bool ContainsKey(int32_t Key, void*& Value) { return ContainsKey(KeyOf(Key), Value); }
  void* GetItem(int32_t Key) { return GetValue(KeyOf(Key)); }
  void SetItem(int32_t Key, void* Value) { PutValue(KeyOf(Key), Value); }
};

// A table with string keys: exact, case-sensitive comparison; the hash
// samples about eight characters of long keys. The empty string is never a
// valid key.
class TPelStringHashtable : public TPelCustomHashtable {
  PEL_CLASS(TPelStringHashtable, TPelCustomHashtable)
 public:
  using TPelCustomHashtable::TPelCustomHashtable;

  TPelHashtableEntry* NewHashtableEntry() override;
  // Key is zero-terminated text.
  int32_t HashCode(void* Key, int32_t Size) override;
  // From a string list: every string with its object as the value (a
  // repeated string keeps the later object), one notification. A list
  // holding an empty string is refused ("Argument is null") before anything
  // changes.
  void Assign(TPersistent* Source) override;
  // To a string list: every key with its value (GetItem) as the object, in
  // enumeration order.
  void AssignTo(TPersistent* Dest) override;

  virtual void* Get(const String& Key);
  virtual void* Put(const String& Key, void* Value);
  virtual void* Remove(const String& Key);

  // False for the empty string.
  bool ContainsKey(const String& Key);
  bool ContainsKey(const String& Key, void*& Value);
  // Items[Key]: straight to the engine, not through Get and Put.
  void* GetItem(const String& Key);
  void SetItem(const String& Key, void* Value);
  // The next key of the table's own cursor.
  String Next();
  String GetKeyByIndex(int32_t Index);

  // Values as pointers; keys as strings.
  IPtr<IIterator> Elements();
  IPtr<IStringIterator> Indices();

  // The folded 32-bit code of a key's characters before the hash method
  // reduces it.
  static uint32_t StringCode(const char* Key);
};

// Walks a table's keys (Keys true) or values, buckets from the top down and
// each chain from its head. Counted by reference when handed out; the
// table's own cursor is one that the table owns outright.
class TPelHashtableEnumerator : public TObject, public TPointerIteratorAdapter {
  PEL_CLASS(TPelHashtableEnumerator, TObject)
 public:
  TPelHashtableEnumerator(TPelCustomHashtable* Table, bool Keys);

  HRESULT QueryInterface(const TGUID& IID, void** Obj) override;
  int32_t AddRef() override;
  int32_t Release() override;
  bool GetInterface(const TGUID& IID, void** Obj) override;

  // The last element handed out (null before the first).
  void* CurrentElementP() override;
  // Elements not yet handed out.
  int32_t GetCount() override;
  bool HasMoreElements() override;
  // "No such element" past the end.
  void* NextElementP() override;
  void Reset() override;

  bool GetKeys() const { return FKeys; }
  void SetKeys(bool Value) { FKeys = Value; }

 private:
  bool FKeys;
  int32_t FBucket = 0;
  TPelCustomHashtable* FTable;
  TPelHashtableEntry* FNextEntry = nullptr;
  std::atomic<int32_t> FRefCount{0};
  void* FCurrent = nullptr;
  int32_t FCount = 0;
};

// The enumerator of string tables: its IStringIterator hands out keys as
// strings (and refuses to hand out values); its IIterator behaves as the
// base's.
class TPelStringHashTableEnumerator : public TPelHashtableEnumerator,
                                      public TStringIteratorAdapter {
  PEL_CLASS(TPelStringHashTableEnumerator, TPelHashtableEnumerator)
 public:
  using TPelHashtableEnumerator::TPelHashtableEnumerator;

  HRESULT QueryInterface(const TGUID& IID, void** Obj) override {
    return TPelHashtableEnumerator::QueryInterface(IID, Obj);
  }
  int32_t AddRef() override { return TPelHashtableEnumerator::AddRef(); }
  int32_t Release() override { return TPelHashtableEnumerator::Release(); }
  bool GetInterface(const TGUID& IID, void** Obj) override;
  int32_t GetCount() override { return TPelHashtableEnumerator::GetCount(); }
  bool HasMoreElements() override { return TPelHashtableEnumerator::HasMoreElements(); }
  void Reset() override { TPelHashtableEnumerator::Reset(); }

  String CurrentElementS() override;
  // "Illegal NextElement Call, must be iterating over the keys" in values mode.
  String NextElementS() override;
};

}  // namespace pel
