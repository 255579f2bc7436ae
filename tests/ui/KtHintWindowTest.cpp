#include <gtest/gtest.h>

#include "platform/Forms.h"
#include "platform/StreamText.h"
#include "ui/KtHintWindow.h"

namespace pel {
namespace {

// Puts a clock the test moves by hand in place of the system's.
class FakeClock {
 public:
  FakeClock() {
    FSaved = SetTickSource([this] { return FNow; });
  }
  ~FakeClock() { SetTickSource(FSaved); }
  // Moves the clock on and lets the message loop run.
  void Advance(uint64_t Ms) {
    FNow += Ms;
    Application->ProcessMessages();
  }

 private:
  uint64_t FNow = 1000000;
  TTickSource FSaved;
};

// Counts the time-outs, to show the timer's own handler is the override.
class TCountingHint : public TKtHintWindow {
  PEL_CLASS(TCountingHint, TKtHintWindow)
 public:
  using TKtHintWindow::TKtHintWindow;
  void TimeOut(TObject* Sender) override {
    ++TimeOuts;
    TKtHintWindow::TimeOut(Sender);
  }
  int32_t TimeOuts = 0;
};

bool Shown(TKtHintWindow* W) { return W->HandleAllocated() && IsWindowVisible(W->GetHandle()); }

TEST(KtHintWindow, HidesItselfAnIntervalAfterTheLatestShowing) {
  FakeClock clock;
  auto hint = Make<TCountingHint>(nullptr);
  EXPECT_EQ(hint->GetColor(), Application->GetHintColor());

  // Never shown: HideHint does nothing, not even make a window.
  hint->HideHint();
  EXPECT_FALSE(hint->HandleAllocated());

  hint->SetInterval(500);
  hint->ActivateHint(Point(10, 20), "first");
  EXPECT_TRUE(Shown(hint.get()));
  clock.Advance(400);
  hint->ActivateHint(Point(10, 20), "second");
  EXPECT_EQ(hint->GetCaption(), "second");
  clock.Advance(400);  // 800 after the first showing, 400 after the second
  EXPECT_TRUE(Shown(hint.get()));
  clock.Advance(100);
  EXPECT_FALSE(Shown(hint.get()));

  // The timer fired once, and a client may hide the hint early.
  clock.Advance(5000);
  EXPECT_EQ(hint->TimeOuts, 1);
  hint->ActivateHint(Point(0, 0), "third");
  clock.Advance(499);
  EXPECT_TRUE(Shown(hint.get()));
  hint->HideHint();
  EXPECT_FALSE(Shown(hint.get()));
  clock.Advance(1);
  EXPECT_FALSE(Shown(hint.get()));

  // While an activation is under way a nested one is ignored.
  hint->SetActivating(true);
  hint->ActivateHint(Point(0, 0), "ignored");
  EXPECT_FALSE(Shown(hint.get()));
  EXPECT_EQ(hint->GetCaption(), "third");
  hint->SetActivating(false);
}

TEST(KtHintWindow, IsShownAtThePointWrappedWithinTheScreen) {
  SetScreenSize(800, 600);
  auto hint = Make<TKtHintWindow>(nullptr);
  const TRect r = hint->CalcHintRect(800, "Open", nullptr);
  // Shown at a point: the calculated rectangle there, four pixels taller.
  hint->ActivateHint(Point(30, 40), "Open");
  EXPECT_EQ(hint->GetBoundsRect(), Rect(30, 40, 30 + r.Width(), 40 + r.Height() + 4));
  // Kept on the screen near its edges.
  hint->ActivateHint(Point(790, 590), "Open");
  EXPECT_EQ(hint->GetBoundsRect(), Rect(800 - r.Width(), 600 - r.Height() - 4, 800, 600));
  // Words wrap within the screen's width.
  String words;
  for (int i = 0; i < 60; ++i) words += "word ";
  hint->ActivateHint(Point(0, 0), words);
  EXPECT_LE(hint->GetWidth(), 800 + 6);
  EXPECT_GT(hint->GetHeight(), 2 * r.Height());
  SetScreenSize(1024, 768);
}

// Draws the window alone on a white bitmap.
Owned<TBitmap> Picture(TKtHintWindow* Hint) {
  auto bmp = Make<TBitmap>();
  bmp->SetSize(Hint->GetWidth() + 20, Hint->GetHeight() + 20);
  Hint->PaintTo(bmp->GetCanvas()->GetHandle(), 10, 10);
  return bmp;
}

bool SamePixels(TBitmap* A, TBitmap* B) {
  for (int32_t y = 0; y < A->GetHeight(); ++y)
    for (int32_t x = 0; x < A->GetWidth(); ++x)
      if (A->GetCanvas()->GetPixel(x, y) != B->GetCanvas()->GetPixel(x, y)) return false;
  return true;
}

TEST(KtHintWindow, PaintsItsTextAsItStandsWrappedInsideTheMargin) {
  auto hint = Make<TKtHintWindow>(nullptr);
  hint->GetFont()->SetColor(clBlack);
  hint->GetFont()->SetSize(12);
  TCanvas* canvas = hint->GetCanvas();
  canvas->SetFont(hint->GetFont());
  int32_t line = canvas->TextHeight("A");

  // What the hint must show: the window's colour, its frame, and each line
  // drawn at the margin, two pixels in from the client area (one pixel of
  // frame, so at 3, 3 of the window).
  struct Case {
    const char* Text;
    int32_t ClientWidth;
    std::vector<String> Lines;
  };
  const Case cases[] = {
      {"&&x &y", 0, {"&&x &y"}},
      {"one two", canvas->TextWidth("one") + 2, {"one", "two"}},  // "one" just fits
  };
  for (const Case& c : cases) {
    int32_t width = c.ClientWidth ? c.ClientWidth + 2 : canvas->TextWidth(c.Text) + 6;
    hint->SetCaption(c.Text);
    hint->SetBounds(0, 0, width, line * static_cast<int32_t>(c.Lines.size()) + 6);
    auto actual = Picture(hint.get());

    auto expected = Make<TBitmap>();
    expected->SetSize(actual->GetWidth(), actual->GetHeight());
    TCanvas* e = expected->GetCanvas();
    e->GetBrush()->SetColor(hint->GetColor());
    e->FillRect(Rect(10, 10, 10 + width, 10 + hint->GetHeight()));
    e->GetBrush()->SetColor(clBlack);
    e->FrameRect(Rect(10, 10, 10 + width, 10 + hint->GetHeight()));
    e->SetFont(hint->GetFont());
    for (std::size_t i = 0; i < c.Lines.size(); ++i)
      e->TextOut(13, 13 + line * static_cast<int32_t>(i), c.Lines[i]);
    EXPECT_TRUE(SamePixels(actual.get(), expected.get())) << c.Text;
  }
}

TEST(KtHintWindow, StreamsItsOwnProperties) {
  RegisterClass(TKtHintWindow::StaticClass());
  auto hint = Make<TKtHintWindow>(nullptr);
  hint->SetInterval(2500);
  hint->SetBiDiMode(bdRightToLeft);
  auto copy = Make<TKtHintWindow>(nullptr);
  test::ReadInto(test::BytesOf(hint.get()), copy.get());
  EXPECT_EQ(copy->GetInterval(), 2500u);
  EXPECT_EQ(copy->GetBiDiMode(), bdRightToLeft);
}

}  // namespace
}  // namespace pel
