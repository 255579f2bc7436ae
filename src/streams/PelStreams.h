// PelStreams: a buffered stream with push back, a text stream on top of it,
// counted stream tokens and token lists, and a filer for collections of
// mixed item classes.
//
//  * TPelBufferStream: a TStream in front of another stream (the target,
//    not owned). One buffer of BufferSize bytes (default 8192) holds either
//    data fetched from the target and not read yet (bsRead) or data written
//    and not yet given to the target (bsWrite); bsUnknown when it holds
//    neither. PutBack steps back one byte and stores a character there, so
//    the next Read returns it: as many characters can be put back as were
//    consumed from the current fill.
//  * TPelTextStream: reads tokens, lines, blanks and numbers one character at
//    a time through the virtual Read and PutBack (a descendant that
//    overrides them sees every character), and writes characters, numbers,
//    strings, line ends and argument lists. It can own a file stream it
//    opened itself.
//  * TBaseStreamToken, TBaseStreamTokenList: a lexical token and a list of
//    tokens, both used through counted interfaces (IBaseStreamToken and
//    IBaseStreamTokenList of foundation/CommonInterfaces.h).
//  * TPelSpecialFiler: writes a TCollection with each item's class name
//    ("HiddenItemClass") before its properties, and reads it back creating
//    each item of its own registered class.
//
// Errors are the platform's: EStreamError for this unit's own messages,
// EWriteError when a write is refused, EConvertError for bad numbers,
// EIntfCastError, EClassNotFound.
#pragma once

#include <cstdint>
#include <functional>
#include <memory>

#include "foundation/CommonInterfaces.h"
#include "interfaces/InterfaceCollections.h"
#include "platform/Classes.h"

namespace pel {

constexpr const char* SInvalidOriginPoint = "Invalid Origin Point specified: %s";
constexpr const char* SErrorSeekingInBuffer = "Error seeking in buffer";
constexpr const char* SPushBackOverflow = "Overflow on push back";
constexpr const char* SInvalidBufferSize = "Invalid buffer size specified: %s";
constexpr const char* SInvalidBufferState = "Invalid buffer state";
// Declared for client code; nothing here raises it.
constexpr const char* SInvalidSeekEOF = "Invalid seek command, EOF reached";
constexpr const char* SErrorAssigningList = "Error assigning list";
// Declared for client parsers; nothing here raises them.
constexpr const char* SInvalidTokenHint = "Invalid Token hint for parsing token: %s";
constexpr const char* SUnterminatedString = "Invalid string value, string was not terminated";
constexpr const char* SNoWriterForFiler = "No TWriter defined for filer";
constexpr const char* SNoReaderForFiler = "No TReader defined for filer";

// Carriage return and line feed. PutEOL writes its own pair and does not
// read this.
extern const String NewLineString;
// Four spaces.
extern const String IndentString;
// Space, carriage return, line feed, tab: the default delimiters.
extern const String WhiteSpaceDelimiters;
// The 31 punctuation characters ,./?<>;:"[{]}`~!@#$%^&*()-=+\|'
extern const String PunctuationDelimiters;

// ---------------------------------------------------------------------------
// TPelBufferStream

enum TBufferState : uint8_t { bsUnknown, bsRead, bsWrite };

class TPelBufferStream;
using TPelBufferStreamClass = TClassOf<TPelBufferStream, TStream*>;

class TPelBufferStream : public TStream {
  PEL_CLASS(TPelBufferStream, TStream)
  PEL_PUBLISHED(
      TPelBufferStream,
      Property<&TPelBufferStream::GetBufferSize, &TPelBufferStream::SetBufferSize>("BufferSize"))
 public:
  using TCreateArgs = TCtorArgs<TStream*>;
  static constexpr uint32_t DefaultBufferSize = 8192;

  explicit TPelBufferStream(TStream* Stream);
  // Pending written bytes go to the target first (a refused flush is
  // ignored here); the target itself is left alone.
  void BeforeDestruction() override;

  // Reads up to Count bytes, refilling the buffer from the target as often
  // as needed; a short count means the target is exhausted. Never raises.
  int32_t Read(void* Buffer, int32_t Count) override;
  // Takes up to Count bytes into the buffer, handing each full buffer to
  // the target; a refused flush ends the write early with the count taken.
  int32_t Write(const void* Buffer, int32_t Count) override;
  // Origins 0 (from the beginning), 1 (from the current position) and 2
  // (from the end, counting backwards: Seek(5, 2) is five bytes before the
  // end, on purpose). Any other origin raises "Invalid Origin Point
  // specified: <origin>". Seeking to the current position keeps the buffer;
  // any other position flushes pending writes ("Error seeking in buffer"
  // when the target refuses them) and empties the buffer.
  virtual int32_t Seek(int32_t Offset, uint16_t Origin);
  // The 64-bit form ends in the same rules; soEnd subtracts here too.
  int64_t Seek(int64_t Offset, TSeekOrigin Origin) override;
  // Stores C in the byte before the read position, which steps back onto
  // it. Raises "Overflow on push back" when nothing of the current buffer
  // has been consumed.
  virtual void PutBack(char C);

  // Logical position minus the target's: 0 (bsUnknown), minus the unread
  // bytes (bsRead) or the unwritten bytes (bsWrite).
  int32_t GetBufferPosition() const;
  // The buffer is used up and the target is at its end. False on a fresh
  // stream, whose buffer has not been looked at yet.
  bool IsEof();

  uint32_t GetBufferSize() const { return FBufferSize; }
  // 0 raises "Invalid buffer size specified: 0". Another size first hands
  // pending written bytes to the target and lets go of read-ahead (the
  // target is put back at the logical position), then governs later fills
  // and write buffers; the block grows when needed.
  void SetBufferSize(uint32_t Value);

  TStream* GetStream() const { return FStream; }
  TBufferState GetState() const { return FState; }
  const TNotifyEvent& GetOnFillBuffer() const { return FOnFillBuffer; }
  void SetOnFillBuffer(const TNotifyEvent& Value) { FOnFillBuffer = Value; }
  const TNotifyEvent& GetOnFlushBuffer() const { return FOnFlushBuffer; }
  void SetOnFlushBuffer(const TNotifyEvent& Value) { FOnFlushBuffer = Value; }

 protected:
  // Fetches up to BufferSize bytes from the target; true when any came.
  virtual bool FillBuffer();
  // Hands the bytes from the buffer start to the read/write position to the
  // target; true only when it took them all. The buffer is empty after.
  virtual bool FlushBuffer();

  // One byte through the buffer, for the text stream's loops; -1 at the end.
  int ReadByte() {
    if (FCurrent && FCurrent < FEnd && FState != bsWrite) return static_cast<uint8_t>(*FCurrent++);
    char c;
    return Read(&c, 1) == 1 ? static_cast<uint8_t>(c) : -1;
  }

  TStream* FStream;
  std::unique_ptr<char[]> FBuffer;
  char* FCurrent = nullptr;
  char* FEnd;
  TBufferState FState = bsUnknown;

 private:
  int64_t LogicalPosition();
  int64_t SeekTo(int64_t Offset, uint16_t Origin);

  uint32_t FCapacity;
  TNotifyEvent FOnFillBuffer;
  TNotifyEvent FOnFlushBuffer;
  uint32_t FBufferSize = DefaultBufferSize;
};

// ---------------------------------------------------------------------------
// TPelTextStream
//
// Reading stops at end of input without an error: an empty text, character
// 0, false. GetToken takes characters up to (not including) the next
// delimiter; it skips nothing, so a caller that loops on it skips blanks
// between calls (SkipSpaces). GetLine ends a line at CR LF, CR or LF.
// Writing goes through WriteBuffer, which raises EWriteError when the
// target refuses bytes; every writing operation returns the stream so
// calls chain.

class TPelTextStream : public TPelBufferStream {
  PEL_CLASS(TPelTextStream, TPelBufferStream)
  PEL_PUBLISHED(
      TPelTextStream,
      Property<&TPelTextStream::GetDelimiters, &TPelTextStream::SetDelimiters>("Delimiters"))
 public:
  // On Stream, which stays the caller's.
  explicit TPelTextStream(TStream* Stream);
  // On a file opened with the platform's TFileStream (EFOpenError or
  // EFCreateError when that fails; nothing is left behind). The text
  // stream owns the file stream and frees it last.
  TPelTextStream(const String& FileName, uint16_t Mode);
  // Notes whether Read and PutBack are this class's own (see FDirect).
  void AfterConstruction() override;
  // Flushes pending text, then FreeStream.
  void BeforeDestruction() override;

  // Frees the wrapped stream when this stream owns it.
  virtual void FreeStream();
  // Skips blanks (codes 32 and below) up to the end of the line; true when
  // a line end (CR LF, CR or LF) was consumed.
  virtual bool SkipInLineSpaces();
  // The next character, or character 0 at end of input.
  virtual char GetChar();
  // The characters up to the next line end, which is consumed.
  virtual String GetLine();
  virtual TPelTextStream* PutLine(const String& S);
  // Carriage return, then line feed.
  virtual TPelTextStream* PutEOL();

  String GetToken();
  // Sets Delimiters (through SetDelimiters) and reads a token; with
  // Restore the former delimiters come back afterwards.
  String GetToken(const String& Delimiters, bool Restore);
  // Skips every character of code 32 or less.
  void SkipSpaces();
  // SkipSpaces, GetToken, then strict conversion (EConvertError).
  int32_t GetInteger();
  double GetFloat();

  TPelTextStream* Put(char C);
  // Two bytes, low byte first.
  TPelTextStream* Put(char16_t C);
  TPelTextStream* Put(int32_t Value);
  // The platform's FloatToStr.
  TPelTextStream* Put(double Value);
  TPelTextStream* Put(const String& S);
  TPelTextStream* Put(const char* S);
  TPelTextStream* PutSpace();
  TPelTextStream* PutTab();
  // Each argument by its kind, one space after every one but the last,
  // except after a character (so punctuation glues to what follows).
  // Integers, booleans ("True"/"False"), characters, strings of every
  // byte kind, pointers ("%p"), objects ("(TClassName)"), classes, wide
  // characters (two bytes), currency and floats (as Put of a float),
  // variants (converted to an integer). Wide texts, interfaces and 64-bit
  // integers write nothing but still take their separator.
  TPelTextStream* WriteArgs(TVarRecs Args);
  TPelTextStream* WriteLn(TVarRecs Args);
  TPelTextStream* Format(const String& Fmt, TVarRecs Args);
  TPelTextStream* FormatLn(const String& Fmt, TVarRecs Args);

  const String& GetDelimiters() const { return FDelimiters; }
  // A new set of delimiters always includes a space: one is appended when
  // missing (on purpose). Setting the current set again does nothing.
  void SetDelimiters(const String& Value);
  bool GetOwnsStream() const { return FOwnsStream; }

 private:
  TPelTextStream(Owned<TStream>&& Stream, bool Owns);
  void AssignDelimiters(const String& Value);
  TPelTextStream* Emit(const char* P, std::size_t N) {
    WriteBuffer(P, static_cast<int32_t>(N));
    return this;
  }

  bool FOwnsStream = false;
  // Set when the object is exactly a TPelTextStream: its Read and PutBack
  // are then known, and the reading loops take bytes straight from the
  // buffer with the same effect. In any descendant every character goes
  // through the virtual Read and PutBack.
  bool FDirect = false;
  String FDelimiters;
  bool FIsDelimiter[256] = {};
};

// ---------------------------------------------------------------------------
// Stream tokens

enum TStreamTokenType : uint8_t { sttNone, sttAtom, sttString, sttInteger, sttFloat, sttVariable };
// Bit N for element N.
using TStreamTokenTypes = uint8_t;

// A token: its kind (0..5 the TStreamTokenType values; any other value is
// the character code of a one-character token), line, number, text, the
// blanks that preceded it and a tag. It is counted through its interfaces
// from 0: the first interface reference owns it, the last frees it.
//
// Equality looks at the kind, the line and the number only (on purpose:
// text, white space and tag take no part). Assign and Clone copy
// everything but the white space (on purpose). A clone is always a
// TBaseStreamToken.
class TBaseStreamToken : public TPersistent, public IBaseStreamToken {
  PEL_CLASS(TBaseStreamToken, TPersistent)
  PEL_PUBLISHED(
      TBaseStreamToken,
      Property<&TBaseStreamToken::GetDataType, &TBaseStreamToken::SetDataType>("DataType")
          .WithDefault(0),
      Property<&TBaseStreamToken::GetLineNumber, &TBaseStreamToken::SetLineNumber>("LineNumber")
          .WithDefault(0),
      Property<&TBaseStreamToken::GetText, &TBaseStreamToken::SetText>("Text"),
      Property<&TBaseStreamToken::GetNumber, &TBaseStreamToken::SetNumber>("Number"),
      Property<&TBaseStreamToken::GetTag, &TBaseStreamToken::SetTag>("Tag").WithDefault(0),
      Property<&TBaseStreamToken::GetWhitespace, &TBaseStreamToken::SetWhitespace>("WhiteSpace"))
 public:
  TBaseStreamToken() = default;

  HRESULT QueryInterface(const TGUID& IID, void** Obj) override;
  int32_t AddRef() override;
  int32_t Release() override;
  bool GetInterface(const TGUID& IID, void** Obj) override;
  int32_t RefCount() const { return FRefCount.load(); }

  // Copies from another token; anything else goes to TPersistent.
  void Assign(TPersistent* Source) override;
  // Copies from a token interface (EIntfCastError for anything else).
  void Assign(const IPtr<IInterface>& Source) override;
  void AssignTo(TPersistent* Dest) override { TPersistent::AssignTo(Dest); }
  virtual bool Equals(TPersistent* Obj);
  bool Equals(const IPtr<IInterface>& Obj) override;
  IPtr<IInterface> Clone() override;
  // "\"text\"\" for strings (closing pair reversed, on purpose), the
  // truncated number for integers, "%.4f" for floats, "?text" for
  // variables, else the text or, when it is empty, the character whose code
  // is the kind.
  String GetToString() override;

  int32_t GetDataType() override { return FDataType; }
  void SetDataType(int32_t Value) override { FDataType = Value; }
  int32_t GetLineNumber() override { return FLineNumber; }
  void SetLineNumber(int32_t Value) override { FLineNumber = Value; }
  double GetNumber() override { return FNumber; }
  void SetNumber(double Value) override { FNumber = Value; }
  String GetText() override { return FText; }
  void SetText(const String& Value) override { FText = Value; }
  String GetWhitespace() override { return FWhiteSpace; }
  void SetWhitespace(const String& Value) override { FWhiteSpace = Value; }
  int32_t GetTag() override { return FTag; }
  void SetTag(int32_t Value) override { FTag = Value; }

 private:
  int32_t FDataType = sttNone;
  int32_t FLineNumber = 0;
  double FNumber = 0;
  String FText;
  std::atomic<int32_t> FRefCount{0};
  int32_t FTag = 0;
  String FWhiteSpace;
};

// Binds ICloneable's Clone, whose result clashes with TIList's Clone, to
// CloneI.
struct TTokenListInterfaceAdapter : IBaseStreamTokenList {
  IPtr<IInterface> Clone() final { return CloneI(); }
  virtual IPtr<IInterface> CloneI() = 0;
};

// A list of tokens on TIList (at most 25 of them: a full list raises
// EOutOfMemory), counted like TIList. Get, First and Last hand out the
// stored element as a token (EIntfCastError for an element that is not
// one). Assign (from an interface) and Clone copy the tokens; Append shares
// them. Assign from a TPersistent always raises "Error assigning list".
class TBaseStreamTokenList : public TIList, public TTokenListInterfaceAdapter {
  PEL_CLASS(TBaseStreamTokenList, TIList)
 public:
  TBaseStreamTokenList() = default;

  bool GetInterface(const TGUID& IID, void** Obj) override;

  // Each token's text followed by one space.
  virtual String GetToString();
  void Assign(TPersistent* Source) override;
  void Assign(const IPtr<IInterface>& Source) override;
  using TIList::Assign;
  void AssignTo(TPersistent* Dest) override { TIList::AssignTo(Dest); }
  // Same count and element-wise token equality, nulls in the same places.
  bool Equals(const IPtr<IBaseStreamTokenList>& List) override;
  // This very list, or a platform TInterfaceList of equal tokens.
  bool Equals(TObject* Obj) override;
  bool Equals(const IPtr<IInterface>& Obj) override;
  IPtr<IInterface> CloneI() override;

  int32_t GetValueCount() override { return GetCount(); }
  IPtr<IBaseStreamToken> Get(int32_t Index) override;
  void Put(int32_t Index, const IPtr<IBaseStreamToken>& Item) override;
  int32_t Add(const IPtr<IBaseStreamToken>& Item) override;
  void Clear() override;
  IPtr<IBaseStreamToken> First() override;
  IPtr<IBaseStreamToken> Last() override;
  int32_t IndexOf(const IPtr<IBaseStreamToken>& Item) override;
  void Insert(int32_t Index, const IPtr<IBaseStreamToken>& Item) override;
  void Delete(int32_t Index) override;
  // Adds List's tokens themselves, not copies.
  void Append(const IPtr<IBaseStreamTokenList>& List) override;
  int32_t Remove(const IPtr<IBaseStreamToken>& Item) override;
  int32_t GetTag() override { return FTag; }
  void SetTag(int32_t Value) override { FTag = Value; }

 private:
  int32_t FTag = 0;
};

// ---------------------------------------------------------------------------
// TPelSpecialFiler
//
// A collection's stream form: the collection marker; for each item a list
// holding "HiddenItemClass" with the item's class name, then the item's
// properties; a closing list end. A null collection writes as an empty one.
// Reading replaces the collection's items with items of the classes the
// stream names, which must be registered (RegisterClass). A read that fails
// (an unregistered class, a malformed stream) raises and leaves the
// collection as it was, with no update bracket left open. Neither the
// writer nor the reader is owned.
class TPelSpecialFiler : public TObject {
  PEL_CLASS(TPelSpecialFiler, TObject)
 public:
  TPelSpecialFiler() = default;
  explicit TPelSpecialFiler(TWriter* Writer) : FWriter(Writer) {}
  explicit TPelSpecialFiler(TReader* Reader) : FReader(Reader) {}

  // "No TWriter defined for filer" without a writer.
  void WriteCollection(TCollection* Collection);
  // "No TReader defined for filer" without a reader.
  void ReadCollection(TCollection* Collection);

  TWriter* GetWriter() const { return FWriter; }
  TReader* GetReader() const { return FReader; }

 private:
  TWriter* FWriter = nullptr;
  TReader* FReader = nullptr;
};

}  // namespace pel
