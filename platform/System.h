// System: the object model every pel class is built on.
//
// A C++ user meets four ideas here:
//
//  * TObject is the root class. Objects live on the heap and are made with
//    New<T>(args...) (construct, then the virtual AfterConstruction) or through
//    a class reference, and destroyed with Free(obj) (the virtual
//    BeforeDestruction, then delete). Owned<T>/Make<T> wrap that in RAII.
//    The two-step construction and destruction exist because the original
//    framework dispatches virtually inside constructors and destructors while
//    C++ does not: work that must reach a descendant's override runs in
//    AfterConstruction / BeforeDestruction.
//
//  * Every class declares a descriptor with PEL_CLASS(Self, Parent). The
//    descriptor carries the class name, the parent descriptor and, when the
//    class is concrete, its virtual constructor. TClass points at a
//    descriptor; TClassOf<Base, Args...> is a typed class reference that
//    creates instances of any registered descendant with the family's
//    constructor arguments.
//
//  * Interfaces derive (virtually) from IInterface and carry a constexpr IID.
//    IPtr<I> is the counted reference; TInterfacedObject counts atomically and
//    frees itself at zero. A class answers QueryInterface through its virtual
//    GetInterface, which lists the interfaces it implements.
//
//  * Checked casts: As<T>(obj) raises EInvalidCast; Is<T>(obj) tests.
#pragma once

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <initializer_list>
#include <memory>
#include <string>
#include <type_traits>
#include <typeinfo>
#include <utility>

namespace pel {

using String = std::string;
using HRESULT = int32_t;

// Line break of text produced by the framework's classes (Text of a string
// list): the framework's own CR LF. Reading text accepts CR, LF and CR LF.
constexpr const char* sLineBreak = "\r\n";

constexpr HRESULT S_OK = 0;
constexpr HRESULT E_NOINTERFACE = static_cast<HRESULT>(0x80004002u);

class TObject;
struct TClassInfo;
struct TGUID;
struct TPropTable;
using TClass = const TClassInfo*;

// Family marker: a base class that defines a virtual constructor with
// arguments declares `using TCreateArgs = TCtorArgs<A...>;` and every
// concrete descendant constructible from those arguments gets a factory in
// its descriptor. Classes outside such a family are created without
// arguments.
template <class... A>
struct TCtorArgs {};

// A class descriptor: name, parent and the virtual constructor.
struct TClassInfo {
  const char* Name;
  TClass Parent;
  // Type-erased factory; TClassOf casts it back to the family's signature.
  void (*Factory)();
  // The family signature the factory was made for (identity of a static).
  const void* FactoryFamily;
  // Instance size, as the framework's InstanceSize reports it.
  std::size_t InstanceSize;
  // The class's own published properties (declared with PEL_PUBLISHED in
  // platform/TypInfo.h), or null when the class declares none.
  const TPropTable* (*PropTable)();

  // Most tests ask about the object's own class: that costs one
  // comparison; only other classes walk the parent chain.
  bool InheritsFrom(TClass AClass) const noexcept {
    return this == AClass || InheritsFromAncestor(AClass);
  }

 private:
  bool InheritsFromAncestor(TClass AClass) const noexcept;
};

namespace detail {

template <class Args>
inline const char kFamilyTag = 0;

template <class T, class = void>
struct CreateArgsOf {
  using type = TCtorArgs<>;
};
template <class T>
struct CreateArgsOf<T, std::void_t<typename T::TCreateArgs>> {
  using type = typename T::TCreateArgs;
};

template <class T, class... A>
TObject* Construct(A... args);

template <class T, class Args>
struct FactoryFor;
template <class T, class... A>
struct FactoryFor<T, TCtorArgs<A...>> {
  static constexpr bool kCan = !std::is_abstract_v<T> && std::is_constructible_v<T, A...>;
  static void (*Get())() {
    if constexpr (kCan) {
      return reinterpret_cast<void (*)()>(&Construct<T, A...>);
    } else {
      return nullptr;
    }
  }
};

// A class publishes properties when it declares its own table: the
// PEL_PUBLISHED macro names the declaring class as PublishedOwner, so a
// class that only inherits a table is told apart from one that has its own.
template <class T, class = void>
struct OwnPropTable {
  static const TPropTable* (*Get())() { return nullptr; }
};
template <class T>
struct OwnPropTable<T, std::void_t<typename T::PublishedOwner>> {
  static const TPropTable* (*Get())() {
    if constexpr (std::is_same_v<typename T::PublishedOwner, T>)
      return &T::PublishedProps;
    else
      return nullptr;
  }
};

template <class Self, class Parent>
TClassInfo MakeClassInfo(const char* name) {
  using Args = typename CreateArgsOf<Self>::type;
  return TClassInfo{
      name,         Parent::StaticClass(),    FactoryFor<Self, Args>::Get(), &kFamilyTag<Args>,
      sizeof(Self), OwnPropTable<Self>::Get()};
}

}  // namespace detail

// Declares a class's descriptor. Put it first in the class body.
#define PEL_CLASS(Self, Parent)                                                              \
 public:                                                                                     \
  static ::pel::TClass StaticClass() {                                                       \
    static const ::pel::TClassInfo info = ::pel::detail::MakeClassInfo<Self, Parent>(#Self); \
    return &info;                                                                            \
  }                                                                                          \
  ::pel::TClass ClassType() const override { return StaticClass(); }                         \
                                                                                             \
 private:

// The root of every class.
class TObject {
 public:
  TObject() = default;
  TObject(const TObject&) = delete;
  TObject& operator=(const TObject&) = delete;
  virtual ~TObject() = default;

  static TClass StaticClass();
  virtual TClass ClassType() const { return StaticClass(); }

  String ClassName() const;
  TClass ClassParent() const;
  bool InheritsFrom(TClass AClass) const { return ClassType()->InheritsFrom(AClass); }
  std::size_t InstanceSize() const;

  // Called by New and class references once the constructor has finished;
  // this is where construction may dispatch to descendants' overrides.
  virtual void AfterConstruction() {}
  // Called by Free before the destructor runs.
  virtual void BeforeDestruction() {}

  // The framework's interface lookup: store the interface IID of this object
  // in *Obj (without adding a reference) and return true, or return false and
  // leave *Obj untouched.
  virtual bool GetInterface(const TGUID& IID, void** Obj);
};

// Creates an object and completes its construction.
template <class T, class... A>
T* New(A&&... args) {
  T* obj = new T(std::forward<A>(args)...);
  try {
    obj->AfterConstruction();
  } catch (...) {
    delete obj;
    throw;
  }
  return obj;
}

// Destroys an object made with New (nothing for null): BeforeDestruction,
// then the destructor.
inline void Free(TObject* obj) {
  if (!obj) return;
  obj->BeforeDestruction();
  delete obj;
}

template <class T>
void FreeAndNil(T*& ref) {
  T* obj = ref;
  ref = nullptr;
  Free(obj);
}

struct FreeDeleter {
  void operator()(TObject* obj) const { Free(obj); }
};
template <class T>
using Owned = std::unique_ptr<T, FreeDeleter>;

template <class T, class... A>
Owned<T> Make(A&&... args) {
  return Owned<T>(New<T>(std::forward<A>(args)...));
}

namespace detail {
template <class T, class... A>
TObject* Construct(A... args) {
  return New<T>(std::forward<A>(args)...);
}
}  // namespace detail

// Raises EInvalidCast ("Invalid class typecast"); defined with the exceptions.
[[noreturn]] void RaiseInvalidCast();
// Raises EIntfCastError ("Interface not supported").
[[noreturn]] void RaiseIntfCast();
// Raises EClassNotFound-style errors for a class reference that cannot create.
[[noreturn]] void RaiseAbstractClass(TClass AClass);

namespace detail {
// Whether obj (not null) is exactly a T, read from the object's own type
// record without a call: the cheap answer for the casts' usual case. A
// false answer settles nothing (the type record of a class may exist once
// per module); the class chain then decides.
template <class T>
bool IsExactly(const TObject* obj) {
  return &typeid(*obj) == &typeid(T);
}
// The rest of the test, out of line so that the callers' usual path stays
// short.
template <class T>
[[gnu::noinline]] bool InheritsFrom(const TObject* obj) {
  return obj->InheritsFrom(T::StaticClass());
}
template <class T>
[[gnu::noinline]] T* CheckedCast(TObject* obj) {
  if (!obj->InheritsFrom(T::StaticClass())) RaiseInvalidCast();
  return static_cast<T*>(obj);
}
}  // namespace detail

template <class T>
bool Is(const TObject* obj) {
  return obj && (detail::IsExactly<T>(obj) || detail::InheritsFrom<T>(obj));
}

// The framework's checked cast: nil passes, a wrong class raises.
template <class T>
T* As(TObject* obj) {
  if (!obj || detail::IsExactly<T>(obj)) return static_cast<T*>(obj);
  return detail::CheckedCast<T>(obj);
}
template <class T>
const T* As(const TObject* obj) {
  return As<T>(const_cast<TObject*>(obj));
}

// A typed class reference: a TClass known to descend from Base, able to
// create instances through the family's virtual constructor.
template <class Base, class... A>
class TClassOf {
 public:
  constexpr TClassOf() = default;
  TClassOf(std::nullptr_t) {}
  TClassOf(TClass cls) : FClass(cls) {
    if (cls && !cls->InheritsFrom(Base::StaticClass())) RaiseInvalidCast();
  }
  template <class D, class = std::enable_if_t<std::is_base_of_v<Base, D>>>
  static TClassOf Of() {
    return TClassOf(D::StaticClass());
  }

  TClass Get() const { return FClass; }
  operator TClass() const { return FClass; }
  explicit operator bool() const { return FClass != nullptr; }
  const char* ClassName() const { return FClass ? FClass->Name : ""; }
  bool InheritsFrom(TClass c) const { return FClass && FClass->InheritsFrom(c); }

  // The virtual constructor: builds an instance of the referenced class.
  Base* Create(A... args) const {
    using Fn = TObject* (*)(A...);
    if (!FClass || !FClass->Factory ||
        FClass->FactoryFamily != &detail::kFamilyTag<TCtorArgs<A...>>)
      RaiseAbstractClass(FClass);
    auto fn = reinterpret_cast<Fn>(FClass->Factory);
    return static_cast<Base*>(fn(std::forward<A>(args)...));
  }

  friend bool operator==(const TClassOf& a, const TClassOf& b) { return a.FClass == b.FClass; }

 private:
  TClass FClass = nullptr;
};

// ---------------------------------------------------------------------------
// Currency: a fixed-point number with four decimals (int64 ten-thousandths).

struct Currency {
  int64_t Value = 0;  // in units of 1/10000
  static constexpr Currency FromRaw(int64_t raw) { return Currency{raw}; }
  static Currency FromDouble(double d);
  double ToDouble() const { return static_cast<double>(Value) / 10000.0; }
  friend constexpr bool operator==(Currency a, Currency b) { return a.Value == b.Value; }
  friend constexpr auto operator<=>(Currency a, Currency b) { return a.Value <=> b.Value; }
};

struct IInterface;
class Variant;

// One element of an open array of constants (the arguments of Format, and
// the record a tagged value copies itself from). It refers to the caller's
// values; it lives as long as the call's argument list does.
//
// The kind codes are the framework's, number for number. Where the
// framework's record points at an extended, a currency or an int64, this one
// holds the number itself.
struct TVarRec {
  enum TKind : uint8_t {
    vtInteger = 0,
    vtBoolean = 1,
    vtChar = 2,
    vtExtended = 3,
    vtString = 4,
    vtPointer = 5,
    vtPChar = 6,
    vtObject = 7,
    vtClass = 8,
    vtWideChar = 9,
    vtPWideChar = 10,
    vtAnsiString = 11,
    vtCurrency = 12,
    vtVariant = 13,
    vtInterface = 14,
    vtWideString = 15,
    vtInt64 = 16
  };
  TKind VType;
  union {
    int32_t VInteger;
    bool VBoolean;
    char VChar;
    double VExtended;
    const String* VString;  // the framework's short string
    const void* VPointer;
    const char* VPChar;
    TObject* VObject;
    TClass VClass;
    char16_t VWideChar;
    const char16_t* VPWideChar;
    const String* VAnsiString;
    int64_t VCurrency;  // raw Currency value
    const Variant* VVariant;
    IInterface* VInterface;
    const std::u16string* VWideString;
    int64_t VInt64;
  };

  TVarRec(int32_t v) : VType(vtInteger), VInteger(v) {}
  TVarRec(uint32_t v) : VType(vtInt64), VInt64(v) {}
  TVarRec(int64_t v) : VType(vtInt64), VInt64(v) {}
  TVarRec(long long v) : VType(vtInt64), VInt64(static_cast<int64_t>(v)) {}
  TVarRec(uint64_t v) : VType(vtInt64), VInt64(static_cast<int64_t>(v)) {}
  TVarRec(int16_t v) : VType(vtInteger), VInteger(v) {}
  TVarRec(uint16_t v) : VType(vtInteger), VInteger(v) {}
  TVarRec(uint8_t v) : VType(vtInteger), VInteger(v) {}
  TVarRec(bool v) : VType(vtBoolean), VBoolean(v) {}
  TVarRec(char v) : VType(vtChar), VChar(v) {}
  TVarRec(char16_t v) : VType(vtWideChar), VWideChar(v) {}
  TVarRec(double v) : VType(vtExtended), VExtended(v) {}
  TVarRec(float v) : VType(vtExtended), VExtended(v) {}
  TVarRec(const char* v) : VType(vtPChar), VPChar(v) {}
  TVarRec(const char16_t* v) : VType(vtPWideChar), VPWideChar(v) {}
  TVarRec(const String& v) : VType(vtAnsiString), VAnsiString(&v) {}
  TVarRec(const std::u16string& v) : VType(vtWideString), VWideString(&v) {}
  TVarRec(const Variant& v) : VType(vtVariant), VVariant(&v) {}
  TVarRec(Currency v) : VType(vtCurrency), VCurrency(v.Value) {}
  TVarRec(TClass v) : VType(vtClass), VClass(v) {}
  TVarRec(IInterface* v) : VType(vtInterface), VInterface(v) {}
  TVarRec(std::nullptr_t) : VType(vtPointer), VPointer(nullptr) {}
  // Objects and plain pointers: an object pointer is vtObject, anything else vtPointer.
  template <class T, class = std::enable_if_t<!std::is_same_v<std::remove_cv_t<T>, char> &&
                                              !std::is_same_v<std::remove_cv_t<T>, char16_t>>>
  TVarRec(T* v) {
    if constexpr (std::is_base_of_v<TObject, T>) {
      VType = vtObject;
      VObject = const_cast<std::remove_cv_t<T>*>(v);
    } else {
      VType = vtPointer;
      VPointer = v;
    }
  }
  // The framework's short string kind, which no C++ type selects by itself.
  static TVarRec ShortString(const String& v) {
    TVarRec r(v);
    r.VType = vtString;
    r.VString = &v;
    return r;
  }
};

using TVarRecs = std::initializer_list<TVarRec>;

// ---------------------------------------------------------------------------
// Interfaces

struct TGUID {
  uint32_t D1 = 0;
  uint16_t D2 = 0;
  uint16_t D3 = 0;
  uint8_t D4[8] = {};

  friend constexpr bool operator==(const TGUID& a, const TGUID& b) {
    if (a.D1 != b.D1 || a.D2 != b.D2 || a.D3 != b.D3) return false;
    for (int i = 0; i < 8; ++i)
      if (a.D4[i] != b.D4[i]) return false;
    return true;
  }

  // Parses the registry form "{XXXXXXXX-XXXX-XXXX-XXXX-XXXXXXXXXXXX}".
  static constexpr TGUID Parse(const char* s) {
    TGUID g;
    int pos = (s[0] == '{') ? 1 : 0;
    auto hex = [&](int digits) {
      uint32_t v = 0;
      for (int i = 0; i < digits; ++i) {
        char c = s[pos++];
        if (c == '-') c = s[pos++];
        uint32_t d = (c >= '0' && c <= '9')   ? uint32_t(c - '0')
                     : (c >= 'a' && c <= 'f') ? uint32_t(c - 'a' + 10)
                     : (c >= 'A' && c <= 'F') ? uint32_t(c - 'A' + 10)
                                              : throw "bad GUID";
        v = v * 16 + d;
      }
      return v;
    };
    g.D1 = hex(8);
    g.D2 = static_cast<uint16_t>(hex(4));
    g.D3 = static_cast<uint16_t>(hex(4));
    for (int i = 0; i < 8; ++i) g.D4[i] = static_cast<uint8_t>(hex(2));
    return g;
  }
};

String GUIDToString(const TGUID& g);

// The root interface. Implementations derive from it virtually so that a
// class implementing several interfaces has one reference count.
struct IInterface {
  static constexpr TGUID IID = TGUID::Parse("{00000000-0000-0000-C000-000000000046}");
  virtual HRESULT QueryInterface(const TGUID& IID, void** Obj) = 0;
  virtual int32_t AddRef() = 0;
  virtual int32_t Release() = 0;

 protected:
  ~IInterface() = default;
};

// A counted interface reference: copying adds a reference, destruction and
// reassignment release the old one.
template <class I>
class IPtr {
 public:
  IPtr() = default;
  IPtr(std::nullptr_t) {}
  IPtr(I* p) : FPtr(p) {
    if (FPtr) FPtr->AddRef();
  }
  IPtr(const IPtr& o) : IPtr(o.FPtr) {}
  IPtr(IPtr&& o) noexcept : FPtr(std::exchange(o.FPtr, nullptr)) {}
  template <class J, class = std::enable_if_t<std::is_convertible_v<J*, I*>>>
  IPtr(const IPtr<J>& o) : IPtr(static_cast<I*>(o.get())) {}
  ~IPtr() { reset(); }

  IPtr& operator=(const IPtr& o) {
    IPtr(o).swap(*this);
    return *this;
  }
  IPtr& operator=(IPtr&& o) noexcept {
    IPtr(std::move(o)).swap(*this);
    return *this;
  }
  IPtr& operator=(std::nullptr_t) {
    reset();
    return *this;
  }

  void reset() {
    if (I* p = std::exchange(FPtr, nullptr)) p->Release();
  }
  void swap(IPtr& o) noexcept { std::swap(FPtr, o.FPtr); }
  // Takes over a reference already counted (as QueryInterface returns one).
  static IPtr Attach(I* p) {
    IPtr r;
    r.FPtr = p;
    return r;
  }

  I* get() const { return FPtr; }
  I* operator->() const { return FPtr; }
  I& operator*() const { return *FPtr; }
  explicit operator bool() const { return FPtr != nullptr; }

  friend bool operator==(const IPtr& a, const IPtr& b) { return a.FPtr == b.FPtr; }
  friend bool operator==(const IPtr& a, std::nullptr_t) { return !a.FPtr; }

 private:
  I* FPtr = nullptr;
};

// Looks up interface I on an interface reference; null when unsupported.
template <class I, class J>
IPtr<I> Supports(const IPtr<J>& obj) {
  void* out = nullptr;
  if (obj && obj->QueryInterface(I::IID, &out) == S_OK)
    return IPtr<I>::Attach(static_cast<I*>(out));
  return nullptr;
}
template <class I, class J>
bool Supports(const IPtr<J>& obj, IPtr<I>& result) {
  result = Supports<I>(obj);
  return static_cast<bool>(result);
}
// Object form: asks the object's interface table.
template <class I>
IPtr<I> SupportsObj(TObject* obj) {
  void* out = nullptr;
  if (obj && obj->GetInterface(I::IID, &out)) return IPtr<I>(static_cast<I*>(out));
  return nullptr;
}
// The checked interface query (`as` on an interface): raises EIntfCastError.
template <class I, class J>
IPtr<I> IntfCast(const IPtr<J>& obj) {
  if (!obj) return nullptr;
  IPtr<I> r = Supports<I>(obj);
  if (!r) RaiseIntfCast();
  return r;
}

// GetInterface helper: answers for IInterface and each listed interface.
template <class Self, class... Is>
bool GetInterfaceOf(Self* self, const TGUID& IID, void** Obj) {
  if (IID == IInterface::IID) {
    *Obj = static_cast<IInterface*>(self);
    return true;
  }
  return ((IID == Is::IID ? (*Obj = static_cast<Is*>(self), true) : false) || ...);
}

// An object that implements IInterface with an atomic count and frees itself
// when the count falls to zero. The count is 1 during construction so that
// references taken there do not destroy the object early.
class TInterfacedObject : public TObject, public virtual IInterface {
  PEL_CLASS(TInterfacedObject, TObject)
 public:
  HRESULT QueryInterface(const TGUID& IID, void** Obj) override;
  int32_t AddRef() override;
  int32_t Release() override;
  bool GetInterface(const TGUID& IID, void** Obj) override;

  void AfterConstruction() override;
  void BeforeDestruction() override;
  int32_t RefCount() const { return FRefCount.load(); }

 protected:
  std::atomic<int32_t> FRefCount{1};
};

}  // namespace pel
