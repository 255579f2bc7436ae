#include "platform/Controls.h"

#include <cairo.h>

#include <algorithm>

#include "platform/Forms.h"
#include "platform/ui/DeviceContext.h"

namespace pel {

// ---------------------------------------------------------------------------
// TControl

TControl::TControl(TComponent* AOwner) : TComponent(AOwner), FFont(New<TFont>()) {
  FFont->SetOnChange([this](TObject*) { Perform(CM_FONTCHANGED); });
}

void TControl::BeforeDestruction() {
  TComponent::BeforeDestruction();
  FreeAndNil(FFont);
}

void TControl::SetBounds(int32_t ALeft, int32_t ATop, int32_t AWidth, int32_t AHeight) {
  FLeft = ALeft;
  FTop = ATop;
  FWidth = AWidth;
  FHeight = AHeight;
}

void TControl::SetVisible(bool Value) {
  if (Value == FVisible) return;
  FVisible = Value;
  VisibleChanged();
}

void TControl::SetCaption(const String& Value) {
  if (Value == FText) return;
  FText = Value;
  Perform(CM_TEXTCHANGED);
}

void TControl::SetColor(TColor Value) {
  if (Value == FColor) return;
  FColor = Value;
  Perform(CM_COLORCHANGED);
}

uint32_t TControl::DrawTextBiDiModeFlagsReadingOnly() const {
  return UseRightToLeftReading() ? DT_RTLREADING : 0;
}

intptr_t TControl::Perform(uint32_t Msg, intptr_t WParam, intptr_t LParam) {
  TMessage m{Msg, WParam, LParam, 0};
  WndProc(m);
  return m.Result;
}

void TControl::WndProc(TMessage& Message) {
  switch (Message.Msg) {
    case CM_TEXTCHANGED:
      CMTextChanged(Message);
      break;
    case CM_FONTCHANGED:
      CMFontChanged(Message);
      break;
    case CM_COLORCHANGED:
      CMColorChanged(Message);
      break;
    default:
      break;
  }
}

void TControl::CMTextChanged(TMessage&) { Invalidate(); }
void TControl::CMFontChanged(TMessage&) { Invalidate(); }
void TControl::CMColorChanged(TMessage&) { Invalidate(); }

// ---------------------------------------------------------------------------
// TWinControl

void TWinControl::BeforeDestruction() {
  DestroyHandle();
  TControl::BeforeDestruction();
}

HWND TWinControl::GetHandle() {
  if (!FHandle) CreateHandle();
  return FHandle;
}

void TWinControl::CreateParams(TCreateParams& Params) { Params = TCreateParams{}; }

void TWinControl::CreateHandle() {
  TCreateParams params;
  CreateParams(params);
  FStyle = params.Style;
  FHandle = CreateWindowHandle(GetBoundsRect(), [this](HDC DC) { PaintTo(DC, 0, 0); });
  if (GetVisible()) ShowWindow(FHandle, SW_SHOW);
}

void TWinControl::DestroyHandle() {
  if (!FHandle) return;
  DestroyWindow(FHandle);
  FHandle = nullptr;
}

void TWinControl::SetBounds(int32_t ALeft, int32_t ATop, int32_t AWidth, int32_t AHeight) {
  TControl::SetBounds(ALeft, ATop, AWidth, AHeight);
  if (FHandle)
    SetWindowPos(FHandle, HWND_TOP, ALeft, ATop, AWidth, AHeight, SWP_NOZORDER | SWP_NOACTIVATE);
}

int32_t TWinControl::BorderWidth() const {
  if (!FHandle) {
    TCreateParams params;
    const_cast<TWinControl*>(this)->CreateParams(params);
    return params.Style & WS_BORDER ? 1 : 0;
  }
  return FStyle & WS_BORDER ? 1 : 0;
}

TRect TWinControl::GetClientRect() const {
  int32_t b = BorderWidth();
  return Rect(0, 0, std::max(0, GetWidth() - 2 * b), std::max(0, GetHeight() - 2 * b));
}

void TWinControl::VisibleChanged() {
  // Showing makes the window; hiding one never made has nothing to do.
  if (GetVisible())
    ShowWindow(GetHandle(), SW_SHOW);
  else if (FHandle)
    ShowWindow(FHandle, SW_HIDE);
}

void TWinControl::NCPaint(HDC DC) {
  if (BorderWidth() > 0)
    FrameRect(DC, Rect(0, 0, GetWidth(), GetHeight()), ColorToRGB(clWindowFrame));
}

void TWinControl::PaintTo(HDC DC, int32_t X, int32_t Y) {
  int32_t saved = SaveDC(DC);
  OffsetViewportOrg(DC, X, Y);
  IntersectClipRect(DC, Rect(0, 0, GetWidth(), GetHeight()));
  if (GetColor() != clNone)
    FillRect(DC, Rect(0, 0, GetWidth(), GetHeight()), ColorToRGB(GetColor()));
  NCPaint(DC);
  int32_t b = BorderWidth();
  TRect client = GetClientRect();
  OffsetViewportOrg(DC, b, b);
  IntersectClipRect(DC, client);
  PaintWindow(DC);
  RestoreDC(DC, saved);
}

// ---------------------------------------------------------------------------
// TControlCanvas and TCustomControl

TControlCanvas::~TControlCanvas() { DeleteDeviceContext(FScratch); }

void TControlCanvas::CreateHandle() {
  if (!FScratch) {
    cairo_surface_t* s = cairo_image_surface_create(CAIRO_FORMAT_RGB24, 1, 1);
    FScratch = CreateDeviceContext(s);
    cairo_surface_destroy(s);  // the context keeps its own reference
  }
  SetHandle(FScratch);
}

TCustomControl::TCustomControl(TComponent* AOwner)
    : TWinControl(AOwner), FCanvas(New<TControlCanvas>()) {}

TCustomControl::~TCustomControl() { Free(FCanvas); }

void TCustomControl::PaintWindow(HDC DC) {
  FCanvas->SetHandle(DC);
  TryFinally([&] { Paint(); }, [&] { FCanvas->SetHandle(nullptr); });
}

// ---------------------------------------------------------------------------
// THintWindow

THintWindow::THintWindow(TComponent* AOwner) : TCustomControl(AOwner) {
  SetColor(0x80FFFF);
  GetFont()->Assign(Screen->GetHintFont());
}

void THintWindow::CreateParams(TCreateParams& Params) {
  TCustomControl::CreateParams(Params);
  Params.Style = WS_POPUP | WS_BORDER;
}

TRect THintWindow::CalcHintRect(int32_t MaxWidth, const String& AHint, void*) {
  TRect r = Rect(0, 0, MaxWidth, 0);
  GetCanvas()->SetFont(GetFont());
  DrawText(GetCanvas()->GetHandle(), AHint, r,
           DT_CALCRECT | DT_LEFT | DT_WORDBREAK | DT_NOPREFIX | DrawTextBiDiModeFlagsReadingOnly());
  r.Right += 6;
  r.Bottom += 2;
  return r;
}

void THintWindow::ActivateHint(TRect R, const String& AHint) {
  FActivating = true;
  TryFinally(
      [&] {
        SetCaption(AHint);
        R.Bottom += 4;
        SetBoundsRect(R);
        int32_t w = GetSystemMetrics(SM_CXSCREEN), h = GetSystemMetrics(SM_CYSCREEN);
        int32_t left = std::max(0, std::min(R.Left, w - GetWidth()));
        int32_t top = std::max(0, std::min(R.Top, h - GetHeight()));
        SetBounds(left, top, GetWidth(), GetHeight());
        SetWindowPos(GetHandle(), HWND_TOPMOST, left, top, GetWidth(), GetHeight(),
                     SWP_SHOWWINDOW | SWP_NOACTIVATE);
        Invalidate();
      },
      [&] { FActivating = false; });
}

void THintWindow::Paint() {
  TRect r = GetClientRect();
  r.Left += 2;
  r.Top += 2;
  GetCanvas()->SetFont(GetFont());
  DrawText(GetCanvas()->GetHandle(), GetCaption(), r,
           DT_LEFT | DT_NOPREFIX | DT_WORDBREAK | DrawTextBiDiModeFlagsReadingOnly());
}

void THintWindow::CMTextChanged(TMessage& Message) {
  TCustomControl::CMTextChanged(Message);
  if (FActivating) return;
  GetCanvas()->SetFont(GetFont());
  SetWidth(GetCanvas()->TextWidth(GetCaption()) + 6);
  SetHeight(GetCanvas()->TextHeight(GetCaption()) + 6);
}

}  // namespace pel
