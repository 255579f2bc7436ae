#include <gtest/gtest.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <functional>
#include <sstream>

#include "platform/Classes.h"
#include "platform/ExpectRaises.h"
#include "platform/StreamTestClasses.h"
#include "platform/StreamText.h"

using namespace pel;
using pel::test::ExpectRaises;
using pel::test::BytesOf;
using pel::test::TextOf;
using namespace streamtest;

namespace {

// One object "TX" (unnamed) whose properties Props writes.
String Written(const std::function<void(TWriter*)>& Props, TFilerFlags Flags = 0,
               int32_t ChildPos = 0) {
  auto m = Make<TStringStream>();
  auto w = Make<TWriter>(m.get());
  w->WriteSignature();
  w->WritePrefix(Flags, ChildPos);
  w->WriteStr("TX");
  w->WriteStr("");
  Props(w.get());
  w->WriteListEnd();
  w->WriteListEnd();
  return m->GetDataString();
}

String ToBinary(const String& text) {
  auto in = Make<TStringStream>(text);
  auto out = Make<TStringStream>();
  ObjectTextToBinary(in.get(), out.get());
  return out->GetDataString();
}

Owned<TDrawing> ReadDrawing(const String& bin) {
  RegisterStreamTestClasses();
  auto in = Make<TStringStream>(bin);
  return Owned<TDrawing>(As<TDrawing>(in->ReadComponent(nullptr)));
}

}  // namespace

// Every value reads back and writes as the framework wrote it (see
// FilerTest); these are the values a symmetric misreading would hide.
TEST(ObjectText, FrameworkStreamsReadHere) {
  auto d = ReadDrawing(Fixture("drawing.bin"));
  EXPECT_EQ(d->GetName() + " " + IntToStr(d->FCount) + " " + IntToStr(d->FBig), "Main 70000 -1099511627776");
  EXPECT_TRUE(d->FFlag && d->FMark == 'Z' && d->FShade == shDark && d->FShades == 0b110u);
  EXPECT_TRUE(d->FRatio == 0.25 && d->FScale == 1.5f && d->FPrice.Value == -15000);
  EXPECT_EQ(d->FTitle, "it's\na \xC8 title");
  EXPECT_EQ(static_cast<TPoint*>(d->FPoints->GetItem(0))->FY, -2);
  EXPECT_EQ(static_cast<TLabelItem*>(d->FLabels->GetItem(0))->FText, String(300, 'w'));
  EXPECT_EQ(d->FTags, (std::vector<String>{"red", "green"}));
  EXPECT_EQ(d->FBlob, String("\0\1\2\3", 4));
  EXPECT_EQ(As<TDrawing>(d->GetComponent(0))->FOnClick, "MainClick");
  EXPECT_EQ(ReadDrawing(Fixture("empty.bin"))->GetName(), "Empty");
}

// A descendant stream: children flagged inherited are found in the root,
// the others are created; the child positions are passed over.
TEST(ObjectText, InheritedChildrenAreFoundNotCreated) {
  String bin = Fixture("inherited.bin");
  RegisterStreamTestClasses();
  auto form = Make<TDrawing>(nullptr);
  auto* first = New<TDrawing>(form.get());
  first->SetName("First");
  auto* second = New<TDrawing>(form.get());
  second->SetName("Second");
  auto in = Make<TStringStream>(bin);
  EXPECT_EQ(in->ReadComponent(form.get()), form.get());
  EXPECT_EQ(form->GetName(), "Form");
  EXPECT_EQ(form->FCount, 2);
  EXPECT_EQ(second->FCount, 5);
  ASSERT_EQ(form->GetComponentCount(), 3);
  EXPECT_EQ(form->GetComponent(2)->GetName(), "Third");
  EXPECT_EQ(first->FLoadedCount, 1);

  ExpectRaises<EReadError>([&] { ReadDrawing(bin); }, "Ancestor for 'Second' not found");
}

TEST(ObjectText, TextFormMatchesTheFrameworkBothWays) {
  for (const char* name : {"drawing", "empty", "inherited"}) {
    String bin = Fixture(String(name) + ".bin");
    String txt = Fixture(String(name) + ".txt");
    EXPECT_EQ(TextOf(bin), txt) << name;
    EXPECT_EQ(ToBinary(txt), bin) << name;
  }
  // What this library writes converts to text and back unchanged.
  auto d = ReadDrawing(Fixture("drawing.bin"));
  d->FScale = 0.5f;
  const String bin = BytesOf(d.get());
  EXPECT_EQ(ToBinary(TextOf(bin)), bin);
}

TEST(ObjectText, ValuesTheFrameworkPrinterRefusesRoundTripWithSuffixes) {
  const String bin = Written(
      [](TWriter* w) {
        w->WritePropName("S");
        w->WriteSingle(0.5f);
        w->WritePropName("C");
        w->WriteCurrency(Currency::FromRaw(-25000));
        w->WritePropName("D");
        w->WriteDate(2.0);
        w->WritePropName("N");
        w->WriteIdent("nil");
        w->WritePropName("Q");
        w->WriteString(String("\x01'", 2));
        w->WritePropName("E");
        w->WriteString("");
        w->WritePropName("L");
        w->WriteListBegin();
        w->WriteListEnd();
      },
      ffInherited | ffChildPos, 2);
  String txt = TextOf(bin);
  EXPECT_EQ(txt,
            "inherited TX[2]\n"
            "  S =  5.00000000000000000000E-0001s\n"
            "  C = -2.50000000000000000000E+0000c\n"
            "  D =  2.00000000000000000000E+0000d\n"
            "  N = nil\n"
            "  Q = #1''''\n"
            "  E = ''\n"
            "  L = (  )\n"
            "end\n");
  EXPECT_EQ(ToBinary(txt), bin);
  // Currencies print and read back exactly, even beyond a double's 53 bits.
  for (int64_t raw : {int64_t{2814749767106644287}, INT64_MIN, int64_t{-25001}, int64_t{5}}) {
    const String cb = Written([raw](TWriter* w) {
      w->WritePropName("C");
      w->WriteCurrency(Currency::FromRaw(raw));
    });
    EXPECT_EQ(ToBinary(TextOf(cb)), cb) << raw;
  }
  EXPECT_EQ(TextOf(ToBinary("object A: TX\n  C = 0.00005c\n  D = -1.23456E2c\nend\n")),
            "object A: TX\n  C =  1.00000000000000000000E-0004c\n"
            "  D = -1.23456000000000000000E+0002c\nend\n");
  // Infinities print signed and read back; a float beyond a double's range
  // is one.
  String inf = ToBinary("object A: TX\n  P = +Inf\n  M = -Infs\n  B = 1.5E+800\nend\n");
  EXPECT_EQ(TextOf(inf), "object A: TX\n  P = +Inf\n  M = -Infs\n  B = +Inf\nend\n");
  // Pieces joined by '+', CR LF lines, hex integers and comments parse too.
  String alt =
      ToBinary("object A: TX\r\n  V = 'ab' +\r\n    #65'c' // note\r\n  H = $10\r\nend\r\n");
  EXPECT_EQ(TextOf(alt), "object A: TX\n  V = 'abAc'\n  H = 16\nend\n");
}

TEST(ObjectText, BadInputRaises) {
  String bin = Fixture("drawing.bin");
  for (std::size_t n = 0; n < bin.size(); ++n)
    EXPECT_THROW(TextOf(bin.substr(0, n)), EReadError) << n;
  String bad = bin;
  bad[0] = 'X';
  EXPECT_THROW(TextOf(bad), EReadError);

  auto parseError = [](const String& text) -> String {
    try {
      ToBinary(text);
    } catch (const EParserError& e) {
      return e.what();
    }
    return "no error";
  };
  EXPECT_EQ(parseError("thing A: TX\nend\n"), "object expected on line 1");
  EXPECT_EQ(parseError("object A: TX\n  V = 'open\nend\n"), "Invalid string constant on line 2");
  EXPECT_EQ(parseError("object A: TX\n\n  V 3\nend\n"), "'=' expected on line 3");
  EXPECT_EQ(parseError("object A: TX\n  V = {0}\nend\n"), "Invalid binary value on line 2");
  EXPECT_EQ(parseError("object A: TX\n  V = 1\n"), "end expected on line 3");
  EXPECT_EQ(parseError("object A: TX\n  V = <\n  thing end>\nend"), "item expected on line 3");
  // Null would close the list it stands in (a property may be Null);
  // decimals must fit 64 bits.
  EXPECT_EQ(TextOf(ToBinary("object A: TX\n  V = Null\nend\n")), "object A: TX\n  V = Null\nend\n");
  EXPECT_EQ(parseError("object A: TX\n  V = (1\n  null 2)\nend"),
            "Invalid property value on line 3");
  EXPECT_EQ(parseError("object A: TX\n  V = 9223372036854775808\nend"),
            "Number expected on line 2");
  // Names are short strings in the binary form: a longer one is refused
  // wherever it stands, not cut.
  const String longName(256, 'w');
  for (const String& text : {"object A: " + longName + "\nend", "object " + longName + ": TX\nend",
                             "object A: TX\n  " + longName + " = 1\nend",
                             "object A: TX\n  V = [a, " + longName + "]\nend",
                             "object A: TX\n  V = " + longName + "\nend"})
    EXPECT_EQ(parseError(text), text.find('\n') > text.find(longName) ? "Line too long on line 1"
                                                                       : "Line too long on line 2");
  // A class name whose length byte would read as the flags byte; just below,
  // it prints back the same.
  const String longClass(240, 'T');
  EXPECT_EQ(parseError("object A: " + longClass + "\nend\n"), "Line too long on line 1");
  const String fits = "object " + longName.substr(1) + ": " + longClass.substr(1) + "\nend\n";
  EXPECT_EQ(TextOf(ToBinary(fits)), fits);
  EXPECT_EQ(
      TextOf(ToBinary("object A: TX\n  V = -9223372036854775808\n  H = $FFFFFFFFFFFFFFFF\nend\n")),
      "object A: TX\n  V = -9223372036854775808\n  H = -1\nend\n");
}

// Damaged bytes anywhere in a framework stream end in one of the library's
// errors (or a successful read), never in a crash or a leak.
TEST(ObjectText, DamagedFixtureBytesNeverCrash) {
  String bin = Fixture("drawing.bin");
  for (std::size_t i = 4; i < bin.size(); ++i) {
    for (char v : {'\x00', '\x01', '\x06', '\x0E', '\x7F', '\xFF'}) {
      String bad = bin;
      bad[i] = v;
      try {
        ReadDrawing(bad);
      } catch (const Exception&) {
      }
      try {
        TextOf(bad);
      } catch (const Exception&) {
      }
    }
  }
}

// What this library writes, the framework reads: compile the Pascal reader
// and feed it a stream written here.
TEST(ObjectText, FrameworkReadsWhatWeWrite) {
  if (std::system("command -v fpc > /dev/null 2>&1") != 0) GTEST_SKIP() << "fpc not installed";
  auto dir = std::filesystem::temp_directory_path() / ("pel_fpc_" + std::to_string(::getpid()));
  std::filesystem::create_directories(dir);
  for (const char* f : {"StreamClasses.pas", "ReadBack.pas"})
    std::filesystem::copy_file(String(PEL_TEST_DATA_DIR) + "/streams/" + f, dir / f,
                               std::filesystem::copy_options::overwrite_existing);
  String cmd = "cd '" + dir.string() + "' && fpc -Sd ReadBack.pas > build.log 2>&1";
  ASSERT_EQ(std::system(cmd.c_str()), 0) << "fpc failed; see " << dir;

  auto d = ReadDrawing(Fixture("drawing.bin"));
  d->FCount = -5;
  d->FTitle = String(280, 'q');
  d->FTags = {"a b", "c"};
  String out = (dir / "ours.bin").string();
  {
    auto f = Make<TFileStream>(out, fmCreate);
    f->WriteComponent(d.get());
  }
  String run =
      "'" + (dir / "ReadBack").string() + "' '" + out + "' > '" + (dir / "out.txt").string() + "'";
  ASSERT_EQ(std::system(run.c_str()), 0);
  std::ifstream f(dir / "out.txt");
  std::stringstream ss;
  ss << f.rdbuf();
  EXPECT_EQ(ss.str(),
            "Name=Main\nCount=-5\nBig=-1099511627776\nFlag=TRUE\nMark=Z\nShade=1\n"
            "Ratio=0.2500\nPrice=-1.5000\nTitle=" +
                String(280, 'q') +
                "\nPen=3\nPoints=2 -2\n"
                "Label=" +
                String(300, 'w') +
                "\nExtra=42\nTags=\"a b\",c\nBlob=4\n"
                "Child=Child 7 TRUE TRUE\n");
  std::filesystem::remove_all(dir);
}
