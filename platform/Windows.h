// Windows: the few operating-system services the UI classes stand on.
//
// Geometry (TPoint, TRect), windows (a handle with a place on the screen, a
// shown flag and a paint procedure, stacked bottom to top), device contexts
// that draw into an image with cairo, text drawing with DrawText's line
// breaking, a millisecond clock and timers.
//
// Nothing here runs by itself: timers fire when the message loop asks
// (DispatchTimerMessages, called by Application->ProcessMessages), and the
// screen is drawn only when someone asks for a picture of it (PaintWindows).
//
// The clock is the monotonic system clock unless a program (a test) puts
// its own in with SetTickSource.
#pragma once

#include <cstdint>
#include <functional>

#include "platform/System.h"

namespace pel {

struct TPoint {
  int32_t X = 0;
  int32_t Y = 0;
  bool operator==(const TPoint&) const = default;
};

struct TSize {
  int32_t cx = 0;
  int32_t cy = 0;
  bool operator==(const TSize&) const = default;
};

struct TRect {
  int32_t Left = 0;
  int32_t Top = 0;
  int32_t Right = 0;
  int32_t Bottom = 0;
  int32_t Width() const { return Right - Left; }
  int32_t Height() const { return Bottom - Top; }
  bool operator==(const TRect&) const = default;
};

inline TPoint Point(int32_t X, int32_t Y) { return TPoint{X, Y}; }
inline TRect Rect(int32_t Left, int32_t Top, int32_t Right, int32_t Bottom) {
  return TRect{Left, Top, Right, Bottom};
}
// Moves R by DX, DY.
bool OffsetRect(TRect& R, int32_t DX, int32_t DY);

// A colour as the system takes it: 0x00BBGGRR.
using TColorRef = uint32_t;
inline TColorRef RGB(uint8_t R, uint8_t G, uint8_t B) {
  return R | (static_cast<TColorRef>(G) << 8) | (static_cast<TColorRef>(B) << 16);
}
// The system colours by index (COLOR_WINDOW and so on).
constexpr int32_t COLOR_BACKGROUND = 1;
constexpr int32_t COLOR_WINDOW = 5;
constexpr int32_t COLOR_WINDOWFRAME = 6;
constexpr int32_t COLOR_WINDOWTEXT = 8;
constexpr int32_t COLOR_BTNFACE = 15;
constexpr int32_t COLOR_BTNTEXT = 18;
constexpr int32_t COLOR_INFOTEXT = 23;
constexpr int32_t COLOR_INFOBK = 24;
TColorRef GetSysColor(int32_t Index);

// ---------------------------------------------------------------------------
// Windows

struct TWindowRecord;
// A window handle; null is no window.
using HWND = TWindowRecord*;
struct TDeviceContext;
// A device context: where drawing goes, with a selected font and text colour.
using HDC = TDeviceContext*;

// Paints a window into DC, whose origin is the window's top-left corner.
using TWindowPaintProc = std::function<void(HDC DC)>;

constexpr int32_t SW_HIDE = 0;
constexpr int32_t SW_SHOWNORMAL = 1;
constexpr int32_t SW_SHOWNOACTIVATE = 4;
constexpr int32_t SW_SHOW = 5;

constexpr uint32_t SWP_NOSIZE = 0x0001;
constexpr uint32_t SWP_NOMOVE = 0x0002;
constexpr uint32_t SWP_NOZORDER = 0x0004;
constexpr uint32_t SWP_NOACTIVATE = 0x0010;
constexpr uint32_t SWP_SHOWWINDOW = 0x0040;
constexpr uint32_t SWP_HIDEWINDOW = 0x0080;
inline const HWND HWND_TOP = nullptr;
inline const HWND HWND_TOPMOST = reinterpret_cast<HWND>(static_cast<intptr_t>(-1));

// A new hidden window over Bounds, on top of the others.
HWND CreateWindowHandle(const TRect& Bounds, TWindowPaintProc Paint);
bool DestroyWindow(HWND Wnd);
bool IsWindow(HWND Wnd);
// Shows or hides the window; answers whether it was visible before.
bool ShowWindow(HWND Wnd, int32_t CmdShow);
bool IsWindowVisible(HWND Wnd);
// Moves and sizes the window (unless SWP_NOMOVE / SWP_NOSIZE), brings it to
// the top (unless SWP_NOZORDER) and shows or hides it as the flags ask.
bool SetWindowPos(HWND Wnd, HWND InsertAfter, int32_t X, int32_t Y, int32_t CX, int32_t CY,
                  uint32_t Flags);
bool GetWindowRect(HWND Wnd, TRect& R);

constexpr int32_t SM_CXSCREEN = 0;
constexpr int32_t SM_CYSCREEN = 1;
int32_t GetSystemMetrics(int32_t Index);
// The screen's size in pixels (1024 x 768 unless set).
void SetScreenSize(int32_t Width, int32_t Height);

// Draws every visible window, bottom to top, into DC at its screen place.
void PaintWindows(HDC DC);

// ---------------------------------------------------------------------------
// Device contexts and text

// The font a device context draws with. Height is in pixels: negative for
// the character height, positive for the cell height (character plus
// internal leading), as a logical font has it.
struct TLogFont {
  int32_t Height = -11;
  bool Bold = false;
  bool Italic = false;
  bool Underline = false;
  bool StrikeOut = false;
  String FaceName;
};

void SelectFont(HDC DC, const TLogFont& Font);
void SetTextColor(HDC DC, TColorRef Color);
// Text is drawn transparently: only its glyphs are painted.
bool TextOut(HDC DC, int32_t X, int32_t Y, const String& Text);
// Width of Text and the height of the selected font's lines.
bool GetTextExtentPoint32(HDC DC, const String& Text, TSize& Size);
bool FillRect(HDC DC, const TRect& R, TColorRef Color);
// A one-pixel frame just inside R.
bool FrameRect(HDC DC, const TRect& R, TColorRef Color);
// The colour of the pixel at X, Y; CLR_INVALID outside the surface.
constexpr TColorRef CLR_INVALID = 0xFFFFFFFF;
TColorRef GetPixel(HDC DC, int32_t X, int32_t Y);
// Saves and restores the origin, clipping and font of DC.
int32_t SaveDC(HDC DC);
bool RestoreDC(HDC DC, int32_t Saved);
// Moves DC's origin by DX, DY.
bool OffsetViewportOrg(HDC DC, int32_t DX, int32_t DY);
// Restricts drawing to R as well.
bool IntersectClipRect(HDC DC, const TRect& R);

constexpr uint32_t DT_TOP = 0x0000;
constexpr uint32_t DT_LEFT = 0x0000;
constexpr uint32_t DT_CENTER = 0x0001;
constexpr uint32_t DT_RIGHT = 0x0002;
constexpr uint32_t DT_VCENTER = 0x0004;
constexpr uint32_t DT_BOTTOM = 0x0008;
constexpr uint32_t DT_WORDBREAK = 0x0010;
constexpr uint32_t DT_SINGLELINE = 0x0020;
constexpr uint32_t DT_NOCLIP = 0x0100;
constexpr uint32_t DT_CALCRECT = 0x0400;
constexpr uint32_t DT_NOPREFIX = 0x0800;
constexpr uint32_t DT_RTLREADING = 0x20000;

// Draws Text in R and answers the height of the text drawn.
//  - Lines end at CR, LF or CR LF, except with DT_SINGLELINE.
//  - DT_WORDBREAK breaks lines between words so that they fit R's width; a
//    word wider than R is not split. The spaces at a break are dropped.
//  - Without DT_NOPREFIX "&x" draws x underlined and "&&" one ampersand.
//  - DT_CENTER and DT_RIGHT align each line; DT_VCENTER and DT_BOTTOM place
//    a single line.
//  - DT_CALCRECT draws nothing: R's right and bottom become those of the
//    text (its widest line and its lines' heights).
//  - DT_RTLREADING is accepted: the drawing engine lays text out left to
//    right, which is what right-to-left reading order gives for the
//    left-to-right scripts it draws.
// The text is clipped to R unless DT_NOCLIP is given.
int32_t DrawText(HDC DC, const String& Text, TRect& R, uint32_t Format);

// ---------------------------------------------------------------------------
// Clock and timers

// Milliseconds from an arbitrary start, never going back.
uint32_t GetTickCount();
uint64_t GetTickCount64();
// A clock in milliseconds. SetTickSource puts one in (a null one restores
// the system's) and answers the one it replaces.
using TTickSource = std::function<uint64_t()>;
TTickSource SetTickSource(TTickSource Source);

using TTimerProc = std::function<void()>;
// A timer that calls Proc every Elapse milliseconds (at least 10) from now,
// when the message loop looks. Answers its identifier.
uintptr_t SetTimer(uint32_t Elapse, TTimerProc Proc);
bool KillTimer(uintptr_t Id);
// Calls each timer that is due, once however many periods have passed, and
// starts its next period from now. Answers whether any fired.
bool DispatchTimerMessages();

}  // namespace pel
