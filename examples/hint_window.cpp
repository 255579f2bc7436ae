// Shows a hint at a point on a small screen, writes what the screen shows as
// a PNG, then lets the message loop run until the hint has hidden itself.
//
//   hint_window [FILE.png]      (hint.png unless given)
#include <chrono>
#include <iostream>
#include <thread>

#include "platform/Forms.h"
#include "ui/KtHintWindow.h"

using namespace pel;

int main(int argc, char** argv) {
  String file = argc > 1 ? argv[1] : "hint.png";
  SetScreenSize(480, 160);

  auto hint = Make<TKtHintWindow>(nullptr);
  hint->GetFont()->SetSize(10);
  hint->SetInterval(300);
  hint->ActivateHint(Point(24, 40),
                     "Save & close: writes the drawing to disk, then closes its window. "
                     "Unsaved changes in other windows are kept.");

  auto picture = Make<TBitmap>();
  Screen->Capture(picture.get());
  picture->SaveToPNGFile(file);
  TRect r = hint->GetBoundsRect();
  std::cout << "hint at " << r.Left << "," << r.Top << " size " << r.Width() << "x" << r.Height()
            << ", screen written to " << file << "\n";

  auto start = std::chrono::steady_clock::now();
  while (IsWindowVisible(hint->GetHandle())) {
    Application->ProcessMessages();
    std::this_thread::sleep_for(std::chrono::milliseconds(5));
  }
  auto waited = std::chrono::duration_cast<std::chrono::milliseconds>(
      std::chrono::steady_clock::now() - start);
  std::cout << "hint hid itself after about " << waited.count() << " ms\n";
}
