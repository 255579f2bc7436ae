// TPelParser. Input: a byte k and k delimiter characters, a byte n and n
// operation bytes, then the text. Walking forwards from First and backwards
// from Last gives the tokens of a plain split at the delimiters (the code 0
// always delimits); the token count agrees; then the operations move the
// parser at random and every token it reports is a run of non-delimiters
// taken from the text.
#include <algorithm>
#include <cstdint>
#include <string>
#include <vector>

#include "FuzzCheck.h"
#include "text/PelParser.h"

using namespace pel;

namespace {

std::vector<std::string> Split(const std::string& text, const std::string& delimiters) {
  std::vector<std::string> tokens;
  std::string token;
  for (char c : text) {
    if (c == '\0' || delimiters.find(c) != std::string::npos) {
      if (!token.empty()) tokens.push_back(token);
      token.clear();
    } else {
      token += c;
    }
  }
  if (!token.empty()) tokens.push_back(token);
  return tokens;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* Data, std::size_t Size) {
  TFuzzInput input{Data, Size};
  if (Size < 2) return 0;
  std::string delimiters = input.Take(input.Byte() & 7);
  if (input.AtEnd()) return 0;
  const std::string ops = input.Take(input.Byte() & 15);
  const std::string text = input.Take(Size);

  auto parser = Make<TPelParser>(text);
  if (!delimiters.empty()) parser->SetDelimiters(delimiters);
  // Only what precedes a zero byte counts; an empty set means the space.
  std::string effective = parser->GetDelimiters().c_str();
  const std::vector<std::string> expected = Split(text, effective);

  FUZZ_CHECK(parser->GetTokenCount() == static_cast<int32_t>(expected.size()));
  std::vector<std::string> forward;
  for (bool more = parser->First(); more && forward.size() <= text.size(); more = parser->Next()) {
    forward.push_back(parser->GetToken());
    FUZZ_CHECK(parser->GetRestOfText() == text.substr(parser->GetPosition() - 1));
  }
  FUZZ_CHECK(forward == expected);
  std::vector<std::string> backward;
  std::size_t steps = 0;
  for (bool more = parser->Last(); more && ++steps <= text.size() + 1; more = parser->Previous()) {
    if (parser->GetToken().empty()) continue;
    backward.insert(backward.begin(), parser->GetToken());
  }
  FUZZ_CHECK(backward == expected);

  const auto length = static_cast<int32_t>(text.size());
  for (unsigned char op : ops) {
    switch (op % 4) {
      case 0:
        parser->SetPosition(static_cast<int32_t>(op / 4) - 4);
        break;
      case 1:
        parser->Next();
        break;
      case 2:
        parser->Previous();
        break;
      default:
        parser->SkipText(op & 4 ? -1 : 1);
        break;
    }
    FUZZ_CHECK(parser->GetPosition() >= 0 && parser->GetPosition() <= length + 1);
    const std::string token = parser->GetToken();
    FUZZ_CHECK(token.empty() || text.find(token) != std::string::npos);
    for (char c : token) FUZZ_CHECK(c != '\0' && effective.find(c) == std::string::npos);
  }
  return 0;
}
