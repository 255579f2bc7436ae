// Variants: the framework's variant value and its conversions.
//
// A Variant holds one value together with the framework's type code. The
// codes are the framework's, so a program that switches on VarType reads the
// same numbers:
//
//   varEmpty 0, varNull 1, varSmallint 2, varInteger 3, varSingle 4,
//   varDouble 5, varCurrency 6, varDate 7, varOleStr 8, varDispatch 9,
//   varError 10, varBoolean 11, varVariant 12, varUnknown 13,
//   varShortInt 0x10, varByte 0x11, varWord 0x12, varLongWord 0x13,
//   varInt64 0x14, varUInt64 0x15, varString 0x100; varByRef 0x4000 is a
//   flag (a bare varByRef holds an untyped pointer).
//
// Conversions (VarToInt, VarToReal, VarToBool, VarToLStr and the explicit
// conversion operators):
//
//   Empty      0, 0.0, false, "".
//   Null       raises EVariantTypeCastError for every target; VarToStr
//              alone turns Null into "".
//   integers   to integer: the low 32 bits (a LongWord of 4000000000 reads
//              -294967296); to text: decimal; to boolean: not zero.
//   Boolean    true reads -1 as a number and "True" as text.
//   Single, Double, Date, Currency
//              to integer: rounded half to even (2.5 gives 2, 3.5 gives 4),
//              then the low 32 bits; to text: FloatToStr (a single widened
//              first, so 0.1 reads "0.100000001490116"), a date as
//              "m/d/yyyy" with " h:nn:ss AM" when it has a time of day.
//   OleStr, String
//              to integer: StrToInt's strict form (sign, digits or "$"
//              hexadecimal, no blanks); to real: StrToFloat's form; to
//              boolean: "True" or "False" in any case, else a number that
//              is not zero.
//   Error      to integer: the error code.
//   Dispatch, Unknown, by-reference
//              convert to nothing.
//
// A value that cannot be converted raises EVariantTypeCastError "Could not
// convert variant of type (String) into type (Integer)", the type names as
// VarTypeAsText gives them.
#pragma once

#include <cstdint>

#include "platform/SysUtils.h"

namespace pel {

using TVarType = uint16_t;

constexpr TVarType varEmpty = 0x0000;
constexpr TVarType varNull = 0x0001;
constexpr TVarType varSmallint = 0x0002;
constexpr TVarType varInteger = 0x0003;
constexpr TVarType varSingle = 0x0004;
constexpr TVarType varDouble = 0x0005;
constexpr TVarType varCurrency = 0x0006;
constexpr TVarType varDate = 0x0007;
constexpr TVarType varOleStr = 0x0008;
constexpr TVarType varDispatch = 0x0009;
constexpr TVarType varError = 0x000A;
constexpr TVarType varBoolean = 0x000B;
constexpr TVarType varVariant = 0x000C;
constexpr TVarType varUnknown = 0x000D;
constexpr TVarType varShortInt = 0x0010;
constexpr TVarType varByte = 0x0011;
constexpr TVarType varWord = 0x0012;
constexpr TVarType varLongWord = 0x0013;
constexpr TVarType varInt64 = 0x0014;
constexpr TVarType varUInt64 = 0x0015;
constexpr TVarType varString = 0x0100;
constexpr TVarType varTypeMask = 0x0FFF;
constexpr TVarType varArray = 0x2000;
constexpr TVarType varByRef = 0x4000;

PEL_EXCEPTION(EVariantError, Exception)
PEL_EXCEPTION(EVariantTypeCastError, EVariantError)

namespace SysConst {
constexpr const char* SVarTypeCastError = "Could not convert variant of type (%s) into type (%s)";
}

class Variant {
 public:
  Variant() = default;
  Variant(int32_t V) : FVType(varInteger), FInt(V) {}
  Variant(int16_t V) : FVType(varSmallint), FInt(V) {}
  Variant(int8_t V) : FVType(varShortInt), FInt(V) {}
  Variant(uint8_t V) : FVType(varByte), FInt(V) {}
  Variant(uint16_t V) : FVType(varWord), FInt(V) {}
  Variant(uint32_t V) : FVType(varLongWord), FInt(V) {}
  Variant(int64_t V) : FVType(varInt64), FInt(V) {}
  Variant(uint64_t V) : FVType(varUInt64), FInt(static_cast<int64_t>(V)) {}
  Variant(float V) : FVType(varSingle), FReal(V) {}
  Variant(double V) : FVType(varDouble), FReal(V) {}
  Variant(Currency V) : FVType(varCurrency), FInt(V.Value) {}
  Variant(bool V) : FVType(varBoolean), FInt(V ? -1 : 0) {}
  Variant(const String& V) : FVType(varString), FText(V) {}
  Variant(const char* V) : FVType(varString), FText(V ? V : "") {}

  // The kinds no C++ type selects by itself.
  static Variant Null();
  static Variant Date(double Value);
  static Variant OleStr(const String& Value);
  static Variant Error(int32_t Code);
  static Variant Dispatch(const IPtr<IInterface>& Value);
  static Variant Unknown(const IPtr<IInterface>& Value);
  // A bare by-reference variant: the pointer alone, with no base type.
  static Variant ByRef(void* Value);

  TVarType VarType() const { return FVType; }
  // What the variant's data cell holds as a pointer: the interface of a
  // Dispatch or Unknown variant, the pointer of a by-reference one.
  void* DataPointer() const;

  explicit operator int32_t() const;
  explicit operator double() const;
  explicit operator bool() const;
  explicit operator String() const;

  friend bool operator==(const Variant& A, const Variant& B);

 private:
  friend int32_t VarToInt(const Variant& V);
  friend int64_t VarToInt64(const Variant& V);
  friend double VarToReal(const Variant& V);
  friend bool VarToBool(const Variant& V);
  friend String VarToLStr(const Variant& V);

  TVarType FVType = varEmpty;
  int64_t FInt = 0;  // integers, boolean (-1/0), currency (raw), error code
  double FReal = 0;  // single, double, date
  String FText;
  IPtr<IInterface> FIntf;
  void* FRef = nullptr;
};

TVarType VarType(const Variant& V);
bool VarIsEmpty(const Variant& V);
bool VarIsNull(const Variant& V);
// "Empty", "Integer", "String", ...; by-reference types are "ByRef Integer".
String VarTypeAsText(TVarType VarType);

int32_t VarToInt(const Variant& V);
// The whole of a 64-bit integer variant; any other type as VarToInt.
int64_t VarToInt64(const Variant& V);
double VarToReal(const Variant& V);
bool VarToBool(const Variant& V);
String VarToLStr(const Variant& V);
// VarToLStr, except that Null gives "".
String VarToStr(const Variant& V);

// A date and time (days since 12/30/1899, the time as the fraction) as the
// framework prints it by default: "3/5/2024 2:07:09 PM", the time left out
// at midnight.
String DateTimeToStr(double DateTime);

}  // namespace pel
