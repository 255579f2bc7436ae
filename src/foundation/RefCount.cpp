#include "foundation/RefCount.h"

namespace pel {

TRefCount::TRefCount(TObject* AOwner) : FOwner(AOwner) {}

TRefCount::~TRefCount() { FOwner = nullptr; }

HRESULT TRefCount::QueryInterface(const TGUID& IID, void** Obj) {
  void* found = nullptr;
  if (FOwner && FOwner->GetInterface(IID, &found)) {
    // The owner's interfaces count through this object.
    AddRef();
    *Obj = found;
    return S_OK;
  }
  return E_NOINTERFACE;
}

int32_t TRefCount::AddRef() { return ++FRefCount; }

int32_t TRefCount::Release() {
  int32_t n = --FRefCount;
  if (n == 0 && FOwnsObject && FOwner) Free(FOwner);
  return n;
}

}  // namespace pel
