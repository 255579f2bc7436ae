// PelParser: walks the tokens of one string, forwards (First, Next) or
// backwards (Last, Previous). A token is a maximal run of characters that
// are not delimiters; the parser exposes the current token, the text after
// it and the 1-based position.
#pragma once

#include <cstdint>
#include <functional>

#include "platform/Classes.h"
#include "platform/TypInfo.h"

namespace pel {

// A test on one character, bound to an object.
using TSkipTest = std::function<bool(char Character)>;

class TPelCustomParser : public TObject {
  PEL_CLASS(TPelCustomParser, TObject)
 public:
  using TCreateArgs = TCtorArgs<String>;

  // Delimiters are space, carriage return and line feed.
  explicit TPelCustomParser(const String& AText = "");

  // Characters of a token from the position on (Direction +1) or back from
  // it (-1); the position does not move.
  virtual int32_t SkipText(int32_t Direction);
  virtual bool First();
  // Intended: a walk that starts at the last character finds nothing there
  // (only a one-character text gives its token), see PelParser.cpp.
  // From position 0 it succeeds without moving: an empty token and the
  // whole text as the rest.
  virtual bool Next();
  virtual bool Previous();
  virtual bool Last();
  // Counts characters from the position in Direction until SkipTest holds.
  virtual int32_t SkipCharacters(int32_t Direction);

  // Whether C is one of the delimiters; the code 0 always is.
  bool IsADelimiter(char C) const;
  bool IsAToken(char C) const { return !IsADelimiter(C); }
  // Delimiters from the position on (Direction +1) or back from it (-1).
  int32_t SkipDelimiters(int32_t Direction);
  // The number of tokens. Intended: the count is worked out only after the
  // text or the delimiters change and is never kept, so asking again
  // without such a change answers 0.
  int32_t GetTokenCount();

  const String& GetDelimiters() const { return FDelimiters; }
  // An empty string makes the space the only delimiter.
  void SetDelimiters(const String& S);
  int32_t GetPosition() const { return FPosition; }
  // Clamped to 0 .. length of the text + 1.
  void SetPosition(int32_t P);
  const String& GetRestOfText() const { return FRestOfText; }
  void SetRestOfText(const String& S) { FRestOfText = S; }
  const String& GetText() const { return FText; }
  // Position 1, the whole text as the rest, no token.
  void SetText(const String& S);
  const String& GetToken() const { return FToken; }
  void SetToken(const String& S) { FToken = S; }
  const TSkipTest& GetSkipTest() const { return FSkipTest; }

 protected:
  String FDelimiters;
  int32_t FPosition = 1;
  String FRestOfText;
  String FText;
  String FToken;
  int32_t FTokenCount = 0;
  bool FTokenCountDirty = false;
  TSkipTest FSkipTest;
};

class TPelParser : public TPelCustomParser {
  PEL_CLASS(TPelParser, TPelCustomParser)
  PEL_PUBLISHED(TPelParser,
                Property<&TPelParser::GetDelimiters, &TPelParser::SetDelimiters>("Delimiters"),
                Property<&TPelParser::GetPosition, &TPelParser::SetPosition>("Position"),
                Property<&TPelParser::GetRestOfText, &TPelParser::SetRestOfText>("RestOfText"),
                Property<&TPelParser::GetToken, &TPelParser::SetToken>("Token"),
                Property<&TPelParser::GetText, &TPelParser::SetText>("Text"))
 public:
  using TPelCustomParser::TPelCustomParser;
};

}  // namespace pel
