// SysUtils: the framework's formatting, number conversion, case, trimming and
// comparison routines.
#include "platform/SysUtils.h"

#include <locale.h>

#include <algorithm>
#include <cctype>
#include <cerrno>
#include <climits>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <optional>

namespace pel {

Exception::Exception(const String& Fmt, TVarRecs Args) : FMessage(Format(Fmt, Args)) {}

void Abort() { throw EAbort(SysConst::SOperationAborted); }
void RaiseAccessViolation() { throw EAccessViolation(SysConst::SAccessViolation); }

// ---------------------------------------------------------------------------
// Decimal digits of a number, the common ground of every float format.

namespace {

// A number as 0.<Digits> * 10^Exp. No digits means zero. Special holds the
// text of an infinity or a NaN, which every float format writes as is.
struct TDecimal {
  bool Negative = false;
  String Digits;
  int Exp = 0;
  const char* Special = nullptr;
};

// The 18 significant digits the framework's extended arithmetic produces; a
// double has at most 17 meaningful ones, so nothing is lost.
constexpr int kMaxDigits = 18;
// The digits FloatToStr and fixed formats keep before rounding further.
constexpr int kFloatDigits = 15;

void StripTrailingZeros(TDecimal& D) {
  while (!D.Digits.empty() && D.Digits.back() == '0') D.Digits.pop_back();
  if (D.Digits.empty()) D.Exp = 0;
}

void StripLeadingZeros(TDecimal& D) {
  std::size_t n = 0;
  while (n < D.Digits.size() && D.Digits[n] == '0') ++n;
  D.Digits.erase(0, n);
  D.Exp -= static_cast<int>(n);
  if (D.Digits.empty()) D.Exp = 0;
}

// Keeps Count significant digits, rounding half away from zero.
void RoundDigits(TDecimal& D, int Count) {
  if (D.Special || static_cast<int>(D.Digits.size()) <= Count) return;
  if (Count < 0) {
    D.Digits.clear();
    D.Exp = 0;
    return;
  }
  bool up = D.Digits[Count] >= '5';
  D.Digits.resize(Count);
  if (up) {
    int i = Count - 1;
    while (i >= 0 && D.Digits[i] == '9') D.Digits[i--] = '0';
    if (i >= 0) {
      ++D.Digits[i];
    } else {
      D.Digits.insert(D.Digits.begin(), '1');
      ++D.Exp;
    }
  }
  StripTrailingZeros(D);
}

// Rounds so that no digit is left beyond Decimals places after the point.
void RoundDecimals(TDecimal& D, int Decimals) {
  if (!D.Digits.empty()) RoundDigits(D, D.Exp + Decimals);
}

TDecimal DecimalOfDouble(double Value) {
  TDecimal D;
  D.Negative = std::signbit(Value);
  if (std::isnan(Value)) {
    D.Special = "NAN";
    D.Negative = false;
    return D;
  }
  if (std::isinf(Value)) {
    D.Special = D.Negative ? "-INF" : "INF";
    return D;
  }
  if (Value == 0) {
    D.Negative = false;
    return D;
  }
  char buf[64];
  std::snprintf(buf, sizeof buf, "%.*e", kMaxDigits - 1, std::fabs(Value));
  // buf is "d.ddd...e[+-]xx"; the point is the C locale's, so skip
  // whatever is not a digit.
  const char* e = std::strchr(buf, 'e');
  for (const char* c = buf; c < e; ++c)
    if (*c >= '0' && *c <= '9') D.Digits.push_back(*c);
  D.Exp = std::atoi(e + 1) + 1;
  StripTrailingZeros(D);
  return D;
}

TDecimal DecimalOfCurrency(int64_t Raw) {
  TDecimal D;
  D.Negative = Raw < 0;
  uint64_t mag = D.Negative ? 0 - static_cast<uint64_t>(Raw) : static_cast<uint64_t>(Raw);
  D.Digits = std::to_string(mag);
  D.Exp = static_cast<int>(D.Digits.size()) - 4;
  StripTrailingZeros(D);
  StripLeadingZeros(D);
  if (D.Digits.empty()) D.Negative = false;
  return D;
}

String Sign(const TDecimal& D) { return D.Negative && !D.Digits.empty() ? "-" : ""; }

// Exponent as the framework writes it: "E", a sign ("+" only when asked
// for) and at least MinDigits digits.
String ExponentText(int Exp, bool PlusSign, int MinDigits) {
  String s = "E";
  if (Exp < 0) {
    s += '-';
    Exp = -Exp;
  } else if (PlusSign) {
    s += '+';
  }
  String n = std::to_string(Exp);
  if (static_cast<int>(n.size()) < MinDigits) s.append(MinDigits - n.size(), '0');
  return s + n;
}

// General format: the shortest of fixed and scientific for Precision
// significant digits. Scientific when the integer part would need more than
// Precision digits or the value is below 0.0001.
String GeneralText(TDecimal D, int Precision) {
  if (D.Special) return D.Special;
  RoundDigits(D, Precision);
  if (D.Digits.empty()) return "0";
  String s = Sign(D);
  if (D.Exp > Precision || D.Exp < -3) {
    s += D.Digits[0];
    if (D.Digits.size() > 1) s += '.' + D.Digits.substr(1);
    return s + ExponentText(D.Exp - 1, false, 0);
  }
  if (D.Exp <= 0) return s + "0." + String(-D.Exp, '0') + D.Digits;
  if (static_cast<int>(D.Digits.size()) <= D.Exp)
    return s + D.Digits + String(D.Exp - D.Digits.size(), '0');
  return s + D.Digits.substr(0, D.Exp) + '.' + D.Digits.substr(D.Exp);
}

// Scientific format: Precision significant digits, one before the point,
// and an exponent with its sign and at least three digits.
String ExponentFormText(TDecimal D, int Precision) {
  if (D.Special) return D.Special;
  RoundDigits(D, Precision);
  String digits = D.Digits;
  digits.resize(Precision, '0');
  String s = Sign(D);
  s += digits[0];
  if (Precision > 1) s += '.' + digits.substr(1);
  return s + ExponentText(D.Digits.empty() ? 0 : D.Exp - 1, true, 3);
}

String GroupThousands(const String& IntPart) {
  String s;
  int n = static_cast<int>(IntPart.size());
  for (int i = 0; i < n; ++i) {
    if (i > 0 && (n - i) % 3 == 0) s += ',';
    s += IntPart[i];
  }
  return s;
}

// Fixed-point digits without the sign: the integer part (grouped on
// request), the point and Decimals digits.
String FixedDigits(const TDecimal& D, int Decimals, bool Thousands) {
  String intPart = D.Exp <= 0 ? "0" : D.Digits.substr(0, D.Exp);
  if (D.Exp > 0 && static_cast<int>(intPart.size()) < D.Exp)
    intPart.append(D.Exp - intPart.size(), '0');
  if (Thousands) intPart = GroupThousands(intPart);
  if (Decimals <= 0) return intPart;
  String frac;
  for (int i = 0; i < Decimals; ++i) {
    int at = D.Exp + i;  // index into Digits of the i-th decimal
    frac += (at >= 0 && at < static_cast<int>(D.Digits.size())) ? D.Digits[at] : '0';
  }
  return intPart + '.' + frac;
}

// Values too large for fixed-point notation fall back to general format.
constexpr int kMaxFixedExp = 18;

String FixedText(TDecimal D, int Decimals, bool Thousands) {
  if (D.Special) return D.Special;
  if (D.Exp > kMaxFixedExp) return GeneralText(D, kFloatDigits);
  RoundDecimals(D, Decimals);
  return Sign(D) + FixedDigits(D, Decimals, Thousands);
}

// Money: the US default of the framework, "$1,234.50" and "($1,234.50)".
String MoneyText(TDecimal D, int Decimals) {
  if (D.Special) return D.Special;
  if (D.Exp > kMaxFixedExp) return GeneralText(D, kFloatDigits);
  RoundDecimals(D, Decimals);
  // Built by appending: g++ 12 warns falsely on "literal" + String here.
  String s(1, '$');
  s += FixedDigits(D, Decimals, true);
  if (!D.Negative || D.Digits.empty()) return s;
  String r(1, '(');
  r += s;
  r += ')';
  return r;
}

}  // namespace

// ---------------------------------------------------------------------------
// Format

namespace {

class TFormatter {
 public:
  TFormatter(const String& Fmt, TVarRecs Args) : FFmt(Fmt), FArgs{Args.begin(), Args.size()} {}

  String Run() {
    while (FPos < FFmt.size()) {
      char c = FFmt[FPos++];
      if (c != '%') {
        FOut += c;
        continue;
      }
      Directive();
    }
    return FOut;
  }

 private:
  struct TArgs {
    const TVarRec* Data;
    std::size_t Size;
  };

  [[noreturn]] void Invalid() const { throw EConvertError(SysConst::SInvalidFormat, {FFmt}); }
  [[noreturn]] void Missing() const { throw EConvertError(SysConst::SArgumentMissing, {FFmt}); }

  char Peek() const {
    if (FPos >= FFmt.size()) Invalid();
    return FFmt[FPos];
  }

  const TVarRec& NextArg() {
    if (FArgPos >= FArgs.Size) Missing();
    return FArgs.Data[FArgPos++];
  }

  // A number written in the directive, or "*" to take it from the arguments.
  std::optional<int32_t> ReadNumber() {
    if (Peek() == '*') {
      ++FPos;
      const TVarRec& a = NextArg();
      if (a.VType == TVarRec::vtInteger) return a.VInteger;
      if (a.VType == TVarRec::vtInt64 && a.VInt64 >= INT32_MIN && a.VInt64 <= INT32_MAX)
        return static_cast<int32_t>(a.VInt64);
      Invalid();
    }
    if (!std::isdigit(static_cast<unsigned char>(Peek()))) return std::nullopt;
    int64_t v = 0;
    while (std::isdigit(static_cast<unsigned char>(Peek()))) {
      v = v * 10 + (FFmt[FPos++] - '0');
      if (v > INT32_MAX) Invalid();
    }
    return static_cast<int32_t>(v);
  }

  void Directive() {
    if (Peek() == '%') {
      ++FPos;
      FOut += '%';
      return;
    }
    std::optional<int32_t> n = ReadNumber();
    if (Peek() == ':') {
      // An index moves the argument pointer; later directives go on from it.
      ++FPos;
      int32_t index = n.value_or(0);
      if (index < 0) Missing();
      FArgPos = static_cast<std::size_t>(index);
      n = ReadNumber();
    }
    bool left = false;
    if (Peek() == '-') {
      if (n) Invalid();
      ++FPos;
      left = true;
      n = ReadNumber();
    }
    int32_t width = n.value_or(0);
    std::optional<int32_t> prec;
    if (Peek() == '.') {
      ++FPos;
      prec = ReadNumber().value_or(0);
      // A negative precision taken from the arguments means "none given".
      if (*prec < 0) prec.reset();
    }
    char type = static_cast<char>(std::tolower(static_cast<unsigned char>(Peek())));
    ++FPos;
    String text = Convert(type, prec);
    // A negative width taken from the arguments pads nothing.
    if (width > 0 && text.size() < static_cast<std::size_t>(width)) {
      String pad(width - text.size(), ' ');
      text = left ? text + pad : pad + text;
    }
    FOut += text;
  }

  static bool IsInt(const TVarRec& a) {
    return a.VType == TVarRec::vtInteger || a.VType == TVarRec::vtInt64;
  }

  static String ZeroPad(String digits, std::optional<int32_t> prec) {
    if (prec && static_cast<int32_t>(digits.size()) < *prec)
      digits.insert(0, *prec - digits.size(), '0');
    return digits;
  }

  String Convert(char type, std::optional<int32_t> prec) {
    switch (type) {
      case 'd':
      case 'u':
      case 'x':
        return IntegerArg(type, NextArg(), prec);
      case 'e':
      case 'f':
      case 'g':
      case 'n':
      case 'm':
        return FloatArg(type, NextArg(), prec);
      case 's':
        return StringArg(NextArg(), prec);
      case 'p':
        return PointerArg(NextArg());
      default:
        Invalid();
    }
  }

  String IntegerArg(char type, const TVarRec& a, std::optional<int32_t> prec) const {
    if (!IsInt(a)) Invalid();
    bool wide = a.VType == TVarRec::vtInt64;
    int64_t v = wide ? a.VInt64 : a.VInteger;
    // Unsigned and hexadecimal read the value's bits at its own width.
    uint64_t bits = wide ? static_cast<uint64_t>(v) : static_cast<uint32_t>(v);
    if (type == 'd') {
      uint64_t mag = v < 0 ? 0 - static_cast<uint64_t>(v) : static_cast<uint64_t>(v);
      // The precision counts digits; the sign comes on top.
      String r = v < 0 ? "-" : "";
      r += ZeroPad(std::to_string(mag), prec);
      return r;
    }
    if (type == 'u') return ZeroPad(std::to_string(bits), prec);
    char buf[24];
    std::snprintf(buf, sizeof buf, "%llX", static_cast<unsigned long long>(bits));
    return ZeroPad(buf, prec);
  }

  String FloatArg(char type, const TVarRec& a, std::optional<int32_t> prec) const {
    TDecimal d;
    bool currency = a.VType == TVarRec::vtCurrency;
    if (currency) {
      d = DecimalOfCurrency(a.VCurrency);
    } else if (a.VType == TVarRec::vtExtended) {
      d = DecimalOfDouble(a.VExtended);
    } else {
      Invalid();
    }
    if (type == 'e' || type == 'g') {
      int digits = prec ? std::clamp(*prec, 1, kMaxDigits) : kFloatDigits;
      return type == 'e' ? ExponentFormText(d, digits) : GeneralText(d, digits);
    }
    // Fixed formats work from the 15 significant digits of a double (a
    // currency is exact), then round to the decimals asked for.
    if (!currency) RoundDigits(d, kFloatDigits);
    int decimals = prec ? std::min(*prec, kMaxDigits) : 2;
    if (type == 'm') return MoneyText(d, decimals);
    return FixedText(d, decimals, type == 'n');
  }

  String StringArg(const TVarRec& a, std::optional<int32_t> prec) const {
    String s;
    switch (a.VType) {
      case TVarRec::vtAnsiString:
        s = *a.VAnsiString;
        break;
      case TVarRec::vtString:
        s = *a.VString;
        break;
      case TVarRec::vtPChar:
        if (a.VPChar) s = a.VPChar;
        break;
      case TVarRec::vtChar:
        s = String(1, a.VChar);
        break;
      default:
        Invalid();
    }
    if (prec && s.size() > static_cast<std::size_t>(*prec)) s.resize(*prec);
    return s;
  }

  String PointerArg(const TVarRec& a) const {
    if (a.VType != TVarRec::vtPointer) Invalid();
    // Eight digits as on the framework's 32-bit platform, sixteen when the
    // address needs them.
    auto v = reinterpret_cast<uintptr_t>(a.VPointer);
    char buf[24];
    std::snprintf(buf, sizeof buf, "%0*llX", v > UINT32_MAX ? 16 : 8,
                  static_cast<unsigned long long>(v));
    return buf;
  }

  const String& FFmt;
  TArgs FArgs;
  std::size_t FPos = 0;
  std::size_t FArgPos = 0;
  String FOut;
};

}  // namespace

String Format(const String& Fmt, TVarRecs Args) { return TFormatter(Fmt, Args).Run(); }

// ---------------------------------------------------------------------------
// Integer conversion

String IntToStr(int32_t Value) { return std::to_string(Value); }
String IntToStr(int64_t Value) { return std::to_string(Value); }

namespace {

String HexText(uint64_t Bits, int32_t Digits) {
  char buf[24];
  std::snprintf(buf, sizeof buf, "%llX", static_cast<unsigned long long>(Bits));
  String s = buf;
  if (Digits > static_cast<int32_t>(s.size())) s.insert(0, Digits - s.size(), '0');
  return s;
}

int HexDigit(char c) {
  if (c >= '0' && c <= '9') return c - '0';
  if (c >= 'a' && c <= 'f') return c - 'a' + 10;
  if (c >= 'A' && c <= 'F') return c - 'A' + 10;
  return -1;
}

// Parses an integer of Bits bits: optional sign, then decimal digits, or a
// hexadecimal number after "$" or "0x". A decimal must fit the signed range;
// a hexadecimal number may use every bit and is read as two's complement.
bool ParseInteger(const String& S, int Bits, int64_t& Out) {
  std::size_t i = 0, n = S.size();
  bool neg = false;
  if (i < n && (S[i] == '+' || S[i] == '-')) neg = S[i++] == '-';
  bool hex = false;
  if (i < n && S[i] == '$') {
    hex = true;
    ++i;
  } else if (i + 1 < n && S[i] == '0' && (S[i + 1] == 'x' || S[i + 1] == 'X')) {
    hex = true;
    i += 2;
  }
  if (i >= n) return false;
  const uint64_t unsignedMax = Bits == 64 ? UINT64_MAX : (uint64_t(1) << Bits) - 1;
  const uint64_t signedMax = (uint64_t(1) << (Bits - 1)) - 1;
  const uint64_t limit = hex ? unsignedMax : signedMax + (neg ? 1 : 0);
  const unsigned base = hex ? 16 : 10;
  uint64_t mag = 0;
  for (; i < n; ++i) {
    int d = hex ? HexDigit(S[i]) : (S[i] >= '0' && S[i] <= '9' ? S[i] - '0' : -1);
    if (d < 0) return false;
    if (mag > (limit - static_cast<unsigned>(d)) / base) return false;
    mag = mag * base + static_cast<unsigned>(d);
  }
  if (hex && Bits < 64 && mag > signedMax) mag |= ~unsignedMax;  // sign-extend
  uint64_t bits = neg ? 0 - mag : mag;
  Out = static_cast<int64_t>(bits);
  return true;
}

}  // namespace

String IntToHex(int32_t Value, int32_t Digits) {
  return HexText(static_cast<uint32_t>(Value), Digits);
}
String IntToHex(int64_t Value, int32_t Digits) {
  return HexText(static_cast<uint64_t>(Value), Digits);
}

bool TryStrToInt(const String& S, int32_t& Value) {
  int64_t v;
  if (!ParseInteger(S, 32, v)) return false;
  Value = static_cast<int32_t>(v);
  return true;
}

bool TryStrToInt64(const String& S, int64_t& Value) { return ParseInteger(S, 64, Value); }

int32_t StrToInt(const String& S) {
  int32_t v;
  if (!TryStrToInt(S, v)) throw EConvertError(SysConst::SInvalidInteger, {S});
  return v;
}

int64_t StrToInt64(const String& S) {
  int64_t v;
  if (!TryStrToInt64(S, v)) throw EConvertError(SysConst::SInvalidInteger, {S});
  return v;
}

int32_t StrToIntDef(const String& S, int32_t Default) {
  int32_t v;
  return TryStrToInt(S, v) ? v : Default;
}

int64_t StrToInt64Def(const String& S, int64_t Default) {
  int64_t v;
  return TryStrToInt64(S, v) ? v : Default;
}

// ---------------------------------------------------------------------------
// Float conversion

String FloatToStr(double Value) { return GeneralText(DecimalOfDouble(Value), kFloatDigits); }

namespace {

bool IsDigit(char c) { return c >= '0' && c <= '9'; }

// The "C" locale, so that the decimal separator is '.' whatever the
// program's locale is.
locale_t CLocale() {
  static locale_t loc = newlocale(LC_ALL_MASK, "C", static_cast<locale_t>(nullptr));
  return loc;
}

}  // namespace

bool TryStrToFloat(const String& S, double& Value) {
  std::size_t b = 0, e = S.size();
  while (b < e && S[b] == ' ') ++b;
  while (e > b && S[e - 1] == ' ') --e;
  String t = S.substr(b, e - b);
  // [sign] digits [. digits] [E [sign] digits], with a digit in the mantissa.
  std::size_t i = 0, n = t.size();
  if (i < n && (t[i] == '+' || t[i] == '-')) ++i;
  std::size_t mantissa = 0;
  while (i < n && IsDigit(t[i])) ++i, ++mantissa;
  if (i < n && t[i] == '.') {
    ++i;
    while (i < n && IsDigit(t[i])) ++i, ++mantissa;
  }
  if (mantissa == 0) return false;
  if (i < n && (t[i] == 'e' || t[i] == 'E')) {
    ++i;
    if (i < n && (t[i] == '+' || t[i] == '-')) ++i;
    std::size_t expDigits = 0;
    while (i < n && IsDigit(t[i])) ++i, ++expDigits;
    if (expDigits == 0) return false;
  }
  if (i != n) return false;
  double v = strtod_l(t.c_str(), nullptr, CLocale());
  if (std::isinf(v)) return false;  // out of range
  Value = v;
  return true;
}

double StrToFloat(const String& S) {
  double v;
  if (!TryStrToFloat(S, v)) throw EConvertError(SysConst::SInvalidFloat, {S});
  return v;
}

// ---------------------------------------------------------------------------
// Case and trimming

char UpCase(char C) { return (C >= 'a' && C <= 'z') ? static_cast<char>(C - 'a' + 'A') : C; }

static char LowCase(char C) {
  return (C >= 'A' && C <= 'Z') ? static_cast<char>(C - 'A' + 'a') : C;
}

String UpperCase(const String& S) {
  String r = S;
  for (char& c : r) c = UpCase(c);
  return r;
}

String LowerCase(const String& S) {
  String r = S;
  for (char& c : r) c = LowCase(c);
  return r;
}

static bool IsBlank(char C) { return static_cast<unsigned char>(C) <= ' '; }

String Trim(const String& S) { return TrimLeft(TrimRight(S)); }

String TrimLeft(const String& S) {
  std::size_t b = 0;
  while (b < S.size() && IsBlank(S[b])) ++b;
  return S.substr(b);
}

String TrimRight(const String& S) {
  std::size_t e = S.size();
  while (e > 0 && IsBlank(S[e - 1])) --e;
  return S.substr(0, e);
}

// ---------------------------------------------------------------------------
// Comparison

namespace {

int32_t SignOf(int v) { return (v > 0) - (v < 0); }

template <class Fold>
int32_t CompareBytes(const String& S1, const String& S2, Fold fold) {
  std::size_t n = std::min(S1.size(), S2.size());
  for (std::size_t i = 0; i < n; ++i) {
    int a = fold(static_cast<unsigned char>(S1[i]));
    int b = fold(static_cast<unsigned char>(S2[i]));
    if (a != b) return a - b;
  }
  return SignOf(static_cast<int>(S1.size() > S2.size()) - static_cast<int>(S1.size() < S2.size()));
}

// strcoll stops at a NUL byte; compare the NUL-separated pieces one by one
// so that bytes after an embedded NUL still count.
int32_t Collate(const String& S1, const String& S2) {
  std::size_t p1 = 0, p2 = 0;
  for (;;) {
    int r = std::strcoll(S1.c_str() + p1, S2.c_str() + p2);
    if (r != 0) return SignOf(r);
    std::size_t e1 = S1.find('\0', p1), e2 = S2.find('\0', p2);
    bool end1 = e1 == String::npos, end2 = e2 == String::npos;
    if (end1 || end2) return static_cast<int32_t>(end2) - static_cast<int32_t>(end1);
    p1 = e1 + 1;
    p2 = e2 + 1;
  }
}

String LocaleLower(const String& S) {
  String r = S;
  for (char& c : r) c = static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
  return r;
}

}  // namespace

int32_t CompareStr(const String& S1, const String& S2) {
  // Byte order of unsigned chars is what memcmp gives.
  std::size_t n = std::min(S1.size(), S2.size());
  if (n != 0) {
    int r = std::memcmp(S1.data(), S2.data(), n);
    if (r != 0) return r < 0 ? -1 : 1;
  }
  return SignOf(static_cast<int>(S1.size() > S2.size()) - static_cast<int>(S1.size() < S2.size()));
}

int32_t CompareText(const String& S1, const String& S2) {
  return CompareBytes(S1, S2, [](int c) { return (c >= 'a' && c <= 'z') ? c - 'a' + 'A' : c; });
}

int32_t AnsiCompareStr(const String& S1, const String& S2) { return Collate(S1, S2); }

int32_t AnsiCompareText(const String& S1, const String& S2) {
  return Collate(LocaleLower(S1), LocaleLower(S2));
}

bool SameText(const String& S1, const String& S2) { return CompareText(S1, S2) == 0; }

}  // namespace pel
