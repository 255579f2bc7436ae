// What a device context is inside the platform: a cairo drawing context with
// the font and text colour selected into it. Only the platform's own
// sources see this; everyone else holds an HDC.
#pragma once

#include <cairo.h>

#include <vector>

#include "platform/Windows.h"

namespace pel {

struct TDeviceContext {
  cairo_t* Cr = nullptr;
  TLogFont Font;
  TColorRef TextColor = 0;
  // Fonts saved by SaveDC, restored with cairo's own state.
  std::vector<TLogFont> SavedFonts;
};

// A device context drawing onto Surface (it takes its own reference).
HDC CreateDeviceContext(cairo_surface_t* Surface);
void DeleteDeviceContext(HDC DC);

}  // namespace pel
