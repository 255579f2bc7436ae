#include "platform/classes/Strings.h"

#include <algorithm>

namespace pel {

namespace {

String Quoted(const String& S, char Quote) {
  String r(1, Quote);
  for (char c : S) {
    r += c;
    if (c == Quote) r += Quote;
  }
  r += Quote;
  return r;
}

// Reads a quoted string starting at the quote at S[p]; a doubled quote
// stands for one. Leaves p after the closing quote (or at the end).
String ExtractQuoted(const String& S, std::size_t& p, char Quote) {
  String r;
  ++p;
  while (p < S.size()) {
    if (S[p] == Quote) {
      if (p + 1 < S.size() && S[p + 1] == Quote) {
        r += Quote;
        p += 2;
        continue;
      }
      ++p;
      break;
    }
    r += S[p++];
  }
  return r;
}

bool IsBlank(char c) { return static_cast<unsigned char>(c) <= ' '; }

}  // namespace

void TStrings::Error(const char* Msg, int32_t Data) { throw EStringListError(Msg, {Data}); }

void TStrings::Assign(TPersistent* Source) {
  if (auto* source = dynamic_cast<TStrings*>(Source)) {
    Updating(this, [&] {
      Clear();
      FDelimiter = source->FDelimiter;
      FQuoteChar = source->FQuoteChar;
      FNameValueSeparator = source->FNameValueSeparator;
      AddStrings(source);
    });
    return;
  }
  TPersistent::Assign(Source);
}

int32_t TStrings::GetCapacity() { return GetCount(); }

TObject* TStrings::GetObject(int32_t) { return nullptr; }

void TStrings::Put(int32_t Index, const String& S) {
  TObject* object = GetObject(Index);
  Delete(Index);
  InsertObject(Index, S, object);
}

void TStrings::PutObject(int32_t, TObject*) {}

void TStrings::SetCapacity(int32_t) {}

void TStrings::SetUpdateState(bool) {}

int32_t TStrings::Add(const String& S) {
  int32_t Result = GetCount();
  Insert(Result, S);
  return Result;
}

int32_t TStrings::AddObject(const String& S, TObject* AObject) {
  int32_t Result = Add(S);
  PutObject(Result, AObject);
  return Result;
}

void TStrings::AddStrings(TStrings* Strings) {
  Updating(this, [&] {
    for (int32_t i = 0; i < Strings->GetCount(); ++i)
      AddObject(Strings->Get(i), Strings->GetObject(i));
  });
}

void TStrings::InsertObject(int32_t Index, const String& S, TObject* AObject) {
  Insert(Index, S);
  PutObject(Index, AObject);
}

void TStrings::Exchange(int32_t Index1, int32_t Index2) {
  Updating(this, [&] {
    TObject* object = GetObject(Index1);
    String s = Get(Index1);
    Put(Index1, Get(Index2));
    PutObject(Index1, GetObject(Index2));
    Put(Index2, s);
    PutObject(Index2, object);
  });
}

void TStrings::Move(int32_t CurIndex, int32_t NewIndex) {
  if (CurIndex == NewIndex) return;
  Updating(this, [&] {
    String s = Get(CurIndex);
    TObject* object = GetObject(CurIndex);
    Delete(CurIndex);
    InsertObject(NewIndex, s, object);
  });
}

int32_t TStrings::CompareStrings(const String& S1, const String& S2) {
  return AnsiCompareText(S1, S2);
}

int32_t TStrings::IndexOf(const String& S) {
  for (int32_t i = 0; i < GetCount(); ++i)
    if (CompareStrings(Get(i), S) == 0) return i;
  return -1;
}

int32_t TStrings::IndexOfObject(TObject* AObject) {
  for (int32_t i = 0; i < GetCount(); ++i)
    if (GetObject(i) == AObject) return i;
  return -1;
}

String TStrings::GetName(int32_t Index) {
  String s = Get(Index);
  std::size_t p = s.find(FNameValueSeparator);
  return p == String::npos ? String() : s.substr(0, p);
}

int32_t TStrings::IndexOfName(const String& Name) {
  for (int32_t i = 0; i < GetCount(); ++i) {
    String s = Get(i);
    std::size_t p = s.find(FNameValueSeparator);
    if (p != String::npos && CompareStrings(s.substr(0, p), Name) == 0) return i;
  }
  return -1;
}

String TStrings::GetValue(const String& Name) {
  int32_t i = IndexOfName(Name);
  return i < 0 ? String() : Get(i).substr(Name.size() + 1);
}

String TStrings::GetValueFromIndex(int32_t Index) {
  String s = Get(Index);
  std::size_t p = s.find(FNameValueSeparator);
  return p == String::npos ? String() : s.substr(p + 1);
}

void TStrings::SetValue(const String& Name, const String& Value) {
  int32_t i = IndexOfName(Name);
  if (!Value.empty()) {
    if (i < 0) i = Add("");
    Put(i, Name + FNameValueSeparator + Value);
  } else if (i >= 0) {
    Delete(i);
  }
}

bool TStrings::Equals(TStrings* Strings) {
  int32_t n = GetCount();
  if (n != Strings->GetCount()) return false;
  for (int32_t i = 0; i < n; ++i)
    if (Get(i) != Strings->Get(i)) return false;
  return true;
}

void TStrings::BeginUpdate() {
  if (FUpdateCount == 0) SetUpdateState(true);
  ++FUpdateCount;
}

void TStrings::EndUpdate() {
  --FUpdateCount;
  if (FUpdateCount == 0) SetUpdateState(false);
}

String TStrings::GetText() {
  String r;
  for (int32_t i = 0; i < GetCount(); ++i) {
    r += Get(i);
    r += sLineBreak;
  }
  return r;
}

void TStrings::SetText(const String& Value) {
  Updating(this, [&] {
    Clear();
    std::size_t p = 0;
    while (p < Value.size()) {
      std::size_t start = p;
      while (p < Value.size() && Value[p] != '\r' && Value[p] != '\n') ++p;
      Add(Value.substr(start, p - start));
      if (p < Value.size() && Value[p] == '\r') ++p;
      if (p < Value.size() && Value[p] == '\n') ++p;
    }
  });
}

String TStrings::GetDelimitedText() {
  int32_t n = GetCount();
  if (n == 1 && Get(0).empty()) return String(2, FQuoteChar);
  String r;
  for (int32_t i = 0; i < n; ++i) {
    String s = Get(i);
    bool quote = false;
    for (char c : s)
      if (IsBlank(c) || c == FQuoteChar || c == FDelimiter) quote = true;
    if (i > 0) r += FDelimiter;
    r += quote ? Quoted(s, FQuoteChar) : s;
  }
  return r;
}

void TStrings::SetDelimitedText(const String& Value) {
  Updating(this, [&] {
    Clear();
    // The text ends at a NUL byte, as the framework reads it.
    const std::size_t n = std::min(Value.find('\0'), Value.size());
    std::size_t p = 0;
    auto skipBlanks = [&] {
      while (p < n && IsBlank(Value[p])) ++p;
    };
    skipBlanks();
    while (p < n) {
      String s;
      if (Value[p] == FQuoteChar) {
        s = ExtractQuoted(Value, p, FQuoteChar);
      } else {
        std::size_t start = p;
        while (p < n && !IsBlank(Value[p]) && Value[p] != FDelimiter) ++p;
        s = Value.substr(start, p - start);
      }
      Add(s);
      skipBlanks();
      if (p < n && Value[p] == FDelimiter) {
        if (p + 1 == n) Add("");
        do {
          ++p;
        } while (p < n && IsBlank(Value[p]));
      }
    }
  });
}

String TStrings::GetCommaText() {
  char d = FDelimiter, q = FQuoteChar;
  FDelimiter = ',';
  FQuoteChar = '"';
  String r = GetDelimitedText();
  FDelimiter = d;
  FQuoteChar = q;
  return r;
}

void TStrings::SetCommaText(const String& Value) {
  char d = FDelimiter, q = FQuoteChar;
  FDelimiter = ',';
  FQuoteChar = '"';
  TryFinally([&] { SetDelimitedText(Value); },
             [&] {
               FDelimiter = d;
               FQuoteChar = q;
             });
}

}  // namespace pel
