// Contnrs: the framework's typed containers.
//
// TObjectList is a TList of objects that, while OwnsObjects is set (the
// default), frees each object the list deletes: Delete, Remove, Clear,
// SetCount, replacing it with Put, and freeing the list. Extract hands an
// object back without freeing it.
#pragma once

#include <cstdint>

#include "platform/Classes.h"

namespace pel {

class TObjectList : public TList {
  PEL_CLASS(TObjectList, TList)
 public:
  TObjectList() = default;
  explicit TObjectList(bool AOwnsObjects) : FOwnsObjects(AOwnsObjects) {}

  int32_t Add(TObject* AObject) { return TList::Add(AObject); }
  void Insert(int32_t Index, TObject* AObject) { TList::Insert(Index, AObject); }
  int32_t Remove(TObject* AObject) { return TList::Remove(AObject); }
  TObject* Extract(TObject* Item) { return static_cast<TObject*>(TList::Extract(Item)); }
  int32_t IndexOf(TObject* AObject) const { return TList::IndexOf(AObject); }
  // The index of the first object from AStartAt on whose class is AClass
  // (AExact) or descends from it; -1 when there is none.
  int32_t FindInstanceOf(TClass AClass, bool AExact = true, int32_t AStartAt = 0) const;
  TObject* First() const { return static_cast<TObject*>(TList::First()); }
  TObject* Last() const { return static_cast<TObject*>(TList::Last()); }

  TObject* Get(int32_t Index) const { return static_cast<TObject*>(TList::Get(Index)); }
  void Put(int32_t Index, TObject* AObject) { TList::Put(Index, AObject); }

  bool GetOwnsObjects() const { return FOwnsObjects; }
  void SetOwnsObjects(bool Value) { FOwnsObjects = Value; }

 protected:
  void Notify(void* Ptr, TListNotification Action) override;

 private:
  bool FOwnsObjects = true;
};

}  // namespace pel
