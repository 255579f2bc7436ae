#include <gtest/gtest.h>

#include "platform/Classes.h"
#include "platform/ExpectRaises.h"

using namespace pel;
using pel::test::ExpectRaises;

namespace {

String gLog;

// Logs every notification it receives, "!" marking one heard while destroying.
class TWatcher : public TComponent {
  PEL_CLASS(TWatcher, TComponent)
 public:
  using TComponent::TComponent;
  void Notification(TComponent* AComponent, TOperation Operation) override {
    TComponent::Notification(AComponent, Operation);
    gLog += GetName() + (ComponentState() & csDestroying ? "!" : "") +
            (Operation == opInsert ? "+" : "-") + AComponent->GetName() + ";";
  }
};

}  // namespace

TEST(Component, OwnershipNamesAndNotificationOrder) {
  gLog.clear();
  auto owner = Make<TWatcher>(nullptr);
  owner->SetName("Owner");
  TWatcher* a = New<TWatcher>(owner.get());
  a->SetName("A");
  TWatcher* b = New<TWatcher>(owner.get());
  b->SetName("B");
  EXPECT_EQ(owner->GetComponent(1), b);
  EXPECT_EQ(b->GetComponentIndex(), 1);
  EXPECT_EQ(owner->FindComponent("a"), a);
  EXPECT_THROW(owner->GetComponent(2), EListError);
  // Each owned component (last first, the newcomer too, still unnamed) and
  // then the owner hear of an insertion.
  EXPECT_EQ(gLog, "+;Owner+;+;A+;Owner+;");

  ExpectRaises<EComponentError>([&] { b->SetName("A"); }, "A component named A already exists");
  EXPECT_EQ(b->GetName(), "B");
  EXPECT_THROW(b->SetName("1x"), EComponentError);
  b->SetName("b2");

  gLog.clear();
  Free(a);
  EXPECT_EQ(owner->GetComponentCount(), 1);
  EXPECT_EQ(gLog, "b2-A;A!-A;Owner-A;");
}

TEST(Component, DestroyingFreesOwnedAndTellsFreeNotificationPartners) {
  gLog.clear();
  auto other = Make<TWatcher>(nullptr);
  other->SetName("Other");
  auto owner = New<TWatcher>(nullptr);
  owner->SetName("Owner");
  TWatcher* child = New<TWatcher>(owner);
  child->SetName("Child");
  New<TWatcher>(owner)->SetName("Last");
  child->FreeNotification(other.get());
  EXPECT_TRUE(child->ComponentState() & csFreeNotification);
  gLog.clear();
  Free(owner);
  // The partner hears of the child's end; the owner and the child of its
  // removal. Every owned component is marked destroying before the first goes.
  EXPECT_NE(gLog.find("Other-Child;"), String::npos);
  EXPECT_NE(gLog.find("Child!-Last;"), String::npos) << gLog;
  EXPECT_EQ(gLog.find("Other-Owner"), String::npos);

  // After RemoveFreeNotification nothing is said.
  auto x = New<TWatcher>(nullptr);
  x->SetName("X");
  x->FreeNotification(other.get());
  x->RemoveFreeNotification(other.get());
  gLog.clear();
  Free(x);
  EXPECT_EQ(gLog, "");
}
