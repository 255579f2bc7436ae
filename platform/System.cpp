#include "platform/System.h"

#include <cmath>
#include <cstdio>

#include "platform/SysUtils.h"

namespace pel {

bool TClassInfo::InheritsFromAncestor(TClass AClass) const noexcept {
  for (TClass c = Parent; c; c = c->Parent)
    if (c == AClass) return true;
  return false;
}

TClass TObject::StaticClass() {
  static const TClassInfo info{"TObject",
                               nullptr,
                               detail::FactoryFor<TObject, TCtorArgs<>>::Get(),
                               &detail::kFamilyTag<TCtorArgs<>>,
                               sizeof(TObject),
                               nullptr};
  return &info;
}

String TObject::ClassName() const { return ClassType()->Name; }

TClass TObject::ClassParent() const { return ClassType()->Parent; }

std::size_t TObject::InstanceSize() const { return ClassType()->InstanceSize; }

bool TObject::GetInterface(const TGUID&, void**) { return false; }

void RaiseInvalidCast() { throw EInvalidCast(SysConst::SInvalidCast); }

void RaiseIntfCast() { throw EIntfCastError(SysConst::SIntfCastError); }

void RaiseAbstractClass(TClass AClass) {
  throw EAbstractError(
      Format("Cannot create an instance of %s", {String(AClass ? AClass->Name : "nil")}));
}

Currency Currency::FromDouble(double d) {
  return Currency{static_cast<int64_t>(std::llround(d * 10000.0))};
}

String GUIDToString(const TGUID& g) {
  char buf[40];
  std::snprintf(buf, sizeof buf, "{%08X-%04X-%04X-%02X%02X-%02X%02X%02X%02X%02X%02X}",
                unsigned(g.D1), unsigned(g.D2), unsigned(g.D3), g.D4[0], g.D4[1], g.D4[2], g.D4[3],
                g.D4[4], g.D4[5], g.D4[6], g.D4[7]);
  return buf;
}

// --- TInterfacedObject -----------------------------------------------------

HRESULT TInterfacedObject::QueryInterface(const TGUID& IID, void** Obj) {
  void* out = nullptr;
  if (GetInterface(IID, &out)) {
    // The returned pointer is the interface's own subobject; count the
    // reference on the object.
    AddRef();
    *Obj = out;
    return S_OK;
  }
  return E_NOINTERFACE;
}

int32_t TInterfacedObject::AddRef() { return ++FRefCount; }

int32_t TInterfacedObject::Release() {
  int32_t n = --FRefCount;
  if (n == 0) pel::Free(this);
  return n;
}

bool TInterfacedObject::GetInterface(const TGUID& IID, void** Obj) {
  return GetInterfaceOf<TInterfacedObject>(this, IID, Obj);
}

// The count starts at 1 so that the constructor may hand out references;
// construction is over, so drop that guard reference.
void TInterfacedObject::AfterConstruction() { --FRefCount; }

void TInterfacedObject::BeforeDestruction() {
  if (FRefCount.load() != 0) throw EInvalidPointer(SysConst::SInvalidPointer);
}

}  // namespace pel
