// The interface-valued hash tables and their enumerators.
#include <cstring>

#include "interfaces/InterfaceCollections.h"

namespace pel {

namespace {

[[noreturn]] void HashError(const char* Msg) { throw EPelHashtableError(Msg); }

// The key as the text a "No such element: %s" message shows.
[[noreturn]] void NoSuchKey(void* Key) {
  throw EPelHashtableError(SNoSuchElementKey, {static_cast<const char*>(Key)});
}

// The interface slot of an entry of either table.
IPtr<IInterface>& IValueOf(TPelHashtableEntry* Entry) {
  if (auto* e = dynamic_cast<TIHashtableEntry*>(Entry)) return e->IValue;
  return As<TIStringHashtableEntry>(Entry)->IValue;
}

void* Chars(const String& S) { return const_cast<char*>(S.c_str()); }

}  // namespace

namespace detail {

// What both tables do with their interface values; Table is TIHashTable or
// TIStringHashTable, whose protected engine operations this reaches.
template <class Table>
struct TIHashtableOps {
  static IPtr<IInterface> PutValue(Table& T, void* Key, const IPtr<IInterface>& Value) {
    if (!Key) HashError(SArgumentNull);
    if (T.GetHashTableOwner()) T.GetHashTableOwner()->BeforePut(&T, Key, Value.get());
    int32_t i = T.BucketOf(Key, T.GetCapacity());
    IPtr<IInterface> result;
    if (TPelHashtableEntry* e = T.FindEntry(Key)) {
      result = std::exchange(IValueOf(e), Value);
    } else if (T.GetThreshold() > T.GetCount()) {
      IValueOf(T.LinkNewEntry(Key, i)) = Value;
    } else {
      // Without a positive load factor no size would ever be enough.
      if (!(T.GetLoadFactor() > 0)) throw EOutOfMemory(SysConst::SOutOfMemory);
      T.Rehash();
      result = T.PutValue(Key, Value);
    }
    T.Change();  // intended: an insertion that grows the table notifies twice
    return result;
  }

  static IPtr<IInterface> GetValue(Table& T, void* Key) {
    if (T.GetCount() == 0) HashError(STableEmpty);
    TPelHashtableEntry* e = T.FindEntry(Key);
    if (!e) NoSuchKey(Key);
    return IValueOf(e);
  }

  static IPtr<IInterface> RemoveValue(Table& T, void* Key) {
    if (T.GetCount() == 0) HashError(STableEmpty);
    if (!Key) HashError(SArgumentNull);
    if (T.GetHashTableOwner()) T.GetHashTableOwner()->BeforeRemove(&T, Key);
    TPelHashtableEntry* e = T.UnlinkEntry(Key, T.BucketOf(Key, T.GetCapacity()));
    if (!e) NoSuchKey(Key);
    IPtr<IInterface> result = std::move(IValueOf(e));
    Free(e);
    T.Change();
    return result;
  }

  static bool ContainsKey(Table& T, void* Key, IPtr<IInterface>& Value) {
    TPelHashtableEntry* e = nullptr;
    bool found = T.HasKey(Key, e);
    Value = found ? IValueOf(e) : nullptr;
    return found;
  }

  // Every key of Source with its interface, in enumeration order.
  static void PutAll(Table& T, Table& Source) {
    Owned<TPelHashtableEnumerator> keys(New<TPelHashtableEnumerator>(&Source, true));
    while (keys->HasMoreElements()) {
      void* k = keys->NextElementP();
      T.PutValue(k, GetValue(Source, k));
    }
  }
};

}  // namespace detail

// ---------------------------------------------------------------------------
// TIHashTable

using TIOps = detail::TIHashtableOps<TIHashTable>;
using TIStringOps = detail::TIHashtableOps<TIStringHashTable>;

TPelHashtableEntry* TIHashTable::NewHashtableEntry() { return New<TIHashtableEntry>(); }

IPtr<IInterface> TIHashTable::PutValue(void* Key, const IPtr<IInterface>& Value) {
  return TIOps::PutValue(*this, Key, Value);
}

IPtr<IInterface> TIHashTable::Get(void* Key) { return TIOps::GetValue(*this, Key); }

IPtr<IInterface> TIHashTable::Remove(void* Key) { return TIOps::RemoveValue(*this, Key); }

bool TIHashTable::ContainsKey(void* Key, IPtr<IInterface>& Value) {
  return TIOps::ContainsKey(*this, Key, Value);
}

IPtr<IInterface> TIHashTable::GetItemByIndex(int32_t Index) { return IValueOf(GoToEntry(Index)); }

IPtr<IInterfaceIterator> TIHashTable::Elements() {
  return IPtr<IInterfaceIterator>(New<TIHashtableEnumerator>(this));
}

void TIHashTable::Assign(TPersistent* Source) {
  auto* src = dynamic_cast<TIHashTable*>(Source);
  if (!src) {
    TPelCustomHashtable::Assign(Source);
    return;
  }
  if (src == this) return;
  Updating(this, [&] {
    Clear();
    SetLoadFactor(src->GetLoadFactor());
    SetCapacity(src->GetCapacity());
    SetHashType(src->GetHashType());
    TIOps::PutAll(*this, *src);
  });
}

// ---------------------------------------------------------------------------
// TIStringHashTable

TPelHashtableEntry* TIStringHashTable::NewHashtableEntry() { return New<TIStringHashtableEntry>(); }

IPtr<IInterface> TIStringHashTable::PutValue(void* Key, const IPtr<IInterface>& Value) {
  return TIStringOps::PutValue(*this, Key, Value);
}

IPtr<IInterface> TIStringHashTable::Put(const String& Key, const IPtr<IInterface>& Value) {
  return PutValue(Chars(Key), Value);
}

IPtr<IInterface> TIStringHashTable::GetIntf(const String& Key) {
  return TIStringOps::GetValue(*this, Chars(Key));
}

IPtr<IInterface> TIStringHashTable::RemoveIntf(const String& Key) {
  return TIStringOps::RemoveValue(*this, Chars(Key));
}

bool TIStringHashTable::ContainsKey(const String& Key, IPtr<IInterface>& Value) {
  if (Key.empty()) {
    Value = nullptr;
    return false;
  }
  return TIStringOps::ContainsKey(*this, Chars(Key), Value);
}

IPtr<IInterface> TIStringHashTable::GetItemByIndex(int32_t Index) {
  return IValueOf(GoToEntry(Index));
}

IPtr<IInterfaceIterator> TIStringHashTable::Elements() {
  return IPtr<IInterfaceIterator>(New<TIStringHashtableEnumerator>(this));
}

// The settings come first, before the table is cleared: a non-empty table
// with another hash method raises and keeps its contents (intended).
void TIStringHashTable::Assign(TPersistent* Source) {
  auto* src = dynamic_cast<TIStringHashTable*>(Source);
  if (!src) {
    TPelStringHashtable::Assign(Source);
    return;
  }
  if (src == this) return;
  SetLoadFactor(src->GetLoadFactor());
  SetCapacity(src->GetCapacity());
  SetHashType(src->GetHashType());
  Clear();
  SetLoadFactor(src->GetLoadFactor());
  SetCapacity(src->GetCapacity());
  Updating(this, [&] { TIStringOps::PutAll(*this, *src); });
}

// ---------------------------------------------------------------------------
// Enumerators

TIHashtableEnumerator::TIHashtableEnumerator(TPelCustomHashtable* Table) : FTable(Table) {
  Reset();
}

bool TIHashtableEnumerator::GetInterface(const TGUID& IID, void** Obj) {
  return GetInterfaceOf<TIHashtableEnumerator, IIterator, IInterfaceIterator>(this, IID, Obj);
}

void TIHashtableEnumerator::Reset() {
  FNextEntry = nullptr;
  FCurrentEntry = nullptr;
  FBucket = static_cast<int32_t>(FTable->GetCapacity());
  FCount = FTable->GetCount();
}

bool TIHashtableEnumerator::HasMoreElements() {
  if (FNextEntry) return true;
  // The table may have shrunk since the last Reset.
  if (static_cast<int64_t>(FBucket) > static_cast<int64_t>(FTable->GetCapacity()))
    FBucket = static_cast<int32_t>(FTable->GetCapacity());
  while (FBucket > 0) {
    --FBucket;
    FNextEntry = FTable->BucketHead(static_cast<uint32_t>(FBucket));
    if (FNextEntry) return true;
  }
  return false;
}

TPelHashtableEntry* TIHashtableEnumerator::NextEntry() {
  if (!FNextEntry && !HasMoreElements()) {
    FCurrentEntry = nullptr;
    return nullptr;
  }
  FCurrentEntry = FNextEntry;
  FNextEntry = FCurrentEntry->GetNext();
  --FCount;
  return FCurrentEntry;
}

TPelHashtableEntry* TIHashtableEnumerator::CurrentEntry() {
  if (!FCurrentEntry) HashError(SNoSuchElement);
  return FCurrentEntry;
}

IPtr<IInterface> TIHashtableEnumerator::ValueOf(TPelHashtableEntry* Entry) {
  return IValueOf(Entry);
}

IPtr<IInterface> TIHashtableEnumerator::CurrentElementI() { return ValueOf(CurrentEntry()); }

IPtr<IInterface> TIHashtableEnumerator::NextElementI() {
  TPelHashtableEntry* e = NextEntry();
  if (!e) HashError(SNoSuchElement);
  return ValueOf(e);
}

void* TIHashtableEnumerator::CurrentKey() { return CurrentEntry()->GetKey(); }

void* TIHashtableEnumerator::NextKey() {
  TPelHashtableEntry* e = NextEntry();
  if (!e) HashError(SNoSuchElement);
  return e->GetKey();
}

bool TIStringHashtableEnumerator::GetInterface(const TGUID& IID, void** Obj) {
  return GetInterfaceOf<TIStringHashtableEnumerator, IStringIterator, IInterfaceIterator>(this, IID,
                                                                                          Obj);
}

String TIStringHashtableEnumerator::CurrentElementS() {
  return static_cast<const char*>(CurrentKey());
}

String TIStringHashtableEnumerator::NextElementS() { return static_cast<const char*>(NextKey()); }

}  // namespace pel
