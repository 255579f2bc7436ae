// Named interfaces that count how many of them are alive, for the
// interface-collection tests.
#pragma once

#include <map>
#include <string>

#include "platform/System.h"

namespace pel::test {

class TCounted : public TInterfacedObject {
  PEL_CLASS(TCounted, TInterfacedObject)
 public:
  explicit TCounted(std::string Name) : FName(std::move(Name)) { ++Alive; }
  ~TCounted() override { --Alive; }
  const std::string& Name() const { return FName; }
  static inline int Alive = 0;

 private:
  std::string FName;
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
  explicit TPool(const std::string& Names) : FAliveBefore(TCounted::Alive) {
    for (char n : Names)
      FItems[std::string(1, n)] = IPtr<IInterface>(New<TCounted>(std::string(1, n)));
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
    return TCounted::Alive == FAliveBefore;
  }

 private:
  int FAliveBefore;
  std::map<std::string, IPtr<IInterface>> FItems;
};

}  // namespace pel::test
