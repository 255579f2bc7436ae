#include "platform/classes/Collection.h"

#include <algorithm>
#include <iterator>

#include "platform/RTLConsts.h"

namespace pel {

// ---------------------------------------------------------------------------
// TCollectionItem

void TCollectionItem::AfterConstruction() {
  TPersistent::AfterConstruction();
  SetCollection(FPendingCollection);
}

void TCollectionItem::BeforeDestruction() {
  SetCollection(nullptr);
  TPersistent::BeforeDestruction();
}

void TCollectionItem::SetCollection(TCollection* Value) {
  if (FCollection == Value) return;
  if (FCollection) FCollection->RemoveItem(this);
  if (Value) Value->InsertItem(this);
}

int32_t TCollectionItem::GetIndex() const {
  if (!FCollection) return -1;
  auto& v = FCollection->FItems;
  return static_cast<int32_t>(std::find(v.begin(), v.end(), this) - v.begin());
}

void TCollectionItem::SetIndex(int32_t Value) {
  int32_t cur = GetIndex();
  if (cur < 0 || cur == Value) return;
  auto& v = FCollection->FItems;
  if (Value < 0 || Value >= static_cast<int32_t>(v.size()))
    throw EListError(SListIndexError, {Value});
  v.erase(v.begin() + cur);
  v.insert(v.begin() + Value, this);
  Changed(true);
}

String TCollectionItem::GetDisplayName() { return ClassName(); }

TPersistent* TCollectionItem::GetPersistentOwner() { return FCollection; }

String TCollectionItem::GetNamePath() {
  if (!FCollection) return ClassName();
  return FCollection->GetNamePath() + "[" + std::to_string(GetIndex()) + "]";
}

void TCollectionItem::Changed(bool AllItems) {
  if (FCollection && FCollection->FUpdateCount == 0) FCollection->Update(AllItems ? nullptr : this);
}

// ---------------------------------------------------------------------------
// TCollection

TCollection::~TCollection() = default;

void TCollection::BeforeDestruction() {
  ++FUpdateCount;  // no Update calls while the collection goes away
  Clear();
  TPersistent::BeforeDestruction();
}

TCollectionItem* TCollection::Add() { return FItemClass.Create(this); }

TCollectionItem* TCollection::Insert(int32_t Index) {
  TCollectionItem* item = Add();
  try {
    item->SetIndex(Index);
  } catch (...) {
    pel::Free(item);
    throw;
  }
  return item;
}

// Deleting is reported twice on purpose: cnDeleting here, then cnExtracting
// as the item leaves the list.
void TCollection::Delete(int32_t Index) {
  TCollectionItem* item = GetItem(Index);
  Notify(item, cnDeleting);
  pel::Free(item);
}

void TCollection::Clear() {
  if (FItems.empty()) return;
  Updating(this, [&] {
    while (!FItems.empty()) pel::Free(FItems.back());
  });
}

TCollectionItem* TCollection::GetItem(int32_t Index) const {
  if (Index < 0 || Index >= GetCount()) throw EListError(SListIndexError, {Index});
  return FItems[static_cast<std::size_t>(Index)];
}

void TCollection::SetItem(int32_t Index, TCollectionItem* Value) { GetItem(Index)->Assign(Value); }

TCollectionItem* TCollection::FindItemID(int32_t ID) const {
  for (TCollectionItem* i : FItems)
    if (i->FID == ID) return i;
  return nullptr;
}

void TCollection::EndUpdate() {
  --FUpdateCount;
  Changed();
}

void TCollection::Changed() {
  if (FUpdateCount == 0) Update(nullptr);
}

void TCollection::Assign(TPersistent* Source) {
  if (auto* src = dynamic_cast<TCollection*>(Source)) {
    Updating(this, [&] {
      Clear();
      for (TCollectionItem* i : src->FItems) Add()->Assign(i);
    });
    return;
  }
  TPersistent::Assign(Source);
}

void TCollection::Update(TCollectionItem*) {}

void TCollection::Notify(TCollectionItem*, TCollectionNotification) {}

void TCollection::InsertItem(TCollectionItem* Item) {
  FItems.push_back(Item);
  Item->FCollection = this;
  Item->FID = FNextID++;
  Notify(Item, cnAdded);
  Changed();
}

void TCollection::RemoveItem(TCollectionItem* Item) {
  Notify(Item, cnExtracting);
  // Searched from the back, where Clear takes the items from.
  auto it = std::find(FItems.rbegin(), FItems.rend(), Item);
  if (it != FItems.rend()) FItems.erase(std::next(it).base());
  Item->FCollection = nullptr;
  Changed();
}

}  // namespace pel
