// TypInfo: published properties, the run-time description a filer walks.
//
// A class publishes properties by declaring a table in its body, after its
// PEL_CLASS line:
//
//   class TShape : public TComponent {
//     PEL_CLASS(TShape, TComponent)
//     PEL_PUBLISHED(TShape,
//       Property<&TShape::GetWidth, &TShape::SetWidth>("Width").WithDefault(10),
//       Property<&TShape::GetKind, &TShape::SetKind>("Kind", &TShapeKindInfo),
//       Property<&TShape::GetCaption, &TShape::SetCaption>("Caption"),
//       Property<&TShape::GetRatio, &TShape::SetRatio>("Ratio").StoredBy<&TShape::RatioStored>())
//    ...
//   };
//
// Each entry names a getter (a member function taking nothing) and a setter
// (taking the value; nullptr for a read-only property). The property's type
// follows from the getter's result: bool is Boolean, char Char, int64_t
// Int64, other integers Integer, float Single, double Double, Currency
// Currency, String a long string, Variant a variant, a pointer to a TObject
// descendant a class property, an IPtr an interface. An enumeration or a set (held as an integer bit mask, bit N for
// element N) gives its TTypeInfo as the second argument; so does an event,
// whose getter and setter carry the handler's method name (empty when
// unassigned) as a String, with TypeInfoNotifyEvent or its own method type.
//
// WithDefault(v) sets the ordinal default: an ordinal equal to it is not
// written. Without one the ordinal is always written (the framework's
// "nodefault"). Strings, floats and 64-bit integers are written when they
// are not empty / zero, variants when they are not Empty. NotStored() or StoredBy<&C::Fn>() decide whether the
// property is written at all.
//
// The table lives in the class's descriptor. GetPropList(AClass) returns the
// properties from the root class down, in declaration order; a descendant
// that lists a name its ancestor already published replaces that entry in
// place (to change the default, say).
#pragma once

#include <cstdint>
#include <iterator>
#include <type_traits>
#include <vector>

#include "platform/SysUtils.h"
#include "platform/Variants.h"

namespace pel {

PEL_EXCEPTION(EPropertyError, Exception)

enum TTypeKind : uint8_t {
  tkUnknown,
  tkInteger,
  tkChar,
  tkEnumeration,
  tkFloat,
  tkString,
  tkSet,
  tkClass,
  tkMethod,
  tkWChar,
  tkLString,
  tkWString,
  tkVariant,
  tkArray,
  tkRecord,
  tkInterface,
  tkInt64,
  tkDynArray
};

enum TFloatType : uint8_t { ftSingle, ftDouble, ftExtended, ftComp, ftCurr };

// The description of a property's type.
struct TTypeInfo {
  TTypeKind Kind;
  const char* Name;
  TFloatType FloatType = ftDouble;
  // Enumerations: the names of the values 0 .. EnumCount-1.
  const char* const* EnumNames = nullptr;
  int32_t EnumCount = 0;
  // Sets: the element type, an enumeration.
  const TTypeInfo* CompType = nullptr;
  // Class properties: the declared class.
  TClass ClassType = nullptr;
  // Interface properties: the declared interface.
  const TGUID* IntfGuid = nullptr;
};

// Describes an enumeration from its value names, in order.
template <std::size_t N>
constexpr TTypeInfo EnumTypeInfo(const char* Name, const char* const (&Names)[N]) {
  return TTypeInfo{tkEnumeration, Name, ftDouble, Names, static_cast<int32_t>(N), nullptr, nullptr};
}
// Describes a set of the enumeration Elem.
constexpr TTypeInfo SetTypeInfo(const char* Name, const TTypeInfo* Elem) {
  return TTypeInfo{tkSet, Name, ftDouble, nullptr, 0, Elem, nullptr};
}

extern const TTypeInfo TypeInfoInteger;
extern const TTypeInfo TypeInfoInt64;
extern const TTypeInfo TypeInfoBoolean;
extern const TTypeInfo TypeInfoChar;
extern const TTypeInfo TypeInfoSingle;
extern const TTypeInfo TypeInfoDouble;
extern const TTypeInfo TypeInfoExtended;
extern const TTypeInfo TypeInfoCurrency;
extern const TTypeInfo TypeInfoString;
extern const TTypeInfo TypeInfoNotifyEvent;
extern const TTypeInfo TypeInfoVariant;

// The framework's "nodefault" marker.
constexpr int64_t kNoDefault = INT32_MIN;

struct TPropInfo {
  const char* Name;
  const TTypeInfo* PropType;
  // Accessors; those of the property's kind are set. Ordinals (integer,
  // char, enumeration, set, int64) and currency (its raw value) go through
  // GetOrd/SetOrd, single and double through GetFloat/SetFloat, strings and
  // method names through GetStr/SetStr, class properties through
  // GetObj/SetObj, variants through GetVar/SetVar, interface properties through GetIntf/SetIntf: the object
  // behind the interface (null when it is none of ours), and a setter that
  // asks the object for the interface and answers false when it has none.
  // A read-only property has no setter.
  int64_t (*GetOrd)(TObject*) = nullptr;
  void (*SetOrd)(TObject*, int64_t) = nullptr;
  double (*GetFloat)(TObject*) = nullptr;
  void (*SetFloat)(TObject*, double) = nullptr;
  String (*GetStr)(TObject*) = nullptr;
  void (*SetStr)(TObject*, const String&) = nullptr;
  TObject* (*GetObj)(TObject*) = nullptr;
  void (*SetObj)(TObject*, TObject*) = nullptr;
  Variant (*GetVar)(TObject*) = nullptr;
  void (*SetVar)(TObject*, const Variant&) = nullptr;
  TObject* (*GetIntf)(TObject*) = nullptr;
  bool (*SetIntf)(TObject*, TObject*) = nullptr;
  int64_t Default = kNoDefault;
  bool StoredConst = true;
  bool (*StoredFn)(TObject*) = nullptr;

  bool HasSetter() const { return SetOrd || SetFloat || SetStr || SetObj || SetVar || SetIntf; }

  constexpr TPropInfo WithDefault(int64_t Value) const {
    TPropInfo r = *this;
    r.Default = Value;
    return r;
  }
  constexpr TPropInfo NotStored() const {
    TPropInfo r = *this;
    r.StoredConst = false;
    return r;
  }
  template <auto Fn>
  TPropInfo StoredBy() const;
};

// A class's own table (see PEL_PUBLISHED).
struct TPropTable {
  const TPropInfo* Props;
  std::size_t Count;
};

#define PEL_PUBLISHED(Self, ...)                                   \
 public:                                                           \
  using PublishedOwner = Self;                                     \
  static const ::pel::TPropTable* PublishedProps() {               \
    using namespace ::pel;                                         \
    static const ::pel::TPropInfo props[] = {__VA_ARGS__};         \
    static const ::pel::TPropTable table{props, std::size(props)}; \
    return &table;                                                 \
  }                                                                \
                                                                   \
 private:

// ---------------------------------------------------------------------------
// Lookup and typed access

// The class's published properties, root class first.
std::vector<const TPropInfo*> GetPropList(TClass AClass);
// The property named Name (case-insensitive), or null.
const TPropInfo* GetPropInfo(TClass AClass, const String& Name);
const TPropInfo* GetPropInfo(const TObject* Instance, const String& Name);
// Whether the property is written: its stored constant or test.
bool IsStoredProp(TObject* Instance, const TPropInfo* PropInfo);
// Whether the property holds its default (and so is not written without an
// ancestor): ordinals equal to Default, strings empty, floats and 64-bit
// integers zero, objects nil.
bool IsDefaultPropValue(TObject* Instance, const TPropInfo* PropInfo);

// Typed access through a property. A setter on a read-only property raises
// EPropertyError "Property is read-only"; a kind mismatch raises
// EPropertyError "Invalid property type: <type>".
int64_t GetOrdProp(TObject* Instance, const TPropInfo* PropInfo);
void SetOrdProp(TObject* Instance, const TPropInfo* PropInfo, int64_t Value);
double GetFloatProp(TObject* Instance, const TPropInfo* PropInfo);
void SetFloatProp(TObject* Instance, const TPropInfo* PropInfo, double Value);
String GetStrProp(TObject* Instance, const TPropInfo* PropInfo);
void SetStrProp(TObject* Instance, const TPropInfo* PropInfo, const String& Value);
TObject* GetObjectProp(TObject* Instance, const TPropInfo* PropInfo);
void SetObjectProp(TObject* Instance, const TPropInfo* PropInfo, TObject* Value);
Variant GetVariantProp(TObject* Instance, const TPropInfo* PropInfo);
void SetVariantProp(TObject* Instance, const TPropInfo* PropInfo, const Variant& Value);
// Interface properties, by the object that implements the interface. Setting
// an object that does not implement it raises EPropertyError; null clears.
TObject* GetInterfaceProp(TObject* Instance, const TPropInfo* PropInfo);
void SetInterfaceProp(TObject* Instance, const TPropInfo* PropInfo, TObject* Implementor);

// The same by name; an unknown name raises EPropertyError
// "Property <name> does not exist".
const TPropInfo* FindPropInfo(const TObject* Instance, const String& Name);
int64_t GetOrdProp(TObject* Instance, const String& Name);
void SetOrdProp(TObject* Instance, const String& Name, int64_t Value);
double GetFloatProp(TObject* Instance, const String& Name);
void SetFloatProp(TObject* Instance, const String& Name, double Value);
String GetStrProp(TObject* Instance, const String& Name);
void SetStrProp(TObject* Instance, const String& Name, const String& Value);
TObject* GetObjectProp(TObject* Instance, const String& Name);
void SetObjectProp(TObject* Instance, const String& Name, TObject* Value);
// Enumeration properties by value name.
String GetEnumProp(TObject* Instance, const String& Name);
void SetEnumProp(TObject* Instance, const String& Name, const String& Value);

// Identifiers (property, class and component names) compare without regard
// to ASCII case.
bool SameIdentifier(const String& A, const String& B);

// Enumeration names: GetEnumName is empty for a value out of range (and
// "False"/"True" for Boolean); GetEnumValue is -1 for an unknown name.
String GetEnumName(const TTypeInfo* TypeInfo, int64_t Value);
int32_t GetEnumValue(const TTypeInfo* TypeInfo, const String& Name);

// ---------------------------------------------------------------------------
// The Property builder

namespace detail {

template <class M>
struct MemberFn;
template <class C, class R>
struct MemberFn<R (C::*)() const> {
  using Class = C;
  using Result = std::decay_t<R>;
};
template <class C, class R>
struct MemberFn<R (C::*)()> {
  using Class = C;
  using Result = std::decay_t<R>;
};
template <class C, class R, class A>
struct MemberFn<R (C::*)(A)> {
  using Class = C;
  using Arg = std::decay_t<A>;
};

template <class T>
constexpr bool kIsObjectPtr =
    std::is_pointer_v<T>&& std::is_base_of_v<TObject, std::remove_cv_t<std::remove_pointer_t<T>>>;

template <class T>
struct IsIPtr : std::false_type {};
template <class I>
struct IsIPtr<IPtr<I>> : std::true_type {
  using Intf = I;
};

// Whether interface I declares an identifier of its own (one that merely
// inherits IInterface's cannot be asked for).
template <class I>
constexpr bool HasOwnIID() {
  if constexpr (std::is_same_v<I, IInterface>)
    return true;
  else if constexpr (requires { I::IID; })
    return &I::IID != &IInterface::IID;
  else
    return false;
}

template <class T>
const TTypeInfo* DefaultTypeOf() {
  if constexpr (std::is_same_v<T, bool>)
    return &TypeInfoBoolean;
  else if constexpr (std::is_same_v<T, char>)
    return &TypeInfoChar;
  else if constexpr (std::is_same_v<T, int64_t> || std::is_same_v<T, uint64_t>)
    return &TypeInfoInt64;
  else if constexpr (std::is_integral_v<T> || std::is_enum_v<T>)
    return &TypeInfoInteger;
  else if constexpr (std::is_same_v<T, float>)
    return &TypeInfoSingle;
  else if constexpr (std::is_same_v<T, double>)
    return &TypeInfoDouble;
  else if constexpr (std::is_same_v<T, Currency>)
    return &TypeInfoCurrency;
  else if constexpr (std::is_same_v<T, String>)
    return &TypeInfoString;
  else
    return nullptr;  // class properties get a type of their own
}

template <auto Get>
struct Getter {
  using F = MemberFn<decltype(Get)>;
  using C = typename F::Class;
  using R = typename F::Result;
  static R Call(TObject* o) { return (static_cast<C*>(o)->*Get)(); }
  static int64_t Ord(TObject* o) {
    if constexpr (std::is_same_v<R, Currency>)
      return Call(o).Value;
    else
      return static_cast<int64_t>(Call(o));
  }
  static double Float(TObject* o) { return static_cast<double>(Call(o)); }
  static String Str(TObject* o) { return Call(o); }
  static TObject* Obj(TObject* o) { return Call(o); }
  static Variant Var(TObject* o) { return Call(o); }
  // The object behind an interface: its implementing class derives from
  // TObject when it is one of ours.
  static TObject* Intf(TObject* o) { return dynamic_cast<TObject*>(Call(o).get()); }
};

template <auto Set>
struct Setter {
  using F = MemberFn<decltype(Set)>;
  using C = typename F::Class;
  using A = typename F::Arg;
  static void Ord(TObject* o, int64_t v) {
    if constexpr (std::is_same_v<A, Currency>)
      (static_cast<C*>(o)->*Set)(Currency::FromRaw(v));
    else if constexpr (std::is_same_v<A, bool>)
      (static_cast<C*>(o)->*Set)(v != 0);
    else
      (static_cast<C*>(o)->*Set)(static_cast<A>(v));
  }
  static void Float(TObject* o, double v) { (static_cast<C*>(o)->*Set)(static_cast<A>(v)); }
  static void Str(TObject* o, const String& v) { (static_cast<C*>(o)->*Set)(v); }
  static void Var(TObject* o, const Variant& v) { (static_cast<C*>(o)->*Set)(v); }
  static void Obj(TObject* o, TObject* v) {
    using P = std::remove_cv_t<std::remove_pointer_t<A>>;
    (static_cast<C*>(o)->*Set)(As<P>(v));
  }
  static bool Intf(TObject* o, TObject* v) {
    using I = typename IsIPtr<A>::Intf;
    // An interface with an identifier is asked for; one without (a hook
    // reached only through its property) is found by the object's class.
    A value;
    if constexpr (HasOwnIID<I>())
      value = SupportsObj<I>(v);
    else
      value = A(dynamic_cast<I*>(v));
    if (v && !value) return false;
    (static_cast<C*>(o)->*Set)(value);
    return true;
  }
};

template <class I>
const TTypeInfo* IntfTypeInfo() {
  const TGUID* iid = nullptr;
  if constexpr (HasOwnIID<I>()) iid = &I::IID;
  static const TTypeInfo info{tkInterface, "IInterface", ftDouble, nullptr,
                              0,           nullptr,      nullptr,  iid};
  return &info;
}

template <class R>
const TTypeInfo* ClassTypeInfo() {
  using P = std::remove_cv_t<std::remove_pointer_t<R>>;
  static const TTypeInfo info{tkClass, P::StaticClass()->Name, ftDouble, nullptr, 0,
                              nullptr, P::StaticClass()};
  return &info;
}

}  // namespace detail

// A property entry: Get is a getter member function, Set a setter or
// nullptr. Type overrides the type the getter's result implies.
template <auto Get, auto Set = nullptr>
TPropInfo Property(const char* Name, const TTypeInfo* Type = nullptr) {
  using G = detail::Getter<Get>;
  using R = typename G::R;
  constexpr bool kHasSet = !std::is_same_v<decltype(Set), std::nullptr_t>;
  TPropInfo p{};
  p.Name = Name;
  if constexpr (detail::IsIPtr<R>::value) {
    p.PropType = Type ? Type : detail::IntfTypeInfo<typename detail::IsIPtr<R>::Intf>();
    p.GetIntf = &G::Intf;
    if constexpr (kHasSet) p.SetIntf = &detail::Setter<Set>::Intf;
  } else if constexpr (detail::kIsObjectPtr<R>) {
    p.PropType = Type ? Type : detail::ClassTypeInfo<R>();
    p.GetObj = &G::Obj;
    if constexpr (kHasSet) p.SetObj = &detail::Setter<Set>::Obj;
  } else if constexpr (std::is_same_v<R, String>) {
    p.PropType = Type ? Type : &TypeInfoString;
    p.GetStr = &G::Str;
    if constexpr (kHasSet) p.SetStr = &detail::Setter<Set>::Str;
  } else if constexpr (std::is_same_v<R, Variant>) {
    p.PropType = Type ? Type : &TypeInfoVariant;
    p.GetVar = &G::Var;
    if constexpr (kHasSet) p.SetVar = &detail::Setter<Set>::Var;
  } else if constexpr (std::is_floating_point_v<R>) {
    p.PropType = Type ? Type : detail::DefaultTypeOf<R>();
    p.GetFloat = &G::Float;
    if constexpr (kHasSet) p.SetFloat = &detail::Setter<Set>::Float;
  } else {
    static_assert(std::is_integral_v<R> || std::is_enum_v<R> || std::is_same_v<R, Currency>,
                  "unsupported published property type");
    p.PropType = Type ? Type : detail::DefaultTypeOf<R>();
    p.GetOrd = &G::Ord;
    if constexpr (kHasSet) p.SetOrd = &detail::Setter<Set>::Ord;
  }
  return p;
}

template <auto Fn>
TPropInfo TPropInfo::StoredBy() const {
  using F = detail::MemberFn<decltype(Fn)>;
  TPropInfo r = *this;
  r.StoredFn = [](TObject* o) -> bool { return (static_cast<typename F::Class*>(o)->*Fn)(); };
  return r;
}

}  // namespace pel
