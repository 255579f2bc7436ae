#include <gtest/gtest.h>
#include <unistd.h>

#include <cstdio>
#include <cstring>
#include <filesystem>

#include "platform/Classes.h"
#include "platform/ExpectRaises.h"

using namespace pel;
using pel::test::ExpectRaises;

namespace {

String TempName(const char* tag) {
  auto dir = std::filesystem::temp_directory_path();
  return (dir / (String("pel_streams_") + tag + "_" + std::to_string(::getpid()))).string();
}

// The behaviour every stream shares: reading past the end stops short, the
// exact forms raise, both Seek forms and all origins move the position.
void CheckStreamContract(TStream* s) {
  const char data[] = "0123456789";
  s->WriteBuffer(data, 10);
  EXPECT_EQ(s->GetSize(), 10);
  EXPECT_EQ(s->Seek(int64_t{-4}, soEnd), 6);
  EXPECT_EQ(s->Seek(int32_t{-2}, soFromCurrent), 4);
  EXPECT_EQ(s->Seek(int32_t{1}, soFromBeginning), 1);
  char buf[16] = {};
  EXPECT_EQ(s->Read(buf, 16), 9);
  EXPECT_STREQ(buf, "123456789");
  s->SetPosition(8);
  ExpectRaises<EReadError>([&] { s->ReadBuffer(buf, 3); }, "Stream read error");
  s->SetPosition(2);
  s->WriteBuffer("ab", 2);
  s->SetPosition(0);
  s->ReadBuffer(buf, 10);
  EXPECT_EQ(String(buf, 10), "01ab456789");
  s->SetSize(3);
  EXPECT_EQ(s->GetSize(), 3);
}

}  // namespace

TEST(Streams, MemoryStringAndFileStreamsShareTheContract) {
  auto m = Make<TMemoryStream>();
  CheckStreamContract(m.get());
  auto st = Make<TStringStream>();
  CheckStreamContract(st.get());
  EXPECT_EQ(st->GetDataString(), "01a");
  String name = TempName("contract");
  {
    auto f = Make<TFileStream>(name, fmCreate);
    CheckStreamContract(f.get());
  }
  EXPECT_EQ(std::filesystem::file_size(name), 3u);
  std::remove(name.c_str());
}

TEST(Streams, MemoryStreamGrowsInBlocksAndFillsGaps) {
  auto m = Make<TMemoryStream>();
  m->WriteBuffer("x", 1);
  EXPECT_EQ(m->GetCapacity(), 0x2000);
  m->SetPosition(0x2001);
  m->WriteBuffer("y", 1);
  EXPECT_EQ(m->GetSize(), 0x2002);
  EXPECT_EQ(m->GetCapacity(), 0x4000);
  EXPECT_EQ(static_cast<char*>(m->GetMemory())[5], 0);  // the gap reads as zeros
  m->SetSize(1);
  EXPECT_EQ(m->GetPosition(), 1);  // position clipped to the new end
  m->Clear();
  EXPECT_EQ(m->GetSize(), 0);
  EXPECT_EQ(m->GetMemory(), nullptr);
}

TEST(Streams, CopyFromAndLoadSave) {
  auto src = Make<TStringStream>("hello world");
  auto dst = Make<TMemoryStream>();
  src->SetPosition(6);
  EXPECT_EQ(dst->CopyFrom(src.get(), 0), 11);  // 0 copies all from the start
  src->SetPosition(0);
  EXPECT_EQ(dst->CopyFrom(src.get(), 5), 5);
  EXPECT_EQ(String(static_cast<char*>(dst->GetMemory()), 16), "hello worldhello");
  src->SetPosition(8);
  EXPECT_THROW(dst->CopyFrom(src.get(), 5), EReadError);

  String name = TempName("save");
  dst->SaveToFile(name);
  auto back = Make<TMemoryStream>();
  back->LoadFromFile(name);
  EXPECT_EQ(back->GetSize(), dst->GetSize());
  EXPECT_EQ(std::memcmp(back->GetMemory(), dst->GetMemory(), 16), 0);
  std::remove(name.c_str());
}

TEST(Streams, FileStreamModesAndErrors) {
  String missing = TempName("missing");
  ExpectRaises<EFOpenError>([&] { Make<TFileStream>(missing, fmOpenRead); },
                            "Cannot open file \"" + missing + "\". No such file or directory");
  ExpectRaises<EFCreateError>(
      [&] { Make<TFileStream>("/nonexistent-dir/x", fmCreate); },
      "Cannot create file \"/nonexistent-dir/x\". No such file or directory");
  String name = TempName("modes");
  Make<TFileStream>(name, fmCreate)->WriteBuffer("abc", 3);
  {
    auto r = Make<TFileStream>(name, fmOpenRead);
    EXPECT_EQ(r->Write("z", 1), 0);  // read-only handle
    EXPECT_THROW(r->WriteBuffer("z", 1), EWriteError);
    auto w = Make<TFileStream>(name, fmOpenWrite);
    char c;
    EXPECT_EQ(w->Read(&c, 1), 0);
    w->Seek(int64_t{0}, soEnd);
    w->WriteBuffer("d", 1);
    EXPECT_EQ(r->GetSize(), 4);
  }
  {
    auto excl = Make<TFileStream>(name, fmOpenReadWrite | fmShareExclusive);
    EXPECT_THROW(Make<TFileStream>(name, fmOpenRead | fmShareDenyWrite), EFOpenError);
    auto shared = Make<TFileStream>(name, fmOpenRead | fmShareDenyNone);
    EXPECT_EQ(shared->GetSize(), 4);
  }
  {
    auto a = Make<TFileStream>(name, fmOpenRead | fmShareDenyWrite);
    auto b = Make<TFileStream>(name, fmOpenRead | fmShareDenyWrite);
    EXPECT_THROW(Make<TFileStream>(name, fmOpenReadWrite | fmShareExclusive), EFOpenError);
  }
  std::remove(name.c_str());
}

TEST(Streams, StringStreamReadStringAndClampedPosition) {
  auto s = Make<TStringStream>("abcdef");
  EXPECT_EQ(s->ReadString(2), "ab");
  EXPECT_EQ(s->ReadString(100), "cdef");
  EXPECT_EQ(s->Seek(int64_t{10}, soBeginning), 6);
  EXPECT_EQ(s->Seek(int64_t{-10}, soCurrent), 0);
  s->WriteString("XY");
  EXPECT_EQ(s->GetDataString(), "XYcdef");
}
