#include "platform/Forms.h"

namespace pel {

void TApplication::ProcessMessages() { DispatchTimerMessages(); }

TScreen::TScreen(TComponent* AOwner) : TComponent(AOwner), FHintFont(New<TFont>()) {
  FHintFont->SetColor(clInfoText);
}

void TScreen::BeforeDestruction() {
  TComponent::BeforeDestruction();
  FreeAndNil(FHintFont);
}

void TScreen::Capture(TBitmap* Bitmap) {
  Bitmap->SetSize(GetWidth(), GetHeight());
  HDC dc = Bitmap->GetCanvas()->GetHandle();
  FillRect(dc, Rect(0, 0, GetWidth(), GetHeight()), ColorToRGB(clBackground));
  PaintWindows(dc);
}

namespace {

// The two live as long as the program; they are freed when it ends.
template <class T>
T* MakeGlobal() {
  static Owned<T> instance(New<T>(nullptr));
  return instance.get();
}

}  // namespace

TApplication* const Application = MakeGlobal<TApplication>();
TScreen* const Screen = MakeGlobal<TScreen>();

}  // namespace pel
