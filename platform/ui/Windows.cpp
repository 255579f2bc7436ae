#include "platform/Windows.h"

#include <algorithm>
#include <chrono>
#include <cmath>
#include <map>
#include <vector>

#include "platform/ui/DeviceContext.h"

namespace pel {

bool OffsetRect(TRect& R, int32_t DX, int32_t DY) {
  R.Left += DX;
  R.Right += DX;
  R.Top += DY;
  R.Bottom += DY;
  return true;
}

TColorRef GetSysColor(int32_t Index) {
  switch (Index) {
    case COLOR_BACKGROUND:
      return RGB(0x3A, 0x6E, 0xA5);
    case COLOR_WINDOW:
      return RGB(0xFF, 0xFF, 0xFF);
    case COLOR_BTNFACE:
      return RGB(0xD4, 0xD0, 0xC8);
    case COLOR_INFOBK:
      return RGB(0xFF, 0xFF, 0xE1);
    default:  // the frame and the texts
      return RGB(0, 0, 0);
  }
}

// ---------------------------------------------------------------------------
// Windows

struct TWindowRecord {
  TRect Bounds;
  bool Visible = false;
  bool Topmost = false;
  TWindowPaintProc Paint;
};

namespace {

struct TWindowSystem {
  // Bottom first.
  std::vector<TWindowRecord*> ZOrder;
  int32_t ScreenWidth = 1024;
  int32_t ScreenHeight = 768;
  ~TWindowSystem() {
    for (TWindowRecord* w : ZOrder) delete w;
  }
};

TWindowSystem& Windows() {
  static TWindowSystem system;
  return system;
}

// Puts Wnd on top of the windows of its kind (topmost ones stay above).
void BringToTop(HWND Wnd) {
  auto& z = Windows().ZOrder;
  z.erase(std::find(z.begin(), z.end(), Wnd));
  auto at = z.end();
  if (!Wnd->Topmost)
    at = std::find_if(z.begin(), z.end(), [](TWindowRecord* w) { return w->Topmost; });
  z.insert(at, Wnd);
}

}  // namespace

HWND CreateWindowHandle(const TRect& Bounds, TWindowPaintProc Paint) {
  auto* wnd = new TWindowRecord{Bounds, false, false, std::move(Paint)};
  Windows().ZOrder.push_back(wnd);
  BringToTop(wnd);
  return wnd;
}

bool IsWindow(HWND Wnd) {
  const auto& z = Windows().ZOrder;
  return Wnd && std::find(z.begin(), z.end(), Wnd) != z.end();
}

bool DestroyWindow(HWND Wnd) {
  if (!IsWindow(Wnd)) return false;
  auto& z = Windows().ZOrder;
  z.erase(std::find(z.begin(), z.end(), Wnd));
  delete Wnd;
  return true;
}

bool ShowWindow(HWND Wnd, int32_t CmdShow) {
  if (!IsWindow(Wnd)) return false;
  bool was = Wnd->Visible;
  Wnd->Visible = CmdShow != SW_HIDE;
  return was;
}

bool IsWindowVisible(HWND Wnd) { return IsWindow(Wnd) && Wnd->Visible; }

bool SetWindowPos(HWND Wnd, HWND InsertAfter, int32_t X, int32_t Y, int32_t CX, int32_t CY,
                  uint32_t Flags) {
  if (!IsWindow(Wnd)) return false;
  TRect& b = Wnd->Bounds;
  if (!(Flags & SWP_NOMOVE)) b = Rect(X, Y, X + b.Width(), Y + b.Height());
  if (!(Flags & SWP_NOSIZE)) b = Rect(b.Left, b.Top, b.Left + CX, b.Top + CY);
  if (!(Flags & SWP_NOZORDER)) {
    if (InsertAfter == HWND_TOPMOST) Wnd->Topmost = true;
    BringToTop(Wnd);
  }
  if (Flags & SWP_SHOWWINDOW) Wnd->Visible = true;
  if (Flags & SWP_HIDEWINDOW) Wnd->Visible = false;
  return true;
}

bool GetWindowRect(HWND Wnd, TRect& R) {
  if (!IsWindow(Wnd)) return false;
  R = Wnd->Bounds;
  return true;
}

int32_t GetSystemMetrics(int32_t Index) {
  switch (Index) {
    case SM_CXSCREEN:
      return Windows().ScreenWidth;
    case SM_CYSCREEN:
      return Windows().ScreenHeight;
    default:
      return 0;
  }
}

void SetScreenSize(int32_t Width, int32_t Height) {
  Windows().ScreenWidth = Width;
  Windows().ScreenHeight = Height;
}

void PaintWindows(HDC DC) {
  // A copy: a paint procedure may create or destroy windows.
  std::vector<TWindowRecord*> z = Windows().ZOrder;
  for (TWindowRecord* w : z) {
    if (!IsWindow(w) || !w->Visible || !w->Paint) continue;
    int32_t saved = SaveDC(DC);
    OffsetViewportOrg(DC, w->Bounds.Left, w->Bounds.Top);
    IntersectClipRect(DC, Rect(0, 0, w->Bounds.Width(), w->Bounds.Height()));
    w->Paint(DC);
    RestoreDC(DC, saved);
  }
}

// ---------------------------------------------------------------------------
// Device contexts

HDC CreateDeviceContext(cairo_surface_t* Surface) {
  auto* dc = new TDeviceContext;
  dc->Cr = cairo_create(Surface);
  return dc;
}

void DeleteDeviceContext(HDC DC) {
  if (!DC) return;
  cairo_destroy(DC->Cr);
  delete DC;
}

namespace {

void SetSourceColor(cairo_t* Cr, TColorRef Color) {
  cairo_set_source_rgb(Cr, (Color & 0xFF) / 255.0, ((Color >> 8) & 0xFF) / 255.0,
                       ((Color >> 16) & 0xFF) / 255.0);
}

// Strings are 8-bit text in the Latin-1 code page; cairo takes UTF-8.
std::string ToUtf8(const String& S) {
  std::string out;
  out.reserve(S.size());
  for (unsigned char c : S) {
    if (c < 0x80) {
      out += static_cast<char>(c);
    } else {
      out += static_cast<char>(0xC0 | (c >> 6));
      out += static_cast<char>(0x80 | (c & 0x3F));
    }
  }
  return out;
}

// Applies DC's font to its cairo context: the face by name (the font
// configuration picks the nearest face it has) at the pixel size the
// logical height asks for.
void ApplyFont(HDC DC) {
  const TLogFont& f = DC->Font;
  cairo_select_font_face(DC->Cr, f.FaceName.empty() ? "sans-serif" : f.FaceName.c_str(),
                         f.Italic ? CAIRO_FONT_SLANT_ITALIC : CAIRO_FONT_SLANT_NORMAL,
                         f.Bold ? CAIRO_FONT_WEIGHT_BOLD : CAIRO_FONT_WEIGHT_NORMAL);
  double em = 11;
  if (f.Height < 0) {
    em = -f.Height;
  } else if (f.Height > 0) {
    // A cell height: the em that gives lines of that height.
    cairo_set_font_size(DC->Cr, 100);
    cairo_font_extents_t fe;
    cairo_font_extents(DC->Cr, &fe);
    em = f.Height * 100 / (fe.ascent + fe.descent);
  }
  cairo_set_font_size(DC->Cr, em);
}

struct TLineMetrics {
  int32_t Ascent;
  int32_t Height;
};

TLineMetrics LineMetrics(HDC DC) {
  cairo_font_extents_t fe;
  cairo_font_extents(DC->Cr, &fe);
  int32_t ascent = static_cast<int32_t>(std::ceil(fe.ascent));
  return {ascent, ascent + static_cast<int32_t>(std::ceil(fe.descent))};
}

int32_t TextWidth(HDC DC, const String& Text) {
  if (Text.empty()) return 0;
  cairo_text_extents_t te;
  std::string utf8 = ToUtf8(Text);
  cairo_text_extents(DC->Cr, utf8.c_str(), &te);
  return static_cast<int32_t>(std::ceil(te.x_advance));
}

// Draws Text with its top-left corner at X, Y; Underlined marks the
// characters that get an underline of their own (prefix characters).
void DrawLine(HDC DC, int32_t X, int32_t Y, const String& Text,
              const std::vector<bool>* Underlined) {
  if (Text.empty()) return;
  cairo_t* cr = DC->Cr;
  TLineMetrics m = LineMetrics(DC);
  double em = DC->Font.Height < 0 ? -DC->Font.Height : m.Height * 0.8;
  double thickness = std::max(1.0, std::round(em / 14));
  SetSourceColor(cr, DC->TextColor);
  std::string utf8 = ToUtf8(Text);
  cairo_move_to(cr, X, Y + m.Ascent);
  cairo_show_text(cr, utf8.c_str());
  auto rule = [&](int32_t From, int32_t To, double AtY) {
    cairo_rectangle(cr, From, AtY, To - From, thickness);
    cairo_fill(cr);
  };
  int32_t width = TextWidth(DC, Text);
  int32_t underlineY = Y + m.Ascent + static_cast<int32_t>(std::ceil(em / 10));
  if (DC->Font.Underline) rule(X, X + width, underlineY);
  if (DC->Font.StrikeOut) rule(X, X + width, Y + m.Ascent - std::round(em * 0.3));
  if (Underlined) {
    for (std::size_t i = 0; i < Text.size(); ++i) {
      if (!(*Underlined)[i]) continue;
      int32_t from = X + TextWidth(DC, Text.substr(0, i));
      rule(from, X + TextWidth(DC, Text.substr(0, i + 1)), underlineY);
    }
  }
}

}  // namespace

void SelectFont(HDC DC, const TLogFont& Font) {
  DC->Font = Font;
  ApplyFont(DC);
}

void SetTextColor(HDC DC, TColorRef Color) { DC->TextColor = Color; }

bool TextOut(HDC DC, int32_t X, int32_t Y, const String& Text) {
  DrawLine(DC, X, Y, Text, nullptr);
  return true;
}

bool GetTextExtentPoint32(HDC DC, const String& Text, TSize& Size) {
  Size = TSize{TextWidth(DC, Text), LineMetrics(DC).Height};
  return true;
}

bool FillRect(HDC DC, const TRect& R, TColorRef Color) {
  SetSourceColor(DC->Cr, Color);
  cairo_rectangle(DC->Cr, R.Left, R.Top, R.Width(), R.Height());
  cairo_fill(DC->Cr);
  return true;
}

bool FrameRect(HDC DC, const TRect& R, TColorRef Color) {
  if (R.Width() <= 0 || R.Height() <= 0) return false;
  FillRect(DC, Rect(R.Left, R.Top, R.Right, R.Top + 1), Color);
  FillRect(DC, Rect(R.Left, R.Bottom - 1, R.Right, R.Bottom), Color);
  FillRect(DC, Rect(R.Left, R.Top, R.Left + 1, R.Bottom), Color);
  FillRect(DC, Rect(R.Right - 1, R.Top, R.Right, R.Bottom), Color);
  return true;
}

TColorRef GetPixel(HDC DC, int32_t X, int32_t Y) {
  double dx = X, dy = Y;
  cairo_user_to_device(DC->Cr, &dx, &dy);
  cairo_surface_t* s = cairo_get_target(DC->Cr);
  if (cairo_surface_get_type(s) != CAIRO_SURFACE_TYPE_IMAGE) return CLR_INVALID;
  cairo_surface_flush(s);
  int px = static_cast<int>(std::lround(dx)), py = static_cast<int>(std::lround(dy));
  if (px < 0 || py < 0 || px >= cairo_image_surface_get_width(s) ||
      py >= cairo_image_surface_get_height(s))
    return CLR_INVALID;
  const unsigned char* row = cairo_image_surface_get_data(s) +
                             static_cast<std::ptrdiff_t>(py) * cairo_image_surface_get_stride(s);
  uint32_t argb;
  std::copy_n(row + px * 4, 4, reinterpret_cast<unsigned char*>(&argb));
  return RGB((argb >> 16) & 0xFF, (argb >> 8) & 0xFF, argb & 0xFF);
}

int32_t SaveDC(HDC DC) {
  cairo_save(DC->Cr);
  DC->SavedFonts.push_back(DC->Font);
  return static_cast<int32_t>(DC->SavedFonts.size());
}

bool RestoreDC(HDC DC, int32_t Saved) {
  if (Saved <= 0 || Saved > static_cast<int32_t>(DC->SavedFonts.size())) return false;
  while (static_cast<int32_t>(DC->SavedFonts.size()) >= Saved) {
    cairo_restore(DC->Cr);
    DC->Font = DC->SavedFonts.back();
    DC->SavedFonts.pop_back();
  }
  return true;
}

bool OffsetViewportOrg(HDC DC, int32_t DX, int32_t DY) {
  cairo_translate(DC->Cr, DX, DY);
  return true;
}

bool IntersectClipRect(HDC DC, const TRect& R) {
  cairo_rectangle(DC->Cr, R.Left, R.Top, R.Width(), R.Height());
  cairo_clip(DC->Cr);
  return true;
}

// ---------------------------------------------------------------------------
// DrawText

namespace {

// The text as drawn: prefix characters taken out, the characters they mark
// flagged for an underline.
struct TDisplayText {
  String Text;
  std::vector<bool> Underlined;
};

TDisplayText ProcessPrefixes(const String& Text, bool Prefixes) {
  TDisplayText d;
  for (std::size_t i = 0; i < Text.size(); ++i) {
    bool mark = false;
    if (Prefixes && Text[i] == '&') {
      if (++i == Text.size()) break;
      mark = Text[i] != '&';
    }
    d.Text += Text[i];
    d.Underlined.push_back(mark);
  }
  return d;
}

struct TLine {
  std::size_t Start;
  std::size_t End;
};

bool IsBlank(char C) { return C == ' ' || C == '\t'; }

// Breaks one paragraph [Start, End) of Text into lines no wider than Width
// where words allow.
void WrapParagraph(HDC DC, const String& Text, std::size_t Start, std::size_t End, int32_t Width,
                   std::vector<TLine>& Lines) {
  // The first line keeps its leading blanks; later lines start at a word.
  std::size_t lineStart = Start, lineEnd = Start, pos = Start;
  bool any = false;
  while (pos < End) {
    std::size_t wordStart = pos;
    while (wordStart < End && IsBlank(Text[wordStart])) ++wordStart;
    if (wordStart == End) break;
    std::size_t wordEnd = wordStart;
    while (wordEnd < End && !IsBlank(Text[wordEnd])) ++wordEnd;
    if (any && TextWidth(DC, Text.substr(lineStart, wordEnd - lineStart)) > Width) {
      Lines.push_back({lineStart, lineEnd});
      lineStart = wordStart;
    }
    any = true;
    lineEnd = wordEnd;
    pos = wordEnd;
  }
  Lines.push_back({lineStart, lineEnd});
}

std::vector<TLine> BreakLines(HDC DC, const String& Text, int32_t Width, uint32_t Format) {
  std::vector<TLine> lines;
  if (Format & DT_SINGLELINE) {
    lines.push_back({0, Text.size()});
    return lines;
  }
  std::size_t start = 0;
  while (true) {
    std::size_t end = Text.find_first_of("\r\n", start);
    std::size_t stop = end == String::npos ? Text.size() : end;
    if (Format & DT_WORDBREAK)
      WrapParagraph(DC, Text, start, stop, Width, lines);
    else
      lines.push_back({start, stop});
    if (end == String::npos) break;
    start = end + (Text.compare(end, 2, "\r\n") == 0 ? 2 : 1);
  }
  return lines;
}

}  // namespace

int32_t DrawText(HDC DC, const String& Text, TRect& R, uint32_t Format) {
  if (Text.empty()) {
    if (Format & DT_CALCRECT) R = Rect(R.Left, R.Top, R.Left, R.Top);
    return 0;
  }
  TDisplayText d = ProcessPrefixes(Text, !(Format & DT_NOPREFIX));
  std::vector<TLine> lines = BreakLines(DC, d.Text, R.Width(), Format);
  int32_t lineHeight = LineMetrics(DC).Height;
  int32_t height = lineHeight * static_cast<int32_t>(lines.size());
  if (Format & DT_CALCRECT) {
    int32_t widest = 0;
    for (const TLine& l : lines)
      widest = std::max(widest, TextWidth(DC, d.Text.substr(l.Start, l.End - l.Start)));
    R.Right = R.Left + widest;
    R.Bottom = R.Top + height;
    return height;
  }
  int32_t y = R.Top;
  if (Format & DT_SINGLELINE) {
    if (Format & DT_VCENTER) y = R.Top + (R.Height() - lineHeight) / 2;
    if (Format & DT_BOTTOM) y = R.Bottom - lineHeight;
  }
  cairo_save(DC->Cr);
  if (!(Format & DT_NOCLIP)) IntersectClipRect(DC, R);
  for (const TLine& l : lines) {
    String line = d.Text.substr(l.Start, l.End - l.Start);
    std::vector<bool> marks(d.Underlined.begin() + static_cast<std::ptrdiff_t>(l.Start),
                            d.Underlined.begin() + static_cast<std::ptrdiff_t>(l.End));
    int32_t x = R.Left;
    if (Format & DT_CENTER) x = R.Left + (R.Width() - TextWidth(DC, line)) / 2;
    if (Format & DT_RIGHT) x = R.Right - TextWidth(DC, line);
    DrawLine(DC, x, y, line, &marks);
    y += lineHeight;
  }
  cairo_restore(DC->Cr);
  return height;
}

// ---------------------------------------------------------------------------
// Clock and timers

namespace {

TTickSource& TickSource() {
  static TTickSource source;
  return source;
}

struct TTimerRecord {
  uint32_t Elapse;
  uint64_t Due;
  TTimerProc Proc;
};

struct TTimers {
  std::map<uintptr_t, TTimerRecord> Active;
  uintptr_t NextId = 1;
};

TTimers& Timers() {
  static TTimers timers;
  return timers;
}

}  // namespace

uint64_t GetTickCount64() {
  if (TickSource()) return TickSource()();
  using namespace std::chrono;
  return static_cast<uint64_t>(
      duration_cast<milliseconds>(steady_clock::now().time_since_epoch()).count());
}

uint32_t GetTickCount() { return static_cast<uint32_t>(GetTickCount64()); }

TTickSource SetTickSource(TTickSource Source) {
  std::swap(TickSource(), Source);
  return Source;
}

uintptr_t SetTimer(uint32_t Elapse, TTimerProc Proc) {
  Elapse = std::max<uint32_t>(Elapse, 10);
  uintptr_t id = Timers().NextId++;
  Timers().Active[id] = TTimerRecord{Elapse, GetTickCount64() + Elapse, std::move(Proc)};
  return id;
}

bool KillTimer(uintptr_t Id) { return Timers().Active.erase(Id) > 0; }

bool DispatchTimerMessages() {
  uint64_t now = GetTickCount64();
  std::vector<uintptr_t> due;
  for (const auto& [id, timer] : Timers().Active)
    if (timer.Due <= now) due.push_back(id);
  for (uintptr_t id : due) {
    // A timer fired earlier in this round may have killed this one.
    auto it = Timers().Active.find(id);
    if (it == Timers().Active.end()) continue;
    it->second.Due = now + it->second.Elapse;
    TTimerProc proc = it->second.Proc;
    proc();
  }
  return !due.empty();
}

}  // namespace pel
