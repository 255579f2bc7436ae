#include "ui/KtDeltaFont.h"

namespace pel {

const TTypeInfo TypeInfoFontEvent{tkMethod, "TFontEvent"};

namespace {

// The styles in the order they are compared and copied, with their deltas.
struct TStyleDelta {
  TFontStyle Style;
  TDeltaAttribute Delta;
};
constexpr TStyleDelta kStyleDeltas[] = {
    {fsBold, daBold}, {fsItalic, daItalic}, {fsStrikeOut, daStrikeOut}, {fsUnderline, daUnderline}};

// Sets Flag for the duration of Body; Body is skipped when Flag is set.
template <class Body>
void Guarded(bool& Flag, Body&& body) {
  if (Flag) return;
  Flag = true;
  TryFinally(std::forward<Body>(body), [&] { Flag = false; });
}

}  // namespace

void TKtCustomDeltaFont::UpdateDeltas(TFont* Original) {
  Guarded(FUpdating, [&] {
    FDeltas = 0;
    for (const TStyleDelta& s : kStyleDeltas)
      if ((GetStyle() & StyleBit(s.Style)) != (Original->GetStyle() & StyleBit(s.Style)))
        FDeltas |= DeltaBit(s.Delta);
    if (GetColor() != Original->GetColor()) FDeltas |= DeltaBit(daColor);
    if (GetName() != Original->GetName()) FDeltas |= DeltaBit(daFace);
    if (GetSize() != Original->GetSize()) FDeltas |= DeltaBit(daSize);
  });
}

void TKtCustomDeltaFont::UpdateNonDelta(TFont* Original) {
  Guarded(FUpdating, [&] {
    TFontStyles style = GetStyle();
    for (const TStyleDelta& s : kStyleDeltas) {
      if (FDeltas & DeltaBit(s.Delta)) continue;
      style = static_cast<TFontStyles>((style & ~StyleBit(s.Style)) |
                                       (Original->GetStyle() & StyleBit(s.Style)));
    }
    SetStyle(style);
    if (!(FDeltas & DeltaBit(daColor))) SetColor(Original->GetColor());
    if (!(FDeltas & DeltaBit(daFace))) SetName(Original->GetName());
    if (!(FDeltas & DeltaBit(daSize))) SetSize(Original->GetSize());
  });
}

TFont* TKtCustomDeltaFont::OriginalFont() {
  TFont* original = nullptr;
  if (FOnGetOriginalFont) FOnGetOriginalFont(this, original);
  return original;
}

void TKtCustomDeltaFont::UpdateDeltas() {
  if (TFont* original = OriginalFont()) UpdateDeltas(original);
}

void TKtCustomDeltaFont::UpdateNonDelta() {
  if (TFont* original = OriginalFont()) UpdateNonDelta(original);
}

void TKtCustomDeltaFont::Changed() {
  if (!FUpdating) UpdateDeltas();
  TFont::Changed();
}

void TKtCustomDeltaFont::SetOnGetOriginalFont(TFontEvent Value, String Name) {
  FOnGetOriginalFont = std::move(Value);
  FOnGetOriginalFontName = FOnGetOriginalFont ? std::move(Name) : String();
}

void TKtCustomDeltaFont::SetOnGetOriginalFontName(const String& Value) {
  if (Value.empty()) FOnGetOriginalFont = nullptr;
  FOnGetOriginalFontName = Value;
}

}  // namespace pel
