#include "platform/classes/InterfaceList.h"

#include <vector>

#include "platform/RTLConsts.h"

namespace pel {

namespace {

IInterface* AddRefOf(const IPtr<IInterface>& Item) {
  IInterface* p = Item.get();
  if (p) p->AddRef();
  return p;
}

void ReleaseOf(void* P) {
  if (P) static_cast<IInterface*>(P)->Release();
}

}  // namespace

TInterfaceList::TInterfaceList() : FList(Make<TList>()) {}

TInterfaceList::~TInterfaceList() { Clear(); }

bool TInterfaceList::GetInterface(const TGUID& IID, void** Obj) {
  return GetInterfaceOf<TInterfaceList, IInterfaceList>(this, IID, Obj);
}

IPtr<IInterface> TInterfaceList::Get(int32_t Index) {
  TGuard g(FLock);
  return IPtr<IInterface>(static_cast<IInterface*>(FList->Get(Index)));
}

int32_t TInterfaceList::GetCapacity() {
  TGuard g(FLock);
  return FList->GetCapacity();
}

int32_t TInterfaceList::GetCount() {
  TGuard g(FLock);
  return FList->GetCount();
}

void TInterfaceList::Put(int32_t Index, const IPtr<IInterface>& Item) {
  void* old;
  {
    TGuard g(FLock);
    old = FList->Get(Index);  // checks the index
    FList->List()[Index] = AddRefOf(Item);
  }
  // Released once the list no longer holds it: the release may free an
  // object whose destructor looks at this list.
  ReleaseOf(old);
}

void TInterfaceList::SetCapacity(int32_t NewCapacity) {
  TGuard g(FLock);
  FList->SetCapacity(NewCapacity);
}

void TInterfaceList::SetCount(int32_t NewCount) {
  TGuard g(FLock);
  int32_t count = FList->GetCount();
  if (NewCount < 0 || NewCount > MaxListSize) TList::Error(SListCountError, NewCount);
  // Take the dropped elements out before releasing them, last first.
  std::vector<void*> dropped;
  for (int32_t i = count - 1; i >= NewCount; --i) dropped.push_back(FList->List()[i]);
  FList->SetCount(NewCount);
  for (void* p : dropped) ReleaseOf(p);
}

void TInterfaceList::Clear() {
  TGuard g(FLock);
  SetCount(0);
  FList->SetCapacity(0);
}

void TInterfaceList::Delete(int32_t Index) {
  void* old;
  {
    TGuard g(FLock);
    old = FList->Get(Index);
    FList->Delete(Index);
  }
  ReleaseOf(old);
}

void TInterfaceList::Exchange(int32_t Index1, int32_t Index2) {
  TGuard g(FLock);
  FList->Exchange(Index1, Index2);
}

IPtr<IInterface> TInterfaceList::First() { return Get(0); }

IPtr<IInterface> TInterfaceList::Last() {
  TGuard g(FLock);
  return Get(FList->GetCount() - 1);
}

int32_t TInterfaceList::IndexOf(const IPtr<IInterface>& Item) {
  TGuard g(FLock);
  return FList->IndexOf(Item.get());
}

int32_t TInterfaceList::Add(const IPtr<IInterface>& Item) {
  TGuard g(FLock);
  FList->Expand();  // so that Add cannot fail after the reference is taken
  return FList->Add(AddRefOf(Item));
}

void TInterfaceList::Insert(int32_t Index, const IPtr<IInterface>& Item) {
  TGuard g(FLock);
  if (Index < 0 || Index > FList->GetCount()) TList::Error(SListIndexError, Index);
  FList->Expand();
  FList->Insert(Index, AddRefOf(Item));
}

int32_t TInterfaceList::Remove(const IPtr<IInterface>& Item) {
  TGuard g(FLock);
  int32_t i = FList->IndexOf(Item.get());
  if (i >= 0) Delete(i);
  return i;
}

void TInterfaceList::Lock() { FLock.lock(); }

void TInterfaceList::Unlock() { FLock.unlock(); }

TInterfaceList* TInterfaceList::Expand() {
  TGuard g(FLock);
  FList->Expand();
  return this;
}

}  // namespace pel
