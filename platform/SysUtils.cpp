// Provisional: Format handles %d and %s until the full formatter lands.
#include "platform/SysUtils.h"

namespace pel {

Exception::Exception(const String& Fmt, TVarRecs Args) : FMessage(Format(Fmt, Args)) {}

void Abort() { throw EAbort(SysConst::SOperationAborted); }

String Format(const String& Fmt, TVarRecs Args) {
  String out;
  auto it = Args.begin();
  for (std::size_t i = 0; i < Fmt.size(); ++i) {
    char c = Fmt[i];
    if (c != '%' || i + 1 >= Fmt.size()) {
      out += c;
      continue;
    }
    char t = Fmt[++i];
    if (t == '%') {
      out += '%';
      continue;
    }
    if (it == Args.end()) throw EConvertError(SysConst::SArgumentMissing);
    const TVarRec& v = *it++;
    if (t == 'd') {
      out += v.VType == TVarRec::vtInt64 ? std::to_string(v.VInt64) : std::to_string(v.VInteger);
    } else if (t == 's') {
      out += v.VType == TVarRec::vtAnsiString ? *v.VAnsiString : String(v.VPChar);
    } else {
      throw EConvertError(SysConst::SInvalidFormat);
    }
  }
  return out;
}

}  // namespace pel
