#include <gtest/gtest.h>

#include "hashing/PelHashTable.h"
#include "platform/StreamText.h"

using namespace pel;
using namespace pel::test;

namespace {

// A component holding two tables as sub-objects ("Ints.Capacity", ...).
class TTableHolder : public TComponent {
  PEL_CLASS(TTableHolder, TComponent)
  PEL_PUBLISHED(TTableHolder, Property<&TTableHolder::GetInts, &TTableHolder::SetInts>("Ints"),
                Property<&TTableHolder::GetNames, &TTableHolder::SetNames>("Names"))
 public:
  using TComponent::TComponent;
  ~TTableHolder() override {
    Free(FInts);
    Free(FNames);
  }
  TPelHashIntTable* GetInts() const { return FInts; }
  void SetInts(TPelHashIntTable* Value) { FInts->Assign(Value); }
  TPelStringHashtable* GetNames() const { return FNames; }
  void SetNames(TPelStringHashtable* Value) { FNames->Assign(Value); }

  TPelHashIntTable* FInts = New<TPelHashIntTable>();
  TPelStringHashtable* FNames = New<TPelStringHashtable>();
};

}  // namespace

TEST(PelHashTableProperties, PublishedPropertiesRoundTrip) {
  // Typed access goes through the table's own setters and their checks.
  auto t = Make<TPelHashtable>();
  t->PutValue(t.get(), nullptr);
  EXPECT_THROW(SetEnumProp(t.get(), "HashType", "htFolding"), EPelHashtableError);

  // Settings and a named handler survive a component stream; defaults and
  // an unnamed handler are left out.
  auto src = Make<TTableHolder>(nullptr);
  src->SetName("Holder");
  src->FInts->SetCapacity(203);
  src->FInts->SetHashType(htFolding);
  src->FInts->SetLoadFactor(0.6f);
  src->FInts->SetOnChange([](TObject*) {}, "IntsChanged");
  src->FNames->SetLoadFactor(2.5f);
  src->FNames->SetOnChange([](TObject*) {});
  const String bytes = BytesOf(src.get());
  EXPECT_EQ(TextOf(bytes),
            "object Holder: TTableHolder\n"
            "  Ints.Capacity = 203\n"
            "  Ints.HashType = htFolding\n"
            "  Ints.LoadFactor =  6.00000023841857910156E-0001\n"
            "  Ints.OnChange = IntsChanged\n"
            "  Names.LoadFactor =  2.50000000000000000000E+0000\n"
            "end\n");
  auto back = Make<TTableHolder>(nullptr);
  ReadInto(bytes, back.get());
  EXPECT_EQ(BytesOf(back.get()), bytes);
  EXPECT_FALSE(back->FInts->GetOnChange());  // the name alone binds no handler
  src->FInts->SetOnChangeName("");           // clearing the name drops the handler
  EXPECT_FALSE(src->FInts->GetOnChange());
}
