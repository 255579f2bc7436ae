#include "lists/ListColl.h"

namespace pel {

void TListCollection::BeforeDestruction() {
  while (GetCount() > 0) {
    TObject* element = Item(0);
    Remove(element);
    Free(element);
  }
  TList::BeforeDestruction();
}

void TListCollection::ForEach(TListCollectionAction Action) {
  const int32_t count = GetCount();
  for (int32_t i = 0; i < count; ++i) Action(Item(i));
}

TObject* TListCollection::Search(int32_t From, int32_t To, TListCollectionTest Test) {
  const int32_t step = From <= To ? 1 : -1;
  for (int32_t i = From; i != To + step; i += step)
    if (Test(Item(i))) return Item(i);
  return nullptr;
}

TObject* TListCollection::FirstThat(TListCollectionTest Test) {
  return GetCount() == 0 ? nullptr : Search(0, GetCount() - 1, Test);
}

TObject* TListCollection::LastThat(TListCollectionTest Test) {
  return GetCount() == 0 ? nullptr : Search(GetCount() - 1, 0, Test);
}

TObject* TListCollection::NextThat(TObject* Element, TListCollectionTest Test) {
  const int32_t i = IndexOf(Element);
  if (i < 0 || i + 1 >= GetCount()) return nullptr;
  return Search(i + 1, GetCount() - 1, Test);
}

TObject* TListCollection::PrevThat(TObject* Element, TListCollectionTest Test) {
  const int32_t i = IndexOf(Element);
  if (i <= 0) return nullptr;
  return Search(i - 1, 0, Test);
}

}  // namespace pel
