// PelValue: a tagged value that holds one datum of one kind and converts it
// on request.
//
// TPelCustomValue keeps a flag (Unassigned), a payload cell and a kind byte.
// The kind codes are those of the platform's TVarRec, so a record copies
// into a value without translation (AssignVarRec). Every conversion goes
// through the virtual getters, so a descendant that overrides one getter
// changes the conversions built on it (GetAsBoolean reads GetAsInteger,
// GetAsString reads GetAsFloat, ...).
//
// "Float" is single precision throughout: GetAsFloat returns and SetAsFloat
// takes a float, and a currency amount is kept as such a float, so it loses
// precision beyond about seven significant digits. This is intended. A text
// or variant whose number lies beyond the single's range raises
// EConvertError "Error converting value" when read as a float (and so as an
// integer, currency, ...) rather than reading as infinity.
//
// The payload cell is pointer-sized. Reading it as an integer takes its low
// 32 bits; an integer is stored sign-extended, so reading it back as a
// pointer, object or interface gives the pointer of that value.
//
// What the value holds and who owns it:
//   * vtAnsiString: text stored with SetAsString, counted and shared with
//     values assigned from this one; the cell holds the address of the
//     String;
//   * vtString, vtPChar, vtVariant, vtInterface, vtObject: the caller's
//     text, variant, interface or object. The value takes no reference and
//     frees nothing: the caller keeps them alive while the value refers to
//     them;
//   * vtExtended and vtCurrency records: the platform's record holds the
//     number itself, so AssignVarRec narrows it to the single this value
//     keeps (an extended record becomes vtFloat, a currency record
//     vtCurrency) instead of copying an address.
//
// A value made from a record with the record-taking constructor is still
// unassigned: every getter raises "Value is unassigned" until a setter,
// Assign or AssignVarRec stores something. This is intended.
//
// TPelValue publishes the accessors for the property system. A value
// written to a property stream writes the one property of its kind (an
// integer as AsInteger, a text as AsString, ...), so reading it back
// restores kind and payload. Pointers, classes and interfaces are not
// written; nor are a zero float or currency or an empty text, which the
// stream treats as defaults: such a value reads back unassigned.
#pragma once

#include <cstdint>
#include <memory>

#include "platform/SysUtils.h"
#include "platform/TypInfo.h"
#include "platform/Variants.h"

namespace pel {

// Messages of this unit.
constexpr const char* SValueUnassigned = "Value is unassigned";
constexpr const char* SErrorConvertingValue = "Error converting value";
// Declared for client code; no operation of the unit raises it.
constexpr const char* SOnlyOneValue = "Only one value allowed";

// The texts a boolean reads as.
constexpr const char* SFalseText = "False";
constexpr const char* STrueText = "True";

// The kinds, numbered as the codes of TVarRec (vtFloat stands where the
// record has its extended code).
enum TValueType : uint8_t {
  vtInteger = TVarRec::vtInteger,
  vtBoolean = TVarRec::vtBoolean,
  vtChar = TVarRec::vtChar,
  vtFloat = TVarRec::vtExtended,
  vtString = TVarRec::vtString,
  vtPointer = TVarRec::vtPointer,
  vtPChar = TVarRec::vtPChar,
  vtObject = TVarRec::vtObject,
  vtClass = TVarRec::vtClass,
  vtWideChar = TVarRec::vtWideChar,
  vtPWideChar = TVarRec::vtPWideChar,
  vtAnsiString = TVarRec::vtAnsiString,
  vtCurrency = TVarRec::vtCurrency,
  vtVariant = TVarRec::vtVariant,
  vtInterface = TVarRec::vtInterface,
  vtWideString = TVarRec::vtWideString,
  vtInt64 = TVarRec::vtInt64
};
inline const char* const kValueTypeNames[] = {
    "vtInteger",  "vtBoolean", "vtChar",      "vtFloat",      "vtString",    "vtPointer",
    "vtPChar",    "vtObject",  "vtClass",     "vtWideChar",   "vtPWideChar", "vtAnsiString",
    "vtCurrency", "vtVariant", "vtInterface", "vtWideString", "vtInt64"};
// The run-time description of TValueType, for the published VType.
inline const TTypeInfo TValueTypeInfo = EnumTypeInfo("TValueType", kValueTypeNames);

class TPelCustomValue : public TObject {
  PEL_CLASS(TPelCustomValue, TObject)
 public:
  // The virtual constructor: an unassigned value of kind vtInteger.
  TPelCustomValue() = default;
  // Copies the record's kind and payload; the value stays unassigned.
  explicit TPelCustomValue(const TVarRec& Value);

  virtual int32_t GetAsInteger() const;
  virtual bool GetAsBoolean() const;
  virtual char GetAsChar() const;
  virtual float GetAsFloat() const;
  virtual String GetAsString() const;
  virtual void* GetAsPointer() const;
  virtual TObject* GetAsObject() const;
  virtual TClass GetAsClass() const;
  virtual Currency GetAsCurrency() const;
  virtual Variant GetAsVariant() const;
  virtual IPtr<IInterface> GetAsInterface() const;
  // The stored kind byte, unmasked; never raises.
  virtual TValueType GetValueType() const;
  virtual void SetAsInteger(int32_t Value);
  virtual void SetAsBoolean(bool Value);
  virtual void SetAsChar(char Value);
  virtual void SetAsFloat(float Value);
  virtual void SetAsString(const String& Value);
  virtual void SetAsPointer(void* Value);
  virtual void SetAsObject(TObject* Value);
  virtual void SetAsClass(TClass Value);
  // Stores the amount as a single (divided by 10000 and rounded), kind
  // vtCurrency.
  virtual void SetAsCurrency(Currency Value);
  // Stores through the setter the variant's type selects; the kind is never
  // left at vtVariant.
  virtual void SetAsVariant(const Variant& Value);
  // Keeps the interface pointer without taking a reference.
  virtual void SetAsInterface(const IPtr<IInterface>& Value);
  // Copies flag, kind and payload as they stand (null: only becomes
  // unassigned, keeping the old payload).
  virtual void Assign(const TPelCustomValue* Source);
  // Copies the record's kind and payload and becomes assigned.
  virtual void AssignVarRec(const TVarRec& Value);
  // Assigns this value to Target, or to a new value of this class when
  // Target is null; the caller owns the result.
  virtual TPelCustomValue* Clone(TPelCustomValue* Target = nullptr) const;
  // Same flag and kind, then equal texts (text kinds) or equal integers
  // (every other kind: floats compare by their truncated parts, 1.2 equals
  // 1.9, on purpose).
  virtual bool Equals(const TPelCustomValue* Other) const;

  // The characters of GetAsString. The pointer stays valid until the next
  // call or until the value is freed; copy the text at once.
  const char* GetAsPChar();
  void SetAsPChar(const char* Value);
  bool GetUnassigned() const { return FUnassigned; }

 protected:
  // The kind byte masked as every getter dispatches on it.
  uint8_t DispatchKind() const;
  // Raises "Value is unassigned" when nothing is stored.
  void CheckAssignedValue() const;
  [[noreturn]] static void ConvertError();
  void Store(TValueType Kind, uintptr_t Payload);

  bool FUnassigned = true;
  uintptr_t FPayload = 0;
  uint8_t FValueType = vtInteger;

 private:
  void CopyVarRec(const TVarRec& Value);
  // Calls the setter the variant's type selects.
  void StoreVariant(const Variant& Value);

  // The text SetAsString stored; FPayload then holds its address.
  std::shared_ptr<const String> FText;
  // Keeps the characters GetAsPChar returned.
  String FPCharText;
};

using TPelValueClass = TClassOf<TPelCustomValue>;

// The value with its accessors published.
class TPelValue : public TPelCustomValue {
  PEL_CLASS(TPelValue, TPelCustomValue)
  PEL_PUBLISHED(TPelValue,
                Property<&TPelValue::GetAsInteger, &TPelValue::SetAsInteger>("AsInteger")
                    .StoredBy<&TPelValue::StoredAs<vtInteger>>(),
                Property<&TPelValue::GetAsBoolean, &TPelValue::SetAsBoolean>("AsBoolean")
                    .StoredBy<&TPelValue::StoredAs<vtBoolean>>(),
                Property<&TPelValue::GetAsChar, &TPelValue::SetAsChar>("AsChar")
                    .StoredBy<&TPelValue::StoredAs<vtChar>>(),
                Property<&TPelValue::GetAsFloat, &TPelValue::SetAsFloat>("AsFloat")
                    .StoredBy<&TPelValue::StoredAs<vtFloat>>(),
                Property<&TPelValue::GetAsString, &TPelValue::SetAsString>("AsString")
                    .StoredBy<&TPelValue::StoredAs<vtAnsiString, vtString, vtPChar>>(),
                Property<&TPelValue::GetAsObject, &TPelValue::SetAsObject>("AsObject")
                    .StoredBy<&TPelValue::StoredAs<vtObject>>(),
                Property<&TPelValue::GetAsCurrency, &TPelValue::SetAsCurrency>("AsCurrency")
                    .StoredBy<&TPelValue::StoredAs<vtCurrency>>(),
                Property<&TPelValue::GetAsVariant, &TPelValue::SetAsVariant>("AsVariant")
                    .StoredBy<&TPelValue::StoredAs<vtVariant>>(),
                Property<&TPelValue::GetAsInterface, &TPelValue::SetAsInterface>("AsInterface")
                    .StoredBy<&TPelValue::StoredAs<vtInterface>>(),
                Property<&TPelValue::GetUnassigned>("Unassigned").WithDefault(1),
                Property<&TPelValue::GetValueType>("VType", &TValueTypeInfo))
 public:
  using TPelCustomValue::TPelCustomValue;

 private:
  // A stream holds the one property that carries the value's kind.
  template <TValueType... Kinds>
  bool StoredAs() const {
    return !FUnassigned && ((FValueType == Kinds) || ...);
  }
};

}  // namespace pel
