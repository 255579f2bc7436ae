// Controls: controls, windowed controls, custom-drawn controls and the hint
// window.
//
// A TControl has bounds, a caption, a colour, a font and a bidirectional
// mode. Changes that others react to travel as messages through Perform and
// the virtual WndProc, which hands the control messages to their handlers
// (CMTextChanged, CMFontChanged, CMColorChanged); a descendant overrides a
// handler and calls the inherited one to pass the message on.
//
// A TWinControl owns a system window, made when its Handle is first asked
// for and destroyed with the control. Showing and hiding it through Visible
// (Show, Hide) shows and hides the window; ShowWindow on the handle changes
// only the window, as in the framework. The window is painted, when the
// screen is drawn, by PaintTo: the background in the control's colour, the
// border (NCPaint), then the client area through PaintWindow.
//
// A TCustomControl paints itself on its Canvas in the virtual Paint. Outside
// painting the canvas measures text only.
//
// A THintWindow is a bordered pop-up window for a line or a few of text.
// CalcHintRect answers the rectangle a text needs, word-wrapped within a
// maximum width, and ActivateHint shows the window over a rectangle with a
// text, kept on the screen and above other windows, without changing Visible.
// Between showings, setting the caption resizes the window to the text.
#pragma once

#include <cstdint>

#include "platform/Classes.h"
#include "platform/Graphics.h"
#include "platform/Windows.h"

namespace pel {

enum TBiDiMode : uint8_t {
  bdLeftToRight,
  bdRightToLeft,
  bdRightToLeftNoAlign,
  bdRightToLeftReadingOnly
};
inline const char* const kBiDiModeNames[] = {"bdLeftToRight", "bdRightToLeft",
                                             "bdRightToLeftNoAlign", "bdRightToLeftReadingOnly"};
inline const TTypeInfo TBiDiModeInfo = EnumTypeInfo("TBiDiMode", kBiDiModeNames);

struct TMessage {
  uint32_t Msg = 0;
  intptr_t WParam = 0;
  intptr_t LParam = 0;
  intptr_t Result = 0;
};

constexpr uint32_t CM_BASE = 0xB000;
constexpr uint32_t CM_COLORCHANGED = CM_BASE + 13;
constexpr uint32_t CM_FONTCHANGED = CM_BASE + 14;
constexpr uint32_t CM_TEXTCHANGED = CM_BASE + 18;

// The window styles a control asks for.
constexpr uint32_t WS_POPUP = 0x80000000u;
constexpr uint32_t WS_BORDER = 0x00800000u;

struct TCreateParams {
  uint32_t Style = 0;
};

class TControl : public TComponent {
  PEL_CLASS(TControl, TComponent)
 public:
  explicit TControl(TComponent* AOwner);
  void BeforeDestruction() override;

  int32_t GetLeft() const { return FLeft; }
  int32_t GetTop() const { return FTop; }
  int32_t GetWidth() const { return FWidth; }
  int32_t GetHeight() const { return FHeight; }
  void SetWidth(int32_t Value) { SetBounds(FLeft, FTop, Value, FHeight); }
  void SetHeight(int32_t Value) { SetBounds(FLeft, FTop, FWidth, Value); }
  virtual void SetBounds(int32_t ALeft, int32_t ATop, int32_t AWidth, int32_t AHeight);
  TRect GetBoundsRect() const { return Rect(FLeft, FTop, FLeft + FWidth, FTop + FHeight); }
  void SetBoundsRect(const TRect& R) { SetBounds(R.Left, R.Top, R.Width(), R.Height()); }
  // The drawing area, from 0, 0.
  virtual TRect GetClientRect() const { return Rect(0, 0, FWidth, FHeight); }

  bool GetVisible() const { return FVisible; }
  void SetVisible(bool Value);
  void Show() { SetVisible(true); }
  void Hide() { SetVisible(false); }

  // The caption (the framework's Caption and Text are one).
  const String& GetCaption() const { return FText; }
  void SetCaption(const String& Value);
  TColor GetColor() const { return FColor; }
  void SetColor(TColor Value);
  TFont* GetFont() const { return FFont; }
  void SetFont(TFont* Value) { FFont->Assign(Value); }
  TBiDiMode GetBiDiMode() const { return FBiDiMode; }
  void SetBiDiMode(TBiDiMode Value) { FBiDiMode = Value; }
  bool UseRightToLeftReading() const { return FBiDiMode != bdLeftToRight; }
  // DT_RTLREADING when the text reads right to left, else nothing.
  uint32_t DrawTextBiDiModeFlagsReadingOnly() const;

  // Sends a message to the control and answers its result.
  intptr_t Perform(uint32_t Msg, intptr_t WParam = 0, intptr_t LParam = 0);
  // Asks for the control to be drawn again.
  virtual void Invalidate() {}

 protected:
  virtual void WndProc(TMessage& Message);
  virtual void CMTextChanged(TMessage& Message);
  virtual void CMFontChanged(TMessage& Message);
  virtual void CMColorChanged(TMessage& Message);
  // Called when Visible changes.
  virtual void VisibleChanged() {}

 private:
  int32_t FLeft = 0;
  int32_t FTop = 0;
  int32_t FWidth = 0;
  int32_t FHeight = 0;
  bool FVisible = false;
  String FText;
  TColor FColor = clWindow;
  TFont* FFont;
  TBiDiMode FBiDiMode = bdLeftToRight;
};

class TWinControl : public TControl {
  PEL_CLASS(TWinControl, TControl)
 public:
  using TControl::TControl;
  void BeforeDestruction() override;

  // The window, made on first use.
  HWND GetHandle();
  bool HandleAllocated() const { return FHandle != nullptr; }
  void DestroyHandle();

  void SetBounds(int32_t ALeft, int32_t ATop, int32_t AWidth, int32_t AHeight) override;
  TRect GetClientRect() const override;
  void Invalidate() override {}

  // Draws the control with its top-left corner at X, Y of DC.
  void PaintTo(HDC DC, int32_t X, int32_t Y);

 protected:
  virtual void CreateParams(TCreateParams& Params);
  virtual void CreateHandle();
  void VisibleChanged() override;
  // Draws the border of a bordered window.
  virtual void NCPaint(HDC DC);
  // Draws the client area; DC's origin is the client area's corner.
  virtual void PaintWindow(HDC) {}
  // Width of the border on each side.
  int32_t BorderWidth() const;

 private:
  HWND FHandle = nullptr;
  uint32_t FStyle = 0;
};

// A canvas that draws on its control while the control paints, and measures
// on a scratch surface of its own otherwise.
class TControlCanvas : public TCanvas {
  PEL_CLASS(TControlCanvas, TCanvas)
 public:
  ~TControlCanvas() override;

 protected:
  void CreateHandle() override;

 private:
  friend class TCustomControl;
  HDC FScratch = nullptr;
};

class TCustomControl : public TWinControl {
  PEL_CLASS(TCustomControl, TWinControl)
 public:
  explicit TCustomControl(TComponent* AOwner);
  ~TCustomControl() override;
  TCanvas* GetCanvas() const { return FCanvas; }

 protected:
  // Draws the control on Canvas.
  virtual void Paint() {}
  void PaintWindow(HDC DC) override;

 private:
  TControlCanvas* FCanvas;
};

class THintWindow : public TCustomControl {
  PEL_CLASS(THintWindow, TCustomControl)
 public:
  explicit THintWindow(TComponent* AOwner);

  // The rectangle, from 0, 0, that shows AHint word-wrapped within
  // MaxWidth in the window's font.
  virtual TRect CalcHintRect(int32_t MaxWidth, const String& AHint, void* AData);
  // Shows the window over Rect (four pixels taller, kept on the screen)
  // with AHint as its caption.
  virtual void ActivateHint(TRect Rect, const String& AHint);

 protected:
  void CreateParams(TCreateParams& Params) override;
  void Paint() override;
  void CMTextChanged(TMessage& Message) override;

 private:
  bool FActivating = false;
};

}  // namespace pel
