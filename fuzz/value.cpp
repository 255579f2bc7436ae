// TPelValue from text. Input: a byte that picks how the text goes in (as a
// string, as a PChar, which ends at the first zero byte, or inside a string
// or OleStr variant), then the text. The value is read back as every kind.
// Only EConvertError may escape a getter; where one gives a result it agrees
// with a reading of the text by the documented rules: integers strict
// (sign, decimal digits or "$"/"0x" and hexadecimal, no blanks), floats with
// blanks around and an optional exponent and finite in single precision,
// "T"/"TRUE"/"F"/"FALSE" in any case as booleans. The variant conversions of
// the same text (EVariantTypeCastError their only failure) agree as well, and
// a copy, a clone and a value rebuilt from what was read equal the original.
#include <cmath>
#include <cstdint>
#include <cstdlib>
#include <optional>
#include <string>

#include "FuzzCheck.h"
#include "values/PelValue.h"

using namespace pel;

namespace {

// Runs Fn; nothing when it raised E.
template <class E, class F>
auto Try(F Fn) -> std::optional<decltype(Fn())> {
  try {
    return Fn();
  } catch (const E&) {
    return std::nullopt;
  }
}

int Hex(char C) {
  if (C >= '0' && C <= '9') return C - '0';
  if (C >= 'a' && C <= 'f') return C - 'a' + 10;
  if (C >= 'A' && C <= 'F') return C - 'A' + 10;
  return -1;
}

std::optional<int32_t> ReadInteger(const std::string& S) {
  std::size_t i = 0;
  const bool negative = !S.empty() && S[0] == '-';
  if (!S.empty() && (S[0] == '-' || S[0] == '+')) ++i;
  int base = 10;
  if (S.compare(i, 1, "$") == 0) {
    base = 16;
    i += 1;
  } else if (S.compare(i, 2, "0x") == 0 || S.compare(i, 2, "0X") == 0) {
    base = 16;
    i += 2;
  }
  if (i == S.size()) return std::nullopt;
  uint64_t magnitude = 0;
  for (; i < S.size(); ++i) {
    const int d = base == 16 ? Hex(S[i]) : (S[i] >= '0' && S[i] <= '9' ? S[i] - '0' : -1);
    if (d < 0) return std::nullopt;
    magnitude = magnitude * base + d;
    if (magnitude > 0xFFFFFFFFull) return std::nullopt;
  }
  if (base == 10 && magnitude > (negative ? 0x80000000ull : 0x7FFFFFFFull)) return std::nullopt;
  const auto bits = static_cast<uint32_t>(negative ? 0 - magnitude : magnitude);
  return static_cast<int32_t>(bits);
}

std::optional<double> ReadFloat(const std::string& S) {
  std::size_t b = S.find_first_not_of(' ');
  if (b == std::string::npos) return std::nullopt;
  const std::string t = S.substr(b, S.find_last_not_of(' ') + 1 - b);
  std::size_t i = 0, digits = 0;
  auto digit = [&] { return i < t.size() && t[i] >= '0' && t[i] <= '9'; };
  if (i < t.size() && (t[i] == '+' || t[i] == '-')) ++i;
  while (digit()) ++i, ++digits;
  if (i < t.size() && t[i] == '.') ++i;
  while (digit()) ++i, ++digits;
  if (digits == 0) return std::nullopt;
  if (i < t.size() && (t[i] == 'e' || t[i] == 'E')) {
    ++i;
    if (i < t.size() && (t[i] == '+' || t[i] == '-')) ++i;
    if (!digit()) return std::nullopt;
    while (digit()) ++i;
  }
  if (i != t.size()) return std::nullopt;
  const double v = std::strtod(t.c_str(), nullptr);
  if (std::isinf(v)) return std::nullopt;
  return v;
}

std::string Upper(std::string S) {
  for (char& c : S)
    if (c >= 'a' && c <= 'z') c = static_cast<char>(c - 'a' + 'A');
  return S;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* Data, std::size_t Size) {
  if (Size < 1) return 0;
  std::string text(reinterpret_cast<const char*>(Data + 1), Size - 1);
  auto value = Make<TPelValue>();
  switch (Data[0] % 4) {
    case 0:
      value->SetAsString(text);
      break;
    case 1:
      value->SetAsPChar(text.c_str());
      text = text.c_str();
      break;
    case 2:
      value->SetAsVariant(Variant(text));
      break;
    default:
      value->SetAsVariant(Variant::OleStr(text));
      break;
  }
  FUZZ_CHECK(!value->GetUnassigned() && value->GetValueType() == vtAnsiString);
  FUZZ_CHECK(value->GetAsString() == text);
  FUZZ_CHECK(value->GetAsPChar() == text.substr(0, text.find('\0')));

  const auto integer = Try<EConvertError>([&] { return value->GetAsInteger(); });
  FUZZ_CHECK(integer == ReadInteger(text));

  const auto number = ReadFloat(text);
  const bool single = number && std::isfinite(static_cast<float>(*number));
  const auto real = Try<EConvertError>([&] { return value->GetAsFloat(); });
  FUZZ_CHECK(real.has_value() == single);
  if (real) FUZZ_CHECK(*real == static_cast<float>(*number));

  const auto amount = Try<EConvertError>([&] { return value->GetAsCurrency(); });
  if (!real) FUZZ_CHECK(!amount);
  if (real && std::fabs(static_cast<double>(*real) * 10000.0) < 9e18) {
    FUZZ_CHECK(amount && amount->Value ==
                             static_cast<int64_t>(std::nearbyint(static_cast<double>(*real) * 10000)));
  }

  const std::string upper = Upper(text);
  const auto boolean = Try<EConvertError>([&] { return value->GetAsBoolean(); });
  if (upper == "T" || upper == "TRUE")
    FUZZ_CHECK(boolean == true);
  else if (upper == "F" || upper == "FALSE")
    FUZZ_CHECK(boolean == false);
  else
    FUZZ_CHECK(!boolean);

  const auto first = Try<EConvertError>([&] { return value->GetAsChar(); });
  FUZZ_CHECK(text.empty() ? !first : first == text[0]);

  FUZZ_CHECK(value->GetAsPointer() != nullptr);
  FUZZ_CHECK(!Try<EConvertError>([&] { return value->GetAsObject(); }));
  FUZZ_CHECK(!Try<EConvertError>([&] { return value->GetAsClass(); }));
  FUZZ_CHECK(!Try<EConvertError>([&] { return value->GetAsInterface(); }));

  // The variant it gives, and that variant's own conversions.
  const Variant v = value->GetAsVariant();
  FUZZ_CHECK(VarType(v) == varString && VarToLStr(v) == text);
  FUZZ_CHECK(Try<EVariantTypeCastError>([&] { return VarToInt(v); }) == integer);
  const auto varReal = Try<EVariantTypeCastError>([&] { return VarToReal(v); });
  FUZZ_CHECK(varReal == number);
  const auto varBool = Try<EVariantTypeCastError>([&] { return VarToBool(v); });
  if (upper == "TRUE" || upper == "FALSE")
    FUZZ_CHECK(varBool == (upper == "TRUE"));
  else if (number)
    FUZZ_CHECK(varBool == (*number != 0));
  else
    FUZZ_CHECK(!varBool);

  // Copies keep the text; what was read rebuilds an equal value.
  auto copy = Make<TPelValue>();
  copy->Assign(value.get());
  Owned<TPelCustomValue> clone(value->Clone());
  FUZZ_CHECK(copy->Equals(value.get()) && clone->Equals(value.get()));
  FUZZ_CHECK(clone->GetAsString() == text);
  auto again = Make<TPelValue>();
  again->SetAsVariant(v);
  FUZZ_CHECK(again->Equals(value.get()));
  if (integer) {
    again->SetAsString(IntToStr(*integer));
    FUZZ_CHECK(again->GetAsInteger() == *integer);
  }
  if (real) {
    // The single's text reads back as the same single.
    again->SetAsFloat(*real);
    const String printed = again->GetAsString();
    again->SetAsString(printed);
    FUZZ_CHECK(again->GetAsFloat() == *real);
  }
  return 0;
}
