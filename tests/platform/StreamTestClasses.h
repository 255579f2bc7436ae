// Classes shared by the stream tests: a component with a published property
// of every kind, two collections of different item classes, a persistent
// sub-object, a component reference, defined properties and children. The
// Pascal programs under tests/data/streams declare the same classes.
#pragma once

#include <vector>

#include "platform/Classes.h"

namespace streamtest {

using namespace pel;

enum TShade : uint8_t { shLight, shDark, shNone };
inline const char* const kShadeNames[] = {"shLight", "shDark", "shNone"};
inline const TTypeInfo TShadeInfo = EnumTypeInfo("TShade", kShadeNames);
inline const TTypeInfo TShadesInfo = SetTypeInfo("TShades", &TShadeInfo);

// A persistent sub-object written as "Font.Size" and so on.
class TPen : public TPersistent {
  PEL_CLASS(TPen, TPersistent)
  PEL_PUBLISHED(TPen, Property<&TPen::GetWidth, &TPen::SetWidth>("Width").WithDefault(1),
                Property<&TPen::GetShade, &TPen::SetShade>("Shade", &TShadeInfo).WithDefault(0))
 public:
  int32_t GetWidth() const { return FWidth; }
  void SetWidth(int32_t v) { FWidth = v; }
  TShade GetShade() const { return FShade; }
  void SetShade(TShade v) { FShade = v; }
  int32_t FWidth = 1;
  TShade FShade = shLight;
};

class TPoint : public TCollectionItem {
  PEL_CLASS(TPoint, TCollectionItem)
  PEL_PUBLISHED(TPoint, Property<&TPoint::GetX, &TPoint::SetX>("X").WithDefault(0),
                Property<&TPoint::GetY, &TPoint::SetY>("Y").WithDefault(0))
 public:
  using TCollectionItem::TCollectionItem;
  int32_t GetX() const { return FX; }
  void SetX(int32_t v) { FX = v; }
  int32_t GetY() const { return FY; }
  void SetY(int32_t v) { FY = v; }
  int32_t FX = 0, FY = 0;
};

class TLabelItem : public TCollectionItem {
  PEL_CLASS(TLabelItem, TCollectionItem)
  PEL_PUBLISHED(TLabelItem, Property<&TLabelItem::GetText, &TLabelItem::SetText>("Text"),
                Property<&TLabelItem::GetSize, &TLabelItem::SetSize>("Size"))
 public:
  using TCollectionItem::TCollectionItem;
  String GetText() const { return FText; }
  void SetText(const String& v) { FText = v; }
  double GetSize() const { return FSize; }
  void SetSize(double v) { FSize = v; }
  String FText;
  double FSize = 0;
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
  int32_t GetCount() const { return FCount; }
  void SetCount(int32_t v) { FCount = v; }
  int64_t GetBig() const { return FBig; }
  void SetBig(int64_t v) { FBig = v; }
  bool GetFlag() const { return FFlag; }
  void SetFlag(bool v) { FFlag = v; }
  char GetMark() const { return FMark; }
  void SetMark(char v) { FMark = v; }
  TShade GetShade() const { return FShade; }
  void SetShade(TShade v) { FShade = v; }
  uint32_t GetShades() const { return FShades; }
  void SetShades(uint32_t v) { FShades = v; }
  double GetRatio() const { return FRatio; }
  void SetRatio(double v) { FRatio = v; }
  float GetScale() const { return FScale; }
  void SetScale(float v) { FScale = v; }
  Currency GetPrice() const { return FPrice; }
  void SetPrice(Currency v) { FPrice = v; }
  String GetTitle() const { return FTitle; }
  void SetTitle(const String& v) { FTitle = v; }
  String GetOnClick() const { return FOnClick; }
  void SetOnClick(const String& v) { FOnClick = v; }
  TPen* GetPen() const { return FPen; }
  void SetPen(TPen* v) { FPen->Assign(v); }
  TCollection* GetPoints() const { return FPoints; }
  void SetPoints(TCollection* v) { FPoints->Assign(v); }
  TCollection* GetLabels() const { return FLabels; }
  void SetLabels(TCollection* v) { FLabels->Assign(v); }
  TDrawing* GetBuddy() const { return FBuddy; }
  void SetBuddy(TDrawing* v) { FBuddy = v; }

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

  int32_t FCount = 0;
  int64_t FBig = 0;
  bool FFlag = false;
  char FMark = 'a';
  TShade FShade = shLight;
  uint32_t FShades = 0;
  double FRatio = 0;
  float FScale = 0;
  Currency FPrice;
  String FTitle, FOnClick;
  TPen* FPen = New<TPen>();
  TCollection* FPoints = New<TOwnedCollection>(this, TPoint::StaticClass());
  TCollection* FLabels = New<TOwnedCollection>(this, TLabelItem::StaticClass());
  TDrawing* FBuddy = nullptr;
  int32_t FExtra = 0;
  String FBlob;
  std::vector<String> FTags;
  int32_t FLoadedCount = 0;
};

inline void RegisterStreamTestClasses() { RegisterClass(TDrawing::StaticClass()); }

}  // namespace streamtest
