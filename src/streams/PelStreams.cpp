#include "streams/PelStreams.h"

#include <algorithm>
#include <charconv>
#include <cstring>
#include <typeinfo>

#include "platform/Variants.h"

namespace pel {

const String NewLineString = "\r\n";
const String IndentString = "    ";
const String WhiteSpaceDelimiters = " \r\n\t";
const String PunctuationDelimiters = ",./?<>;:\"[{]}`~!@#$%^&*()-=+\\|'";

// ---------------------------------------------------------------------------
// TPelBufferStream

TPelBufferStream::TPelBufferStream(TStream* Stream)
    : FStream(Stream),
      FBuffer(new char[DefaultBufferSize]),
      FEnd(FBuffer.get() + DefaultBufferSize),
      FCapacity(DefaultBufferSize) {}

void TPelBufferStream::BeforeDestruction() {
  if (FState == bsWrite) FlushBuffer();
  TStream::BeforeDestruction();
}

bool TPelBufferStream::FillBuffer() {
  int32_t n = CheckAssigned(FStream)->Read(FBuffer.get(), static_cast<int32_t>(FBufferSize));
  if (n < 0) n = 0;
  FCurrent = FBuffer.get();
  FEnd = FCurrent + n;
  FState = n > 0 ? bsRead : bsUnknown;
  if (FOnFillBuffer) FOnFillBuffer(this);
  return n > 0;
}

bool TPelBufferStream::FlushBuffer() {
  int32_t count = FCurrent ? static_cast<int32_t>(FCurrent - FBuffer.get()) : 0;
  int32_t written = count > 0 ? CheckAssigned(FStream)->Write(FBuffer.get(), count) : 0;
  FCurrent = FBuffer.get();
  FState = bsUnknown;
  if (FOnFlushBuffer) FOnFlushBuffer(this);
  return written == count;
}

int32_t TPelBufferStream::Read(void* Buffer, int32_t Count) {
  if (FState == bsWrite) {
    FlushBuffer();
    // The flushed bytes are the target's now; reading starts with a fill.
    FEnd = FCurrent;
  } else if (!FCurrent) {
    FCurrent = FEnd;
  }
  char* dest = static_cast<char*>(Buffer);
  int32_t total = 0;
  while (Count > 0) {
    if (FCurrent == FEnd && !FillBuffer()) break;
    int32_t n = std::min<int32_t>(static_cast<int32_t>(FEnd - FCurrent), Count);
    std::memcpy(dest, FCurrent, n);
    FCurrent += n;
    dest += n;
    total += n;
    Count -= n;
  }
  return total;
}

int32_t TPelBufferStream::Write(const void* Buffer, int32_t Count) {
  if (FState == bsRead) {
    // The target goes where the caller believes the stream is; the buffer
    // pointers stay on purpose, so the write fills the read buffer on from
    // the read position and the next flush writes that buffer from its
    // start. Callers that mix reading and writing seek in between.
    FStream->SetPosition(LogicalPosition());
  } else if (FState == bsUnknown || !FCurrent) {
    FCurrent = FBuffer.get();
    FEnd = FCurrent + FBufferSize;
  }
  const char* src = static_cast<const char*>(Buffer);
  int32_t total = 0;
  int32_t pending = 0;  // bytes of this call still in the buffer
  while (Count > 0) {
    int32_t n = std::min<int32_t>(static_cast<int32_t>(FEnd - FCurrent), Count);
    std::memcpy(FCurrent, src, n);
    FCurrent += n;
    src += n;
    total += n;
    pending += n;
    Count -= n;
    if (FCurrent == FEnd) {
      if (!FlushBuffer()) {
        // Bytes the target refused were not taken: the count says so, and
        // WriteBuffer raises.
        total -= pending;
        break;
      }
      pending = 0;
      FEnd = FCurrent + FBufferSize;
    }
  }
  if (FCurrent != FBuffer.get()) FState = bsWrite;
  return total;
}

int32_t TPelBufferStream::GetBufferPosition() const {
  switch (FState) {
    case bsUnknown:
      return 0;
    case bsRead:
      return static_cast<int32_t>(FCurrent - FEnd);
    case bsWrite:
      return static_cast<int32_t>(FCurrent - FBuffer.get());
  }
  throw EStreamError(SInvalidBufferState);
}

int64_t TPelBufferStream::LogicalPosition() {
  return CheckAssigned(FStream)->GetPosition() + GetBufferPosition();
}

int64_t TPelBufferStream::SeekTo(int64_t Offset, uint16_t Origin) {
  int64_t current = LogicalPosition();
  int64_t target;
  switch (Origin) {
    case soFromBeginning:
      target = Offset;
      break;
    case soFromCurrent:
      target = current + Offset;
      break;
    case soFromEnd:
      target = FStream->GetSize() - Offset;  // subtracts on purpose
      break;
    default:
      throw EStreamError(SInvalidOriginPoint, {IntToStr(static_cast<int32_t>(Origin))});
  }
  if (target == current) return target;
  if (FState == bsWrite && !FlushBuffer()) throw EStreamError(SErrorSeekingInBuffer);
  FStream->SetPosition(target);
  FCurrent = nullptr;
  FState = bsUnknown;
  return target;
}

int32_t TPelBufferStream::Seek(int32_t Offset, uint16_t Origin) {
  return static_cast<int32_t>(SeekTo(Offset, Origin));
}

int64_t TPelBufferStream::Seek(int64_t Offset, TSeekOrigin Origin) {
  uint16_t o = Origin == soCurrent ? soFromCurrent : Origin == soEnd ? soFromEnd : soFromBeginning;
  return SeekTo(Offset, o);
}

void TPelBufferStream::PutBack(char C) {
  if (!FCurrent || FCurrent <= FBuffer.get()) throw EStreamError(SPushBackOverflow);
  *--FCurrent = C;
}

bool TPelBufferStream::IsEof() {
  return FCurrent == FEnd && FStream->GetPosition() == FStream->GetSize();
}

void TPelBufferStream::SetBufferSize(uint32_t Value) {
  if (Value == FBufferSize) return;
  if (Value == 0) throw EStreamError(SInvalidBufferSize, {IntToStr(static_cast<int64_t>(Value))});
  if (FState == bsRead) {
    // Read-ahead is given back to the target rather than written to it.
    FStream->SetPosition(LogicalPosition());
    FCurrent = nullptr;
    FState = bsUnknown;
  } else {
    FlushBuffer();
  }
  if (Value > FCapacity) {
    FBuffer.reset(new char[Value]);
    FCapacity = Value;
    FCurrent = nullptr;
  }
  FBufferSize = Value;
  FEnd = FBuffer.get() + (FCurrent ? FCurrent - FBuffer.get() : Value);
}

// ---------------------------------------------------------------------------
// TPelTextStream

TPelTextStream::TPelTextStream(TStream* Stream) : TPelBufferStream(Stream) {
  AssignDelimiters(WhiteSpaceDelimiters);
}

TPelTextStream::TPelTextStream(const String& FileName, uint16_t Mode)
    : TPelTextStream(Make<TFileStream>(FileName, Mode), true) {}

TPelTextStream::TPelTextStream(Owned<TStream>&& Stream, bool Owns) : TPelTextStream(Stream.get()) {
  FOwnsStream = Owns;
  Stream.release();
}

void TPelTextStream::AfterConstruction() {
  TPelBufferStream::AfterConstruction();
  FDirect = typeid(*this) == typeid(TPelTextStream);
}

void TPelTextStream::BeforeDestruction() {
  TPelBufferStream::BeforeDestruction();
  FreeStream();
}

void TPelTextStream::FreeStream() {
  if (FOwnsStream) FreeAndNil(FStream);
}

void TPelTextStream::AssignDelimiters(const String& Value) {
  FDelimiters = Value;
  std::fill(std::begin(FIsDelimiter), std::end(FIsDelimiter), false);
  for (char c : FDelimiters) FIsDelimiter[static_cast<uint8_t>(c)] = true;
}

void TPelTextStream::SetDelimiters(const String& Value) {
  if (Value == FDelimiters) return;
  String d = Value;
  if (d.find(' ') == String::npos) d += ' ';  // a space always delimits, on purpose
  AssignDelimiters(d);
}

String TPelTextStream::GetToken() {
  String result;
  for (;;) {
    if (FDirect && FCurrent && FCurrent < FEnd && FState != bsWrite) {
      char* p = FCurrent;
      while (p < FEnd && !FIsDelimiter[static_cast<uint8_t>(*p)]) ++p;
      result.append(FCurrent, static_cast<std::size_t>(p - FCurrent));
      FCurrent = p;
      if (p < FEnd) return result;  // the delimiter stays next
      continue;
    }
    char c;
    if (Read(&c, 1) != 1) return result;
    if (FIsDelimiter[static_cast<uint8_t>(c)]) {
      PutBack(c);
      return result;
    }
    result += c;
  }
}

String TPelTextStream::GetToken(const String& Delimiters, bool Restore) {
  if (!Restore) {
    SetDelimiters(Delimiters);
    return GetToken();
  }
  String saved = FDelimiters;
  SetDelimiters(Delimiters);
  return TryFinally([&] { return GetToken(); }, [&] { AssignDelimiters(saved); });
}

String TPelTextStream::GetLine() {
  String result;
  char c = 0;
  bool ended = false;
  while (!ended) {
    if (FDirect && FCurrent && FCurrent < FEnd && FState != bsWrite) {
      char* p = FCurrent;
      while (p < FEnd && *p != '\r' && *p != '\n') ++p;
      result.append(FCurrent, static_cast<std::size_t>(p - FCurrent));
      FCurrent = p;
      if (p < FEnd) {
        c = *FCurrent++;
        ended = true;
      }
      continue;
    }
    if (Read(&c, 1) != 1) return result;
    if (c == '\r' || c == '\n')
      ended = true;
    else
      result += c;
  }
  if (c == '\r') {
    char next;
    if (Read(&next, 1) == 1 && next != '\n') PutBack(next);
  }
  return result;
}

void TPelTextStream::SkipSpaces() {
  for (;;) {
    if (FDirect && FCurrent && FCurrent < FEnd && FState != bsWrite) {
      while (FCurrent < FEnd && static_cast<uint8_t>(*FCurrent) <= 32) ++FCurrent;
      if (FCurrent < FEnd) return;
      continue;
    }
    char c;
    if (Read(&c, 1) != 1) return;
    if (static_cast<uint8_t>(c) > 32) {
      PutBack(c);
      return;
    }
  }
}

bool TPelTextStream::SkipInLineSpaces() {
  for (;;) {
    char c;
    if (Read(&c, 1) != 1) return false;
    if (static_cast<uint8_t>(c) > 32) {
      PutBack(c);
      return false;
    }
    if (c == '\n') return true;
    if (c == '\r') {
      if (Read(&c, 1) == 1 && c != '\n') PutBack(c);
      return true;
    }
  }
}

char TPelTextStream::GetChar() {
  char c;
  return Read(&c, 1) == 1 ? c : '\0';
}

int32_t TPelTextStream::GetInteger() {
  SkipSpaces();
  return StrToInt(GetToken());
}

double TPelTextStream::GetFloat() {
  SkipSpaces();
  return StrToFloat(GetToken());
}

TPelTextStream* TPelTextStream::Put(char C) { return Emit(&C, 1); }

TPelTextStream* TPelTextStream::Put(char16_t C) {
  char bytes[2] = {static_cast<char>(C & 0xFF), static_cast<char>(C >> 8)};
  return Emit(bytes, 2);
}

TPelTextStream* TPelTextStream::Put(int32_t Value) {
  char digits[16];
  auto r = std::to_chars(digits, digits + sizeof digits, Value);
  return Emit(digits, static_cast<std::size_t>(r.ptr - digits));
}

TPelTextStream* TPelTextStream::Put(double Value) { return Put(FloatToStr(Value)); }

TPelTextStream* TPelTextStream::Put(const String& S) { return Emit(S.data(), S.size()); }

TPelTextStream* TPelTextStream::Put(const char* S) { return S ? Emit(S, std::strlen(S)) : this; }

TPelTextStream* TPelTextStream::PutLine(const String& S) {
  Put(S);
  return PutEOL();
}

TPelTextStream* TPelTextStream::PutSpace() { return Put(' '); }

TPelTextStream* TPelTextStream::PutTab() { return Put('\t'); }

TPelTextStream* TPelTextStream::PutEOL() {
  Put('\r');
  return Put('\n');
}

TPelTextStream* TPelTextStream::WriteArgs(TVarRecs Args) {
  std::size_t index = 0;
  for (const TVarRec& a : Args) {
    switch (a.VType) {
      case TVarRec::vtInteger:
        Put(a.VInteger);
        break;
      case TVarRec::vtBoolean:
        Put(a.VBoolean ? "True" : "False");
        break;
      case TVarRec::vtChar:
        Put(a.VChar);
        break;
      case TVarRec::vtExtended:
        // This record holds the float itself, not a reference to it, so its
        // value is what is written.
        Put(a.VExtended);
        break;
      case TVarRec::vtString:
        Put(*a.VString);
        break;
      case TVarRec::vtPointer:
        Put(pel::Format("%p", {a.VPointer}));
        break;
      case TVarRec::vtPChar:
        Put(a.VPChar);
        break;
      case TVarRec::vtObject:
        Put('(')->Put(CheckAssigned(a.VObject)->ClassName())->Put(')');
        break;
      case TVarRec::vtClass:
        Put(CheckAssigned(a.VClass)->Name);
        break;
      case TVarRec::vtWideChar:
        Put(a.VWideChar);
        break;
      case TVarRec::vtAnsiString:
        Put(*a.VAnsiString);
        break;
      case TVarRec::vtCurrency:
        Put(Currency::FromRaw(a.VCurrency).ToDouble());
        break;
      case TVarRec::vtVariant:
        Put(VarToInt(*a.VVariant));
        break;
      default:  // wide texts, interfaces, 64-bit integers: nothing
        break;
    }
    if (++index < Args.size() && a.VType != TVarRec::vtChar) PutSpace();
  }
  return this;
}

TPelTextStream* TPelTextStream::WriteLn(TVarRecs Args) {
  WriteArgs(Args);
  return PutEOL();
}

TPelTextStream* TPelTextStream::Format(const String& Fmt, TVarRecs Args) {
  return Put(pel::Format(Fmt, Args));
}

TPelTextStream* TPelTextStream::FormatLn(const String& Fmt, TVarRecs Args) {
  Format(Fmt, Args);
  return PutEOL();
}

}  // namespace pel
