#include "platform/Contnrs.h"

namespace pel {

int32_t TObjectList::FindInstanceOf(TClass AClass, bool AExact, int32_t AStartAt) const {
  for (int32_t i = AStartAt < 0 ? 0 : AStartAt; i < GetCount(); ++i) {
    TObject* obj = Get(i);
    if (!obj) continue;
    if (AExact ? obj->ClassType() == AClass : obj->InheritsFrom(AClass)) return i;
  }
  return -1;
}

void TObjectList::Notify(void* Ptr, TListNotification Action) {
  if (FOwnsObjects && Action == lnDeleted) pel::Free(static_cast<TObject*>(Ptr));
  TList::Notify(Ptr, Action);
}

}  // namespace pel
