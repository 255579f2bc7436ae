#include <gtest/gtest.h>

#include <vector>

#include "platform/Controls.h"
#include "platform/ExpectRaises.h"
#include "platform/ExtCtrls.h"
#include "platform/Forms.h"

namespace pel {
namespace {

TEST(UiPlatform, DrawTextBreaksLinesAndHandlesPrefixes) {
  auto bmp = Make<TBitmap>();
  bmp->SetSize(300, 100);
  TCanvas* c = bmp->GetCanvas();
  c->GetFont()->SetSize(12);
  HDC dc = c->GetHandle();
  int32_t line = c->TextHeight("x");
  auto calc = [&](const String& Text, uint32_t Format, int32_t Width = 1000) {
    TRect r = Rect(5, 7, 5 + Width, 7);
    int32_t h = DrawText(dc, Text, r, Format | DT_CALCRECT);
    EXPECT_EQ(h, r.Height()) << Text;
    EXPECT_EQ(r.Left, 5);
    EXPECT_EQ(r.Top, 7);
    return TSize{r.Width(), r.Height()};
  };
  struct Case {
    const char* Text;
    uint32_t Format;
    int32_t Width;
    int32_t Lines;
    const char* SameWidthAs;  // the text as drawn, "" to skip
  };
  int32_t ab = c->TextWidth("aa bb");
  const Case cases[] = {
      {"a\r\nb\nc\rd", DT_NOPREFIX, 1000, 4, ""},
      {"a\r\nb", DT_SINGLELINE | DT_NOPREFIX, 1000, 1, ""},
      {"aa bb cc", DT_WORDBREAK | DT_NOPREFIX, ab + 1, 2, "aa bb"},
      {"aa   bb", DT_WORDBREAK | DT_NOPREFIX, c->TextWidth("aa") + 2, 2, "aa"},
      {"unbreakable", DT_WORDBREAK | DT_NOPREFIX, 10, 1, "unbreakable"},
      {"&Save", 0, 1000, 1, "Save"},
      {"a&&b", 0, 1000, 1, "a&b"},
      {"", DT_WORDBREAK, 1000, 0, ""},
  };
  for (const Case& k : cases) {
    TSize s = calc(k.Text, k.Format, k.Width);
    EXPECT_EQ(s.cy, k.Lines * line) << k.Text;
    if (*k.SameWidthAs) {
      EXPECT_EQ(s.cx, c->TextWidth(k.SameWidthAs)) << k.Text;
    }
  }

  // A prefixed character is underlined: same width, more ink.
  auto ink = [&](const String& Text, uint32_t Format, TRect R = Rect(10, 10, 290, 90)) {
    c->FillRect(Rect(0, 0, 300, 100));
    DrawText(c->GetHandle(), Text, R, Format);
    int32_t n = 0;
    for (int32_t y = 0; y < 100; ++y)
      for (int32_t x = 0; x < 300; ++x) n += c->GetPixel(x, y) != clWhite;
    return n;
  };
  EXPECT_GT(ink("&S", 0), ink("S", 0));
  EXPECT_EQ(ink("&&", 0), ink("&", DT_NOPREFIX));
  // Drawing is clipped to the rectangle unless asked otherwise.
  EXPECT_LE(ink("WWW", DT_NOPREFIX, Rect(10, 10, 12, 12)), 4);
  EXPECT_GT(ink("WWW", DT_NOPREFIX | DT_NOCLIP, Rect(10, 10, 12, 12)), 4);
}

TEST(UiPlatform, TimersFireFromTheMessageLoop) {
  uint64_t now = 50000;
  TTickSource saved = SetTickSource([&] { return now; });
  auto timer = Make<TTimer>(nullptr);  // enabled, every 1000 ms
  int32_t fired = 0;
  auto run = [&](uint64_t Ms) {
    now += Ms;
    Application->ProcessMessages();
  };
  run(2000);  // no handler yet: no timer
  timer->SetOnTimer([&](TObject* Sender) {
    EXPECT_EQ(Sender, timer.get());
    ++fired;
  });
  run(999);
  EXPECT_EQ(fired, 0);
  run(1);
  EXPECT_EQ(fired, 1);
  run(3500);  // several periods, one call; the next period starts now
  EXPECT_EQ(fired, 2);
  // Enabling a running timer does not restart it; a new interval does.
  run(500);
  timer->SetEnabled(true);
  run(500);
  EXPECT_EQ(fired, 3);
  timer->SetInterval(600);
  run(599);
  EXPECT_EQ(fired, 3);
  run(1);
  EXPECT_EQ(fired, 4);
  timer.reset();  // a freed timer no longer fires
  run(5000);
  EXPECT_EQ(fired, 4);
  SetTickSource(saved);
}

TEST(UiPlatform, FontsNotifyAndConvertSizes) {
  auto font = Make<TFont>();
  EXPECT_EQ(font->GetName(), "DejaVu Sans");
  EXPECT_EQ(font->GetSize(), 8);
  EXPECT_EQ(font->GetHeight(), -11);
  int32_t changes = 0;
  font->SetOnChange([&](TObject*) { ++changes; });
  font->SetSize(12);
  EXPECT_EQ(font->GetHeight(), -16);
  font->SetHeight(-16);
  font->SetName("");
  font->SetStyle(0);
  EXPECT_EQ(changes, 1);
  EXPECT_EQ(font->GetName(), "DejaVu Sans");

  auto other = Make<TFont>();
  other->SetStyle(StyleBit(fsBold) | StyleBit(fsUnderline));
  other->SetColor(clRed);
  other->SetName("DejaVu Serif");
  font->Assign(other.get());  // one notification for the lot
  EXPECT_EQ(changes, 2);
  EXPECT_EQ(font->GetSize(), 8);
  EXPECT_EQ(font->GetName(), "DejaVu Serif");
  EXPECT_THROW(font->Assign(Make<TBrush>().get()), EConvertError);

  // A canvas without a device context cannot draw.
  auto canvas = Make<TCanvas>();
  test::ExpectRaises<EInvalidOperation>([&] { canvas->TextWidth("x"); },
                                        "Canvas does not allow drawing");
}

TEST(UiPlatform, TheScreenShowsVisibleWindowsTopmostLast) {
  auto below = Make<THintWindow>(nullptr);
  auto above = Make<THintWindow>(nullptr);
  above->SetColor(clRed);
  above->ActivateHint(Rect(0, 0, 40, 20), "");
  below->SetColor(clBlue);
  below->SetBounds(20, 10, 40, 20);
  below->Show();  // shown, but not topmost
  auto picture = Make<TBitmap>();
  auto at = [&](int32_t X, int32_t Y) {
    Screen->Capture(picture.get());
    return picture->GetCanvas()->GetPixel(X, Y);
  };
  EXPECT_EQ(at(30, 15), clRed);
  EXPECT_EQ(at(50, 15), clBlue);
  EXPECT_EQ(at(0, 0), clBlack);  // the frame
  EXPECT_EQ(at(100, 100), static_cast<TColor>(ColorToRGB(clBackground)));
  EXPECT_TRUE(ShowWindow(above->GetHandle(), SW_HIDE));
  EXPECT_FALSE(ShowWindow(above->GetHandle(), SW_HIDE));
  EXPECT_EQ(at(30, 15), clBlue);
  below->Hide();
  EXPECT_FALSE(IsWindowVisible(below->GetHandle()));
  HWND gone = below->GetHandle();
  below.reset();
  EXPECT_FALSE(IsWindow(gone));
}

}  // namespace
}  // namespace pel
