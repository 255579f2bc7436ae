// TPelHashIntTable and TPelStringHashtable driven by bytes. Input: a
// settings byte (which table, hash method, initial capacity), then pairs
// (operation, argument). A std::map does the same; after each step the table
// holds the same keys and values, answers lookups the same way, and walks
// every entry once by position, by its own cursor and by its enumerators.
#include <algorithm>
#include <cstdint>
#include <map>
#include <string>
#include <vector>

#include "FuzzCheck.h"
#include "hashing/PelHashTable.h"

using namespace pel;

namespace {

const char* const kWords[] = {"",  "a",  "b",  "ab",  "ba",  "abc", "A", "B",
                              "0", "00", "10", "123", "key", "kez", "z", "zz"};

struct IntKeys {
  using Table = TPelHashIntTable;
  using Key = int32_t;
  // Spread over both signs and large magnitudes; 0 is not a key.
  static Key Make(uint8_t a) { return static_cast<int8_t>(a) * (a & 1 ? 1 : 40503); }
  static void* Raw(const Key& k) { return Table::KeyOf(k); }
  static Key FromRaw(void* p) { return Table::KeyOf(p); }
  static bool Valid(const Key& k) { return k != 0; }
  static void* Put(Table* t, const Key& k, void* v) { return t->Put(k, v); }
  static void* Get(Table* t, const Key& k) { return t->Get(k); }
  static void* Remove(Table* t, const Key& k) { return t->Remove(k); }
  static bool Contains(Table* t, const Key& k) { return t->ContainsKey(k); }
  static Key KeyAt(Table* t, int32_t i) { return FromRaw(t->GetKeyByIndex(i)); }
  static Key NextKey(Table* t) { return FromRaw(t->Next()); }
  static std::vector<Key> Indices(Table* t) {
    std::vector<Key> r;
    for (auto it = t->Indices(); it->HasMoreElements();) r.push_back(FromRaw(it->NextElement()));
    return r;
  }
};

struct StringKeys {
  using Table = TPelStringHashtable;
  using Key = std::string;
  static Key Make(uint8_t a) { return kWords[a & 15]; }
  // The empty string hashes to 0, which stands for no key.
  static bool Valid(const Key& k) { return !k.empty(); }
  static void* Put(Table* t, const Key& k, void* v) { return t->Put(k, v); }
  static void* Get(Table* t, const Key& k) { return t->Get(k); }
  static void* Remove(Table* t, const Key& k) { return t->Remove(k); }
  // ContainsKey answers false for the empty key, stored or not.
  static bool Contains(Table* t, const Key& k) { return t->ContainsKey(k); }
  static Key KeyAt(Table* t, int32_t i) { return t->GetKeyByIndex(i); }
  static Key NextKey(Table* t) { return t->Next(); }
  static std::vector<Key> Indices(Table* t) {
    std::vector<Key> r;
    for (auto it = t->Indices(); it->HasMoreElements();) r.push_back(it->NextElement());
    return r;
  }
};

template <class F>
bool RaisesHashError(F Fn) {
  try {
    Fn();
  } catch (const EPelHashtableError&) {
    return true;
  }
  return false;
}

template <class K>
std::vector<typename K::Key> Keys(const std::map<typename K::Key, void*>& m) {
  std::vector<typename K::Key> r;
  for (auto& [k, v] : m) r.push_back(k);
  return r;
}

template <class K>
void Run(const uint8_t* Data, std::size_t Size) {
  using Key = typename K::Key;
  const auto hashType = static_cast<TPelHashType>((Data[0] >> 1) & 3);
  const uint32_t capacity = (Data[0] >> 3) % 20;
  auto table = Make<typename K::Table>(capacity, 0.75f);
  table->SetHashType(hashType);
  std::map<Key, void*> m;
  auto sorted = [](std::vector<Key> v) {
    std::sort(v.begin(), v.end());
    return v;
  };

  for (std::size_t at = 1; at + 1 < Size; at += 2) {
    const uint8_t op = Data[at], arg = Data[at + 1];
    const Key key = K::Make(arg);
    void* value = reinterpret_cast<void*>(static_cast<uintptr_t>(at) * 16 + 8);
    const auto found = m.find(key);
    const bool has = found != m.end();
    switch (op % 10) {
      case 0:
      case 1: {  // Put
        if (!K::Valid(key)) {
          FUZZ_CHECK(RaisesHashError([&] { K::Put(table.get(), key, value); }));
          break;
        }
        if (table->GetCapacity() == 0) {
          // No buckets: the division hash divides by zero, and so do the others.
          bool raised = false;
          try {
            K::Put(table.get(), key, value);
          } catch (const EDivByZero&) {
            raised = true;
          }
          FUZZ_CHECK(raised);
          break;
        }
        void* old = K::Put(table.get(), key, value);
        FUZZ_CHECK(old == (has ? found->second : nullptr));
        m[key] = value;
        break;
      }
      case 2: {  // Get
        void* got = nullptr;
        const bool raised = RaisesHashError([&] { got = K::Get(table.get(), key); });
        FUZZ_CHECK(raised == !has);
        if (has) FUZZ_CHECK(got == found->second);
        break;
      }
      case 3: {  // Remove
        void* got = nullptr;
        const bool raised = RaisesHashError([&] { got = K::Remove(table.get(), key); });
        FUZZ_CHECK(raised == !has);
        if (has) {
          FUZZ_CHECK(got == found->second);
          m.erase(found);
        }
        break;
      }
      case 4:  // ContainsKey, ContainsItem
        if constexpr (std::is_same_v<Key, int32_t>) {
          if (!K::Valid(key) && !m.empty()) {
            FUZZ_CHECK(RaisesHashError([&] { K::Contains(table.get(), key); }));
            break;
          }
        }
        if constexpr (std::is_same_v<Key, std::string>)
          FUZZ_CHECK(K::Contains(table.get(), key) == (has && !key.empty()));
        else
          FUZZ_CHECK(K::Contains(table.get(), key) == has);
        FUZZ_CHECK(table->ContainsItem(value) == false);
        if (has) FUZZ_CHECK(table->ContainsItem(found->second));
        break;
      case 5: {  // Every position, forwards or backwards, and one beyond
        // An insertion into the cached bucket keeps the position cache on
        // purpose, shifting later positions; start from a fresh one.
        table->ClearCache();
        const int32_t n = table->GetCount();
        std::vector<Key> seen;
        for (int32_t i = 0; i < n; ++i)
          seen.push_back(K::KeyAt(table.get(), arg & 1 ? n - 1 - i : i));
        FUZZ_CHECK(sorted(seen) == Keys<K>(m));
        bool raised = false;
        try {
          table->GetItemByIndex(arg & 2 ? n : -1);
        } catch (const EListError&) {
          raised = true;
        }
        FUZZ_CHECK(raised);
        break;
      }
      case 6: {  // The table's own cursor and the key enumerator
        table->Reset();
        std::vector<Key> seen;
        while (!table->GetEOT() && seen.size() <= m.size()) seen.push_back(K::NextKey(table.get()));
        FUZZ_CHECK(sorted(seen) == Keys<K>(m));
        FUZZ_CHECK(sorted(K::Indices(table.get())) == Keys<K>(m));
        break;
      }
      case 7:  // Clear, now and then
        if (arg < 48) {
          table->Clear();
          m.clear();
        }
        break;
      case 8:  // Another capacity; 0 drops every entry
        table->SetCapacity(arg % 24);
        if (arg % 24 == 0) m.clear();
        break;
      default: {  // A copy holds the same
        auto copy = Make<typename K::Table>();
        copy->Assign(table.get());
        FUZZ_CHECK(copy->GetCount() == static_cast<int32_t>(m.size()));
        for (auto& [k, v] : m) FUZZ_CHECK(K::Get(copy.get(), k) == v);
        break;
      }
    }
    FUZZ_CHECK(table->GetCount() == static_cast<int32_t>(m.size()));
  }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* Data, std::size_t Size) {
  if (Size < 1) return 0;
  if (Data[0] & 1)
    Run<StringKeys>(Data, Size);
  else
    Run<IntKeys>(Data, Size);
  return 0;
}
