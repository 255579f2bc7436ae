#include "platform/ExtCtrls.h"

#include "platform/Windows.h"

namespace pel {

TTimer::~TTimer() {
  if (FTimerId) KillTimer(FTimerId);
}

void TTimer::UpdateTimer() {
  if (FTimerId) KillTimer(FTimerId);
  FTimerId = 0;
  if (FEnabled && FInterval != 0 && FOnTimer) FTimerId = SetTimer(FInterval, [this] { Timer(); });
}

void TTimer::SetEnabled(bool Value) {
  if (Value == FEnabled) return;
  FEnabled = Value;
  UpdateTimer();
}

void TTimer::SetInterval(uint32_t Value) {
  if (Value == FInterval) return;
  FInterval = Value;
  UpdateTimer();
}

void TTimer::SetOnTimer(TNotifyEvent Value, String Name) {
  FOnTimer = std::move(Value);
  FOnTimerName = FOnTimer ? std::move(Name) : String();
  UpdateTimer();
}

void TTimer::SetOnTimerName(const String& Value) {
  FOnTimerName = Value;
  if (Value.empty() && FOnTimer) {
    FOnTimer = nullptr;
    UpdateTimer();
  }
}

void TTimer::Timer() {
  if (FOnTimer) FOnTimer(this);
}

}  // namespace pel
