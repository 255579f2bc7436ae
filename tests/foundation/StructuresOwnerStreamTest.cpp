#include <gtest/gtest.h>

#include "foundation/Structures.h"
#include "platform/Classes.h"
#include "platform/StreamText.h"

namespace {

using namespace pel;
using namespace pel::test;

// A component that owns a TSFCList and may serve as a list's owner hook.
class THookedLists : public TComponent, public IStringsOwner {
  PEL_CLASS(THookedLists, TComponent)
  PEL_PUBLISHED(THookedLists, Property<&THookedLists::GetList, &THookedLists::SetList>("List"))
 public:
  explicit THookedLists(TComponent* AOwner) : TComponent(AOwner) {}
  ~THookedLists() override { pel::Free(FList); }
  // The hook may be a child that dies first: let go of it before then.
  void BeforeDestruction() override {
    FList->SetOwner(nullptr);
    TComponent::BeforeDestruction();
  }
  TSFCList* GetList() const { return FList; }
  void SetList(TSFCList* v) { FList->Assign(v); }
  void GetChildren(const TGetChildProc& Proc, TComponent* Root) override {
    if (Root == this)
      for (int32_t i = 0; i < GetComponentCount(); ++i) Proc(GetComponent(i));
  }

  HRESULT QueryInterface(const TGUID& IID, void** Obj) override {
    return GetInterfaceOf<THookedLists>(this, IID, Obj) ? S_OK : E_NOINTERFACE;
  }
  int32_t AddRef() override { return -1; }  // lives as long as its owner says
  int32_t Release() override { return -1; }
  void StringsChanged(TObject*) override {}
  void StringsChanging(TObject*) override {}
  void BeforePut(TObject*, int32_t, const String&) override {}
  void BeforePutObject(TObject*, int32_t, TObject*) override {}
  void BeforeDelete(TObject*, int32_t) override {}
  void BeforeClear(TObject*) override {}

  TSFCList* FList = New<TSFCList>();
};

}  // namespace

TEST(SFCList, OwnerStreamsAsTheComponentBehindIt) {
  RegisterClass(THookedLists::StaticClass());
  auto root = Make<THookedLists>(nullptr);
  root->SetName("Root");
  auto* child = New<THookedLists>(root.get());
  child->SetName("Child");
  root->FList->SetOwner(IPtr<IStringsOwner>(child));
  child->FList->SetOwner(IPtr<IStringsOwner>(root.get()));
  const String bytes = BytesOf(root.get());
  EXPECT_NE(TextOf(bytes).find("List.Owner = Child"), String::npos) << TextOf(bytes);

  auto back = Owned<THookedLists>(
      static_cast<THookedLists*>(Make<TStringStream>(bytes)->ReadComponent(nullptr)));
  auto* backChild = As<THookedLists>(back->FindComponent("Child"));
  EXPECT_EQ(back->FList->GetOwner().get(), static_cast<IStringsOwner*>(backChild));
  // No hook, nothing written.
  root->FList->SetOwner(nullptr);
  child->FList->SetOwner(nullptr);
  EXPECT_EQ(TextOf(BytesOf(root.get())).find("List.Owner"), String::npos);
}
