// Forms: the application and the screen.
//
// Application and Screen exist for the whole run of a program.
// Application->ProcessMessages() is the message loop's one turn: it fires
// every timer that is due by the clock (see platform/Windows.h). Screen
// knows the screen's size and the font hints are shown in, and can take a
// picture of what the screen shows (Capture: the desktop, then every shown
// window from the bottom up).
#pragma once

#include "platform/Classes.h"
#include "platform/Graphics.h"
#include "platform/Windows.h"

namespace pel {

class TApplication : public TComponent {
  PEL_CLASS(TApplication, TComponent)
 public:
  using TComponent::TComponent;
  // The colour of hint windows (clInfoBk unless set).
  TColor GetHintColor() const { return FHintColor; }
  void SetHintColor(TColor Value) { FHintColor = Value; }
  // Handles the messages that are waiting: the timers that are due.
  void ProcessMessages();

 private:
  TColor FHintColor = clInfoBk;
};

class TScreen : public TComponent {
  PEL_CLASS(TScreen, TComponent)
 public:
  explicit TScreen(TComponent* AOwner);
  void BeforeDestruction() override;
  int32_t GetWidth() const { return GetSystemMetrics(SM_CXSCREEN); }
  int32_t GetHeight() const { return GetSystemMetrics(SM_CYSCREEN); }
  int32_t GetPixelsPerInch() const { return TFont::PixelsPerInch; }
  // The font of hint windows: the default font in the info text colour.
  TFont* GetHintFont() const { return FHintFont; }
  void SetHintFont(TFont* Value) { FHintFont->Assign(Value); }
  // Sizes Bitmap to the screen and draws on it what the screen shows.
  void Capture(TBitmap* Bitmap);

 private:
  TFont* FHintFont;
};

extern TApplication* const Application;
extern TScreen* const Screen;

}  // namespace pel
