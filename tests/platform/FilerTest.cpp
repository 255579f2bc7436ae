#include <gtest/gtest.h>

#include <cmath>
#include <cstring>

#include "platform/Classes.h"
#include "platform/ExpectRaises.h"
#include "platform/StreamTestClasses.h"

using namespace streamtest;

using namespace pel;
using pel::test::ExpectRaises;

namespace {

String Bytes(TMemoryStream* m) {
  return String(static_cast<const char*>(m->GetMemory()), static_cast<std::size_t>(m->GetSize()));
}

struct Registered {
  Registered() { streamtest::RegisterStreamTestClasses(); }
};
const Registered gRegistered;

}  // namespace

TEST(Filer, ValuesAreWrittenByteExact) {
  auto m = Make<TMemoryStream>();
  {
    auto w = Make<TWriter>(m.get());
    w->WriteInteger(int32_t{-128});
    w->WriteInteger(int32_t{128});
    w->WriteInteger(int32_t{-32769});
    w->WriteInteger(int64_t{1} << 32);
    w->WriteInteger(int64_t{5});
    w->WriteBoolean(true);
    w->WriteIdent("nil");
    w->WriteIdent("alNone");
    w->WriteString("ab");
    w->WriteFloat(1.5);
    w->WriteSet(0b101, &TShadeInfo);
    w->WriteBinary("xy", 2);
    w->WriteListBegin();
    w->WriteListEnd();
    w->WriteChar('q');
    w->WriteSingle(2.0f);
    w->WriteCurrency(Currency::FromRaw(12345));
  }
  const unsigned char expected[] = {
      2,  0x80,                                                     // vaInt8 -128
      3,  0x80, 0x00,                                               // vaInt16 128
      4,  0xFF, 0x7F, 0xFF, 0xFF,                                   // vaInt32 -32769
      19, 0,    0,    0,    0,    1,   0,   0,   0,                 // vaInt64 2^32
      2,  5,                                                        // an int64 that fits is small
      9,  13,                                                       // vaTrue, vaNil
      7,  6,    'a',  'l',  'N',  'o', 'n', 'e',                    // vaIdent
      6,  2,    'a',  'b',                                          // vaString
      5,  0,    0,    0,    0,    0,   0,   0,   0xC0, 0xFF, 0x3F,  // vaExtended 1.5
      11, 7,    's',  'h',  'L',  'i', 'g', 'h', 't',               // vaSet [shLight,
      6,  's',  'h',  'N',  'o',  'n', 'e', 0,                      //        shNone]
      10, 2,    0,    0,    0,    'x', 'y',                         // vaBinary
      1,  0,                                                        // vaList, vaNull
      6,  1,    'q',                                                // a char is a 1-string
      15, 0,    0,    0,    0x40,                                   // vaSingle 2.0
      16, 0x39, 0x30, 0,    0,    0,   0,   0,   0};                // vaCurrency 1.2345
  ASSERT_EQ(Bytes(m.get()), String(reinterpret_cast<const char*>(expected), sizeof expected));

  // The component round trip below reads strings, sets, chars and lists back;
  // here the rest.
  m->SetPosition(0);
  auto r = Make<TReader>(m.get());
  EXPECT_EQ(r->ReadInteger(), -128);
  EXPECT_EQ(r->ReadInteger(), 128);
  EXPECT_EQ(r->ReadInteger(), -32769);
  EXPECT_EQ(r->ReadInt64(), int64_t{1} << 32);
  EXPECT_EQ(r->ReadInt64(), 5);  // a small value widens
  EXPECT_TRUE(r->ReadBoolean());
  EXPECT_EQ(r->ReadIdent(), "nil");
  EXPECT_EQ(r->ReadIdent(), "alNone");
  EXPECT_EQ(r->NextValue(), vaString);
  for (int i = 0; i < 6; ++i) r->SkipValue();  // string, float, set, binary, list, char
  EXPECT_EQ(r->ReadSingle(), 2.0f);
  EXPECT_EQ(r->ReadCurrency().Value, 12345);
}

TEST(Filer, LongStringsFloatsAndTypeMismatches) {
  auto m = Make<TMemoryStream>();
  String longStr(300, 'z');
  const double values[] = {0.0, -0.0, 1e-310, 3.141592653589793, -2.5e300, 1.0 / 3};
  {
    auto w = Make<TWriter>(m.get());
    w->WriteString(String(255, 'y'));
    w->WriteString(longStr);
    for (double d : values) w->WriteFloat(d);
    w->WriteString("x");
  }
  const char* mem = static_cast<const char*>(m->GetMemory());
  EXPECT_EQ(mem[0], vaString);
  EXPECT_EQ(mem[257], vaLString);
  m->SetPosition(0);
  auto r = Make<TReader>(m.get());
  EXPECT_EQ(r->ReadString(), String(255, 'y'));
  EXPECT_EQ(r->ReadString(), longStr);
  for (double d : values) {
    double back = r->ReadFloat();
    EXPECT_EQ(back, d);
    EXPECT_EQ(std::signbit(back), std::signbit(d));
  }
  int64_t pos = m->GetPosition();
  EXPECT_THROW(r->ReadInteger(), EReadError);
  EXPECT_EQ(m->GetPosition(), pos);  // a mismatch leaves the value in place
  EXPECT_THROW(r->ReadBoolean(), EReadError);
  EXPECT_EQ(r->ReadString(), "x");
}

namespace {

TDrawing* MakeDrawing() {
  auto* d = New<TDrawing>(nullptr);
  d->SetName("Main");
  d->FCount = 70000;
  d->FBig = -(int64_t{1} << 40);
  d->FFlag = true;
  d->FMark = 'Z';
  d->FShade = shDark;
  d->FShades = 0b110;
  d->FRatio = 0.25;
  d->FScale = 1.5f;
  d->FPrice = Currency::FromRaw(-15000);
  d->FTitle = String(260, 't');
  d->FOnClick = "MainClick";
  d->FPen->FWidth = 3;
  auto* p = static_cast<TPoint*>(d->FPoints->Add());
  p->FX = 1;
  p->FY = -2;
  d->FPoints->Add();
  auto* l = static_cast<TLabelItem*>(d->FLabels->Add());
  l->FText = "hello";
  l->FSize = 12.5;
  d->FExtra = 42;
  d->FBlob = String("\0\1\2\3", 4);
  d->FTags = {"red", String(300, 'g')};
  auto* child = New<TDrawing>(d);
  child->SetName("Child");
  child->FCount = 7;
  child->FBuddy = d;
  d->FBuddy = child;
  return d;
}

}  // namespace

TEST(Filer, ComponentsRoundTripWithCollectionsChildrenAndDefinedProperties) {
  auto src = Owned<TDrawing>(MakeDrawing());
  auto m = Make<TMemoryStream>();
  m->WriteComponent(src.get());
  String bytes = Bytes(m.get());
  EXPECT_EQ(bytes.substr(0, 4), "TPF0");
  EXPECT_EQ(bytes.substr(4, 10), String("\x08TDrawing\x04", 10));

  m->SetPosition(0);
  auto back = Owned<TDrawing>(static_cast<TDrawing*>(m->ReadComponent(nullptr)));
  // Written again, the copy gives the same bytes: every value was read.
  auto again = Make<TMemoryStream>();
  again->WriteComponent(back.get());
  EXPECT_EQ(Bytes(again.get()), bytes);
  ASSERT_EQ(back->GetComponentCount(), 1);
  auto* child = static_cast<TDrawing*>(back->GetComponent(0));
  EXPECT_EQ(child->FBuddy, back.get());
  EXPECT_EQ(back->FBuddy, child);
  EXPECT_EQ(back->FLoadedCount, 1);
  EXPECT_EQ(child->FLoadedCount, 1);
  EXPECT_FALSE(back->ComponentState() & (csLoading | csReading));

  // Reading into an existing instance fills it in.
  auto target = Make<TDrawing>(nullptr);
  m->SetPosition(0);
  EXPECT_EQ(m->ReadComponent(target.get()), target.get());
  EXPECT_EQ(target->FCount, 70000);
  EXPECT_EQ(target->GetComponentCount(), 1);
}

TEST(Filer, FilerFlagsPrefixAComponent) {
  // An inherited child is found in the owner, not created; the child
  // position is read and passed over.
  auto root = Make<TDrawing>(nullptr);
  auto* kept = New<TDrawing>(root.get());
  kept->SetName("Kept");
  auto m = Make<TMemoryStream>();
  {
    auto w = Make<TWriter>(m.get());
    w->WriteSignature();
    w->WriteStr("TDrawing");
    w->WriteStr("Root");
    w->WriteListEnd();
    w->WritePrefix(ffInherited | ffChildPos, 3);
    w->WriteStr("TDrawing");
    w->WriteStr("Kept");
    w->WritePropName("Count");
    w->WriteInteger(int32_t{9});
    w->WriteListEnd();
    w->WriteListEnd();
    w->WriteListEnd();
  }
  EXPECT_EQ(static_cast<const unsigned char*>(m->GetMemory())[19], 0xF3);
  m->SetPosition(0);
  m->ReadComponent(root.get());
  EXPECT_EQ(root->GetComponentCount(), 1);
  EXPECT_EQ(kept->FCount, 9);

  // An inherited component the owner does not have is an error.
  kept->SetName("Other");
  m->SetPosition(0);
  ExpectRaises<EReadError>([&] { m->ReadComponent(root.get()); }, "Ancestor for 'Kept' not found");
}

TEST(Filer, MalformedStreamsRaiseAndLeakNothing) {
  auto src = Owned<TDrawing>(MakeDrawing());
  auto m = Make<TMemoryStream>();
  m->WriteComponent(src.get());
  String good = Bytes(m.get());

  auto read = [](const String& bytes) {
    auto s = Make<TStringStream>(bytes);
    Free(s->ReadComponent(nullptr));
  };
  // Every truncation fails with a read error and frees what it made.
  for (std::size_t n = 0; n < good.size(); ++n)
    EXPECT_THROW(read(good.substr(0, n)), EReadError) << "truncated at " << n;
  // Truncation into an existing root leaves it usable and not loading.
  auto into = Make<TDrawing>(nullptr);
  for (std::size_t n = 0; n < good.size(); n += 7) {
    auto s = Make<TStringStream>(good.substr(0, n));
    EXPECT_THROW(s->ReadComponent(into.get()), EReadError);
    EXPECT_FALSE(into->ComponentState() & csLoading);
  }

  String bad = good;
  bad[3] = '1';
  ExpectRaises<EReadError>([&] { read(bad); }, "Invalid stream format");
  // An unknown value code where the first property's value starts.
  bad = good;
  std::size_t at = 4 + 9 + 5 + 6;  // signature, class, name, "Count" name
  ASSERT_EQ(bad.substr(at - 5, 5), "Count");
  bad[at] = static_cast<char>(0x40);
  EXPECT_THROW(read(bad), EReadError);
  // A property nobody knows.
  bad = good;
  bad.replace(at - 5, 5, "Cnt_x");
  ExpectRaises<EReadError>([&] { read(bad); }, "Property Cnt_x does not exist");
  // A reference to a component that does not exist.
  bad = good;
  std::size_t ref = bad.find(
      "\x05"
      "Child",
      bad.find("Buddy"));
  ASSERT_NE(ref, String::npos);
  bad.replace(ref + 1, 5, "Nobod");
  ExpectRaises<EReadError>([&] { read(bad); }, "Invalid property value");
  // An unregistered class name.
  bad = good;
  bad.replace(5, 8, "TUnknown");
  ExpectRaises<EClassNotFound>([&] { read(bad); }, "Class TUnknown not found");
  // A handler name that is no identifier (it would not print as one).
  bad = good;
  bad.replace(bad.find("MainClick"), 9, "Main}lick");
  ExpectRaises<EReadError>([&] { read(bad); }, "Invalid property value");
  // A long-string length far beyond the stream.
  auto s = Make<TMemoryStream>();
  {
    auto w = Make<TWriter>(s.get());
    w->WriteValue(vaLString);
    int32_t huge = 0x7FFFFFF0;
    s->WriteBuffer(&huge, 4);
  }
  s->SetPosition(0);
  auto r = Make<TReader>(s.get());
  EXPECT_THROW(r->ReadString(), EReadError);
}
