#include <gtest/gtest.h>

#include "platform/Variants.h"

using namespace pel;

namespace {

// A conversion's result as text, or "!" and the message of the error.
template <class Convert>
String Try(Convert&& convert) {
  try {
    return convert();
  } catch (const EVariantTypeCastError& e) {
    return "!" + e.Message();
  }
}

}  // namespace

TEST(Variants, ConversionsFollowTheFrameworksRules) {
  struct Row {
    Variant V;
    String Int, Real, Bool, Text;
  };
  const String cast = "!Could not convert variant of type (";
  const Row rows[] = {
      {Variant(), "0", "0", "0", ""},
      {Variant::Null(), cast + "Null) into type (Integer)", cast + "Null) into type (Double)",
       cast + "Null) into type (Boolean)", cast + "Null) into type (String)"},
      {Variant(true), "-1", "-1", "1", "True"},
      {Variant(int16_t{300}), "300", "300", "1", "300"},
      {Variant(uint32_t{4000000000u}), "-294967296", "4000000000", "1", "4000000000"},
      {Variant(int64_t{5000000000}), "705032704", "5000000000", "1", "5000000000"},
      {Variant(2.5), "2", "2.5", "1", "2.5"},
      {Variant(3.5), "4", "3.5", "1", "3.5"},
      {Variant(0.1f), "0", "0.100000001490116", "1", "0.100000001490116"},
      {Variant(Currency::FromRaw(25000)), "2", "2.5", "1", "2.5"},
      {Variant(Currency::FromRaw(-35000)), "-4", "-3.5", "1", "-3.5"},
      {Variant::Date(45356.5882986111), "45357", "45356.5882986111", "1", "3/5/2024 2:07:09 PM"},
      {Variant("$1F"), "31", cast + "String) into type (Double)",
       cast + "String) into type (Boolean)", "$1F"},
      {Variant(" 12 "), cast + "String) into type (Integer)", "12", "1", " 12 "},
      {Variant("0"), "0", "0", "0", "0"},
      {Variant("tRUe"), cast + "String) into type (Integer)", cast + "String) into type (Double)",
       "1", "tRUe"},
      {Variant::OleStr("FALSE"), cast + "OleStr) into type (Integer)",
       cast + "OleStr) into type (Double)", "0", "FALSE"},
      {Variant("yes"), cast + "String) into type (Integer)", cast + "String) into type (Double)",
       cast + "String) into type (Boolean)", "yes"},
      {Variant::Error(7), "7", cast + "Error) into type (Double)",
       cast + "Error) into type (Boolean)", cast + "Error) into type (String)"},
  };
  for (const Row& r : rows) {
    SCOPED_TRACE(VarTypeAsText(VarType(r.V)) + " " + r.Text);
    EXPECT_EQ(Try([&] { return IntToStr(VarToInt(r.V)); }), r.Int);
    EXPECT_EQ(Try([&] { return FloatToStr(VarToReal(r.V)); }), r.Real);
    EXPECT_EQ(Try([&] { return IntToStr(int32_t{VarToBool(r.V)}); }), r.Bool);
    EXPECT_EQ(Try([&] { return VarToLStr(r.V); }), r.Text);
  }
  EXPECT_EQ(VarToStr(Variant::Null()), "");
  EXPECT_EQ(VarToInt64(Variant(int64_t{5000000000})), 5000000000);
  EXPECT_EQ(static_cast<int32_t>(Variant("-8")), -8);
}

TEST(Variants, TypeCodesAndNames) {
  int x = 0;
  EXPECT_EQ(VarType(Variant(uint8_t{1})), varByte);  // the others: see FilerTest
  EXPECT_EQ(VarType(Variant(uint64_t{1})), varUInt64);
  EXPECT_EQ(VarTypeAsText(varByRef | varInteger), "ByRef Integer");
  EXPECT_EQ(VarTypeAsText(0x0E), "$000E");
  Variant ref = Variant::ByRef(&x);
  EXPECT_EQ(VarType(ref), varByRef);
  EXPECT_EQ(ref.DataPointer(), &x);
  EXPECT_EQ(Try([&] { return VarToLStr(ref); }),
            "!Could not convert variant of type (ByRef Empty) into type (String)");
  EXPECT_EQ(DateTimeToStr(0), "12/30/1899");
  EXPECT_EQ(DateTimeToStr(36526.999999), "1/1/2000 11:59:59 PM");
}
