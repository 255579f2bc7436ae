// TPelTextStream reading. Input: a byte for the buffer size, a byte k and k
// delimiter characters, a byte n and n operation bytes, then the text. Two
// streams read the text side by side: a plain TPelTextStream, which takes
// bytes straight from its buffer, and a descendant whose Read and PutBack
// are its own, so every character goes through them. A cursor over the same
// bytes reads as the header says (tokens up to a delimiter, lines split at CR
// LF, CR or LF, blanks of code 32 and below). After every operation all
// three agree on the result and on the position. A tiny buffer makes tokens,
// line ends and put-backs fall across refills.
#include <algorithm>
#include <cstdint>
#include <string>

#include "FuzzCheck.h"
#include "streams/PelStreams.h"

using namespace pel;

namespace {

class TSlowTextStream : public TPelTextStream {
  PEL_CLASS(TSlowTextStream, TPelTextStream)
 public:
  using TPelTextStream::TPelTextStream;
  int32_t Read(void* Buffer, int32_t Count) override { return TPelTextStream::Read(Buffer, Count); }
  void PutBack(char C) override { TPelTextStream::PutBack(C); }
};

// The same text read by hand.
struct Cursor {
  const std::string& Text;
  std::size_t At = 0;
  std::string Delimiters;

  bool End() const { return At >= Text.size(); }
  void SetDelimiters(std::string D) {
    if (D.find(' ') == std::string::npos) D += ' ';
    Delimiters = D;
  }
  std::string Token() {
    std::size_t b = At;
    while (!End() && Delimiters.find(Text[At]) == std::string::npos) ++At;
    return Text.substr(b, At - b);
  }
  std::string Line() {
    std::size_t b = At;
    while (!End() && Text[At] != '\r' && Text[At] != '\n') ++At;
    std::string line = Text.substr(b, At - b);
    if (!End() && Text[At++] == '\r' && !End() && Text[At] == '\n') ++At;
    return line;
  }
  void SkipSpaces() {
    while (!End() && static_cast<uint8_t>(Text[At]) <= 32) ++At;
  }
  bool SkipInLineSpaces() {
    while (!End() && static_cast<uint8_t>(Text[At]) <= 32) {
      const char c = Text[At++];
      if (c == '\n') return true;
      if (c == '\r') {
        if (!End() && Text[At] == '\n') ++At;
        return true;
      }
    }
    return false;
  }
  char Char() { return End() ? '\0' : Text[At++]; }
};

// What a number read gave: the value, or that EConvertError was raised.
template <class T, class F>
std::pair<bool, T> Outcome(F Fn) {
  try {
    return {true, Fn()};
  } catch (const EConvertError&) {
    return {false, T()};
  }
}

const char* const kDelimiterSets[] = {" \r\n\t", ",./?<>;:\"[{]}`~!@#$%^&*()-=+\\|'", ",", "\n",
                                      "0123456789"};

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* Data, std::size_t Size) {
  TFuzzInput input{Data, Size};
  if (Size < 3) return 0;
  const uint8_t sizeByte = input.Byte();
  const std::string delimiters = input.Take(input.Byte() & 7);
  if (input.AtEnd()) return 0;
  const std::string ops = input.Take(input.Byte() & 63);
  const std::string text = input.Take(Size);

  auto source1 = Make<TStringStream>(text);
  auto source2 = Make<TStringStream>(text);
  auto direct = Make<TPelTextStream>(source1.get());
  auto slow = Make<TSlowTextStream>(source2.get());
  TPelTextStream* const streams[] = {direct.get(), slow.get()};
  Cursor cursor{text, 0, {}};
  cursor.SetDelimiters(" \r\n\t");
  if (!(sizeByte & 0x80)) {
    for (auto* s : streams) s->SetBufferSize((sizeByte & 15) + 1u);
  }
  if (!delimiters.empty()) {
    for (auto* s : streams) s->SetDelimiters(delimiters);
    cursor.SetDelimiters(delimiters);
  }

  // A number read: blanks, a token, the strict conversion; every stream
  // gives the same value or the same refusal.
  auto checkNumber = [&](auto Convert, auto Read) {
    cursor.SkipSpaces();
    const std::string token = cursor.Token();
    using T = decltype(Convert(token));
    const auto expected = Outcome<T>([&] { return Convert(token); });
    for (auto* s : streams) FUZZ_CHECK((Outcome<T>([&] { return Read(s); }) == expected));
  };

  for (unsigned char op : ops) {
    switch (op % 9) {
      case 0: {
        const std::string expected = cursor.Token();
        for (auto* s : streams) FUZZ_CHECK(s->GetToken() == expected);
        break;
      }
      case 1: {
        const std::string expected = cursor.Line();
        for (auto* s : streams) FUZZ_CHECK(s->GetLine() == expected);
        break;
      }
      case 2:
        cursor.SkipSpaces();
        for (auto* s : streams) s->SkipSpaces();
        break;
      case 3: {
        const bool expected = cursor.SkipInLineSpaces();
        for (auto* s : streams) FUZZ_CHECK(s->SkipInLineSpaces() == expected);
        break;
      }
      case 4: {
        const char expected = cursor.Char();
        for (auto* s : streams) FUZZ_CHECK(s->GetChar() == expected);
        break;
      }
      case 5:
        checkNumber([](const std::string& T) { return StrToInt(T); },
                    [](TPelTextStream* S) { return S->GetInteger(); });
        break;
      case 6:
        checkNumber([](const std::string& T) { return StrToFloat(T); },
                    [](TPelTextStream* S) { return S->GetFloat(); });
        break;
      case 7: {  // A token with other delimiters, kept or restored afterwards
        const std::string set = kDelimiterSets[(op / 9) % 5];
        const bool restore = op & 0x80;
        const std::string saved = cursor.Delimiters;
        cursor.SetDelimiters(set);
        const std::string expected = cursor.Token();
        if (restore) cursor.Delimiters = saved;
        for (auto* s : streams) {
          FUZZ_CHECK(s->GetToken(set, restore) == expected);
          FUZZ_CHECK(s->GetDelimiters() == cursor.Delimiters);
        }
        break;
      }
      default:  // A new buffer size in the middle of reading
        for (auto* s : streams) s->SetBufferSize(((op / 9) & 15) + 1u);
        break;
    }
    for (auto* s : streams) FUZZ_CHECK(s->GetPosition() == static_cast<int64_t>(cursor.At));
  }
  // What is left reads as the rest of the text.
  for (auto* s : streams) {
    std::string rest(text.size() - cursor.At, '\0');
    FUZZ_CHECK(s->Read(rest.data(), static_cast<int32_t>(rest.size())) ==
               static_cast<int32_t>(rest.size()));
    FUZZ_CHECK(rest == text.substr(cursor.At));
    FUZZ_CHECK(s->GetChar() == '\0');
  }
  return 0;
}
