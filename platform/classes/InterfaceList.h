// TInterfaceList: a list of counted interface references.
//
// The list holds exactly one reference for each element it stores: storing
// adds one, deleting, replacing and clearing release it. Every operation
// takes the list's lock, so one list may be shared between threads; Lock
// and Unlock hold it across several operations (they nest).
#pragma once

#include <cstdint>
#include <mutex>

#include "platform/System.h"
#include "platform/classes/Lists.h"

namespace pel {

struct IInterfaceList : public virtual IInterface {
  static constexpr TGUID IID = TGUID::Parse("{285DEA8A-B865-11D1-AAA7-00C04FB17A72}");
  virtual IPtr<IInterface> Get(int32_t Index) = 0;
  virtual int32_t GetCapacity() = 0;
  virtual int32_t GetCount() = 0;
  virtual void Put(int32_t Index, const IPtr<IInterface>& Item) = 0;
  virtual void SetCapacity(int32_t NewCapacity) = 0;
  virtual void SetCount(int32_t NewCount) = 0;
  virtual void Clear() = 0;
  virtual void Delete(int32_t Index) = 0;
  virtual void Exchange(int32_t Index1, int32_t Index2) = 0;
  virtual IPtr<IInterface> First() = 0;
  virtual int32_t IndexOf(const IPtr<IInterface>& Item) = 0;
  virtual int32_t Add(const IPtr<IInterface>& Item) = 0;
  virtual void Insert(int32_t Index, const IPtr<IInterface>& Item) = 0;
  virtual IPtr<IInterface> Last() = 0;
  virtual int32_t Remove(const IPtr<IInterface>& Item) = 0;
  virtual void Lock() = 0;
  virtual void Unlock() = 0;

 protected:
  ~IInterfaceList() = default;
};

class TInterfaceList : public TInterfacedObject, public IInterfaceList {
  PEL_CLASS(TInterfaceList, TInterfacedObject)
 public:
  TInterfaceList();
  ~TInterfaceList() override;
  bool GetInterface(const TGUID& IID, void** Obj) override;

  IPtr<IInterface> Get(int32_t Index) override;
  int32_t GetCapacity() override;
  int32_t GetCount() override;
  // Replaces the element: the new one gains a reference, the old one loses
  // its reference.
  void Put(int32_t Index, const IPtr<IInterface>& Item) override;
  void SetCapacity(int32_t NewCapacity) override;
  // Growing adds nil elements; shrinking releases the elements dropped.
  void SetCount(int32_t NewCount) override;
  void Clear() override;
  void Delete(int32_t Index) override;
  void Exchange(int32_t Index1, int32_t Index2) override;
  IPtr<IInterface> First() override;
  int32_t IndexOf(const IPtr<IInterface>& Item) override;
  int32_t Add(const IPtr<IInterface>& Item) override;
  void Insert(int32_t Index, const IPtr<IInterface>& Item) override;
  IPtr<IInterface> Last() override;
  // Deletes the first occurrence; returns its index or -1.
  int32_t Remove(const IPtr<IInterface>& Item) override;
  void Lock() override;
  void Unlock() override;
  // Grows the storage when it is full; returns the list.
  TInterfaceList* Expand();

 private:
  using TGuard = std::lock_guard<std::recursive_mutex>;

  Owned<TList> FList;  // raw IInterface*, each holding one reference
  std::recursive_mutex FLock;
};

}  // namespace pel
