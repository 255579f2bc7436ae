#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <random>
#include <set>
#include <string>
#include <vector>

#include "hashing/PelHashTable.h"
#include "lists/PelLists.h"

using namespace pel;

namespace {

void* P(intptr_t v) { return reinterpret_cast<void*>(v); }
intptr_t I(void* p) { return reinterpret_cast<intptr_t>(p); }

// Expects Body to raise exception class E with exactly Message.
#define EXPECT_RAISES(E, Msg, Body)                                      \
  do {                                                                   \
    try {                                                                \
      Body;                                                              \
      ADD_FAILURE() << "no exception from " #Body;                       \
    } catch (const E& e) {                                               \
      EXPECT_EQ(std::string(Msg), e.Message()) << #Body;                 \
    } catch (const std::exception& e) {                                  \
      ADD_FAILURE() << "wrong exception " << e.what() << " from " #Body; \
    }                                                                    \
  } while (0)

// A table whose hash methods can be called from the tests.
class TProbeTable : public TPelHashtable {
  PEL_CLASS(TProbeTable, TPelHashtable)
 public:
  using TPelHashtable::TPelHashtable;
  int32_t ForcedBucket = 0;  // nonzero: hash every key there (-1 for negative)
  int32_t HashCode(void* Key, int32_t Size) override {
    if (ForcedBucket != 0 && Key) return ForcedBucket;
    return TPelHashtable::HashCode(Key, Size);
  }
};

// The digit-based methods done the plain way, through decimal text.
int32_t TextTruncation(int32_t K, int32_t Size) {
  String s = IntToStr(static_cast<int32_t>(K & 0x7FFFFFFF));
  size_t d = IntToStr(Size).size();
  if (d < s.size()) s = s.substr(s.size() - d);
  return StrToInt(s) % Size;
}
int32_t TextMidSquare(int32_t K, int32_t Size) {
  uint32_t sq = static_cast<uint32_t>(K) * static_cast<uint32_t>(K);
  String s = IntToStr(static_cast<int32_t>(sq & 0x7FFFFFFF));
  size_t d = IntToStr(Size).size(), m = s.size(), h = m / 2;
  if (d < h) s = s.substr(m - h, d);
  return StrToInt(s) % Size;
}
int32_t TextFolding(int32_t K, int32_t Size) {
  String s = IntToStr(static_cast<int32_t>(K & 0x7FFFFFFF));
  String t(1, s[0]);
  for (size_t i = 0; i < s.size(); ++i)
    if (i % 2 == 0 || i % 3 == 0) t += s[i];
  return StrToInt(t) % Size;
}

// Records the owner hook's calls and OnChange in one log.
class TOwnerLog : public TInterfacedObject, public IHashTableOwner {
  PEL_CLASS(TOwnerLog, TInterfacedObject)
 public:
  HRESULT QueryInterface(const TGUID& IID, void** Obj) override {
    return TInterfacedObject::QueryInterface(IID, Obj);
  }
  int32_t AddRef() override { return TInterfacedObject::AddRef(); }
  int32_t Release() override { return TInterfacedObject::Release(); }
  bool GetInterface(const TGUID& IID, void** Obj) override {
    return GetInterfaceOf<TOwnerLog, IHashTableOwner>(this, IID, Obj);
  }
  void TableChanged(TPelCustomHashtable*) override { Log += "changed "; }
  void BeforePut(TPelCustomHashtable* T, void* K, void*) override {
    Log += "put" + std::to_string(I(K)) + "@" + std::to_string(T->GetCount()) + " ";
  }
  void BeforeRemove(TPelCustomHashtable*, void* K) override {
    Log += "remove" + std::to_string(I(K)) + " ";
  }
  void BeforeClear(TPelCustomHashtable*) override { Log += "clear "; }
  std::string Log;
};

// Positions of all entries, 0..Count-1.
std::vector<intptr_t> KeysByPosition(TPelCustomHashtable& t) {
  std::vector<intptr_t> keys;
  for (int32_t i = 0; i < t.GetCount(); ++i) keys.push_back(I(t.GetKeyByIndex(i)));
  return keys;
}

std::vector<intptr_t> KeysByEnumeration(TPelCustomHashtable& t) {
  std::vector<intptr_t> keys;
  IPtr<IIterator> it = t.Indices();
  while (it->HasMoreElements()) keys.push_back(I(it->NextElement()));
  return keys;
}

// Count minus the number of non-empty buckets, from the entries' indexes.
int32_t ExpectedCollisions(TPelCustomHashtable& t) {
  std::set<int32_t> buckets;
  for (int32_t i = 0; i < t.GetCount(); ++i) buckets.insert(t.GoToEntry(i)->GetIndex());
  return t.GetCount() - static_cast<int32_t>(buckets.size());
}

}  // namespace

TEST(PelHashTable, HashMethodsGiveTheWorkedValues) {
  auto t = Make<TPelHashtable>();
  EXPECT_EQ(33, t->FoldingHash(P(123456), 101));
  EXPECT_EQ(52, t->TruncationHash(P(123456), 101));
  // The sign bit is dropped: -1 is $7FFFFFFF.
  EXPECT_EQ(2147483647 % 101, t->DivisionHash(P(-1), 101));
  // Only the low 32 bits of a pointer count.
  EXPECT_EQ(t->DivisionHash(P(5), 101), t->DivisionHash(P((intptr_t(1) << 32) + 5), 101));
  // 1000 squared is 1000000: seven digits, half is 3 >= 3 digits of 101,
  // so the whole square is used (1000000 mod 101 = 1).
  EXPECT_EQ(1000000 % 101, t->MidSquareHash(P(1000), 101));

  // HashCode dispatches on the hash type and rejects the null key. Mid-square
  // of 123456: squared and wrapped to 32 bits, masked 208998400, nine digits,
  // half 4 > 3, so three digits from position 5: 840 mod 101 = 32.
  for (TPelHashType ht : {htTruncation, htDivision, htMidSquare, htFolding}) {
    t->SetHashType(ht);
    int32_t expected = ht == htTruncation ? 52 : ht == htFolding ? 33 : ht == htDivision ? 34 : 32;
    EXPECT_EQ(expected, t->HashCode(P(123456), 101)) << int(ht);
    EXPECT_RAISES(EPelHashtableError, "Argument is null", t->HashCode(nullptr, 101));
  }
  t->SetHashType(static_cast<TPelHashType>(7));
  EXPECT_RAISES(EPelHashtableError, "Subscript out of range", t->HashCode(P(1), 101));
}

TEST(PelHashTable, DigitMethodsMatchTheirTextDefinition) {
  auto t = Make<TPelHashtable>();
  std::mt19937 rng(42);
  std::vector<int32_t> keys = {1,         9,     10,    99,         100, 46340,           46341,
                               65535,     65536, 99999, 2147483647, -1,  -2147483647 - 1, -123456,
                               1000000000};
  for (int i = 0; i < 3000; ++i) keys.push_back(static_cast<int32_t>(rng()));
  std::vector<int32_t> sizes = {1, 7, 10, 11, 101, 203, 999, 1000, 65521, 1000003, 2147483647};
  for (int32_t size : sizes) {
    for (int32_t k : keys) {
      if (k == 0) continue;
      void* key = TPelHashIntTable::KeyOf(k);
      ASSERT_EQ(TextTruncation(k, size), t->TruncationHash(key, size)) << k << " " << size;
      ASSERT_EQ(TextMidSquare(k, size), t->MidSquareHash(key, size)) << k << " " << size;
      ASSERT_EQ(TextFolding(k, size), t->FoldingHash(key, size)) << k << " " << size;
    }
  }
}

TEST(PelHashTable, StringHashSamplesLongKeys) {
  auto fold = [](const std::string& s, uint32_t mul, std::vector<int> positions) {
    uint32_t h = 0;
    for (int p : positions) h = h * mul + static_cast<unsigned char>(s[p - 1]);
    return h;
  };
  std::string k15 = "abcdefghijklmn\xE9";  // a byte above 127 counts unsigned
  std::string k16 = "ABCDEFGHIJKLMNOP";
  std::string k100;
  for (int i = 0; i < 100; ++i) k100 += static_cast<char>('!' + (i * 7) % 90);
  std::vector<int> all15;
  for (int i = 1; i <= 15; ++i) all15.push_back(i);
  EXPECT_EQ(fold(k15, 37, all15), TPelStringHashtable::StringCode(k15.c_str()));
  EXPECT_EQ(fold(k16, 39, {1, 3, 5, 7, 9, 11, 13, 15}),
            TPelStringHashtable::StringCode(k16.c_str()));
  EXPECT_EQ(fold(k100, 39, {1, 13, 25, 37, 49, 61, 73, 85, 97}),
            TPelStringHashtable::StringCode(k100.c_str()));

  // The code is reduced by the table's hash method.
  auto t = Make<TPelStringHashtable>();
  uint32_t h = TPelStringHashtable::StringCode(k16.c_str());
  EXPECT_EQ(static_cast<int32_t>((h & 0x7FFFFFFF) % 101), t->HashCode(k16.data(), 101));
  EXPECT_RAISES(EPelHashtableError, "Argument is null", t->HashCode(const_cast<char*>(""), 101));
}

TEST(PelHashTable, GrowsOnThe77thKeyAndNotifiesTwice) {
  auto t = Make<TPelHashIntTable>();
  EXPECT_EQ(76, t->GetThreshold());
  int changes = 0;
  t->SetOnChange([&](TObject* sender) {
    EXPECT_EQ(t.get(), sender);
    ++changes;
  });
  for (int32_t k = 1; k <= 76; ++k) t->Put(k * 7, P(k));
  EXPECT_EQ(101u, t->GetCapacity());
  EXPECT_EQ(76, changes);
  t->Put(77 * 7, P(77));
  EXPECT_EQ(203u, t->GetCapacity());
  EXPECT_EQ(78, changes);
  EXPECT_EQ(77, t->GetCount());
  // Replacing a value notifies once and never grows.
  EXPECT_EQ(P(3), t->Put(21, P(300)));
  EXPECT_EQ(79, changes);
  for (int32_t k = 1; k <= 77; ++k) EXPECT_EQ(P(k == 3 ? 300 : k), t->Get(k * 7));
  EXPECT_EQ(ExpectedCollisions(*t), t->GetCollisions());

  // Growth continues 203, 407, 815 and keeps every entry and the count of
  // collisions right.
  for (int32_t k = 78; k <= 700; ++k) t->Put(k * 7, P(k));
  EXPECT_EQ(1631u, t->GetCapacity());
  EXPECT_EQ(ExpectedCollisions(*t), t->GetCollisions());
  for (int32_t k = 4; k <= 700; ++k) ASSERT_EQ(P(k), t->Get(k * 7));
}

TEST(PelHashTable, SettingsFollowTheirRules) {
  auto t = Make<TPelHashtable>(101u, 0.75f);
  // The load factor check only refuses NaN; the message keeps its 0.1.
  t->SetLoadFactor(5.0f);
  EXPECT_EQ(5.0f, t->GetLoadFactor());
  t->SetLoadFactor(-1.0f);
  EXPECT_EQ(-1.0f, t->GetLoadFactor());
  EXPECT_RAISES(EPelHashtableError, "Load factor must be between 0.0 and 0.1",
                t->SetLoadFactor(std::numeric_limits<float>::quiet_NaN()));
  EXPECT_EQ(-1.0f, t->GetLoadFactor());
  // Threshold rounds to even: 10 * 0.25 = 2.5 -> 2, 14 * 0.25 = 3.5 -> 4.
  t->SetLoadFactor(0.25f);
  t->SetCapacity(10);
  EXPECT_EQ(2, t->GetThreshold());
  t->SetCapacity(14);
  EXPECT_EQ(4, t->GetThreshold());

  // The hash type changes only while the table is empty.
  t->SetHashType(htFolding);
  t->Put(P(123456), P(1));
  t->SetHashType(htFolding);
  EXPECT_RAISES(EPelHashtableError, "Cannot perform this operation with non-empty table",
                t->SetHashType(htDivision));
  EXPECT_EQ(htFolding, t->GetHashType());
  EXPECT_EQ(P(1), t->Get(P(123456)));

  // A load factor that no size satisfies refuses the key instead of growing
  // for ever.
  auto z = Make<TPelHashtable>(11u, 0.0f);
  EXPECT_THROW(z->Put(P(1), P(1)), EOutOfMemory);
  EXPECT_EQ(0, z->GetCount());
  EXPECT_EQ(11u, z->GetCapacity());
}

TEST(PelHashTable, FailuresLeaveTheTableUnchanged) {
  auto t = Make<TProbeTable>();
  // An empty table answers lookups without looking at the key.
  TPelHashtableEntry* e = reinterpret_cast<TPelHashtableEntry*>(P(8));  // never read
  EXPECT_FALSE(t->HasKey(nullptr, e));
  EXPECT_EQ(nullptr, e);
  EXPECT_EQ(nullptr, t->FindEntry(nullptr));
  EXPECT_FALSE(t->ContainsItem(nullptr));
  EXPECT_RAISES(EPelHashtableError, "Table is empty", t->Get(P(1)));
  EXPECT_RAISES(EPelHashtableError, "Table is empty", t->Remove(P(1)));
  EXPECT_RAISES(EPelHashtableError, "Table is empty", t->Remove(nullptr));
  EXPECT_RAISES(EPelHashtableError, "Argument is null", t->Put(nullptr, P(1)));
  EXPECT_EQ(0, t->GetCount());

  t->Put(P(1), P(10));
  t->Put(P(102), P(20));  // same bucket as 1
  int changes = 0;
  t->SetOnChange([&](TObject*) { ++changes; });
  auto check = [&](const char* what) {
    EXPECT_EQ(2, t->GetCount()) << what;
    EXPECT_EQ(1, t->GetCollisions()) << what;
    EXPECT_EQ(101u, t->GetCapacity()) << what;
    EXPECT_EQ(P(10), t->Get(P(1))) << what;
    EXPECT_EQ(P(20), t->Get(P(102))) << what;
    EXPECT_EQ(0, changes) << what;
  };
  EXPECT_RAISES(EPelHashtableError, "Argument is null", t->Put(nullptr, P(1)));
  EXPECT_RAISES(EPelHashtableError, "Argument is null", t->Get(nullptr));
  EXPECT_RAISES(EPelHashtableError, "Argument is null", t->Remove(nullptr));
  EXPECT_RAISES(EPelHashtableError, "Argument is null", t->ContainsKey(nullptr));
  EXPECT_RAISES(EPelHashtableError, "Argument is null", t->FindEntry(nullptr));
  EXPECT_RAISES(EPelHashtableError, "No such element", t->Get(P(203)));
  EXPECT_RAISES(EPelHashtableError, "No such element", t->Remove(P(203)));
  EXPECT_RAISES(EListError, "List index out of bounds (2)", t->GoToEntry(2));
  EXPECT_RAISES(EListError, "List index out of bounds (-1)", t->GetItemByIndex(-1));
  check("lookups");

  // A hash outside the buckets is refused by put, lookup, remove and resize.
  for (int32_t bad : {-1, 101, 5000}) {
    t->ForcedBucket = bad;
    EXPECT_RAISES(EPelHashtableError, "Subscript out of range", t->Put(P(5), P(5)));
    EXPECT_RAISES(EPelHashtableError, "Subscript out of range", t->Get(P(1)));
    EXPECT_RAISES(EPelHashtableError, "Subscript out of range", t->Remove(P(1)));
    EXPECT_RAISES(EPelHashtableError, "Subscript out of range", t->SetCapacity(50));
    t->ForcedBucket = 0;
    check("bad hash");
  }
}

TEST(PelHashTable, OwnerHearsBeforeOnChange) {
  auto t = Make<TPelHashtable>(101u, 0.75f);
  IPtr<TOwnerLog> owner(New<TOwnerLog>());
  t->SetHashTableOwner(IPtr<IHashTableOwner>(owner.get()));
  t->SetOnChange([&](TObject*) { owner->Log += "onchange "; });

  t->Clear();  // empty: nothing
  t->Put(P(1), P(1));
  EXPECT_EQ("put1@0 changed onchange ", owner->Log);
  owner->Log.clear();
  EXPECT_RAISES(EPelHashtableError, "No such element", t->Remove(P(2)));
  EXPECT_EQ("remove2 ", owner->Log);  // told even though the key is absent
  owner->Log.clear();
  t->Remove(P(1));
  EXPECT_EQ("remove1 changed onchange ", owner->Log);
  owner->Log.clear();
  t->Clear();
  EXPECT_EQ("", owner->Log);

  // Updates nest; the outermost EndUpdate notifies once.
  t->BeginUpdate();
  t->BeginUpdate();
  t->Put(P(1), P(1));
  t->Put(P(2), P(2));
  t->EndUpdate();
  EXPECT_EQ("put1@0 put2@1 ", owner->Log);
  t->EndUpdate();
  EXPECT_EQ("put1@0 put2@1 changed onchange ", owner->Log);
  owner->Log.clear();
  t->Clear();
  EXPECT_EQ("clear changed onchange ", owner->Log);
  owner->Log.clear();

  // A growing put tells the owner of the put twice (outer and inner call).
  t->SetCapacity(3);  // threshold 2
  t->Put(P(1), P(1));
  t->Put(P(2), P(2));
  owner->Log.clear();
  t->Put(P(3), P(3));
  EXPECT_EQ("put3@2 put3@2 changed onchange changed onchange ", owner->Log);
  EXPECT_EQ(7u, t->GetCapacity());
  owner->Log.clear();

  // Destruction clears through the owner too, but no longer calls OnChange.
  t.reset();
  EXPECT_EQ("clear changed ", owner->Log);
}

TEST(PelHashTable, PositionsRunUpwardsEnumerationDownwards) {
  auto t = Make<TPelHashtable>();
  for (intptr_t k : {5, 1, 3, 102, 2, 103}) t->Put(P(k), P(k * 10));
  // Buckets 1 (102 over 1), 2 (103, 2), 3, 5; a new key is linked first.
  std::vector<intptr_t> positions = {102, 1, 103, 2, 3, 5};
  EXPECT_EQ(positions, KeysByPosition(*t));
  EXPECT_EQ((std::vector<intptr_t>{5, 3, 103, 2, 102, 1}), KeysByEnumeration(*t));
  EXPECT_EQ(2, t->GetCollisions());
  // Backward and scattered access agree with the forward walk.
  for (int32_t i = 5; i >= 0; --i) EXPECT_EQ(positions[i], I(t->GetKeyByIndex(i)));
  for (int32_t i : {3, 0, 5, 4, 1, 2, 2}) EXPECT_EQ(positions[i] * 10, I(t->GetItemByIndex(i)));

  // The table's own cursor hands out keys in enumeration order.
  t->Reset();
  std::vector<intptr_t> seen;
  while (!t->GetEOT()) seen.push_back(I(t->Next()));
  EXPECT_EQ(KeysByEnumeration(*t), seen);
  EXPECT_RAISES(EPelHashtableError, "No such element", t->Next());

  // Removing the cached entry moves the cache back one position.
  EXPECT_EQ(3, I(t->GetKeyByIndex(4)));
  t->Remove(P(3));
  EXPECT_EQ((std::vector<intptr_t>{102, 1, 103, 2, 5}), KeysByPosition(*t));
  // Inserting below the cached bucket drops the cache.
  EXPECT_EQ(5, I(t->GetKeyByIndex(4)));
  t->Put(P(4), P(40));
  EXPECT_EQ((std::vector<intptr_t>{102, 1, 103, 2, 4, 5}), KeysByPosition(*t));
  for (int32_t i = t->GetCount() - 1; i >= 0; --i)
    EXPECT_EQ(KeysByPosition(*t)[i], I(t->GetKeyByIndex(i)));
}

TEST(PelHashTable, NewHeadInTheCachedBucketKeepsTheStaleCache) {
  auto t = Make<TPelHashtable>();
  t->Put(P(1), P(1));
  t->Put(P(2), P(2));
  EXPECT_EQ(2, I(t->GetKeyByIndex(1)));  // cache: position 1, bucket 2
  t->Put(P(103), P(3));                  // new head of bucket 2, cache kept
  EXPECT_EQ(2, I(t->GetKeyByIndex(1)));  // the stale answer
  // Walking on runs out of entries before position 2.
  EXPECT_RAISES(EAccessViolation, "Access violation", t->GetKeyByIndex(2));
  t->ClearCache();
  EXPECT_EQ((std::vector<intptr_t>{1, 103, 2}), KeysByPosition(*t));
}

TEST(PelHashTable, EnumeratorsCountAndStop) {
  auto t = Make<TPelHashtable>();
  IPtr<IIterator> empty = t->Elements();
  EXPECT_EQ(nullptr, empty->CurrentElement());
  EXPECT_RAISES(EPelHashtableError, "No such element", empty->NextElement());

  for (intptr_t k = 1; k <= 4; ++k) t->Put(P(k), P(k * 100));
  IPtr<IIterator> values = t->Elements();
  EXPECT_EQ(4, values->GetCount());
  EXPECT_EQ(P(400), values->NextElement());
  EXPECT_EQ(P(400), values->CurrentElement());
  EXPECT_EQ(3, values->GetCount());
  while (values->HasMoreElements()) values->NextElement();
  EXPECT_EQ(P(100), values->CurrentElement());
  EXPECT_EQ(0, values->GetCount());
  values->Reset();
  EXPECT_EQ(4, values->GetCount());
  EXPECT_EQ(P(400), values->NextElement());
  // A pointer enumerator is not a string iterator.
  EXPECT_FALSE(Supports<IStringIterator>(values));
}

TEST(PelHashTable, StringTableKeysAndEnumerators) {
  auto t = Make<TPelStringHashtable>();
  int a = 1, b = 2, c = 3;
  t->Put("Abc", &a);
  t->Put("abc", &b);
  EXPECT_EQ(&a, t->Get("Abc"));
  EXPECT_EQ(&b, t->Get("abc"));
  EXPECT_EQ(&a, t->Put("Abc", &c));
  std::string longKey(40, 'x');
  t->SetItem(longKey, &a);
  EXPECT_EQ(&a, t->GetItem(longKey));

  // The empty key is absent for ContainsKey but refused by Put, Get and Remove.
  void* v = &a;
  EXPECT_FALSE(t->ContainsKey("", v));
  EXPECT_EQ(nullptr, v);
  EXPECT_TRUE(t->ContainsKey("abc", v));
  EXPECT_EQ(&b, v);
  EXPECT_RAISES(EPelHashtableError, "Argument is null", t->Put("", &a));
  EXPECT_RAISES(EPelHashtableError, "Argument is null", t->Remove(""));
  EXPECT_EQ(3, t->GetCount());

  // Keys come back as strings, by position and through the keys iterator.
  std::set<std::string> byPosition;
  for (int32_t i = 0; i < t->GetCount(); ++i) byPosition.insert(t->GetKeyByIndex(i));
  EXPECT_EQ((std::set<std::string>{"Abc", "abc", longKey}), byPosition);
  IPtr<IStringIterator> keys = t->Indices();
  std::vector<std::string> enumerated;
  while (keys->HasMoreElements()) enumerated.push_back(keys->NextElement());
  EXPECT_EQ(enumerated.back(), keys->CurrentElement());
  t->Reset();
  for (const std::string& k : enumerated) EXPECT_EQ(k, t->Next());

  // The values enumerator hands out pointers through IIterator but refuses
  // the string protocol's NextElement.
  IPtr<IIterator> values = t->Elements();
  IPtr<IStringIterator> asStrings = Supports<IStringIterator>(values);
  ASSERT_TRUE(asStrings);
  EXPECT_RAISES(EPelHashtableError, "Illegal NextElement Call, must be iterating over the keys",
                asStrings->NextElement());
  EXPECT_EQ(3, asStrings->GetCount());
  std::set<void*> vals;
  while (values->HasMoreElements()) vals.insert(values->NextElement());
  EXPECT_EQ((std::set<void*>{&a, &b, &c}), vals);

  EXPECT_EQ(&c, t->Remove("Abc"));
  EXPECT_FALSE(t->ContainsKey("Abc"));
  EXPECT_RAISES(EPelHashtableError, "No such element", t->Remove("Abc"));
}

TEST(PelHashTable, IntTableRoundTripsKeys) {
  auto t = Make<TPelHashIntTable>();
  for (int32_t k : {-2147483647 - 1, -1, 1, 2147483647, 123456})
    t->Put(k, TPelHashIntTable::KeyOf(k));
  std::set<int32_t> keys;
  t->Reset();
  while (!t->GetEOT()) keys.insert(TPelHashIntTable::KeyOf(t->Next()));
  EXPECT_EQ((std::set<int32_t>{-2147483647 - 1, -1, 1, 2147483647, 123456}), keys);
  EXPECT_EQ(TPelHashIntTable::KeyOf(-1), t->GetItem(-1));
  // Key 0 is the null key.
  EXPECT_RAISES(EPelHashtableError, "Argument is null", t->Put(0, nullptr));
  EXPECT_TRUE(t->ContainsItem(TPelHashIntTable::KeyOf(123456)));
  EXPECT_FALSE(t->ContainsItem(TPelHashIntTable::KeyOf(5)));
}

namespace {
std::string gClearLog;
class TLoggingTable : public TPelStringHashtable {
  PEL_CLASS(TLoggingTable, TPelStringHashtable)
 public:
  using TPelStringHashtable::TPelStringHashtable;
  void Clear() override {
    gClearLog += "clear(" + std::to_string(GetCount()) + ") ";
    TPelStringHashtable::Clear();
  }
};
}  // namespace

TEST(PelHashTable, AssignCopiesAndFreeingReachesOverrides) {
  auto src = Make<TPelHashtable>(11u, 0.5f);
  src->SetHashType(htMidSquare);
  for (intptr_t k = 1; k <= 20; ++k) src->Put(P(k * 3), P(k));
  auto dst = Make<TPelHashtable>();
  dst->Put(P(999), P(1));
  int changes = 0;
  dst->SetOnChange([&](TObject*) { ++changes; });
  dst->Assign(src.get());
  EXPECT_EQ(2, changes);  // the clear, then one for the whole copy
  EXPECT_EQ(src->GetCapacity(), dst->GetCapacity());
  EXPECT_EQ(htMidSquare, dst->GetHashType());
  EXPECT_EQ(0.5f, dst->GetLoadFactor());
  EXPECT_FALSE(dst->ContainsKey(P(999)));
  for (intptr_t k = 1; k <= 20; ++k) EXPECT_EQ(P(k), dst->Get(P(k * 3)));
  dst->Assign(dst.get());
  EXPECT_EQ(20, dst->GetCount());

  // Something the table does not know ends in the conversion error, with
  // the table unchanged.
  auto other = Make<TPersistent>();
  EXPECT_RAISES(EConvertError, "Cannot assign a TPersistent to a TPelHashtable",
                dst->Assign(other.get()));
  EXPECT_EQ(20, dst->GetCount());

  // A class reference creates any table of the family.
  TPelHashtableClass cls = TPelStringHashtable::StaticClass();
  Owned<TPelCustomHashtable> made(cls.Create(7u, 0.5f));
  EXPECT_EQ("TPelStringHashtable", made->ClassName());
  EXPECT_EQ(7u, made->GetCapacity());

  // Freeing a table clears it through the descendant's Clear.
  gClearLog.clear();
  TLoggingTable* logged = New<TLoggingTable>();
  logged->Put("x", nullptr);
  Free(logged);
  EXPECT_EQ("clear(1) ", gClearLog);
}

TEST(PelHashTable, AssignToLinkedListGivesTheKeys) {
  auto t = Make<TPelHashtable>();
  for (intptr_t k : {7, 3, 110, 9}) t->Put(P(k), P(k * 2));
  auto list = Make<TPelLinkedList>();
  auto stale = Make<TObject>();
  list->Add(stale.get());
  int changes = 0;
  list->SetOnChange([&](TObject*) { ++changes; });
  // The list's own Assign asks the table to assign itself.
  list->Assign(t.get());
  EXPECT_EQ(1, changes);
  std::vector<intptr_t> items;
  for (int32_t i = 0; i < list->GetCount(); ++i) items.push_back(I(list->GetItem(i)));
  EXPECT_EQ(KeysByEnumeration(*t), items);
  EXPECT_EQ((std::vector<intptr_t>{9, 110, 7, 3}), items);  // 9 heads bucket 9
  // Anything else still ends in the conversion error.
  auto other = Make<TPersistent>();
  EXPECT_RAISES(EConvertError, "Cannot assign a TPelHashtable to a TPersistent",
                t->AssignTo(other.get()));
}

TEST(PelHashTable, ResizingAroundLiveCursors) {
  auto t = Make<TPelHashtable>();
  for (intptr_t k = 1; k <= 30; ++k) t->Put(P(k), P(k));
  // Shrinking below the enumerator's bucket cursor does not read past the
  // buckets; the enumerator goes on from the top of the new array.
  IPtr<IIterator> keys = t->Indices();
  t->SetCapacity(7);
  EXPECT_EQ(30 - 7, t->GetCollisions());  // 30 keys fill all 7 buckets
  std::set<intptr_t> seen;
  while (keys->HasMoreElements()) seen.insert(I(keys->NextElement()));
  EXPECT_EQ(30u, seen.size());
  // Without buckets nothing can be stored, and nothing is lost by trying.
  t->SetCapacity(0);
  EXPECT_RAISES(EPelHashtableError, "Subscript out of range", t->Put(P(1), P(1)));
  EXPECT_EQ(0, t->GetCount());
  EXPECT_FALSE(keys->HasMoreElements());
  t->SetCapacity(5);
  t->Put(P(1), P(1));
  EXPECT_EQ(P(1), t->Get(P(1)));
}

TEST(PelHashTable, StringTableAndStringLists) {
  TObject* objs[4] = {New<TObject>(), New<TObject>(), New<TObject>(), New<TObject>()};
  auto list = Make<TStringList>();
  list->AddObject("one", objs[0]);
  list->AddObject("two", objs[1]);
  list->AddObject("one", objs[2]);  // the later object wins
  auto t = Make<TPelStringHashtable>();
  t->Put("stale", objs[3]);
  int changes = 0;
  t->SetOnChange([&](TObject*) { ++changes; });
  t->Assign(list.get());
  EXPECT_EQ(1, changes);
  EXPECT_EQ(objs[2], t->Get("one"));
  EXPECT_EQ(objs[1], t->Get("two"));
  EXPECT_FALSE(t->ContainsKey("stale"));

  // An empty string is refused before the table changes.
  list->Add("");
  EXPECT_RAISES(EPelHashtableError, "Argument is null", t->Assign(list.get()));
  EXPECT_EQ(2, t->GetCount());
  EXPECT_EQ(1, changes);

  // Back to a list: keys in enumeration order, values as objects; the
  // list's own Assign gets there too.
  t->Put("three", objs[3]);
  auto out = Make<TStringList>();
  out->Add("old");
  int listChanges = 0;
  out->SetOnChange([&](TObject*) { ++listChanges; });
  out->Assign(t.get());
  EXPECT_EQ(1, listChanges);
  IPtr<IStringIterator> keys = t->Indices();
  ASSERT_EQ(3, out->GetCount());
  for (int32_t i = 0; i < 3; ++i) {
    String k = keys->NextElement();
    EXPECT_EQ(k, out->Get(i));
    EXPECT_EQ(t->Get(k), out->GetObject(i));
  }
  t.reset();
  for (TObject* o : objs) Free(o);
}
