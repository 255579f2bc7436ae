// The class registry: classes a component stream may name.
//
// A reader creates each component of a stream from its class name, so every
// class that may appear in a stream is registered first with RegisterClass
// (or RegisterClasses). Names compare case-insensitively. Registering the
// same class again does nothing; registering another class under a name
// already taken raises EFilerError "A class named X already exists".
//
// RegisterComponents keeps the component palette: named pages, each with
// the component classes put on it, in the order they were registered. It
// does not register the classes for streaming; call RegisterClass too.
#pragma once

#include <initializer_list>
#include <utility>
#include <vector>

#include "platform/classes/Persistent.h"

namespace pel {

void RegisterClass(TClass AClass);
void RegisterClasses(std::initializer_list<TClass> AClasses);
void UnRegisterClass(TClass AClass);
// The registered class of that name, or null.
TClass GetClass(const String& AClassName);
// The registered class of that name; raises EClassNotFound
// "Class X not found" when there is none.
TClass FindClass(const String& AClassName);

void RegisterComponents(const String& Page, std::initializer_list<TClass> AClasses);
// The palette pages in the order they were first used.
std::vector<String> GetPalettePages();
// The classes on a page (empty for an unknown page).
std::vector<TClass> GetPaletteClasses(const String& Page);
// Empties the palette (for tests and tools that rebuild it).
void ClearPalette();

}  // namespace pel
