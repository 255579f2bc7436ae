#include <gtest/gtest.h>

#include <cmath>
#include <cstring>

#include "platform/Classes.h"
#include "platform/ExpectRaises.h"
#include "platform/StreamTestClasses.h"
#include "platform/StreamText.h"

using namespace streamtest;

using namespace pel;
using pel::test::ExpectRaises;
using namespace pel::test;

namespace {

[[maybe_unused]] const bool gRegistered = (streamtest::RegisterStreamTestClasses(), true);

}  // namespace

TEST(Filer, ValuesAreWrittenByteExact) {
  auto m = Make<TStringStream>();
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
  ASSERT_EQ(m->GetDataString(), String(reinterpret_cast<const char*>(expected), sizeof expected));

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

TEST(Filer, VariantsAndEveryValueCodeReadBackOrSkip) {
  // A variant is written in its type's code and read back as that type.
  const struct {
    Variant V;
    uint8_t Code;
    TVarType Back;
    String Text;
  } variants[] = {{Variant(), vaNil, varEmpty, ""},
                  {Variant::Null(), vaNull, varNull, "Null"},
                  {Variant(int8_t{-5}), vaInt8, varShortInt, "-5"},
                  {Variant(uint16_t{300}), vaInt16, varSmallint, "300"},
                  {Variant(70000), vaInt32, varInteger, "70000"},
                  {Variant(uint32_t{4000000000u}), vaInt64, varInt64, "4000000000"},
                  {Variant(int64_t{-5000000000}), vaInt64, varInt64, "-5000000000"},
                  {Variant(0.5f), vaSingle, varSingle, "0.5"},
                  {Variant(0.25), vaExtended, varDouble, "0.25"},
                  {Variant(Currency::FromRaw(-25000)), vaCurrency, varCurrency, "-2.5"},
                  {Variant::Date(2.25), vaDate, varDate, "1/1/1900 6:00:00 AM"},
                  {Variant(true), vaTrue, varBoolean, "True"},
                  {Variant("text"), vaString, varString, "text"},
                  {Variant::OleStr("wide"), vaString, varString, "wide"}};
  for (const auto& c : variants) {
    auto m = Make<TMemoryStream>();
    Make<TWriter>(m.get())->WriteVariant(c.V);
    EXPECT_EQ(static_cast<uint8_t*>(m->GetMemory())[0], c.Code) << c.Text;
    m->SetPosition(0);
    Variant back = Make<TReader>(m.get())->ReadVariant();
    EXPECT_EQ(VarType(back), c.Back) << c.Text;
    EXPECT_EQ(VarIsNull(back) ? "Null" : VarToLStr(back), c.Text);
  }
  ExpectRaises<EWriteError>(
      [] { Make<TWriter>(Make<TMemoryStream>().get())->WriteVariant(Variant::Error(1)); },
      "Stream write error");

  // Codes this writer never makes but framework streams hold: UTF-16
  // strings (to UTF-8, surrogate pairs joined) and UTF-8 ones; a single,
  // date or currency read as a float; and each is skipped whole.
  const struct {
    String Bytes, Text;
  } foreign[] = {
      {String("\x12\x03\0\0\0A\0\xE9\0\xAC\x20", 11), "A\xC3\xA9\xE2\x82\xAC"},
      {String("\x15\x02\0\0\0\x3D\xD8\x00\xDE", 9), "\xF0\x9F\x98\x80"},
      {String("\x14\x02\0\0\0\xC3\xA9", 7), "\xC3\xA9"},
      {String("\x0F\0\0\xC0\x3F", 5), "1.5"},
      {String("\x11\0\0\0\0\0\0\x02\x40", 9), "2.25"},
      {String("\x10\xA8\x61\0\0\0\0\0\0", 9), "2.5"},
      {String("\x03\x2C\x01", 3), "300"},
      {String("\x13\0\0\0\0\x01\0\0\0", 9), "4294967296"},
      {String("\x0E\x01\x05" "Count\x02\x07\0\0", 12), ""},
      {String("\x08", 1), ""},
      {String("\x0D", 1), ""}};
  for (const auto& c : foreign) {
    const int code = static_cast<uint8_t>(c.Bytes[0]);
    auto s = Make<TStringStream>(c.Bytes + "\x06\x03" "end");
    auto r = Make<TReader>(s.get());
    if (code == vaWString || code == vaUString || code == vaUTF8String) {
      EXPECT_EQ(r->ReadString(), c.Text) << code;
    } else if (!c.Text.empty()) {
      EXPECT_EQ(FloatToStr(r->ReadFloat()), c.Text) << code;
    }
    s->SetPosition(0);
    r->SkipValue();
    EXPECT_EQ(r->ReadString(), "end") << code;
  }
}

TEST(Filer, FrameworkStreamsRoundTripByteForByte) {
  // Read and written again, a framework stream gives its own bytes back:
  // every value was read, and is written as the framework writes it (up to
  // the child, whose zero Int64 and Currency the framework writes, this
  // library not).
  const String framework = Fixture("drawing.bin");
  auto m = Make<TStringStream>(framework);
  auto back = Owned<TDrawing>(static_cast<TDrawing*>(m->ReadComponent(nullptr)));
  const std::size_t childAt = framework.find("\x08TDrawing\x05" "Child");
  ASSERT_NE(childAt, String::npos);
  EXPECT_EQ(BytesOf(back.get()).substr(0, childAt), framework.substr(0, childAt));
  ASSERT_EQ(back->GetComponentCount(), 1);
  auto* child = static_cast<TDrawing*>(back->GetComponent(0));
  EXPECT_EQ(child->FBuddy, back.get());  // written as "Owner"
  EXPECT_EQ(back->FBuddy, child);
  EXPECT_EQ(back->FLoadedCount, 1);
  EXPECT_EQ(child->FLoadedCount, 1);
  EXPECT_FALSE(back->ComponentState() & (csLoading | csReading));

  // A component owned below the root is named through its owner; an
  // unnamed one is left out.
  auto form = Make<TDrawing>(nullptr);
  form->SetName("Form");
  auto* panel = New<TDrawing>(form.get());
  panel->SetName("Panel");
  form->FBuddy = New<TDrawing>(panel);
  EXPECT_EQ(TextOf(BytesOf(form.get())).find("Buddy"), String::npos);
  form->FBuddy->SetName("Button");
  EXPECT_NE(TextOf(BytesOf(form.get())).find("Buddy = Panel.Button"), String::npos);
}

TEST(Filer, MalformedStreamsRaiseAndLeakNothing) {
  const String good = Fixture("drawing.bin");

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
