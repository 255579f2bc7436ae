// Stream tokens, token lists and the collection filer of PelStreams.
#include <cmath>

#include "streams/PelStreams.h"

namespace pel {

// ---------------------------------------------------------------------------
// TBaseStreamToken

HRESULT TBaseStreamToken::QueryInterface(const TGUID& IID, void** Obj) {
  if (GetInterface(IID, Obj)) {
    AddRef();
    return S_OK;
  }
  return E_NOINTERFACE;
}

int32_t TBaseStreamToken::AddRef() { return ++FRefCount; }

int32_t TBaseStreamToken::Release() {
  int32_t n = --FRefCount;
  if (n == 0) Free(this);
  return n;
}

bool TBaseStreamToken::GetInterface(const TGUID& IID, void** Obj) {
  return GetInterfaceOf<TBaseStreamToken, ICloneable, IBaseStreamToken>(this, IID, Obj);
}

void TBaseStreamToken::Assign(TPersistent* Source) {
  if (auto* t = dynamic_cast<TBaseStreamToken*>(Source)) {
    FDataType = t->FDataType;
    FLineNumber = t->FLineNumber;
    FNumber = t->FNumber;
    FText = t->FText;
    FTag = t->FTag;  // the white space is not copied, on purpose
    return;
  }
  TPersistent::Assign(Source);
}

void TBaseStreamToken::Assign(const IPtr<IInterface>& Source) {
  IPtr<IBaseStreamToken> t = IntfCast<IBaseStreamToken>(Source);
  if (!t) RaiseIntfCast();
  SetDataType(t->GetDataType());
  SetLineNumber(t->GetLineNumber());
  SetNumber(t->GetNumber());
  SetText(t->GetText());
  SetTag(t->GetTag());
}

bool TBaseStreamToken::Equals(const IPtr<IInterface>& Obj) {
  IPtr<IBaseStreamToken> t = Supports<IBaseStreamToken>(Obj);
  // Text, white space and tag take no part, on purpose.
  return t && FDataType == t->GetDataType() && FLineNumber == t->GetLineNumber() &&
         FNumber == t->GetNumber();
}

bool TBaseStreamToken::Equals(TPersistent* Obj) {
  IPtr<IBaseStreamToken> t = SupportsObj<IBaseStreamToken>(Obj);
  return t && Equals(IPtr<IInterface>(t));
}

IPtr<IInterface> TBaseStreamToken::Clone() {
  IPtr<IBaseStreamToken> copy(New<TBaseStreamToken>());
  static_cast<TBaseStreamToken*>(copy.get())->Assign(static_cast<TPersistent*>(this));
  return copy;
}

String TBaseStreamToken::GetToString() {
  switch (FDataType) {
    case sttString:
      return "\\\"" + FText + "\"\\";  // closing pair reversed, on purpose
    case sttInteger:
      return IntToStr(static_cast<int64_t>(std::trunc(FNumber)));
    case sttFloat:
      return pel::Format("%.4f", {FNumber});
    case sttVariable:
      return "?" + FText;
    default:
      return FText.empty() ? String(1, static_cast<char>(FDataType)) : FText;
  }
}

// ---------------------------------------------------------------------------
// TBaseStreamTokenList

bool TBaseStreamTokenList::GetInterface(const TGUID& IID, void** Obj) {
  if (IID == ICloneable::IID) {
    *Obj = static_cast<ICloneable*>(this);
    return true;
  }
  if (IID == IBaseStreamTokenList::IID) {
    *Obj = static_cast<IBaseStreamTokenList*>(this);
    return true;
  }
  return TIList::GetInterface(IID, Obj);
}

String TBaseStreamTokenList::GetToString() {
  String result;
  for (int32_t i = 0; i < GetCount(); ++i) {
    IPtr<IBaseStreamToken> t = Get(i);
    result += CheckAssigned(t.get())->GetToString() + " ";
  }
  return result;
}

void TBaseStreamTokenList::Assign(TPersistent*) {
  // Lists copy only through the interface form, on purpose.
  throw Exception(SErrorAssigningList);
}

void TBaseStreamTokenList::Assign(const IPtr<IInterface>& Source) {
  IPtr<IBaseStreamTokenList> src = IntfCast<IBaseStreamTokenList>(Source);
  if (!src) RaiseIntfCast();
  // Copy first, so that a list assigned from itself keeps its tokens.
  std::vector<IPtr<IBaseStreamToken>> copies;
  for (int32_t i = 0; i < src->GetValueCount(); ++i) {
    IPtr<IBaseStreamToken> t = src->Get(i);
    copies.push_back(t ? IntfCast<IBaseStreamToken>(t->Clone()) : nullptr);
  }
  int32_t tag = src->GetTag();
  Clear();
  for (const auto& t : copies) Add(t);
  FTag = tag;
}

bool TBaseStreamTokenList::Equals(const IPtr<IBaseStreamTokenList>& List) {
  if (!List || List->GetValueCount() != GetCount()) return false;
  for (int32_t i = 0; i < GetCount(); ++i) {
    IPtr<IBaseStreamToken> other = List->Get(i);
    IPtr<IBaseStreamToken> mine = Get(i);
    if (other ? !(mine && mine->Equals(IPtr<IInterface>(other))) : static_cast<bool>(mine))
      return false;
  }
  return true;
}

bool TBaseStreamTokenList::Equals(TObject* Obj) {
  if (Obj == static_cast<TObject*>(this)) return true;
  auto* list = dynamic_cast<TInterfaceList*>(Obj);
  if (!list || list->GetCount() != GetCount()) return false;
  for (int32_t i = 0; i < GetCount(); ++i) {
    IPtr<IInterface> other = list->Get(i);
    IPtr<IBaseStreamToken> mine = Get(i);
    if (!other) {
      if (mine) return false;
      continue;
    }
    if (!Supports<IBaseStreamToken>(other) || !mine || !mine->Equals(other)) return false;
  }
  return true;
}

bool TBaseStreamTokenList::Equals(const IPtr<IInterface>& Obj) {
  IPtr<IBaseStreamTokenList> list = Supports<IBaseStreamTokenList>(Obj);
  return list && Equals(list);
}

IPtr<IInterface> TBaseStreamTokenList::CloneI() {
  IPtr<IBaseStreamTokenList> copy(New<TBaseStreamTokenList>());
  copy->Assign(IPtr<IInterface>(static_cast<IBaseStreamTokenList*>(this)));
  return copy;
}

IPtr<IBaseStreamToken> TBaseStreamTokenList::Get(int32_t Index) {
  return IntfCast<IBaseStreamToken>(TIList::Get(Index));
}

void TBaseStreamTokenList::Put(int32_t Index, const IPtr<IBaseStreamToken>& Item) {
  TIList::Put(Index, Item);
}

int32_t TBaseStreamTokenList::Add(const IPtr<IBaseStreamToken>& Item) { return TIList::Add(Item); }

void TBaseStreamTokenList::Clear() { TIList::Clear(); }

IPtr<IBaseStreamToken> TBaseStreamTokenList::First() {
  return IntfCast<IBaseStreamToken>(TIList::First());
}

IPtr<IBaseStreamToken> TBaseStreamTokenList::Last() {
  return IntfCast<IBaseStreamToken>(TIList::Last());
}

int32_t TBaseStreamTokenList::IndexOf(const IPtr<IBaseStreamToken>& Item) {
  return TIList::IndexOf(Item);
}

void TBaseStreamTokenList::Insert(int32_t Index, const IPtr<IBaseStreamToken>& Item) {
  TIList::Insert(Index, Item);
}

void TBaseStreamTokenList::Delete(int32_t Index) { TIList::Delete(Index); }

void TBaseStreamTokenList::Append(const IPtr<IBaseStreamTokenList>& List) {
  // Counted first: a list appended to itself adds each of its tokens once.
  int32_t n = CheckAssigned(List.get())->GetValueCount();
  for (int32_t i = 0; i < n; ++i) Add(List->Get(i));
}

int32_t TBaseStreamTokenList::Remove(const IPtr<IBaseStreamToken>& Item) {
  return TIList::Remove(Item);
}

// ---------------------------------------------------------------------------
// TPelSpecialFiler

namespace {
constexpr const char* kItemClassProperty = "HiddenItemClass";
}

void TPelSpecialFiler::WriteCollection(TCollection* Collection) {
  if (!FWriter) throw EStreamError(SNoWriterForFiler);
  FWriter->WriteValue(vaCollection);
  if (Collection) {
    for (int32_t i = 0; i < Collection->GetCount(); ++i) {
      TCollectionItem* item = Collection->GetItem(i);
      FWriter->WriteListBegin();
      FWriter->WritePropName(kItemClassProperty);
      FWriter->WriteString(item->ClassName());
      FWriter->WriteProperties(item);
      FWriter->WriteListEnd();
    }
  }
  FWriter->WriteListEnd();
}

void TPelSpecialFiler::ReadCollection(TCollection* Collection) {
  if (!FReader) throw EStreamError(SNoReaderForFiler);
  CheckAssigned(Collection);
  // The items read are added behind the old ones, which go only once the
  // whole collection has been read; a failed read takes the new ones out
  // again, so the collection is as it was.
  int32_t old = Collection->GetCount();
  Updating(Collection, [&] {
    try {
      FReader->ReadValue();  // the collection marker
      while (!FReader->EndOfList()) {
        FReader->ReadListBegin();
        FReader->ReadStr();  // the property name, "HiddenItemClass"
        TCollectionItemClass cls(FindClass(FReader->ReadString()));
        TCollectionItem* item = cls.Create(Collection);
        while (!FReader->EndOfList()) FReader->ReadProperty(item);
        FReader->ReadListEnd();
      }
      FReader->ReadListEnd();
    } catch (...) {
      while (Collection->GetCount() > old) Collection->Delete(Collection->GetCount() - 1);
      throw;
    }
    for (int32_t i = 0; i < old; ++i) Collection->Delete(0);
  });
}

}  // namespace pel
