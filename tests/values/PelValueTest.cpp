#include <gtest/gtest.h>

#include <cfloat>
#include <functional>
#include <vector>

#include "platform/Classes.h"
#include "platform/StreamText.h"
#include "values/PelValue.h"

using namespace pel;
using namespace pel::test;

namespace {

// One value of each kind; the objects the values refer to live here.
struct Kinds {
  Owned<TPersistent> Obj = Make<TPersistent>();
  IPtr<IInterface> Intf = IPtr<IInterface>(New<TInterfacedObject>());
  String Short = "12";
  std::u16string Wide = u"12";
  Variant Var = Variant(int16_t{300});
  void* Ptr = reinterpret_cast<void*>(uintptr_t{0x12345678});

  using Setup = std::function<void(TPelCustomValue&)>;
  std::vector<std::pair<const char*, Setup>> All() {
    return {
        {"integer", [](auto& v) { v.SetAsInteger(-7); }},
        {"boolean", [](auto& v) { v.SetAsBoolean(true); }},
        {"char", [](auto& v) { v.SetAsChar('5'); }},
        {"float", [](auto& v) { v.SetAsFloat(2.9f); }},
        {"short string", [this](auto& v) { v.AssignVarRec(TVarRec::ShortString(Short)); }},
        {"pointer", [this](auto& v) { v.SetAsPointer(Ptr); }},
        {"pchar", [](auto& v) { v.AssignVarRec("12"); }},
        {"object", [this](auto& v) { v.SetAsObject(Obj.get()); }},
        {"class", [](auto& v) { v.SetAsClass(TPelValue::StaticClass()); }},
        {"ansistring", [](auto& v) { v.SetAsString("12"); }},
        {"currency", [](auto& v) { v.SetAsCurrency(Currency::FromRaw(15000)); }},
        {"variant", [this](auto& v) { v.AssignVarRec(Var); }},
        {"interface", [this](auto& v) { v.SetAsInterface(Intf); }},
        {"wide string", [this](auto& v) { v.AssignVarRec(Wide); }},
        {"int64", [](auto& v) { v.AssignVarRec(int64_t{5}); }},
    };
  }
};

const String kRefused = "E:Error converting value";

// What a getter gives: its result as text, or the error it raised
// ("E:" for EConvertError, "X:" for any other exception).
template <class Get>
String Outcome(Get&& get) {
  try {
    return get();
  } catch (const EConvertError& e) {
    return "E:" + e.Message();
  } catch (const Exception& e) {
    return "X:" + e.Message();
  }
}

String Low32(const void* p) {
  return IntToStr(static_cast<int32_t>(static_cast<uint32_t>(reinterpret_cast<uintptr_t>(p))));
}

// A value of every kind, and one to set as a test likes.
class PelValue : public ::testing::Test {
 protected:
  Kinds k;
  Owned<TPelValue> v = Make<TPelValue>();
};

}  // namespace

TEST_F(PelValue, EveryGetterOnEveryKind) {
  // One row per kind, in the order of Kinds::All, with what AsInteger,
  // AsBoolean, AsChar, AsFloat, AsString, AsPointer, AsObject, AsClass,
  // AsCurrency (raw) and AsVariant (type:text) give. "-" is the conversion
  // error; obj, class, intf and ptr are the kinds' own objects, text a
  // pointer to the value's or the caller's text.
  const char* const expected[] = {
      "-7 1 \xF9 -7 -7 FFFFFFFFFFFFFFF9 FFFFFFFFFFFFFFF9 - -70000 3:-7",
      "1 1 T 1 True - - - 10000 11:True",
      "53 - 5 53 5 - - - 530000 256:5",
      "2 1 \x02 2.90000009536743 2.90000009536743 - - - 29000 5:2.90000009536743",
      "12 - 1 12 12 - - - 120000 256:12",
      "305419896 - - - 305419896 ptr ptr - - 3:305419896",
      "12 - 1 12 12 text - - 120000 256:12",
      "obj - - - TPersistent obj obj - - -",
      "class - - - TPelValue - - TPelValue - -",
      "12 - 1 12 12 text - - 120000 256:12",
      "1 1 \x01 1.5 1.5 - - - 15000 5:1.5",
      "300 1 , 300 300 12C - - 3000000 2:300",
      "intf - - - - intf intf - - -",
      "- - - - - - - - - -",
      "- - - - - - - - - -",
  };
  auto ref = [&](const void* p) -> String {
    if (p == k.Obj.get()) return "obj";
    if (p == k.Intf.get()) return "intf";
    if (p == k.Ptr) return "ptr";
    return IntToHex(static_cast<int64_t>(reinterpret_cast<uintptr_t>(p)), 1);
  };
  auto low = [&](int32_t n) -> String {
    auto is = [n](const void* p) { return IntToStr(n) == Low32(p); };
    return is(k.Obj.get())                ? "obj"
           : is(k.Intf.get())             ? "intf"
           : is(TPelValue::StaticClass()) ? "class"
                                          : IntToStr(n);
  };
  const std::function<String(TPelCustomValue&)> getters[] = {
      [&](auto& v) { return low(v.GetAsInteger()); },
      [](auto& v) { return IntToStr(int32_t{v.GetAsBoolean()}); },
      [](auto& v) { return String(1, v.GetAsChar()); },
      [](auto& v) { return FloatToStr(v.GetAsFloat()); },
      [](auto& v) { return v.GetAsString(); },
      [&](auto& v) {
        void* p = v.GetAsPointer();
        const bool text = v.GetValueType() == vtPChar || v.GetValueType() == vtAnsiString;
        return text ? String(p ? "text" : "") : ref(p);
      },
      [&](auto& v) { return ref(v.GetAsObject()); },
      [](auto& v) { return String(v.GetAsClass()->Name); },
      [](auto& v) { return IntToStr(v.GetAsCurrency().Value); },
      [](auto& v) {
        Variant r = v.GetAsVariant();
        return IntToStr(int32_t{VarType(r)}) + ":" + VarToLStr(r);
      },
  };
  auto all = k.All();
  ASSERT_EQ(all.size(), std::size(expected));
  for (std::size_t i = 0; i < all.size(); ++i) {
    String row;
    for (const auto& get : getters) {
      auto value = Make<TPelValue>();
      all[i].second(*value);
      const String got = Outcome([&] { return get(*value); });
      row += (row.empty() ? "" : " ") + (got == kRefused ? String("-") : got);
    }
    EXPECT_EQ(row, expected[i]) << all[i].first;
  }
}

TEST_F(PelValue, NumbersAndWordsConvert) {
  v->SetAsFloat(-2.9f);  // truncated towards zero
  EXPECT_EQ(v->GetAsInteger(), -2);
  v->SetAsString("2.5");
  EXPECT_EQ(Outcome([&] { return IntToStr(v->GetAsInteger()); }),
            "E:'2.5' is not a valid integer value");

  v->SetAsFloat(0.7f);  // truncated first
  EXPECT_FALSE(v->GetAsBoolean());
  const std::pair<const char*, String> words[] = {{"tRuE", "1"}, {"f", "0"}, {" true", kRefused}};
  for (const auto& [word, result] : words) {
    v->SetAsString(word);
    EXPECT_EQ(Outcome([&] { return IntToStr(int32_t{v->GetAsBoolean()}); }), result) << word;
  }

  v->SetAsPChar("abc");
  EXPECT_EQ(v->GetValueType(), vtAnsiString);
  EXPECT_STREQ(v->GetAsPChar(), "abc");
  v->SetAsString("");
  EXPECT_EQ(Outcome([&] { return String(1, v->GetAsChar()); }), kRefused);
}

TEST_F(PelValue, GetAsFloatIsSinglePrecision) {
  v->SetAsChar('\xC8');  // codes read unsigned
  EXPECT_EQ(v->GetAsFloat(), 200.0f);
  v->SetAsString("x");
  EXPECT_EQ(Outcome([&] { return FloatToStr(v->GetAsFloat()); }),
            "E:'x' is not a valid floating point value");
  // A number beyond the single's range is refused, not read as infinity;
  // up to the largest single (as it prints) it reads, and so does a
  // number too small for a single (as zero).
  for (const char* text : {"-3.5E38", "1E300"}) {
    v->SetAsString(text);
    EXPECT_EQ(Outcome([&] { return FloatToStr(v->GetAsFloat()); }), kRefused) << text;
  }
  v->SetAsString("3.40282346638529E38");
  EXPECT_EQ(v->GetAsFloat(), FLT_MAX);
  v->SetAsString("1E-50");
  EXPECT_EQ(v->GetAsFloat(), 0.0f);
}

TEST_F(PelValue, InterfaceIsKeptWithoutAReference) {
  // Reading it takes one for the caller.
  auto* obj = dynamic_cast<TInterfacedObject*>(k.Intf.get());
  const int32_t before = obj->RefCount();
  v->SetAsInterface(k.Intf);
  IPtr<IInterface> got = v->GetAsInterface();
  EXPECT_EQ(got.get(), k.Intf.get());
  EXPECT_EQ(obj->RefCount(), before + 1);  // the caller's only
  v->SetAsString("x");
  EXPECT_THROW(v->GetAsInterface(), EConvertError);
}

TEST_F(PelValue, CurrencyIsKeptAsASingle) {
  // 1234567.8912 is beyond a single's precision: the nearest single is
  // 1234567.875, and that is what comes back.
  v->SetAsCurrency(Currency::FromRaw(12345678912));
  EXPECT_EQ(v->GetAsCurrency().Value, 12345678750);
  // Ten-thousandths round half to even: 0.03125 and 0.09375 are exact
  // singles, 312.5 and 937.5 ten-thousandths.
  v->SetAsFloat(0.03125f);
  EXPECT_EQ(v->GetAsCurrency().Value, 312);
  v->SetAsFloat(0.09375f);
  EXPECT_EQ(v->GetAsCurrency().Value, 938);
  // No checks of its own: the unassigned error comes from GetAsFloat.
  auto fresh = Make<TPelValue>();
  EXPECT_EQ(Outcome([&] { return IntToStr(fresh->GetAsCurrency().Value); }),
            "X:Value is unassigned");
}

TEST_F(PelValue, SetAsVariantDispatchesOnTheVariantType) {
  struct Row {
    Variant In;
    TValueType Kind;
    String Text;
  };
  int target = 0;
  IPtr<IInterface> intf(New<TInterfacedObject>());
  const Row rows[] = {
      {Variant(int16_t{-3}), vtInteger, "-3"},
      {Variant::Error(5), vtInteger, "5"},
      {Variant(2.25), vtFloat, "2.25"},
      {Variant(true), vtBoolean, "True"},
      {Variant(int64_t{5000000000}), vtAnsiString, "5000000000"},
  };
  for (const Row& r : rows) {
    v = Make<TPelValue>();
    v->SetAsVariant(r.In);
    EXPECT_EQ(v->GetValueType(), r.Kind) << r.Text;
    EXPECT_EQ(v->GetAsString(), r.Text);
  }
  v->SetAsVariant(Variant::ByRef(&target));
  EXPECT_EQ(v->GetValueType(), vtPointer);
  EXPECT_EQ(v->GetAsPointer(), &target);
  v->SetAsVariant(Variant::Unknown(intf));
  EXPECT_EQ(v->GetAsPointer(), intf.get());
  // A Null variant cannot become text; the value stays as it was.
  v->SetAsInteger(9);
  EXPECT_THROW(v->SetAsVariant(Variant::Null()), EVariantTypeCastError);
  EXPECT_EQ(v->GetValueType(), vtInteger);
  EXPECT_EQ(v->GetAsInteger(), 9);
}

TEST_F(PelValue, UnassignedUntilSomethingIsStored) {
  // A value made from a record still reports itself unassigned.
  auto made = Make<TPelValue>(TVarRec(42));
  EXPECT_TRUE(made->GetUnassigned());
  EXPECT_EQ(made->GetValueType(), vtInteger);
  EXPECT_EQ(Outcome([&] { return IntToStr(made->GetAsInteger()); }), "X:Value is unassigned");
  made->AssignVarRec(TVarRec(42));
  EXPECT_EQ(made->GetAsInteger(), 42);

  // Records whose numbers the platform holds by value read as those numbers.
  made->AssignVarRec(TVarRec(2.5));
  EXPECT_EQ(made->GetValueType(), vtFloat);
  EXPECT_EQ(made->GetAsFloat(), 2.5f);
  made->AssignVarRec(TVarRec(Currency::FromRaw(-12500)));
  EXPECT_EQ(made->GetValueType(), vtCurrency);
  EXPECT_EQ(made->GetAsCurrency().Value, -12500);

  // Assign(nullptr) goes back to unassigned and keeps the payload.
  made->Assign(nullptr);
  EXPECT_TRUE(made->GetUnassigned());
  EXPECT_EQ(made->GetValueType(), vtCurrency);
  EXPECT_THROW(made->GetAsFloat(), Exception);
}

TEST_F(PelValue, AssignCloneAndEquals) {
  auto a = Make<TPelValue>();
  auto b = Make<TPelValue>();
  a->SetAsFloat(1.25f);
  b->SetAsFloat(1.75f);
  EXPECT_TRUE(a->Equals(b.get()));  // truncated parts compare
  a->SetAsInteger(1);
  b->SetAsString("1");
  EXPECT_FALSE(a->Equals(b.get()));  // kinds differ
  a->SetAsString("a");
  b->SetAsPChar("A");
  EXPECT_FALSE(a->Equals(b.get()));  // text compares exactly
  auto fresh = Make<TPelValue>();
  EXPECT_FALSE(a->Equals(fresh.get()));
  // Two unassigned values of a non-text kind do not compare: they raise.
  EXPECT_THROW(fresh->Equals(Make<TPelValue>().get()), Exception);
  EXPECT_THROW(a->Equals(nullptr), EAccessViolation);

  // The copied text outlives the value it came from.
  auto copy = Make<TPelValue>();
  {
    auto source = Make<TPelValue>();
    source->SetAsString(String(100, 'q'));
    copy->Assign(source.get());
  }
  EXPECT_EQ(copy->GetAsString(), String(100, 'q'));

  // Clone into nothing makes a value of the receiver's class (see below).
  auto clone = Owned<TPelCustomValue>(copy->Clone());
  EXPECT_TRUE(clone->Equals(copy.get()));
  auto target = Make<TPelCustomValue>();
  EXPECT_EQ(a->Clone(target.get()), target.get());
  EXPECT_EQ(target->GetAsString(), "a");
}

namespace {
// Overrides one getter; the conversions built on it follow.
class TDoubledValue : public TPelValue {
  PEL_CLASS(TDoubledValue, TPelValue)
 public:
  float GetAsFloat() const override { return TPelValue::GetAsFloat() * 2; }
};
}  // namespace

TEST_F(PelValue, ConversionsGoThroughTheVirtualGetters) {
  auto v = Make<TDoubledValue>();
  v->SetAsFloat(0.3f);
  EXPECT_EQ(v->GetAsInteger(), 0);
  EXPECT_EQ(v->GetAsCurrency().Value, 6000);
  v->SetAsFloat(0.6f);
  EXPECT_TRUE(v->GetAsBoolean());
  EXPECT_EQ(v->GetAsString(), "1.20000004768372");
  auto clone = Owned<TPelCustomValue>(v->Clone());
  EXPECT_EQ(clone->ClassType(), TDoubledValue::StaticClass());
}

namespace {

// A component that keeps a value under the published property "Value".
class TValueHolder : public TComponent {
  PEL_CLASS(TValueHolder, TComponent)
  PEL_PUBLISHED(TValueHolder, Property<&TValueHolder::GetValue, &TValueHolder::SetValue>("Value"))
 public:
  using TComponent::TComponent;
  ~TValueHolder() override { Free(FValue); }
  TPelValue* GetValue() const { return FValue; }
  void SetValue(TPelValue* Value) { FValue->Assign(Value); }

 private:
  TPelValue* FValue = New<TPelValue>();
};

}  // namespace

TEST_F(PelValue, StreamsTheOnePropertyOfItsKind) {
  Variant var(int16_t{-300});
  struct Row {
    std::function<void(TPelValue&)> Set;
    const char* Line;  // the property as the text form shows it
  };
  TValueHolder* self = nullptr;
  const Row rows[] = {
      {[](auto& v) { v.SetAsInteger(0); }, "Value.AsInteger = 0"},
      {[](auto& v) { v.SetAsBoolean(false); }, "Value.AsBoolean = False"},
      {[](auto& v) { v.SetAsChar('z'); }, "Value.AsChar = 'z'"},
      {[](auto& v) { v.SetAsFloat(0.1f); }, "Value.AsFloat =  1.00000001490116119385E-0001"},
      {[](auto& v) { v.SetAsString("it's"); }, "Value.AsString = 'it''s'"},
      {[](auto& v) { v.AssignVarRec("pchar"); }, "Value.AsString = 'pchar'"},
      {[&](auto& v) { v.SetAsObject(self); }, "Value.AsObject = Owner"},
      {[](auto& v) { v.SetAsCurrency(Currency::FromRaw(-12500)); },
       "Value.AsCurrency = -1.25000000000000000000E+0000"},
      {[&](auto& v) { v.AssignVarRec(var); }, "Value.AsVariant = -300"},
  };
  for (const Row& r : rows) {
    auto src = Make<TValueHolder>(nullptr);
    src->SetName("Holder");
    self = src.get();
    r.Set(*src->GetValue());
    String bytes = BytesOf(src.get());
    EXPECT_EQ(TextOf(bytes), String("object Holder: TValueHolder\n  ") + r.Line + "\nend\n");

    auto back = Make<TValueHolder>(nullptr);
    ReadInto(bytes, back.get());
    TPelValue* got = back->GetValue();
    EXPECT_FALSE(got->GetUnassigned()) << r.Line;
    // Text comes back as a string, a variant through SetAsVariant (as the
    // variant's own kind), the owner as the reading component.
    const auto kind = src->GetValue()->GetValueType();
    EXPECT_EQ(got->GetValueType(), kind == vtPChar     ? vtAnsiString
                                   : kind == vtVariant ? vtInteger
                                                       : kind)
        << r.Line;
    EXPECT_EQ(got->GetAsString(), src->GetValue()->GetAsString()) << r.Line;
    EXPECT_TRUE(kind != vtObject || got->GetAsObject() == back.get());
  }

  // Nothing is written for an unassigned value, a pointer, or the values
  // the stream counts as defaults; those read back unassigned.
  for (auto set : std::initializer_list<std::function<void(TPelValue&)>>{
           [](auto&) {}, [](auto& v) { v.SetAsPointer(&v); }, [](auto& v) { v.SetAsString(""); },
           [](auto& v) { v.SetAsFloat(0.0f); }}) {
    auto src = Make<TValueHolder>(nullptr);
    set(*src->GetValue());
    String bytes = BytesOf(src.get());
    EXPECT_EQ(TextOf(bytes), "object TValueHolder\nend\n");
    auto back = Make<TValueHolder>(nullptr);
    ReadInto(bytes, back.get());
    EXPECT_TRUE(back->GetValue()->GetUnassigned());
  }
}
