// TPelStringList driven by bytes. Input: a settings byte (comparison mode,
// duplicates), then pairs (operation, argument). A std::vector of strings
// does the same with the same comparison; after each step the list holds the
// same strings. Where the list picks a place among equal strings (sorted
// insertion, sorting), the place is checked to keep the order and the model
// follows it. The list owns objects and data put into it, so leaks and
// double frees show under the sanitizers.
#include <algorithm>
#include <cstdint>
#include <string>
#include <vector>

#include "FuzzCheck.h"
#include "foundation/Structures.h"

using namespace pel;

namespace {

const char* const kWords[] = {"",   "a",   "A",   "b", "B", "ab", "aB", "Ab",
                              "ba", "abc", "ABC", "z", "Z", "_",  "[",  "~"};

using Compare = int32_t (*)(const String&, const String&);

struct Model {
  std::vector<std::string> Items;
  Compare Cmp;
  bool Sorted = false;

  bool InOrder() const {
    for (std::size_t i = 1; i < Items.size(); ++i)
      if (Cmp(Items[i - 1], Items[i]) > 0) return false;
    return true;
  }
  bool Contains(const std::string& s) const {
    return std::any_of(Items.begin(), Items.end(), [&](auto& x) { return Cmp(x, s) == 0; });
  }
};

bool SameMultiset(std::vector<std::string> a, std::vector<std::string> b) {
  std::sort(a.begin(), a.end());
  std::sort(b.begin(), b.end());
  return a == b;
}

std::vector<std::string> Contents(TPelStringList* L) {
  std::vector<std::string> r;
  for (int32_t i = 0; i < L->GetCount(); ++i) r.push_back(L->Get(i));
  return r;
}

// Runs Fn and reports whether it raised EStringListError.
template <class F>
bool Raises(F Fn) {
  try {
    Fn();
  } catch (const EStringListError&) {
    return true;
  }
  return false;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* Data, std::size_t Size) {
  if (Size < 1) return 0;
  const TStringOpsType mode = static_cast<TStringOpsType>(Data[0] & 3);
  const TDuplicates dups = static_cast<TDuplicates>((Data[0] >> 2) % 3);
  static const Compare kCompare[] = {CompareStr, CompareText, AnsiCompareStr, AnsiCompareText};

  auto list = Make<TPelStringList>();
  list->SetStringOpsType(mode);
  list->SetDuplicates(dups);
  list->SetFreeObjects(true);
  list->SetFreeData(true);
  Model m{{}, kCompare[mode]};

  for (std::size_t at = 1; at + 1 < Size; at += 2) {
    const uint8_t op = Data[at], arg = Data[at + 1];
    const int32_t count = static_cast<int32_t>(m.Items.size());
    // An index from -1 to Count + 1: a few out of range.
    const int32_t index = static_cast<int32_t>(arg % (count + 3)) - 1;
    const bool valid = index >= 0 && index < count;
    const std::string word = kWords[arg & 15];
    switch (op % 14) {
      case 0:
      case 1: {  // Add
        const bool had = m.Contains(word);
        int32_t r = -1;
        const bool raised = Raises([&] { r = list->Add(word); });
        if (!m.Sorted) {
          FUZZ_CHECK(!raised && r == count);
          m.Items.push_back(word);
        } else if (had && dups == dupError) {
          FUZZ_CHECK(raised);
        } else if (had && dups == dupIgnore) {
          FUZZ_CHECK(!raised && r >= 0 && r < count && m.Cmp(m.Items[r], word) == 0);
        } else {
          FUZZ_CHECK(!raised && r >= 0 && r <= count);
          m.Items.insert(m.Items.begin() + r, word);
          FUZZ_CHECK(m.InOrder());
        }
        break;
      }
      case 2: {  // Insert
        const bool raised = Raises([&] { list->Insert(index, word); });
        FUZZ_CHECK(raised == (m.Sorted || index < 0 || index > count));
        if (!raised) m.Items.insert(m.Items.begin() + index, word);
        break;
      }
      case 3:  // Delete
        FUZZ_CHECK(Raises([&] { list->Delete(index); }) == !valid);
        if (valid) m.Items.erase(m.Items.begin() + index);
        break;
      case 4: {  // Put
        const bool raised = Raises([&] { list->Put(index, word); });
        FUZZ_CHECK(raised == (m.Sorted || !valid));
        if (!raised) m.Items[index] = word;
        break;
      }
      case 5: {  // Exchange with the last (unsorted: it would break the order)
        if (m.Sorted) break;
        const int32_t other = count - 1;
        const bool raised = Raises([&] { list->Exchange(index, other); });
        FUZZ_CHECK(raised == (!valid || other < 0));
        if (!raised) std::swap(m.Items[index], m.Items[other]);
        break;
      }
      case 6: {  // IndexOf
        const int32_t r = list->IndexOf(word);
        if (!m.Contains(word)) {
          FUZZ_CHECK(r == -1);
        } else if (m.Sorted) {
          FUZZ_CHECK(r >= 0 && r < count && m.Cmp(m.Items[r], word) == 0);
        } else {
          auto it = std::find_if(m.Items.begin(), m.Items.end(),
                                 [&](auto& x) { return m.Cmp(x, word) == 0; });
          FUZZ_CHECK(r == it - m.Items.begin());
        }
        break;
      }
      case 7:    // Sorted on or off
      case 8: {  // Sort
        if (op % 14 == 7 && m.Sorted) {
          list->SetSorted(false);
          m.Sorted = false;
          break;
        }
        if (op % 14 == 7) {
          list->SetSorted(true);
          m.Sorted = true;
        } else {
          list->Sort();
        }
        if (!m.Sorted || op % 14 == 7) {
          const auto now = Contents(list.get());
          FUZZ_CHECK(SameMultiset(now, m.Items));
          m.Items = now;
          FUZZ_CHECK(m.InOrder());
        }
        break;
      }
      case 9:  // Objects and data, owned by the list
        if (valid) {
          if (arg & 1)
            list->PutObject(index, New<TObject>());
          else
            list->PutData(index, New<TObject>());
        } else {
          FUZZ_CHECK(Raises([&] { list->PutObject(index, nullptr); }));
        }
        break;
      case 10:  // Capacity
        FUZZ_CHECK(Raises([&] { list->SetCapacity(count + index); }) == (index < 0));
        break;
      case 11:  // Clear, now and then
        if (arg < 32) {
          list->Clear();
          m.Items.clear();
        }
        break;
      case 12: {  // A copy has the same strings and comparison
        auto copy = Make<TPelStringList>();
        copy->Assign(list.get());
        FUZZ_CHECK(Contents(copy.get()) == m.Items);
        FUZZ_CHECK(copy->GetStringOpsType() == mode);
        break;
      }
      default: {  // Find on a sorted list
        if (!m.Sorted) break;
        int32_t r = -1;
        const bool found = list->Find(word, r);
        FUZZ_CHECK(found == m.Contains(word));
        FUZZ_CHECK(r >= 0 && r <= count);
        if (found) FUZZ_CHECK(m.Cmp(m.Items[r], word) == 0);
        break;
      }
    }
    FUZZ_CHECK(Contents(list.get()) == m.Items);
  }
  return 0;
}
