// A component's stream as bytes and as text; shared by the units' tests of
// published properties.
#pragma once

#include "platform/Classes.h"

namespace pel::test {

// The bytes WriteComponent gives for Root.
inline String BytesOf(TComponent* Root) {
  auto m = Make<TStringStream>();
  m->WriteComponent(Root);
  return m->GetDataString();
}

// The text form of a binary component stream.
inline String TextOf(const String& Binary) {
  auto in = Make<TStringStream>(Binary);
  auto out = Make<TStringStream>();
  ObjectBinaryToText(in.get(), out.get());
  return out->GetDataString();
}

// Reads a binary component stream into Root.
inline void ReadInto(const String& Binary, TComponent* Root) {
  Make<TStringStream>(Binary)->ReadComponent(Root);
}

}  // namespace pel::test
