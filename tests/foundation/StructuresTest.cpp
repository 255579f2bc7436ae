#include <gtest/gtest.h>

#include <clocale>
#include <functional>
#include <tuple>
#include <vector>

#include "foundation/Structures.h"
#include "platform/ExpectRaises.h"

using namespace pel;
using pel::test::ExpectRaises;

namespace {

using Names = std::vector<std::string>;

// Objects that write their name into a shared log when destroyed.
struct TTracked : TObject {
  PEL_CLASS(TTracked, TObject)
 public:
  TTracked(Names* log, std::string name) : FLog(log), FName(std::move(name)) {}
  ~TTracked() override { FLog->push_back(FName); }

 private:
  Names* FLog;
  std::string FName;
};

// An owner that records every hook in order.
class TRecordingOwner : public TInterfacedObject, public IStringsOwner {
  PEL_CLASS(TRecordingOwner, TInterfacedObject)
 public:
  Names Log;
  void StringsChanged(TObject*) override { Log.push_back("owner.changed"); }
  void StringsChanging(TObject*) override { Log.push_back("owner.changing"); }
  void BeforePut(TObject*, int32_t I, const String& S) override {
    Log.push_back("put " + std::to_string(I) + " " + S);
  }
  void BeforePutObject(TObject*, int32_t I, TObject*) override {
    Log.push_back("putobject " + std::to_string(I));
  }
  void BeforeDelete(TObject*, int32_t I) override { Log.push_back("delete " + std::to_string(I)); }
  void BeforeClear(TObject*) override { Log.push_back("clear"); }
};

// Attaches a recording owner and logs the list's own events beside its hooks.
template <class L>
Names& Record(L* l) {
  auto* owner = New<TRecordingOwner>();
  l->SetOwner(IPtr<IStringsOwner>(owner));
  Names& log = owner->Log;
  l->SetOnChanging([&log](TObject*) { log.push_back("changing"); });
  l->SetOnChange([&log](TObject*) { log.push_back("changed"); });
  return log;
}

const Names kNotified = {"owner.changing", "changing", "owner.changed", "changed"};

Names operator+(Names A, const Names& B) {
  A.insert(A.end(), B.begin(), B.end());
  return A;
}

Names Strings(TStrings& l) {
  Names r;
  for (int32_t i = 0; i < l.GetCount(); ++i) r.push_back(l.Get(i));
  return r;
}

Owned<TPelStringList> ListOf(std::initializer_list<const char*> items,
                             TStringOpsType ops = soCaseSensitive) {
  auto l = Make<TPelStringList>();
  l->SetStringOpsType(ops);
  for (const char* s : items) l->Add(s);
  return l;
}

// Tracked objects in every Object and Data slot.
void Own(TPelStringList& L, Names& Freed, const std::string& Object, const std::string& Data) {
  for (int32_t i = 0; i < L.GetCount(); ++i) {
    L.PutObject(i, New<TTracked>(&Freed, Object + std::to_string(i)));
    L.PutData(i, New<TTracked>(&Freed, Data + std::to_string(i)));
  }
}

}  // namespace

TEST(PelStringList, GrowthCapacityAndSortedAddition) {
  auto l = Make<TPelStringList>();
  for (int i = 0; i < 119; ++i) l->Add("x");
  EXPECT_EQ(l->GetCapacity(), 147);  // the framework's steps, 4 to 118, then 147
  // Capacity below Count raises and keeps every string (a deliberate
  // departure); down to Count itself it is cut as asked.
  ExpectRaises<EStringListError>([&] { l->SetCapacity(118); }, "List capacity out of bounds (118)");
  EXPECT_EQ(l->GetCount(), 119);
  l->SetCapacity(119);
  l->Add("z");
  EXPECT_EQ(l->GetCapacity(), 148);

  auto s = ListOf({"b", "a", "c", "a"});  // unsorted: duplicates appended
  s->SetSorted(true);
  EXPECT_EQ(Strings(*s), (Names{"a", "a", "b", "c"}));
  s->SetDuplicates(dupError);
  ExpectRaises<EStringListError>([&] { s->Add("c"); }, "String list does not allow duplicates");
  s->SetDuplicates(dupAccept);
  EXPECT_EQ(s->Add("b"), 2);
  EXPECT_EQ(Strings(*s), (Names{"a", "a", "b", "b", "c"}));
  EXPECT_THROW(s->Put(0, "z"), EStringListError);
  ExpectRaises<EStringListError>([&] { s->Get(5); }, "List index out of bounds (5)");
}

TEST(PelStringList, FindMeetsFirstOrAnyEqualString) {
  auto l = ListOf({"a", "b", "b", "b", "b", "b", "c"});
  l->SetSorted(true);
  struct Case {
    TDuplicates dup;
    const char* s;
    bool found;
    int32_t index;
  } cases[] = {{dupAccept, "b", true, 1},  // the first of the run
               {dupIgnore, "b", true, 3},  // the one the search met first
               {dupIgnore, "bb", false, 6},
               {dupIgnore, "d", false, 7}};
  for (const Case& c : cases) {
    SCOPED_TRACE(c.s);
    l->SetDuplicates(c.dup);
    int32_t index = -1;
    EXPECT_EQ(l->Find(c.s, index), c.found);
    EXPECT_EQ(index, c.index);
  }
  EXPECT_EQ(std::pair(l->IndexOf("b"), l->IndexOf("x")), std::pair(3, -1));  // through Find
}

TEST(PelStringList, ComparisonModesOrderAndSearch) {
  std::setlocale(LC_ALL, "C");
  // Each comparison sorts b, _, a, C and searches the result (unsorted) for "A".
  const std::tuple<TStringOpsType, const char*, int32_t> modes[] = {
      {soCaseSensitive, "C,_,a,b", -1},
      {soCaseInsensitive, "a,b,C,_", 0},  // letters fold up
      {soCaseSensitiveLocale, "C,_,a,b", -1},
      {soCaseInsensitiveLocale, "_,a,b,C", 1}};  // the default: letters fold down
  for (auto [ops, sorted, indexOfA] : modes) {
    auto l = ListOf({"b", "_", "a", "C"}, ops);
    l->Sort();
    EXPECT_EQ(l->GetCommaText(), sorted) << ops;
    EXPECT_EQ(l->IndexOf("A"), indexOfA) << ops;
  }
}

TEST(PelStringList, OwnerIsToldFirstEvenWhenTheCheckFails) {
  auto l = ListOf({"a", "b"});
  Names& log = Record(l.get());
  l->Put(1, "c");
  EXPECT_EQ(log, Names{"put 1 c"} + kNotified);
  log.clear();
  EXPECT_THROW(l->Delete(5), EStringListError);
  EXPECT_THROW(l->PutObject(-1, nullptr), EStringListError);
  EXPECT_EQ(log, (Names{"delete 5", "putobject -1"}));
  EXPECT_EQ(Strings(*l), (Names{"a", "c"}));
  log.clear();
  l->Add("d");  // Add itself does not call a Before hook
  EXPECT_EQ(log, kNotified);
  log.clear();
  l->Clear();
  l->Clear();  // empty: only the owner hears of it
  EXPECT_EQ(log, Names{"clear"} + kNotified + Names{"clear"});
  // Opening an update fires nothing; closing the outermost fires one Changed.
  log.clear();
  l->BeginUpdate();
  l->BeginUpdate();
  l->Add("b");
  l->EndUpdate();
  EXPECT_TRUE(log.empty());
  l->EndUpdate();
  EXPECT_EQ(log, (Names{"owner.changed", "changed"}));
  l->SetOwner(nullptr);
}

namespace {

// Clear is virtual: a descendant's override must be the one destruction runs.
class TLoggingList : public TPelStringList {
  PEL_CLASS(TLoggingList, TPelStringList)
 public:
  explicit TLoggingList(Names* log) : FLog(log) {}
  void Clear() override {
    FLog->push_back("descendant clear");
    TPelStringList::Clear();
  }

 private:
  Names* FLog;
};

}  // namespace

TEST(PelStringList, OwnedDataGoesBeforeOwnedObjects) {
  Names freed;
  auto l = ListOf({"a", "b"});
  l->SetFreeData(true);
  l->SetFreeObjects(true);
  Own(*l, freed, "object", "data");
  l->Delete(0);
  l->Add("c");
  l->PutData(1, New<TTracked>(&freed, "data2"));
  l->Clear();
  EXPECT_EQ(freed, (Names{"data0", "object0", "data1", "object1", "data2"}));

  // A string inserted among owned objects carries none of its neighbours'.
  auto mixed = ListOf({"x", "a", "b"});
  mixed->SetFreeObjects(true);
  mixed->SetFreeData(true);
  Own(*mixed, freed, "o", "d");
  mixed->Delete(0);
  mixed->Insert(1, "new");
  EXPECT_EQ(mixed->GetObject(1), nullptr);
  EXPECT_EQ(mixed->GetData(1), nullptr);

  // Storing the same owned object again frees it (kept behaviour): the slot
  // is left holding a dangling pointer, which this test only compares.
  freed.clear();
  auto again = ListOf({"a"});
  again->SetFreeData(true);
  TTracked* d = New<TTracked>(&freed, "twice");
  again->PutData(0, d);
  again->PutData(0, d);
  EXPECT_EQ(freed, (Names{"twice"}));
  again->SetFreeData(false);

  // Destruction frees owned objects through the descendant's Clear, quietly.
  freed.clear();
  auto* owning = New<TLoggingList>(&freed);
  owning->SetFreeObjects(true);
  owning->AddObject("a", New<TTracked>(&freed, "object"));
  owning->SetOnChange([&](TObject*) { freed.push_back("event"); });
  Free(owning);
  EXPECT_EQ(freed, (Names{"descendant clear", "object"}));
}

TEST(PelStringList, ForEachWalksBackwardsSoActionsMayDelete) {
  auto l = ListOf({"a", "bb", "c", "dd", "e"});
  Names seen;
  TForEachFilterMethod longOnes = [](TObject*, int32_t, const String& s, TObject*, int32_t tag) {
    return static_cast<int32_t>(s.size()) == tag;
  };
  TForEachObjectMethod remove = [&](TObject* sender, int32_t index, const String& s, TObject*,
                                    int32_t) {
    seen.push_back(s);
    static_cast<TStrings*>(sender)->Delete(index);
  };
  l->ForEach(longOnes, remove, 2);
  EXPECT_EQ(seen, (Names{"dd", "bb"}));
  EXPECT_EQ(Strings(*l), (Names{"a", "c", "e"}));
  auto sfc = Make<TSFCList>();
  sfc->Add("x");
  sfc->ForEach(TForEachFilterMethod(), remove, 0);
  EXPECT_EQ(sfc->GetCount(), 0);

  // Free-function callbacks: a missing action raises instead of crashing.
  EXPECT_THROW(l->ForEach(static_cast<TForEachFilterProc>(nullptr),
                          static_cast<TForEachObjectProc>(nullptr), 0),
               EAccessViolation);
}

TEST(PelStringList, AssignFromPlatformAndOwnLists) {
  // A sorted platform list is trusted as it stands, even in another order;
  // an unsorted one is sorted on insertion.
  auto source = Make<TStringList>();
  source->SetCaseSensitive(true);
  for (const char* s : {"b", "A", "a"}) source->Add(s);
  source->SetSorted(true);
  auto target = Make<TPelStringList>();
  target->SetStringOpsType(soCaseSensitive);
  target->SetSorted(true);
  target->Assign(source.get());
  EXPECT_EQ(Strings(*target), Strings(*source));
  source->SetSorted(false);
  source->Exchange(0, 2);
  target->Assign(source.get());
  EXPECT_EQ(Strings(*target), (Names{"A", "a", "b"}));

  // From another TPelStringList: Data follows by index, the comparison is
  // copied without re-sorting, ownership flags are not copied.
  auto pelSource = ListOf({"x", "y"}, soCaseInsensitive);
  pelSource->SetFreeData(true);
  TObject marker;
  pelSource->PutData(1, &marker);
  auto copy = Make<TPelStringList>();
  int changed = 0;
  copy->SetOnChange([&](TObject*) { ++changed; });
  copy->Assign(pelSource.get());
  EXPECT_EQ(changed, 1);
  EXPECT_EQ(copy->GetData(1), &marker);
  EXPECT_EQ(copy->GetStringOpsType(), soCaseInsensitive);
  EXPECT_FALSE(copy->GetFreeData());
  pelSource->SetFreeData(false);

  TPersistent other;
  EXPECT_THROW(copy->Assign(&other), EConvertError);
}

TEST(PelStringList, SortAndExchangeMoveObjectsAndDataWithStrings) {
  auto l = ListOf({"c", "a", "b"});
  TObject o[3];
  for (int32_t i = 0; i < 3; ++i) {
    l->PutObject(i, &o[i]);
    l->PutData(i, &o[2 - i]);
  }
  l->Sort();
  l->Exchange(0, 1);
  EXPECT_EQ(Strings(*l), (Names{"b", "a", "c"}));
  for (int32_t i = 0; i < 3; ++i) {
    EXPECT_EQ(l->GetObject(i), &o[2 - i]) << i;
    EXPECT_EQ(l->GetData(i), &o[i]) << i;
  }
  EXPECT_THROW(l->Exchange(0, 3), EStringListError);
}

TEST(SFCList, OwnerHooksOnThePlatformList) {
  auto l = Make<TSFCList>();
  Names& log = Record(l.get());
  // One addition is one Changed and no Changing: it runs inside an update.
  l->AddObject("Apple", nullptr);
  l->Put(0, "Banana");
  EXPECT_THROW(l->Delete(4), EStringListError);
  EXPECT_EQ(log,
            (Names{"owner.changed", "changed", "put 0 Banana"} + kNotified + Names{"delete 4"}));
  // Unsorted search is exact, whatever CaseSensitive says.
  EXPECT_EQ(l->IndexOf("banana"), -1);
  log.clear();
  l->Clear();
  EXPECT_EQ(log.front(), "clear");

  // A sorted platform source keeps its order in a sorted target.
  auto source = Make<TStringList>();
  source->SetCaseSensitive(true);
  for (const char* s : {"b", "B", "a"}) source->Add(s);
  source->SetSorted(true);
  l->SetSorted(true);  // case-insensitive: would order differently
  l->Assign(source.get());
  EXPECT_EQ(Strings(*l), Strings(*source));
  l->SetOwner(nullptr);
}

TEST(SFCList, FreeListOwnsItsMembers) {
  Names freed;
  auto* l = New<TSFCFreeList>();
  for (int i = 0; i < 4; ++i)
    l->AddObject("s" + std::to_string(i), New<TTracked>(&freed, "o" + std::to_string(i)));
  l->Delete(1);
  l->PutObject(0, New<TTracked>(&freed, "o4"));
  l->Delete(2);
  l->Clear();  // last first
  EXPECT_EQ(freed, (Names{"o1", "o0", "o3", "o2", "o4"}));

  // Freeing the list frees what it still owns, telling nobody.
  l->AddObject("x", New<TTracked>(&freed, "last"));
  l->SetOnChange([&](TObject*) { freed.push_back("event"); });
  Free(l);
  EXPECT_EQ(freed.size(), 6u);
  EXPECT_EQ(freed.back(), "last");
}

TEST(StringLists, AFailureWhoseClosingNotificationRaisesReportsTheLaterOne) {
  auto raise = [](TObject*) { throw EAbort("changed"); };
  // Each fails inside an update bracket;
  // closing it notifies, that failure replaces the first, and the bracket is
  // closed (the next change notifies).
  auto pel = ListOf({"a"});
  pel->SetOnChange(raise);
  auto node = Make<TPersistent>();
  EXPECT_THROW(pel->Assign(node.get()), EAbort);
  EXPECT_THROW(pel->Add("z"), EAbort);
  auto sfc = Make<TSFCList>();
  sfc->SetSorted(true);
  sfc->SetDuplicates(dupError);
  sfc->Add("a");
  sfc->SetOnChange(raise);
  EXPECT_THROW(sfc->AddObject("a", nullptr), EAbort);
  EXPECT_THROW(sfc->Add("z"), EAbort);
}
