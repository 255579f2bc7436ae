#include "platform/Variants.h"

#include <cmath>
#include <cstdio>

namespace pel {

namespace {

const char* BaseTypeName(TVarType T) {
  switch (T) {
    case varEmpty:
      return "Empty";
    case varNull:
      return "Null";
    case varSmallint:
      return "Smallint";
    case varInteger:
      return "Integer";
    case varSingle:
      return "Single";
    case varDouble:
      return "Double";
    case varCurrency:
      return "Currency";
    case varDate:
      return "Date";
    case varOleStr:
      return "OleStr";
    case varDispatch:
      return "Dispatch";
    case varError:
      return "Error";
    case varBoolean:
      return "Boolean";
    case varVariant:
      return "Variant";
    case varUnknown:
      return "Unknown";
    case varShortInt:
      return "ShortInt";
    case varByte:
      return "Byte";
    case varWord:
      return "Word";
    case varLongWord:
      return "LongWord";
    case varInt64:
      return "Int64";
    case varUInt64:
      return "UInt64";
    case varString:
      return "String";
    default:
      return nullptr;
  }
}

[[noreturn]] void CastError(TVarType From, const char* To) {
  throw EVariantTypeCastError(SysConst::SVarTypeCastError, {VarTypeAsText(From), To});
}

bool IsIntegerType(TVarType T) {
  switch (T) {
    case varSmallint:
    case varInteger:
    case varShortInt:
    case varByte:
    case varWord:
    case varLongWord:
    case varInt64:
    case varUInt64:
      return true;
    default:
      return false;
  }
}

bool IsRealType(TVarType T) { return T == varSingle || T == varDouble || T == varDate; }
bool IsTextType(TVarType T) { return T == varString || T == varOleStr; }

// Rounds half to even, as the processor does by default, and keeps the low
// 32 bits of the result.
int32_t RoundToInt(double D, TVarType From) {
  if (!(std::fabs(D) < 9.2e18)) CastError(From, "Integer");
  auto wide = static_cast<int64_t>(std::nearbyint(D));
  return static_cast<int32_t>(static_cast<uint32_t>(wide));
}

// Currency to integer: ten-thousandths rounded half to even.
int32_t CurrencyToInt(int64_t Raw) {
  int64_t whole = Raw / 10000, rest = Raw % 10000;
  if (rest > 5000 || (rest == 5000 && (whole & 1))) ++whole;
  if (rest < -5000 || (rest == -5000 && (whole & 1))) --whole;
  return static_cast<int32_t>(static_cast<uint32_t>(whole));
}

String CurrencyToStr(int64_t Raw) {
  String s = Format("%.4f", {Currency::FromRaw(Raw)});
  while (s.back() == '0') s.pop_back();
  if (s.back() == '.') s.pop_back();
  return s;
}

}  // namespace

Variant Variant::Null() {
  Variant v;
  v.FVType = varNull;
  return v;
}

Variant Variant::Date(double Value) {
  Variant v(Value);
  v.FVType = varDate;
  return v;
}

Variant Variant::OleStr(const String& Value) {
  Variant v(Value);
  v.FVType = varOleStr;
  return v;
}

Variant Variant::Error(int32_t Code) {
  Variant v(Code);
  v.FVType = varError;
  return v;
}

Variant Variant::Dispatch(const IPtr<IInterface>& Value) {
  Variant v;
  v.FVType = varDispatch;
  v.FIntf = Value;
  return v;
}

Variant Variant::Unknown(const IPtr<IInterface>& Value) {
  Variant v = Dispatch(Value);
  v.FVType = varUnknown;
  return v;
}

Variant Variant::ByRef(void* Value) {
  Variant v;
  v.FVType = varByRef;
  v.FRef = Value;
  return v;
}

void* Variant::DataPointer() const {
  if (FVType == varDispatch || FVType == varUnknown) return FIntf.get();
  return FRef;
}

Variant::operator int32_t() const { return VarToInt(*this); }
Variant::operator double() const { return VarToReal(*this); }
Variant::operator bool() const { return VarToBool(*this); }
Variant::operator String() const { return VarToLStr(*this); }

bool operator==(const Variant& A, const Variant& B) {
  return A.FVType == B.FVType && A.FInt == B.FInt &&
         (A.FReal == B.FReal || (std::isnan(A.FReal) && std::isnan(B.FReal))) &&
         A.FText == B.FText && A.FIntf == B.FIntf && A.FRef == B.FRef;
}

TVarType VarType(const Variant& V) { return V.VarType(); }
bool VarIsEmpty(const Variant& V) { return V.VarType() == varEmpty; }
bool VarIsNull(const Variant& V) { return V.VarType() == varNull; }

String VarTypeAsText(TVarType T) {
  String prefix;
  if (T & varArray) prefix += "Array ";
  if (T & varByRef) prefix += "ByRef ";
  TVarType base = T & varTypeMask;
  const char* name = BaseTypeName(base);
  return prefix + (name ? String(name) : "$" + IntToHex(int32_t{base}, 4));
}

int32_t VarToInt(const Variant& V) {
  TVarType t = V.FVType;
  if (t == varEmpty) return 0;
  if (IsIntegerType(t) || t == varError) return static_cast<int32_t>(static_cast<uint64_t>(V.FInt));
  if (t == varBoolean) return V.FInt ? -1 : 0;
  if (IsRealType(t)) return RoundToInt(V.FReal, t);
  if (t == varCurrency) return CurrencyToInt(V.FInt);
  if (IsTextType(t)) {
    int32_t r;
    if (TryStrToInt(V.FText, r)) return r;
  }
  CastError(t, "Integer");
}

int64_t VarToInt64(const Variant& V) { return IsIntegerType(V.FVType) ? V.FInt : VarToInt(V); }

double VarToReal(const Variant& V) {
  TVarType t = V.FVType;
  if (t == varEmpty) return 0.0;
  if (t == varUInt64) return static_cast<double>(static_cast<uint64_t>(V.FInt));
  if (IsIntegerType(t)) return static_cast<double>(V.FInt);
  if (t == varBoolean) return V.FInt ? -1.0 : 0.0;
  if (IsRealType(t)) return V.FReal;
  if (t == varCurrency) return Currency::FromRaw(V.FInt).ToDouble();
  if (IsTextType(t)) {
    double r;
    if (TryStrToFloat(V.FText, r)) return r;
  }
  CastError(t, "Double");
}

bool VarToBool(const Variant& V) {
  TVarType t = V.FVType;
  if (t == varEmpty) return false;
  if (IsIntegerType(t) || t == varBoolean || t == varCurrency) return V.FInt != 0;
  if (IsRealType(t)) return V.FReal != 0.0;
  if (IsTextType(t)) {
    if (SameText(V.FText, "True")) return true;
    if (SameText(V.FText, "False")) return false;
    double r;
    if (TryStrToFloat(V.FText, r)) return r != 0.0;
  }
  CastError(t, "Boolean");
}

String VarToLStr(const Variant& V) {
  TVarType t = V.FVType;
  if (t == varEmpty) return String();
  if (t == varUInt64) return std::to_string(static_cast<uint64_t>(V.FInt));
  if (IsIntegerType(t)) return IntToStr(V.FInt);
  if (t == varBoolean) return V.FInt ? "True" : "False";
  if (t == varSingle || t == varDouble) return FloatToStr(V.FReal);
  if (t == varDate) return DateTimeToStr(V.FReal);
  if (t == varCurrency) return CurrencyToStr(V.FInt);
  if (IsTextType(t)) return V.FText;
  CastError(t, "String");
}

String VarToStr(const Variant& V) { return VarIsNull(V) ? String() : VarToLStr(V); }

String DateTimeToStr(double DateTime) {
  // Days since 12/30/1899; a negative date counts its time of day forward
  // from midnight, so split the day and the time on absolute values.
  double days = std::trunc(DateTime);
  double time = std::fabs(DateTime - days);
  auto ms = static_cast<int64_t>(std::llround(time * 86400000.0));
  if (ms >= 86400000) {
    ms -= 86400000;
    days += DateTime < 0 ? -1 : 1;
  }
  // Civil date from the day count (days from 1970-01-01 is days - 25569).
  int64_t z = static_cast<int64_t>(days) - 25569 + 719468;
  int64_t era = (z >= 0 ? z : z - 146096) / 146097;
  int64_t doe = z - era * 146097;
  int64_t yoe = (doe - doe / 1460 + doe / 36524 - doe / 146096) / 365;
  int64_t doy = doe - (365 * yoe + yoe / 4 - yoe / 100);
  int64_t mp = (5 * doy + 2) / 153;
  int64_t d = doy - (153 * mp + 2) / 5 + 1;
  int64_t m = mp < 10 ? mp + 3 : mp - 9;
  int64_t y = yoe + era * 400 + (m <= 2 ? 1 : 0);
  char buf[64];
  std::snprintf(buf, sizeof buf, "%lld/%lld/%lld", static_cast<long long>(m),
                static_cast<long long>(d), static_cast<long long>(y));
  String s = buf;
  if (ms != 0) {
    int64_t secs = ms / 1000;
    int64_t h = secs / 3600, n = secs / 60 % 60, sec = secs % 60;
    std::snprintf(buf, sizeof buf, " %lld:%02lld:%02lld %s",
                  static_cast<long long>((h + 11) % 12 + 1), static_cast<long long>(n),
                  static_cast<long long>(sec), h < 12 ? "AM" : "PM");
    s += buf;
  }
  return s;
}

}  // namespace pel
