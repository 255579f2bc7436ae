#include "text/PelParser.h"

#include <cstring>

namespace pel {

TPelCustomParser::TPelCustomParser(const String& AText) : FDelimiters(" \r\n") { SetText(AText); }

bool TPelCustomParser::IsADelimiter(char C) const {
  // The search runs into the terminator, so the code 0 is always found.
  return std::strchr(FDelimiters.c_str(), C) != nullptr;
}

int32_t TPelCustomParser::SkipCharacters(int32_t Direction) {
  if (Direction == 0) return 0;
  const auto length = static_cast<int32_t>(FText.size());
  const int32_t step = Direction < 0 ? -Direction : Direction;
  int32_t count = 0;
  for (int32_t p = FPosition; p >= 1 && p <= length; p += Direction) {
    if (FSkipTest(FText[static_cast<std::size_t>(p - 1)])) break;
    count += step;
  }
  return count;
}

int32_t TPelCustomParser::SkipDelimiters(int32_t Direction) {
  FSkipTest = [this](char C) { return IsAToken(C); };
  return SkipCharacters(Direction);
}

int32_t TPelCustomParser::SkipText(int32_t Direction) {
  FSkipTest = [this](char C) { return IsADelimiter(C); };
  return SkipCharacters(Direction);
}

bool TPelCustomParser::Next() {
  const auto length = static_cast<int32_t>(FText.size());
  if (length <= FPosition) {
    // Intended: only a one-character text gives a token from here.
    if (FPosition != 1 || length != 1 || !IsAToken(FText[0])) return false;
    FToken = FText.substr(0, 1);
    FPosition = 2;
    FRestOfText = FText.substr(1);
    return true;
  }
  FPosition += SkipDelimiters(+1);
  if (length < FPosition) return false;
  const int32_t n = SkipText(+1);
  // From position 0 (SetPosition allows it) nothing is skipped: an empty
  // token and the whole text as the rest, still a success.
  const auto from = static_cast<std::size_t>(FPosition > 1 ? FPosition - 1 : 0);
  FToken = FText.substr(from, static_cast<std::size_t>(n));
  FPosition += n;
  FRestOfText = FText.substr(from + static_cast<std::size_t>(n));
  return true;
}

bool TPelCustomParser::Previous() {
  if (FPosition < 1) return false;
  FPosition -= SkipDelimiters(-1);
  if (FPosition < 1) return false;
  const int32_t n = SkipText(-1);
  const auto length = static_cast<int32_t>(FText.size());
  // From past the end nothing is skipped: an empty token, still a success.
  const int32_t end = FPosition < length ? FPosition : length;
  const int32_t begin = FPosition - n + 1;
  FToken = begin <= end ? FText.substr(static_cast<std::size_t>(begin - 1),
                                       static_cast<std::size_t>(end - begin + 1))
                        : String();
  FRestOfText = FPosition < length ? FText.substr(static_cast<std::size_t>(FPosition)) : String();
  FPosition -= n;
  return true;
}

bool TPelCustomParser::First() {
  SetPosition(1);
  return Next();
}

bool TPelCustomParser::Last() {
  SetPosition(static_cast<int32_t>(FText.size()));
  return Previous();
}

void TPelCustomParser::SetPosition(int32_t P) {
  if (P == FPosition) return;
  const auto length = static_cast<int32_t>(FText.size());
  FPosition = P < 0 ? 0 : (P > length + 1 ? length + 1 : P);
}

void TPelCustomParser::SetText(const String& S) {
  if (S != FText) {
    FText = S;
    FTokenCountDirty = true;
  }
  FPosition = 1;
  FRestOfText = S;
  FToken.clear();
}

void TPelCustomParser::SetDelimiters(const String& S) {
  if (S == FDelimiters) return;
  FDelimiters = S.empty() ? String(" ") : S;
  FTokenCountDirty = true;
}

int32_t TPelCustomParser::GetTokenCount() {
  if (!FTokenCountDirty) return FTokenCount;  // never written: see the header
  const int32_t saved = FPosition;
  SetPosition(1);
  int32_t count = 0;
  while (Next()) ++count;
  FPosition = saved;
  FTokenCountDirty = false;
  return count;
}

}  // namespace pel
