#include "platform/classes/Streams.h"

#include <errno.h>
#include <fcntl.h>
#include <sys/file.h>
#include <unistd.h>

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <limits>

#include "platform/RTLConsts.h"

namespace pel {

// ---------------------------------------------------------------------------
// TStream

int32_t TStream::Seek(int32_t Offset, uint16_t Origin) {
  TSeekOrigin o = Origin == soFromCurrent ? soCurrent : Origin == soFromEnd ? soEnd : soBeginning;
  return static_cast<int32_t>(Seek(static_cast<int64_t>(Offset), o));
}

int64_t TStream::GetPosition() { return Seek(int64_t{0}, soCurrent); }

void TStream::SetPosition(int64_t Pos) { Seek(Pos, soBeginning); }

int64_t TStream::GetSize() {
  int64_t pos = Seek(int64_t{0}, soCurrent);
  int64_t size = Seek(int64_t{0}, soEnd);
  Seek(pos, soBeginning);
  return size;
}

void TStream::SetSize(int64_t) {}

void TStream::ReadBuffer(void* Buffer, int32_t Count) {
  if (Count != 0 && Read(Buffer, Count) != Count) throw EReadError(SReadError);
}

void TStream::WriteBuffer(const void* Buffer, int32_t Count) {
  if (Count != 0 && Write(Buffer, Count) != Count) throw EWriteError(SWriteError);
}

int64_t TStream::CopyFrom(TStream* Source, int64_t Count) {
  if (Count == 0) {
    Source->SetPosition(0);
    Count = Source->GetSize();
  }
  constexpr int32_t kBufSize = 0xF000;
  char buffer[kBufSize];
  int64_t result = Count;
  while (Count > 0) {
    int32_t n = static_cast<int32_t>(std::min<int64_t>(Count, kBufSize));
    Source->ReadBuffer(buffer, n);
    WriteBuffer(buffer, n);
    Count -= n;
  }
  return result;
}

// ---------------------------------------------------------------------------
// THandleStream

int32_t THandleStream::Read(void* Buffer, int32_t Count) {
  if (Count <= 0) return 0;
  int32_t done = 0;
  while (done < Count) {
    ssize_t n = ::read(FHandle, static_cast<char*>(Buffer) + done, Count - done);
    if (n <= 0) break;
    done += static_cast<int32_t>(n);
  }
  return done;
}

int32_t THandleStream::Write(const void* Buffer, int32_t Count) {
  if (Count <= 0) return 0;
  int32_t done = 0;
  while (done < Count) {
    ssize_t n = ::write(FHandle, static_cast<const char*>(Buffer) + done, Count - done);
    if (n <= 0) break;
    done += static_cast<int32_t>(n);
  }
  return done;
}

int64_t THandleStream::Seek(int64_t Offset, TSeekOrigin Origin) {
  int whence = Origin == soCurrent ? SEEK_CUR : Origin == soEnd ? SEEK_END : SEEK_SET;
  off_t r = ::lseek(FHandle, static_cast<off_t>(Offset), whence);
  return static_cast<int64_t>(r);
}

void THandleStream::SetSize(int64_t NewSize) {
  Seek(NewSize, soBeginning);
  if (::ftruncate(FHandle, static_cast<off_t>(NewSize)) != 0) throw EStreamError(SWriteError);
}

// ---------------------------------------------------------------------------
// TFileStream

namespace {

int OpenFile(const String& Name, uint16_t Mode) {
  int access = Mode & 3;
  int flags = access == fmOpenWrite ? O_WRONLY : access == fmOpenReadWrite ? O_RDWR : O_RDONLY;
  int fd = ::open(Name.c_str(), flags | O_CLOEXEC);
  if (fd < 0) return fd;
  int share = Mode & 0xF0;
  int lock = (share == fmShareExclusive || share == fmShareDenyRead) ? LOCK_EX
             : share == fmShareDenyWrite                             ? LOCK_SH
                                                                     : 0;
  if (lock && ::flock(fd, lock | LOCK_NB) != 0) {
    int reason = errno;
    ::close(fd);
    errno = reason;
    return -1;
  }
  return fd;
}

// The system's text for an error code, as the framework's messages quote it.
String SystemReason(int Code) { return String(std::strerror(Code)); }

}  // namespace

TFileStream::TFileStream(const String& AFileName, uint16_t Mode)
    : THandleStream(-1), FFileName(AFileName) {
  if (Mode == fmCreate) {
    FHandle = ::open(AFileName.c_str(), O_RDWR | O_CREAT | O_TRUNC | O_CLOEXEC, 0644);
    if (FHandle < 0) throw EFCreateError(SFCreateErrorEx, {AFileName, SystemReason(errno)});
  } else {
    FHandle = OpenFile(AFileName, Mode);
    if (FHandle < 0) throw EFOpenError(SFOpenErrorEx, {AFileName, SystemReason(errno)});
  }
}

TFileStream::~TFileStream() {
  if (FHandle >= 0) ::close(FHandle);
}

// ---------------------------------------------------------------------------
// TCustomMemoryStream

int32_t TCustomMemoryStream::Read(void* Buffer, int32_t Count) {
  if (Count <= 0 || FPosition < 0 || FPosition >= FSize) return 0;
  int64_t n = std::min<int64_t>(Count, FSize - FPosition);
  std::memcpy(Buffer, FMemory + FPosition, static_cast<size_t>(n));
  FPosition += n;
  return static_cast<int32_t>(n);
}

int64_t TCustomMemoryStream::Seek(int64_t Offset, TSeekOrigin Origin) {
  switch (Origin) {
    case soBeginning:
      FPosition = Offset;
      break;
    case soCurrent:
      FPosition += Offset;
      break;
    case soEnd:
      FPosition = FSize + Offset;
      break;
  }
  return FPosition;
}

void TCustomMemoryStream::SaveToStream(TStream* Stream) {
  if (FSize != 0) Stream->WriteBuffer(FMemory, static_cast<int32_t>(FSize));
}

void TCustomMemoryStream::SaveToFile(const String& FileName) {
  Owned<TFileStream> f = Make<TFileStream>(FileName, fmCreate);
  SaveToStream(f.get());
}

void TCustomMemoryStream::SetPointer(void* Ptr, int64_t Size) {
  FMemory = static_cast<char*>(Ptr);
  FSize = Size;
}

// ---------------------------------------------------------------------------
// TMemoryStream

TMemoryStream::~TMemoryStream() { std::free(FMemory); }

void TMemoryStream::SetCapacity(int64_t NewCapacity) {
  constexpr int64_t kDelta = 0x2000;
  if (NewCapacity > 0) NewCapacity = (NewCapacity + kDelta - 1) & ~(kDelta - 1);
  if (NewCapacity == FCapacity) return;
  if (NewCapacity == 0) {
    std::free(FMemory);
    FMemory = nullptr;
  } else {
    void* p = std::realloc(FMemory, static_cast<size_t>(NewCapacity));
    if (!p) throw EStreamError(SMemoryStreamError);
    FMemory = static_cast<char*>(p);
  }
  FCapacity = NewCapacity;
}

void TMemoryStream::SetSize(int64_t NewSize) {
  int64_t old = FPosition;
  SetCapacity(NewSize);
  FSize = NewSize;
  if (old > NewSize) Seek(int64_t{0}, soEnd);
}

void TMemoryStream::Clear() {
  SetCapacity(0);
  FSize = 0;
  FPosition = 0;
}

int32_t TMemoryStream::Write(const void* Buffer, int32_t Count) {
  if (FPosition < 0 || Count <= 0) return 0;
  int64_t end = FPosition + Count;
  if (end > FSize) {
    if (end > FCapacity) SetCapacity(end);
    if (FPosition > FSize) std::memset(FMemory + FSize, 0, static_cast<size_t>(FPosition - FSize));
    FSize = end;
  }
  std::memcpy(FMemory + FPosition, Buffer, static_cast<size_t>(Count));
  FPosition = end;
  return Count;
}

void TMemoryStream::LoadFromStream(TStream* Stream) {
  Stream->SetPosition(0);
  int64_t count = Stream->GetSize();
  SetSize(count);
  if (count != 0) Stream->ReadBuffer(FMemory, static_cast<int32_t>(count));
}

void TMemoryStream::LoadFromFile(const String& FileName) {
  Owned<TFileStream> f = Make<TFileStream>(FileName, fmOpenRead | fmShareDenyWrite);
  LoadFromStream(f.get());
}

// ---------------------------------------------------------------------------
// TStringStream

int32_t TStringStream::Read(void* Buffer, int32_t Count) {
  int64_t size = static_cast<int64_t>(FDataString.size());
  if (Count <= 0 || FPosition < 0 || FPosition >= size) return 0;
  int64_t n = std::min<int64_t>(Count, size - FPosition);
  std::memcpy(Buffer, FDataString.data() + FPosition, static_cast<size_t>(n));
  FPosition += n;
  return static_cast<int32_t>(n);
}

int32_t TStringStream::Write(const void* Buffer, int32_t Count) {
  if (Count <= 0 || FPosition < 0) return 0;
  size_t end = static_cast<size_t>(FPosition) + static_cast<size_t>(Count);
  if (end > FDataString.size()) FDataString.resize(end);
  std::memcpy(FDataString.data() + FPosition, Buffer, static_cast<size_t>(Count));
  FPosition += Count;
  return Count;
}

int64_t TStringStream::Seek(int64_t Offset, TSeekOrigin Origin) {
  int64_t size = static_cast<int64_t>(FDataString.size());
  switch (Origin) {
    case soBeginning:
      FPosition = Offset;
      break;
    case soCurrent:
      FPosition += Offset;
      break;
    case soEnd:
      FPosition = size + Offset;
      break;
  }
  // The framework keeps the position inside the string.
  FPosition = std::clamp<int64_t>(FPosition, 0, size);
  return FPosition;
}

void TStringStream::SetSize(int64_t NewSize) {
  FDataString.resize(static_cast<size_t>(std::max<int64_t>(NewSize, 0)));
  if (FPosition > NewSize) FPosition = NewSize;
}

String TStringStream::ReadString(int32_t Count) {
  int64_t size = static_cast<int64_t>(FDataString.size());
  int64_t n = std::clamp<int64_t>(Count, 0, size - FPosition);
  String r = FDataString.substr(static_cast<size_t>(FPosition), static_cast<size_t>(n));
  FPosition += n;
  return r;
}

void TStringStream::WriteString(const String& AString) {
  Write(AString.data(), static_cast<int32_t>(AString.size()));
}

}  // namespace pel
