#include <gtest/gtest.h>

#include <vector>

#include "foundation/Structures.h"
#include "platform/ExpectRaises.h"
#include "platform/Menus.h"

using namespace pel;
using pel::test::ExpectRaises;

namespace {

std::vector<std::string> gNotified;

// An item that records which items told it of their destruction.
class TWatchingItem : public TPelCollectionItem {
  PEL_CLASS(TWatchingItem, TPelCollectionItem)
 public:
  using TPelCollectionItem::TPelCollectionItem;
  String Name;
  String GetDisplayName() override { return Name; }
  // A dying item is still in its collection when it tells the others.
  void Notification(TPelCollectionItem* AItem) override {
    EXPECT_EQ(AItem->GetCollection(), GetCollection());
    EXPECT_GE(AItem->GetIndex(), 0);
    gNotified.push_back(Name + " heard " + static_cast<TWatchingItem*>(AItem)->Name);
    TPelCollectionItem::Notification(AItem);
  }
};

TWatchingItem* AddItem(TPelCollection* c, const char* name) {
  auto* item = static_cast<TWatchingItem*>(c->Add());
  item->Name = name;
  return item;
}

int32_t Listed(TPelCollectionItem* item) {
  return item->GetFreeNotifies() ? item->GetFreeNotifies()->GetCount() : 0;
}

}  // namespace

TEST(PelCollection, FreeNotificationIsMutualAndOneShot) {
  auto c = Make<TPelCollection>(TCollectionItemClass(TWatchingItem::StaticClass()));
  TWatchingItem* a = AddItem(c.get(), "a");
  TWatchingItem* b = AddItem(c.get(), "b");
  TWatchingItem* d = AddItem(c.get(), "d");
  a->FreeNotification(b);
  a->FreeNotification(b);  // nothing new
  EXPECT_EQ(Listed(a), 1);
  EXPECT_EQ(Listed(b), 1);
  a->FreeNotification(d);
  gNotified.clear();
  Free(a);
  EXPECT_EQ(gNotified, (std::vector<std::string>{"d heard a", "b heard a"}));
  EXPECT_EQ(b->GetFreeNotifies(), nullptr);  // its only entry is gone, and the list
  EXPECT_EQ(c->GetCount(), 2);

  b->FreeNotification(d);
  b->RemoveFreeNotification(d);
  EXPECT_EQ(Listed(b) + Listed(d), 0);
  gNotified.clear();
  Free(b);
  EXPECT_TRUE(gNotified.empty());
}

TEST(PelCollection, NamesAndAssignToStrings) {
  auto c = Make<TPelCollection>(TCollectionItemClass(TWatchingItem::StaticClass()));
  TWatchingItem* first = AddItem(c.get(), "First");
  AddItem(c.get(), "Second");
  EXPECT_EQ(c->IndexOf("Second"), 1);
  EXPECT_EQ(c->IndexOf("second"), -1);  // case matters
  auto names = Make<TStringList>();
  names->Add("stale");
  c->AssignTo(names.get());
  EXPECT_EQ(names->GetCommaText(), "First,Second");
  EXPECT_EQ(names->GetObject(0), first);
  auto other = Make<TPersistent>();
  EXPECT_THROW(c->AssignTo(other.get()), EConvertError);
}

TEST(MaxCountStrings, RefusesTheAdditionBeyondTheBound) {
  auto l = Make<TMaxCountStrings>();
  l->SetMaxCount(-2);  // ignored: no limit
  EXPECT_EQ(l->GetMaxCount(), -1);
  l->SetMaxCount(2);
  l->Add("a");
  l->Add("b");
  ExpectRaises<EStringListError>([&] { l->Add("c"); }, "String List Max Count exceeded: 2");
  EXPECT_EQ(l->GetCommaText(), "a,b");
  l->SetMaxCount(1);  // lowering removes nothing
  EXPECT_EQ(l->GetCount(), 2);
}

TEST(RecentFiles, NewestFirstOrLast) {
  // The index Push returns, then the list.
  auto push = [](TRecentFiles* r, const char* f) {
    const int32_t at = r->Push(f);
    return IntToStr(at) + " " + r->GetCommaText();
  };
  auto r = Make<TRecentFiles>();
  for (const char* f : {"a", "b", "c"}) r->Push(f);
  EXPECT_EQ(push(r.get(), "d"), "0 d,c,b,a");
  EXPECT_EQ(push(r.get(), "e"), "0 e,d,c,b");  // full: the oldest ("a") goes
  EXPECT_EQ(push(r.get(), "C"), "0 c,e,d,b");  // present in another case: moved, not added

  auto atEnd = Make<TRecentFiles>();
  atEnd->SetPushAtEnd(true);
  for (const char* f : {"a", "b", "c", "d"}) atEnd->Push(f);
  EXPECT_EQ(push(atEnd.get(), "e"), "3 b,c,d,e");  // the oldest is at index 0
  EXPECT_EQ(push(atEnd.get(), "b"), "3 c,d,e,b");
  atEnd->DeleteOldest();
  EXPECT_EQ(atEnd->GetCommaText(), "d,e,b");
}

TEST(RecentFiles, MenuEntries) {
  auto r = Make<TRecentFiles>();
  r->Push("second.txt");
  r->Push("first.txt");
  auto menu = Make<TMenuItem>(nullptr);
  auto* existing = New<TMenuItem>(menu.get());
  menu->Add(existing);
  int clicks = 0;
  TNotifyEvent onClick = [&](TObject*) { ++clicks; };
  r->CreateMenuItemChildren(menu.get(), true, onClick);
  r->CreateMenuItemChildren(nullptr, true, onClick);  // nothing
  ASSERT_EQ(menu->GetCount(), 3);
  EXPECT_EQ(menu->GetItem(1)->GetCaption(), "0 first.txt");
  EXPECT_EQ(menu->GetItem(2)->GetCaption(), "1 second.txt");
  EXPECT_EQ(menu->GetItem(1)->GetOwner(), menu.get());
  menu->GetItem(2)->Click();
  EXPECT_EQ(clicks, 1);
  r->CreateMenuItemChildren(menu.get(), false, onClick);
  EXPECT_EQ(menu->GetItem(3)->GetCaption(), "first.txt");
}
