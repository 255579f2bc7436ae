#include <gtest/gtest.h>

#include <vector>

#include "platform/Classes.h"
#include "platform/ExpectRaises.h"

using namespace pel;
using pel::test::ExpectRaises;

namespace {

using Names = std::vector<std::string>;

Names Items(TStrings& l) {
  Names r;
  for (int32_t i = 0; i < l.GetCount(); ++i) r.push_back(l.Get(i));
  return r;
}

// A list whose events are written into a log.
Owned<TStringList> Logged(Names& log) {
  auto l = Make<TStringList>();
  l->SetOnChanging([&log](TObject*) { log.push_back("changing"); });
  l->SetOnChange([&log](TObject*) { log.push_back("changed"); });
  return l;
}

}  // namespace

TEST(StringList, GrowthAndSortedInsertionFollowingDuplicates) {
  auto l = Make<TStringList>();
  for (int i = 0; i < 119; ++i) l->Add("s");
  EXPECT_EQ(l->GetCapacity(), 147);  // the framework's steps, 4 to 118, then 147
  ExpectRaises<EStringListError>([&] { l->SetCapacity(3); }, "List capacity out of bounds (3)");

  l->Clear();
  l->SetSorted(true);
  for (const char* s : {"pear", "Apple", "fig"}) l->Add(s);
  EXPECT_EQ(Items(*l), (Names{"Apple", "fig", "pear"}));
  // Case-insensitive by default: "APPLE" is a duplicate.
  EXPECT_EQ(l->Add("APPLE"), 0);
  l->SetDuplicates(dupError);
  EXPECT_THROW(l->Add("FIG"), EStringListError);
  EXPECT_EQ(l->GetCount(), 3);
  l->SetDuplicates(dupAccept);
  EXPECT_EQ(l->Add("FIG"), 1);  // before the equal one: where Find meets the first
  EXPECT_EQ(Items(*l), (Names{"Apple", "FIG", "fig", "pear"}));
  ExpectRaises<EStringListError>([&] { l->Insert(0, "x"); },
                                 "Operation not allowed on sorted list");
  EXPECT_THROW(l->Put(0, "x"), EStringListError);
  // Case-sensitive re-sorts the list in its new order.
  l->Add("banana");
  l->SetCaseSensitive(true);  // byte order in the "C" locale
  EXPECT_EQ(Items(*l), (Names{"Apple", "FIG", "banana", "fig", "pear"}));
  EXPECT_EQ(l->IndexOf("apple"), -1);
}

TEST(StringList, NotifiesAroundEachChangeAndOncePerUpdate) {
  Names log;
  auto l = Logged(log);
  l->Add("a");
  l->Insert(0, "b");
  l->Put(0, "c");
  l->Exchange(0, 1);
  l->Delete(0);
  EXPECT_EQ(log.size(), 10u);
  for (std::size_t i = 0; i < log.size(); ++i) EXPECT_EQ(log[i], i % 2 ? "changed" : "changing");
  log.clear();
  EXPECT_THROW(l->Delete(3), EStringListError);
  EXPECT_THROW(l->Get(-1), EStringListError);
  EXPECT_TRUE(log.empty());  // a failed check changes and tells nothing
  l->BeginUpdate();
  l->BeginUpdate();
  l->Add("x");
  l->Clear();
  l->EndUpdate();
  EXPECT_EQ(log, (Names{"changing"}));
  l->EndUpdate();
  EXPECT_EQ(log, (Names{"changing", "changed"}));
  log.clear();
  l->Clear();  // already empty: nothing
  EXPECT_TRUE(log.empty());
}

TEST(StringList, TextAndCommaTextRoundTrip) {
  auto l = Make<TStringList>();
  l->SetText("one\r\ntwo\nthree\rfour");
  EXPECT_EQ(Items(*l), (Names{"one", "two", "three", "four"}));
  EXPECT_EQ(l->GetText(), "one\r\ntwo\r\nthree\r\nfour\r\n");

  l->Clear();
  for (const char* s : {"plain", "with space", "quote\"d", "", "a,b"}) l->Add(s);
  const String comma = l->GetCommaText();
  EXPECT_EQ(comma, "plain,\"with space\",\"quote\"\"d\",,\"a,b\"");
  auto back = Make<TStringList>();
  back->SetCommaText(comma);
  EXPECT_EQ(Items(*back), Items(*l));
  // Unquoted blanks separate too; a trailing delimiter adds an empty string.
  back->SetCommaText(" x y, z,");
  EXPECT_EQ(Items(*back), (Names{"x", "y", "z", ""}));
  back->Clear();
  back->Add("");
  EXPECT_EQ(back->GetCommaText(), "\"\"");
  back->SetDelimiter(';');
  back->SetDelimitedText("a;b c;\"d;e\"");
  EXPECT_EQ(Items(*back), (Names{"a", "b", "c", "d;e"}));

  back->Clear();
  back->SetValue("key", "value");
  back->Add("other=1");
  EXPECT_EQ(back->GetValue("KEY"), "value");
  EXPECT_EQ(back->IndexOfName("other"), 1);
  EXPECT_EQ(back->GetValueFromIndex(1), "1");
  back->SetValue("key", "");
  EXPECT_EQ(Items(*back), (Names{"other=1"}));
}

namespace {

// Storage of its own: the base class builds everything else on these.
class TVectorStrings : public TStrings {
  PEL_CLASS(TVectorStrings, TStrings)
 public:
  Names Data;
  Names Calls;
  String Get(int32_t Index) override { return Data.at(static_cast<std::size_t>(Index)); }
  int32_t GetCount() override { return static_cast<int32_t>(Data.size()); }
  void Clear() override {
    Calls.push_back("clear");
    Data.clear();
  }
  void Delete(int32_t Index) override {
    Calls.push_back("delete " + std::to_string(Index));
    Data.erase(Data.begin() + Index);
  }
  void Insert(int32_t Index, const String& S) override {
    Calls.push_back("insert " + std::to_string(Index));
    Data.insert(Data.begin() + Index, S);
  }
  void SetUpdateState(bool Updating) override { Calls.push_back(Updating ? "open" : "close"); }
};

}  // namespace

TEST(Strings, HelpersGoThroughTheVirtualStorage) {
  auto v = Make<TVectorStrings>();
  v->SetCommaText("b,A");
  EXPECT_EQ(v->IndexOf("a"), 1);  // compared ignoring case
  v->Move(1, 0);
  EXPECT_EQ(v->Data, (Names{"A", "b"}));
  v->Put(1, "c");  // the base replaces by delete and insert
  EXPECT_EQ(v->Data, (Names{"A", "c"}));
  v->Calls.clear();

  auto source = Make<TStringList>();
  source->SetCommaText("x,y");
  v->Assign(source.get());
  EXPECT_EQ(v->Data, (Names{"x", "y"}));
  EXPECT_EQ(v->Calls, (Names{"open", "clear", "insert 0", "insert 1", "close"}));
  EXPECT_TRUE(v->Equals(source.get()));
  EXPECT_EQ(v->GetText(), "x\r\ny\r\n");

  TPersistent other;
  ExpectRaises<EConvertError>([&] { v->Assign(&other); },
                              "Cannot assign a TPersistent to a TVectorStrings");
  EXPECT_EQ(v->Data.size(), 2u);
}

TEST(StringList, CustomSortCarriesTheObjects) {
  auto l = Make<TStringList>();
  TObject a, b, c;
  l->AddObject("3", &c);
  l->AddObject("1", &a);
  l->AddObject("2", &b);
  l->CustomSort([](TStringList* list, int32_t i, int32_t j) {
    return CompareStr(list->Get(j), list->Get(i));  // descending
  });
  EXPECT_EQ(Items(*l), (Names{"3", "2", "1"}));
  EXPECT_EQ(l->IndexOfObject(&a), 2);
}
