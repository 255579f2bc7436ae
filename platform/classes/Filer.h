// TFiler, TReader, TWriter: the framework's binary object stream.
//
// A component stream is the signature "TPF0" and one component: an optional
// prefix byte 0xF0 | filer flags (followed by the child position as an
// integer value when ffChildPos is set), the class name and the component
// name as short strings, its properties (each a short-string name then a
// value) closed by a zero byte, its children (each a component) closed by a
// zero byte.
//
// A value is a one-byte type code (TValueType) and its data, little-endian:
// integers in their smallest form (vaInt8, vaInt16, vaInt32, vaInt64 only
// above 32 bits), strings short (vaString, one length byte) up to 255 bytes
// and long (vaLString, four length bytes) above, floats as 80-bit extended,
// sets as element names closed by an empty name, lists between vaList and
// vaNull, collections as vaCollection then one list of properties per item
// and a closing vaNull, binary data as vaBinary, a four-byte length and the
// bytes.
//
// Which properties a writer writes: every published property with a setter
// that its stored test allows and that does not hold its default (see
// platform/TypInfo.h); a class property holding a component is written as a
// reference (the component's name, qualified by its owner's name when the
// owner is not the root), a collection as a collection value, and any other
// persistent object as its own properties under "Property.Sub" names. Then
// the object's DefineProperties adds what is not published. An object that
// is not persistent but publishes properties of its own (the library's
// tagged value) is written the same way, without DefineProperties; the
// framework's writer leaves such objects out.
//
// A variant property is written by its type: Empty as vaNil, Null as vaNull,
// integers in their smallest form, Single, Double, Currency and Date in
// their own codes, Boolean as vaFalse/vaTrue, texts as strings; any other
// type raises EWriteError ("Stream write error"). Reading gives back
// ShortInt, Smallint or Integer (Int64 above 32 bits), Single, Double,
// Currency, Date, Boolean or String variants.
//
// Nesting: components, collections and lists nested deeper than
// kMaxStreamDepth levels are refused with EReadError "Stream nested deeper
// than 500 levels" before the call stack runs out (the text form's printer
// and parser keep the same limit, see ObjectText.h).
//
// Reading malformed input raises EReadError ("Invalid stream format" for a
// bad signature or an unknown value code, "Invalid property value" for a
// value of the wrong type or a handler name that is not an identifier,
// "Property X does not exist", or "Stream read error" when the stream ends
// early) or EClassNotFound for an unregistered
// class. Components the reader created before the error are freed.
#pragma once

#include <functional>
#include <vector>

#include "platform/TypInfo.h"
#include "platform/classes/Collection.h"
#include "platform/classes/Component.h"
#include "platform/classes/Streams.h"

namespace pel {

// The value codes carry the framework's unit in their type's name,
// Classes::TValueType, because the tagged value of values/PelValue.h has a
// TValueType of its own. The codes themselves are used unqualified.
namespace Classes {
enum TValueType : uint8_t {
  vaNull,
  vaList,
  vaInt8,
  vaInt16,
  vaInt32,
  vaExtended,
  vaString,
  vaIdent,
  vaFalse,
  vaTrue,
  vaBinary,
  vaSet,
  vaLString,
  vaNil,
  vaCollection,
  vaSingle,
  vaCurrency,
  vaDate,
  vaWString,
  vaInt64,
  vaUTF8String,
  vaUString,
  vaQWord
};
}  // namespace Classes
using enum Classes::TValueType;
// The deepest nesting of components, collections and lists a stream may hold.
constexpr int32_t kMaxStreamDepth = 500;
// The highest value code a stream may hold.
constexpr uint8_t kMaxValueType = vaQWord;

// Filer flags (a bit set) that may prefix a component.
using TFilerFlags = uint8_t;
constexpr TFilerFlags ffInherited = 0x01;
constexpr TFilerFlags ffChildPos = 0x02;
constexpr TFilerFlags ffInline = 0x04;

class TReader;
class TWriter;
using TReaderProc = std::function<void(TReader*)>;
using TWriterProc = std::function<void(TWriter*)>;
using TStreamProc = std::function<void(TStream*)>;

// The four signature bytes that open a component stream.
constexpr char kFilerSignature[4] = {'T', 'P', 'F', '0'};

// 80-bit extended <-> double.
void DoubleToExtended(double Value, uint8_t (&Bytes)[10]);
double ExtendedToDouble(const uint8_t (&Bytes)[10]);

class TFiler : public TObject {
  PEL_CLASS(TFiler, TObject)
 public:
  explicit TFiler(TStream* Stream) : FStream(Stream) {}

  // Declares a property that is not published: the writer calls WriteData
  // when HasData holds; the reader calls ReadData when it meets Name.
  virtual void DefineProperty(const String& Name, const TReaderProc& ReadData,
                              const TWriterProc& WriteData, bool HasData) = 0;
  // The same for raw bytes, stored as a binary value.
  virtual void DefineBinaryProperty(const String& Name, const TStreamProc& ReadData,
                                    const TStreamProc& WriteData, bool HasData) = 0;

  TStream* Stream() const { return FStream; }
  TComponent* GetRoot() const { return FRoot; }
  void SetRoot(TComponent* Value) { FRoot = Value; }
  TComponent* GetLookupRoot() const { return FLookupRoot; }
  bool GetIgnoreChildren() const { return FIgnoreChildren; }
  void SetIgnoreChildren(bool Value) { FIgnoreChildren = Value; }

 protected:
  TStream* FStream;
  TComponent* FRoot = nullptr;
  TComponent* FLookupRoot = nullptr;
  bool FIgnoreChildren = false;
};

class TWriter : public TFiler {
  PEL_CLASS(TWriter, TFiler)
 public:
  using TFiler::TFiler;

  void DefineProperty(const String& Name, const TReaderProc& ReadData, const TWriterProc& WriteData,
                      bool HasData) override;
  void DefineBinaryProperty(const String& Name, const TStreamProc& ReadData,
                            const TStreamProc& WriteData, bool HasData) override;

  void WriteValue(Classes::TValueType Value);
  void WriteSignature();
  void WritePrefix(TFilerFlags Flags, int32_t ChildPos);
  void WriteListBegin() { WriteValue(vaList); }
  void WriteListEnd() { WriteValue(vaNull); }
  // Smallest form: vaInt8, vaInt16, vaInt32 (and vaInt64 beyond 32 bits).
  void WriteInteger(int32_t Value);
  void WriteInteger(int64_t Value);
  void WriteBoolean(bool Value) { WriteValue(Value ? vaTrue : vaFalse); }
  void WriteChar(char Value) { WriteString(String(1, Value)); }
  void WriteString(const String& Value);
  void WriteFloat(double Value);
  void WriteSingle(float Value);
  void WriteCurrency(Currency Value);
  void WriteDate(double Value);
  void WriteVariant(const Variant& Value);
  // An identifier; False, True, nil and Null become their own codes.
  void WriteIdent(const String& Ident);
  // A set of Elem's values (bit N for value N).
  void WriteSet(uint32_t Value, const TTypeInfo* Elem);
  void WriteBinary(const void* Data, int32_t Size);
  // A raw short string (length byte and up to 255 bytes).
  void WriteStr(const String& Value);
  void WritePropName(const String& PropName);

  void WriteCollection(TCollection* Value);
  void WriteProperties(TObject* Instance);
  void WriteProperty(TObject* Instance, const TPropInfo* PropInfo);
  // Writes a component (prefix, class, name, properties, children).
  void WriteComponent(TComponent* Component);
  // Writes the signature and Root with its children.
  void WriteRootComponent(TComponent* Root);
  void WriteDescendent(TComponent* Root, TComponent* Ancestor);
  // The part of a component after its header (TComponent::WriteState).
  void WriteData(TComponent* Instance);

 private:
  void Write(const void* Buf, int32_t Count) { FStream->WriteBuffer(Buf, Count); }
  // A property naming a component: "Owner" for the root, Owner.Name for one
  // owned outside the root; an unnamed component is not written.
  void WriteReference(const TPropInfo* P, TComponent* Component);
  String FPropPath;
};

class TReader : public TFiler {
  PEL_CLASS(TReader, TFiler)
 public:
  using TFiler::TFiler;

  void DefineProperty(const String& Name, const TReaderProc& ReadData, const TWriterProc& WriteData,
                      bool HasData) override;
  void DefineBinaryProperty(const String& Name, const TStreamProc& ReadData,
                            const TStreamProc& WriteData, bool HasData) override;

  // Reads a value code; an unknown code raises "Invalid stream format".
  Classes::TValueType ReadValue();
  // The next value code, left in the stream.
  Classes::TValueType NextValue();
  // Whether the next byte closes a list (it may also start a component's
  // filer-flag prefix, so it is not checked as a value code).
  bool EndOfList();
  void CheckValue(Classes::TValueType Value);
  void ReadSignature();
  void ReadPrefix(TFilerFlags& Flags, int32_t& ChildPos);
  void ReadListBegin() { CheckValue(vaList); }
  void ReadListEnd() { CheckValue(vaNull); }
  int32_t ReadInteger();
  int64_t ReadInt64();
  bool ReadBoolean();
  char ReadChar();
  String ReadString();
  double ReadFloat();
  float ReadSingle();
  Currency ReadCurrency();
  double ReadDate();
  Variant ReadVariant();
  String ReadIdent();
  // Reads a set (vaSet and the names) of Elem's values.
  uint32_t ReadSet(const TTypeInfo* Elem);
  // Reads a raw short string.
  String ReadStr();
  // Skips one value of any kind.
  void SkipValue();

  void ReadCollection(TCollection* Collection);
  void ReadProperty(TObject* Instance);
  // Reads one component; Component is filled in when given, else a new
  // one is made (owned by the current owner) from its registered class.
  TComponent* ReadComponent(TComponent* Component);
  // Reads a whole stream: into Root when given, else into a new component
  // of the stream's registered class.
  TComponent* ReadRootComponent(TComponent* Root);
  // Properties and children of Instance (TComponent::ReadState).
  void ReadData(TComponent* Instance);

  TComponent* GetOwner() const { return FOwner; }
  void SetOwner(TComponent* Value) { FOwner = Value; }

 private:
  void Read(void* Buf, int32_t Count) { FStream->ReadBuffer(Buf, Count); }
  [[noreturn]] void PropValueError();
  void ReadPropValue(TObject* Instance, const TPropInfo* PropInfo);
  void ResolveFixups();

  struct Fixup {
    TObject* Instance;
    const TPropInfo* PropInfo;
    String Name;
  };
  // Nesting of components, collections and lists being read (at most
  // kMaxStreamDepth).
  struct DepthGuard {
    explicit DepthGuard(TReader* R);
    ~DepthGuard() { --Reader->FDepth; }
    TReader* Reader;
  };
  int FDepth = 0;
  TComponent* FOwner = nullptr;
  String FPropName;
  bool FPropHandled = false;
  std::vector<TComponent*> FLoaded;
  std::vector<Fixup> FFixups;
};

}  // namespace pel
