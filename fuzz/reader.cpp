// TReader on binary component streams, and the binary stream's text form.
// Input: the stream's bytes. The registered classes are the stream tests'
// drawing (a property of every kind, collections, children) and the graph
// components. Reading either succeeds or raises a library exception; what
// was read writes a stream that reads back to the same stream, and its text
// form parses back to a stream that prints the same.
#include <cstdint>

#include "FuzzCheck.h"
#include "graphs/ActivityNetwork.h"
#include "graphs/PelGraph.h"
#include "platform/Classes.h"
#include "platform/StreamTestClasses.h"

using namespace pel;

namespace {

String Bytes(TStringStream* S) { return S->GetDataString(); }

String WriteOut(TComponent* C) {
  auto out = Make<TStringStream>();
  out->WriteComponent(C);
  return Bytes(out.get());
}

// Whether the reader accepts the stream; what it read writes a stream that
// reads back and writes the same again.
bool ReadBack(const String& data) {
  TComponent* root = nullptr;
  try {
    root = Make<TStringStream>(data)->ReadComponent(nullptr);
  } catch (const Exception&) {
    return false;
  }
  Owned<TComponent> owned(root);
  const String first = WriteOut(root);
  Owned<TComponent> again(Make<TStringStream>(first)->ReadComponent(nullptr));
  FUZZ_CHECK(WriteOut(again.get()) == first);
  return true;
}

// Any stream prints or raises EReadError. The text of a stream the reader
// accepts (so its names are identifiers) parses back to a stream that
// prints the same, unless it holds a NaN (see ObjectText.h).
void PrintAndParse(const String& data, bool accepted) {
  auto text = Make<TStringStream>();
  try {
    ObjectBinaryToText(Make<TStringStream>(data).get(), text.get());
  } catch (const EReadError&) {
    FUZZ_CHECK(!accepted);
    return;
  }
  if (!accepted || Bytes(text.get()).find("= Nan\n") != String::npos) return;
  auto binary = Make<TStringStream>();
  ObjectTextToBinary(Make<TStringStream>(Bytes(text.get())).get(), binary.get());
  auto again = Make<TStringStream>();
  ObjectBinaryToText(Make<TStringStream>(Bytes(binary.get())).get(), again.get());
  FUZZ_CHECK(Bytes(again.get()) == Bytes(text.get()));
}

}  // namespace

extern "C" int LLVMFuzzerInitialize(int*, char***) {
  streamtest::RegisterStreamTestClasses();
  return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* Data, std::size_t Size) {
  const String data(reinterpret_cast<const char*>(Data), Size);
  PrintAndParse(data, ReadBack(data));
  return 0;
}
