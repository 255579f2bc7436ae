#include "platform/classes/Filer.h"

#include <cmath>
#include <cstring>

#include "platform/RTLConsts.h"
#include "platform/classes/ClassRegistry.h"

namespace pel {

// ---------------------------------------------------------------------------
// Extended floats

void DoubleToExtended(double Value, uint8_t (&Bytes)[10]) {
  uint64_t mant = 0;
  uint16_t exp = 0;
  bool neg = std::signbit(Value);
  if (std::isnan(Value)) {
    exp = 0x7FFF;
    mant = 0xC000000000000000ull;
  } else if (std::isinf(Value)) {
    exp = 0x7FFF;
    mant = 0x8000000000000000ull;
  } else if (Value != 0.0) {
    int e = 0;
    double m = std::frexp(std::fabs(Value), &e);  // m in [0.5, 1)
    mant = static_cast<uint64_t>(std::ldexp(m, 64));
    exp = static_cast<uint16_t>(e - 1 + 16383);
  }
  for (int i = 0; i < 8; ++i) Bytes[i] = static_cast<uint8_t>(mant >> (8 * i));
  uint16_t se = static_cast<uint16_t>(exp | (neg ? 0x8000 : 0));
  Bytes[8] = static_cast<uint8_t>(se);
  Bytes[9] = static_cast<uint8_t>(se >> 8);
}

double ExtendedToDouble(const uint8_t (&Bytes)[10]) {
  uint64_t mant = 0;
  for (int i = 0; i < 8; ++i) mant |= static_cast<uint64_t>(Bytes[i]) << (8 * i);
  int se = Bytes[8] | (Bytes[9] << 8);
  bool neg = (se & 0x8000) != 0;
  int exp = se & 0x7FFF;
  double r;
  if (exp == 0x7FFF)
    r = (mant << 1) == 0 ? INFINITY : NAN;
  else if (mant == 0)
    r = 0.0;
  else
    r = std::ldexp(static_cast<double>(mant), exp - 16383 - 63);
  return neg ? -r : r;
}

// ---------------------------------------------------------------------------
// TWriter: values

void TWriter::WriteValue(Classes::TValueType Value) {
  uint8_t b = Value;
  Write(&b, 1);
}

void TWriter::WriteSignature() { Write(kFilerSignature, 4); }

void TWriter::WritePrefix(TFilerFlags Flags, int32_t ChildPos) {
  if (Flags == 0) return;
  uint8_t b = static_cast<uint8_t>(0xF0 | Flags);
  Write(&b, 1);
  if (Flags & ffChildPos) WriteInteger(ChildPos);
}

void TWriter::WriteInteger(int32_t Value) {
  if (Value >= -128 && Value <= 127) {
    WriteValue(vaInt8);
    int8_t v = static_cast<int8_t>(Value);
    Write(&v, 1);
  } else if (Value >= -32768 && Value <= 32767) {
    WriteValue(vaInt16);
    int16_t v = static_cast<int16_t>(Value);
    uint8_t b[2] = {static_cast<uint8_t>(v), static_cast<uint8_t>(v >> 8)};
    Write(b, 2);
  } else {
    WriteValue(vaInt32);
    uint8_t b[4];
    for (int i = 0; i < 4; ++i)
      b[i] = static_cast<uint8_t>(static_cast<uint32_t>(Value) >> (8 * i));
    Write(b, 4);
  }
}

void TWriter::WriteInteger(int64_t Value) {
  if (Value >= INT32_MIN && Value <= INT32_MAX) {
    WriteInteger(static_cast<int32_t>(Value));
    return;
  }
  WriteValue(vaInt64);
  uint8_t b[8];
  for (int i = 0; i < 8; ++i) b[i] = static_cast<uint8_t>(static_cast<uint64_t>(Value) >> (8 * i));
  Write(b, 8);
}

void TWriter::WriteString(const String& Value) {
  if (Value.size() <= 255) {
    WriteValue(vaString);
    WriteStr(Value);
  } else {
    WriteValue(vaLString);
    uint32_t n = static_cast<uint32_t>(Value.size());
    uint8_t b[4];
    for (int i = 0; i < 4; ++i) b[i] = static_cast<uint8_t>(n >> (8 * i));
    Write(b, 4);
    Write(Value.data(), static_cast<int32_t>(n));
  }
}

void TWriter::WriteFloat(double Value) {
  WriteValue(vaExtended);
  uint8_t b[10];
  DoubleToExtended(Value, b);
  Write(b, 10);
}

void TWriter::WriteSingle(float Value) {
  WriteValue(vaSingle);
  uint32_t bits;
  std::memcpy(&bits, &Value, 4);
  uint8_t b[4];
  for (int i = 0; i < 4; ++i) b[i] = static_cast<uint8_t>(bits >> (8 * i));
  Write(b, 4);
}

void TWriter::WriteCurrency(Currency Value) {
  WriteValue(vaCurrency);
  uint8_t b[8];
  for (int i = 0; i < 8; ++i)
    b[i] = static_cast<uint8_t>(static_cast<uint64_t>(Value.Value) >> (8 * i));
  Write(b, 8);
}

void TWriter::WriteDate(double Value) {
  WriteValue(vaDate);
  uint64_t bits;
  std::memcpy(&bits, &Value, 8);
  uint8_t b[8];
  for (int i = 0; i < 8; ++i) b[i] = static_cast<uint8_t>(bits >> (8 * i));
  Write(b, 8);
}

void TWriter::WriteIdent(const String& Ident) {
  if (SameIdentifier(Ident, "False"))
    WriteValue(vaFalse);
  else if (SameIdentifier(Ident, "True"))
    WriteValue(vaTrue);
  else if (SameIdentifier(Ident, "nil"))
    WriteValue(vaNil);
  else if (SameIdentifier(Ident, "Null"))
    WriteValue(vaNull);
  else {
    WriteValue(vaIdent);
    WriteStr(Ident);
  }
}

void TWriter::WriteSet(uint32_t Value, const TTypeInfo* Elem) {
  WriteValue(vaSet);
  for (int32_t i = 0; i < 32; ++i)
    if (Value & (1u << i)) WriteStr(GetEnumName(Elem, i));
  WriteStr(String());
}

void TWriter::WriteBinary(const void* Data, int32_t Size) {
  WriteValue(vaBinary);
  uint8_t b[4];
  for (int i = 0; i < 4; ++i) b[i] = static_cast<uint8_t>(static_cast<uint32_t>(Size) >> (8 * i));
  Write(b, 4);
  Write(Data, Size);
}

void TWriter::WriteStr(const String& Value) {
  uint8_t n = static_cast<uint8_t>(std::min<std::size_t>(Value.size(), 255));
  Write(&n, 1);
  Write(Value.data(), n);
}

void TWriter::WritePropName(const String& PropName) { WriteStr(FPropPath + PropName); }

// ---------------------------------------------------------------------------
// TWriter: objects

void TWriter::DefineProperty(const String& Name, const TReaderProc&, const TWriterProc& WriteData,
                             bool HasData) {
  if (HasData && WriteData) {
    WritePropName(Name);
    WriteData(this);
  }
}

void TWriter::DefineBinaryProperty(const String& Name, const TStreamProc&,
                                   const TStreamProc& WriteData, bool HasData) {
  if (!HasData || !WriteData) return;
  WritePropName(Name);
  auto data = Make<TMemoryStream>();
  WriteData(data.get());
  WriteBinary(data->GetMemory(), static_cast<int32_t>(data->GetSize()));
}

void TWriter::WriteCollection(TCollection* Value) {
  WriteValue(vaCollection);
  if (Value) {
    for (int32_t i = 0; i < Value->GetCount(); ++i) {
      WriteListBegin();
      WriteProperties(Value->GetItem(i));
      WriteListEnd();
    }
  }
  WriteListEnd();
}

void TWriter::WriteProperties(TObject* Instance) {
  for (const TPropInfo* p : GetPropList(Instance->ClassType()))
    if (IsStoredProp(Instance, p)) WriteProperty(Instance, p);
  if (auto* pers = dynamic_cast<TPersistent*>(Instance)) pers->DefineProperties(this);
}

namespace {

// An object whose own properties are written under "Property.Sub" names.
bool HasNestedProperties(TObject* Obj) {
  return dynamic_cast<TPersistent*>(Obj) || (Obj && !GetPropList(Obj->ClassType()).empty());
}

}  // namespace

void TWriter::WriteVariant(const Variant& Value) {
  switch (VarType(Value)) {
    case varEmpty:
      WriteValue(vaNil);
      break;
    case varNull:
      WriteValue(vaNull);
      break;
    case varString:
    case varOleStr:
      WriteString(VarToLStr(Value));
      break;
    case varShortInt:
    case varByte:
    case varSmallint:
    case varWord:
    case varInteger:
      WriteInteger(VarToInt(Value));
      break;
    case varLongWord:
    case varInt64:
      WriteInteger(VarToInt64(Value));
      break;
    case varSingle:
      WriteSingle(static_cast<float>(VarToReal(Value)));
      break;
    case varDouble:
      WriteFloat(VarToReal(Value));
      break;
    case varCurrency:
      WriteCurrency(Currency::FromDouble(VarToReal(Value)));
      break;
    case varDate:
      WriteDate(VarToReal(Value));
      break;
    case varBoolean:
      WriteBoolean(VarToBool(Value));
      break;
    default:
      throw EWriteError(SWriteError);
  }
}

void TWriter::WriteProperty(TObject* Instance, const TPropInfo* P) {
  const TTypeInfo* type = P->PropType;
  if (!P->HasSetter()) return;
  if (IsDefaultPropValue(Instance, P)) return;
  switch (type->Kind) {
    case tkInteger:
      WritePropName(P->Name);
      WriteInteger(static_cast<int32_t>(GetOrdProp(Instance, P)));
      break;
    case tkChar:
    case tkWChar:
      WritePropName(P->Name);
      WriteChar(static_cast<char>(GetOrdProp(Instance, P)));
      break;
    case tkEnumeration:
      WritePropName(P->Name);
      WriteIdent(GetEnumName(type, GetOrdProp(Instance, P)));
      break;
    case tkSet:
      WritePropName(P->Name);
      WriteSet(static_cast<uint32_t>(GetOrdProp(Instance, P)), type->CompType);
      break;
    case tkInt64:
      WritePropName(P->Name);
      WriteInteger(GetOrdProp(Instance, P));
      break;
    case tkFloat:
      WritePropName(P->Name);
      WriteFloat(GetFloatProp(Instance, P));
      break;
    case tkLString:
    case tkString:
      WritePropName(P->Name);
      WriteString(GetStrProp(Instance, P));
      break;
    case tkMethod:
      WritePropName(P->Name);
      WriteIdent(GetStrProp(Instance, P));
      break;
    case tkInterface:
      // An interface is stored as a reference to the component behind it;
      // one implemented by anything else is not stored.
      if (auto* comp = dynamic_cast<TComponent*>(GetInterfaceProp(Instance, P)))
        WriteReference(P, comp);
      break;
    case tkClass: {
      TObject* obj = GetObjectProp(Instance, P);
      if (auto* comp = dynamic_cast<TComponent*>(obj)) {
        WriteReference(P, comp);
      } else if (auto* coll = dynamic_cast<TCollection*>(obj)) {
        WritePropName(P->Name);
        WriteCollection(coll);
      } else if (HasNestedProperties(obj)) {
        String saved = FPropPath;
        FPropPath += String(P->Name) + ".";
        TryFinally([&] { WriteProperties(obj); }, [&] { FPropPath = saved; });
      }
      break;
    }
    case tkVariant:
      WritePropName(P->Name);
      WriteVariant(GetVariantProp(Instance, P));
      break;
    default:
      break;
  }
}

void TWriter::WriteReference(const TPropInfo* P, TComponent* Component) {
  // The root itself is called "Owner"; a component owned elsewhere is
  // qualified by its owner's name; an unnamed one cannot be referred to.
  String name = Component->GetName();
  if (Component == FLookupRoot)
    name = "Owner";
  else if (name.empty())
    return;
  else if (Component->GetOwner() && Component->GetOwner() != FLookupRoot)
    name = Component->GetOwner()->GetName() + "." + name;
  WritePropName(P->Name);
  WriteIdent(name);
}

void TWriter::WriteData(TComponent* Instance) {
  WriteStr(Instance->ClassName());
  WriteStr(Instance->GetName());
  WriteProperties(Instance);
  WriteListEnd();
  if (!FIgnoreChildren) {
    TComponent* savedRoot = FRoot;
    Instance->GetChildren([this](TComponent* c) { WriteComponent(c); }, FRoot);
    FRoot = savedRoot;
  }
  WriteListEnd();
}

void TWriter::WriteComponent(TComponent* Component) {
  Component->IncludeState(csWriting);
  TryFinally(
      [&] {
        WritePrefix((Component->ComponentState() & csInline) ? ffInline : 0, 0);
        Component->WriteState(this);
      },
      [&] { Component->ExcludeState(csWriting); });
}

void TWriter::WriteDescendent(TComponent* Root, TComponent*) {
  FRoot = Root;
  FLookupRoot = Root;
  WriteSignature();
  WriteComponent(Root);
}

void TWriter::WriteRootComponent(TComponent* Root) { WriteDescendent(Root, nullptr); }

// ---------------------------------------------------------------------------
// TReader: values

Classes::TValueType TReader::ReadValue() {
  uint8_t b;
  Read(&b, 1);
  if (b > kMaxValueType) throw EReadError(SInvalidImage);
  return static_cast<Classes::TValueType>(b);
}

Classes::TValueType TReader::NextValue() {
  Classes::TValueType v = ReadValue();
  FStream->Seek(int64_t{-1}, soCurrent);
  return v;
}

TReader::DepthGuard::DepthGuard(TReader* R) : Reader(R) {
  if (++Reader->FDepth > kMaxStreamDepth) {
    --Reader->FDepth;
    throw EReadError(SStreamTooDeep, {kMaxStreamDepth});
  }
}

bool TReader::EndOfList() {
  uint8_t b;
  Read(&b, 1);
  FStream->Seek(int64_t{-1}, soCurrent);
  return b == vaNull;
}

void TReader::PropValueError() { throw EReadError(SInvalidPropertyValue); }

void TReader::CheckValue(Classes::TValueType Value) {
  if (ReadValue() != Value) {
    FStream->Seek(int64_t{-1}, soCurrent);
    PropValueError();
  }
}

void TReader::ReadSignature() {
  char sig[4];
  Read(sig, 4);
  if (std::memcmp(sig, kFilerSignature, 4) != 0) throw EReadError(SInvalidImage);
}

void TReader::ReadPrefix(TFilerFlags& Flags, int32_t& ChildPos) {
  Flags = 0;
  ChildPos = 0;
  uint8_t b;
  Read(&b, 1);
  if ((b & 0xF0) != 0xF0) {
    FStream->Seek(int64_t{-1}, soCurrent);
    return;
  }
  Flags = static_cast<TFilerFlags>(b & 0x0F);
  if (Flags & ffChildPos) ChildPos = ReadInteger();
}

namespace {

template <class T>
T ReadLE(TStream* s) {
  uint8_t b[sizeof(T)];
  s->ReadBuffer(b, sizeof(T));
  std::make_unsigned_t<T> v = 0;
  for (std::size_t i = 0; i < sizeof(T); ++i)
    v = static_cast<decltype(v)>(v | (static_cast<decltype(v)>(b[i]) << (8 * i)));
  return static_cast<T>(v);
}

// UTF-16 little-endian units to UTF-8.
String Utf16ToUtf8(const std::vector<uint16_t>& u) {
  String r;
  for (std::size_t i = 0; i < u.size(); ++i) {
    uint32_t c = u[i];
    if (c >= 0xD800 && c < 0xDC00 && i + 1 < u.size() && u[i + 1] >= 0xDC00 && u[i + 1] < 0xE000)
      c = 0x10000 + ((c - 0xD800) << 10) + (u[++i] - 0xDC00);
    if (c < 0x80) {
      r += static_cast<char>(c);
    } else if (c < 0x800) {
      r += static_cast<char>(0xC0 | (c >> 6));
      r += static_cast<char>(0x80 | (c & 0x3F));
    } else if (c < 0x10000) {
      r += static_cast<char>(0xE0 | (c >> 12));
      r += static_cast<char>(0x80 | ((c >> 6) & 0x3F));
      r += static_cast<char>(0x80 | (c & 0x3F));
    } else {
      r += static_cast<char>(0xF0 | (c >> 18));
      r += static_cast<char>(0x80 | ((c >> 12) & 0x3F));
      r += static_cast<char>(0x80 | ((c >> 6) & 0x3F));
      r += static_cast<char>(0x80 | (c & 0x3F));
    }
  }
  return r;
}

// Reads Count bytes after checking that the stream holds them, so a bad
// length never makes a huge allocation.
String ReadBytes(TStream* s, int64_t Count) {
  if (Count < 0 || Count > s->GetSize() - s->GetPosition()) throw EReadError(SReadError);
  String r(static_cast<std::size_t>(Count), '\0');
  s->ReadBuffer(r.data(), static_cast<int32_t>(Count));
  return r;
}

}  // namespace

int32_t TReader::ReadInteger() {
  switch (ReadValue()) {
    case vaInt8:
      return ReadLE<int8_t>(FStream);
    case vaInt16:
      return ReadLE<int16_t>(FStream);
    case vaInt32:
      return ReadLE<int32_t>(FStream);
    default:
      FStream->Seek(int64_t{-1}, soCurrent);
      PropValueError();
  }
}

int64_t TReader::ReadInt64() {
  if (NextValue() == vaInt64) {
    ReadValue();
    return ReadLE<int64_t>(FStream);
  }
  return ReadInteger();
}

bool TReader::ReadBoolean() {
  Classes::TValueType v = ReadValue();
  if (v == vaTrue) return true;
  if (v == vaFalse) return false;
  FStream->Seek(int64_t{-1}, soCurrent);
  PropValueError();
}

char TReader::ReadChar() {
  CheckValue(vaString);
  uint8_t n;
  Read(&n, 1);
  if (n != 1) PropValueError();
  char c;
  Read(&c, 1);
  return c;
}

String TReader::ReadString() {
  switch (ReadValue()) {
    case vaString: {
      uint8_t n;
      Read(&n, 1);
      return ReadBytes(FStream, n);
    }
    case vaLString:
    case vaUTF8String:
      return ReadBytes(FStream, ReadLE<int32_t>(FStream));
    case vaWString:
    case vaUString: {
      int32_t n = ReadLE<int32_t>(FStream);
      String raw = ReadBytes(FStream, int64_t{n} * 2);
      std::vector<uint16_t> units(static_cast<std::size_t>(n));
      for (int32_t i = 0; i < n; ++i)
        units[i] = static_cast<uint16_t>(static_cast<uint8_t>(raw[2 * i]) |
                                         (static_cast<uint8_t>(raw[2 * i + 1]) << 8));
      return Utf16ToUtf8(units);
    }
    default:
      FStream->Seek(int64_t{-1}, soCurrent);
      PropValueError();
  }
}

double TReader::ReadFloat() {
  switch (NextValue()) {
    case vaExtended: {
      ReadValue();
      uint8_t b[10];
      Read(b, 10);
      return ExtendedToDouble(b);
    }
    case vaSingle:
      return ReadSingle();
    case vaDate:
      return ReadDate();
    case vaCurrency:
      return ReadCurrency().ToDouble();
    default:
      return static_cast<double>(ReadInt64());
  }
}

float TReader::ReadSingle() {
  if (NextValue() != vaSingle) return static_cast<float>(ReadInteger());
  ReadValue();
  uint32_t bits = ReadLE<uint32_t>(FStream);
  float f;
  std::memcpy(&f, &bits, 4);
  return f;
}

Currency TReader::ReadCurrency() {
  if (NextValue() != vaCurrency) return Currency::FromDouble(ReadFloat());
  ReadValue();
  return Currency::FromRaw(ReadLE<int64_t>(FStream));
}

double TReader::ReadDate() {
  if (NextValue() != vaDate) return static_cast<double>(ReadInt64());
  ReadValue();
  uint64_t bits = ReadLE<uint64_t>(FStream);
  double d;
  std::memcpy(&d, &bits, 8);
  return d;
}

String TReader::ReadIdent() {
  switch (ReadValue()) {
    case vaIdent:
      return ReadStr();
    case vaFalse:
      return "False";
    case vaTrue:
      return "True";
    case vaNil:
      return "nil";
    case vaNull:
      return "Null";
    default:
      FStream->Seek(int64_t{-1}, soCurrent);
      PropValueError();
  }
}

uint32_t TReader::ReadSet(const TTypeInfo* Elem) {
  CheckValue(vaSet);
  uint32_t result = 0;
  for (;;) {
    String name = ReadStr();
    if (name.empty()) break;
    int32_t v = GetEnumValue(Elem, name);
    if (v < 0 || v >= 32) PropValueError();
    result |= 1u << v;
  }
  return result;
}

String TReader::ReadStr() {
  uint8_t n;
  Read(&n, 1);
  return ReadBytes(FStream, n);
}

void TReader::SkipValue() {
  DepthGuard depth(this);
  auto skip = [this](int64_t n) {
    if (n < 0 || n > FStream->GetSize() - FStream->GetPosition()) throw EReadError(SReadError);
    FStream->Seek(n, soCurrent);
  };
  switch (ReadValue()) {
    case vaNull:
    case vaFalse:
    case vaTrue:
    case vaNil:
      break;
    case vaList:
      while (!EndOfList()) SkipValue();
      ReadListEnd();
      break;
    case vaInt8:
      skip(1);
      break;
    case vaInt16:
      skip(2);
      break;
    case vaInt32:
    case vaSingle:
      skip(4);
      break;
    case vaExtended:
      skip(10);
      break;
    case vaString:
    case vaIdent:
      ReadStr();
      break;
    case vaBinary:
    case vaLString:
    case vaUTF8String:
      skip(ReadLE<int32_t>(FStream));
      break;
    case vaWString:
    case vaUString:
      skip(int64_t{ReadLE<int32_t>(FStream)} * 2);
      break;
    case vaSet:
      while (!ReadStr().empty()) {
      }
      break;
    case vaCollection:
      while (!EndOfList()) {
        if (NextValue() == vaInt8 || NextValue() == vaInt16 || NextValue() == vaInt32)
          ReadInteger();
        ReadListBegin();
        while (!EndOfList()) {
          ReadStr();
          SkipValue();
        }
        ReadListEnd();
      }
      ReadListEnd();
      break;
    case vaCurrency:
    case vaDate:
    case vaInt64:
    case vaQWord:
      skip(8);
      break;
  }
}

// ---------------------------------------------------------------------------
// TReader: objects

void TReader::DefineProperty(const String& Name, const TReaderProc& ReadData, const TWriterProc&,
                             bool) {
  if (!FPropHandled && ReadData && SameIdentifier(Name, FPropName)) {
    ReadData(this);
    FPropHandled = true;
  }
}

void TReader::DefineBinaryProperty(const String& Name, const TStreamProc& ReadData,
                                   const TStreamProc&, bool) {
  if (FPropHandled || !ReadData || !SameIdentifier(Name, FPropName)) return;
  CheckValue(vaBinary);
  String bytes = ReadBytes(FStream, ReadLE<int32_t>(FStream));
  auto data = Make<TMemoryStream>();
  data->WriteBuffer(bytes.data(), static_cast<int32_t>(bytes.size()));
  data->SetPosition(0);
  ReadData(data.get());
  FPropHandled = true;
}

void TReader::ReadCollection(TCollection* Collection) {
  DepthGuard depth(this);
  Updating(Collection, [&] {
    if (!EndOfList()) {
      // Pending references into the items about to go are dropped with them.
      std::erase_if(FFixups, [Collection](const Fixup& f) {
        auto* item = dynamic_cast<TCollectionItem*>(f.Instance);
        return item && item->GetCollection() == Collection;
      });
      Collection->Clear();
    }
    while (!EndOfList()) {
      Classes::TValueType v = NextValue();
      if (v == vaInt8 || v == vaInt16 || v == vaInt32) ReadInteger();  // item order, unused
      ReadListBegin();
      TCollectionItem* item = Collection->Add();
      while (!EndOfList()) ReadProperty(item);
      ReadListEnd();
    }
    ReadListEnd();
  });
}

void TReader::ReadProperty(TObject* Instance) {
  String path = ReadStr();
  TObject* obj = Instance;
  std::size_t start = 0;
  for (std::size_t dot; (dot = path.find('.', start)) != String::npos; start = dot + 1) {
    String part = path.substr(start, dot - start);
    const TPropInfo* p = GetPropInfo(obj, part);
    TObject* sub = p && p->PropType->Kind == tkClass ? GetObjectProp(obj, p) : nullptr;
    if (!HasNestedProperties(sub)) throw EReadError(SUnknownProperty, {part});
    obj = sub;
  }
  String name = path.substr(start);
  if (const TPropInfo* p = GetPropInfo(obj, name)) {
    ReadPropValue(obj, p);
    return;
  }
  FPropName = name;
  FPropHandled = false;
  if (auto* pers = dynamic_cast<TPersistent*>(obj)) pers->DefineProperties(this);
  if (!FPropHandled) throw EReadError(SUnknownProperty, {name});
}

Variant TReader::ReadVariant() {
  switch (NextValue()) {
    case vaNil:
      ReadValue();
      return Variant();
    case vaNull:
      ReadValue();
      return Variant::Null();
    case vaInt8:
      return Variant(static_cast<int8_t>(ReadInteger()));
    case vaInt16:
      return Variant(static_cast<int16_t>(ReadInteger()));
    case vaInt32:
      return Variant(ReadInteger());
    case vaInt64:
      return Variant(ReadInt64());
    case vaExtended:
      return Variant(ReadFloat());
    case vaSingle:
      return Variant(ReadSingle());
    case vaCurrency:
      return Variant(ReadCurrency());
    case vaDate:
      return Variant::Date(ReadDate());
    case vaFalse:
    case vaTrue:
      return Variant(ReadBoolean());
    case vaString:
    case vaLString:
    case vaUTF8String:
      return Variant(ReadString());
    case vaWString:
    case vaUString:
      return Variant::OleStr(ReadString());
    default:
      throw EReadError(SReadError);
  }
}

void TReader::ReadPropValue(TObject* Instance, const TPropInfo* P) {
  const TTypeInfo* type = P->PropType;
  if (!P->HasSetter()) PropValueError();
  switch (type->Kind) {
    case tkInteger:
      SetOrdProp(Instance, P, ReadInteger());
      break;
    case tkChar:
    case tkWChar:
      SetOrdProp(Instance, P, static_cast<uint8_t>(ReadChar()));
      break;
    case tkEnumeration: {
      int32_t v = GetEnumValue(type, ReadIdent());
      if (v < 0) PropValueError();
      SetOrdProp(Instance, P, v);
      break;
    }
    case tkSet:
      SetOrdProp(Instance, P, ReadSet(type->CompType));
      break;
    case tkInt64:
      SetOrdProp(Instance, P, ReadInt64());
      break;
    case tkFloat:
      if (type->FloatType == ftCurr)
        SetOrdProp(Instance, P, ReadCurrency().Value);
      else
        SetFloatProp(Instance, P, ReadFloat());
      break;
    case tkLString:
    case tkString:
      SetStrProp(Instance, P, ReadString());
      break;
    case tkMethod:
      if (NextValue() == vaNil) {
        ReadValue();
        SetStrProp(Instance, P, String());
      } else {
        // A handler's name must be a method name (and so print as one).
        String name = ReadIdent();
        if (!IsValidIdent(name)) PropValueError();
        SetStrProp(Instance, P, name);
      }
      break;
    case tkClass:
      switch (NextValue()) {
        case vaNil:
          ReadValue();
          SetObjectProp(Instance, P, nullptr);
          break;
        case vaCollection: {
          ReadValue();
          auto* coll = dynamic_cast<TCollection*>(GetObjectProp(Instance, P));
          if (!coll) PropValueError();
          ReadCollection(coll);
          break;
        }
        default:
          // A component reference, resolved once the whole stream is read.
          FFixups.push_back({Instance, P, ReadIdent()});
          break;
      }
      break;
    case tkVariant:
      SetVariantProp(Instance, P, ReadVariant());
      break;
    case tkInterface:
      if (NextValue() == vaNil) {
        ReadValue();
        SetInterfaceProp(Instance, P, nullptr);
      } else {
        FFixups.push_back({Instance, P, ReadIdent()});
      }
      break;
    default:
      PropValueError();
  }
}

void TReader::ReadData(TComponent* Instance) {
  while (!EndOfList()) ReadProperty(Instance);
  ReadListEnd();
  TComponent* savedOwner = FOwner;
  FOwner = Instance->GetChildOwner();
  if (!FOwner) FOwner = FRoot;
  TryFinally(
      [&] {
        while (!EndOfList()) ReadComponent(nullptr);
        ReadListEnd();
      },
      [&] { FOwner = savedOwner; });
}

TComponent* TReader::ReadComponent(TComponent* Component) {
  DepthGuard depth(this);
  TFilerFlags flags;
  int32_t childPos;
  ReadPrefix(flags, childPos);
  String className = ReadStr();
  String name = ReadStr();
  TComponent* result = Component;
  bool created = false;
  if (!result) {
    if (flags & ffInherited) {
      result = FOwner ? FOwner->FindComponent(name) : nullptr;
      if (!result) throw EReadError(SAncestorNotFound, {name});
    } else {
      TComponentClass cls(FindClass(className));
      result = cls.Create(FOwner);
      created = true;
    }
  }
  try {
    result->IncludeState(csLoading | csReading);
    if (!(flags & ffInherited)) result->SetName(name);
    if (std::find(FLoaded.begin(), FLoaded.end(), result) == FLoaded.end())
      FLoaded.push_back(result);
    result->ReadState(this);
    result->ExcludeState(csReading);
  } catch (...) {
    result->ExcludeState(csReading);
    if (created) {
      // Forget the component and everything it owns before freeing it.
      std::erase_if(FLoaded, [&](TComponent* c) {
        for (TComponent* o = c; o; o = o->GetOwner())
          if (o == result) return true;
        return false;
      });
      pel::Free(result);
    }
    throw;
  }
  return result;
}

void TReader::ResolveFixups() {
  for (const Fixup& f : FFixups) {
    TComponent* target = nullptr;
    std::size_t dot = f.Name.find('.');
    if (dot == String::npos) {
      target = FRoot ? FRoot->FindComponent(f.Name) : nullptr;
      if (!target && FRoot &&
          (SameIdentifier(f.Name, "Owner") || SameIdentifier(FRoot->GetName(), f.Name)))
        target = FRoot;
    } else if (FRoot) {
      String ownerName = f.Name.substr(0, dot);
      TComponent* owner =
          SameIdentifier(FRoot->GetName(), ownerName) ? FRoot : FRoot->FindComponent(ownerName);
      if (owner) target = owner->FindComponent(f.Name.substr(dot + 1));
    }
    if (!target) throw EReadError(SInvalidPropertyValue);
    if (f.PropInfo->PropType->Kind == tkInterface) {
      if (!f.PropInfo->SetIntf(f.Instance, target)) throw EReadError(SInvalidPropertyValue);
      continue;
    }
    TClass want = f.PropInfo->PropType->ClassType;
    if (want && !target->InheritsFrom(want)) throw EReadError(SInvalidPropertyValue);
    SetObjectProp(f.Instance, f.PropInfo, target);
  }
  FFixups.clear();
}

TComponent* TReader::ReadRootComponent(TComponent* Root) {
  ReadSignature();
  TFilerFlags flags;
  int32_t childPos;
  ReadPrefix(flags, childPos);
  String className = ReadStr();
  String name = ReadStr();
  TComponent* result = Root;
  if (!result) result = TComponentClass(FindClass(className)).Create(nullptr);
  FRoot = result;
  FLookupRoot = result;
  FOwner = result;
  FLoaded.clear();
  FFixups.clear();
  try {
    result->IncludeState(csLoading | csReading);
    result->SetName(name);
    FLoaded.push_back(result);
    result->ReadState(this);
    result->ExcludeState(csReading);
    ResolveFixups();
  } catch (...) {
    for (TComponent* c : FLoaded) c->ExcludeState(csLoading | csReading);
    FLoaded.clear();
    FFixups.clear();
    if (!Root) pel::Free(result);
    throw;
  }
  std::vector<TComponent*> loaded;
  loaded.swap(FLoaded);
  for (TComponent* c : loaded) c->Loaded();
  return result;
}

// ---------------------------------------------------------------------------
// TStream's component methods

void TStream::WriteComponent(TComponent* Instance) { WriteDescendent(Instance, nullptr); }

void TStream::WriteDescendent(TComponent* Instance, TComponent* Ancestor) {
  auto writer = Make<TWriter>(this);
  writer->WriteDescendent(Instance, Ancestor);
}

TComponent* TStream::ReadComponent(TComponent* Instance) {
  auto reader = Make<TReader>(this);
  return reader->ReadRootComponent(Instance);
}

}  // namespace pel
