#include <gtest/gtest.h>

#include <clocale>
#include <cstdint>
#include <limits>
#include <utility>

#include "platform/ExpectRaises.h"
#include "platform/SysUtils.h"

using namespace pel;
using pel::test::ExpectRaises;

namespace {

// The message of the EConvertError that Format raises, or "" when it does not.
std::string FormatError(const String& Fmt, TVarRecs Args) {
  try {
    Format(Fmt, Args);
  } catch (const EConvertError& e) {
    return e.Message();
  }
  return "";
}

std::string Invalid(const String& Fmt) {
  return "Format '" + Fmt + "' invalid or incompatible with argument";
}
std::string Missing(const String& Fmt) { return "No argument for format '" + Fmt + "'"; }

}  // namespace

TEST(Format, IntegerDirectives) {
  EXPECT_EQ(Format("%d|%5d|%-5d|", {12, 12, 12}), "12|   12|12   |");
  EXPECT_EQ(Format("%.5d|%.5d|%.1d", {12, -12, 123}), "00012|-00012|123");
  EXPECT_EQ(Format("%d", {std::numeric_limits<int64_t>::min()}), "-9223372036854775808");
  EXPECT_EQ(Format("%u|%u", {-1, int64_t(-1)}), "4294967295|18446744073709551615");
  EXPECT_EQ(Format("%x|%.4x|%x|%X", {255, 255, -1, 171}), "FF|00FF|FFFFFFFF|AB");
}

TEST(Format, StringAndPointerDirectives) {
  String s = "abc";
  const char* nul = nullptr;
  EXPECT_EQ(Format("%s|%.2s|%s|%s|%s|", {s, s, 'x', "pc", nul}), "abc|ab|x|pc||");
  EXPECT_EQ(Format("%5s|%-5s|%-8.3s|", {"ab", "ab", "abcdef"}), "   ab|ab   |abc     |");
  EXPECT_EQ(Format("%p|%p", {reinterpret_cast<void*>(uintptr_t(0x1234ABCD)), nullptr}),
            "1234ABCD|00000000");
  if constexpr (sizeof(void*) == 8) {
    EXPECT_EQ(Format("%p", {reinterpret_cast<void*>(uintptr_t(0x7FFF12345678ull))}),
              "00007FFF12345678");
  }
}

TEST(Format, FloatDirectives) {
  EXPECT_EQ(Format("%.3e|%e", {1234.5, -0.00012345}), "1.23E+003|-1.23450000000000E-004");
  EXPECT_EQ(Format("%.1e|%.2e|%e|%.2e", {1e100, 1e100, 0.0, 0.125}),
            "1E+100|1.0E+100|0.00000000000000E+000|1.3E-001");
  // %g is FloatToStr's text (its table is below) at the precision asked.
  EXPECT_EQ(Format("%g|%g|%.3g", {1e15, 1e-5, 1234.5}), "1E15|1E-5|1.23E3");
  EXPECT_EQ(Format("%f|%.1f|%.0f|%.2f|%.0f", {1.0, 0.25, 2.5, 1.005, -2.5}), "1.00|0.3|3|1.01|-3");
  EXPECT_EQ(Format("%.1f|%.3f|%5.1f", {-0.04, 0.0005, 3.14159}), "0.0|0.001|  3.1");
  EXPECT_EQ(Format("%n|%.0n|%n|%n", {1234567.891, 1234.5, -1234.5, 999.999}),
            "1,234,567.89|1,235|-1,234.50|1,000.00");
  EXPECT_EQ(Format("%m|%m|%.0m", {1234.5, -1234.5, 0.5}), "$1,234.50|($1,234.50)|$1");
  const double inf = std::numeric_limits<double>::infinity();
  EXPECT_EQ(Format("%f|%e|%g", {inf, -inf, std::numeric_limits<double>::quiet_NaN()}),
            "INF|-INF|NAN");
}

TEST(Format, CurrencyArguments) {
  Currency c = Currency::FromRaw(123456);  // 12.3456
  EXPECT_EQ(Format("%f|%m|%e|%g|%n", {c, c, c, c, c}),
            "12.35|$12.35|1.23456000000000E+001|12.3456|12.35");
  Currency big = Currency::FromRaw(-12345678901234);  // -1234567890.1234
  EXPECT_EQ(Format("%.4n|%m", {big, big}), "-1,234,567,890.1234|($1,234,567,890.12)");
  EXPECT_EQ(Format("%.3g|%.1f", {big, Currency::FromRaw(-1)}), "-1.23E9|0.0");
}

TEST(Format, IndexAndStar) {
  EXPECT_EQ(Format("%1:s %0:s %s", {"a", "b", "c"}), "b a b");
  EXPECT_EQ(Format("%0:d %d|%1:d %d", {7, 8, 9}), "7 8|8 9");
  EXPECT_EQ(Format("%*d|%-*d|%.*f", {5, 42, 4, 7, 2, 3.14159}), "   42|7   |3.14");
  EXPECT_EQ(Format("%*d|%.*f", {-5, 42, -1, 3.14159}), "42|3.14");
  EXPECT_EQ(Format("%*:s", {2, "a", "b"}), "b");
  EXPECT_EQ(Format("%1:-4d|", {1, 2}), "2   |");
  EXPECT_EQ(Format("100%%|%%d", {}), "100%|%d");
}

TEST(Format, Errors) {
  // One case per way a directive can be wrong, then per way an argument can be missing.
  EXPECT_EQ(FormatError("%d", {1.5}), Invalid("%d"));
  for (const char* bad : {"%f", "%s", "%p", "%z", "abc%", "%5-d", "%99999999999d"})
    EXPECT_EQ(FormatError(bad, {1}), Invalid(bad));
  EXPECT_EQ(FormatError("%*d", {"x", 1}), Invalid("%*d"));
  EXPECT_EQ(FormatError("%d %d", {1}), Missing("%d %d"));
  EXPECT_EQ(FormatError("%3:d", {1}), Missing("%3:d"));
  EXPECT_EQ(FormatError("%*d", {5}), Missing("%*d"));
}

TEST(IntConversion, ToAndFromText) {
  EXPECT_EQ(IntToStr(-42) + " " + IntToStr(int64_t(1) << 40), "-42 1099511627776");
  EXPECT_EQ(IntToHex(255, 4) + " " + IntToHex(-1, 2), "00FF FFFFFFFF");
  EXPECT_EQ(IntToHex(int64_t(-1), 2), "FFFFFFFFFFFFFFFF");
  const std::pair<const char*, int32_t> good[] = {
      {"+12", 12},
      {"-$FF", -255},
      {"0X1f", 31},
      {"$FFFFFFFF", -1},
      {"2147483647", 2147483647},
      {"-2147483648", std::numeric_limits<int32_t>::min()}};
  for (auto [text, value] : good) EXPECT_EQ(StrToInt(text), value) << text;
  for (const char* bad : {"", "-", "+", "$", "0x", " 12", "12 ", "1e3", "2147483648", "-2147483649",
                          "$100000000", "12a", "x1f", "--1", "1.0"}) {
    int32_t v = 99;
    EXPECT_FALSE(TryStrToInt(bad, v)) << bad;
    EXPECT_EQ(v, 99) << bad;
    EXPECT_EQ(StrToIntDef(bad, -7), -7) << bad;
  }
  ExpectRaises<EConvertError>([&] { StrToInt("12x"); }, "'12x' is not a valid integer value");
  EXPECT_EQ(StrToInt64("9223372036854775807"), std::numeric_limits<int64_t>::max());
  EXPECT_EQ(StrToInt64("$FFFFFFFFFFFFFFFF"), -1);
  EXPECT_THROW(StrToInt64("9223372036854775808"), EConvertError);
  EXPECT_EQ(StrToInt64Def("$10000000000000000", 5), 5);
}

TEST(FloatConversion, ToAndFromText) {
  // Shortest text of up to 15 digits; exponent form from 1E15 and below 1E-4.
  const std::pair<double, const char*> shown[] = {{2.0 / 3, "0.666666666666667"},
                                                  {0.1 + 0.2, "0.3"},
                                                  {1e15, "1E15"},
                                                  {999999999999999.0, "999999999999999"},
                                                  {9999999999999999.0, "1E16"},
                                                  {1e-5, "1E-5"},
                                                  {0.0001, "0.0001"},
                                                  {-0.0, "0"},
                                                  {123456789012345678.0, "1.23456789012346E17"}};
  for (auto [value, text] : shown) EXPECT_EQ(FloatToStr(value), text);

  const std::pair<const char*, double> read[] = {
      {" 1.5 ", 1.5}, {"-1.5e-3", -0.0015}, {".5", 0.5}, {"5.", 5}, {"1e-400", 0}};
  for (auto [text, value] : read) EXPECT_EQ(StrToFloat(text), value) << text;
  for (const char* bad : {"", " ", ".", "-", "1,5", "1e", "1e+", "inf", "nan", "$10", "1.5x", "1 5",
                          "1e999", "\t1"}) {
    double v = 42;
    EXPECT_FALSE(TryStrToFloat(bad, v)) << bad;
    EXPECT_EQ(v, 42) << bad;
  }
  ExpectRaises<EConvertError>([&] { StrToFloat("abc"); },
                              "'abc' is not a valid floating point value");
}

TEST(Strings, CaseAndTrim) {
  EXPECT_EQ(UpperCase("abc-XYZ \xe4"), "ABC-XYZ \xe4");
  EXPECT_EQ(LowerCase("ABC-xyz \xc4"), "abc-xyz \xc4");
  EXPECT_EQ(Trim(" \t\r\n ab c \x01"), "ab c");
  EXPECT_EQ(TrimLeft("  ab  ") + "|" + TrimRight("  ab  ") + "|" + Trim("   "), "ab  |  ab|");
  EXPECT_EQ(Trim("\xa0x\xa0"), "\xa0x\xa0");
}

TEST(Strings, Comparisons) {
  const char* old = std::setlocale(LC_ALL, nullptr);
  std::string saved = old ? old : "C";
  std::setlocale(LC_ALL, "C");

  // Each row: a comparison, two strings, the sign it gives; bytes are
  // unsigned and embedded nulls count.
  using Cmp = int32_t (*)(const String&, const String&);
  const struct {
    Cmp Fn;
    String A, B;
    int Sign;
  } rows[] = {{CompareStr, "B", "_", -1},
              {CompareStr, "ab", "abc", -1},
              {CompareStr, "\x80", "a", 1},
              {CompareText, "_", "a", 1},
              {CompareText, "aBc", "AbC", 0},
              {CompareText, "abcd", "ABC", 1},
              {AnsiCompareStr, "a", "B", 1},
              {AnsiCompareStr, String("a\0b", 3), String("a\0c", 3), -1},
              {AnsiCompareStr, String("a\0", 2), "a", 1},
              {AnsiCompareText, "abc", "ABC", 0},
              {AnsiCompareText, "_", "a", -1},
              {AnsiCompareText, String("A\0a", 3), String("a\0B", 3), -1}};
  for (const auto& r : rows) {
    int32_t c = r.Fn(r.A, r.B);
    EXPECT_EQ((c > 0) - (c < 0), r.Sign) << &r - rows;
  }
  std::setlocale(LC_ALL, saved.c_str());
}

TEST(SysUtils, TryFinally) {
  int finals = 0;
  auto count = [&] { ++finals; };
  EXPECT_EQ(TryFinally([] { return 7; }, count), 7);
  EXPECT_EQ(finals, 1);
  // The final part runs once when the body raises, and its own exception
  // replaces the body's.
  EXPECT_THROW(TryFinally([] { throw EConvertError("body"); }, count), EConvertError);
  ExpectRaises<EListError>(
      [&] {
        TryFinally([]() -> int { throw EConvertError("body"); },
                   [&] {
                     ++finals;
                     throw EListError("final");
                   });
      },
      "final");
  EXPECT_EQ(finals, 3);
}
