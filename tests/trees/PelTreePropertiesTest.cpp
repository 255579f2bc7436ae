#include <gtest/gtest.h>

#include "platform/StreamText.h"
#include "trees/PelTree.h"

using namespace pel;
using namespace pel::test;

namespace {

// A component holding a height-balanced tree as a sub-object.
class TTreeHolder : public TComponent {
  PEL_CLASS(TTreeHolder, TComponent)
  PEL_PUBLISHED(TTreeHolder, Property<&TTreeHolder::GetTree, &TTreeHolder::SetTree>("Tree"))
 public:
  using TComponent::TComponent;
  ~TTreeHolder() override { Free(FTree); }
  TPelHeightBalancedTree* GetTree() const { return FTree; }
  void SetTree(TPelHeightBalancedTree* Value) { FTree->Assign(Value); }

  TPelHeightBalancedTree* FTree = New<TPelHeightBalancedTree>();
};

}  // namespace

TEST(PelTreeProperties, PublishedPropertiesRoundTrip) {
  // Duplicates and a named handler are written; an unnamed handler and the
  // nodes are not.
  auto src = Make<TTreeHolder>(nullptr);
  src->SetName("Holder");
  src->FTree->SetDuplicates(dupError);
  src->FTree->SetOnChange([](TObject*) {}, "TreeChanged");
  src->FTree->SetOnChanging([](TObject*) {});
  src->FTree->Add(nullptr, 7);
  const String bytes = BytesOf(src.get());
  EXPECT_EQ(TextOf(bytes),
            "object Holder: TTreeHolder\n"
            "  Tree.OnChange = TreeChanged\n"
            "  Tree.Duplicates = dupError\n"
            "end\n");
  src->FTree->SetOnChangeName("");  // clearing the name drops the handler
  EXPECT_FALSE(src->FTree->GetOnChange());
}
