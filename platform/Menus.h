// Menus: the framework's menu item, as far as the library uses it.
//
// A TMenuItem is a component with a Caption, an OnClick event and child
// items. Click fires OnClick. Freeing an item frees its children first (each
// leaves its parent and its owner on the way).
#pragma once

#include <vector>

#include "platform/Classes.h"

namespace pel {

class TMenuItem : public TComponent {
  PEL_CLASS(TMenuItem, TComponent)
 public:
  explicit TMenuItem(TComponent* AOwner) : TComponent(AOwner) {}
  void BeforeDestruction() override;

  // Appends Item as the last child; an item that has a parent leaves it.
  void Add(TMenuItem* Item);
  // Takes Item out of the children without freeing it.
  void Remove(TMenuItem* Item);
  int32_t GetCount() const { return static_cast<int32_t>(FItems.size()); }
  // The child at Index; raises EListError when out of range.
  TMenuItem* GetItem(int32_t Index) const;
  TMenuItem* GetParent() const { return FParent; }
  int32_t IndexOf(TMenuItem* Item) const;

  virtual void Click();

  const String& GetCaption() const { return FCaption; }
  void SetCaption(const String& Value) { FCaption = Value; }
  const TNotifyEvent& GetOnClick() const { return FOnClick; }
  void SetOnClick(TNotifyEvent Value) { FOnClick = std::move(Value); }

 private:
  String FCaption;
  TNotifyEvent FOnClick;
  TMenuItem* FParent = nullptr;
  std::vector<TMenuItem*> FItems;
};

}  // namespace pel
