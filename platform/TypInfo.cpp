#include "platform/TypInfo.h"

#include "platform/RTLConsts.h"

namespace pel {

namespace {
const char* const kBooleanNames[] = {"False", "True"};
}

const TTypeInfo TypeInfoInteger{tkInteger, "Integer"};
const TTypeInfo TypeInfoInt64{tkInt64, "Int64"};
const TTypeInfo TypeInfoBoolean = EnumTypeInfo("Boolean", kBooleanNames);
const TTypeInfo TypeInfoChar{tkChar, "Char"};
const TTypeInfo TypeInfoSingle{tkFloat, "Single", ftSingle};
const TTypeInfo TypeInfoDouble{tkFloat, "Double", ftDouble};
const TTypeInfo TypeInfoExtended{tkFloat, "Extended", ftExtended};
const TTypeInfo TypeInfoCurrency{tkFloat, "Currency", ftCurr};
const TTypeInfo TypeInfoString{tkLString, "AnsiString"};
const TTypeInfo TypeInfoNotifyEvent{tkMethod, "TNotifyEvent"};
const TTypeInfo TypeInfoVariant{tkVariant, "Variant"};

bool SameIdentifier(const String& A, const String& B) { return SameText(A, B); }

std::vector<const TPropInfo*> GetPropList(TClass AClass) {
  std::vector<TClass> chain;
  for (TClass c = AClass; c; c = c->Parent) chain.push_back(c);
  std::vector<const TPropInfo*> list;
  for (auto it = chain.rbegin(); it != chain.rend(); ++it) {
    if (!(*it)->PropTable) continue;
    const TPropTable* t = (*it)->PropTable();
    for (std::size_t i = 0; i < t->Count; ++i) {
      const TPropInfo* p = &t->Props[i];
      bool replaced = false;
      for (auto& q : list)
        if (SameIdentifier(q->Name, p->Name)) {
          q = p;
          replaced = true;
        }
      if (!replaced) list.push_back(p);
    }
  }
  return list;
}

const TPropInfo* GetPropInfo(TClass AClass, const String& Name) {
  // The most derived declaration wins, so search from the class upwards.
  for (TClass c = AClass; c; c = c->Parent) {
    if (!c->PropTable) continue;
    const TPropTable* t = c->PropTable();
    for (std::size_t i = 0; i < t->Count; ++i)
      if (SameIdentifier(t->Props[i].Name, Name)) return &t->Props[i];
  }
  return nullptr;
}

const TPropInfo* GetPropInfo(const TObject* Instance, const String& Name) {
  return Instance ? GetPropInfo(Instance->ClassType(), Name) : nullptr;
}

bool IsStoredProp(TObject* Instance, const TPropInfo* PropInfo) {
  if (PropInfo->StoredFn) return PropInfo->StoredFn(Instance);
  return PropInfo->StoredConst;
}

bool IsDefaultPropValue(TObject* Instance, const TPropInfo* P) {
  switch (P->PropType->Kind) {
    case tkInteger:
    case tkChar:
    case tkWChar:
    case tkEnumeration:
    case tkSet:
      return P->Default != kNoDefault && GetOrdProp(Instance, P) == P->Default;
    case tkInt64:
      return GetOrdProp(Instance, P) == 0;
    case tkFloat:
      return P->PropType->FloatType == ftCurr ? GetOrdProp(Instance, P) == 0
                                              : GetFloatProp(Instance, P) == 0.0;
    case tkLString:
    case tkString:
    case tkMethod:
      return GetStrProp(Instance, P).empty();
    case tkClass:
      return GetObjectProp(Instance, P) == nullptr;
    case tkVariant:
      return VarIsEmpty(GetVariantProp(Instance, P));
    case tkInterface:
      return GetInterfaceProp(Instance, P) == nullptr;
    default:
      return false;
  }
}

namespace {

[[noreturn]] void BadType(const TPropInfo* P) {
  throw EPropertyError(SInvalidPropertyType, {String(P->PropType->Name)});
}
[[noreturn]] void ReadOnly() { throw EPropertyError(SReadOnlyProperty); }

}  // namespace

int64_t GetOrdProp(TObject* Instance, const TPropInfo* P) {
  if (!P->GetOrd) BadType(P);
  return P->GetOrd(Instance);
}

void SetOrdProp(TObject* Instance, const TPropInfo* P, int64_t Value) {
  if (!P->GetOrd) BadType(P);
  if (!P->SetOrd) ReadOnly();
  P->SetOrd(Instance, Value);
}

double GetFloatProp(TObject* Instance, const TPropInfo* P) {
  if (P->GetFloat) return P->GetFloat(Instance);
  if (P->PropType->Kind == tkFloat && P->PropType->FloatType == ftCurr)
    return static_cast<double>(P->GetOrd(Instance)) / 10000.0;
  BadType(P);
}

void SetFloatProp(TObject* Instance, const TPropInfo* P, double Value) {
  if (P->GetFloat) {
    if (!P->SetFloat) ReadOnly();
    P->SetFloat(Instance, Value);
  } else if (P->PropType->Kind == tkFloat && P->PropType->FloatType == ftCurr) {
    if (!P->SetOrd) ReadOnly();
    P->SetOrd(Instance, Currency::FromDouble(Value).Value);
  } else {
    BadType(P);
  }
}

String GetStrProp(TObject* Instance, const TPropInfo* P) {
  if (!P->GetStr) BadType(P);
  return P->GetStr(Instance);
}

void SetStrProp(TObject* Instance, const TPropInfo* P, const String& Value) {
  if (!P->GetStr) BadType(P);
  if (!P->SetStr) ReadOnly();
  P->SetStr(Instance, Value);
}

TObject* GetObjectProp(TObject* Instance, const TPropInfo* P) {
  if (!P->GetObj) BadType(P);
  return P->GetObj(Instance);
}

void SetObjectProp(TObject* Instance, const TPropInfo* P, TObject* Value) {
  if (!P->GetObj) BadType(P);
  if (!P->SetObj) ReadOnly();
  P->SetObj(Instance, Value);
}

Variant GetVariantProp(TObject* Instance, const TPropInfo* P) {
  if (!P->GetVar) BadType(P);
  return P->GetVar(Instance);
}

void SetVariantProp(TObject* Instance, const TPropInfo* P, const Variant& Value) {
  if (!P->GetVar) BadType(P);
  if (!P->SetVar) ReadOnly();
  P->SetVar(Instance, Value);
}

TObject* GetInterfaceProp(TObject* Instance, const TPropInfo* P) {
  if (!P->GetIntf) BadType(P);
  return P->GetIntf(Instance);
}

void SetInterfaceProp(TObject* Instance, const TPropInfo* P, TObject* Implementor) {
  if (!P->GetIntf) BadType(P);
  if (!P->SetIntf) ReadOnly();
  if (!P->SetIntf(Instance, Implementor)) throw EPropertyError(SInvalidPropertyValue);
}

const TPropInfo* FindPropInfo(const TObject* Instance, const String& Name) {
  const TPropInfo* p = GetPropInfo(Instance, Name);
  if (!p) throw EPropertyError(SUnknownProperty, {Name});
  return p;
}

int64_t GetOrdProp(TObject* I, const String& N) { return GetOrdProp(I, FindPropInfo(I, N)); }
void SetOrdProp(TObject* I, const String& N, int64_t V) { SetOrdProp(I, FindPropInfo(I, N), V); }
double GetFloatProp(TObject* I, const String& N) { return GetFloatProp(I, FindPropInfo(I, N)); }
void SetFloatProp(TObject* I, const String& N, double V) { SetFloatProp(I, FindPropInfo(I, N), V); }
String GetStrProp(TObject* I, const String& N) { return GetStrProp(I, FindPropInfo(I, N)); }
void SetStrProp(TObject* I, const String& N, const String& V) {
  SetStrProp(I, FindPropInfo(I, N), V);
}
TObject* GetObjectProp(TObject* I, const String& N) { return GetObjectProp(I, FindPropInfo(I, N)); }
void SetObjectProp(TObject* I, const String& N, TObject* V) {
  SetObjectProp(I, FindPropInfo(I, N), V);
}

String GetEnumProp(TObject* Instance, const String& Name) {
  const TPropInfo* p = FindPropInfo(Instance, Name);
  return GetEnumName(p->PropType, GetOrdProp(Instance, p));
}

void SetEnumProp(TObject* Instance, const String& Name, const String& Value) {
  const TPropInfo* p = FindPropInfo(Instance, Name);
  int32_t v = GetEnumValue(p->PropType, Value);
  if (v < 0) throw EPropertyError(SInvalidPropertyValue);
  SetOrdProp(Instance, p, v);
}

String GetEnumName(const TTypeInfo* TypeInfo, int64_t Value) {
  if (TypeInfo->Kind != tkEnumeration || Value < 0 || Value >= TypeInfo->EnumCount) return String();
  return TypeInfo->EnumNames[Value];
}

int32_t GetEnumValue(const TTypeInfo* TypeInfo, const String& Name) {
  if (TypeInfo->Kind != tkEnumeration) return -1;
  for (int32_t i = 0; i < TypeInfo->EnumCount; ++i)
    if (SameIdentifier(TypeInfo->EnumNames[i], Name)) return i;
  return -1;
}

}  // namespace pel
