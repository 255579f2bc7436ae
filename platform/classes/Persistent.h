// TPersistent: the copying protocol of the framework.
//
// Assign(Source) copies from the classes a descendant knows and otherwise
// defers here, where the source is asked to AssignTo(this); a pair that
// neither side knows ends in EConvertError "Cannot assign a X to a Y".
#pragma once

#include "platform/SysUtils.h"

namespace pel {

class TFiler;

constexpr const char* SAssignError = "Cannot assign a %s to a %s";

class TPersistent : public TObject {
  PEL_CLASS(TPersistent, TObject)
 public:
  // Copies Source into this object. The base asks Source to assign itself to
  // this object.
  virtual void Assign(TPersistent* Source);
  // Copies this object into Dest. The base raises the conversion error.
  virtual void AssignTo(TPersistent* Dest);
  // Hook for streaming properties that are not published (binary data,
  // lists). The base defines none.
  virtual void DefineProperties(TFiler* Filer);
  // The object that owns this one for naming purposes (nothing here). The
  // framework calls it GetOwner; several library classes publish an Owner
  // property of another type, so the hook has its own name here.
  virtual TPersistent* GetPersistentOwner();
  virtual String GetNamePath();

 protected:
  // Raises EConvertError: Source (or "nil") cannot be assigned to this class.
  [[noreturn]] void AssignError(TPersistent* Source);
};

using TPersistentClass = TClassOf<TPersistent>;

}  // namespace pel
