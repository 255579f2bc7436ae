#include <gtest/gtest.h>

#include <tuple>

#include "platform/Classes.h"
#include "platform/ExpectRaises.h"
#include "platform/StreamTestClasses.h"

using namespace pel;
using pel::test::ExpectRaises;

namespace {

enum TFruit : uint8_t { frApple, frPear, frPlum };
const char* const kFruitNames[] = {"frApple", "frPear", "frPlum"};
const TTypeInfo TFruitInfo = EnumTypeInfo("TFruit", kFruitNames);
const TTypeInfo TFruitsInfo = SetTypeInfo("TFruits", &TFruitInfo);

class TBasket : public TPersistent {
  PEL_CLASS(TBasket, TPersistent)
  PEL_PUBLISHED(TBasket, Property<&TBasket::GetCount, &TBasket::SetCount>("Count").WithDefault(3),
                Property<&TBasket::GetFruit, &TBasket::SetFruit>("Fruit", &TFruitInfo),
                Property<&TBasket::GetLabel, &TBasket::SetLabel>("Label"),
                Property<&TBasket::GetWeight>("Weight"))
 public:
  STREAMTEST_FIELD(int32_t, Count, 3)
  STREAMTEST_FIELD(TFruit, Fruit, frApple)
  STREAMTEST_FIELD(String, Label)
  double GetWeight() const { return 1.5; }
};

class TBigBasket : public TBasket {
  PEL_CLASS(TBigBasket, TBasket)
  PEL_PUBLISHED(TBigBasket,
                Property<&TBigBasket::GetCount, &TBigBasket::SetCount>("Count").WithDefault(10),
                Property<&TBigBasket::GetKinds, &TBigBasket::SetKinds>("Kinds", &TFruitsInfo),
                Property<&TBigBasket::GetBig, &TBigBasket::SetBig>("Big"),
                Property<&TBigBasket::GetTotal, &TBigBasket::SetTotal>("Total"),
                Property<&TBigBasket::GetPrice, &TBigBasket::SetPrice>("Price")
                    .StoredBy<&TBigBasket::PriceStored>(),
                Property<&TBigBasket::GetInner, &TBigBasket::SetInner>("Inner"),
                Property<&TBigBasket::GetMark, &TBigBasket::SetMark>("Mark").NotStored())
 public:
  STREAMTEST_FIELD(uint32_t, Kinds, 0)
  STREAMTEST_FIELD(bool, Big, false)
  STREAMTEST_FIELD(int64_t, Total, 0)
  STREAMTEST_FIELD(Currency, Price)
  STREAMTEST_FIELD(TBasket*, Inner, nullptr)
  STREAMTEST_FIELD(char, Mark, 'a')
  bool PriceStored() const { return FPrice.Value > 0; }
};

class TPlain : public TBigBasket {
  PEL_CLASS(TPlain, TBigBasket)
};

std::vector<String> Names(TClass c) {
  std::vector<String> r;
  for (auto* p : GetPropList(c)) r.push_back(p->Name);
  return r;
}

}  // namespace

TEST(TypInfo, TablesAreWalkedFromTheRootDown) {
  EXPECT_EQ(Names(TBasket::StaticClass()),
            (std::vector<String>{"Count", "Fruit", "Label", "Weight"}));
  // A redeclared property keeps its place and takes the new default.
  EXPECT_EQ(Names(TPlain::StaticClass()),
            (std::vector<String>{"Count", "Fruit", "Label", "Weight", "Kinds", "Big", "Total",
                                 "Price", "Inner", "Mark"}));
  EXPECT_EQ(GetPropInfo(TPlain::StaticClass(), "count")->Default, 10);
  EXPECT_EQ(GetPropInfo(TBasket::StaticClass(), "Kinds"), nullptr);
  EXPECT_EQ(TPlain::StaticClass()->PropTable, nullptr);  // inherits, declares none
}

TEST(TypInfo, TypedAccessByName) {
  auto b = Make<TBigBasket>();
  auto inner = Make<TBasket>();
  SetOrdProp(b.get(), "Count", 7);
  SetEnumProp(b.get(), "Fruit", "frPlum");
  SetStrProp(b.get(), "Label", "x");
  SetOrdProp(b.get(), "Big", 1);
  SetOrdProp(b.get(), "Total", int64_t{1} << 40);
  SetFloatProp(b.get(), "Price", 2.5);
  SetObjectProp(b.get(), "Inner", inner.get());
  EXPECT_EQ(std::tuple(b->FCount, b->FFruit, b->FBig, b->FTotal, b->FPrice.Value, b->FInner),
            std::tuple(7, frPlum, true, int64_t{1} << 40, 25000, inner.get()));
  EXPECT_EQ(GetEnumProp(b.get(), "fruit") + GetStrProp(b.get(), "Label"), "frPlumx");
  EXPECT_EQ(GetOrdProp(b.get(), "Price"), 25000);
  EXPECT_EQ(GetFloatProp(b.get(), "Weight"), 1.5);

  ExpectRaises<EPropertyError>([&] { GetOrdProp(b.get(), "Nope"); },
                               "Property Nope does not exist");
  EXPECT_THROW(SetFloatProp(b.get(), "Weight", 1.0), EPropertyError);  // read-only
  EXPECT_THROW(GetStrProp(b.get(), "Count"), EPropertyError);          // wrong kind
  EXPECT_THROW(SetEnumProp(b.get(), "Fruit", "frKiwi"), EPropertyError);
  EXPECT_EQ(b->FFruit, frPlum);
  // A class property refuses an object of the wrong class.
  auto other = Make<TStringStream>();
  EXPECT_THROW(SetObjectProp(b.get(), "Inner", other.get()), EInvalidCast);
}

TEST(TypInfo, DefaultsAndStoredTests) {
  auto b = Make<TBigBasket>();
  auto def = [&](const char* n) { return IsDefaultPropValue(b.get(), GetPropInfo(b.get(), n)); };
  EXPECT_FALSE(def("Count"));  // 3 is not the redeclared default 10
  b->FCount = 10;
  EXPECT_TRUE(def("Count"));
  EXPECT_FALSE(def("Fruit"));  // no default: always written
  EXPECT_TRUE(def("Label") && def("Total") && def("Inner"));
  EXPECT_FALSE(IsStoredProp(b.get(), GetPropInfo(b.get(), "Price")));
  b->FPrice = Currency::FromRaw(1);
  EXPECT_TRUE(IsStoredProp(b.get(), GetPropInfo(b.get(), "Price")));
  EXPECT_FALSE(IsStoredProp(b.get(), GetPropInfo(b.get(), "Mark")));
  EXPECT_EQ(GetEnumName(&TypeInfoBoolean, 1), "True");
  EXPECT_EQ(GetEnumName(&TFruitInfo, 3), "");
  EXPECT_EQ(GetEnumValue(&TFruitInfo, "FRPEAR"), 1);
  EXPECT_EQ(GetEnumValue(&TFruitInfo, "x"), -1);
}

TEST(ClassRegistry, RegisterFindAndPalette) {
  RegisterClasses({TBasket::StaticClass(), TBigBasket::StaticClass()});
  RegisterClass(TBasket::StaticClass());  // again: nothing
  EXPECT_EQ(FindClass("tbasket"), TBasket::StaticClass());
  EXPECT_EQ(GetClass("TPlain"), nullptr);
  ExpectRaises<EClassNotFound>([&] { FindClass("TPlain"); }, "Class TPlain not found");
  UnRegisterClass(TBigBasket::StaticClass());
  EXPECT_EQ(GetClass("TBigBasket"), nullptr);
  UnRegisterClass(TBasket::StaticClass());

  ClearPalette();
  RegisterComponents("Fruit", {TBasket::StaticClass()});
  RegisterComponents("Other", {TPlain::StaticClass()});
  RegisterComponents("Fruit", {TBigBasket::StaticClass()});
  EXPECT_EQ(GetPalettePages(), (std::vector<String>{"Fruit", "Other"}));
  EXPECT_EQ(GetPaletteClasses("Fruit"),
            (std::vector<TClass>{TBasket::StaticClass(), TBigBasket::StaticClass()}));
  EXPECT_TRUE(GetPaletteClasses("None").empty());
  ClearPalette();
}
