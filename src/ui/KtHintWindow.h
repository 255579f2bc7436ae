// KtHintWindow: a hint window that hides itself after a while.
//
// TKtHintWindow is a hint window with a one-shot timer. ActivateHint shows
// it (over a rectangle, or at a point sized to its text within the screen's
// width) and starts the timer; when Interval milliseconds have passed since
// the latest showing, TimeOut stops the timer and hides the window through
// HideHint. A client may hide it earlier with HideHint, which does nothing
// to a window that is not shown.
//
// The text is painted word-wrapped, two pixels in from the client area's
// left and top edges, in the window's Font, and ampersands are drawn as
// they stand. The window's colour is the application's hint colour.
//
// Published: BiDiMode, Caption, Color, Font and Interval (the timer's, 1000
// unless set).
#pragma once

#include <cstdint>

#include "platform/Controls.h"
#include "platform/ExtCtrls.h"

namespace pel {

class TKtHintWindow : public THintWindow {
  PEL_CLASS(TKtHintWindow, THintWindow)
  PEL_PUBLISHED(TKtHintWindow,
                Property<&TKtHintWindow::GetBiDiMode, &TKtHintWindow::SetBiDiMode>("BiDiMode",
                                                                                   &TBiDiModeInfo)
                    .WithDefault(bdLeftToRight),
                Property<&TKtHintWindow::GetCaption, &TKtHintWindow::SetCaption>("Caption"),
                Property<&TKtHintWindow::GetColor, &TKtHintWindow::SetColor>("Color"),
                Property<&TKtHintWindow::GetFont, &TKtHintWindow::SetFont>("Font"),
                Property<&TKtHintWindow::GetInterval, &TKtHintWindow::SetInterval>("Interval")
                    .WithDefault(1000))
 public:
  // Takes the application's hint colour and makes the timer, stopped, with
  // TimeOut as its handler.
  explicit TKtHintWindow(TComponent* AOwner);
  // Frees the timer before the window goes.
  void BeforeDestruction() override;

  // Virtual operations, in the order descendants rely on (Paint comes
  // first, below).
  // Shows the hint over Rect and starts the delay afresh; does nothing while
  // an activation is under way.
  void ActivateHint(TRect Rect, const String& AHint) override;
  // Stops the timer and hides the hint.
  virtual void TimeOut(TObject* Sender);
  // Hides the window if it has one and it is shown.
  virtual void HideHint();

  // Shows AHint at Point, in the rectangle CalcHintRect gives for it within
  // the screen's width.
  void ActivateHint(TPoint Point, const String& AHint);

  uint32_t GetInterval() const { return FTimer->GetInterval(); }
  void SetInterval(uint32_t Value) { FTimer->SetInterval(Value); }
  void SetActivating(bool Value) { FActivating = Value; }

 protected:
  void Paint() override;
  void CMTextChanged(TMessage& Message) override;

 private:
  TTimer* FTimer;
  bool FActivating = false;
};

}  // namespace pel
