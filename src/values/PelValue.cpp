#include "values/PelValue.h"

#include <cmath>
#include <cstring>

namespace pel {

namespace {

uintptr_t FromInt(int32_t Value) { return static_cast<uintptr_t>(static_cast<intptr_t>(Value)); }

uintptr_t FromFloat(float Value) {
  uint32_t bits;
  std::memcpy(&bits, &Value, sizeof bits);
  return bits;
}

// A number read from text or a variant, narrowed to the single this unit
// keeps. Beyond the single's range it would become infinite: refused, as a
// text beyond the double's range is refused by StrToFloat.
float ToSingle(double Value) {
  const auto f = static_cast<float>(Value);
  if (std::isinf(f) && !std::isinf(Value)) throw EConvertError(SErrorConvertingValue);
  return f;
}

uintptr_t FromPointer(const void* Value) { return reinterpret_cast<uintptr_t>(Value); }

bool IsTextKind(uint8_t Kind) {
  return Kind == vtString || Kind == vtPChar || Kind == vtAnsiString || Kind == vtWideString;
}

}  // namespace

TPelCustomValue::TPelCustomValue(const TVarRec& Value) : TPelCustomValue() { CopyVarRec(Value); }

uint8_t TPelCustomValue::DispatchKind() const {
  CheckAssignedValue();
  return static_cast<uint8_t>(GetValueType()) & 127;
}

void TPelCustomValue::CheckAssignedValue() const {
  if (FUnassigned) throw Exception(SValueUnassigned);
}

void TPelCustomValue::ConvertError() { throw EConvertError(SErrorConvertingValue); }

void TPelCustomValue::Store(TValueType Kind, uintptr_t Payload) {
  FUnassigned = false;
  FPayload = Payload;
  FValueType = Kind;
}

// The platform's record holds extended, currency and int64 numbers rather
// than their addresses; the two the value reads are narrowed to its single.
void TPelCustomValue::CopyVarRec(const TVarRec& Value) {
  switch (Value.VType) {
    case TVarRec::vtInteger:
      FPayload = FromInt(Value.VInteger);
      break;
    case TVarRec::vtBoolean:
      FPayload = Value.VBoolean ? 1 : 0;
      break;
    case TVarRec::vtChar:
      FPayload = static_cast<uint8_t>(Value.VChar);
      break;
    case TVarRec::vtExtended:
      FPayload = FromFloat(static_cast<float>(Value.VExtended));
      break;
    case TVarRec::vtCurrency:
      FPayload = FromFloat(static_cast<float>(static_cast<double>(Value.VCurrency) / 10000.0));
      break;
    case TVarRec::vtWideChar:
      FPayload = Value.VWideChar;
      break;
    case TVarRec::vtInt64:
      FPayload = static_cast<uintptr_t>(Value.VInt64);
      break;
    case TVarRec::vtObject:
      FPayload = FromPointer(Value.VObject);
      break;
    case TVarRec::vtClass:
      FPayload = FromPointer(Value.VClass);
      break;
    case TVarRec::vtInterface:
      FPayload = FromPointer(Value.VInterface);
      break;
    default:  // every other kind is a pointer to the caller's data
      FPayload = FromPointer(Value.VPointer);
      break;
  }
  FValueType = Value.VType;
}

// ---------------------------------------------------------------------------
// Getters

int32_t TPelCustomValue::GetAsInteger() const {
  switch (DispatchKind()) {
    case vtInteger:
    case vtPointer:
    case vtObject:
    case vtClass:
    case vtInterface:
      return static_cast<int32_t>(static_cast<uint32_t>(FPayload));
    case vtBoolean:
    case vtChar:
      return static_cast<int32_t>(FPayload & 0xFF);
    case vtFloat:
    case vtCurrency: {
      float f = GetAsFloat();
      if (!(std::fabs(f) < 2147483648.0f)) ConvertError();
      return static_cast<int32_t>(f);
    }
    case vtString:
    case vtPChar:
    case vtAnsiString:
      return StrToInt(GetAsString());
    case vtVariant:
      return VarToInt(*reinterpret_cast<const Variant*>(FPayload));
    default:
      ConvertError();
  }
}

bool TPelCustomValue::GetAsBoolean() const {
  switch (DispatchKind()) {
    case vtInteger:
    case vtFloat:
    case vtCurrency:
      // A float is truncated first: 0.7 reads as false.
      return GetAsInteger() != 0;
    case vtBoolean:
      return (FPayload & 0xFF) != 0;
    case vtChar:
    case vtString:
    case vtPChar:
    case vtAnsiString: {
      String s = UpperCase(GetAsString());
      if (s == "T" || s == "TRUE") return true;
      if (s == "F" || s == "FALSE") return false;
      ConvertError();
    }
    case vtVariant:
      return VarToBool(*reinterpret_cast<const Variant*>(FPayload));
    default:
      ConvertError();
  }
}

char TPelCustomValue::GetAsChar() const {
  switch (DispatchKind()) {
    case vtInteger:
    case vtFloat:
    case vtCurrency:
      return static_cast<char>(GetAsInteger() & 0xFF);
    case vtBoolean:
      return (FPayload & 0xFF) ? 'T' : 'F';
    case vtChar:
      return static_cast<char>(FPayload & 0xFF);
    case vtString:
    case vtPChar:
    case vtAnsiString: {
      String s = GetAsString();
      if (s.empty()) ConvertError();
      return s[0];
    }
    case vtVariant:
      return static_cast<char>(VarToInt(*reinterpret_cast<const Variant*>(FPayload)) & 0xFF);
    default:
      ConvertError();
  }
}

float TPelCustomValue::GetAsFloat() const {
  switch (DispatchKind()) {
    case vtInteger:
      return static_cast<float>(static_cast<int32_t>(static_cast<uint32_t>(FPayload)));
    case vtBoolean:
      return static_cast<float>(static_cast<int8_t>(FPayload & 0xFF));
    case vtChar:
      return static_cast<float>(FPayload & 0xFF);
    case vtFloat:
    case vtCurrency: {
      auto bits = static_cast<uint32_t>(FPayload);
      float f;
      std::memcpy(&f, &bits, sizeof f);
      return f;
    }
    case vtString:
    case vtPChar:
    case vtAnsiString:
      return ToSingle(StrToFloat(GetAsString()));
    case vtVariant:
      return ToSingle(VarToReal(*reinterpret_cast<const Variant*>(FPayload)));
    default:
      ConvertError();
  }
}

String TPelCustomValue::GetAsString() const {
  switch (DispatchKind()) {
    case vtInteger:
    case vtPointer:
      return IntToStr(GetAsInteger());
    case vtBoolean:
      return (FPayload & 0xFF) ? STrueText : SFalseText;
    case vtChar:
      return String(1, static_cast<char>(FPayload & 0xFF));
    case vtString:
    case vtAnsiString: {
      const auto* text = reinterpret_cast<const String*>(FPayload);
      return text ? *text : String();
    }
    case vtPChar: {
      const auto* text = reinterpret_cast<const char*>(FPayload);
      return text ? String(text) : String();
    }
    case vtObject:
      return CheckAssigned(reinterpret_cast<const TObject*>(FPayload))->ClassName();
    case vtClass:
      return CheckAssigned(reinterpret_cast<TClass>(FPayload))->Name;
    case vtFloat:
    case vtCurrency:
      return FloatToStr(GetAsFloat());
    case vtVariant:
      return VarToLStr(*reinterpret_cast<const Variant*>(FPayload));
    default:
      ConvertError();
  }
}

void* TPelCustomValue::GetAsPointer() const {
  switch (DispatchKind()) {
    case vtInteger:
    case vtPointer:
    case vtPChar:
    case vtObject:
    case vtAnsiString:
    case vtInterface:
      return reinterpret_cast<void*>(FPayload);
    case vtVariant:
      return reinterpret_cast<void*>(
          FromInt(VarToInt(*reinterpret_cast<const Variant*>(FPayload))));
    default:
      ConvertError();
  }
}

TObject* TPelCustomValue::GetAsObject() const {
  CheckAssignedValue();
  switch (GetValueType()) {
    case vtInteger:
    case vtPointer:
    case vtObject:
    case vtInterface:
      // Unchecked, as stored.
      return reinterpret_cast<TObject*>(FPayload);
    default:
      ConvertError();
  }
}

TClass TPelCustomValue::GetAsClass() const {
  CheckAssignedValue();
  if (GetValueType() != vtClass) ConvertError();
  return reinterpret_cast<TClass>(FPayload);
}

Currency TPelCustomValue::GetAsCurrency() const {
  // The product of a single and 10000 is exact in a double; nearbyint
  // rounds half to even as the processor does by default.
  double amount = static_cast<double>(GetAsFloat()) * 10000.0;
  if (!(std::fabs(amount) < 9.2e18)) ConvertError();
  return Currency::FromRaw(static_cast<int64_t>(std::nearbyint(amount)));
}

Variant TPelCustomValue::GetAsVariant() const {
  switch (DispatchKind()) {
    case vtInteger:
    case vtPointer:
      return Variant(static_cast<int32_t>(static_cast<uint32_t>(FPayload)));
    case vtBoolean:
      return Variant((FPayload & 0xFF) != 0);
    case vtChar:
      return Variant(String(1, static_cast<char>(FPayload & 0xFF)));
    case vtFloat:
    case vtCurrency:
      return Variant(static_cast<double>(GetAsFloat()));
    case vtString:
    case vtPChar:
    case vtAnsiString:
      return Variant(GetAsString());
    case vtVariant:
      return *reinterpret_cast<const Variant*>(FPayload);
    default:
      ConvertError();
  }
}

IPtr<IInterface> TPelCustomValue::GetAsInterface() const {
  CheckAssignedValue();
  switch (GetValueType()) {
    case vtInteger:
    case vtPointer:
    case vtObject:
    case vtInterface:
      // Reinterpreted without a query, on purpose; the caller gets a reference.
      return IPtr<IInterface>(reinterpret_cast<IInterface*>(FPayload));
    default:
      ConvertError();
  }
}

TValueType TPelCustomValue::GetValueType() const { return static_cast<TValueType>(FValueType); }

// ---------------------------------------------------------------------------
// Setters

void TPelCustomValue::SetAsInteger(int32_t Value) { Store(vtInteger, FromInt(Value)); }

void TPelCustomValue::SetAsBoolean(bool Value) { Store(vtBoolean, Value ? 1 : 0); }

void TPelCustomValue::SetAsChar(char Value) { Store(vtChar, static_cast<uint8_t>(Value)); }

void TPelCustomValue::SetAsFloat(float Value) { Store(vtFloat, FromFloat(Value)); }

void TPelCustomValue::SetAsString(const String& Value) {
  FText = std::make_shared<const String>(Value);
  Store(vtAnsiString, FromPointer(FText.get()));
}

void TPelCustomValue::SetAsPointer(void* Value) { Store(vtPointer, FromPointer(Value)); }

void TPelCustomValue::SetAsObject(TObject* Value) { Store(vtObject, FromPointer(Value)); }

void TPelCustomValue::SetAsClass(TClass Value) { Store(vtClass, FromPointer(Value)); }

void TPelCustomValue::SetAsCurrency(Currency Value) {
  SetAsFloat(static_cast<float>(static_cast<double>(Value.Value) / 10000.0));
  FValueType = vtCurrency;
}

void TPelCustomValue::SetAsVariant(const Variant& Value) {
  // A conversion that fails leaves the value as it was, rather than
  // marked as a variant with no variant behind it.
  bool unassigned = FUnassigned;
  uint8_t kind = FValueType;
  FUnassigned = false;
  FValueType = vtVariant;
  try {
    StoreVariant(Value);
  } catch (...) {
    FUnassigned = unassigned;
    FValueType = kind;
    throw;
  }
}

void TPelCustomValue::StoreVariant(const Variant& Value) {
  switch (VarType(Value)) {
    case varSmallint:
    case varInteger:
    case varError:
      SetAsInteger(VarToInt(Value));
      break;
    case varSingle:
    case varDouble:
    case varCurrency:
      SetAsFloat(static_cast<float>(VarToReal(Value)));
      break;
    case varBoolean:
      SetAsBoolean(VarToBool(Value));
      break;
    case varDispatch:
    case varUnknown:
    case varByRef:
      SetAsPointer(Value.DataPointer());
      break;
    default:
      SetAsString(VarToLStr(Value));
      break;
  }
}

void TPelCustomValue::SetAsInterface(const IPtr<IInterface>& Value) {
  Store(vtInterface, FromPointer(Value.get()));
}

const char* TPelCustomValue::GetAsPChar() {
  FPCharText = GetAsString();
  return FPCharText.c_str();
}

void TPelCustomValue::SetAsPChar(const char* Value) {
  SetAsString(Value ? String(Value) : String());
}

// ---------------------------------------------------------------------------
// Copying and comparison

void TPelCustomValue::Assign(const TPelCustomValue* Source) {
  if (!Source) {
    FUnassigned = true;
    return;
  }
  // The text is shared with a counted reference, so the source may go first.
  if (Source != this) FText = Source->FText;
  FUnassigned = Source->FUnassigned;
  FPayload = Source->FPayload;
  FValueType = Source->FValueType;
}

void TPelCustomValue::AssignVarRec(const TVarRec& Value) {
  FUnassigned = false;
  CopyVarRec(Value);
}

TPelCustomValue* TPelCustomValue::Clone(TPelCustomValue* Target) const {
  TPelCustomValue* made = nullptr;
  if (!Target) Target = made = TPelValueClass(ClassType()).Create();
  try {
    Target->Assign(this);
  } catch (...) {
    Free(made);
    throw;
  }
  return Target;
}

bool TPelCustomValue::Equals(const TPelCustomValue* Other) const {
  CheckAssigned(Other);
  if (FUnassigned != Other->FUnassigned) return false;
  if (GetValueType() != Other->GetValueType()) return false;
  if (!IsTextKind(GetValueType())) return GetAsInteger() == Other->GetAsInteger();
  return GetAsString() == Other->GetAsString();
}

}  // namespace pel
