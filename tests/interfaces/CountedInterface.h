// A named interface that reports its destruction to a flag that outlives
// it, for the interface-collection tests.
#pragma once

#include <map>
#include <string>

#include "platform/System.h"

namespace pel::test {

class TCounted : public TInterfacedObject {
  PEL_CLASS(TCounted, TInterfacedObject)
 public:
  TCounted(std::string Name, bool& Freed) : FName(std::move(Name)), FFreed(Freed) {}
  ~TCounted() override { FFreed = true; }
  const std::string& Name() const { return FName; }

 private:
  std::string FName;
  bool& FFreed;
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
      FItems[name] = IPtr<IInterface>(New<TCounted>(name, FFreed[name]));
    }
  }
  IPtr<IInterface> operator[](const std::string& Name) const { return FItems.at(Name); }
  std::string Counts() const {
    std::string s;
    for (const auto& [name, item] : FItems)
      s += (s.empty() ? "" : " ") + name +
           std::to_string(dynamic_cast<TCounted*>(item.get())->RefCount() - 1);
    return s;
  }
  // Drops the pool's own references; true when every item was then freed.
  bool DropAndCheckFreed() {
    FItems.clear();
    for (const auto& [name, freed] : FFreed)
      if (!freed) return false;
    return true;
  }

 private:
  std::map<std::string, bool> FFreed;
  std::map<std::string, IPtr<IInterface>> FItems;
};

}  // namespace pel::test
