// ObjectTextToBinary on any text. Input: the text. It either parses or
// raises EParserError (or EReadError); what it writes prints as text that
// parses back to the same bytes (a NaN aside).
#include <cstdint>

#include "FuzzCheck.h"
#include "platform/Classes.h"

using namespace pel;

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* Data, std::size_t Size) {
  const String text(reinterpret_cast<const char*>(Data), Size);
  auto binary = Make<TStringStream>();
  try {
    ObjectTextToBinary(Make<TStringStream>(text).get(), binary.get());
  } catch (const EParserError&) {
    return 0;
  } catch (const EReadError&) {
    return 0;
  }
  auto printed = Make<TStringStream>();
  ObjectBinaryToText(Make<TStringStream>(binary->GetDataString()).get(), printed.get());
  // A NaN prints as Nan, which reads back as an identifier (ObjectText.h).
  if (printed->GetDataString().find("= Nan\n") != String::npos) return 0;
  auto again = Make<TStringStream>();
  ObjectTextToBinary(Make<TStringStream>(printed->GetDataString()).get(), again.get());
  FUZZ_CHECK(again->GetDataString() == binary->GetDataString());
  return 0;
}
