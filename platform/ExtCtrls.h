// ExtCtrls: the timer component.
//
// A TTimer calls OnTimer every Interval milliseconds (1000 unless set)
// while it is Enabled (as it is when made) and has a handler. It counts
// from the moment it was last enabled, given an interval or a handler;
// setting a property to the value it has changes nothing, so enabling a
// running timer does not restart it. The calls come from the message loop
// (Application->ProcessMessages), once per loop turn at most.
#pragma once

#include <cstdint>

#include "platform/Classes.h"

namespace pel {

class TTimer : public TComponent {
  PEL_CLASS(TTimer, TComponent)
  PEL_PUBLISHED(TTimer,
                Property<&TTimer::GetEnabled, &TTimer::SetEnabled>("Enabled").WithDefault(1),
                Property<&TTimer::GetInterval, &TTimer::SetInterval>("Interval").WithDefault(1000),
                Property<&TTimer::GetOnTimerName, &TTimer::SetOnTimerName>("OnTimer",
                                                                           &TypeInfoNotifyEvent))
 public:
  using TComponent::TComponent;
  ~TTimer() override;

  bool GetEnabled() const { return FEnabled; }
  void SetEnabled(bool Value);
  uint32_t GetInterval() const { return FInterval; }
  void SetInterval(uint32_t Value);
  const TNotifyEvent& GetOnTimer() const { return FOnTimer; }
  // Name is the handler's method name, what a stream writes for it.
  void SetOnTimer(TNotifyEvent Value, String Name = String());
  const String& GetOnTimerName() const { return FOnTimerName; }
  // Setting the name alone (reading a stream) binds no handler; "" drops it.
  void SetOnTimerName(const String& Value);

 protected:
  // Calls OnTimer.
  virtual void Timer();

 private:
  void UpdateTimer();

  bool FEnabled = true;
  uint32_t FInterval = 1000;
  TNotifyEvent FOnTimer;
  String FOnTimerName;
  uintptr_t FTimerId = 0;
};

}  // namespace pel
