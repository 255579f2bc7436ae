// SysUtils: exceptions, Format, number conversions and string comparison.
//
// Exceptions: every failure of the library is a pel::Exception (itself a
// std::exception whose what() is the message). The framework's exception
// classes sit below it; each unit adds its own.
//
// Format follows the framework's directives:
//   "%" [index ":"] ["-"] [width] ["." precision] type
// A directive that does not fit its argument, an unknown type, a '%' at the
// end of the format, or an argument that is missing raises EConvertError
// with the whole format in the message ("Format '%s' invalid or
// incompatible with argument", "No argument for format '%s'").
//
//   index      sets the argument pointer; later directives without an index
//              go on from there ("%1:s %0:s %s" of a, b gives "b a b").
//   width      pads with blanks on the left, or on the right after "-";
//              a longer text is never cut.
//   precision  d u x: the least number of digits, zero-padded (the sign of
//              %d comes on top: "%.5d" of -12 is "-00012"); s: the most
//              characters kept; e g: significant digits (1..18, default
//              15); f n m: decimals (0..18, default 2).
//   "*"        in place of index, width or precision takes the number from
//              the next argument (an integer). A negative width from "*"
//              pads nothing; a negative precision from "*" counts as none.
//   %%         a percent sign.
//
//   d  vtInteger or vtInt64, signed decimal.
//   u  vtInteger (read as 32-bit unsigned) or vtInt64 (64-bit unsigned).
//   x  the same bits in upper-case hexadecimal.
//   s  String, const char* (null is empty) or char.
//   e  double or Currency, scientific: "1.00000000000000E+003" (one digit
//      before the point, the exponent always signed, at least 3 digits).
//   f  fixed: "1234.50".
//   g  general, the shorter of fixed and scientific: "1234.5", "1E20",
//      "1E-5" (scientific when the integer part needs more digits than the
//      precision, or the value is below 0.0001; the exponent then has no
//      "+" and no leading zeros).
//   n  fixed with ',' between thousands: "1,234.50".
//   m  money in the US format the framework defaults to: "$1,234.50",
//      negative "($1,234.50)".
//   p  vtPointer, upper-case hexadecimal of at least 8 digits (the
//      framework's 32-bit width); an address that needs more gets 16.
//
// Floats: a double is first taken to 18 significant digits; e and g round
// those to the precision, f n m to 15 significant digits and then to the
// decimals, each time half away from zero ("%.2f" of 1.005 is "1.01",
// "%.1f" of 0.25 is "0.3"). A Currency is exact. Infinities and NaN are
// written "INF", "-INF", "NAN". f n m fall back to general format for
// values of 1E18 and more. A value that rounds to zero has no sign.
#pragma once

#include <exception>
#include <string>
#include <type_traits>
#include <utility>

#include "platform/System.h"

namespace pel {

// ---------------------------------------------------------------------------
// Exceptions

class Exception : public TObject, public std::exception {
  PEL_CLASS(Exception, TObject)
 public:
  explicit Exception(String Msg) : FMessage(std::move(Msg)) {}
  Exception(const String& Fmt, TVarRecs Args);
  Exception(const Exception& o) : TObject(), std::exception(o), FMessage(o.FMessage) {}

  const char* what() const noexcept override { return FMessage.c_str(); }
  const String& Message() const { return FMessage; }
  void SetMessage(const String& Msg) { FMessage = Msg; }

 private:
  String FMessage;
};

// Declares an exception class that adds nothing but its name.
#define PEL_EXCEPTION(Name, Parent) \
  class Name : public Parent {      \
    PEL_CLASS(Name, Parent)         \
   public:                          \
    using Parent::Parent;           \
  };

PEL_EXCEPTION(EAbort, Exception)
PEL_EXCEPTION(EConvertError, Exception)
PEL_EXCEPTION(EOutOfMemory, Exception)
PEL_EXCEPTION(EInvalidCast, Exception)
PEL_EXCEPTION(EIntfCastError, Exception)
PEL_EXCEPTION(EAccessViolation, Exception)
PEL_EXCEPTION(EInvalidPointer, Exception)
PEL_EXCEPTION(EInvalidOperation, Exception)
PEL_EXCEPTION(EAbstractError, Exception)
PEL_EXCEPTION(EDivByZero, Exception)
PEL_EXCEPTION(EListError, Exception)
PEL_EXCEPTION(EStringListError, Exception)
PEL_EXCEPTION(EStreamError, Exception)
PEL_EXCEPTION(EReadError, EStreamError)
PEL_EXCEPTION(EWriteError, EStreamError)
PEL_EXCEPTION(EFOpenError, EStreamError)
PEL_EXCEPTION(EFCreateError, EStreamError)
PEL_EXCEPTION(EFilerError, EStreamError)
PEL_EXCEPTION(EClassNotFound, EFilerError)
PEL_EXCEPTION(EComponentError, Exception)

// Raises the silent exception: an operation that wants to stop without an
// error message for the user.
[[noreturn]] void Abort();

// Raises EAccessViolation ("Access violation"): what the framework's programs
// hit when an operation follows a missing object. Library code checks for the
// missing object and calls this instead of touching it.
[[noreturn]] void RaiseAccessViolation();

// Returns Obj, or raises the access violation when it is missing.
template <class T>
T* CheckAssigned(T* Obj) {
  if (!Obj) RaiseAccessViolation();
  return Obj;
}

// try ... finally: runs Body, then Final however Body ends. When Body raises
// and Final raises too, Final's exception replaces the first one, as in the
// framework; nothing terminates. Returns what Body returns.
template <class Body, class Final>
decltype(auto) TryFinally(Body&& body, Final&& final) {
  using R = decltype(body());
  if constexpr (std::is_void_v<R>) {
    try {
      body();
    } catch (...) {
      final();
      throw;
    }
    final();
  } else {
    R result = [&]() -> R {
      try {
        return body();
      } catch (...) {
        final();
        throw;
      }
    }();
    final();
    return result;
  }
}

// BeginUpdate; Body; EndUpdate on every exit (see TryFinally). Works with any
// object that has BeginUpdate/EndUpdate: string lists, linked lists, hash
// tables, trees, graphs.
template <class T, class Body>
decltype(auto) Updating(T* Obj, Body&& body) {
  Obj->BeginUpdate();
  return TryFinally(std::forward<Body>(body), [Obj] { Obj->EndUpdate(); });
}

// ---------------------------------------------------------------------------
// The framework's message texts used by the platform layer.

namespace SysConst {
constexpr const char* SInvalidFormat = "Format '%s' invalid or incompatible with argument";
constexpr const char* SArgumentMissing = "No argument for format '%s'";
constexpr const char* SInvalidInteger = "'%s' is not a valid integer value";
constexpr const char* SInvalidFloat = "'%s' is not a valid floating point value";
constexpr const char* SInvalidCast = "Invalid class typecast";
constexpr const char* SIntfCastError = "Interface not supported";
constexpr const char* SAccessViolation = "Access violation";
constexpr const char* SAbstractError = "Abstract Error";
constexpr const char* SDivByZero = "Division by zero";
constexpr const char* SOperationAborted = "Operation aborted";
constexpr const char* SOutOfMemory = "Out of memory";
constexpr const char* SInvalidPointer = "Invalid pointer operation";
}  // namespace SysConst

// ---------------------------------------------------------------------------
// Formatting and conversion

String Format(const String& Fmt, TVarRecs Args);

String IntToStr(int32_t Value);
String IntToStr(int64_t Value);
// Upper-case hexadecimal of the value's bits at its own width (an int32_t
// -1 gives "FFFFFFFF"), left-padded with zeros to Digits.
String IntToHex(int32_t Value, int32_t Digits);
String IntToHex(int64_t Value, int32_t Digits);

// Strict: optional sign, then decimal digits, or "$" or "0x" and hex
// digits; no blanks anywhere. A decimal number must fit the signed range; a
// hexadecimal one may use all bits and is read as two's complement
// ("$FFFFFFFF" is -1 for StrToInt). Anything else, overflow included,
// raises EConvertError ("'%s' is not a valid integer value").
int32_t StrToInt(const String& S);
int64_t StrToInt64(const String& S);
int32_t StrToIntDef(const String& S, int32_t Default);
int64_t StrToInt64Def(const String& S, int64_t Default);
bool TryStrToInt(const String& S, int32_t& Value);
bool TryStrToInt64(const String& S, int64_t& Value);

// General format with 15 significant digits and no trailing zeros:
// "0.1", "0.333333333333333", "1E15", "100000000000000", "0.0001",
// "1E-5", "1.5E-5", "1.23456789012346E17". Scientific when the value needs
// more than 15 integer digits or is below 0.0001.
String FloatToStr(double Value);
// Blanks (' ') before and after are allowed; then an optional sign, digits
// with an optional '.' (at least one digit: "5." and ".5" are numbers, "."
// is not), and an optional exponent "E" [sign] digits. The separator is
// '.' whatever the C locale says. Out-of-range values and anything else
// raise EConvertError ("'%s' is not a valid floating point value").
double StrToFloat(const String& S);
bool TryStrToFloat(const String& S, double& Value);

// ---------------------------------------------------------------------------
// Case and trimming (ASCII, as the framework's non-Ansi functions)

String UpperCase(const String& S);
String LowerCase(const String& S);
char UpCase(char C);
// Trimming removes control characters and blanks (bytes <= ' ').
String Trim(const String& S);
String TrimLeft(const String& S);
String TrimRight(const String& S);

// ---------------------------------------------------------------------------
// Comparison. Each returns <0, 0 or >0. Strings are bytes compared as
// unsigned; a shorter string that is a prefix of the other sorts first.
//
// CompareStr: byte order, case-sensitive: "B" < "_" < "a".
// CompareText: byte order with ASCII letters folded to upper case, so '_'
//   (after 'Z') sorts after every letter: "a" < "B" < "_".
// AnsiCompareStr: the C library's collation (strcoll) of the current
//   LC_COLLATE locale. In the "C" locale that is byte order, as CompareStr.
// AnsiCompareText: AnsiCompareStr of both strings folded to lower case by
//   the C library's tolower of the current LC_CTYPE locale, so it ignores
//   case in every locale. In the "C" locale that is byte order of the
//   lower-cased strings: "_" < "a" < "B" (unlike CompareText), and
//   AnsiCompareText("abc", "ABC") is 0.
// SameText: CompareText == 0.
int32_t CompareStr(const String& S1, const String& S2);
int32_t CompareText(const String& S1, const String& S2);
int32_t AnsiCompareStr(const String& S1, const String& S2);
int32_t AnsiCompareText(const String& S1, const String& S2);
bool SameText(const String& S1, const String& S2);

}  // namespace pel
