#include <gtest/gtest.h>

#include "platform/Classes.h"

using namespace pel;

namespace {

class TNote : public TCollectionItem {
  PEL_CLASS(TNote, TCollectionItem)
  PEL_PUBLISHED(TNote, Property<&TNote::GetText, &TNote::SetText>("Text"))
 public:
  using TCollectionItem::TCollectionItem;
  String GetText() const { return FText; }
  void SetText(const String& v) {
    FText = v;
    Changed(false);
  }
  void Assign(TPersistent* Source) override {
    if (auto* n = dynamic_cast<TNote*>(Source)) {
      SetText(n->FText);
      return;
    }
    TCollectionItem::Assign(Source);
  }
  String FText;
};

class TLoggedCollection : public TCollection {
  PEL_CLASS(TLoggedCollection, TCollection)
 public:
  TLoggedCollection() : TCollection(TNote::StaticClass()) {}
  String Log;
  void Update(TCollectionItem* Item) override {
    Log += Item ? "u" + std::to_string(Item->GetID()) + ";" : "u*;";
  }
  void Notify(TCollectionItem* Item, TCollectionNotification A) override {
    Log += (A == cnAdded        ? "add"
            : A == cnExtracting ? "ext"
                                : "del") +
           std::to_string(Item->GetID()) + ";";
  }
};

}  // namespace

TEST(Collection, AddInsertDeleteIdsAndIndexes) {
  auto c = Make<TLoggedCollection>();
  auto* a = static_cast<TNote*>(c->Add());
  auto* b = static_cast<TNote*>(c->Add());
  auto* x = static_cast<TNote*>(c->Insert(0));
  EXPECT_EQ(x->GetIndex(), 0);
  EXPECT_EQ(a->GetIndex(), 1);
  EXPECT_EQ(x->GetID(), 2);  // IDs follow creation, not position
  EXPECT_EQ(c->FindItemID(1), b);
  EXPECT_EQ(a->GetDisplayName(), "TNote");  // the class name by default
  EXPECT_THROW(c->GetItem(3), EListError);
  EXPECT_THROW(c->Insert(5), EListError);
  EXPECT_EQ(c->GetCount(), 3);  // the failed insert left nothing behind

  c->Log.clear();
  c->Delete(1);
  EXPECT_EQ(c->Log, "del0;ext0;u*;");
  // A new item after a delete takes a fresh ID.
  EXPECT_EQ(c->Add()->GetID(), 4);
}

TEST(Collection, UpdatesAreHeldWhileUpdating) {
  auto c = Make<TLoggedCollection>();
  auto* n = static_cast<TNote*>(c->Add());
  c->Log.clear();
  n->SetText("x");
  EXPECT_EQ(c->Log, "u0;");
  c->Log.clear();
  c->BeginUpdate();
  c->BeginUpdate();
  n->SetText("y");
  c->Add();
  c->EndUpdate();
  EXPECT_EQ(c->Log, "add1;");
  c->EndUpdate();
  EXPECT_EQ(c->Log, "add1;u*;");
  c->Log.clear();
  c->Clear();
  EXPECT_EQ(c->Log, "ext1;ext0;u*;");  // last first, one update at the end
}

TEST(Collection, AssignCopiesItemsAndMovesBetweenCollections) {
  auto a = Make<TLoggedCollection>();
  auto b = Make<TLoggedCollection>();
  static_cast<TNote*>(a->Add())->SetText("one");
  static_cast<TNote*>(a->Add())->SetText("two");
  b->Add();
  b->Assign(a.get());
  ASSERT_EQ(b->GetCount(), 2);
  EXPECT_EQ(static_cast<TNote*>(b->GetItem(1))->FText, "two");
  auto* moved = a->GetItem(0);
  moved->SetCollection(b.get());
  EXPECT_EQ(a->GetCount(), 1);
  EXPECT_EQ(b->GetCount(), 3);
  EXPECT_EQ(moved->GetIndex(), 2);
  EXPECT_THROW(b->Assign(nullptr), EConvertError);
}
