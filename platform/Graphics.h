// Graphics: colours, fonts, brushes, the canvas and the bitmap.
//
// A TFont is a persistent object that tells its listeners (OnChange) when
// any of its attributes changes; each setter compares first and does
// nothing when the value is the same, and Assign from another font copies
// every attribute and notifies once. Size (points) and Height (pixels,
// negative for the character height) are two views of one value at the
// screen's 96 pixels per inch. A new font is the platform's sans-serif face
// ("DejaVu Sans") at 8 points in the window text colour.
//
// A TCanvas draws through a device context (Handle): its Font and Brush are
// selected into the context whenever the canvas draws or measures. A canvas
// without a context asks CreateHandle for one and raises EInvalidOperation
// "Canvas does not allow drawing" when it gets none.
//
// A TBitmap is an image of its own size whose canvas draws into it; it can
// be written as a PNG file.
#pragma once

#include <cstdint>

#include "platform/Classes.h"
#include "platform/Windows.h"

namespace pel {

PEL_EXCEPTION(EInvalidGraphicOperation, Exception)

constexpr const char* SNoCanvasHandle = "Canvas does not allow drawing";

// A colour: 0x00BBGGRR, or a system colour (its index with the high bit
// set), or one of the two markers clNone and clDefault.
using TColor = int32_t;
constexpr TColor clBlack = 0x000000;
constexpr TColor clMaroon = 0x000080;
constexpr TColor clGreen = 0x008000;
constexpr TColor clNavy = 0x800000;
constexpr TColor clGray = 0x808080;
constexpr TColor clRed = 0x0000FF;
constexpr TColor clBlue = 0xFF0000;
constexpr TColor clYellow = 0x00FFFF;
constexpr TColor clWhite = 0xFFFFFF;
constexpr TColor clSystemColor = static_cast<TColor>(0x80000000u);
constexpr TColor clBackground = clSystemColor | COLOR_BACKGROUND;
constexpr TColor clWindow = clSystemColor | COLOR_WINDOW;
constexpr TColor clWindowFrame = clSystemColor | COLOR_WINDOWFRAME;
constexpr TColor clWindowText = clSystemColor | COLOR_WINDOWTEXT;
constexpr TColor clBtnFace = clSystemColor | COLOR_BTNFACE;
constexpr TColor clInfoText = clSystemColor | COLOR_INFOTEXT;
constexpr TColor clInfoBk = clSystemColor | COLOR_INFOBK;
constexpr TColor clNone = 0x1FFFFFFF;
constexpr TColor clDefault = 0x20000000;

// The colour the screen shows for Color (a system colour resolved).
TColorRef ColorToRGB(TColor Color);

enum TFontStyle : uint8_t { fsBold, fsItalic, fsUnderline, fsStrikeOut };
// A set of TFontStyle: bit N for element N.
using TFontStyles = uint8_t;
constexpr TFontStyles StyleBit(TFontStyle S) { return static_cast<TFontStyles>(1u << S); }
inline const char* const kFontStyleNames[] = {"fsBold", "fsItalic", "fsUnderline", "fsStrikeOut"};
inline const TTypeInfo TFontStyleInfo = EnumTypeInfo("TFontStyle", kFontStyleNames);
inline const TTypeInfo TFontStylesInfo = SetTypeInfo("TFontStyles", &TFontStyleInfo);

enum TFontPitch : uint8_t { fpDefault, fpVariable, fpFixed };
inline const char* const kFontPitchNames[] = {"fpDefault", "fpVariable", "fpFixed"};
inline const TTypeInfo TFontPitchInfo = EnumTypeInfo("TFontPitch", kFontPitchNames);

using TFontCharset = uint8_t;
constexpr TFontCharset DEFAULT_CHARSET = 1;

// The platform's sans-serif face, what a new font shows.
constexpr const char* DefFontName = "DejaVu Sans";

// A drawing tool that tells its listeners of changes.
class TGraphicsObject : public TPersistent {
  PEL_CLASS(TGraphicsObject, TPersistent)
 public:
  const TNotifyEvent& GetOnChange() const { return FOnChange; }
  void SetOnChange(TNotifyEvent Value) { FOnChange = std::move(Value); }

 protected:
  // Tells OnChange. Every attribute setter ends here.
  virtual void Changed();

 private:
  TNotifyEvent FOnChange;
};

class TFont : public TGraphicsObject {
  PEL_CLASS(TFont, TGraphicsObject)
  PEL_PUBLISHED(
      TFont, Property<&TFont::GetCharset, &TFont::SetCharset>("Charset"),
      Property<&TFont::GetColor, &TFont::SetColor>("Color"),
      Property<&TFont::GetHeight, &TFont::SetHeight>("Height"),
      Property<&TFont::GetName, &TFont::SetName>("Name"),
      Property<&TFont::GetPitch, &TFont::SetPitch>("Pitch", &TFontPitchInfo).WithDefault(fpDefault),
      Property<&TFont::GetSize, &TFont::SetSize>("Size").NotStored(),
      Property<&TFont::GetStyle, &TFont::SetStyle>("Style", &TFontStylesInfo))
 public:
  static constexpr int32_t PixelsPerInch = 96;

  // Another font: every attribute, then one notification.
  void Assign(TPersistent* Source) override;

  TColor GetColor() const { return FColor; }
  void SetColor(TColor Value);
  int32_t GetHeight() const { return FHeight; }
  void SetHeight(int32_t Value);
  // Points, from the height: -Height * 72 / PixelsPerInch, rounded.
  int32_t GetSize() const;
  void SetSize(int32_t Value);
  const String& GetName() const { return FName; }
  // An empty name is ignored.
  void SetName(const String& Value);
  TFontStyles GetStyle() const { return FStyle; }
  void SetStyle(TFontStyles Value);
  TFontPitch GetPitch() const { return FPitch; }
  void SetPitch(TFontPitch Value);
  TFontCharset GetCharset() const { return FCharset; }
  void SetCharset(TFontCharset Value);

  // The font as a device context takes it.
  TLogFont GetLogFont() const;

 private:
  TColor FColor = clWindowText;
  int32_t FHeight = -11;
  String FName = DefFontName;
  TFontStyles FStyle = 0;
  TFontPitch FPitch = fpDefault;
  TFontCharset FCharset = DEFAULT_CHARSET;
};

enum TBrushStyle : uint8_t { bsSolid, bsClear };

class TBrush : public TGraphicsObject {
  PEL_CLASS(TBrush, TGraphicsObject)
 public:
  void Assign(TPersistent* Source) override;
  TColor GetColor() const { return FColor; }
  void SetColor(TColor Value);
  TBrushStyle GetStyle() const { return FStyle; }
  void SetStyle(TBrushStyle Value);

 private:
  TColor FColor = clWhite;
  TBrushStyle FStyle = bsSolid;
};

class TCanvas : public TPersistent {
  PEL_CLASS(TCanvas, TPersistent)
 public:
  TCanvas();
  ~TCanvas() override;

  // The device context with the font selected (see the header).
  HDC GetHandle();
  void SetHandle(HDC Value) { FHandle = Value; }
  bool HandleAllocated() const { return FHandle != nullptr; }
  TFont* GetFont() const { return FFont; }
  void SetFont(TFont* Value) { FFont->Assign(Value); }
  TBrush* GetBrush() const { return FBrush; }

  // Fills R with the brush (nothing for a clear brush).
  void FillRect(const TRect& R);
  // A one-pixel frame in the brush's colour just inside R.
  void FrameRect(const TRect& R);
  // Draws Text with its top-left corner at X, Y in the font's colour.
  void TextOut(int32_t X, int32_t Y, const String& Text);
  TSize TextExtent(const String& Text);
  int32_t TextWidth(const String& Text) { return TextExtent(Text).cx; }
  int32_t TextHeight(const String& Text) { return TextExtent(Text).cy; }
  // The colour shown at X, Y (Pixels[X, Y] of the framework).
  TColor GetPixel(int32_t X, int32_t Y);

 protected:
  // Asked for a context when the canvas has none; the base has none to give.
  virtual void CreateHandle() {}

 private:
  HDC FHandle = nullptr;
  TFont* FFont;
  TBrush* FBrush;
};

// An image of its own size, white when made or resized.
class TBitmap : public TPersistent {
  PEL_CLASS(TBitmap, TPersistent)
 public:
  TBitmap();
  ~TBitmap() override;
  int32_t GetWidth() const { return FWidth; }
  int32_t GetHeight() const { return FHeight; }
  void SetSize(int32_t Width, int32_t Height);
  TCanvas* GetCanvas() const { return FCanvas; }
  // Writes the image as a PNG file; raises EInvalidGraphicOperation when
  // the file cannot be written.
  void SaveToPNGFile(const String& FileName);

 private:
  void FreeImage();

  int32_t FWidth = 0;
  int32_t FHeight = 0;
  void* FSurface = nullptr;  // the cairo image surface
  TCanvas* FCanvas;
};

}  // namespace pel
