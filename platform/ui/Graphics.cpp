#include "platform/Graphics.h"

#include <cairo.h>

#include <cstdlib>

#include "platform/ui/DeviceContext.h"

namespace pel {

TColorRef ColorToRGB(TColor Color) {
  if (Color < 0) return GetSysColor(Color & 0xFF);
  return static_cast<TColorRef>(Color);
}

namespace {

// Number * Numerator / Denominator, rounded half away from zero.
int32_t MulDiv(int32_t Number, int32_t Numerator, int32_t Denominator) {
  int64_t p = static_cast<int64_t>(Number) * Numerator;
  int64_t q = (std::llabs(p) * 2 + Denominator) / (2 * static_cast<int64_t>(Denominator));
  return static_cast<int32_t>(p < 0 ? -q : q);
}

}  // namespace

void TGraphicsObject::Changed() {
  if (FOnChange) FOnChange(this);
}

// ---------------------------------------------------------------------------
// TFont

void TFont::Assign(TPersistent* Source) {
  if (auto* f = dynamic_cast<TFont*>(Source)) {
    FColor = f->FColor;
    FHeight = f->FHeight;
    FName = f->FName;
    FStyle = f->FStyle;
    FPitch = f->FPitch;
    FCharset = f->FCharset;
    Changed();
    return;
  }
  TGraphicsObject::Assign(Source);
}

void TFont::SetColor(TColor Value) {
  if (Value == FColor) return;
  FColor = Value;
  Changed();
}

void TFont::SetHeight(int32_t Value) {
  if (Value == FHeight) return;
  FHeight = Value;
  Changed();
}

int32_t TFont::GetSize() const { return -MulDiv(FHeight, 72, PixelsPerInch); }

void TFont::SetSize(int32_t Value) { SetHeight(-MulDiv(Value, PixelsPerInch, 72)); }

void TFont::SetName(const String& Value) {
  if (Value.empty() || Value == FName) return;
  FName = Value;
  Changed();
}

void TFont::SetStyle(TFontStyles Value) {
  if (Value == FStyle) return;
  FStyle = Value;
  Changed();
}

void TFont::SetPitch(TFontPitch Value) {
  if (Value == FPitch) return;
  FPitch = Value;
  Changed();
}

void TFont::SetCharset(TFontCharset Value) {
  if (Value == FCharset) return;
  FCharset = Value;
  Changed();
}

TLogFont TFont::GetLogFont() const {
  TLogFont f;
  f.Height = FHeight;
  f.Bold = FStyle & StyleBit(fsBold);
  f.Italic = FStyle & StyleBit(fsItalic);
  f.Underline = FStyle & StyleBit(fsUnderline);
  f.StrikeOut = FStyle & StyleBit(fsStrikeOut);
  f.FaceName = FName;
  return f;
}

// ---------------------------------------------------------------------------
// TBrush

void TBrush::Assign(TPersistent* Source) {
  if (auto* b = dynamic_cast<TBrush*>(Source)) {
    FColor = b->FColor;
    FStyle = b->FStyle;
    Changed();
    return;
  }
  TGraphicsObject::Assign(Source);
}

void TBrush::SetColor(TColor Value) {
  if (Value == FColor && FStyle == bsSolid) return;
  FColor = Value;
  FStyle = bsSolid;  // a colour makes a clear brush solid, as in the framework
  Changed();
}

void TBrush::SetStyle(TBrushStyle Value) {
  if (Value == FStyle) return;
  FStyle = Value;
  Changed();
}

// ---------------------------------------------------------------------------
// TCanvas

TCanvas::TCanvas() : FFont(New<TFont>()), FBrush(New<TBrush>()) {}

TCanvas::~TCanvas() {
  Free(FFont);
  Free(FBrush);
}

HDC TCanvas::GetHandle() {
  if (!FHandle) CreateHandle();
  if (!FHandle) throw EInvalidOperation(SNoCanvasHandle);
  SelectFont(FHandle, FFont->GetLogFont());
  pel::SetTextColor(FHandle, ColorToRGB(FFont->GetColor()));
  return FHandle;
}

void TCanvas::FillRect(const TRect& R) {
  HDC dc = GetHandle();
  if (FBrush->GetStyle() != bsClear) pel::FillRect(dc, R, ColorToRGB(FBrush->GetColor()));
}

void TCanvas::FrameRect(const TRect& R) {
  pel::FrameRect(GetHandle(), R, ColorToRGB(FBrush->GetColor()));
}

void TCanvas::TextOut(int32_t X, int32_t Y, const String& Text) {
  pel::TextOut(GetHandle(), X, Y, Text);
}

TSize TCanvas::TextExtent(const String& Text) {
  TSize size;
  GetTextExtentPoint32(GetHandle(), Text, size);
  return size;
}

TColor TCanvas::GetPixel(int32_t X, int32_t Y) {
  TColorRef c = pel::GetPixel(GetHandle(), X, Y);
  return c == CLR_INVALID ? -1 : static_cast<TColor>(c);
}

// ---------------------------------------------------------------------------
// TBitmap

TBitmap::TBitmap() : FCanvas(New<TCanvas>()) {}

TBitmap::~TBitmap() {
  FreeImage();
  Free(FCanvas);
}

void TBitmap::FreeImage() {
  DeleteDeviceContext(FCanvas->HandleAllocated() ? FCanvas->GetHandle() : nullptr);
  FCanvas->SetHandle(nullptr);
  if (FSurface) cairo_surface_destroy(static_cast<cairo_surface_t*>(FSurface));
  FSurface = nullptr;
}

void TBitmap::SetSize(int32_t Width, int32_t Height) {
  if (Width == FWidth && Height == FHeight) return;
  FreeImage();
  FWidth = Width;
  FHeight = Height;
  if (Width <= 0 || Height <= 0) return;
  auto* surface = cairo_image_surface_create(CAIRO_FORMAT_RGB24, Width, Height);
  FSurface = surface;
  HDC dc = CreateDeviceContext(surface);
  pel::FillRect(dc, Rect(0, 0, Width, Height), RGB(0xFF, 0xFF, 0xFF));
  FCanvas->SetHandle(dc);
}

void TBitmap::SaveToPNGFile(const String& FileName) {
  if (!FSurface || cairo_surface_write_to_png(static_cast<cairo_surface_t*>(FSurface),
                                              FileName.c_str()) != CAIRO_STATUS_SUCCESS)
    throw EInvalidGraphicOperation("Cannot write the image to " + FileName);
}

}  // namespace pel
