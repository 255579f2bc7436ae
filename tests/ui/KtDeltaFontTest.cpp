#include <gtest/gtest.h>

#include "platform/Classes.h"
#include "platform/StreamText.h"
#include "ui/KtDeltaFont.h"

namespace pel {
namespace {

TEST(KtDeltaFont, EditsBecomeDeltasAndTheRestFollowsTheOriginal) {
  // An owner's font, and a delta font that follows it.
  auto original = Make<TFont>();
  auto font = Make<TKtDeltaFont>();
  int32_t notified = 0;
  font->SetOnGetOriginalFont([&](TObject*, TFont*& F) { F = original.get(); });
  font->SetOnChange([&](TObject*) { ++notified; });
  font->SetStyle(StyleBit(fsBold));
  EXPECT_EQ(font->GetDeltas(), DeltaBit(daBold));
  EXPECT_EQ(notified, 1);

  // The original changes: the owner copies what is not a delta.
  original->SetSize(14);
  original->SetColor(clRed);
  original->SetStyle(StyleBit(fsItalic));
  font->UpdateNonDelta();
  EXPECT_EQ(font->GetSize(), 14);
  EXPECT_EQ(font->GetColor(), clRed);
  EXPECT_EQ(font->GetStyle(), StyleBit(fsBold) | StyleBit(fsItalic));
  // Copying raised Changed on the way but did not recompute the deltas.
  EXPECT_EQ(font->GetDeltas(), DeltaBit(daBold));
  EXPECT_GT(notified, 1);

  // Every attribute maps to its own delta (italic, which the original has,
  // by being dropped).
  struct Case {
    const char* What;
    std::function<void(TFont*)> Edit;
    TDeltaAttributes Expected;
  };
  const Case cases[] = {
      {"colour", [](TFont* f) { f->SetColor(clBlue); }, DeltaBit(daColor)},
      {"face, other case", [](TFont* f) { f->SetName("dejavu sans"); }, DeltaBit(daFace)},
      {"size", [](TFont* f) { f->SetSize(20); }, DeltaBit(daSize)},
      {"styles", [](TFont* f) { f->SetStyle(StyleBit(fsUnderline) | StyleBit(fsStrikeOut)); },
       DeltaBit(daUnderline) | DeltaBit(daStrikeOut) | DeltaBit(daItalic)},
  };
  for (const Case& c : cases) {
    auto base = Make<TFont>();
    base->SetStyle(StyleBit(fsItalic));
    auto edited = Make<TKtDeltaFont>();
    edited->Assign(base.get());
    edited->SetOnGetOriginalFont([&](TObject*, TFont*& F) { F = base.get(); });
    c.Edit(edited.get());
    EXPECT_EQ(edited->GetDeltas(), c.Expected) << c.What;
    // Following the original again keeps exactly the edit.
    base->SetColor(clGreen);
    edited->UpdateNonDelta();
    EXPECT_EQ(edited->GetColor(), c.Expected & DeltaBit(daColor) ? clBlue : clGreen) << c.What;
  }
}

TEST(KtDeltaFont, WithoutAnOriginalNothingIsComparedOrCopied) {
  auto font = Make<TKtDeltaFont>();
  font->SetDeltas(DeltaBit(daSize) | DeltaBit(daColor));
  font->SetStyle(StyleBit(fsBold));
  EXPECT_EQ(font->GetDeltas(), DeltaBit(daSize) | DeltaBit(daColor));
  font->UpdateNonDelta();
  EXPECT_EQ(font->GetStyle(), StyleBit(fsBold));

  // Clearing the handler's name (as a stream may) drops the handler.
  auto original = Make<TFont>();
  font->SetOnGetOriginalFont([&](TObject*, TFont*& F) { F = original.get(); }, "Get");
  font->SetOnGetOriginalFontName("");
  font->SetColor(clRed);
  EXPECT_EQ(font->GetDeltas(), DeltaBit(daSize) | DeltaBit(daColor));
}

// A descendant's UpdateDeltas is the one Changed reaches.
class TCountingDeltaFont : public TKtDeltaFont {
  PEL_CLASS(TCountingDeltaFont, TKtDeltaFont)
 public:
  using TKtDeltaFont::UpdateDeltas;
  void UpdateDeltas(TFont* Original) override {
    ++Calls;
    TKtDeltaFont::UpdateDeltas(Original);
  }
  int32_t Calls = 0;
};

TEST(KtDeltaFont, AssignAndEditsGoThroughTheVirtualUpdate) {
  auto original = Make<TFont>();
  auto font = Make<TCountingDeltaFont>();
  font->SetOnGetOriginalFont([&](TObject*, TFont*& F) { F = original.get(); });
  font->Assign(original.get());
  EXPECT_EQ(font->Calls, 1);
  EXPECT_EQ(font->GetDeltas(), 0);
  original->SetSize(14);
  font->UpdateNonDelta();  // changes the size but recomputes nothing
  EXPECT_EQ(font->Calls, 1);
}

// A component that keeps a delta font, to stream it.
class TFontHolder : public TComponent {
  PEL_CLASS(TFontHolder, TComponent)
  PEL_PUBLISHED(TFontHolder, Property<&TFontHolder::GetFont, &TFontHolder::SetFont>("Font"))
 public:
  explicit TFontHolder(TComponent* AOwner) : TComponent(AOwner) {}
  ~TFontHolder() override { Free(FFont); }
  TKtDeltaFont* GetFont() const { return FFont; }
  void SetFont(TKtDeltaFont* Value) { FFont->Assign(Value); }

 private:
  TKtDeltaFont* FFont = New<TKtDeltaFont>();
};

TEST(KtDeltaFont, StreamsDeltasOnlyWhenThereAreSome) {
  RegisterClass(TFontHolder::StaticClass());
  auto holder = Make<TFontHolder>(nullptr);
  holder->GetFont()->SetOnGetOriginalFontName("HolderFont");
  String plain = test::TextOf(test::BytesOf(holder.get()));
  EXPECT_EQ(plain.find("Deltas"), String::npos) << plain;
  EXPECT_NE(plain.find("Font.OnGetOriginalFont = HolderFont"), String::npos) << plain;

  holder->GetFont()->SetStyle(StyleBit(fsBold));
  holder->GetFont()->SetDeltas(DeltaBit(daBold) | DeltaBit(daUnderline));
  auto copy = Make<TFontHolder>(nullptr);
  test::ReadInto(test::BytesOf(holder.get()), copy.get());
  EXPECT_EQ(copy->GetFont()->GetDeltas(), DeltaBit(daBold) | DeltaBit(daUnderline));
  EXPECT_EQ(copy->GetFont()->GetOnGetOriginalFontName(), "HolderFont");
}

}  // namespace
}  // namespace pel
