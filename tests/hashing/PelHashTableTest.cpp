#include <gtest/gtest.h>

#include <algorithm>
#include <functional>
#include <limits>
#include <random>
#include <set>
#include <string>
#include <vector>

#include "hashing/PelHashTable.h"
#include "lists/ListsTestSupport.h"
#include "lists/PelLists.h"
#include "platform/ExpectRaises.h"

using namespace pel;
using pel::test::ExpectRaises;

namespace {

void* P(intptr_t v) { return reinterpret_cast<void*>(v); }
intptr_t I(void* p) { return reinterpret_cast<intptr_t>(p); }

// What the test tables below saw: Clears and owner calls.
std::string gLog;
using TCountedEntry = test::TCounted<TPelHashtableEntry>;

// A pointer table with counted entries, a logged Get and Put, and a hash
// that can be forced.
class TProbeTable : public TPelHashtable {
  PEL_CLASS(TProbeTable, TPelHashtable)
 public:
  using TPelHashtable::TPelHashtable;
  int32_t ForcedBucket = 0;  // nonzero: every key hashes there
  bool ByCapacity = false;   // reduce by Capacity instead of Size
  TPelHashtableEntry* NewHashtableEntry() override { return New<TCountedEntry>(); }
  int32_t HashCode(void* Key, int32_t Size) override {
    if (ForcedBucket != 0 && Key) return ForcedBucket;
    if (ByCapacity && Key) return static_cast<int32_t>(I(Key) % GetCapacity());
    return TPelHashtable::HashCode(Key, Size);
  }
};

class TProbeStringTable : public TPelStringHashtable {
  PEL_CLASS(TProbeStringTable, TPelStringHashtable)
 public:
  using TPelStringHashtable::TPelStringHashtable;
  void Clear() override {
    gLog += "clear(" + std::to_string(GetCount()) + ") ";
    TPelStringHashtable::Clear();
  }
};

// The digit-based methods done the plain way, through decimal text.
String Digits(int32_t K) { return IntToStr(static_cast<int32_t>(K & 0x7FFFFFFF)); }
int32_t TextTruncation(int32_t K, int32_t Size) {
  String s = Digits(K);
  return StrToInt(s.substr(s.size() - std::min(s.size(), IntToStr(Size).size()))) % Size;
}
int32_t TextMidSquare(int32_t K, int32_t Size) {
  String s = Digits(static_cast<int32_t>(static_cast<uint32_t>(K) * static_cast<uint32_t>(K)));
  size_t d = IntToStr(Size).size(), h = s.size() / 2;
  return StrToInt(d < h ? s.substr(s.size() - h, d) : s) % Size;
}
int32_t TextFolding(int32_t K, int32_t Size) {
  String s = Digits(K), t(1, s[0]);
  for (size_t i = 0; i < s.size(); ++i)
    if (i % 2 == 0 || i % 3 == 0) t += s[i];
  return StrToInt(t) % Size;
}

// Records the owner hook's calls in gLog.
class TOwnerLog : public TInterfacedObject, public IHashTableOwner {
  PEL_CLASS(TOwnerLog, TInterfacedObject)
 public:
  bool GetInterface(const TGUID& IID, void** Obj) override {
    return GetInterfaceOf<TOwnerLog, IHashTableOwner>(this, IID, Obj);
  }
  void TableChanged(TPelCustomHashtable*) override { gLog += "changed "; }
  void BeforePut(TPelCustomHashtable* T, void* K, void*) override {
    gLog += "put" + std::to_string(I(K)) + "@" + std::to_string(T->GetCount()) + " ";
  }
  void BeforeRemove(TPelCustomHashtable*, void* K) override {
    gLog += "remove" + std::to_string(I(K)) + " ";
  }
  void BeforeClear(TPelCustomHashtable*) override { gLog += "clear "; }
};

// gLog of what Body does.
std::string Logged(const std::function<void()>& Body) {
  gLog.clear();
  Body();
  return gLog;
}

std::vector<intptr_t> KeysByPosition(TPelCustomHashtable& t) {
  std::vector<intptr_t> keys;
  for (int32_t i = 0; i < t.GetCount(); ++i) keys.push_back(I(t.GetKeyByIndex(i)));
  return keys;
}

std::vector<intptr_t> KeysByEnumeration(TPelCustomHashtable& t) {
  std::vector<intptr_t> keys;
  for (IPtr<IIterator> it = t.Indices(); it->HasMoreElements();)
    keys.push_back(I(it->NextElement()));
  return keys;
}

}  // namespace

TEST(PelHashTable, HashMethods) {
  auto t = Make<TPelHashtable>();
  // HashCode dispatches on the hash type. Mid-square of 123456: squared and
  // wrapped to 32 bits, masked 208998400, half its 9 digits is 4 > 3, so
  // three digits from position 5: 840 mod 101 = 32.
  for (auto [ht, expected] : std::initializer_list<std::pair<TPelHashType, int32_t>>{
           {htTruncation, 52}, {htDivision, 34}, {htMidSquare, 32}, {htFolding, 33}}) {
    t->SetHashType(ht);
    EXPECT_EQ(expected, t->HashCode(P(123456), 101)) << int(ht);
    ExpectRaises<EPelHashtableError>([&] { t->HashCode(nullptr, 101); }, "Argument is null");
  }
  t->SetHashType(static_cast<TPelHashType>(7));
  ExpectRaises<EPelHashtableError>([&] { t->HashCode(P(1), 101); }, "Subscript out of range");
  // The sign bit is dropped, and only the low 32 bits of a pointer count.
  EXPECT_EQ(2147483647 % 101, t->DivisionHash(P(-1), 101));
  EXPECT_EQ(t->DivisionHash(P(5), 101), t->DivisionHash(P((intptr_t(1) << 32) + 5), 101));

  // The arithmetic digit methods agree with their definition through text.
  std::mt19937 rng(42);
  std::vector<int32_t> keys = {1,     9,     10,         99, 100,       46340,   46341,
                               65535, 65536, 2147483647, -1, INT32_MIN, -123456, 1000000000};
  for (int i = 0; i < 3000; ++i) keys.push_back(static_cast<int32_t>(rng() | 1));
  for (int32_t size : {1, 7, 10, 11, 101, 999, 1000, 65521, 1000003, 2147483647}) {
    for (int32_t k : keys) {
      void* key = TPelHashIntTable::KeyOf(k);
      ASSERT_EQ(TextTruncation(k, size), t->TruncationHash(key, size)) << k << " " << size;
      ASSERT_EQ(TextMidSquare(k, size), t->MidSquareHash(key, size)) << k << " " << size;
      ASSERT_EQ(TextFolding(k, size), t->FoldingHash(key, size)) << k << " " << size;
    }
  }
}

TEST(PelHashTable, StringHashSamplesLongKeys) {
  auto fold = [](const std::string& s, uint32_t mul, size_t step) {
    uint32_t h = 0;
    for (size_t p = 0; p < s.size(); p += step) h = h * mul + static_cast<uint8_t>(s[p]);
    return h;
  };
  std::string k15 = "abcdefghijklmn\xE9";  // a byte above 127 counts unsigned
  std::string k16 = "ABCDEFGHIJKLMNOP";    // from 16 characters on, sampled
  EXPECT_EQ(fold(k15, 37, 1), TPelStringHashtable::StringCode(k15.c_str()));
  EXPECT_EQ(fold(k16, 39, 2), TPelStringHashtable::StringCode(k16.c_str()));
  // The code is reduced by the table's hash method; "" folds to the null key.
  auto t = Make<TPelStringHashtable>();
  EXPECT_EQ(static_cast<int32_t>((fold(k16, 39, 2) & 0x7FFFFFFF) % 101),
            t->HashCode(k16.data(), 101));
  ExpectRaises<EPelHashtableError>([&] { t->HashCode(const_cast<char*>(""), 101); },
                                   "Argument is null");
}

TEST(PelHashTable, GrowthAndSettings) {
  auto t = Make<TPelHashIntTable>();
  int changes = 0;
  t->SetOnChange([&](TObject* sender) { changes += sender == t.get(); });
  for (int32_t k = 1; k <= 76; ++k) t->Put(k * 7, P(k));
  EXPECT_EQ(101u, t->GetCapacity());
  t->Put(77 * 7, P(77));  // the 77th key grows the table and notifies twice
  EXPECT_EQ(203u, t->GetCapacity());
  EXPECT_EQ(78, changes);
  EXPECT_EQ(P(3), t->Put(21, P(300)));  // a replacement: once, no growth
  EXPECT_EQ(79, changes);
  for (int32_t k = 78; k <= 700; ++k) t->Put(k * 7, P(k));
  EXPECT_EQ(1631u, t->GetCapacity());
  for (int32_t k = 1; k <= 700; ++k) ASSERT_EQ(P(k == 3 ? 300 : k), t->Get(k * 7));

  // The load factor check refuses only NaN; the message keeps its 0.1.
  t->SetLoadFactor(-1.0f);
  ExpectRaises<EPelHashtableError>(
      [&] { t->SetLoadFactor(std::numeric_limits<float>::quiet_NaN()); },
      "Load factor must be between 0.0 and 0.1");
  EXPECT_EQ(-1.0f, t->GetLoadFactor());
  // The threshold rounds ties to even: 10 * 0.25 -> 2, 14 * 0.25 -> 4.
  auto s = Make<TPelHashtable>(10u, 0.25f);
  EXPECT_EQ(2, s->GetThreshold());
  s->SetCapacity(14);
  EXPECT_EQ(4, s->GetThreshold());
  // The hash type changes only while the table is empty.
  s->Put(P(1), P(1));
  s->SetHashType(htDivision);
  ExpectRaises<EPelHashtableError>([&] { s->SetHashType(htFolding); },
                                   "Cannot perform this operation with non-empty table");
  // A load factor that no size satisfies refuses the key instead of growing
  // for ever.
  auto z = Make<TPelHashtable>(11u, 0.0f);
  EXPECT_THROW(z->Put(P(1), P(1)), EOutOfMemory);
  EXPECT_EQ(0, z->GetCount());
  // A HashCode that reads Capacity rather than its Size argument finds every
  // key again after the table has grown.
  auto c = Make<TProbeTable>(5u, 0.75f);
  c->ByCapacity = true;
  for (intptr_t k = 1; k <= 40; ++k) c->Put(P(k * 101), P(k));
  EXPECT_EQ(95u, c->GetCapacity());
  for (intptr_t k = 1; k <= 40; ++k) ASSERT_EQ(P(k), c->GetValue(P(k * 101))) << k;
}

TEST(PelHashTable, FailuresLeaveTheTableUnchanged) {
  auto t = Make<TProbeTable>();
  // An empty table answers lookups without looking at the key.
  TPelHashtableEntry* e = reinterpret_cast<TPelHashtableEntry*>(P(8));  // never read
  EXPECT_FALSE(t->HasKey(nullptr, e));
  EXPECT_EQ(nullptr, e);
  EXPECT_FALSE(t->ContainsItem(nullptr));
  ExpectRaises<EPelHashtableError>([&] { t->Get(P(1)); }, "Table is empty");
  ExpectRaises<EPelHashtableError>([&] { t->Remove(nullptr); }, "Table is empty");

  t->Put(P(1), P(10));
  t->Put(P(102), P(20));  // same bucket as 1
  int changes = 0;
  t->SetOnChange([&](TObject*) { ++changes; });
  const char *kNull = "Argument is null", *kMissing = "No such element";
  const std::vector<std::pair<const char*, std::function<void()>>> cases = {
      {kNull, [&] { t->Put(nullptr, P(1)); }},
      {kNull, [&] { t->Remove(nullptr); }},
      {kMissing, [&] { t->Get(P(203)); }},
      {kMissing, [&] { t->Remove(P(203)); }},
      {"List index out of bounds (2)", [&] { t->GoToEntry(2); }},
  };
  for (const auto& c : cases) ExpectRaises<Exception>([&] { c.second(); }, c.first);
  // A hash outside the buckets is refused by put, lookup, remove and resize.
  for (int32_t bad : {-1, 101}) {
    t->ForcedBucket = bad;
    ExpectRaises<EPelHashtableError>([&] { t->Put(P(5), P(5)); }, "Subscript out of range");
    EXPECT_THROW(t->Remove(P(1)), EPelHashtableError);
    EXPECT_THROW(t->SetCapacity(50), EPelHashtableError);
  }
  t->ForcedBucket = 0;
  EXPECT_EQ(2, t->GetCount());
  EXPECT_EQ(1, t->GetCollisions());
  EXPECT_EQ(101u, t->GetCapacity());
  EXPECT_EQ(P(20), t->Get(P(102)));
  EXPECT_EQ(0, changes);
}

TEST(PelHashTable, OwnerHearsBeforeOnChange) {
  auto t = Make<TPelHashtable>();
  t->SetHashTableOwner(IPtr<IHashTableOwner>(New<TOwnerLog>()));
  t->SetOnChange([&](TObject*) { gLog += "onchange "; });
  EXPECT_EQ("", Logged([&] { t->Clear(); }));  // empty: nothing
  EXPECT_EQ("put1@0 changed onchange ", Logged([&] { t->Put(P(1), P(1)); }));
  EXPECT_EQ("remove2 ", Logged([&] { EXPECT_THROW(t->Remove(P(2)), EPelHashtableError); }));
  EXPECT_EQ("remove1 changed onchange ", Logged([&] { t->Remove(P(1)); }));
  // Updates nest; the outermost EndUpdate notifies once.
  EXPECT_EQ("put1@0 put2@1 changed onchange ", Logged([&] {
              t->BeginUpdate();
              t->BeginUpdate();
              t->Put(P(1), P(1));
              t->Put(P(2), P(2));
              t->EndUpdate();
              EXPECT_EQ("put1@0 put2@1 ", gLog);
              t->EndUpdate();
            }));
  EXPECT_EQ("clear changed onchange ", Logged([&] { t->Clear(); }));
  // A growing put tells the owner twice (outer and inner call).
  t->SetCapacity(3);
  t->Put(P(1), P(1));
  t->Put(P(2), P(2));
  EXPECT_EQ("put3@2 put3@2 changed onchange changed onchange ",
            Logged([&] { t->Put(P(3), P(3)); }));
  // Destruction clears through the owner too, but no longer calls OnChange.
  EXPECT_EQ("clear changed ", Logged([&] { t.reset(); }));
}

TEST(PelHashTable, PositionsRunUpwardsEnumerationDownwards) {
  auto t = Make<TPelHashtable>();
  for (intptr_t k : {5, 1, 3, 102, 2, 103}) t->Put(P(k), P(k * 10));
  // Buckets 1 (102 over 1), 2 (103, 2), 3, 5; a new key is linked first.
  std::vector<intptr_t> positions = {102, 1, 103, 2, 3, 5};
  EXPECT_EQ(positions, KeysByPosition(*t));
  EXPECT_EQ((std::vector<intptr_t>{5, 3, 103, 2, 102, 1}), KeysByEnumeration(*t));
  // Backward access agrees with the forward walk.
  for (int32_t i = 5; i >= 0; --i) EXPECT_EQ(positions[i] * 10, I(t->GetItemByIndex(i)));
  // The table's own cursor hands out keys in enumeration order.
  std::vector<intptr_t> seen;
  for (t->Reset(); !t->GetEOT();) seen.push_back(I(t->Next()));
  EXPECT_EQ(KeysByEnumeration(*t), seen);
  ExpectRaises<EPelHashtableError>([&] { t->Next(); }, "No such element");

  // Removing the cached entry moves the cache back one position; inserting
  // below the cached bucket drops it.
  EXPECT_EQ(3, I(t->GetKeyByIndex(4)));
  t->Remove(P(3));
  EXPECT_EQ(5, I(t->GetKeyByIndex(4)));
  t->Put(P(4), P(40));
  EXPECT_EQ(4, I(t->GetKeyByIndex(4)));
  // A new head in the cached bucket keeps the stale cache, and walking on
  // from it runs out of entries.
  auto s = Make<TPelHashtable>();
  s->Put(P(1), P(1));
  s->Put(P(2), P(2));
  EXPECT_EQ(2, I(s->GetKeyByIndex(1)));
  s->Put(P(103), P(3));
  EXPECT_EQ(2, I(s->GetKeyByIndex(1)));
  ExpectRaises<EAccessViolation>([&] { s->GetKeyByIndex(2); }, "Access violation");
  s->ClearCache();
  EXPECT_EQ((std::vector<intptr_t>{1, 103, 2}), KeysByPosition(*s));
}

TEST(PelHashTable, EnumeratorsAndZeroCapacity) {
  auto t = Make<TProbeTable>();
  ExpectRaises<EPelHashtableError>([&] { t->Elements()->NextElement(); }, "No such element");
  for (intptr_t k = 1; k <= 30; ++k) t->Put(P(k), P(k * 100));
  IPtr<IIterator> values = t->Elements();
  EXPECT_EQ(P(3000), values->NextElement());
  EXPECT_EQ(P(3000), values->CurrentElement());
  EXPECT_EQ(29, values->GetCount());
  EXPECT_FALSE(Supports<IStringIterator>(values));
  // Shrinking below an enumerator's bucket cursor reads no freed bucket.
  t->SetCapacity(7);
  std::set<void*> seen;
  for (values->Reset(); values->HasMoreElements();) seen.insert(values->NextElement());
  EXPECT_EQ(30u, seen.size());

  // Shrinking to nothing frees the entries it unlinks (kept on purpose: the
  // original steps would leak all thirty), and a table without buckets
  // divides by zero.
  t->SetCapacity(0);
  EXPECT_EQ(0, TCountedEntry::Alive);
  EXPECT_EQ(0, t->GetCount());
  EXPECT_FALSE(values->HasMoreElements());
  ExpectRaises<EDivByZero>([&] { t->Put(P(1), P(1)); }, "Division by zero");
  EXPECT_EQ(0, t->GetCount());
}

TEST(PelHashTable, TypedTables) {
  auto t = Make<TPelStringHashtable>();
  int a = 1, b = 2, c = 3;
  t->Put("Abc", &a);
  t->Put("abc", &b);  // another key
  EXPECT_EQ(&a, t->Put("Abc", &c));
  // The empty key is absent for ContainsKey but refused by Put and Remove.
  void* v = &a;
  EXPECT_FALSE(t->ContainsKey("", v));
  EXPECT_EQ(nullptr, v);
  EXPECT_TRUE(t->ContainsKey("abc", v));
  EXPECT_EQ(&b, v);
  ExpectRaises<EPelHashtableError>([&] { t->Put("", &a); }, "Argument is null");
  ExpectRaises<EPelHashtableError>([&] { t->Remove(""); }, "Argument is null");
  // Keys come back as strings by position and through the keys iterator.
  IPtr<IStringIterator> keys = t->Indices();
  const std::set<std::string> both = {"Abc", "abc"};
  EXPECT_EQ(both, (std::set<std::string>{t->GetKeyByIndex(0), t->GetKeyByIndex(1)}));
  EXPECT_EQ(both, (std::set<std::string>{keys->NextElement(), keys->NextElement()}));
  // The values enumerator hands out pointers through IIterator but refuses
  // the string protocol's NextElement.
  IPtr<IIterator> values = t->Elements();
  IPtr<IStringIterator> asStrings = Supports<IStringIterator>(values);
  ASSERT_TRUE(asStrings);
  ExpectRaises<EPelHashtableError>([&] { asStrings->NextElement(); },
                                   "Illegal NextElement Call, must be iterating over the keys");
  EXPECT_EQ((std::set<void*>{values->NextElement(), values->NextElement()}),
            (std::set<void*>{&b, &c}));

  // Integer keys round-trip through pointers.
  for (int32_t k : {INT32_MIN, -1, INT32_MAX})
    EXPECT_EQ(k, TPelHashIntTable::KeyOf(TPelHashIntTable::KeyOf(k)));
}

TEST(PelHashTable, AssignBetweenTablesAndLists) {
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
  EXPECT_EQ(KeysByPosition(*src), KeysByPosition(*dst));
  EXPECT_FALSE(dst->ContainsKey(P(999)));
  // A table assigned to itself keeps its entries (kept on purpose: the
  // original steps clear it before copying) and notifies nothing.
  dst->Assign(dst.get());
  EXPECT_EQ(20, dst->GetCount());
  EXPECT_EQ(P(7), dst->Get(P(21)));
  EXPECT_EQ(2, changes);
  // Anything unknown ends in the conversion error, the table unchanged.
  auto other = Make<TPersistent>();
  ExpectRaises<EConvertError>([&] { dst->Assign(other.get()); },
                              "Cannot assign a TPersistent to a TPelHashtable");
  EXPECT_EQ(20, dst->GetCount());

  // A linked list receives the keys in enumeration order, in one update.
  auto t = Make<TPelHashtable>();
  for (intptr_t k : {7, 3, 110, 9}) t->Put(P(k), P(k * 2));
  auto linked = Make<TPelLinkedList>();
  linked->Add(nullptr);
  changes = 0;
  linked->SetOnChange([&](TObject*) { ++changes; });
  linked->Assign(t.get());
  EXPECT_EQ(1, changes);
  EXPECT_EQ(4, linked->GetCount());
  for (int32_t i = 0; i < 4; ++i) EXPECT_EQ(KeysByEnumeration(*t)[i], I(linked->GetItem(i)));

  // A string table from a string list: the later of a repeated string's
  // objects wins; one notification.
  TObject* objs[3] = {New<TObject>(), New<TObject>(), New<TObject>()};
  auto list = Make<TStringList>();
  list->AddObject("one", objs[0]);
  list->AddObject("two", objs[1]);
  list->AddObject("one", objs[2]);
  auto s = Make<TProbeStringTable>();
  s->Put("stale", nullptr);
  changes = 0;
  s->SetOnChange([&](TObject*) { ++changes; });
  s->Assign(list.get());
  EXPECT_EQ(1, changes);
  EXPECT_EQ(objs[2], s->Get("one"));
  EXPECT_FALSE(s->ContainsKey("stale"));
  // An empty string is refused before the table changes.
  list->Add("");
  ExpectRaises<EPelHashtableError>([&] { s->Assign(list.get()); }, "Argument is null");
  EXPECT_EQ(2, s->GetCount());
  // Back to a list, through the list's own Assign: keys in enumeration
  // order, values as objects.
  auto out = Make<TStringList>();
  out->Add("old");
  out->Assign(s.get());
  IPtr<IStringIterator> keys = s->Indices();
  EXPECT_EQ(keys->NextElement(), out->Get(0));
  EXPECT_EQ(objs[2], out->GetObject(out->IndexOf("one")));
  // Freeing a table clears it through the descendant's Clear.
  EXPECT_EQ("clear(2) ", Logged([&] { s.reset(); }));
  for (TObject* o : objs) Free(o);
}
