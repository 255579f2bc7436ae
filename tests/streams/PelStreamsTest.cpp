#include <gtest/gtest.h>
#include <unistd.h>

#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iterator>

#include "platform/ExpectRaises.h"
#include "platform/StreamTestClasses.h"
#include "streams/PelStreams.h"

namespace pel {
namespace {

using test::ExpectRaises;

String TempName(const char* tag) {
  auto dir = std::filesystem::temp_directory_path();
  return (dir / (String("pel_pelstreams_") + tag + "_" + std::to_string(::getpid()))).string();
}

String ReadFile(const String& name) {
  std::ifstream in(name, std::ios::binary);
  return String(std::istreambuf_iterator<char>(in), {});
}

// A target that takes at most Room more bytes, then refuses: a full disk.
class TFullStream : public TStringStream {
  PEL_CLASS(TFullStream, TStringStream)
 public:
  explicit TFullStream(int32_t Room) : FRoom(Room) {}
  int32_t Write(const void* Buffer, int32_t Count) override {
    int32_t n = std::min(Count, FRoom);
    FRoom -= n;
    return TStringStream::Write(Buffer, n);
  }
  int32_t FRoom;
};

// A text stream whose descendant counts what passes through Read and PutBack.
class TCountingTextStream : public TPelTextStream {
  PEL_CLASS(TCountingTextStream, TPelTextStream)
 public:
  using TPelTextStream::TPelTextStream;
  int32_t Read(void* Buffer, int32_t Count) override {
    int32_t n = TPelTextStream::Read(Buffer, Count);
    Seen.append(static_cast<char*>(Buffer), n);
    return n;
  }
  void PutBack(char C) override {
    PutBacks += C;
    TPelTextStream::PutBack(C);
  }
  String Seen, PutBacks;
};

TEST(PelBufferStream, ReadFillsFromTargetAndPutsBack) {
  auto target = Make<TStringStream>(String(20000, 'a'));
  auto s = Make<TPelBufferStream>(target.get());
  int fills = 0;
  s->SetOnFillBuffer([&](TObject* Sender) { fills += Sender == s.get(); });
  ExpectRaises<EStreamError>([&] { s->PutBack('x'); }, "Overflow on push back");
  EXPECT_FALSE(s->IsEof());
  char c;
  ASSERT_EQ(s->Read(&c, 1), 1);
  EXPECT_EQ(std::tuple(target->GetPosition(), s->GetPosition(), s->GetState()),
            std::tuple(int64_t{8192}, int64_t{1}, bsRead));
  s->PutBack('x');
  ExpectRaises<EStreamError>([&] { s->PutBack('y'); }, "Overflow on push back");
  ASSERT_EQ(s->Read(&c, 1), 1);
  EXPECT_EQ(c, 'x');
  String rest(20000, '\0');
  EXPECT_EQ(s->Read(rest.data(), 20000), 19999);
  EXPECT_EQ(fills, 4);  // three fills of data, one that found the end
  EXPECT_TRUE(s->IsEof());
}

TEST(PelBufferStream, WritesWaitForFlushAndSeek) {
  auto target = Make<TStringStream>(String(100, '.'));
  auto s = Make<TPelBufferStream>(target.get());
  int flushes = 0;
  s->SetOnFlushBuffer([&](TObject*) { ++flushes; });
  s->WriteBuffer("0123456789", 10);
  EXPECT_EQ(target->GetDataString(), String(100, '.'));
  EXPECT_EQ(s->Seek(int32_t{10}, soFromBeginning), 10);  // where it is: nothing moves
  EXPECT_EQ(flushes, 0);
  EXPECT_EQ(s->Seek(int32_t{0}, soFromEnd), 100);
  EXPECT_EQ(flushes, 1);
  EXPECT_EQ(target->GetDataString().substr(0, 11), "0123456789.");
  EXPECT_EQ(s->Seek(int32_t{5}, soFromEnd), 95);  // from the end counts backwards
  EXPECT_EQ(s->Seek(int32_t{-3}, soFromCurrent), 92);
  ExpectRaises<EStreamError>([&] { s->Seek(int32_t{0}, 3); }, "Invalid Origin Point specified: 3");
  s->WriteBuffer("xy", 2);
  Free(s.release());
  EXPECT_EQ(target->GetDataString().substr(90, 6), "..xy..");

  // A target that refuses: the write stops short, the seek cannot flush,
  // and what reached the target before stays there.
  auto full = Make<TFullStream>(8192 + 5);
  auto f = Make<TPelTextStream>(full.get());
  String block(8192, 'b');
  f->Put(block);
  EXPECT_THROW(f->Put(block), EWriteError);
  EXPECT_EQ(full->GetDataString(), block + "bbbbb");
  f->Put("zz");
  ExpectRaises<EStreamError>([&] { f->Seek(int32_t{0}, soFromBeginning); },
                             "Error seeking in buffer");
}

TEST(PelBufferStream, BufferSizeChanges) {
  String data;
  for (int i = 0; i < 30000; ++i) data += static_cast<char>('a' + i % 26);
  auto target = Make<TStringStream>(data);
  auto s = Make<TPelBufferStream>(target.get());
  ExpectRaises<EStreamError>([&] { s->SetBufferSize(0); }, "Invalid buffer size specified: 0");
  char buf[4];
  s->ReadBuffer(buf, 3);
  s->SetBufferSize(20000);  // read-ahead is given back, not written
  EXPECT_EQ(target->GetDataString(), data);
  s->ReadBuffer(buf, 1);
  EXPECT_EQ(buf[0], 'd');
  EXPECT_EQ(target->GetPosition(), 20003);
  s->SetBufferSize(16);
  s->Seek(int32_t{0}, soFromBeginning);
  s->WriteBuffer("ABCDEFGHIJKLMNOPQRSTU", 21);  // a 16-byte buffer flushes once
  EXPECT_EQ(target->GetDataString().substr(0, 17), "ABCDEFGHIJKLMNOPq");
  s->SetBufferSize(64);  // the rest goes first
  EXPECT_EQ(target->GetDataString().substr(0, 22), "ABCDEFGHIJKLMNOPQRSTUv");
}

TEST(PelTextStream, TokensLinesAndBlanks) {
  auto in2 = Make<TStringStream>("a,b,c d");
  auto t2 = Make<TPelTextStream>(in2.get());
  EXPECT_EQ(t2->GetToken(",", true), "a");
  EXPECT_EQ(t2->GetDelimiters(), WhiteSpaceDelimiters);
  EXPECT_EQ(t2->GetChar(), ',');
  EXPECT_EQ(t2->GetToken(",", false), "b");
  EXPECT_EQ(t2->GetDelimiters(), ", ");
  EXPECT_EQ(t2->GetToken(), "");  // the delimiter is still next
  EXPECT_EQ(t2->GetChar(), ',');
  EXPECT_EQ(t2->GetToken(), "c");
  t2->SkipSpaces();
  EXPECT_EQ(t2->GetToken(), "d");
  EXPECT_EQ(t2->GetToken(), "");  // at the end
  EXPECT_EQ(t2->GetChar(), '\0');

  auto lines = Make<TStringStream>("a\r\nb\rc\nd\n\re");
  auto t3 = Make<TPelTextStream>(lines.get());
  for (const char* expected : {"a", "b", "c", "d", "", "e", ""}) EXPECT_EQ(t3->GetLine(), expected);

  auto blanks = Make<TStringStream>("  \t x  \r\nx \r");
  auto t5 = Make<TPelTextStream>(blanks.get());
  EXPECT_FALSE(t5->SkipInLineSpaces());
  EXPECT_EQ(t5->GetChar(), 'x');
  EXPECT_TRUE(t5->SkipInLineSpaces());
  EXPECT_EQ(t5->GetChar(), 'x');
  EXPECT_TRUE(t5->SkipInLineSpaces());  // CR at the very end
  EXPECT_FALSE(t5->SkipInLineSpaces());
}

TEST(PelTextStream, Numbers) {
  auto in = Make<TStringStream>("  42;  42; -7 2.5 x");
  auto t = Make<TPelTextStream>(in.get());
  ExpectRaises<EConvertError>([&] { t->GetInteger(); }, "'42;' is not a valid integer value");
  t->SetDelimiters(PunctuationDelimiters + WhiteSpaceDelimiters);
  EXPECT_EQ(t->GetInteger(), 42);
  EXPECT_EQ(t->GetChar(), ';');
  t->SetDelimiters(WhiteSpaceDelimiters);
  EXPECT_EQ(t->GetInteger(), -7);
  EXPECT_EQ(t->GetFloat(), 2.5);
  EXPECT_THROW(t->GetFloat(), EConvertError);
  ExpectRaises<EConvertError>([&] { t->GetInteger(); }, "'' is not a valid integer value");
}

TEST(PelTextStream, Writing) {
  auto out = Make<TStringStream>();
  {
    auto t = Make<TPelTextStream>(out.get());
    Variant v(12);
    t->WriteArgs({1, 'a', String("b")})->PutEOL();
    t->WriteLn({true, false, out.get(), TStringStream::StaticClass(), v, Currency::FromRaw(15000)});
    t->WriteArgs({'<', 'x', '>', int64_t{5}, 2})->PutLine("x");
    t->Put(u'\u0102')->PutTab()->Put(-12)->PutSpace()->Put(0.5)->FormatLn("%d|%s", {3, "y"});
    EXPECT_EQ(out->GetDataString(), "");  // still in the buffer
  }
  EXPECT_EQ(out->GetDataString(),
            "1 ab\r\nTrue False (TStringStream) TStringStream 12 1.5\r\n<x> 2x\r\n"
            "\x02\x01\t-12 0.53|y\r\n");
}

TEST(PelTextStream, FileRoundTrip) {
  String name = TempName("text");
  String longLine(20000, 'L');
  {
    auto t = Make<TPelTextStream>(name, fmCreate);
    for (int i = 0; i < 3000; ++i) t->Put(i)->PutSpace();
    t->PutEOL()->PutLine(longLine)->PutLine("end");
  }
  EXPECT_EQ(ReadFile(name).substr(0, 6), "0 1 2 ");
  {
    auto t = Make<TPelTextStream>(name, fmOpenRead);
    for (int i = 0; i < 3000; ++i) {
      t->SkipSpaces();
      ASSERT_EQ(t->GetInteger(), i);
    }
    EXPECT_TRUE(t->SkipInLineSpaces());
    EXPECT_EQ(t->GetLine(), longLine);
    EXPECT_EQ(t->GetLine(), "end");
    EXPECT_TRUE(t->IsEof());
  }
  std::remove(name.c_str());
  EXPECT_THROW(Make<TPelTextStream>(TempName("missing"), fmOpenRead), EFOpenError);
}

TEST(PelTextStream, DescendantSeesEveryCharacter) {
  String text = "  alpha beta\r\ngamma  \t\n" + String(9000, 'z') + " 17\n";
  auto in = Make<TStringStream>(text);
  auto t = Make<TCountingTextStream>(in.get());
  t->SkipSpaces();
  EXPECT_EQ(t->GetToken(), "alpha");
  EXPECT_EQ(t->GetToken(",", true), "");
  EXPECT_EQ(t->GetLine(), " beta");
  t->SkipSpaces();
  EXPECT_EQ(t->GetToken(), "gamma");
  EXPECT_TRUE(t->SkipInLineSpaces());
  EXPECT_EQ(t->GetToken(), String(9000, 'z'));
  EXPECT_EQ(t->GetInteger(), 17);
  EXPECT_TRUE(t->SkipInLineSpaces());
  // Each put-back character is read once more.
  EXPECT_EQ(t->Seen.size(), text.size() + t->PutBacks.size());
  EXPECT_EQ(t->PutBacks, "a  g  1\n");
}

// ---------------------------------------------------------------------------

IPtr<IBaseStreamToken> Token(int32_t Type, const String& Text, double Number = 0,
                             int32_t Line = 0) {
  IPtr<IBaseStreamToken> t(New<TBaseStreamToken>());
  t->SetDataType(Type);
  t->SetText(Text);
  t->SetNumber(Number);
  t->SetLineNumber(Line);
  return t;
}

TEST(StreamTokens, TextFormsEqualityAndCopies) {
  struct Case {
    int32_t Type;
    String Text;
    double Number;
    String Expected;
  };
  for (const Case& c : std::initializer_list<Case>{{sttString, "abc", 0, "\\\"abc\"\\"},
                                                   {sttInteger, "", -2.9, "-2"},
                                                   {sttFloat, "", 1, "1.0000"},
                                                   {sttVariable, "v", 0, "?v"},
                                                   {',', "", 0, ","},
                                                   {',', "x", 0, "x"},
                                                   {sttAtom, "a", 0, "a"}})
    EXPECT_EQ(Token(c.Type, c.Text, c.Number)->GetToString(), c.Expected) << c.Expected;

  auto a = Token(sttAtom, "a", 0, 3), b = Token(sttAtom, "b", 0, 3);
  EXPECT_TRUE(a->Equals(IPtr<IInterface>(b)));
  EXPECT_FALSE(a->Equals(IPtr<IInterface>(Token(sttAtom, "a", 0, 4))));
  EXPECT_FALSE(a->Equals(IPtr<IInterface>(Token(sttAtom, "a", 1e-9, 3))));

  a->SetWhitespace("  ");
  a->SetTag(9);
  auto clone = IntfCast<IBaseStreamToken>(a->Clone());
  EXPECT_EQ(clone->GetWhitespace(), "");
  EXPECT_EQ(clone->GetText() + std::to_string(clone->GetTag()), "a9");

  auto pen = Make<streamtest::TPen>();
  EXPECT_THROW(a->Assign(pen.get()), EConvertError);
  EXPECT_THROW(a->Assign(IPtr<IInterface>(New<TInterfaceList>())), EIntfCastError);
  EXPECT_EQ(a->GetText(), "a");
}

TEST(StreamTokens, ListsCopyCompareAndShare) {
  IPtr<IBaseStreamTokenList> list(New<TBaseStreamTokenList>());
  EXPECT_EQ(static_cast<TBaseStreamTokenList*>(list.get())->GetToString(), "");
  auto a = Token(sttAtom, "a"), b = Token(sttAtom, "b", 0, 1);
  list->Add(a);
  list->Add(b);
  list->SetTag(7);
  EXPECT_EQ(static_cast<TBaseStreamTokenList*>(list.get())->GetToString(), "a b ");

  IPtr<IBaseStreamTokenList> copy(New<TBaseStreamTokenList>());
  copy->Add(Token(sttFloat, ""));
  copy->Assign(IPtr<IInterface>(list));
  EXPECT_EQ(copy->GetTag(), 7);
  ASSERT_EQ(copy->GetValueCount(), 2);
  EXPECT_NE(copy->Get(0).get(), a.get());
  EXPECT_TRUE(copy->Equals(list));
  EXPECT_TRUE(IntfCast<IBaseStreamTokenList>(list->Clone())->Equals(IPtr<IInterface>(list)));

  IPtr<IBaseStreamTokenList> shared(New<TBaseStreamTokenList>());
  shared->Append(list);
  EXPECT_EQ(shared->Get(1).get(), b.get());
  copy->Put(1, Token(sttAtom, "b", 0, 2));
  EXPECT_FALSE(copy->Equals(list));

  EXPECT_EQ(list->IndexOf(b), 1);
  EXPECT_EQ(list->Remove(a), 0);
  EXPECT_EQ(list->First().get(), b.get());

  auto platformList = Make<TInterfaceList>();
  platformList->Add(b);
  platformList->Add(nullptr);
  list->Add(nullptr);
  EXPECT_TRUE(list->Equals(platformList.get()));
  platformList->Put(0, nullptr);  // b against nothing
  EXPECT_FALSE(list->Equals(platformList.get()));
  EXPECT_FALSE(list->Equals(Make<TList>().get()));

  ExpectRaises<Exception>([&] { list->Assign(static_cast<TPersistent*>(nullptr)); },
                          "Error assigning list");
  static_cast<TIList*>(static_cast<TBaseStreamTokenList*>(list.get()))
      ->TIList::Add(IPtr<IInterface>(New<TInterfaceList>()));
  EXPECT_THROW(list->Last(), EIntfCastError);
}

// ---------------------------------------------------------------------------

using streamtest::TLabelItem;
using streamtest::TPoint;

TEST(PelSpecialFiler, MixedItemClassesRoundTrip) {
  RegisterClasses({TPoint::StaticClass(), TLabelItem::StaticClass()});
  auto source = Make<TCollection>(TCollectionItemClass(TPoint::StaticClass()));
  static_cast<TPoint*>(source->Add())->SetX(3);
  auto* label = static_cast<TLabelItem*>(
      TCollectionItemClass(TLabelItem::StaticClass()).Create(source.get()));
  label->SetText("hi");
  auto mem = Make<TStringStream>();
  {
    auto writer = Make<TWriter>(mem.get());
    TPelSpecialFiler(writer.get()).WriteCollection(source.get());
    TPelSpecialFiler(writer.get()).WriteCollection(nullptr);
    ExpectRaises<EStreamError>([&] { TPelSpecialFiler(writer.get()).ReadCollection(source.get()); },
                               "No TReader defined for filer");
  }
  auto target = Make<TCollection>(TCollectionItemClass(TPoint::StaticClass()));
  target->Add();
  mem->SetPosition(0);
  {
    auto reader = Make<TReader>(mem.get());
    TPelSpecialFiler filer(reader.get());
    filer.ReadCollection(target.get());
    ASSERT_EQ(target->GetCount(), 2);
    EXPECT_EQ(static_cast<TPoint*>(target->GetItem(0))->GetX(), 3);
    ASSERT_EQ(target->GetItem(1)->ClassType(), TLabelItem::StaticClass());
    EXPECT_EQ(static_cast<TLabelItem*>(target->GetItem(1))->GetText(), "hi");
    auto empty = Make<TCollection>(TCollectionItemClass(TPoint::StaticClass()));
    empty->Add();
    filer.ReadCollection(empty.get());  // the nil collection written second
    EXPECT_EQ(empty->GetCount(), 0);
  }
  ExpectRaises<EStreamError>([&] { TPelSpecialFiler().WriteCollection(source.get()); },
                             "No TWriter defined for filer");

  // An unregistered class name (the second item's, renamed in the bytes):
  // the error names it and the collection keeps what it had.
  String bytes = mem->GetDataString();
  bytes.replace(bytes.find("TLabelItem"), 10, "TNoSuchItm");
  auto bad = Make<TStringStream>(bytes);
  auto reader = Make<TReader>(bad.get());
  EXPECT_THROW(TPelSpecialFiler(reader.get()).ReadCollection(target.get()), EClassNotFound);
  EXPECT_EQ(target->GetCount(), 2);
  EXPECT_EQ(target->UpdateCount(), 0);
}

}  // namespace
}  // namespace pel
