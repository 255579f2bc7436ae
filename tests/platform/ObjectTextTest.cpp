#include <gtest/gtest.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <functional>
#include <iterator>

#include "platform/Classes.h"
#include "platform/ExpectRaises.h"
#include "platform/StreamTestClasses.h"
#include "platform/StreamText.h"

using namespace pel;
using pel::test::BytesOf;
using pel::test::ExpectRaises;
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

// Object A of class TX holding Props.
String Obj(const String& Props) { return "object A: TX\n" + Props + "end\n"; }

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
  EXPECT_EQ(d->GetName() + " " + IntToStr(d->FCount) + " " + IntToStr(d->FBig),
            "Main 70000 -1099511627776");
  EXPECT_TRUE(d->FFlag && d->FMark == 'Z' && d->FShade == shDark && d->FShades == 0b110u);
  EXPECT_TRUE(d->FRatio == 0.25 && d->FScale == 1.5f && d->FPrice.Value == -15000);
  EXPECT_EQ(d->FTitle, "it's\na \xC8 title");
  EXPECT_EQ(static_cast<TPoint*>(d->FPoints->GetItem(0))->FY, -2);
  EXPECT_EQ(static_cast<TLabelItem*>(d->FLabels->GetItem(0))->FText, String(300, 'w'));
  EXPECT_EQ(d->FTags, (std::vector<String>{"red", "green"}));
  EXPECT_EQ(d->FBlob, String("\0\1\2\3", 4));
  EXPECT_EQ(As<TDrawing>(d->GetComponent(0))->FOnClick, "MainClick");
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
  for (int64_t raw : {int64_t{2814749767106644287}, INT64_MIN}) {
    const String cb = Written([raw](TWriter* w) {
      w->WritePropName("C");
      w->WriteCurrency(Currency::FromRaw(raw));
    });
    EXPECT_EQ(ToBinary(TextOf(cb)), cb) << raw;
  }
  // Text and how it prints back: suffixed floats in full; infinities signed
  // (a float beyond a double's range is one); pieces joined by '+', CR LF
  // lines, hex integers and comments; Null (outside a list), the extreme
  // integers, and names just short enough (a class name's length byte must
  // not read as the flags byte).
  const String fits = "object " + String(255, 'w') + ": " + String(239, 'T') + "\nend\n";
  const std::pair<String, String> reprinted[] = {
      {Obj("  C = 0.00005c\n  D = -1.23456E2c\n"),
       Obj("  C =  1.00000000000000000000E-0004c\n  D = -1.23456000000000000000E+0002c\n")},
      {Obj("  P = +Inf\n  M = -Infs\n  B = 1.5E+800\n"),
       Obj("  P = +Inf\n  M = -Infs\n  B = +Inf\n")},
      {"object A: TX\r\n  V = 'ab' +\r\n    #65'c' // note\r\n  H = $10\r\nend\r\n",
       Obj("  V = 'abAc'\n  H = 16\n")},
      {Obj("  V = Null\n"), Obj("  V = Null\n")},
      {Obj("  V = -9223372036854775808\n  H = $FFFFFFFFFFFFFFFF\n"),
       Obj("  V = -9223372036854775808\n  H = -1\n")},
      {fits, fits}};
  for (const auto& [text, printed] : reprinted) EXPECT_EQ(TextOf(ToBinary(text)), printed) << text;
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
  // Null would close the list it stands in; decimals must fit 64 bits;
  // names are short strings in the binary form: a longer one is refused
  // wherever it stands, not cut.
  const String longName(256, 'w');
  const std::pair<String, const char*> errors[] = {
      {"thing A: TX\nend\n", "object expected on line 1"},
      {Obj("  V = 'open\n"), "Invalid string constant on line 2"},
      {Obj("\n  V 3\n"), "'=' expected on line 3"},
      {Obj("  V = {0}\n"), "Invalid binary value on line 2"},
      {"object A: TX\n  V = 1\n", "end expected on line 3"},
      {Obj("  V = <\n  thing end>\n"), "item expected on line 3"},
      {Obj("  V = (1\n  null 2)\n"), "Invalid property value on line 3"},
      {Obj("  V = 9223372036854775808\n"), "Number expected on line 2"},
      {"object A: " + String(240, 'T') + "\nend\n", "Line too long on line 1"},
      {"object " + longName + ": TX\nend\n", "Line too long on line 1"},
      {Obj("  " + longName + " = 1\n"), "Line too long on line 2"},
      {Obj("  V = " + longName + "\n"), "Line too long on line 2"}};
  for (const auto& [text, message] : errors) EXPECT_EQ(parseError(text), message) << text;
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
  const auto dir =
      std::filesystem::temp_directory_path() / ("pel_fpc_" + std::to_string(::getpid()));
  std::filesystem::create_directories(dir);
  for (const char* f : {"StreamClasses.pas", "ReadBack.pas"})
    std::filesystem::copy_file(String(PEL_TEST_DATA_DIR) + "/streams/" + f, dir / f,
                               std::filesystem::copy_options::overwrite_existing);
  auto d = ReadDrawing(Fixture("drawing.bin"));
  d->FCount = -5;
  d->FTitle = String(280, 'q');
  d->FTags = {"a b", "c"};
  Make<TFileStream>((dir / "ours.bin").string(), fmCreate)->WriteComponent(d.get());
  const String cmd = "cd '" + dir.string() +
                     "' && fpc -Sd ReadBack.pas > build.log 2>&1 && ./ReadBack ours.bin > out.txt";
  ASSERT_EQ(std::system(cmd.c_str()), 0) << "fpc or its reader failed; see " << dir;
  EXPECT_EQ(String(std::istreambuf_iterator<char>(std::ifstream(dir / "out.txt").rdbuf()), {}),
            "Name=Main\nCount=-5\nBig=-1099511627776\nFlag=TRUE\nMark=Z\nShade=1\nRatio=0.2500\n"
            "Price=-1.5000\nTitle=" +
                String(280, 'q') + "\nPen=3\nPoints=2 -2\nLabel=" + String(300, 'w') +
                "\nExtra=42\nTags=\"a b\",c\nBlob=4\nChild=Child 7 TRUE TRUE\n");
  std::filesystem::remove_all(dir);
}
