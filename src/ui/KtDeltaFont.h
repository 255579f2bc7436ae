// KtDeltaFont: a font that remembers where it differs from an original.
//
// The original font belongs to the owner and is asked for through
// OnGetOriginalFont. Whenever this font changes, its Deltas are worked out
// again against the original: the attributes in which the two differ.
// Whenever the original changes, the owner calls UpdateNonDelta, which
// copies into this font exactly the attributes that are not deltas, so the
// ones never customised follow the original and the customised ones stay.
// While one of the update operations runs, changes of this font do not
// recompute the deltas.
//
// Without a handler, or when the handler gives no font, nothing is
// compared or copied. SetDeltas stores the set as it is and changes no
// attribute.
//
// TKtDeltaFont publishes OnGetOriginalFont and Deltas; Deltas is written
// only when it is not empty.
#pragma once

#include <cstdint>
#include <functional>

#include "platform/Graphics.h"

namespace pel {

enum TDeltaAttribute : uint8_t {
  daBold,
  daColor,
  daFace,
  daItalic,
  daSize,
  daStrikeOut,
  daUnderline
};
// A set of TDeltaAttribute: bit N for element N.
using TDeltaAttributes = uint8_t;
constexpr TDeltaAttributes DeltaBit(TDeltaAttribute A) {
  return static_cast<TDeltaAttributes>(1u << A);
}
inline const char* const kDeltaAttributeNames[] = {
    "daBold", "daColor", "daFace", "daItalic", "daSize", "daStrikeOut", "daUnderline"};
inline const TTypeInfo TDeltaAttributeInfo = EnumTypeInfo("TDeltaAttribute", kDeltaAttributeNames);
inline const TTypeInfo TDeltaAttributesInfo = SetTypeInfo("TDeltaAttributes", &TDeltaAttributeInfo);

// Fills Font with the original font (or leaves it null).
using TFontEvent = std::function<void(TObject* Sender, TFont*& Font)>;
extern const TTypeInfo TypeInfoFontEvent;

class TKtCustomDeltaFont : public TFont {
  PEL_CLASS(TKtCustomDeltaFont, TFont)
 public:
  // Virtual operations, in the order descendants rely on.
  // Deltas become the attributes in which this font differs from Original.
  virtual void UpdateDeltas(TFont* Original);
  // Copies from Original every attribute that is not a delta.
  virtual void UpdateNonDelta(TFont* Original);

  // The same against the font OnGetOriginalFont gives.
  void UpdateDeltas();
  void UpdateNonDelta();

  TDeltaAttributes GetDeltas() const { return FDeltas; }
  void SetDeltas(TDeltaAttributes Value) { FDeltas = Value; }
  bool IsDeltasStored() const { return FDeltas != 0; }
  const TFontEvent& GetOnGetOriginalFont() const { return FOnGetOriginalFont; }
  // Name is the handler's method name, what a stream writes for it.
  void SetOnGetOriginalFont(TFontEvent Value, String Name = String());
  const String& GetOnGetOriginalFontName() const { return FOnGetOriginalFontName; }
  // Setting the name alone (reading a stream) binds no handler; "" drops it.
  void SetOnGetOriginalFontName(const String& Value);

 protected:
  // Recomputes the deltas (unless an update is running), then notifies.
  void Changed() override;

 private:
  TFont* OriginalFont();

  TDeltaAttributes FDeltas = 0;
  TFontEvent FOnGetOriginalFont;
  String FOnGetOriginalFontName;
  bool FUpdating = false;
};

class TKtDeltaFont : public TKtCustomDeltaFont {
  PEL_CLASS(TKtDeltaFont, TKtCustomDeltaFont)
  PEL_PUBLISHED(
      TKtDeltaFont,
      Property<&TKtDeltaFont::GetOnGetOriginalFontName, &TKtDeltaFont::SetOnGetOriginalFontName>(
          "OnGetOriginalFont", &TypeInfoFontEvent),
      Property<&TKtDeltaFont::GetDeltas, &TKtDeltaFont::SetDeltas>("Deltas", &TDeltaAttributesInfo)
          .StoredBy<&TKtDeltaFont::IsDeltasStored>())
};

}  // namespace pel
