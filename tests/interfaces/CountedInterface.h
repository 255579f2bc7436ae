// A counted interface that reports its reference count and its destruction
// to a probe that outlives it, for the interface-collection tests.
#pragma once

#include <map>
#include <string>
#include <vector>

#include "platform/System.h"

namespace pel::test {

struct TProbe {
  int32_t Count = 0;
  bool Destroyed = false;
};

class TCounted : public TInterfacedObject {
  PEL_CLASS(TCounted, TInterfacedObject)
 public:
  TCounted(std::string Name, TProbe& Probe) : FName(std::move(Name)), FProbe(Probe) {}
  ~TCounted() override { FProbe.Destroyed = true; }
  int32_t AddRef() override { return FProbe.Count = TInterfacedObject::AddRef(); }
  int32_t Release() override {
    // The object may be gone once the base has released: report first.
    FProbe.Count = RefCount() - 1;
    return TInterfacedObject::Release();
  }
  const std::string& Name() const { return FName; }

 private:
  std::string FName;
  TProbe& FProbe;
};

// The name of a counted item; "-" for an empty one.
inline std::string NameOf(const IPtr<IInterface>& Item) {
  auto* c = dynamic_cast<TCounted*>(Item.get());
  return c ? c->Name() : "-";
}

// Named counted items, each held once by the pool itself. Counts() reads the
// extra references others hold, "a1 b0 ...".
class TPool {
 public:
  explicit TPool(const std::string& Names) {
    for (char n : Names) {
      std::string name(1, n);
      FProbes[name];
      FItems[name] = IPtr<IInterface>(New<TCounted>(name, FProbes[name]));
    }
  }
  IPtr<IInterface> operator[](const std::string& Name) const { return FItems.at(Name); }
  std::string Counts() const {
    std::string s;
    for (const auto& [name, probe] : FProbes)
      s += (s.empty() ? "" : " ") + name + std::to_string(probe.Count - 1);
    return s;
  }
  // Drops the pool's own references; true when every item was then freed.
  bool DropAndCheckFreed() {
    FItems.clear();
    for (const auto& [name, probe] : FProbes)
      if (!probe.Destroyed || probe.Count != 0) return false;
    return true;
  }

 private:
  std::map<std::string, TProbe> FProbes;
  std::map<std::string, IPtr<IInterface>> FItems;
};

}  // namespace pel::test
