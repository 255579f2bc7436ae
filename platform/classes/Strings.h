// TStrings: the framework's abstract list of strings, each with an object.
//
// A descendant supplies the storage through Get, GetCount, Clear, Delete and
// Insert (and, to carry objects, GetObject/PutObject). Everything else here
// is built on those virtual operations, so a descendant that overrides one
// changes what is built on it: Add is Insert at the end, AddObject is Add
// then PutObject, Assign is Clear then AddStrings, IndexOf compares through
// the virtual CompareStrings.
//
// BeginUpdate/EndUpdate nest; SetUpdateState(true) runs when the outermost
// update opens and SetUpdateState(false) when it closes.
//
// Text joins the strings with sLineBreak after each; setting it splits on
// CR, LF or CR LF. CommaText and DelimitedText quote a string with QuoteChar
// when it contains a character at or below a blank, the delimiter or the
// quote character (doubling the quote inside); reading them splits on the
// delimiter and, outside quotes, on blanks.
#pragma once

#include <cstdint>

#include "platform/RTLConsts.h"
#include "platform/classes/Persistent.h"

namespace pel {

class TStringList;

class TStrings : public TPersistent {
  PEL_CLASS(TStrings, TPersistent)
 public:
  // Copies the strings and objects of another TStrings (Clear, then
  // AddStrings, inside an update); anything else goes to TPersistent.
  void Assign(TPersistent* Source) override;

  virtual String Get(int32_t Index) = 0;
  virtual int32_t GetCapacity();
  virtual int32_t GetCount() = 0;
  // The base stores no objects: nil.
  virtual TObject* GetObject(int32_t Index);
  // The base replaces the string by Delete and Insert, keeping the object.
  virtual void Put(int32_t Index, const String& S);
  // The base ignores objects.
  virtual void PutObject(int32_t Index, TObject* AObject);
  // The base ignores the capacity.
  virtual void SetCapacity(int32_t NewCapacity);
  virtual void SetUpdateState(bool Updating);
  virtual int32_t Add(const String& S);
  virtual void Clear() = 0;
  virtual void Delete(int32_t Index) = 0;
  virtual void Exchange(int32_t Index1, int32_t Index2);
  virtual int32_t IndexOf(const String& S);
  virtual void Insert(int32_t Index, const String& S) = 0;

  virtual int32_t AddObject(const String& S, TObject* AObject);
  virtual void AddStrings(TStrings* Strings);
  virtual void InsertObject(int32_t Index, const String& S, TObject* AObject);
  virtual void Move(int32_t CurIndex, int32_t NewIndex);
  // Compares two strings the way this list does: AnsiCompareText here.
  virtual int32_t CompareStrings(const String& S1, const String& S2);
  virtual String GetText();
  virtual void SetText(const String& Value);

  void Append(const String& S) { Add(S); }
  int32_t IndexOfObject(TObject* AObject);
  // Name=Value pairs.
  int32_t IndexOfName(const String& Name);
  String GetName(int32_t Index);
  String GetValue(const String& Name);
  void SetValue(const String& Name, const String& Value);
  String GetValueFromIndex(int32_t Index);
  // Same strings in the same order (case-sensitive).
  bool Equals(TStrings* Strings);

  void BeginUpdate();
  void EndUpdate();

  String GetCommaText();
  void SetCommaText(const String& Value);
  String GetDelimitedText();
  void SetDelimitedText(const String& Value);
  char GetDelimiter() const { return FDelimiter; }
  void SetDelimiter(char Value) { FDelimiter = Value; }
  char GetQuoteChar() const { return FQuoteChar; }
  void SetQuoteChar(char Value) { FQuoteChar = Value; }
  char GetNameValueSeparator() const { return FNameValueSeparator; }
  void SetNameValueSeparator(char Value) { FNameValueSeparator = Value; }

 protected:
  // Raises EStringListError with Msg formatted with Data.
  [[noreturn]] static void Error(const char* Msg, int32_t Data);
  int32_t UpdateCount() const { return FUpdateCount; }

 private:
  int32_t FUpdateCount = 0;
  char FDelimiter = ',';
  char FQuoteChar = '"';
  char FNameValueSeparator = '=';
};

}  // namespace pel
