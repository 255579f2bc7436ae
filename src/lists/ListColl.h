// ListColl: TListCollection, a TList that owns its objects and finds them by
// predicate.
//
// The callbacks are plain functions taking the element. Searches never call
// the test on an empty list; NextThat / PrevThat start next to the given
// element and never test the element itself, and find nothing when it is
// not in the list. Freeing the collection removes its elements one by one
// from the front (so Notify hears each removal) and frees each.
#pragma once

#include "platform/Classes.h"

namespace pel {

using TListCollectionAction = void (*)(TObject* Item);
using TListCollectionTest = bool (*)(TObject* Item);

class TListCollection : public TList {
  PEL_CLASS(TListCollection, TList)
 public:
  void BeforeDestruction() override;

  // Calls Action for the elements present when the walk starts; the action
  // must not shrink the list.
  void ForEach(TListCollectionAction Action);
  TObject* FirstThat(TListCollectionTest Test);
  TObject* NextThat(TObject* Item, TListCollectionTest Test);
  TObject* PrevThat(TObject* Item, TListCollectionTest Test);
  TObject* LastThat(TListCollectionTest Test);

 private:
  TObject* Item(int32_t Index) const { return static_cast<TObject*>(Get(Index)); }
  // The first element passing Test from From towards To (inclusive), or nil.
  TObject* Search(int32_t From, int32_t To, TListCollectionTest Test);
};

}  // namespace pel
