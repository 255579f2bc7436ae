#include "platform/classes/Component.h"

#include <algorithm>

#include "platform/RTLConsts.h"
#include "platform/classes/Filer.h"

namespace pel {

bool IsValidIdent(const String& S) {
  auto alpha = [](char c) { return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || c == '_'; };
  if (S.empty() || !alpha(S[0])) return false;
  return std::all_of(S.begin() + 1, S.end(),
                     [&](char c) { return alpha(c) || (c >= '0' && c <= '9'); });
}

TComponent::~TComponent() = default;

void TComponent::AfterConstruction() {
  if (FOwner) {
    TComponent* owner = FOwner;
    FOwner = nullptr;
    owner->InsertComponent(this);
  }
}

void TComponent::BeforeDestruction() {
  Destroying();
  // Partners may unlink themselves while being told; walk a shrinking list.
  while (!FFreeNotifies.empty()) {
    TComponent* other = FFreeNotifies.back();
    FFreeNotifies.pop_back();
    std::erase(other->FFreeNotifies, this);
    other->Notification(this, opRemove);
  }
  DestroyComponents();
  if (FOwner) FOwner->RemoveComponent(this);
}

TComponent* TComponent::GetComponent(int32_t Index) const {
  if (Index < 0 || Index >= GetComponentCount()) throw EListError(SListIndexError, {Index});
  return FComponents[static_cast<std::size_t>(Index)];
}

int32_t TComponent::GetComponentIndex() const {
  if (!FOwner) return -1;
  auto& v = FOwner->FComponents;
  auto it = std::find(v.begin(), v.end(), this);
  return it == v.end() ? -1 : static_cast<int32_t>(it - v.begin());
}

TComponent* TComponent::FindComponent(const String& AName) const {
  if (AName.empty()) return nullptr;
  for (TComponent* c : FComponents)
    if (SameIdentifier(c->FName, AName)) return c;
  return nullptr;
}

void TComponent::InsertComponent(TComponent* AComponent) {
  ValidateRename(AComponent, String(), AComponent->FName);
  Insert(AComponent);
  Notification(AComponent, opInsert);
}

void TComponent::RemoveComponent(TComponent* AComponent) {
  Notification(AComponent, opRemove);
  Remove(AComponent);
}

void TComponent::Insert(TComponent* AComponent) {
  FComponents.push_back(AComponent);
  AComponent->FOwner = this;
}

void TComponent::Remove(TComponent* AComponent) {
  AComponent->FOwner = nullptr;
  std::erase(FComponents, AComponent);
}

void TComponent::DestroyComponents() {
  while (!FComponents.empty()) {
    TComponent* c = FComponents.back();
    RemoveComponent(c);
    pel::Free(c);
  }
}

void TComponent::Destroying() {
  if (FComponentState & csDestroying) return;
  FComponentState |= csDestroying;
  for (TComponent* c : FComponents) c->Destroying();
}

void TComponent::Notification(TComponent* AComponent, TOperation Operation) {
  if (Operation == opRemove && AComponent) RemoveFreeNotification(AComponent);
  // Walk by index from the end: a component told may remove others.
  for (std::size_t i = FComponents.size(); i-- > 0;) {
    if (i >= FComponents.size()) continue;
    FComponents[i]->Notification(AComponent, Operation);
  }
}

void TComponent::ValidateRename(TComponent* AComponent, const String& CurName,
                                const String& NewName) {
  if (AComponent && !SameIdentifier(CurName, NewName) && AComponent->FOwner == this &&
      FindComponent(NewName))
    throw EComponentError(SDuplicateName, {NewName});
  // A component not yet inserted is checked against the names already held.
  if (AComponent && AComponent->FOwner != this && FindComponent(NewName))
    throw EComponentError(SDuplicateName, {NewName});
}

void TComponent::SetName(const String& NewName) {
  if (FName == NewName) return;
  if (!NewName.empty() && !IsValidIdent(NewName)) throw EComponentError(SInvalidName, {NewName});
  if (FOwner)
    FOwner->ValidateRename(this, FName, NewName);
  else
    ValidateRename(nullptr, FName, NewName);
  ChangeName(NewName);
}

void TComponent::FreeNotification(TComponent* AComponent) {
  if (!FOwner || AComponent->FOwner != FOwner) {
    if (std::find(FFreeNotifies.begin(), FFreeNotifies.end(), AComponent) == FFreeNotifies.end()) {
      FFreeNotifies.push_back(AComponent);
      AComponent->FreeNotification(this);
    }
  }
  FComponentState |= csFreeNotification;
}

void TComponent::RemoveNotification(TComponent* AComponent) {
  std::erase(FFreeNotifies, AComponent);
}

void TComponent::RemoveFreeNotification(TComponent* AComponent) {
  RemoveNotification(AComponent);
  AComponent->RemoveNotification(this);
}

void TComponent::GetChildren(const TGetChildProc&, TComponent*) {}

void TComponent::ReadState(TReader* Reader) { Reader->ReadData(this); }

void TComponent::WriteState(TWriter* Writer) { Writer->WriteData(this); }

void TComponent::Loaded() { FComponentState &= ~csLoading; }

}  // namespace pel
