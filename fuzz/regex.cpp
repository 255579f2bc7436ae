// The regular-expression compiler and matcher. Input: a flags byte (bit 0
// case-insensitive, bit 1 anchored at the start, bit 2 at the end), the
// pattern, a zero byte, the subject. A pattern either compiles or raises
// ERXException; the searching Match and Find must agree with trying
// MatchSubString at each position in turn.
#include <cstdint>
#include <string>

#include "FuzzCheck.h"
#include "text/PelRegularExpression.h"

using namespace pel;

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* Data, std::size_t Size) {
  if (Size < 1) return 0;
  const uint8_t flags = Data[0];
  std::string rest(reinterpret_cast<const char*>(Data + 1), Size - 1);
  const std::size_t cut = rest.find('\0');
  String pattern = rest.substr(0, cut);
  String subject = cut == std::string::npos ? String() : rest.substr(cut + 1);
  // Keep the position-by-position answer cheap enough to run every time.
  if (pattern.size() > 128 || subject.size() > 256) return 0;

  Owned<TPelRegularExpression> rx;
  try {
    rx = Make<TPelRegularExpression>(pattern);
  } catch (const ERXException&) {
    return 0;
  }
  try {
    rx->SetCaseSensitive(!(flags & 1));
  } catch (const ERXException&) {
    FUZZ_CHECK(false);  // the same pattern compiled a moment ago
  }
  rx->SetAnchorAtStart(flags & 2);
  rx->SetAnchorAtEnd(flags & 4);

  int32_t expectPos = 0, expectLen = 0;
  if (!pattern.empty() && !subject.empty()) {
    const auto n = static_cast<int32_t>(subject.size());
    for (int32_t p = 1; p <= (rx->GetAnchorAtStart() ? 1 : n); ++p) {
      int32_t len = 0;
      if (rx->MatchSubString(subject, p, len)) {
        expectPos = p;
        expectLen = len;
        break;
      }
    }
  }
  int32_t len = -1;
  const int32_t pos = rx->Match(subject, 1, len);
  FUZZ_CHECK(pos == expectPos);
  if (pos) FUZZ_CHECK(len == expectLen);

  std::size_t fpos = 0, flen = 0;
  const bool found = rx->Find(subject, 0, fpos, flen);
  FUZZ_CHECK(found == (pos != 0));
  if (found) FUZZ_CHECK(fpos + 1 == static_cast<std::size_t>(pos) && flen == std::size_t(len));

  // A copy matches the same way.
  auto copy = Make<TPelRegularExpression>();
  copy->Assign(rx.get());
  int32_t clen = -1;
  FUZZ_CHECK(copy->Match(subject, 1, clen) == pos);
  return 0;
}
