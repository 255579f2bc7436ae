#include <gtest/gtest.h>

#include <vector>

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
  EXPECT_EQ(lone->Release(), -1);
  EXPECT_EQ(lone->QueryInterface(IInterface::IID, &out), E_NOINTERFACE);
  Free(lone);
  obj = New<TCounted>();
  obj->Count()->SetOwnsObject(false);
  obj->AddRef();
  EXPECT_EQ(obj->Release(), 0);
  EXPECT_EQ(gDestroyed, 1);
  Free(obj);
}

namespace {

// One position served as pointers and as strings.
class TWordIterator : public TInterfacedObject,
                      public TPointerIteratorAdapter,
                      public TStringIteratorAdapter {
  PEL_CLASS(TWordIterator, TInterfacedObject)
 public:
  explicit TWordIterator(std::vector<String> words) : FWords(std::move(words)) {}
  bool GetInterface(const TGUID& IID, void** Obj) override {
    return GetInterfaceOf<TWordIterator, IIterator, IStringIterator>(this, IID, Obj);
  }
  int32_t GetCount() override { return static_cast<int32_t>(FWords.size()); }
  bool HasMoreElements() override { return GetCount() - 1 > FPos; }
  void Reset() override { FPos = -1; }
  void* CurrentElementP() override { return &FWords[FPos]; }
  void* NextElementP() override { return &FWords[++FPos]; }
  String CurrentElementS() override { return FWords[FPos]; }
  String NextElementS() override { return FWords[++FPos]; }

 private:
  std::vector<String> FWords;
  int32_t FPos = -1;
};

}  // namespace

TEST(CommonInterfaces, IteratorsShareOnePosition) {
  IPtr<IStringIterator> s(New<TWordIterator>(std::vector<String>{"a", "b", "c"}));
  IPtr<IIterator> p = Supports<IIterator>(s);
  ASSERT_TRUE(p);
  EXPECT_EQ(s->NextElement(), "a");
  EXPECT_EQ(*static_cast<String*>(p->NextElement()), "b");
  EXPECT_EQ(s->CurrentElement(), "b");
  EXPECT_EQ(s->NextElement(), "c");
  EXPECT_FALSE(p->HasMoreElements());
  p->Reset();
  EXPECT_EQ(s->NextElement(), "a");
}

TEST(CommonInterfaces, IdentitiesAreDistinct) {
  const TGUID ids[] = {ICloneable::IID,      IIntegerLocation::IID, ILocation::IID,
                       IIterator::IID,       IStringIterator::IID,  IInterfaceIterator::IID,
                       IObjectIterator::IID, IBaseStreamToken::IID, IBaseStreamTokenList::IID,
                       IStreamable::IID,     IDTStreamable::IID,    IInterface::IID};
  for (std::size_t i = 0; i < std::size(ids); ++i)
    for (std::size_t j = i + 1; j < std::size(ids); ++j)
      EXPECT_FALSE(ids[i] == ids[j]) << i << "," << j;
}
