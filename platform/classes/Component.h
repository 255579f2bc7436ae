// TComponent: owned components, names, free notification and streaming.
//
// A component made with an owner is inserted into the owner's Components
// once its construction has finished (AfterConstruction), and the owner
// frees it when it is freed itself. Every component the owner holds is told
// of each insertion and removal through Notification. FreeNotification links
// two components that do not share an owner so that each is told
// (Notification with opRemove) when the other goes.
//
// Destruction runs in BeforeDestruction so that descendants' Notification
// and Destroying overrides are reached: the component is marked
// csDestroying (with everything it owns), its free-notification partners are
// told, its owned components are removed and freed (last first), and it
// leaves its owner.
//
// Streams: a component is written as its class name, its name, its
// published and defined properties, and the children GetChildren lists
// (none here; a container overrides it). A reader creates components
// through the family's virtual constructor, TComponent(Owner).
#pragma once

#include <functional>
#include <vector>

#include "platform/TypInfo.h"
#include "platform/classes/ClassesTypes.h"
#include "platform/classes/Persistent.h"

namespace pel {

class TReader;
class TWriter;
class TComponent;

enum TOperation : uint8_t { opInsert, opRemove };

// ComponentState flags (a bit set).
using TComponentState = uint32_t;
constexpr TComponentState csLoading = 0x001;
constexpr TComponentState csReading = 0x002;
constexpr TComponentState csWriting = 0x004;
constexpr TComponentState csDestroying = 0x008;
constexpr TComponentState csDesigning = 0x010;
constexpr TComponentState csAncestor = 0x020;
constexpr TComponentState csUpdating = 0x040;
constexpr TComponentState csFixups = 0x080;
constexpr TComponentState csFreeNotification = 0x100;
constexpr TComponentState csInline = 0x200;

using TGetChildProc = std::function<void(TComponent* Child)>;

class TComponent : public TPersistent {
  PEL_CLASS(TComponent, TPersistent)
  PEL_PUBLISHED(TComponent,
                Property<&TComponent::GetName, &TComponent::SetName>("Name").NotStored(),
                Property<&TComponent::GetTag, &TComponent::SetTag>("Tag").WithDefault(0))
 public:
  using TCreateArgs = TCtorArgs<TComponent*>;
  explicit TComponent(TComponent* AOwner) : FOwner(AOwner) {}
  ~TComponent() override;

  void AfterConstruction() override;
  void BeforeDestruction() override;

  TComponent* GetOwner() const { return FOwner; }
  TPersistent* GetPersistentOwner() override { return FOwner; }
  int32_t GetComponentCount() const { return static_cast<int32_t>(FComponents.size()); }
  // The owned component at Index; raises EListError when out of range.
  TComponent* GetComponent(int32_t Index) const;
  int32_t GetComponentIndex() const;
  // The owned component of that name (case-insensitive), or null.
  TComponent* FindComponent(const String& AName) const;
  void InsertComponent(TComponent* AComponent);
  void RemoveComponent(TComponent* AComponent);
  void DestroyComponents();
  // Marks this component and everything it owns csDestroying.
  void Destroying();

  const String& GetName() const { return FName; }
  // Renames; raises EComponentError for an invalid identifier or a name the
  // owner already holds ("A component named X already exists").
  virtual void SetName(const String& NewName);
  int32_t GetTag() const { return FTag; }
  void SetTag(int32_t Value) { FTag = Value; }
  TComponentState ComponentState() const { return FComponentState; }
  String GetNamePath() override { return FName; }

  void FreeNotification(TComponent* AComponent);
  void RemoveFreeNotification(TComponent* AComponent);

  // Streaming hooks.
  virtual void GetChildren(const TGetChildProc& Proc, TComponent* Root);
  virtual TComponent* GetChildOwner() { return nullptr; }
  virtual TComponent* GetChildParent() { return this; }
  virtual void ReadState(TReader* Reader);
  virtual void WriteState(TWriter* Writer);
  // Called once the whole stream this component came from has been read.
  virtual void Loaded();
  virtual bool HasParent() { return false; }

  // Used by the reader and writer.
  void SetComponentState(TComponentState S) { FComponentState = S; }
  void IncludeState(TComponentState S) { FComponentState |= S; }
  void ExcludeState(TComponentState S) { FComponentState &= ~S; }

 protected:
  virtual void Notification(TComponent* AComponent, TOperation Operation);
  virtual void ValidateRename(TComponent* AComponent, const String& CurName, const String& NewName);
  virtual void ChangeName(const String& NewName) { FName = NewName; }

 private:
  void Insert(TComponent* AComponent);
  void Remove(TComponent* AComponent);
  void RemoveNotification(TComponent* AComponent);

  TComponent* FOwner;
  String FName;
  int32_t FTag = 0;
  std::vector<TComponent*> FComponents;
  std::vector<TComponent*> FFreeNotifies;
  TComponentState FComponentState = 0;
};

using TComponentClass = TClassOf<TComponent, TComponent*>;

// Whether S is a valid identifier (a letter or '_' then letters, digits, '_').
bool IsValidIdent(const String& S);

}  // namespace pel
