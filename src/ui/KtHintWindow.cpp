#include "ui/KtHintWindow.h"

#include "platform/Forms.h"

namespace pel {

TKtHintWindow::TKtHintWindow(TComponent* AOwner) : THintWindow(AOwner) {
  SetColor(Application->GetHintColor());
  FTimer = New<TTimer>(this);
  FTimer->SetEnabled(false);
  FTimer->SetOnTimer([this](TObject* Sender) { TimeOut(Sender); }, "TimeOut");
}

void TKtHintWindow::BeforeDestruction() {
  FreeAndNil(FTimer);
  THintWindow::BeforeDestruction();
}

void TKtHintWindow::Paint() {
  TRect r = GetClientRect();
  r.Left += 2;
  r.Top += 2;
  GetCanvas()->SetFont(GetFont());
  DrawText(GetCanvas()->GetHandle(), GetCaption(), r,
           DrawTextBiDiModeFlagsReadingOnly() | DT_WORDBREAK | DT_NOPREFIX);
}

void TKtHintWindow::ActivateHint(TRect Rect, const String& AHint) {
  if (FActivating) return;
  FActivating = true;
  TryFinally(
      [&] {
        // Enabling a running timer would not restart it: stop it first so
        // that the delay counts from this showing.
        FTimer->SetEnabled(false);
        FTimer->SetEnabled(true);
        THintWindow::ActivateHint(Rect, AHint);
      },
      [&] { FActivating = false; });
}

void TKtHintWindow::TimeOut(TObject*) {
  FTimer->SetEnabled(false);
  HideHint();
}

void TKtHintWindow::HideHint() {
  if (HandleAllocated() && IsWindowVisible(GetHandle())) ShowWindow(GetHandle(), SW_HIDE);
}

void TKtHintWindow::ActivateHint(TPoint Point, const String& AHint) {
  TRect r = CalcHintRect(Screen->GetWidth(), AHint, nullptr);
  OffsetRect(r, Point.X, Point.Y);
  ActivateHint(r, AHint);
}

void TKtHintWindow::CMTextChanged(TMessage& Message) { THintWindow::CMTextChanged(Message); }

}  // namespace pel
