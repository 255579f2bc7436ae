#include <gtest/gtest.h>

#include <clocale>
#include <functional>
#include <vector>

#include "foundation/Structures.h"

using namespace pel;

namespace {

// Objects that write their name into a shared log when destroyed.
struct TTracked : TObject {
  PEL_CLASS(TTracked, TObject)
 public:
  TTracked(std::vector<std::string>* log, std::string name) : FLog(log), FName(std::move(name)) {}
  ~TTracked() override { FLog->push_back(FName); }

 private:
  std::vector<std::string>* FLog;
  std::string FName;
};

// An owner that records every hook in order.
class TRecordingOwner : public TInterfacedObject, public IStringsOwner {
  PEL_CLASS(TRecordingOwner, TInterfacedObject)
 public:
  std::vector<std::string> Log;
  void StringsChanged(TObject*) override { Log.push_back("owner.changed"); }
  void StringsChanging(TObject*) override { Log.push_back("owner.changing"); }
  void BeforePut(TObject*, int32_t Index, const String& S) override {
    Log.push_back("put " + std::to_string(Index) + " " + S);
  }
  void BeforePutObject(TObject*, int32_t Index, TObject*) override {
    Log.push_back("putobject " + std::to_string(Index));
  }
  void BeforeDelete(TObject*, int32_t Index) override {
    Log.push_back("delete " + std::to_string(Index));
  }
  void BeforeClear(TObject*) override { Log.push_back("clear"); }
};

std::vector<std::string> Strings(TStrings& l) {
  std::vector<std::string> r;
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

void ExpectListError(const std::function<void()>& Fn, const std::string& Msg) {
  try {
    Fn();
    ADD_FAILURE() << "expected " << Msg;
  } catch (const EStringListError& e) {
    EXPECT_EQ(e.Message(), Msg);
  }
}

// Expects Fn to end in the EAbort a raising OnChange throws, with the
// list's update bracket closed again (the next change notifies).
void ExpectLater(TStrings* List, const std::function<void()>& Fn) {
  EXPECT_THROW(Fn(), EAbort);
  EXPECT_THROW(List->Add("z"), EAbort);
}

}  // namespace

TEST(PelStringList, StartsEmptyAndGrowsInFrameworkSteps) {
  auto l = Make<TPelStringList>();
  EXPECT_EQ(l->GetStringOpsType(), soCaseInsensitiveLocale);
  EXPECT_FALSE(l->GetSorted());
  EXPECT_EQ(l->GetDuplicates(), dupIgnore);
  std::vector<int32_t> capacities;
  for (int i = 0; i < 118; ++i) {
    l->Add("x");
    if (capacities.empty() || capacities.back() != l->GetCapacity())
      capacities.push_back(l->GetCapacity());
  }
  EXPECT_EQ(capacities, (std::vector<int32_t>{4, 8, 12, 28, 44, 60, 76, 95, 118}));
  l->Add("y");
  EXPECT_EQ(l->GetCapacity(), 147);
  // Capacity below Count raises and keeps every string (a deliberate
  // departure); down to Count itself it is cut as asked, shrinking too.
  ExpectListError([&] { l->SetCapacity(118); }, "List capacity out of bounds (118)");
  EXPECT_EQ(l->GetCount(), 119);
  EXPECT_EQ(l->Get(118), "y");
  l->SetCapacity(119);
  l->Add("z");
  EXPECT_EQ(l->GetCapacity(), 148);
}

TEST(PelStringList, SortedAddHonoursDuplicates) {
  auto l = ListOf({"b", "a", "c"});
  l->SetSorted(true);
  EXPECT_EQ(Strings(*l), (std::vector<std::string>{"a", "b", "c"}));
  EXPECT_EQ(l->Add("b"), 1);  // dupIgnore: the existing index, nothing added
  EXPECT_EQ(l->GetCount(), 3);
  l->SetDuplicates(dupError);
  try {
    l->Add("c");
    FAIL() << "no error";
  } catch (const EStringListError& e) {
    EXPECT_STREQ(e.what(), "String list does not allow duplicates");
  }
  EXPECT_EQ(l->GetCount(), 3);
  l->SetDuplicates(dupAccept);
  EXPECT_EQ(l->Add("b"), 1);
  EXPECT_EQ(Strings(*l), (std::vector<std::string>{"a", "b", "b", "c"}));
  EXPECT_THROW(l->Insert(0, "z"), EStringListError);
  EXPECT_THROW(l->Put(0, "z"), EStringListError);

  auto unsorted = ListOf({"a", "a"});
  EXPECT_EQ(unsorted->GetCount(), 2);
}

TEST(PelStringList, FindMeetsFirstOrAnyEqualString) {
  auto l = ListOf({"a", "b", "b", "b", "b", "b", "c"});
  l->SetSorted(true);
  l->SetDuplicates(dupAccept);
  int32_t index = -1;
  EXPECT_TRUE(l->Find("b", index));
  EXPECT_EQ(index, 1);  // the first of the run
  l->SetDuplicates(dupIgnore);
  EXPECT_TRUE(l->Find("b", index));
  EXPECT_EQ(index, 3);  // the one the search met first: the middle
  EXPECT_FALSE(l->Find("bb", index));
  EXPECT_EQ(index, 6);
  EXPECT_FALSE(l->Find("0", index));
  EXPECT_EQ(index, 0);
  EXPECT_FALSE(l->Find("d", index));
  EXPECT_EQ(index, 7);
  EXPECT_EQ(l->IndexOf("c"), 6);
  EXPECT_EQ(l->IndexOf("x"), -1);
}

TEST(PelStringList, ComparisonModesOrderAndSearch) {
  std::setlocale(LC_ALL, "C");
  auto cs = ListOf({"b", "B", "a", "_", "A"}, soCaseSensitive);
  cs->Sort();
  EXPECT_EQ(Strings(*cs), (std::vector<std::string>{"A", "B", "_", "a", "b"}));
  EXPECT_EQ(cs->IndexOf("a"), 3);

  auto ci = ListOf({"b", "_", "a"}, soCaseInsensitive);
  ci->Sort();
  EXPECT_EQ(Strings(*ci), (std::vector<std::string>{"a", "b", "_"}));  // letters fold up
  EXPECT_EQ(ci->IndexOf("B"), 1);

  auto csl = ListOf({"b", "a", "B"}, soCaseSensitiveLocale);
  EXPECT_EQ(csl->IndexOf("A"), -1);
  EXPECT_EQ(csl->IndexOf("B"), 2);

  auto cil = ListOf({"b", "a", "B"}, soCaseInsensitiveLocale);
  EXPECT_EQ(cil->IndexOf("A"), 1);  // case ignored even in the "C" locale
  EXPECT_EQ(cil->IndexOf("B"), 0);

  // Switching the comparison of a sorted list re-sorts it, with one
  // notification pair.
  auto l = ListOf({"b", "A", "a", "B"}, soCaseSensitive);
  l->SetSorted(true);
  EXPECT_EQ(Strings(*l), (std::vector<std::string>{"A", "B", "a", "b"}));
  int changing = 0, changed = 0;
  l->SetOnChanging([&](TObject*) { ++changing; });
  l->SetOnChange([&](TObject*) { ++changed; });
  l->SetStringOpsType(soCaseInsensitive);
  EXPECT_EQ(changing, 1);
  EXPECT_EQ(changed, 1);
  EXPECT_EQ(CompareText(l->Get(0), "a"), 0);
  EXPECT_EQ(CompareText(l->Get(1), "a"), 0);
  EXPECT_EQ(CompareText(l->Get(3), "b"), 0);
}

TEST(PelStringList, OwnerIsToldFirstEvenWhenTheCheckFails) {
  auto l = ListOf({"a", "b"});
  auto* owner = New<TRecordingOwner>();
  l->SetOwner(IPtr<IStringsOwner>(owner));
  std::vector<std::string>& log = owner->Log;
  l->SetOnChanging([&](TObject*) { log.push_back("changing"); });
  l->SetOnChange([&](TObject*) { log.push_back("changed"); });

  l->Put(1, "c");
  EXPECT_EQ(log, (std::vector<std::string>{"put 1 c", "owner.changing", "changing", "owner.changed",
                                           "changed"}));
  log.clear();
  EXPECT_THROW(l->Delete(5), EStringListError);
  EXPECT_THROW(l->PutObject(-1, nullptr), EStringListError);
  EXPECT_EQ(log, (std::vector<std::string>{"delete 5", "putobject -1"}));
  EXPECT_EQ(Strings(*l), (std::vector<std::string>{"a", "c"}));
  try {
    l->Get(2);
  } catch (const EStringListError& e) {
    EXPECT_STREQ(e.what(), "List index out of bounds (2)");
  }
  log.clear();
  l->Add("d");  // Add itself does not call a Before hook
  EXPECT_EQ(log.front(), "owner.changing");
  log.clear();
  l->Clear();
  EXPECT_EQ(log, (std::vector<std::string>{"clear", "owner.changing", "changing", "owner.changed",
                                           "changed"}));
  log.clear();
  l->Clear();  // empty: only the owner hears of it
  EXPECT_EQ(log, (std::vector<std::string>{"clear"}));
  l->SetOwner(nullptr);
}

TEST(PelStringList, UpdatesFireOneChangeOnClose) {
  auto l = ListOf({"a"});
  std::vector<std::string> log;
  l->SetOnChanging([&](TObject*) { log.push_back("changing"); });
  l->SetOnChange([&](TObject*) { log.push_back("changed"); });
  l->BeginUpdate();
  l->BeginUpdate();
  l->Add("b");
  l->Delete(0);
  l->EndUpdate();
  EXPECT_TRUE(log.empty());
  l->EndUpdate();
  EXPECT_EQ(log, (std::vector<std::string>{"changed"}));
}

TEST(PelStringList, OwnedDataGoesBeforeOwnedObjects) {
  std::vector<std::string> freed;
  auto l = ListOf({"a", "b"});
  l->SetFreeData(true);
  l->SetFreeObjects(true);
  for (int32_t i = 0; i < 2; ++i) {
    l->PutObject(i, New<TTracked>(&freed, "object" + std::to_string(i)));
    l->PutData(i, New<TTracked>(&freed, "data" + std::to_string(i)));
  }
  l->Delete(0);
  EXPECT_EQ(freed, (std::vector<std::string>{"data0", "object0"}));
  l->Add("c");
  l->PutData(1, New<TTracked>(&freed, "data2"));
  freed.clear();
  l->Clear();
  EXPECT_EQ(freed, (std::vector<std::string>{"data1", "object1", "data2"}));

  // Not owned: nothing is freed.
  auto plain = ListOf({"a"});
  TTracked keep(&freed, "kept");
  plain->PutObject(0, &keep);
  plain->PutData(0, &keep);
  EXPECT_EQ(plain->IndexOfData(&keep), 0);
  plain->Clear();
  freed.clear();

  // Storing the same owned object again frees it (kept behaviour): the slot
  // is left holding a dangling pointer, which this test only compares.
  auto again = ListOf({"a"});
  again->SetFreeData(true);
  TTracked* d = New<TTracked>(&freed, "twice");
  again->PutData(0, d);
  again->PutData(0, d);
  EXPECT_EQ(freed, (std::vector<std::string>{"twice"}));
  again->SetFreeData(false);
}

TEST(PelStringList, DestructionFreesOwnedObjectsQuietly) {
  std::vector<std::string> freed;
  auto* l = New<TPelStringList>();
  l->SetFreeObjects(true);
  l->Add("a");
  l->PutObject(0, New<TTracked>(&freed, "object"));
  int events = 0;
  l->SetOnChange([&](TObject*) { ++events; });
  l->SetOnChanging([&](TObject*) { ++events; });
  Free(l);
  EXPECT_EQ(freed, (std::vector<std::string>{"object"}));
  EXPECT_EQ(events, 0);
}

namespace {

// Clear is virtual: a descendant's override must be the one destruction runs.
class TLoggingList : public TPelStringList {
  PEL_CLASS(TLoggingList, TPelStringList)
 public:
  explicit TLoggingList(std::vector<std::string>* log) : FLog(log) {}
  void Clear() override {
    FLog->push_back("descendant clear");
    TPelStringList::Clear();
  }

 private:
  std::vector<std::string>* FLog;
};

}  // namespace

TEST(PelStringList, DestructionReachesDescendantClear) {
  std::vector<std::string> log;
  Free(New<TLoggingList>(&log));
  EXPECT_EQ(log, (std::vector<std::string>{"descendant clear"}));
}

TEST(PelStringList, ForEachWalksBackwardsSoActionsMayDelete) {
  auto l = ListOf({"a", "bb", "c", "dd", "e"});
  std::vector<std::string> seen;
  TForEachFilterMethod longOnes = [](TObject*, int32_t, const String& s, TObject*, int32_t tag) {
    return static_cast<int32_t>(s.size()) == tag;
  };
  TForEachObjectMethod remove = [&](TObject* sender, int32_t index, const String& s, TObject*,
                                    int32_t) {
    seen.push_back(s);
    static_cast<TPelStringList*>(sender)->Delete(index);
  };
  l->ForEach(longOnes, remove, 2);
  EXPECT_EQ(seen, (std::vector<std::string>{"dd", "bb"}));
  EXPECT_EQ(Strings(*l), (std::vector<std::string>{"a", "c", "e"}));
  seen.clear();
  l->ForEach(TForEachFilterMethod(), remove, 0);
  EXPECT_EQ(seen, (std::vector<std::string>{"e", "c", "a"}));
  EXPECT_EQ(l->GetCount(), 0);

  // Free-function callbacks, and a missing action raises instead of crashing.
  auto m = ListOf({"x", "y"});
  static int calls;
  calls = 0;
  TForEachObjectProc count = [](TObject*, int32_t, const String&, TObject*, int32_t) { ++calls; };
  m->ForEach(static_cast<TForEachFilterProc>(nullptr), count, 0);
  EXPECT_EQ(calls, 2);
  EXPECT_THROW(m->ForEach(static_cast<TForEachFilterProc>(nullptr),
                          static_cast<TForEachObjectProc>(nullptr), 0),
               EAccessViolation);
}

TEST(PelStringList, AssignFromPlatformAndOwnLists) {
  // A sorted platform list is trusted as it stands, even in another order.
  auto source = Make<TStringList>();
  source->SetCaseSensitive(true);
  source->Add("b");
  source->Add("A");
  source->Add("a");
  source->SetSorted(true);
  const std::vector<std::string> sourceOrder = Strings(*source);
  auto target = Make<TPelStringList>();
  target->SetStringOpsType(soCaseSensitive);
  target->SetSorted(true);
  target->Assign(source.get());
  EXPECT_EQ(Strings(*target), sourceOrder);
  EXPECT_TRUE(target->GetSorted());

  // An unsorted platform list is sorted on insertion.
  auto unsorted = Make<TStringList>();
  unsorted->Add("b");
  unsorted->Add("a");
  target->Assign(unsorted.get());
  EXPECT_EQ(Strings(*target), (std::vector<std::string>{"a", "b"}));

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
  EXPECT_EQ(Strings(*copy), (std::vector<std::string>{"x", "y"}));
  EXPECT_EQ(copy->GetData(1), &marker);
  EXPECT_EQ(copy->GetStringOpsType(), soCaseInsensitive);
  EXPECT_FALSE(copy->GetFreeData());
  pelSource->SetFreeData(false);

  // Something that is no string list ends in the conversion error.
  TPersistent other;
  try {
    copy->Assign(&other);
    FAIL() << "no error";
  } catch (const EConvertError& e) {
    EXPECT_STREQ(e.what(), "Cannot assign a TPersistent to a TPelStringList");
  }
}

TEST(PelStringList, SortMovesObjectsAndDataWithStrings) {
  auto l = ListOf({"c", "a", "b"});
  TObject o[3];
  for (int32_t i = 0; i < 3; ++i) {
    l->PutObject(i, &o[i]);
    l->PutData(i, &o[2 - i]);
  }
  l->Sort();
  EXPECT_EQ(Strings(*l), (std::vector<std::string>{"a", "b", "c"}));
  EXPECT_EQ(l->GetObject(0), &o[1]);
  EXPECT_EQ(l->GetData(0), &o[1]);
  EXPECT_EQ(l->GetObject(2), &o[0]);
  EXPECT_EQ(l->GetData(2), &o[2]);
  l->Exchange(0, 2);
  EXPECT_EQ(l->Get(0), "c");
  EXPECT_EQ(l->GetObject(0), &o[0]);
  EXPECT_THROW(l->Exchange(0, 3), EStringListError);
  // Clearing the sorted flag keeps the order.
  l->SetSorted(true);
  l->SetSorted(false);
  EXPECT_EQ(Strings(*l), (std::vector<std::string>{"a", "b", "c"}));
}

TEST(SFCList, OwnerHooksOnThePlatformList) {
  auto l = Make<TSFCList>();
  auto* owner = New<TRecordingOwner>();
  l->SetOwner(IPtr<IStringsOwner>(owner));
  std::vector<std::string>& log = owner->Log;
  l->SetOnChanging([&](TObject*) { log.push_back("changing"); });
  l->SetOnChange([&](TObject*) { log.push_back("changed"); });

  // One addition is one Changed and no Changing: it runs inside an update.
  l->AddObject("Apple", nullptr);
  EXPECT_EQ(log, (std::vector<std::string>{"owner.changed", "changed"}));
  log.clear();
  l->Put(0, "Banana");
  EXPECT_EQ(log, (std::vector<std::string>{"put 0 Banana", "owner.changing", "changing",
                                           "owner.changed", "changed"}));
  log.clear();
  EXPECT_THROW(l->Delete(4), EStringListError);
  EXPECT_EQ(log, (std::vector<std::string>{"delete 4"}));
  // Unsorted search is exact, whatever CaseSensitive says.
  EXPECT_EQ(l->IndexOf("Banana"), 0);
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
  EXPECT_TRUE(l->GetSorted());
  l->SetOwner(nullptr);
}

TEST(SFCList, FreeListOwnsItsMembers) {
  std::vector<std::string> freed;
  auto l = Make<TSFCFreeList>();
  EXPECT_TRUE(l->GetFreeMembers());
  for (int i = 0; i < 3; ++i)
    l->AddObject("s" + std::to_string(i), New<TTracked>(&freed, "o" + std::to_string(i)));
  l->Delete(1);
  EXPECT_EQ(freed, (std::vector<std::string>{"o1"}));
  l->PutObject(0, New<TTracked>(&freed, "o3"));
  EXPECT_EQ(freed, (std::vector<std::string>{"o1", "o0"}));
  freed.clear();
  l->Clear();  // last first
  EXPECT_EQ(freed, (std::vector<std::string>{"o2", "o3"}));

  TTracked kept(&freed, "kept");
  l->SetFreeMembers(false);
  l->AddObject("k", &kept);
  l->Clear();
  EXPECT_EQ(freed.size(), 2u);

  // Freeing the list frees what it still owns, telling nobody.
  auto* owning = New<TSFCFreeList>();
  owning->AddObject("x", New<TTracked>(&freed, "last"));
  int events = 0;
  owning->SetOnChange([&](TObject*) { ++events; });
  Free(owning);
  EXPECT_EQ(freed.back(), "last");
  EXPECT_EQ(events, 0);
}

TEST(SFCList, ForEachVisitsFromTheEnd) {
  auto l = Make<TSFCList>();
  for (const char* s : {"a", "b", "c"}) l->Add(s);
  std::string order;
  l->ForEach(
      TForEachFilterMethod(),
      TForEachObjectMethod([&](TObject* sender, int32_t index, const String& s, TObject*, int32_t) {
        order += s;
        if (s == "b") static_cast<TSFCList*>(sender)->Delete(index);
      }),
      0);
  EXPECT_EQ(order, "cba");
  EXPECT_EQ(Strings(*l), (std::vector<std::string>{"a", "c"}));
}

TEST(StringLists, AFailureWhoseClosingNotificationRaisesReportsTheLaterOne) {
  auto raise = [](TObject*) { throw EAbort("changed"); };
  // Assign of an unknown source fails inside the update bracket; closing
  // the bracket notifies, and that failure replaces the first.
  auto pel = ListOf({"a"});
  pel->SetOnChange(raise);
  auto node = Make<TPersistent>();
  ExpectLater(pel.get(), [&] { pel->Assign(node.get()); });
  // A duplicate refused inside AddObject's bracket.
  auto sfc = Make<TSFCList>();
  sfc->SetSorted(true);
  sfc->SetDuplicates(dupError);
  sfc->Add("a");
  sfc->SetOnChange(raise);
  ExpectLater(sfc.get(), [&] { sfc->AddObject("a", nullptr); });
}
