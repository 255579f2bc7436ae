// SysUtils: exceptions, Format, number conversions and string comparison.
//
// Exceptions: every failure of the library is a pel::Exception (itself a
// std::exception whose what() is the message). The framework's exception
// classes sit below it; each unit adds its own.
//
// Format follows the framework's directives:
//   "%" [index ":"] ["-"] [width] ["." precision] type
// with types d u x s f e g n m p, "*" for a width or precision taken from
// the arguments, and "%%" for a percent sign. A directive that does not fit
// its argument, or an argument that is missing, raises EConvertError.
#pragma once

#include <exception>
#include <string>

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
constexpr const char* SOperationAborted = "Operation aborted";
constexpr const char* SOutOfMemory = "Out of memory";
constexpr const char* SInvalidPointer = "Invalid pointer operation";
}  // namespace SysConst

// ---------------------------------------------------------------------------
// Formatting and conversion

String Format(const String& Fmt, TVarRecs Args);

String IntToStr(int32_t Value);
String IntToStr(int64_t Value);
String IntToHex(int64_t Value, int32_t Digits);
// Strict: optional sign, then decimal digits or "$" and hex digits; leading
// and trailing blanks are not allowed. Raises EConvertError (SInvalidInteger).
int32_t StrToInt(const String& S);
int64_t StrToInt64(const String& S);
int32_t StrToIntDef(const String& S, int32_t Default);
bool TryStrToInt(const String& S, int32_t& Value);

// The shortest text with at most 15 significant digits; exponent form
// ("1.5E20", "1E-5") where the framework switches to it.
String FloatToStr(double Value);
double StrToFloat(const String& S);
bool TryStrToFloat(const String& S, double& Value);

// ---------------------------------------------------------------------------
// Case and trimming (ASCII, as the framework's non-Ansi functions)

String UpperCase(const String& S);
String LowerCase(const String& S);
char UpCase(char C);
String Trim(const String& S);
String TrimLeft(const String& S);
String TrimRight(const String& S);

// ---------------------------------------------------------------------------
// Comparison. Each returns <0, 0 or >0.
//
// CompareStr: ordinal comparison of the bytes (unsigned), case-sensitive.
// CompareText: ordinal comparison with ASCII letters folded to upper case.
// AnsiCompareStr: the C library's collation (strcoll) of the current
//   LC_COLLATE locale. In the "C" locale that is byte order, as CompareStr.
// AnsiCompareText: as AnsiCompareStr on both strings folded to lower case
//   by the current LC_CTYPE locale; so it ignores case in every locale,
//   the "C" locale included.
int32_t CompareStr(const String& S1, const String& S2);
int32_t CompareText(const String& S1, const String& S2);
int32_t AnsiCompareStr(const String& S1, const String& S2);
int32_t AnsiCompareText(const String& S1, const String& S2);
bool SameText(const String& S1, const String& S2);

}  // namespace pel
