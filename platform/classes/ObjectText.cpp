#include "platform/classes/ObjectText.h"

#include <cctype>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <vector>

#include "platform/RTLConsts.h"
#include "platform/classes/Filer.h"

namespace pel {

namespace {

// ---------------------------------------------------------------------------
// Binary to text

class TBinaryToText {
 public:
  TBinaryToText(TStream* In, TStream* Out) : FIn(In), FOut(Out) {}

  void Run() {
    char sig[4];
    FIn->ReadBuffer(sig, 4);
    if (std::memcmp(sig, kFilerSignature, 4) != 0) throw EReadError(SInvalidImage);
    ReadObject("", 0);
  }

 private:
  uint8_t Byte() {
    uint8_t b;
    FIn->ReadBuffer(&b, 1);
    return b;
  }
  uint8_t Peek() {
    uint8_t b = Byte();
    FIn->Seek(int64_t{-1}, soCurrent);
    return b;
  }
  template <class T>
  T LE() {
    uint8_t b[sizeof(T)];
    FIn->ReadBuffer(b, sizeof(T));
    std::make_unsigned_t<T> v = 0;
    for (std::size_t i = 0; i < sizeof(T); ++i)
      v = static_cast<decltype(v)>(v | (static_cast<decltype(v)>(b[i]) << (8 * i)));
    return static_cast<T>(v);
  }
  String Bytes(int64_t n) {
    if (n < 0 || n > FIn->GetSize() - FIn->GetPosition()) throw EReadError(SReadError);
    String s(static_cast<std::size_t>(n), '\0');
    FIn->ReadBuffer(s.data(), static_cast<int32_t>(n));
    return s;
  }
  String SStr() { return Bytes(Byte()); }

  void Out(const String& s) { FOut->WriteBuffer(s.data(), static_cast<int32_t>(s.size())); }
  void OutLn(const String& s) { Out(s + "\n"); }

  // Printable ASCII quoted, everything else as #n.
  static String Quote(const std::vector<uint32_t>& chars) {
    if (chars.empty()) return "''";
    String r;
    bool in = false;
    for (uint32_t c : chars) {
      if (c >= 32 && c < 127) {
        if (!in) r += '\'';
        in = true;
        r += static_cast<char>(c);
        if (c == '\'') r += '\'';
      } else {
        if (in) r += '\'';
        in = false;
        r += "#" + std::to_string(c);
      }
    }
    if (in) r += '\'';
    return r;
  }
  static std::vector<uint32_t> ByteChars(const String& s) {
    std::vector<uint32_t> r;
    for (char c : s) r.push_back(static_cast<uint8_t>(c));
    return r;
  }
  std::vector<uint32_t> WideChars() {
    int32_t n = LE<int32_t>();
    String raw = Bytes(int64_t{n} * 2);
    std::vector<uint32_t> r;
    for (int32_t i = 0; i < n; ++i)
      r.push_back(static_cast<uint8_t>(raw[2 * i]) | (static_cast<uint8_t>(raw[2 * i + 1]) << 8));
    return r;
  }
  static std::vector<uint32_t> Utf8Chars(const String& s) {
    std::vector<uint32_t> r;
    for (std::size_t i = 0; i < s.size();) {
      uint8_t c = static_cast<uint8_t>(s[i]);
      int len = c < 0x80 ? 1 : (c >> 5) == 6 ? 2 : (c >> 4) == 14 ? 3 : (c >> 3) == 30 ? 4 : 1;
      if (len == 1 || i + len > s.size()) {
        r.push_back(c);
        ++i;
        continue;
      }
      uint32_t cp = c & (0x7F >> len);
      for (int k = 1; k < len; ++k) cp = (cp << 6) | (static_cast<uint8_t>(s[i + k]) & 0x3F);
      r.push_back(cp);
      i += static_cast<std::size_t>(len);
    }
    return r;
  }

  void ProcessValue(uint8_t type, const String& indent, int depth) {
    if (depth > kMaxStreamDepth) throw EReadError(SStreamTooDeep, {kMaxStreamDepth});
    switch (type) {
      case vaList: {
        Out("(");
        bool first = true;
        for (;;) {
          uint8_t t = Byte();
          if (t == vaNull) break;
          if (first) OutLn("");
          first = false;
          Out(indent + "  ");
          ProcessValue(t, indent + "  ", depth + 1);
        }
        OutLn(indent + ")");
        break;
      }
      case vaInt8:
        OutLn(std::to_string(LE<int8_t>()));
        break;
      case vaInt16:
        OutLn(std::to_string(LE<int16_t>()));
        break;
      case vaInt32:
        OutLn(std::to_string(LE<int32_t>()));
        break;
      case vaInt64:
        OutLn(std::to_string(LE<int64_t>()));
        break;
      case vaQWord:
        OutLn(std::to_string(LE<uint64_t>()));
        break;
      case vaExtended: {
        uint8_t b[10];
        FIn->ReadBuffer(b, 10);
        OutLn(FormatFloat(ExtendedToDouble(b)));
        break;
      }
      case vaSingle: {
        uint32_t bits = LE<uint32_t>();
        float f;
        std::memcpy(&f, &bits, 4);
        OutLn(FormatFloat(f) + "s");
        break;
      }
      case vaCurrency:
        OutLn(FormatCurrency(LE<int64_t>()) + "c");
        break;
      case vaDate: {
        uint64_t bits = LE<uint64_t>();
        double d;
        std::memcpy(&d, &bits, 8);
        OutLn(FormatFloat(d) + "d");
        break;
      }
      case vaString:
        OutLn(Quote(ByteChars(SStr())));
        break;
      case vaLString:
        OutLn(Quote(ByteChars(Bytes(LE<int32_t>()))));
        break;
      case vaUTF8String:
        OutLn(Quote(Utf8Chars(Bytes(LE<int32_t>()))));
        break;
      case vaWString:
      case vaUString:
        OutLn(Quote(WideChars()));
        break;
      case vaIdent:
        OutLn(SStr());
        break;
      case vaFalse:
        OutLn("False");
        break;
      case vaTrue:
        OutLn("True");
        break;
      case vaNil:
        OutLn("nil");
        break;
      case vaNull:
        OutLn("Null");
        break;
      case vaBinary: {
        int32_t todo = LE<int32_t>();
        if (todo < 0 || todo > FIn->GetSize() - FIn->GetPosition()) throw EReadError(SReadError);
        OutLn("{");
        static const char kHex[] = "0123456789ABCDEF";
        while (todo > 0) {
          int32_t now = todo > 32 ? 32 : todo;
          todo -= now;
          String line = indent + "  ";
          for (int32_t i = 0; i < now; ++i) {
            uint8_t b = Byte();
            line += kHex[b >> 4];
            line += kHex[b & 15];
          }
          OutLn(line);
        }
        OutLn(indent + "}");
        break;
      }
      case vaSet: {
        Out("[");
        bool first = true;
        for (;;) {
          String s = SStr();
          if (s.empty()) break;
          if (!first) Out(", ");
          first = false;
          Out(s);
        }
        OutLn("]");
        break;
      }
      case vaCollection: {
        Out("<");
        while (Peek() != 0) {
          OutLn(indent);
          Out(indent + "  item");
          uint8_t t = Byte();
          if (t != vaList) {
            if (t != vaInt8 && t != vaInt16 && t != vaInt32) throw EReadError(SInvalidImage);
            int32_t order = t == vaInt8    ? LE<int8_t>()
                            : t == vaInt16 ? LE<int16_t>()
                                           : LE<int32_t>();
            Out("[" + std::to_string(order) + "]");
            if (Byte() != vaList) throw EReadError(SInvalidImage);
          }
          OutLn("");
          ReadPropList(indent + "    ", depth + 1);
          Out(indent + "  end");
        }
        Byte();
        OutLn(">");
        break;
      }
      default:
        throw EReadError(SInvalidImage);
    }
  }

  void ReadPropList(const String& indent, int depth) {
    while (Peek() != 0) {
      String name = SStr();
      Out(indent + name + " = ");
      ProcessValue(Byte(), indent, depth);
    }
    Byte();
  }

  void ReadObject(const String& indent, int depth) {
    if (depth > kMaxStreamDepth) throw EReadError(SStreamTooDeep, {kMaxStreamDepth});
    uint8_t flags = Byte();
    int64_t childPos = 0;
    if ((flags & 0xF0) == 0xF0) {
      flags &= 0x0F;
      if (flags & ffChildPos) {
        uint8_t t = Byte();
        if (t == vaInt8)
          childPos = LE<int8_t>();
        else if (t == vaInt16)
          childPos = LE<int16_t>();
        else if (t == vaInt32)
          childPos = LE<int32_t>();
        else
          throw EReadError(SInvalidImage);
      }
    } else {
      flags = 0;
      FIn->Seek(int64_t{-1}, soCurrent);
    }
    String className = SStr();
    String name = SStr();
    String line = indent;
    line += (flags & ffInherited) ? "inherited" : (flags & ffInline) ? "inline" : "object";
    line += " ";
    if (!name.empty()) line += name + ": ";
    line += className;
    if (flags & ffChildPos) line += "[" + std::to_string(childPos) + "]";
    OutLn(line);
    ReadPropList(indent + "  ", depth);
    while (Peek() != 0) ReadObject(indent + "  ", depth + 1);
    Byte();
    OutLn(indent + "end");
  }

 public:
  // 21 significant digits, a sign or a space, and a four-digit exponent.
  static String FormatFloat(double d) {
    if (std::isnan(d)) return "Nan";
    if (std::isinf(d)) return d > 0 ? "+Inf" : "-Inf";
    char buf[64];
    std::snprintf(buf, sizeof buf, "%.20E", d);
    String s = buf;
    std::size_t e = s.find('E');
    String mant = s.substr(0, e);
    char sign = s[e + 1];
    int exp = std::atoi(s.c_str() + e + 2);
    char ebuf[16];
    std::snprintf(ebuf, sizeof ebuf, "E%c%04d", sign, exp);
    if (mant[0] != '-') mant = " " + mant;
    return mant + ebuf;
  }

  // The same form, exact: a currency's 19 digits at most need no rounding
  // (through a double the large ones would not read back the same).
  static String FormatCurrency(int64_t Raw) {
    if (Raw == 0) return FormatFloat(0.0);
    const uint64_t m = Raw < 0 ? 0 - static_cast<uint64_t>(Raw) : static_cast<uint64_t>(Raw);
    String digits = std::to_string(m);
    const int exp = static_cast<int>(digits.size()) - 1 - 4;
    digits.resize(21, '0');
    char ebuf[16];
    std::snprintf(ebuf, sizeof ebuf, "E%c%04d", exp < 0 ? '-' : '+', exp < 0 ? -exp : exp);
    return String(Raw < 0 ? "-" : " ") + digits[0] + "." + digits.substr(1) + ebuf;
  }

 private:
  TStream* FIn;
  TStream* FOut;
};

// ---------------------------------------------------------------------------
// Text to binary

class TTextToBinary {
 public:
  TTextToBinary(const String& Text, TStream* Out) : FText(Text), FWriter(Make<TWriter>(Out)) {}

  void Run() {
    FWriter->WriteSignature();
    ReadObject(0);
  }

 private:
  [[noreturn]] void Error(const String& What) { throw EParserError(SParseError, {What, FLine}); }

  void SkipBlanks() {
    for (;;) {
      while (FPos < FText.size() && static_cast<uint8_t>(FText[FPos]) <= ' ') {
        if (FText[FPos] == '\n') ++FLine;
        ++FPos;
      }
      // Comments: // to the end of the line, { } is binary data, not a comment.
      if (FPos + 1 < FText.size() && FText[FPos] == '/' && FText[FPos + 1] == '/') {
        while (FPos < FText.size() && FText[FPos] != '\n') ++FPos;
        continue;
      }
      return;
    }
  }
  char PeekChar() {
    SkipBlanks();
    return FPos < FText.size() ? FText[FPos] : '\0';
  }
  static bool IdentStart(char c) { return std::isalpha(static_cast<uint8_t>(c)) || c == '_'; }
  static bool IdentChar(char c) { return std::isalnum(static_cast<uint8_t>(c)) || c == '_'; }

  // An identifier, with dotted parts when Dotted.
  String Ident(bool Dotted = false) {
    if (!IdentStart(PeekChar())) Error(SIdentifierExpected);
    std::size_t start = FPos;
    while (FPos < FText.size() &&
           (IdentChar(FText[FPos]) || (Dotted && FText[FPos] == '.' && FPos + 1 < FText.size() &&
                                       IdentStart(FText[FPos + 1]))))
      ++FPos;
    return FText.substr(start, FPos - start);
  }
  void Expect(char c) {
    if (PeekChar() != c) Error(Format(SCharExpected, {String(1, c)}));
    ++FPos;
  }
  bool IsWord(const char* w) {
    SkipBlanks();
    std::size_t n = std::strlen(w);
    if (FPos + n > FText.size()) return false;
    if (!SameIdentifier(FText.substr(FPos, n), w)) return false;
    return FPos + n == FText.size() || !IdentChar(FText[FPos + n]);
  }

  int64_t Integer() {
    char c = PeekChar();
    bool neg = false;
    if (c == '-' || c == '+') {
      neg = c == '-';
      ++FPos;
    }
    uint64_t v = 0;
    std::size_t start = FPos;
    if (FPos < FText.size() && FText[FPos] == '$') {
      ++FPos;
      start = FPos;
      while (FPos < FText.size() && std::isxdigit(static_cast<uint8_t>(FText[FPos]))) {
        char d = FText[FPos++];
        v = v * 16 + static_cast<uint64_t>(
                         std::isdigit(static_cast<uint8_t>(d)) ? d - '0' : (d | 32) - 'a' + 10);
      }
    } else {
      while (FPos < FText.size() && std::isdigit(static_cast<uint8_t>(FText[FPos]))) {
        if (v > (UINT64_MAX - 9) / 10) Error(SNumberExpected);
        v = v * 10 + static_cast<uint64_t>(FText[FPos++] - '0');
      }
    }
    if (FPos == start) Error(SNumberExpected);
    // Decimal numbers must fit 64 bits; hex ones wrap, so $FFFFFFFFFFFFFFFF
    // is -1.
    const bool hex = FText[start - 1] == '$';
    if (!hex && v > (neg ? uint64_t{1} << 63 : uint64_t{INT64_MAX})) Error(SNumberExpected);
    return static_cast<int64_t>(neg ? 0 - v : v);
  }

  // The currency written as Text[From, To) (sign, digits, point, exponent),
  // read exactly in units of 1/10000, rounded half away from zero as
  // Currency::FromDouble rounds.
  Currency ExactCurrency(std::size_t From, std::size_t To) {
    const String t = FText.substr(From, To - From);
    std::size_t i = 0;
    const bool neg = i < t.size() && t[i] == '-';
    if (i < t.size() && (t[i] == '-' || t[i] == '+')) ++i;
    String digits;
    int scale = 4;  // the power of ten that turns the digits into units
    bool point = false;
    for (; i < t.size() && (std::isdigit(static_cast<uint8_t>(t[i])) || t[i] == '.'); ++i) {
      if (t[i] == '.') {
        point = true;
      } else {
        digits += t[i];
        if (point) --scale;
      }
    }
    if (i < t.size() && (t[i] | 32) == 'e') {
      const long e = std::strtol(t.c_str() + i + 1, nullptr, 10);
      if (e > 40 || e < -40) Error(SNumberExpected);
      scale += static_cast<int>(e);
    }
    if (scale >= 0) {
      digits.append(static_cast<std::size_t>(scale), '0');
    } else {
      const std::size_t keep = digits.size() > static_cast<std::size_t>(-scale)
                                   ? digits.size() - static_cast<std::size_t>(-scale)
                                   : 0;
      const bool up = keep < digits.size() &&
                      digits.size() - keep == static_cast<std::size_t>(-scale) &&
                      digits[keep] >= '5';
      digits.resize(keep);
      if (up) {
        std::size_t k = digits.size();
        while (k > 0 && digits[k - 1] == '9') digits[--k] = '0';
        if (k == 0)
          digits.insert(0, 1, '1');
        else
          ++digits[k - 1];
      }
    }
    uint64_t v = 0;
    for (char c : digits) {
      if (v > (UINT64_MAX - 9) / 10) Error(SNumberExpected);
      v = v * 10 + static_cast<uint64_t>(c - '0');
    }
    if (v > (neg ? uint64_t{1} << 63 : uint64_t{INT64_MAX})) Error(SNumberExpected);
    return Currency::FromRaw(static_cast<int64_t>(neg ? 0 - v : v));
  }

  // A number: an integer, or a float with an optional s/c/d suffix.
  void Number() {
    std::size_t save = FPos;
    int saveLine = FLine;
    SkipBlanks();
    std::size_t start = FPos;
    if (FPos < FText.size() && (FText[FPos] == '-' || FText[FPos] == '+')) ++FPos;
    bool isHex = FPos < FText.size() && FText[FPos] == '$';
    std::size_t p = FPos;
    while (p < FText.size() && std::isdigit(static_cast<uint8_t>(FText[p]))) ++p;
    // The printer writes an infinity as +Inf or -Inf.
    bool isFloat =
        (!isHex && p < FText.size() && (FText[p] == '.' || FText[p] == 'E' || FText[p] == 'e')) ||
        (FPos > start && FText.compare(FPos, 3, "Inf") == 0);
    if (!isFloat) {
      FPos = save;
      FLine = saveLine;
      FWriter->WriteInteger(Integer());
      return;
    }
    char* end = nullptr;
    double d = std::strtod(FText.c_str() + start, &end);
    if (end == FText.c_str() + start) Error(SNumberExpected);
    FPos = static_cast<std::size_t>(end - FText.c_str());
    char suffix = FPos < FText.size() ? static_cast<char>(FText[FPos] | 32) : '\0';
    if (suffix == 's') {
      ++FPos;
      FWriter->WriteSingle(static_cast<float>(d));
    } else if (suffix == 'c') {
      ++FPos;
      FWriter->WriteCurrency(ExactCurrency(start, static_cast<std::size_t>(end - FText.c_str())));
    } else if (suffix == 'd') {
      ++FPos;
      FWriter->WriteDate(d);
    } else {
      FWriter->WriteFloat(d);
    }
  }

  // Quoted pieces and #n characters, joined by '+'.
  std::vector<uint32_t> StringChars() {
    std::vector<uint32_t> r;
    for (;;) {
      char c = PeekChar();
      if (c == '\'') {
        ++FPos;
        for (;;) {
          if (FPos >= FText.size() || FText[FPos] == '\n') Error(SInvalidString);
          char ch = FText[FPos++];
          if (ch == '\'') {
            if (FPos < FText.size() && FText[FPos] == '\'') {
              ++FPos;
            } else {
              break;
            }
          }
          r.push_back(static_cast<uint8_t>(ch));
        }
      } else if (c == '#') {
        ++FPos;
        int64_t v = Integer();
        if (v < 0 || v > 0x10FFFF) Error(SInvalidString);
        r.push_back(static_cast<uint32_t>(v));
      } else {
        break;
      }
      // A piece right after another continues the string, and so does a '+'.
      if (FPos < FText.size() && (FText[FPos] == '\'' || FText[FPos] == '#')) continue;
      std::size_t save = FPos;
      int saveLine = FLine;
      if (PeekChar() == '+') {
        ++FPos;
        char n = PeekChar();
        if (n == '\'' || n == '#') continue;
      }
      FPos = save;
      FLine = saveLine;
      break;
    }
    return r;
  }

  void StringValue() {
    std::vector<uint32_t> chars = StringChars();
    bool wide = false;
    for (uint32_t c : chars) wide = wide || c > 255;
    if (!wide) {
      String s;
      for (uint32_t c : chars) s += static_cast<char>(c);
      FWriter->WriteString(s);
      return;
    }
    std::vector<uint16_t> units;
    for (uint32_t c : chars) {
      if (c >= 0x10000) {
        c -= 0x10000;
        units.push_back(static_cast<uint16_t>(0xD800 + (c >> 10)));
        units.push_back(static_cast<uint16_t>(0xDC00 + (c & 0x3FF)));
      } else {
        units.push_back(static_cast<uint16_t>(c));
      }
    }
    FWriter->WriteValue(vaWString);
    int32_t n = static_cast<int32_t>(units.size());
    String raw;
    for (int i = 0; i < 4; ++i) raw += static_cast<char>(static_cast<uint32_t>(n) >> (8 * i));
    for (uint16_t u : units) {
      raw += static_cast<char>(u & 0xFF);
      raw += static_cast<char>(u >> 8);
    }
    FWriter->Stream()->WriteBuffer(raw.data(), static_cast<int32_t>(raw.size()));
  }

  void Value(int depth, bool InList = false) {
    if (depth > kMaxStreamDepth) Error(Format(SStreamTooDeep, {kMaxStreamDepth}));
    char c = PeekChar();
    if (c == '\'' || c == '#') {
      StringValue();
    } else if (c == '-' || c == '+' || c == '$' || std::isdigit(static_cast<uint8_t>(c))) {
      Number();
    } else if (c == '[') {
      ++FPos;
      FWriter->WriteValue(vaSet);
      if (PeekChar() != ']') {
        for (;;) {
          FWriter->WriteStr(Ident());
          if (PeekChar() != ',') break;
          ++FPos;
        }
      }
      Expect(']');
      FWriter->WriteStr(String());
    } else if (c == '(') {
      ++FPos;
      FWriter->WriteListBegin();
      while (PeekChar() != ')') {
        if (FPos >= FText.size()) Error(Format(SCharExpected, {String(")")}));
        Value(depth + 1, true);
      }
      ++FPos;
      FWriter->WriteListEnd();
    } else if (c == '<') {
      ++FPos;
      FWriter->WriteValue(vaCollection);
      while (PeekChar() != '>') {
        if (!IsWord("item")) Error(Format(SSymbolExpected, {String("item")}));
        Ident();
        if (PeekChar() == '[') {
          ++FPos;
          FWriter->WriteInteger(Integer());
          Expect(']');
        }
        FWriter->WriteListBegin();
        while (!IsWord("end")) Property(depth + 1);
        Ident();
        FWriter->WriteListEnd();
      }
      ++FPos;
      FWriter->WriteListEnd();
    } else if (c == '{') {
      ++FPos;
      String data;
      int hi = -1;
      for (;;) {
        char h = PeekChar();
        if (h == '}') break;
        if (!std::isxdigit(static_cast<uint8_t>(h))) Error(SInvalidBinary);
        ++FPos;
        int v = std::isdigit(static_cast<uint8_t>(h)) ? h - '0' : (h | 32) - 'a' + 10;
        if (hi < 0) {
          hi = v;
        } else {
          data += static_cast<char>(hi * 16 + v);
          hi = -1;
        }
      }
      if (hi >= 0) Error(SInvalidBinary);
      ++FPos;
      FWriter->WriteBinary(data.data(), static_cast<int32_t>(data.size()));
    } else if (IdentStart(c)) {
      // In a list, Null would be written as the code that closes it, so the
      // stream could not be read back: refused there.
      String ident = Ident(true);
      if (InList && SameIdentifier(ident, "Null")) Error(SInvalidProperty);
      FWriter->WriteIdent(ident);
    } else {
      Error(SInvalidProperty);
    }
  }

  void Property(int depth) {
    String name = Ident(true);
    if (name.size() > 255) Error(SLineTooLong);
    FWriter->WriteStr(name);
    Expect('=');
    Value(depth);
  }

  void ReadObject(int depth) {
    if (depth > kMaxStreamDepth) Error(Format(SStreamTooDeep, {kMaxStreamDepth}));
    TFilerFlags flags = 0;
    if (IsWord("inherited"))
      flags = ffInherited;
    else if (IsWord("inline"))
      flags = ffInline;
    else if (!IsWord("object"))
      Error(Format(SSymbolExpected, {String("object")}));
    Ident();
    String name, className = Ident();
    if (PeekChar() == ':') {
      ++FPos;
      name = className;
      className = Ident();
    }
    // A name is a short string; a class name's length byte comes first in
    // the object, where $F0 and above would read as the flags byte.
    if (name.size() > 255 || className.size() >= 0xF0) Error(SLineTooLong);
    int32_t childPos = 0;
    if (PeekChar() == '[') {
      ++FPos;
      childPos = static_cast<int32_t>(Integer());
      Expect(']');
      flags |= ffChildPos;
    }
    FWriter->WritePrefix(flags, childPos);
    FWriter->WriteStr(className);
    FWriter->WriteStr(name);
    while (!IsWord("end") && !IsWord("object") && !IsWord("inherited") && !IsWord("inline")) {
      if (FPos >= FText.size()) Error(Format(SSymbolExpected, {String("end")}));
      Property(depth);
    }
    FWriter->WriteListEnd();
    while (!IsWord("end")) {
      if (FPos >= FText.size()) Error(Format(SSymbolExpected, {String("end")}));
      ReadObject(depth + 1);
    }
    Ident();
    FWriter->WriteListEnd();
  }

  const String& FText;
  std::size_t FPos = 0;
  int32_t FLine = 1;
  Owned<TWriter> FWriter;
};

}  // namespace

void ObjectBinaryToText(TStream* Input, TStream* Output) { TBinaryToText(Input, Output).Run(); }

void ObjectTextToBinary(TStream* Input, TStream* Output) {
  int64_t n = Input->GetSize() - Input->GetPosition();
  String text(static_cast<std::size_t>(n > 0 ? n : 0), '\0');
  Input->ReadBuffer(text.data(), static_cast<int32_t>(text.size()));
  TTextToBinary(text, Output).Run();
}

}  // namespace pel
