#include "platform/classes/Persistent.h"

namespace pel {

void TPersistent::Assign(TPersistent* Source) {
  if (Source)
    Source->AssignTo(this);
  else
    AssignError(nullptr);
}

void TPersistent::AssignTo(TPersistent* Dest) { Dest->AssignError(this); }

void TPersistent::DefineProperties(TFiler*) {}

TPersistent* TPersistent::GetPersistentOwner() { return nullptr; }

String TPersistent::GetNamePath() { return ClassName(); }

void TPersistent::AssignError(TPersistent* Source) {
  String SourceName = Source ? Source->ClassName() : String("nil");
  throw EConvertError(SAssignError, {SourceName, ClassName()});
}

}  // namespace pel
