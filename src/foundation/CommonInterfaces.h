// CommonInterfaces: the counted interfaces that pel's containers implement
// and hand to each other.
//
//  * ICloneable: copy, clone and compare an object through an interface.
//  * IIterator, IStringIterator, IInterfaceIterator, IObjectIterator: one
//    protocol over four element types. The position starts before the first
//    element; HasMoreElements is true while NextElement will find one;
//    NextElement advances, then returns the element; CurrentElement returns
//    the element at the position; Reset goes back before the first element.
//  * IBaseStreamToken, IBaseStreamTokenList: a lexical token and a list of
//    them, implemented by the stream-token classes.
//  * ILocation, IIntegerLocation, IStreamable, IDTStreamable: identities
//    only. No class of the library implements them; they are kept so that
//    code asking for them by IID gets a stable answer.
//
// Each interface has its own fixed IID; the IIDs never change.
//
// The four iterator interfaces share operation names with different element
// types, and C++ lets a class override a name only once. A class that serves
// several of them over one sequence therefore derives from the adapters at
// the end of this header, whose final overrides forward to typed methods
// (CurrentElementP/NextElementP for pointers, ...S for strings, ...I for
// interfaces, ...O for objects). GetCount, HasMoreElements and Reset have the
// same signature everywhere, so one override serves every interface and the
// position is shared.
#pragma once

#include <functional>

#include "platform/Classes.h"
#include "platform/System.h"

namespace pel {

// An event bound to an object whose sender is an interface.
using TINotifyEvent = std::function<void(const IPtr<IInterface>& Sender)>;

struct ICloneable : virtual IInterface {
  static constexpr TGUID IID = TGUID::Parse("{1D1DE437-D0A9-45BC-853E-BFC52E91C171}");
  virtual void Assign(const IPtr<IInterface>& Source) = 0;
  virtual void Assign(TPersistent* Source) = 0;
  virtual void AssignTo(TPersistent* Dest) = 0;
  virtual IPtr<IInterface> Clone() = 0;
  virtual bool Equals(const IPtr<IInterface>& Obj) = 0;
  virtual int32_t GetTag() = 0;
  virtual void SetTag(int32_t Value) = 0;
};

struct IIntegerLocation : virtual IInterface {
  static constexpr TGUID IID = TGUID::Parse("{302EB06A-9C94-436C-A193-B43D02D0EB5F}");
};

struct ILocation : virtual IInterface {
  static constexpr TGUID IID = TGUID::Parse("{A3873634-DBBB-4AC9-8D12-2FD44C014A22}");
};

struct IIterator : virtual IInterface {
  static constexpr TGUID IID = TGUID::Parse("{E2E8AD3A-C0E9-436F-9AB1-BCF526078584}");
  virtual void* CurrentElement() = 0;
  virtual int32_t GetCount() = 0;
  virtual bool HasMoreElements() = 0;
  virtual void* NextElement() = 0;
  virtual void Reset() = 0;
};

struct IStringIterator : virtual IInterface {
  static constexpr TGUID IID = TGUID::Parse("{39D8E948-D07E-4070-BED0-7FF0E8EFF03F}");
  virtual String CurrentElement() = 0;
  virtual int32_t GetCount() = 0;
  virtual bool HasMoreElements() = 0;
  virtual String NextElement() = 0;
  virtual void Reset() = 0;
};

struct IInterfaceIterator : virtual IInterface {
  static constexpr TGUID IID = TGUID::Parse("{12DCE947-5B3A-4D59-9C9B-0FB400A97680}");
  virtual IPtr<IInterface> CurrentElement() = 0;
  virtual int32_t GetCount() = 0;
  virtual bool HasMoreElements() = 0;
  virtual IPtr<IInterface> NextElement() = 0;
  virtual void Reset() = 0;
};

struct IObjectIterator : virtual IInterface {
  static constexpr TGUID IID = TGUID::Parse("{15636A7B-16BF-4E06-BEA8-00A88C10BF76}");
  virtual TObject* CurrentElement() = 0;
  virtual int32_t GetCount() = 0;
  virtual bool HasMoreElements() = 0;
  virtual TObject* NextElement() = 0;
  virtual void Reset() = 0;
};

struct IBaseStreamTokenList;

struct IBaseStreamToken : ICloneable {
  static constexpr TGUID IID = TGUID::Parse("{E1F4A74E-A545-4B49-B7C9-2A00792567FA}");
  virtual int32_t GetDataType() = 0;
  virtual int32_t GetLineNumber() = 0;
  virtual double GetNumber() = 0;
  virtual String GetText() = 0;
  virtual String GetToString() = 0;
  virtual void SetDataType(int32_t Value) = 0;
  virtual void SetLineNumber(int32_t Value) = 0;
  virtual void SetNumber(double Value) = 0;
  virtual void SetText(const String& Value) = 0;
  virtual String GetWhitespace() = 0;
  virtual void SetWhitespace(const String& Value) = 0;
};

struct IBaseStreamTokenList : ICloneable {
  static constexpr TGUID IID = TGUID::Parse("{663F2C39-3143-4443-BF04-AD73774B2693}");
  using ICloneable::Equals;
  virtual int32_t GetValueCount() = 0;
  virtual IPtr<IBaseStreamToken> Get(int32_t Index) = 0;
  virtual void Put(int32_t Index, const IPtr<IBaseStreamToken>& Item) = 0;
  virtual bool Equals(const IPtr<IBaseStreamTokenList>& List) = 0;
  virtual bool Equals(TObject* Obj) = 0;
  virtual int32_t Add(const IPtr<IBaseStreamToken>& Item) = 0;
  virtual void Clear() = 0;
  virtual IPtr<IBaseStreamToken> First() = 0;
  virtual int32_t IndexOf(const IPtr<IBaseStreamToken>& Item) = 0;
  virtual void Insert(int32_t Index, const IPtr<IBaseStreamToken>& Item) = 0;
  virtual IPtr<IBaseStreamToken> Last() = 0;
  virtual void Delete(int32_t Index) = 0;
  virtual void Append(const IPtr<IBaseStreamTokenList>& List) = 0;
  virtual int32_t Remove(const IPtr<IBaseStreamToken>& Item) = 0;
};

struct IStreamable : virtual IInterface {
  static constexpr TGUID IID = TGUID::Parse("{73FCDC7C-C9A5-4650-B80C-4CA74A4BDF65}");
};

struct IDTStreamable : virtual IInterface {
  static constexpr TGUID IID = TGUID::Parse("{5ACB0415-86CB-47C3-A915-BB651331601C}");
};

// ---------------------------------------------------------------------------
// Iterator adapters: bind each interface's element operations to typed
// methods so that one class can serve several iterator interfaces.

struct TPointerIteratorAdapter : IIterator {
  void* CurrentElement() final { return CurrentElementP(); }
  void* NextElement() final { return NextElementP(); }
  virtual void* CurrentElementP() = 0;
  virtual void* NextElementP() = 0;
};

struct TStringIteratorAdapter : IStringIterator {
  String CurrentElement() final { return CurrentElementS(); }
  String NextElement() final { return NextElementS(); }
  virtual String CurrentElementS() = 0;
  virtual String NextElementS() = 0;
};

struct TInterfaceIteratorAdapter : IInterfaceIterator {
  IPtr<IInterface> CurrentElement() final { return CurrentElementI(); }
  IPtr<IInterface> NextElement() final { return NextElementI(); }
  virtual IPtr<IInterface> CurrentElementI() = 0;
  virtual IPtr<IInterface> NextElementI() = 0;
};

struct TObjectIteratorAdapter : IObjectIterator {
  TObject* CurrentElement() final { return CurrentElementO(); }
  TObject* NextElement() final { return NextElementO(); }
  virtual TObject* CurrentElementO() = 0;
  virtual TObject* NextElementO() = 0;
};

}  // namespace pel
