#include <gtest/gtest.h>

#include "hashing/PelHashTable.h"

using namespace pel;

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
  for (TClass c : {TPelHashtable::StaticClass(), TPelHashIntTable::StaticClass(),
                   TPelStringHashtable::StaticClass()}) {
    auto props = GetPropList(c);
    ASSERT_EQ(props.size(), 3u) << c->Name;
    EXPECT_STREQ(props[0]->Name, "Capacity");
    EXPECT_EQ(props[0]->PropType->Kind, tkInteger);
    EXPECT_EQ(props[0]->Default, 101);
    EXPECT_STREQ(props[1]->Name, "HashType");
    EXPECT_EQ(props[1]->PropType->Kind, tkEnumeration);
    EXPECT_EQ(props[1]->Default, htDivision);
    EXPECT_STREQ(props[2]->Name, "LoadFactor");
    EXPECT_EQ(props[2]->PropType->Kind, tkFloat);
    EXPECT_EQ(props[2]->PropType->FloatType, ftSingle);
    EXPECT_EQ(props[2]->Default, kNoDefault);
  }

  // Typed access goes through the table's own setters and their checks.
  auto t = Make<TPelHashtable>();
  SetEnumProp(t.get(), "HashType", "htMidSquare");
  EXPECT_EQ(t->GetHashType(), htMidSquare);
  t->PutValue(t.get(), nullptr);
  EXPECT_THROW(SetEnumProp(t.get(), "HashType", "htFolding"), EPelHashtableError);

  // Capacity, hash type and load factor survive a component stream;
  // defaults are left out.
  auto src = Make<TTableHolder>(nullptr);
  src->SetName("Holder");
  src->FInts->SetCapacity(203);
  src->FInts->SetHashType(htFolding);
  src->FInts->SetLoadFactor(0.6f);
  src->FNames->SetLoadFactor(2.5f);
  auto m = Make<TMemoryStream>();
  m->WriteComponent(src.get());
  String bytes(static_cast<const char*>(m->GetMemory()), static_cast<std::size_t>(m->GetSize()));
  EXPECT_NE(bytes.find("Ints.HashType\x07\x09htFolding"), String::npos);
  EXPECT_EQ(bytes.find("Names.Capacity"), String::npos);
  EXPECT_EQ(bytes.find("Names.HashType"), String::npos);

  auto back = Make<TTableHolder>(nullptr);
  m->SetPosition(0);
  m->ReadComponent(back.get());
  EXPECT_EQ(back->FInts->GetCapacity(), 203u);
  EXPECT_EQ(back->FInts->GetHashType(), htFolding);
  EXPECT_EQ(back->FInts->GetLoadFactor(), 0.6f);
  EXPECT_EQ(back->FInts->GetThreshold(), 122);
  EXPECT_EQ(back->FNames->GetCapacity(), 101u);
  EXPECT_EQ(back->FNames->GetHashType(), htDivision);
  EXPECT_EQ(back->FNames->GetLoadFactor(), 2.5f);

  // An unknown hash type name is a read error.
  String bad = bytes;
  bad.replace(bad.find("htFolding"), 9, "htFoldinX");
  auto s = Make<TStringStream>(bad);
  auto into = Make<TTableHolder>(nullptr);
  EXPECT_THROW(s->ReadComponent(into.get()), EReadError);
}
