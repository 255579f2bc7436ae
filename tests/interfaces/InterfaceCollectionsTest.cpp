#include <gtest/gtest.h>

#include "interfaces/CountedInterface.h"
#include "interfaces/InterfaceCollections.h"
#include "platform/ExpectRaises.h"

namespace pel {
namespace {

using test::ExpectRaises;
using test::NameOf;
using test::TPool;

template <class List>
std::string Names(List& L) {
  std::string s;
  for (int32_t i = 0; i < L.GetCount(); ++i) s += NameOf(L.Get(i));
  return s;
}

// Logs what Notify hears: "+a" added, "-a" deleted.
template <class Base>
class TLogging : public Base {
 public:
  using Base::Base;
  std::string Log;

 protected:
  void Notify(const IPtr<IInterface>& Item, TListNotification Action) override {
    Log += (Action == lnAdded ? "+" : "-") + NameOf(Item);
  }
};
using TLoggingPelList = TLogging<TPelInterfaceList>;

class TLoggingIList : public TLogging<TIList> {
  PEL_CLASS(TLoggingIList, TIList)
};

TEST(PelInterfaceList, CountsAndNotificationsAcrossEveryOperation) {
  TPool p("abc");
  {
    Owned<TLoggingPelList> l(New<TLoggingPelList>());
    for (const char* n : {"a", "b", ""}) l->Add(*n ? p[n] : nullptr);  // nil: not reported
    l->Insert(0, p["a"]);
    l->Put(1, p["c"]);  // old reported, then new; old released
    EXPECT_EQ(l->Log, "+a+b+a-a+c");
    EXPECT_EQ(p.Counts(), "a1 b1 c1");
    l->Log.clear();
    l->Exchange(0, 2);
    l->Move(3, 0);  // no hook for either
    EXPECT_EQ(Names(*l), "-bca");
    l->Pack();
    EXPECT_EQ(Names(*l), "bca");
    EXPECT_EQ(l->Log, "");
    EXPECT_EQ(l->Remove(p["a"]), 2);
    EXPECT_EQ(l->Remove(p["a"]), -1);
    l->Add(p["a"]);
    l->SetCount(1);  // deletes from the last
    EXPECT_EQ(l->Log, "-a+a-a-c");
    EXPECT_EQ(p.Counts(), "a0 b1 c0");

    // Raising operations change nothing.
    ExpectRaises<EListError>([&] { l->Insert(2, p["a"]); }, "List index out of bounds (2)");
    ExpectRaises<EListError>([&] { l->SetCount(-1); }, "List count out of bounds (-1)");
    ExpectRaises<EListError>([&] { l->SetCapacity(0); }, "List capacity out of bounds (0)");
    l->SetCount(3);
    l->Put(2, p["b"]);
    EXPECT_EQ(Names(*l), "b-b");
    l->Clear();
    EXPECT_EQ(p.Counts(), "a0 b0 c0");
    l->Add(p["a"]);
  }  // destruction releases what is left
  EXPECT_TRUE(p.DropAndCheckFreed());
}

TEST(PelInterfaceList, GrowthAndSort) {
  TPool p("dbca");
  Owned<TPelInterfaceList> l(New<TPelInterfaceList>());
  std::vector<int32_t> capacities;
  for (int i = 0; i < 96; ++i) {
    l->Add(p[std::string(1, "dbca"[i % 4])]);
    if (capacities.empty() || capacities.back() != l->GetCapacity())
      capacities.push_back(l->GetCapacity());
  }
  EXPECT_EQ(capacities, (std::vector<int32_t>{4, 8, 12, 28, 44, 60, 76, 95, 118}));
  EXPECT_EQ(p.Counts(), "a24 b24 c24 d24");
  l->SetCount(5);
  l->Put(4, nullptr);
  l->Sort([](const IPtr<IInterface>& a, const IPtr<IInterface>& b) {
    return NameOf(a).compare(NameOf(b));
  });
  EXPECT_EQ(Names(*l), "-abcd");
  EXPECT_EQ(p.Counts(), "a1 b1 c1 d1");
  EXPECT_EQ(l->Expand(), l.get());
}

TEST(IFixedList, InlineAndCallerStorageKeepWhatClearKeeps) {
  TPool p("ab");
  {
    Owned<TIFixedList> l(New<TIFixedList>());
    for (int i = 0; i < 25; ++i) l->Add(p["a"]);
    ExpectRaises<EOutOfMemory>([&] { l->Insert(0, p["b"]); }, "Out of memory");
    l->Clear();  // keeps every reference
    EXPECT_EQ(l->GetCount(), 0);
    EXPECT_EQ(p.Counts(), "a25 b0");
    l->Add(p["b"]);  // overwrites slot 0
    l->Insert(0, p["b"]);
    EXPECT_EQ(p.Counts(), "a23 b2");
    l->SetCount(3);  // empties slots 2 and 3
    EXPECT_EQ(p.Counts(), "a21 b2");
    l->Exchange(0, 2);
    l->Put(1, p["a"]);
    l->Delete(2);
    EXPECT_EQ(Names(*l), "-a");
    EXPECT_EQ(p.Counts(), "a22 b0");
    EXPECT_THROW(l->Delete(2), EListError);
    ExpectRaises<EListError>([&] { l->SetCount(-1); }, "List index out of bounds (-1)");
    EXPECT_THROW(l->SetCount(26), EOutOfMemory);
  }  // the inline slots go with the list
  EXPECT_EQ(p.Counts(), "a0 b0");

  std::array<IPtr<IInterface>, 3> storage;
  {
    Owned<TIFixedList> l(New<TIFixedList>(storage.data(), 3));
    for (const char* n : {"a", "b", "a"}) l->Add(p[n]);
    EXPECT_THROW(l->Add(p["a"]), EOutOfMemory);
    l->Remove(p["a"]);
    l->SetCount(3);  // the slot past the storage is left alone
    EXPECT_EQ(Names(*l), "ba-");
    l->Clear();
  }
  EXPECT_EQ(p.Counts(), "a1 b1");  // the caller's storage still holds them
  storage = {};
  EXPECT_TRUE(p.DropAndCheckFreed());
}

TEST(IList, NotifiesReleasesAssignsAndClones) {
  TPool p("ab");
  {
    Owned<TLoggingIList> l(New<TLoggingIList>());
    l->Add(p["a"]);
    l->Add(nullptr);  // reported, unlike the growable list
    l->Insert(0, p["b"]);
    l->Delete(1);
    EXPECT_EQ(l->Log, "+a+-+b-a");
    EXPECT_THROW(l->Delete(2), EListError);
    ExpectRaises<EConvertError>([&] { l->Assign(nullptr); },
                                "Cannot assign a nil to a TLoggingIList");
    EXPECT_THROW(l->AssignTo(static_cast<TPersistent*>(nullptr)), EConvertError);
    Owned<TIList> other(New<TIList>());
    EXPECT_THROW(l->AssignTo(other.get()), EConvertError);

    Owned<TIList> copy(l->Clone());
    EXPECT_EQ(copy->ClassType(), TLoggingIList::StaticClass());
    EXPECT_EQ(Names(*copy), "b-");
    l->Assign(l.get());  // itself: unchanged
    other->Add(p["a"]);
    l->Log.clear();
    l->Assign(other.get());
    EXPECT_EQ(l->Log, "-b--+a");
    EXPECT_EQ(p.Counts(), "a2 b1");
    l->Clear();  // releases, unlike the fixed list's
    EXPECT_EQ(p.Counts(), "a1 b1");
  }
  EXPECT_TRUE(p.DropAndCheckFreed());
}

TEST(IQueueAndStack, DispenseInTheirOrderAndRelease) {
  TPool p("abc");
  Owned<TIQueue> q(New<TIQueue>());
  Owned<TIStack> s(New<TIStack>());
  for (TIQueue* d : {q.get(), static_cast<TIQueue*>(s.get())}) {
    ExpectRaises<EListError>([&] { d->Pop(); }, "list is empty");
    for (const char* n : {"a", "b", "c"}) d->Push(p[n]);
    d->Push(nullptr);
  }
  EXPECT_EQ(p.Counts(), "a2 b2 c2");
  std::string order;
  for (TIQueue* d : {q.get(), static_cast<TIQueue*>(s.get())}) {
    order += NameOf(d->Peek());
    EXPECT_EQ(d->GetCount(), 4);
    while (!d->IsEmpty()) order += NameOf(d->Pop());
    order += "|";
  }
  EXPECT_EQ(order, "aabc-|--cba|");
  EXPECT_EQ(p.Counts(), "a0 b0 c0");
}

// ---------------------------------------------------------------------------
// Hash tables

// Refuses every put, after the table has checked the key.
class TRefusingOwner : public TInterfacedObject, public IHashTableOwner {
  PEL_CLASS(TRefusingOwner, TInterfacedObject)
 public:
  bool GetInterface(const TGUID& IID, void** Obj) override {
    return GetInterfaceOf<TRefusingOwner, IHashTableOwner>(this, IID, Obj);
  }
  void TableChanged(TPelCustomHashtable*) override {}
  void BeforePut(TPelCustomHashtable*, void*, void*) override { throw EAbort("refused"); }
  void BeforeRemove(TPelCustomHashtable*, void*) override { throw EAbort("refused"); }
  void BeforeClear(TPelCustomHashtable*) override {}
};

TEST(IHashTable, CountsAcrossPutReplaceRemoveGrowthAndClear) {
  TPool p("abc");
  char k1[] = "one", k2[] = "two", missing[] = "zebra";
  {
    Owned<TIHashTable> t(New<TIHashTable>());
    ExpectRaises<EPelHashtableError>([&] { t->Get(k1); }, "Table is empty");
    EXPECT_EQ(t->Put(k1, p["a"]), nullptr);
    t->SetItem(k2, p["b"]);
    {
      IPtr<IInterface> old = t->Put(k1, p["c"]);  // the table's reference goes with it
      EXPECT_EQ(NameOf(old), "a");
      EXPECT_EQ(p.Counts(), "a1 b1 c1");
    }
    EXPECT_EQ(p.Counts(), "a0 b1 c1");
    ExpectRaises<EPelHashtableError>([&] { t->Get(missing); }, "No such element: zebra");
    EXPECT_THROW(t->Remove(missing), EPelHashtableError);
    EXPECT_THROW(t->Put(nullptr, p["a"]), EPelHashtableError);
    IPtr<IInterface> found;
    EXPECT_TRUE(t->ContainsKey(k2, found));
    EXPECT_EQ(NameOf(found), "b");
    EXPECT_FALSE(t->ContainsKey(missing, found));
    EXPECT_EQ(found, nullptr);
    EXPECT_EQ(NameOf(t->Remove(k2)), "b");
    EXPECT_EQ(p.Counts(), "a0 b0 c1");

    // A refused put stores nothing; a refused remove keeps the entry.
    t->SetHashTableOwner(IPtr<IHashTableOwner>(New<TRefusingOwner>()));
    ExpectRaises<EAbort>([&] { t->Put(k2, p["a"]); }, "refused");
    ExpectRaises<EAbort>([&] { t->Remove(k1); }, "refused");
    EXPECT_EQ(p.Counts(), "a0 b0 c1");
    t->SetHashTableOwner(nullptr);

    // Growing the table keeps every value's one reference.
    std::vector<int> keys(100);
    for (int i = 1; i < 76; ++i) t->Put(&keys[static_cast<size_t>(i)], p["a"]);
    t->Put(&keys[76], p["b"]);
    EXPECT_EQ(t->GetCapacity(), 203u);
    EXPECT_EQ(p.Counts(), "a75 b1 c1");

    Owned<TIHashTable> copy(New<TIHashTable>());
    copy->Assign(t.get());
    EXPECT_EQ(copy->GetCount(), 77);
    EXPECT_EQ(p.Counts(), "a150 b2 c2");
    copy->Assign(copy.get());
    EXPECT_EQ(copy->GetCount(), 77);
    t->Clear();
    EXPECT_EQ(p.Counts(), "a75 b1 c1");
  }  // the copy's entries release theirs with the table
  EXPECT_TRUE(p.DropAndCheckFreed());
}

TEST(IHashTable, EnumeratorsHandOutValuesAndKeys) {
  TPool p("ab");
  Owned<TIStringHashTable> t(New<TIStringHashTable>());
  ExpectRaises<EPelHashtableError>([&] { t->Elements()->NextElement(); }, "No such element");

  t->Put("alpha", p["a"]);
  t->SetItem("beta", p["b"]);
  EXPECT_EQ(NameOf(t->GetItemByIndex(0)) + NameOf(t->GetItemByIndex(1)), "ab");
  IPtr<IInterfaceIterator> values = t->Elements();
  ExpectRaises<EPelHashtableError>([&] { values->CurrentElement(); }, "No such element");
  IPtr<IStringIterator> keys = Supports<IStringIterator>(values);
  ASSERT_TRUE(keys);
  std::string seen;
  while (values->HasMoreElements()) {
    seen += NameOf(values->NextElement());
    seen += "=" + keys->CurrentElement() + " " + NameOf(values->CurrentElement()) + " ";
  }
  EXPECT_TRUE(seen == "a=alpha a b=beta b " || seen == "b=beta b a=alpha a ") << seen;
  values->Reset();
  EXPECT_EQ(values->GetCount(), 2);
  String first = keys->NextElement();
  EXPECT_EQ(first, NameOf(values->CurrentElement()) == "a" ? "alpha" : "beta");

  Owned<TIHashTable> pt(New<TIHashTable>());
  char k[] = "k";
  pt->Put(k, p["a"]);
  IPtr<IIterator> pkeys = Supports<IIterator>(pt->Elements());
  ASSERT_TRUE(pkeys);
  EXPECT_EQ(pkeys->NextElement(), static_cast<void*>(k));
  EXPECT_EQ(p.Counts(), "a2 b1");  // the tables' references only
}

TEST(IStringHashTable, MissingKeysAssignmentAndHashTypes) {
  TPool p("ab");
  Owned<TIStringHashTable> src(New<TIStringHashTable>());
  Owned<TIStringHashTable> dst(New<TIStringHashTable>());
  src->Put("Abc", p["a"]);
  src->Put("abc", p["b"]);  // another key: exact comparison
  ExpectRaises<EPelHashtableError>([&] { src->RemoveIntf("zebra"); }, "No such element: zebra");
  IPtr<IInterface> v;
  EXPECT_FALSE(src->ContainsKey("") || src->ContainsKey("", v));

  dst->SetHashType(htFolding);
  dst->Put("x", p["a"]);
  ExpectRaises<EPelHashtableError>([&] { dst->Assign(src.get()); },
                                   "Cannot perform this operation with non-empty table");
  EXPECT_EQ(NameOf(dst->GetItem("x")), "a");
  EXPECT_EQ(p.Counts(), "a2 b1");
  dst->RemoveIntf("x");
  dst->Assign(src.get());  // values are shared
  EXPECT_EQ(dst->GetHashType(), htDivision);
  EXPECT_EQ(NameOf(dst->GetIntf("Abc")) + NameOf(dst->GetIntf("abc")), "ab");
  EXPECT_EQ(p.Counts(), "a2 b2");
  src.reset();
  dst.reset();
  EXPECT_TRUE(p.DropAndCheckFreed());
}

}  // namespace
}  // namespace pel
