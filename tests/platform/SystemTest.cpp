#include <gtest/gtest.h>

#include "platform/SysUtils.h"
#include "platform/System.h"

using namespace pel;

namespace {

// A small family with a virtual constructor taking an int, and a log of the
// construction and destruction hooks.
std::string gLog;

class TShape : public TObject {
  PEL_CLASS(TShape, TObject)
 public:
  using TCreateArgs = TCtorArgs<int>;
  explicit TShape(int size) : FSize(size) {}
  void AfterConstruction() override { gLog += "after:" + Describe() + ";"; }
  void BeforeDestruction() override { gLog += "before:" + Describe() + ";"; }
  virtual std::string Describe() const { return "shape"; }
  int Size() const { return FSize; }

 private:
  int FSize;
};

class TSquare : public TShape {
  PEL_CLASS(TSquare, TShape)
 public:
  using TShape::TShape;
  std::string Describe() const override { return "square"; }
};

class TAbstractShape : public TShape {
  PEL_CLASS(TAbstractShape, TShape)
 public:
  using TShape::TShape;
  virtual void Draw() = 0;
};

using TShapeClass = TClassOf<TShape, int>;

}  // namespace

TEST(ObjectModel, DescriptorsCastsAndVirtualHooks) {
  Owned<TShape> sq = Make<TSquare>(3);
  EXPECT_EQ(sq->ClassParent(), TShape::StaticClass());
  EXPECT_FALSE(TShape::StaticClass()->InheritsFrom(TSquare::StaticClass()));
  // An ancestor is answered by the class chain, not the exact class.
  EXPECT_TRUE(Is<TShape>(sq.get()));
  EXPECT_FALSE(Is<TSquare>(static_cast<TObject*>(nullptr)));
  Owned<TShape> plain = Make<TShape>(1);
  EXPECT_FALSE(Is<TSquare>(plain.get()));
  EXPECT_THROW(As<TSquare>(plain.get()), EInvalidCast);
  EXPECT_EQ(As<TSquare>(static_cast<TObject*>(nullptr)), nullptr);

  // Construction through a class reference reaches the descendant's hooks.
  gLog.clear();
  TShapeClass cls = TSquare::StaticClass();
  TShape* s = cls.Create(7);
  EXPECT_EQ(s->ClassName(), "TSquare");
  EXPECT_EQ(s->Size(), 7);
  Free(s);
  EXPECT_EQ(gLog, "after:square;before:square;");
  // A class reference to an abstract class cannot create.
  EXPECT_THROW(TShapeClass(TAbstractShape::StaticClass()).Create(1), EAbstractError);
  // A class reference of the wrong family is refused.
  EXPECT_THROW((void)TShapeClass(TObject::StaticClass()), EInvalidCast);
}

namespace {

struct IGreeter : virtual IInterface {
  static constexpr TGUID IID = TGUID::Parse("{6E0C3B34-8F0E-4D8B-9B61-2C1D1E6A0001}");
  virtual std::string Greet() = 0;
};
struct IOther : virtual IInterface {
  static constexpr TGUID IID = TGUID::Parse("{6E0C3B34-8F0E-4D8B-9B61-2C1D1E6A0002}");
};

int gFreed = 0;

class TGreeter : public TInterfacedObject, public IGreeter {
  PEL_CLASS(TGreeter, TInterfacedObject)
 public:
  ~TGreeter() override { ++gFreed; }
  std::string Greet() override { return "hello"; }
  bool GetInterface(const TGUID& IID, void** Obj) override {
    return GetInterfaceOf<TGreeter, IGreeter>(this, IID, Obj);
  }
};

}  // namespace

TEST(ObjectModel, InterfacesCountAndFreeAtZero) {
  gFreed = 0;
  {
    IPtr<IInterface> any(static_cast<IGreeter*>(New<TGreeter>()));
    IPtr<IGreeter> g = Supports<IGreeter>(any);
    ASSERT_TRUE(g);
    EXPECT_EQ(g->Greet(), "hello");
    EXPECT_FALSE(Supports<IOther>(any));
    EXPECT_THROW(IntfCast<IOther>(any), EIntfCastError);
    IPtr<IGreeter> copy = g;
    copy = nullptr;
    EXPECT_EQ(gFreed, 0);
  }
  EXPECT_EQ(gFreed, 1);
  EXPECT_EQ(GUIDToString(IGreeter::IID), "{6E0C3B34-8F0E-4D8B-9B61-2C1D1E6A0001}");
}
