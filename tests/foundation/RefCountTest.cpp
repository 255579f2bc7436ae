#include <gtest/gtest.h>

#include "foundation/CommonInterfaces.h"
#include "foundation/RefCount.h"

using namespace pel;

namespace {

int gDestroyed = 0;

// An object that counts its interface references through a TRefCount.
class TCounted : public TObject, public virtual IInterface {
  PEL_CLASS(TCounted, TObject)
 public:
  TCounted() : FCount(New<TRefCount>(this)) {}
  ~TCounted() override {
    ++gDestroyed;
    Free(FCount);
  }
  HRESULT QueryInterface(const TGUID& IID, void** Obj) override {
    return FCount->QueryInterface(IID, Obj);
  }
  int32_t AddRef() override { return FCount->AddRef(); }
  int32_t Release() override { return FCount->Release(); }
  bool GetInterface(const TGUID& IID, void** Obj) override {
    return GetInterfaceOf<TCounted>(this, IID, Obj);
  }
  TRefCount* Count() { return FCount; }

 private:
  TRefCount* FCount;
};

}  // namespace

TEST(RefCount, OwnerDiesOnlyOnTheStepToZero) {
  gDestroyed = 0;
  TCounted* obj = New<TCounted>();
  EXPECT_EQ(obj->AddRef(), 1);  // construction takes no reference
  EXPECT_EQ(obj->AddRef(), 2);
  void* out = nullptr;
  ASSERT_EQ(obj->QueryInterface(IInterface::IID, &out), S_OK);
  void* untouched = &out;
  EXPECT_EQ(obj->QueryInterface(IIterator::IID, &untouched), E_NOINTERFACE);
  EXPECT_EQ(untouched, &out);
  EXPECT_EQ(obj->Release(), 2);
  EXPECT_EQ(obj->Release(), 1);
  EXPECT_EQ(gDestroyed, 0);
  EXPECT_EQ(obj->Release(), 0);
  EXPECT_EQ(gDestroyed, 1);

  // Without an owner, or not owning it, nothing is destroyed at zero.
  TRefCount* lone = New<TRefCount>(nullptr);
  lone->AddRef();
  EXPECT_EQ(lone->Release(), 0);
  EXPECT_EQ(lone->QueryInterface(IInterface::IID, &out), E_NOINTERFACE);
  Free(lone);
  obj = New<TCounted>();
  obj->Count()->SetOwnsObject(false);
  obj->AddRef();
  EXPECT_EQ(obj->Release(), 0);
  EXPECT_EQ(gDestroyed, 1);
  Free(obj);
}

// The iterator adapters are exercised through the hash tables' and the
// interface collections' enumerators.
TEST(CommonInterfaces, IdentitiesAreDistinct) {
  const TGUID ids[] = {ICloneable::IID,      IIntegerLocation::IID, ILocation::IID,
                       IIterator::IID,       IStringIterator::IID,  IInterfaceIterator::IID,
                       IObjectIterator::IID, IBaseStreamToken::IID, IBaseStreamTokenList::IID,
                       IStreamable::IID,     IDTStreamable::IID,    IInterface::IID};
  for (std::size_t i = 0; i < std::size(ids); ++i)
    for (std::size_t j = i + 1; j < std::size(ids); ++j)
      EXPECT_FALSE(ids[i] == ids[j]) << i << "," << j;
}
