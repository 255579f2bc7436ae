// RefCount: an interface reference count kept on behalf of another object.
//
// An object that wants to be handled through interfaces without deriving
// from TInterfacedObject holds a TRefCount and routes its IInterface
// operations to it:
//
//   HRESULT QueryInterface(const TGUID& iid, void** obj) override {
//     return FRefCount->QueryInterface(iid, obj); }
//   int32_t AddRef() override { return FRefCount->AddRef(); }
//   int32_t Release() override { return FRefCount->Release(); }
//
// The count starts at 0; the owner is destroyed only by the Release that
// brings the count to 0 (and only while OwnsObject is set), never on
// construction. The owner is expected to free its TRefCount when it is
// destroyed; a TRefCount never frees itself.
#pragma once

#include <atomic>

#include "platform/System.h"

namespace pel {

class TRefCount : public TObject {
  PEL_CLASS(TRefCount, TObject)
 public:
  explicit TRefCount(TObject* AOwner);
  ~TRefCount() override;

  // Asks the owner's interface table; S_OK (adding a reference) when the
  // owner has the interface, otherwise E_NOINTERFACE with Obj untouched.
  HRESULT QueryInterface(const TGUID& IID, void** Obj);
  int32_t AddRef();
  // Destroys the owner when the count falls to 0 and OwnsObject is set.
  int32_t Release();

  bool GetOwnsObject() const { return FOwnsObject; }
  void SetOwnsObject(bool Value) { FOwnsObject = Value; }
  int32_t GetRefCount() const { return FRefCount.load(); }
  TObject* GetOwner() const { return FOwner; }

 private:
  bool FOwnsObject = true;
  std::atomic<int32_t> FRefCount{0};
  TObject* FOwner;
};

}  // namespace pel
