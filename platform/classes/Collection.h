// TCollection and TCollectionItem: an owned, ordered list of items of one
// item class, streamed as a collection value.
//
// Items are made through the item family's virtual constructor,
// TCollectionItem(Collection), and join the collection when their
// construction finishes (AfterConstruction). Each item has an ID that is
// unique for the collection's lifetime and its Index in the list. Changes
// are reported through the virtual Update(Item) (null for the whole
// collection), suppressed while BeginUpdate calls are open, and Notify
// tells a descendant of each item added or being removed.
#pragma once

#include <vector>

#include "platform/TypInfo.h"
#include "platform/classes/ClassesTypes.h"
#include "platform/classes/Persistent.h"

namespace pel {

class TCollection;

// What TCollection::Notify reports.
enum TCollectionNotification : uint8_t { cnAdded, cnExtracting, cnDeleting };

class TCollectionItem : public TPersistent {
  PEL_CLASS(TCollectionItem, TPersistent)
 public:
  using TCreateArgs = TCtorArgs<TCollection*>;
  explicit TCollectionItem(TCollection* Collection) : FPendingCollection(Collection) {}

  void AfterConstruction() override;
  void BeforeDestruction() override;

  TCollection* GetCollection() const { return FCollection; }
  // Moves the item into another collection (null: out of any).
  void SetCollection(TCollection* Value);
  int32_t GetID() const { return FID; }
  int32_t GetIndex() const;
  // Moves the item to position Value.
  virtual void SetIndex(int32_t Value);
  // The display name; the class name when none is set.
  virtual String GetDisplayName();
  virtual void SetDisplayName(const String&) { Changed(false); }
  TPersistent* GetPersistentOwner() override;
  String GetNamePath() override;

 protected:
  // Reports a change of this item (AllItems: of the whole collection).
  void Changed(bool AllItems);

 private:
  friend class TCollection;
  TCollection* FPendingCollection;
  TCollection* FCollection = nullptr;
  int32_t FID = 0;
};

using TCollectionItemClass = TClassOf<TCollectionItem, TCollection*>;

class TCollection : public TPersistent {
  PEL_CLASS(TCollection, TPersistent)
 public:
  explicit TCollection(TCollectionItemClass ItemClass) : FItemClass(ItemClass) {}
  ~TCollection() override;
  void BeforeDestruction() override;

  TCollectionItem* Add();
  TCollectionItem* Insert(int32_t Index);
  // Frees the item at Index; raises EListError when out of range.
  void Delete(int32_t Index);
  void Clear();
  TCollectionItem* GetItem(int32_t Index) const;
  void SetItem(int32_t Index, TCollectionItem* Value);
  int32_t GetCount() const { return static_cast<int32_t>(FItems.size()); }
  TCollectionItem* FindItemID(int32_t ID) const;
  TCollectionItemClass GetItemClass() const { return FItemClass; }
  int32_t UpdateCount() const { return FUpdateCount; }

  virtual void BeginUpdate() { ++FUpdateCount; }
  virtual void EndUpdate();
  // Copies another collection: clears this one and adds an item assigned
  // from each of Source's items.
  void Assign(TPersistent* Source) override;
  TPersistent* GetPersistentOwner() override { return nullptr; }

 protected:
  // Called for every change outside BeginUpdate/EndUpdate; Item is null
  // when the whole collection changed.
  virtual void Update(TCollectionItem* Item);
  virtual void Notify(TCollectionItem* Item, TCollectionNotification Action);
  void Changed();

 private:
  friend class TCollectionItem;
  void InsertItem(TCollectionItem* Item);
  void RemoveItem(TCollectionItem* Item);

  TCollectionItemClass FItemClass;
  std::vector<TCollectionItem*> FItems;
  int32_t FUpdateCount = 0;
  int32_t FNextID = 0;
};

// A collection that knows the persistent object it belongs to (for names).
class TOwnedCollection : public TCollection {
  PEL_CLASS(TOwnedCollection, TCollection)
 public:
  TOwnedCollection(TPersistent* AOwner, TCollectionItemClass ItemClass)
      : TCollection(ItemClass), FOwner(AOwner) {}
  TPersistent* GetPersistentOwner() override { return FOwner; }

 private:
  TPersistent* FOwner;
};

}  // namespace pel
