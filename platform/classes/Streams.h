// Streams: the framework's byte streams.
//
// TStream is the abstract stream: Read and Write move up to Count bytes and
// return how many moved; Seek moves the position (64-bit form, origins
// soBeginning/soCurrent/soEnd, and the older 32-bit form with the word
// origins soFromBeginning/soFromCurrent/soFromEnd). ReadBuffer and
// WriteBuffer move exactly Count bytes or raise EReadError / EWriteError.
//
// Descendants: THandleStream over an operating-system file handle,
// TFileStream that opens a file by name with the framework's mode flags,
// TMemoryStream over a growable block of memory and TStringStream over a
// String.
//
// A descendant that overrides the 64-bit Seek brings the 32-bit overload
// back into scope with `using TStream::Seek;`.
#pragma once

#include <cstdint>

#include "platform/SysUtils.h"

namespace pel {

class TComponent;

enum TSeekOrigin : uint8_t { soBeginning, soCurrent, soEnd };

// Origins of the 32-bit Seek.
constexpr uint16_t soFromBeginning = 0;
constexpr uint16_t soFromCurrent = 1;
constexpr uint16_t soFromEnd = 2;

// File modes of TFileStream: an access mode or-ed with a share mode, or
// fmCreate alone.
constexpr uint16_t fmCreate = 0xFFFF;
constexpr uint16_t fmOpenRead = 0x0000;
constexpr uint16_t fmOpenWrite = 0x0001;
constexpr uint16_t fmOpenReadWrite = 0x0002;
constexpr uint16_t fmShareCompat = 0x0000;
constexpr uint16_t fmShareExclusive = 0x0010;
constexpr uint16_t fmShareDenyWrite = 0x0020;
constexpr uint16_t fmShareDenyRead = 0x0030;
constexpr uint16_t fmShareDenyNone = 0x0040;

class TStream : public TObject {
  PEL_CLASS(TStream, TObject)
 public:
  // Reads up to Count bytes into Buffer; returns the number read.
  virtual int32_t Read(void* Buffer, int32_t Count) = 0;
  // Writes up to Count bytes from Buffer; returns the number written.
  virtual int32_t Write(const void* Buffer, int32_t Count) = 0;
  // Moves the position; returns the new position.
  virtual int64_t Seek(int64_t Offset, TSeekOrigin Origin) = 0;
  // The older form with a word origin (soFromBeginning...).
  int32_t Seek(int32_t Offset, uint16_t Origin);

  int64_t GetPosition();
  void SetPosition(int64_t Pos);
  virtual int64_t GetSize();
  // Sets the size; streams that cannot change it ignore the call.
  virtual void SetSize(int64_t NewSize);

  // Reads exactly Count bytes or raises EReadError ("Stream read error").
  void ReadBuffer(void* Buffer, int32_t Count);
  // Writes exactly Count bytes or raises EWriteError ("Stream write error").
  void WriteBuffer(const void* Buffer, int32_t Count);
  // Copies Count bytes from Source's position; Count 0 copies all of Source
  // from its start. Returns the number of bytes copied.
  int64_t CopyFrom(TStream* Source, int64_t Count);

  // Writes Instance (and its owned components) as a binary component
  // stream; ReadComponent reads one back into Instance or, when Instance is
  // null, into a new component of the stream's registered class.
  void WriteComponent(TComponent* Instance);
  void WriteDescendent(TComponent* Instance, TComponent* Ancestor);
  TComponent* ReadComponent(TComponent* Instance);
};

// A stream over an operating-system file handle (a POSIX descriptor). It
// does not close the handle.
class THandleStream : public TStream {
  PEL_CLASS(THandleStream, TStream)
 public:
  explicit THandleStream(int32_t AHandle) : FHandle(AHandle) {}
  using TStream::Seek;
  int32_t Read(void* Buffer, int32_t Count) override;
  int32_t Write(const void* Buffer, int32_t Count) override;
  int64_t Seek(int64_t Offset, TSeekOrigin Origin) override;
  void SetSize(int64_t NewSize) override;
  int32_t GetHandle() const { return FHandle; }

 protected:
  int32_t FHandle;
};

// A file opened by name. Mode is fmCreate (create or truncate, read-write)
// or an access mode or-ed with a share mode. The share modes take advisory
// locks: fmShareExclusive and fmShareDenyRead an exclusive one,
// fmShareDenyWrite a shared one; a conflicting lock fails the open.
class TFileStream : public THandleStream {
  PEL_CLASS(TFileStream, THandleStream)
 public:
  TFileStream(const String& AFileName, uint16_t Mode);
  ~TFileStream() override;
  const String& GetFileName() const { return FFileName; }

 private:
  String FFileName;
};

// A stream over a block of memory the stream owns (TMemoryStream) or is
// given (a descendant calling SetPointer).
class TCustomMemoryStream : public TStream {
  PEL_CLASS(TCustomMemoryStream, TStream)
 public:
  using TStream::Seek;
  int32_t Read(void* Buffer, int32_t Count) override;
  int64_t Seek(int64_t Offset, TSeekOrigin Origin) override;
  void SaveToStream(TStream* Stream);
  void SaveToFile(const String& FileName);
  void* GetMemory() const { return FMemory; }

 protected:
  void SetPointer(void* Ptr, int64_t Size);
  char* FMemory = nullptr;
  int64_t FSize = 0;
  int64_t FPosition = 0;
};

// A growable memory stream; capacity grows in steps of 8 KiB.
class TMemoryStream : public TCustomMemoryStream {
  PEL_CLASS(TMemoryStream, TCustomMemoryStream)
 public:
  ~TMemoryStream() override;
  int32_t Write(const void* Buffer, int32_t Count) override;
  void SetSize(int64_t NewSize) override;
  void Clear();
  void LoadFromStream(TStream* Stream);
  void LoadFromFile(const String& FileName);
  int64_t GetCapacity() const { return FCapacity; }

 protected:
  void SetCapacity(int64_t NewCapacity);

 private:
  int64_t FCapacity = 0;
};

// A stream over a String: writing overwrites and extends it.
class TStringStream : public TStream {
  PEL_CLASS(TStringStream, TStream)
 public:
  explicit TStringStream(const String& AString = String()) : FDataString(AString) {}
  using TStream::Seek;
  int32_t Read(void* Buffer, int32_t Count) override;
  int32_t Write(const void* Buffer, int32_t Count) override;
  int64_t Seek(int64_t Offset, TSeekOrigin Origin) override;
  void SetSize(int64_t NewSize) override;
  // Reads up to Count characters from the position.
  String ReadString(int32_t Count);
  void WriteString(const String& AString);
  const String& GetDataString() const { return FDataString; }

 private:
  String FDataString;
  int64_t FPosition = 0;
};

}  // namespace pel
