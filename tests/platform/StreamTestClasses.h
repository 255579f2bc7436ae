// Classes shared by the stream tests: a component with a published property
// of every kind, two collections of different item classes, a persistent
// sub-object, a component reference, defined properties and children. The
// Pascal programs under tests/data/streams declare the same classes.
#pragma once

#include <fstream>
#include <iterator>
#include <utility>
#include <vector>

#include "platform/Classes.h"

namespace streamtest {

using namespace pel;

enum TShade : uint8_t { shLight, shDark, shNone };
inline const char* const kShadeNames[] = {"shLight", "shDark", "shNone"};
inline const TTypeInfo TShadeInfo = EnumTypeInfo("TShade", kShadeNames);
inline const TTypeInfo TShadesInfo = SetTypeInfo("TShades", &TShadeInfo);

// A field FName with its getter GetName and setter SetName (the type
// information tests use it too).
#define STREAMTEST_FIELD(Type, Name, ...)          \
  Type Get##Name() const { return F##Name; }       \
  void Set##Name(Type v) { F##Name = std::move(v); } \
  Type F##Name{__VA_ARGS__};

// A persistent sub-object written as "Font.Size" and so on.
class TPen : public TPersistent {
  PEL_CLASS(TPen, TPersistent)
  PEL_PUBLISHED(TPen, Property<&TPen::GetWidth, &TPen::SetWidth>("Width").WithDefault(1),
                Property<&TPen::GetShade, &TPen::SetShade>("Shade", &TShadeInfo).WithDefault(0))
 public:
  STREAMTEST_FIELD(int32_t, Width, 1)
  STREAMTEST_FIELD(TShade, Shade, shLight)
};

class TPoint : public TCollectionItem {
  PEL_CLASS(TPoint, TCollectionItem)
  PEL_PUBLISHED(TPoint, Property<&TPoint::GetX, &TPoint::SetX>("X").WithDefault(0),
                Property<&TPoint::GetY, &TPoint::SetY>("Y").WithDefault(0))
 public:
  using TCollectionItem::TCollectionItem;
  STREAMTEST_FIELD(int32_t, X)
  STREAMTEST_FIELD(int32_t, Y)
};

class TLabelItem : public TCollectionItem {
  PEL_CLASS(TLabelItem, TCollectionItem)
  PEL_PUBLISHED(TLabelItem, Property<&TLabelItem::GetText, &TLabelItem::SetText>("Text"),
                Property<&TLabelItem::GetSize, &TLabelItem::SetSize>("Size"))
 public:
  using TCollectionItem::TCollectionItem;
  STREAMTEST_FIELD(String, Text)
  STREAMTEST_FIELD(double, Size)
};

// A component with a property of every kind, two collections of different
// item classes, a sub-object, a reference, defined properties and children.
class TDrawing : public TComponent {
  PEL_CLASS(TDrawing, TComponent)
  PEL_PUBLISHED(
      TDrawing, Property<&TDrawing::GetCount, &TDrawing::SetCount>("Count"),
      Property<&TDrawing::GetBig, &TDrawing::SetBig>("Big"),
      Property<&TDrawing::GetFlag, &TDrawing::SetFlag>("Flag").WithDefault(0),
      Property<&TDrawing::GetMark, &TDrawing::SetMark>("Mark").WithDefault('a'),
      Property<&TDrawing::GetShade, &TDrawing::SetShade>("Shade", &TShadeInfo),
      Property<&TDrawing::GetShades, &TDrawing::SetShades>("Shades", &TShadesInfo).WithDefault(0),
      Property<&TDrawing::GetRatio, &TDrawing::SetRatio>("Ratio"),
      Property<&TDrawing::GetScale, &TDrawing::SetScale>("Scale"),
      Property<&TDrawing::GetPrice, &TDrawing::SetPrice>("Price"),
      Property<&TDrawing::GetTitle, &TDrawing::SetTitle>("Title"),
      Property<&TDrawing::GetOnClick, &TDrawing::SetOnClick>("OnClick", &TypeInfoNotifyEvent),
      Property<&TDrawing::GetPen, &TDrawing::SetPen>("Pen"),
      Property<&TDrawing::GetPoints, &TDrawing::SetPoints>("Points"),
      Property<&TDrawing::GetLabels, &TDrawing::SetLabels>("Labels"),
      Property<&TDrawing::GetBuddy, &TDrawing::SetBuddy>("Buddy"))
 public:
  explicit TDrawing(TComponent* AOwner) : TComponent(AOwner) {}
  ~TDrawing() override {
    pel::Free(FPen);
    pel::Free(FPoints);
    pel::Free(FLabels);
  }
  STREAMTEST_FIELD(int32_t, Count)
  STREAMTEST_FIELD(int64_t, Big)
  STREAMTEST_FIELD(bool, Flag)
  STREAMTEST_FIELD(char, Mark, 'a')
  STREAMTEST_FIELD(TShade, Shade, shLight)
  STREAMTEST_FIELD(uint32_t, Shades)
  STREAMTEST_FIELD(double, Ratio)
  STREAMTEST_FIELD(float, Scale)
  STREAMTEST_FIELD(Currency, Price)
  STREAMTEST_FIELD(String, Title)
  STREAMTEST_FIELD(String, OnClick)
  STREAMTEST_FIELD(TDrawing*, Buddy)
  TPen* GetPen() const { return FPen; }
  void SetPen(TPen* v) { FPen->Assign(v); }
  TCollection* GetPoints() const { return FPoints; }
  void SetPoints(TCollection* v) { FPoints->Assign(v); }
  TCollection* GetLabels() const { return FLabels; }
  void SetLabels(TCollection* v) { FLabels->Assign(v); }

  void GetChildren(const TGetChildProc& Proc, TComponent* Root) override {
    if (Root != this) return;
    for (int32_t i = 0; i < GetComponentCount(); ++i) Proc(GetComponent(i));
  }
  void DefineProperties(TFiler* Filer) override {
    Filer->DefineProperty(
        "Extra", [this](TReader* r) { FExtra = r->ReadInteger(); },
        [this](TWriter* w) { w->WriteInteger(FExtra); }, FExtra != 0);
    Filer->DefineProperty(
        "Tags",
        [this](TReader* r) {
          FTags.clear();
          r->ReadListBegin();
          while (!r->EndOfList()) FTags.push_back(r->ReadString());
          r->ReadListEnd();
        },
        [this](TWriter* w) {
          w->WriteListBegin();
          for (auto& t : FTags) w->WriteString(t);
          w->WriteListEnd();
        },
        !FTags.empty());
    Filer->DefineBinaryProperty(
        "Blob",
        [this](TStream* s) {
          FBlob.resize(static_cast<std::size_t>(s->GetSize()));
          s->ReadBuffer(FBlob.data(), static_cast<int32_t>(FBlob.size()));
        },
        [this](TStream* s) { s->WriteBuffer(FBlob.data(), static_cast<int32_t>(FBlob.size())); },
        !FBlob.empty());
  }
  void Loaded() override {
    TComponent::Loaded();
    ++FLoadedCount;
  }

  TPen* FPen = New<TPen>();
  TCollection* FPoints = New<TOwnedCollection>(this, TPoint::StaticClass());
  TCollection* FLabels = New<TOwnedCollection>(this, TLabelItem::StaticClass());
  int32_t FExtra = 0;
  String FBlob;
  std::vector<String> FTags;
  int32_t FLoadedCount = 0;
};

inline void RegisterStreamTestClasses() { RegisterClass(TDrawing::StaticClass()); }

#ifdef PEL_TEST_DATA_DIR
// A stream the framework wrote (tests/data/streams); empty when missing.
inline String Fixture(const String& Name) {
  std::ifstream f(String(PEL_TEST_DATA_DIR) + "/streams/" + Name, std::ios::binary);
  return String(std::istreambuf_iterator<char>(f), {});
}
#endif

}  // namespace streamtest
