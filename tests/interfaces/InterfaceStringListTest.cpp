#include <gtest/gtest.h>

#include "interfaces/CountedInterface.h"
#include "interfaces/InterfaceCollections.h"
#include "platform/ExpectRaises.h"

namespace pel {
namespace {

using test::ExpectRaises;
using test::NameOf;
using test::TPool;

std::string Items(TIStringList& L) {
  std::string s;
  for (int32_t i = 0; i < L.GetCount(); ++i) s += L.Get(i) + ":" + NameOf(L.GetData(i)) + " ";
  return s;
}

TEST(IStringList, DataHoldsOneReferenceThroughEveryChange) {
  TPool p("abc");
  {
    Owned<TIStringList> l(New<TIStringList>());
    Owned<TIStringList> copy(New<TIStringList>());
    EXPECT_EQ(l->GetStringOpsType(), soCaseInsensitiveLocale);
    for (const char* s : {"x", "y", "z", "w"}) l->Add(s);
    l->PutData(0, p["a"]);
    l->PutData(1, p["b"]);
    l->PutData(2, p["a"]);
    l->PutData(2, p["c"]);  // the old one is released
    l->PutData(3, p["a"]);
    EXPECT_EQ(l->IndexOfData(p["c"]), 2);
    ExpectRaises<EStringListError>([&] { l->PutData(4, p["a"]); }, "List index out of bounds (4)");

    Owned<TObject> obj = Make<TObject>();
    l->PutObject(1, obj.get());  // empties the interface slot, intended
    l->Delete(0);
    l->Exchange(0, 1);
    EXPECT_EQ(Items(*l), "z:c y:- w:a ");
    EXPECT_EQ(p.Counts(), "a1 b0 c1");

    copy->Add("old");
    copy->PutData(0, p["b"]);
    copy->SetStringOpsType(soCaseSensitive);
    copy->Assign(l.get());  // strings, objects, every Data and the comparison
    EXPECT_EQ(Items(*copy), "z:c y:- w:a ");
    EXPECT_EQ(copy->GetObject(1), obj.get());
    EXPECT_EQ(copy->GetStringOpsType(), soCaseInsensitiveLocale);
    EXPECT_EQ(p.Counts(), "a2 b0 c2");
    l->Clear();
    EXPECT_EQ(p.Counts(), "a1 b0 c1");
  }  // destruction releases what the copy held
  EXPECT_TRUE(p.DropAndCheckFreed());
}

TEST(IStringList, SortsUnderItsComparisonWithOneNotificationPair) {
  Owned<TIStringList> l(New<TIStringList>());
  for (const char* s : {"b", "_", "A", "a"}) l->Add(s);
  l->SetStringOpsType(soCaseSensitive);
  l->SetSorted(true);
  EXPECT_EQ(l->GetCommaText(), "A,_,a,b");
  std::string log;
  l->SetOnChanging([&](TObject*) { log += "<"; });
  l->SetOnChange([&](TObject*) { log += ">"; });
  l->SetStringOpsType(soCaseInsensitive);  // re-sorted: '_' after the letters
  EXPECT_EQ(log, "<>");
  EXPECT_EQ(l->GetCommaText().substr(4), "b,_");
  EXPECT_EQ(l->Add("B"), 2);  // dupIgnore: the existing index
  EXPECT_EQ(l->GetCount(), 4);
  ExpectRaises<EStringListError>([&] { l->Insert(0, "c"); },
                                 "Operation not allowed on sorted list");
  l->SetSorted(false);
  l->CustomSort([](TIStringList* List, int32_t I, int32_t J) {
    return CompareStr(List->Get(J), List->Get(I));  // descending
  });
  EXPECT_EQ(l->GetCommaText(), "b,a,_,A");
}

TEST(ListIterators, WalkTheirSourcesAndRaiseWhatTheSourceRaises) {
  Owned<TStringList> strings = Make<TStringList>();
  Owned<TObject> o1 = Make<TObject>(), o2 = Make<TObject>();
  strings->AddObject("a", o1.get());
  strings->AddObject("b", nullptr);
  strings->AddObject("c", o2.get());
  IPtr<IStringIterator> s(New<TStringsIterator>(strings.get()));
  EXPECT_THROW(s->CurrentElement(), EStringListError);
  std::string walk;
  while (s->HasMoreElements()) walk += s->NextElement();
  EXPECT_EQ(walk, "abc");
  s->Reset();
  auto objects = Supports<IObjectIterator>(s);
  auto pointers = Supports<IIterator>(s);
  ASSERT_TRUE(objects && pointers);
  EXPECT_EQ(objects->NextElement(), o1.get());  // one position for all three
  EXPECT_EQ(s->CurrentElement(), "a");
  EXPECT_EQ(pointers->NextElement(), nullptr);
  EXPECT_EQ(pointers->GetCount(), 3);

  Owned<TList> list = Make<TList>();
  Owned<TFreeList> freeList(New<TFreeList>(false));
  list->Add(o2.get());
  freeList->Add(o1.get());
  freeList->Add(o2.get());
  IPtr<IIterator> li(New<TListIterator>(list.get()));
  IPtr<IObjectIterator> fi(New<TFreeListIterator>(freeList.get()));
  EXPECT_EQ(li->NextElement(), o2.get());
  EXPECT_FALSE(li->HasMoreElements());
  EXPECT_THROW(li->NextElement(), EListError);
  EXPECT_EQ(fi->NextElement(), o1.get());
  EXPECT_EQ(Supports<IIterator>(fi)->NextElement(), o2.get());

  TPool p("ab");
  Owned<TPelInterfaceList> pel(New<TPelInterfaceList>());
  IPtr<IInterfaceList> platform(New<TInterfaceList>());
  pel->Add(p["a"]);
  platform->Add(p["b"]);
  platform->Add(p["a"]);
  std::string names;
  for (TObject* source : {static_cast<TObject*>(pel.get()), dynamic_cast<TObject*>(platform.get()),
                          static_cast<TObject*>(list.get())}) {
    IPtr<IInterfaceIterator> it(New<TInterfaceListIterator>(source));
    names += std::to_string(it->GetCount());
    while (it->HasMoreElements()) names += NameOf(it->NextElement());
    names += NameOf(it->CurrentElement()) + " ";
  }
  EXPECT_EQ(names, "1aa 2baa 0- ");
  EXPECT_EQ(p.Counts(), "a2 b1");
}

}  // namespace
}  // namespace pel
