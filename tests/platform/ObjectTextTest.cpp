#include <gtest/gtest.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <sstream>

#include "platform/Classes.h"
#include "platform/ExpectRaises.h"
#include "platform/StreamTestClasses.h"

using namespace pel;
using pel::test::ExpectRaises;
using namespace streamtest;

namespace {

String DataFile(const String& name) {
  std::ifstream f(String(PEL_TEST_DATA_DIR) + "/streams/" + name, std::ios::binary);
  EXPECT_TRUE(f.good()) << name;
  std::stringstream ss;
  ss << f.rdbuf();
  return ss.str();
}

String ToText(const String& bin) {
  auto in = Make<TStringStream>(bin);
  auto out = Make<TStringStream>();
  ObjectBinaryToText(in.get(), out.get());
  return out->GetDataString();
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

TEST(ObjectText, FrameworkStreamsReadHere) {
  auto d = ReadDrawing(DataFile("drawing.bin"));
  EXPECT_EQ(d->GetName(), "Main");
  EXPECT_EQ(d->FCount, 70000);
  EXPECT_EQ(d->FBig, -1099511627776);
  EXPECT_TRUE(d->FFlag);
  EXPECT_EQ(d->FMark, 'Z');
  EXPECT_EQ(d->FShade, shDark);
  EXPECT_EQ(d->FShades, 0b110u);
  EXPECT_EQ(d->FRatio, 0.25);
  EXPECT_EQ(d->FScale, 1.5f);
  EXPECT_EQ(d->FPrice.Value, -15000);
  EXPECT_EQ(d->FTitle, "it's\na \xC8 title");
  EXPECT_EQ(d->FPen->FWidth, 3);
  ASSERT_EQ(d->FPoints->GetCount(), 2);
  EXPECT_EQ(static_cast<TPoint*>(d->FPoints->GetItem(0))->FY, -2);
  ASSERT_EQ(d->FLabels->GetCount(), 1);
  EXPECT_EQ(static_cast<TLabelItem*>(d->FLabels->GetItem(0))->FText, String(300, 'w'));
  EXPECT_EQ(static_cast<TLabelItem*>(d->FLabels->GetItem(0))->FSize, 12.5);
  EXPECT_EQ(d->FExtra, 42);
  EXPECT_EQ(d->FTags, (std::vector<String>{"red", "green"}));
  EXPECT_EQ(d->FBlob, String("\0\1\2\3", 4));
  ASSERT_EQ(d->GetComponentCount(), 1);
  auto* child = As<TDrawing>(d->GetComponent(0));
  EXPECT_EQ(child->FShade, shNone);
  EXPECT_EQ(child->FOnClick, "MainClick");
  EXPECT_EQ(child->FBuddy, d.get());  // written as "Owner"
  EXPECT_EQ(d->FBuddy, child);

  auto e = ReadDrawing(DataFile("empty.bin"));
  EXPECT_EQ(e->GetName(), "Empty");
  EXPECT_EQ(e->GetComponentCount(), 0);
}

// A descendant stream: children flagged inherited are found in the root,
// the others are created; the child positions are passed over.
TEST(ObjectText, InheritedChildrenAreFoundNotCreated) {
  String bin = DataFile("inherited.bin");
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
    String bin = DataFile(String(name) + ".bin");
    String txt = DataFile(String(name) + ".txt");
    EXPECT_EQ(ToText(bin), txt) << name;
    EXPECT_EQ(ToBinary(txt), bin) << name;
  }
  // What this library writes converts to text and back unchanged.
  auto d = ReadDrawing(DataFile("drawing.bin"));
  d->FScale = 0.5f;
  auto m = Make<TMemoryStream>();
  m->WriteComponent(d.get());
  String bin(static_cast<char*>(m->GetMemory()), static_cast<std::size_t>(m->GetSize()));
  EXPECT_EQ(ToBinary(ToText(bin)), bin);
}

TEST(ObjectText, ValuesTheFrameworkPrinterRefusesRoundTripWithSuffixes) {
  auto m = Make<TMemoryStream>();
  {
    auto w = Make<TWriter>(m.get());
    w->WriteSignature();
    w->WritePrefix(ffInherited | ffChildPos, 2);
    w->WriteStr("TX");
    w->WriteStr("");
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
    w->WriteListEnd();
    w->WriteListEnd();
  }
  String bin(static_cast<char*>(m->GetMemory()), static_cast<std::size_t>(m->GetSize()));
  String txt = ToText(bin);
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
    auto c = Make<TMemoryStream>();
    auto w = Make<TWriter>(c.get());
    w->WriteSignature();
    w->WritePrefix(0, 0);
    w->WriteStr("TX");
    w->WriteStr("");
    w->WritePropName("C");
    w->WriteCurrency(Currency::FromRaw(raw));
    w->WriteListEnd();
    w->WriteListEnd();
    String cb(static_cast<char*>(c->GetMemory()), static_cast<std::size_t>(c->GetSize()));
    EXPECT_EQ(ToBinary(ToText(cb)), cb) << raw;
  }
  EXPECT_EQ(ToText(ToBinary("object A: TX\n  C = 0.00005c\n  D = -1.23456E2c\nend\n")),
            "object A: TX\n  C =  1.00000000000000000000E-0004c\n"
            "  D = -1.23456000000000000000E+0002c\nend\n");
  // Infinities print signed and read back; a float beyond a double's range
  // is one.
  String inf = ToBinary("object A: TX\n  P = +Inf\n  M = -Infs\n  B = 1.5E+800\nend\n");
  EXPECT_EQ(ToText(inf), "object A: TX\n  P = +Inf\n  M = -Infs\n  B = +Inf\nend\n");
  // Pieces joined by '+', CR LF lines, hex integers and comments parse too.
  String alt =
      ToBinary("object A: TX\r\n  V = 'ab' +\r\n    #65'c' // note\r\n  H = $10\r\nend\r\n");
  EXPECT_EQ(ToText(alt), "object A: TX\n  V = 'abAc'\n  H = 16\nend\n");
}

TEST(ObjectText, BadInputRaises) {
  String bin = DataFile("drawing.bin");
  for (std::size_t n = 0; n < bin.size(); ++n)
    EXPECT_THROW(ToText(bin.substr(0, n)), EReadError) << n;
  String bad = bin;
  bad[0] = 'X';
  EXPECT_THROW(ToText(bad), EReadError);

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
  EXPECT_EQ(ToText(ToBinary("object A: TX\n  V = Null\nend\n")), "object A: TX\n  V = Null\nend\n");
  EXPECT_EQ(parseError("object A: TX\n  V = (1\n  null 2)\nend"),
            "Invalid property value on line 3");
  EXPECT_EQ(parseError("object A: TX\n  V = 9223372036854775808\nend"),
            "Number expected on line 2");
  EXPECT_EQ(
      ToText(ToBinary("object A: TX\n  V = -9223372036854775808\n  H = $FFFFFFFFFFFFFFFF\nend\n")),
      "object A: TX\n  V = -9223372036854775808\n  H = -1\nend\n");
  // Names the binary form cannot hold: beyond 255 characters, or a class
  // name whose length byte would read as the flags byte. Just below, they
  // print back the same.
  const String longName(256, 'n'), longClass(240, 'T');
  for (const String& text : {"object " + longName + ": TX\nend\n", "object A: " + longClass + "\nend\n"})
    EXPECT_EQ(parseError(text), "Line too long on line 1");
  const String fits = "object " + longName.substr(1) + ": " + longClass.substr(1) + "\nend\n";
  EXPECT_EQ(ToText(ToBinary(fits)), fits);
}

// Damaged bytes anywhere in a framework stream end in one of the library's
// errors (or a successful read), never in a crash or a leak.
TEST(ObjectText, DamagedFixtureBytesNeverCrash) {
  String bin = DataFile("drawing.bin");
  for (std::size_t i = 4; i < bin.size(); ++i) {
    for (char v : {'\x00', '\x01', '\x06', '\x0E', '\x7F', '\xFF'}) {
      String bad = bin;
      bad[i] = v;
      try {
        ReadDrawing(bad);
      } catch (const Exception&) {
      }
      try {
        ToText(bad);
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

  auto d = ReadDrawing(DataFile("drawing.bin"));
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
