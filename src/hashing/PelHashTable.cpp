#include "hashing/PelHashTable.h"

#include <cmath>
#include <cstring>
#include <new>
#include <vector>

#include "lists/PelLists.h"
#include "platform/RTLConsts.h"

namespace pel {

namespace {

[[noreturn]] void HashError(const char* Msg) { throw EPelHashtableError(Msg); }

// The key as the 32-bit integer the hash methods work on: the low 32 bits
// of the pointer.
int32_t KeyBits(void* Key) {
  return static_cast<int32_t>(static_cast<uint32_t>(reinterpret_cast<uintptr_t>(Key)));
}

constexpr uint32_t kPow10[10] = {1,      10,      100,      1000,      10000,
                                 100000, 1000000, 10000000, 100000000, 1000000000};

// Number of decimal digits of V ("0" has one).
int32_t DecimalDigits(uint32_t V) {
  int32_t n = 1;
  while (n < 10 && V >= kPow10[n]) ++n;
  return n;
}

// Length of the decimal text of a signed value, sign included.
int32_t TextLength(int32_t V) {
  if (V >= 0) return DecimalDigits(static_cast<uint32_t>(V));
  return 1 + DecimalDigits(static_cast<uint32_t>(-static_cast<int64_t>(V)));
}

// The signed remainder with Size as the divisor; a table without buckets
// divides by zero.
int32_t Reduce(uint32_t V, int32_t Size) {
  if (Size == 0) throw EDivByZero(SysConst::SDivByZero);
  return static_cast<int32_t>(static_cast<int64_t>(V) % Size);
}

}  // namespace

// ---------------------------------------------------------------------------
// Entries

void* TPelHashtableEntry::GetKey() { return FKey; }

void TPelHashtableEntry::SetKey(void* Key) { FKey = Key; }

bool TPelHashtableEntry::KeyEquals(void* Key) { return FKey == Key; }

void* TPelStringHashtableEntry::GetKey() { return const_cast<char*>(FKeyString.c_str()); }

void TPelStringHashtableEntry::SetKey(void* Key) {
  FKeyString.assign(Key ? static_cast<const char*>(Key) : "");
}

bool TPelStringHashtableEntry::KeyEquals(void* Key) {
  // Both sides are zero-terminated text without inner zeros, so equal
  // bytes up to the terminator mean equal strings.
  return Key && std::strcmp(FKeyString.c_str(), static_cast<const char*>(Key)) == 0;
}

// ---------------------------------------------------------------------------
// Construction and destruction

TPelCustomHashtable::TPelCustomHashtable(uint32_t InitialCapacity, float LoadFactor)
    : FLoadFactor(LoadFactor) {
  FEnumerator = New<TPelHashtableEnumerator>(this, true);
  SetCapacity(InitialCapacity);
  ClearCache();
}

TPelCustomHashtable::~TPelCustomHashtable() {
  FreeAllEntries();
  delete[] FBuckets;
  Free(FEnumerator);
}

void TPelCustomHashtable::BeforeDestruction() {
  FOnChange = nullptr;
  FOnChangeName.clear();
  Clear();
  SetCapacity(0);
  TPersistent::BeforeDestruction();
}

void TPelCustomHashtable::FreeAllEntries() {
  if (!FBuckets) return;
  for (uint32_t b = FCapacity; b > 0; --b) {
    TPelHashtableEntry* e = FBuckets[b - 1];
    FBuckets[b - 1] = nullptr;
    while (e) {
      TPelHashtableEntry* next = e->FNext;
      Free(e);
      e = next;
    }
  }
}

// ---------------------------------------------------------------------------
// Hashing

int32_t TPelCustomHashtable::HashCode(void* Key, int32_t Size) {
  if (!Key) HashError(SArgumentNull);
  switch (FHashType) {
    case htTruncation:
      return TruncationHash(Key, Size);
    case htDivision:
      return DivisionHash(Key, Size);
    case htMidSquare:
      return MidSquareHash(Key, Size);
    case htFolding:
      return FoldingHash(Key, Size);
  }
  HashError(SSubscriptOutOfRange);
}

int32_t TPelCustomHashtable::DivisionHash(void* Key, int32_t Size) {
  return Reduce(static_cast<uint32_t>(KeyBits(Key)) & 0x7FFFFFFFu, Size);
}

// The last d decimal digits of the key, d being the number of digits of
// Size; all of them when the key is shorter.
int32_t TPelCustomHashtable::TruncationHash(void* Key, int32_t Size) {
  uint32_t v = static_cast<uint32_t>(KeyBits(Key)) & 0x7FFFFFFFu;
  int32_t d = TextLength(Size);
  if (d < DecimalDigits(v)) v %= kPow10[d];
  return Reduce(v, Size);
}

// d digits from the middle of the squared key. The whole square is used
// when d reaches half its length (not its length): intended.
int32_t TPelCustomHashtable::MidSquareHash(void* Key, int32_t Size) {
  uint32_t k = static_cast<uint32_t>(KeyBits(Key));
  uint32_t sq = (k * k) & 0x7FFFFFFFu;
  int32_t d = TextLength(Size);
  int32_t h = DecimalDigits(sq) / 2;
  if (d < h) sq = (sq / kPow10[h - d]) % kPow10[d];
  return Reduce(sq, Size);
}

// The first digit, then every digit at an even position or one divisible by
// three. The first digit thus stands twice at the front: intended.
int32_t TPelCustomHashtable::FoldingHash(void* Key, int32_t Size) {
  uint32_t v = static_cast<uint32_t>(KeyBits(Key)) & 0x7FFFFFFFu;
  // Digits, most significant first (division by a constant stays cheap).
  uint8_t digits[10];
  int32_t m = 0;
  do {
    digits[9 - m++] = static_cast<uint8_t>(v % 10);
    v /= 10;
  } while (v != 0);
  const uint8_t* s = digits + 10 - m;
  uint32_t t = s[0];
  for (int32_t i = 0; i < m; ++i) {
    if (i % 2 == 0 || i % 3 == 0) t = t * 10 + s[i];
  }
  return Reduce(t, Size);
}

int32_t TPelCustomHashtable::BucketOf(void* Key, uint32_t Size) {
  int32_t i = HashCode(Key, static_cast<int32_t>(Size));
  // A descendant's hash beyond the buckets is refused like a negative one.
  if (i < 0 || static_cast<uint32_t>(i) >= Size) HashError(SSubscriptOutOfRange);
  return i;
}

// ---------------------------------------------------------------------------
// Capacity and settings

int32_t TPelCustomHashtable::GetThreshold() const {
  // nearbyint rounds ties to even in the default rounding mode.
  double t = std::nearbyint(static_cast<double>(FCapacity) * static_cast<double>(FLoadFactor));
  // A threshold beyond the 32-bit range is held at its limit.
  if (std::isnan(t) || t >= 2147483647.0) return INT32_MAX;
  if (t <= -2147483648.0) return INT32_MIN;
  return static_cast<int32_t>(t);
}

void TPelCustomHashtable::Rehash() {
  uint64_t v = static_cast<uint64_t>(FCapacity) * 2 + 1;
  if (v > static_cast<uint64_t>(INT32_MAX)) throw EOutOfMemory(SysConst::SOutOfMemory);
  SetCapacity(static_cast<uint32_t>(v));
}

void TPelCustomHashtable::SetCapacity(uint32_t Value) {
  ClearCache();
  if (Value == FCapacity) return;
  if (Value == 0) {
    // Entries still linked are owned by nobody else: free them with the
    // buckets rather than leak them.
    FreeAllEntries();
    delete[] FBuckets;
    FBuckets = nullptr;
    FCapacity = 0;
    FCollisions = 0;
    FCount = 0;
    return;
  }
  const uint32_t oldCapacity = FCapacity;
  const uint32_t n = FCount == 0 ? 0 : oldCapacity;
  // The new size is in place while the entries are hashed into it, so that a
  // descendant's HashCode reading Capacity sees it. Every entry is hashed
  // before anything moves, so that a failing hash leaves the table as it
  // was; the moves then run down a flat array instead of the chains.
  struct TMove {
    TPelHashtableEntry* Entry;
    int32_t Bucket;
  };
  std::vector<TMove> moves;
  TPelHashtableEntry** buckets;
  FCapacity = Value;
  try {
    moves.reserve(static_cast<size_t>(FCount));
    for (uint32_t b = n; b > 0; --b)
      for (TPelHashtableEntry* e = FBuckets[b - 1]; e; e = e->FNext)
        moves.push_back({e, BucketOf(e->GetKey(), Value)});
    buckets = new TPelHashtableEntry*[Value]();
  } catch (const std::bad_alloc&) {
    FCapacity = oldCapacity;
    throw EOutOfMemory(SysConst::SOutOfMemory);
  } catch (...) {
    FCapacity = oldCapacity;
    throw;
  }
  TPelHashtableEntry** old = FBuckets;
  FBuckets = buckets;
  FCollisions = 0;
  for (const TMove& m : moves) {
    TPelHashtableEntry* e = m.Entry;
    e->FIndex = m.Bucket;
    e->FNext = buckets[m.Bucket];
    buckets[m.Bucket] = e;
    if (e->FNext) ++FCollisions;
  }
  delete[] old;
}

void TPelCustomHashtable::SetHashType(TPelHashType Value) {
  if (Value != FHashType && FCount > 0) HashError(SNonEmptyTable);
  FHashType = Value;
}

void TPelCustomHashtable::SetLoadFactor(float Value) {
  // Rejects only what compares with neither bound (NaN); any number passes.
  // The permissive test is intended.
  if (!(Value >= 0.0) && !(0.1 >= Value)) HashError(SLoadFactorRange);
  if (Value != FLoadFactor) FLoadFactor = Value;
}

// ---------------------------------------------------------------------------
// Lookup

bool TPelCustomHashtable::HasKey(void* Key, TPelHashtableEntry*& Entry) {
  Entry = FindEntry(Key);
  return Entry != nullptr;
}

bool TPelCustomHashtable::HasKey(void* Key) {
  TPelHashtableEntry* e;
  return HasKey(Key, e);
}

TPelHashtableEntry* TPelCustomHashtable::FindEntry(void* Key) {
  if (FCount == 0) return nullptr;
  if (!Key) HashError(SArgumentNull);
  int32_t i = BucketOf(Key, FCapacity);
  for (TPelHashtableEntry* e = FBuckets[i]; e; e = e->FNext)
    if (e->FIndex == i && e->KeyEquals(Key)) return e;
  return nullptr;
}

void* TPelCustomHashtable::GetValue(void* Key) {
  if (FCount == 0) HashError(STableEmpty);
  TPelHashtableEntry* e = FindEntry(Key);
  if (!e) HashError(SNoSuchElement);
  return e->FValue;
}

bool TPelCustomHashtable::ContainsItem(void* Value) {
  if (FCount == 0) return false;
  for (uint32_t b = FCapacity; b > 0; --b)
    for (TPelHashtableEntry* e = FBuckets[b - 1]; e; e = e->FNext)
      if (e->FValue == Value) return true;
  return false;
}

// ---------------------------------------------------------------------------
// Put, remove, clear

TPelHashtableEntry* TPelCustomHashtable::NewHashtableEntry() { return New<TPelHashtableEntry>(); }

void* TPelCustomHashtable::PutValue(void* Key, void* Value) {
  if (!Key) HashError(SArgumentNull);
  if (FHashTableOwner) FHashTableOwner->BeforePut(this, Key, Value);
  int32_t i = BucketOf(Key, FCapacity);
  for (TPelHashtableEntry* e = FBuckets[i]; e; e = e->FNext) {
    if (e->FIndex == i && e->KeyEquals(Key)) {
      void* old = e->FValue;
      e->FValue = Value;
      Change();
      return old;
    }
  }
  if (GetThreshold() <= FCount) {
    // Without a positive load factor no size would ever be enough.
    if (!(FLoadFactor > 0)) throw EOutOfMemory(SysConst::SOutOfMemory);
    Rehash();
    void* result = PutValue(Key, Value);
    Change();  // intended: an insertion that grows the table notifies twice
    return result;
  }
  LinkNewEntry(Key, i)->FValue = Value;
  Change();
  return nullptr;
}

TPelHashtableEntry* TPelCustomHashtable::LinkNewEntry(void* Key, int32_t Bucket) {
  TPelHashtableEntry* e = NewHashtableEntry();
  try {
    e->SetKey(Key);
  } catch (...) {
    Free(e);
    throw;
  }
  e->FIndex = Bucket;
  e->FNext = FBuckets[Bucket];
  FBuckets[Bucket] = e;
  ++FCount;
  if (e->FNext) ++FCollisions;
  // Insertions into the cached bucket or above keep the cache: intended,
  // although a new head in the cached bucket shifts the later positions.
  if (FCachePosition >= 0 && Bucket < FCacheBucket) ClearCache();
  return e;
}

TPelHashtableEntry* TPelCustomHashtable::UnlinkEntry(void* Key, int32_t Bucket) {
  TPelHashtableEntry* prev = nullptr;
  for (TPelHashtableEntry* e = FBuckets[Bucket]; e; prev = e, e = e->FNext) {
    if (e->FIndex != Bucket || !e->KeyEquals(Key)) continue;
    if (FCachePosition > 0 && e == FCacheEntry && FCount > 1)
      GoToEntry(FCachePosition - 1);
    else
      ClearCache();
    if (prev) {
      prev->FNext = e->FNext;
      --FCollisions;
    } else {
      FBuckets[Bucket] = e->FNext;
      if (e->FNext) --FCollisions;
    }
    --FCount;
    return e;
  }
  return nullptr;
}

void* TPelCustomHashtable::RemoveValue(void* Key) {
  if (FCount == 0) HashError(STableEmpty);
  if (!Key) HashError(SArgumentNull);
  if (FHashTableOwner) FHashTableOwner->BeforeRemove(this, Key);
  TPelHashtableEntry* e = UnlinkEntry(Key, BucketOf(Key, FCapacity));
  if (!e) HashError(SNoSuchElement);
  void* value = e->FValue;
  Free(e);
  Change();
  return value;
}

void TPelCustomHashtable::Clear() {
  if (FCount == 0) return;
  if (FHashTableOwner) FHashTableOwner->BeforeClear(this);
  ClearCache();
  FreeAllEntries();
  FCount = 0;
  FCollisions = 0;
  Change();
}

// ---------------------------------------------------------------------------
// Positions

void TPelCustomHashtable::ClearCache() {
  FCachePosition = -1;
  FCacheEntry = nullptr;
  FCacheBucket = 0;
}

void TPelCustomHashtable::CacheFirst() {
  uint32_t b = 0;
  while (b < FCapacity && !FBuckets[b]) ++b;
  if (b >= FCapacity) RaiseAccessViolation();
  FCacheBucket = static_cast<int32_t>(b);
  FCacheEntry = FBuckets[b];
  FCachePosition = 0;
}

// A step that runs out of buckets means the cache no longer matches the
// table (see PutValue); it is refused instead of read past the buckets.
void TPelCustomHashtable::CacheStepForward() {
  if (FCacheEntry->FNext) {
    FCacheEntry = FCacheEntry->FNext;
  } else {
    uint32_t b = static_cast<uint32_t>(FCacheBucket) + 1;
    while (b < FCapacity && !FBuckets[b]) ++b;
    if (b >= FCapacity) RaiseAccessViolation();
    FCacheBucket = static_cast<int32_t>(b);
    FCacheEntry = FBuckets[b];
  }
  ++FCachePosition;
}

void TPelCustomHashtable::CacheStepBackward() {
  TPelHashtableEntry* head = FBuckets[FCacheBucket];
  if (head != FCacheEntry) {
    TPelHashtableEntry* e = head;
    while (e && e->FNext != FCacheEntry) e = e->FNext;
    if (!e) RaiseAccessViolation();
    FCacheEntry = e;
  } else {
    int32_t b = FCacheBucket - 1;
    while (b >= 0 && !FBuckets[b]) --b;
    if (b < 0) RaiseAccessViolation();
    TPelHashtableEntry* e = FBuckets[b];
    while (e->FNext) e = e->FNext;
    FCacheBucket = b;
    FCacheEntry = e;
  }
  --FCachePosition;
}

TPelHashtableEntry* TPelCustomHashtable::GoToEntry(int32_t Index) {
  if (!(Index >= 0 && Index < FCount)) throw EListError(Format(SListIndexError, {Index}));
  if (FCachePosition < 0) CacheFirst();
  if (Index == FCachePosition) return FCacheEntry;
  if (Index == FCachePosition + 1) {
    CacheStepForward();
  } else if (Index == FCachePosition - 1) {
    CacheStepBackward();
  } else {
    if (Index < FCachePosition) CacheFirst();
    while (FCachePosition < Index) CacheStepForward();
  }
  return FCacheEntry;
}

void* TPelCustomHashtable::GetItemByIndex(int32_t Index) { return GoToEntry(Index)->FValue; }

void* TPelCustomHashtable::GetKeyByIndex(int32_t Index) { return GoToEntry(Index)->GetKey(); }

// ---------------------------------------------------------------------------
// Notification

void TPelCustomHashtable::Change() {
  if (FUpdateCount >= 1) return;
  if (FHashTableOwner) FHashTableOwner->TableChanged(this);
  if (FOnChange) FOnChange(this);
}

void TPelCustomHashtable::BeginUpdate() { ++FUpdateCount; }

void TPelCustomHashtable::EndUpdate() {
  --FUpdateCount;
  if (FUpdateCount == 0) Change();
}

void TPelCustomHashtable::SetOnChange(TNotifyEvent Value, String Name) {
  FOnChange = std::move(Value);
  FOnChangeName = FOnChange ? std::move(Name) : String();
}

void TPelCustomHashtable::SetOnChangeName(const String& Value) {
  if (Value.empty()) FOnChange = nullptr;
  FOnChangeName = Value;
}

// ---------------------------------------------------------------------------
// Enumeration

void* TPelCustomHashtable::NextElement() { return FEnumerator->NextElementP(); }

void TPelCustomHashtable::Reset() { FEnumerator->Reset(); }

bool TPelCustomHashtable::GetEOT() { return !FEnumerator->HasMoreElements(); }

IPtr<IIterator> TPelCustomHashtable::Elements() {
  return IPtr<IIterator>(New<TPelHashtableEnumerator>(this, false));
}

IPtr<IIterator> TPelCustomHashtable::Indices() {
  return IPtr<IIterator>(New<TPelHashtableEnumerator>(this, true));
}

// ---------------------------------------------------------------------------
// Copying

void TPelCustomHashtable::Assign(TPersistent* Source) {
  auto* src = dynamic_cast<TPelCustomHashtable*>(Source);
  if (!src) {
    TPersistent::Assign(Source);
    return;
  }
  if (src == this) return;
  Owned<TPelHashtableEnumerator> keys(New<TPelHashtableEnumerator>(src, true));
  Clear();
  SetLoadFactor(src->FLoadFactor);
  SetCapacity(src->FCapacity);
  SetHashType(src->FHashType);
  Updating(this, [&] {
    while (keys->HasMoreElements()) {
      void* k = keys->NextElementP();
      PutValue(k, src->GetValue(k));
    }
  });
}

// A linked list receives the keys (not the values) as its items.
void TPelCustomHashtable::AssignTo(TPersistent* Dest) {
  auto* list = dynamic_cast<TPelCustomLinkedList*>(Dest);
  if (!list) {
    TPersistent::AssignTo(Dest);
    return;
  }
  Owned<TPelHashtableEnumerator> keys(New<TPelHashtableEnumerator>(this, true));
  Updating(list, [&] {
    list->Clear();
    while (keys->HasMoreElements()) list->Add(static_cast<TObject*>(keys->NextElementP()));
  });
}

// ---------------------------------------------------------------------------
// Pointer and integer keys

void* TPelHashtable::Get(void* Key) { return GetValue(Key); }

void* TPelHashtable::Put(void* Key, void* Value) { return PutValue(Key, Value); }

void* TPelHashtable::Remove(void* Key) { return RemoveValue(Key); }

bool TPelHashtable::ContainsKey(void* Key) { return HasKey(Key); }

bool TPelHashtable::ContainsKey(void* Key, void*& Value) {
  TPelHashtableEntry* e;
  bool found = HasKey(Key, e);
  Value = found ? e->FValue : nullptr;
  return found;
}

void* TPelHashtable::Next() {
  InternalEnumerator()->SetKeys(true);
  return NextElement();
}

// ---------------------------------------------------------------------------
// String keys

namespace {
void* Chars(const String& S) { return const_cast<char*>(S.c_str()); }
String TextOf(void* P) { return P ? String(static_cast<const char*>(P)) : String(); }
}  // namespace

TPelHashtableEntry* TPelStringHashtable::NewHashtableEntry() {
  return New<TPelStringHashtableEntry>();
}

uint32_t TPelStringHashtable::StringCode(const char* Key) {
  size_t len = std::strlen(Key);
  const auto* s = reinterpret_cast<const unsigned char*>(Key);
  uint32_t h = 0;
  if (len >= 16) {
    // About eight characters, starting with the first.
    size_t step = len / 8;
    for (size_t i = 0; i < len; i += step) h = h * 39 + s[i];
  } else {
    for (size_t i = 0; i < len; ++i) h = h * 37 + s[i];
  }
  return h;
}

int32_t TPelStringHashtable::HashCode(void* Key, int32_t Size) {
  if (!Key) HashError(SArgumentNull);
  uint32_t h = StringCode(static_cast<const char*>(Key));
  return TPelCustomHashtable::HashCode(reinterpret_cast<void*>(static_cast<uintptr_t>(h)), Size);
}

void TPelStringHashtable::Assign(TPersistent* Source) {
  auto* list = dynamic_cast<TStrings*>(Source);
  if (!list) {
    TPelCustomHashtable::Assign(Source);
    return;
  }
  const int32_t n = list->GetCount();
  for (int32_t i = 0; i < n; ++i)
    if (list->Get(i).empty()) HashError(SArgumentNull);
  Updating(this, [&] {
    Clear();
    for (int32_t i = 0; i < n; ++i) Put(list->Get(i), list->GetObject(i));
  });
}

void TPelStringHashtable::AssignTo(TPersistent* Dest) {
  auto* list = dynamic_cast<TStrings*>(Dest);
  if (!list) {
    TPelCustomHashtable::AssignTo(Dest);
    return;
  }
  Owned<TPelHashtableEnumerator> keys(New<TPelHashtableEnumerator>(this, true));
  Updating(list, [&] {
    list->Clear();
    while (keys->HasMoreElements()) {
      String key = TextOf(keys->NextElementP());
      list->AddObject(key, static_cast<TObject*>(GetItem(key)));
    }
  });
}

void* TPelStringHashtable::Get(const String& Key) { return GetValue(Chars(Key)); }

void* TPelStringHashtable::Put(const String& Key, void* Value) {
  return PutValue(Chars(Key), Value);
}

void* TPelStringHashtable::Remove(const String& Key) { return RemoveValue(Chars(Key)); }

void* TPelStringHashtable::GetItem(const String& Key) { return GetValue(Chars(Key)); }

void TPelStringHashtable::SetItem(const String& Key, void* Value) { PutValue(Chars(Key), Value); }

bool TPelStringHashtable::ContainsKey(const String& Key) {
  return !Key.empty() && HasKey(Chars(Key));
}

bool TPelStringHashtable::ContainsKey(const String& Key, void*& Value) {
  TPelHashtableEntry* e = nullptr;
  bool found = !Key.empty() && HasKey(Chars(Key), e);
  Value = found ? e->FValue : nullptr;
  return found;
}

String TPelStringHashtable::Next() {
  InternalEnumerator()->SetKeys(true);
  return TextOf(NextElement());
}

String TPelStringHashtable::GetKeyByIndex(int32_t Index) {
  return TextOf(TPelCustomHashtable::GetKeyByIndex(Index));
}

IPtr<IIterator> TPelStringHashtable::Elements() {
  return IPtr<IIterator>(New<TPelStringHashTableEnumerator>(this, false));
}

IPtr<IStringIterator> TPelStringHashtable::Indices() {
  return IPtr<IStringIterator>(New<TPelStringHashTableEnumerator>(this, true));
}

// ---------------------------------------------------------------------------
// Enumerators

TPelHashtableEnumerator::TPelHashtableEnumerator(TPelCustomHashtable* Table, bool Keys)
    : FKeys(Keys), FTable(Table) {
  Reset();
}

HRESULT TPelHashtableEnumerator::QueryInterface(const TGUID& IID, void** Obj) {
  void* out = nullptr;
  if (!GetInterface(IID, &out)) return E_NOINTERFACE;
  AddRef();
  *Obj = out;
  return S_OK;
}

int32_t TPelHashtableEnumerator::AddRef() { return ++FRefCount; }

int32_t TPelHashtableEnumerator::Release() {
  int32_t n = --FRefCount;
  if (n == 0) Free(this);
  return n;
}

bool TPelHashtableEnumerator::GetInterface(const TGUID& IID, void** Obj) {
  return GetInterfaceOf<TPelHashtableEnumerator, IIterator>(this, IID, Obj);
}

void* TPelHashtableEnumerator::CurrentElementP() { return FCurrent; }

int32_t TPelHashtableEnumerator::GetCount() { return FCount; }

void TPelHashtableEnumerator::Reset() {
  FNextEntry = nullptr;
  FBucket = static_cast<int32_t>(FTable->FCapacity);
  FCount = FTable->FCount;
}

bool TPelHashtableEnumerator::HasMoreElements() {
  if (FNextEntry) return true;
  // The table may have shrunk since the last Reset.
  if (static_cast<int64_t>(FBucket) > static_cast<int64_t>(FTable->FCapacity))
    FBucket = static_cast<int32_t>(FTable->FCapacity);
  while (FBucket > 0) {
    --FBucket;
    FNextEntry = FTable->FBuckets[FBucket];
    if (FNextEntry) return true;
  }
  return false;
}

void* TPelHashtableEnumerator::NextElementP() {
  if (!FNextEntry && !HasMoreElements()) HashError(SNoSuchElement);
  TPelHashtableEntry* e = FNextEntry;
  void* element = FKeys ? e->GetKey() : e->FValue;
  FNextEntry = e->FNext;
  FCurrent = element;
  --FCount;
  return element;
}

bool TPelStringHashTableEnumerator::GetInterface(const TGUID& IID, void** Obj) {
  return GetInterfaceOf<TPelStringHashTableEnumerator, IIterator, IStringIterator>(this, IID, Obj);
}

// In values mode the current value is read as text too.
String TPelStringHashTableEnumerator::CurrentElementS() { return TextOf(CurrentElementP()); }

String TPelStringHashTableEnumerator::NextElementS() {
  if (!GetKeys()) HashError(SIllegalNextElement);
  return TextOf(NextElementP());
}

}  // namespace pel
