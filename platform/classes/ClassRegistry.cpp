#include "platform/classes/ClassRegistry.h"

#include <mutex>

#include "platform/RTLConsts.h"
#include "platform/TypInfo.h"

namespace pel {

namespace {

struct Registry {
  std::mutex Lock;
  std::vector<TClass> Classes;
  std::vector<std::pair<String, std::vector<TClass>>> Pages;
};

Registry& TheRegistry() {
  static Registry r;
  return r;
}

TClass Lookup(Registry& r, const String& Name) {
  for (TClass c : r.Classes)
    if (SameIdentifier(c->Name, Name)) return c;
  return nullptr;
}

}  // namespace

void RegisterClass(TClass AClass) {
  Registry& r = TheRegistry();
  std::lock_guard<std::mutex> g(r.Lock);
  TClass existing = Lookup(r, AClass->Name);
  if (existing == AClass) return;
  if (existing) throw EFilerError(SDuplicateClass, {String(AClass->Name)});
  r.Classes.push_back(AClass);
}

void RegisterClasses(std::initializer_list<TClass> AClasses) {
  for (TClass c : AClasses) RegisterClass(c);
}

void UnRegisterClass(TClass AClass) {
  Registry& r = TheRegistry();
  std::lock_guard<std::mutex> g(r.Lock);
  std::erase(r.Classes, AClass);
}

TClass GetClass(const String& AClassName) {
  Registry& r = TheRegistry();
  std::lock_guard<std::mutex> g(r.Lock);
  return Lookup(r, AClassName);
}

TClass FindClass(const String& AClassName) {
  TClass c = GetClass(AClassName);
  if (!c) throw EClassNotFound(SClassNotFound, {AClassName});
  return c;
}

void RegisterComponents(const String& Page, std::initializer_list<TClass> AClasses) {
  Registry& r = TheRegistry();
  std::lock_guard<std::mutex> g(r.Lock);
  auto it = r.Pages.begin();
  while (it != r.Pages.end() && it->first != Page) ++it;
  if (it == r.Pages.end()) it = r.Pages.insert(r.Pages.end(), {Page, {}});
  for (TClass c : AClasses) it->second.push_back(c);
}

std::vector<String> GetPalettePages() {
  Registry& r = TheRegistry();
  std::lock_guard<std::mutex> g(r.Lock);
  std::vector<String> pages;
  for (auto& p : r.Pages) pages.push_back(p.first);
  return pages;
}

std::vector<TClass> GetPaletteClasses(const String& Page) {
  Registry& r = TheRegistry();
  std::lock_guard<std::mutex> g(r.Lock);
  for (auto& p : r.Pages)
    if (p.first == Page) return p.second;
  return {};
}

void ClearPalette() {
  Registry& r = TheRegistry();
  std::lock_guard<std::mutex> g(r.Lock);
  r.Pages.clear();
}

}  // namespace pel
