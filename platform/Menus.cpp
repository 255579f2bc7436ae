#include "platform/Menus.h"

#include <algorithm>

namespace pel {

void TMenuItem::BeforeDestruction() {
  if (FParent) FParent->Remove(this);
  while (!FItems.empty()) Free(FItems.back());
  TComponent::BeforeDestruction();
}

void TMenuItem::Add(TMenuItem* Item) {
  if (!Item) return;
  if (Item->FParent) Item->FParent->Remove(Item);
  FItems.push_back(Item);
  Item->FParent = this;
}

void TMenuItem::Remove(TMenuItem* Item) {
  auto it = std::find(FItems.begin(), FItems.end(), Item);
  if (it == FItems.end()) return;
  FItems.erase(it);
  Item->FParent = nullptr;
}

TMenuItem* TMenuItem::GetItem(int32_t Index) const {
  if (Index < 0 || Index >= GetCount()) TList::Error(SListIndexError, Index);
  return FItems[static_cast<std::size_t>(Index)];
}

int32_t TMenuItem::IndexOf(TMenuItem* Item) const {
  auto it = std::find(FItems.begin(), FItems.end(), Item);
  return it == FItems.end() ? -1 : static_cast<int32_t>(it - FItems.begin());
}

void TMenuItem::Click() {
  if (FOnClick) FOnClick(this);
}

}  // namespace pel
