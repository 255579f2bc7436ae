// pel calc: PostFix through the calculator's tokenizer. Input: text, one
// expression per line (at most 16 lines). Each line goes through the command
// twice, once for its value and once with --postfix, and through a small
// recursive-descent reading of the same grammar (numbers, + - * / ^ with ^
// binding tightest and to the right, parentheses). Where the grammar accepts
// the line, --postfix prints the same tokens in the same order, and the value
// is the one the grammar's tree computes (or the line fails on a division by
// zero or a result out of range, as the tree's does); where the grammar
// refuses the line, both runs fail. A failure is exactly one "pel calc: ..."
// line and status 2; nothing escapes the command.
#include <cmath>
#include <cstdint>
#include <cstdlib>
#include <optional>
#include <sstream>
#include <string>
#include <vector>

#include "FuzzCheck.h"
#include "pel/CalcCommand.h"
#include "platform/SysUtils.h"

namespace {

struct Run {
  int Status;
  std::string Out, Err;
};

Run Calc(const std::string& Line, bool Postfix) {
  std::istringstream in(Line);
  std::ostringstream out, err;
  std::vector<std::string> args;
  if (Postfix) args.push_back("--postfix");
  const int status = pel::cli::RunCalc(args, in, out, err);
  return {status, out.str(), err.str()};
}

// What a line is expected to give: a line on standard output, or one
// "pel calc: ... in '<line>'" line on standard error.
struct Expected {
  std::string Out;
  std::vector<std::string> Failed;
  void Fail(const std::string& Line) { Failed.push_back(" in '" + Line + "'\n"); }
};

void Check(const Run& R, const Expected& E) {
  FUZZ_CHECK(R.Status == (E.Failed.empty() ? 0 : 2));
  FUZZ_CHECK(R.Out == E.Out);
  std::size_t at = 0;
  for (const std::string& tail : E.Failed) {
    const std::size_t end = R.Err.find('\n', at);
    FUZZ_CHECK(end != std::string::npos);
    const std::string message = R.Err.substr(at, end + 1 - at);
    FUZZ_CHECK(message.rfind("pel calc: ", 0) == 0 && message.size() > tail.size() + 10);
    FUZZ_CHECK(message.compare(message.size() - tail.size(), tail.size(), tail) == 0);
    at = end + 1;
  }
  FUZZ_CHECK(at == R.Err.size());
}

// The grammar, read by recursive descent into postfix order.
//   expr   = term {("+" | "-") term}
//   term   = power {("*" | "/") power}
//   power  = primary ["^" power]
//   primary = number | "(" expr ")"
struct Grammar {
  const std::string& S;
  std::size_t I = 0;
  std::vector<std::string> Postfix;

  void Blanks() {
    while (I < S.size() && (S[I] == ' ' || S[I] == '\t')) ++I;
  }
  bool Peek(char C) {
    Blanks();
    return I < S.size() && S[I] == C;
  }
  bool Digit(std::size_t J) const { return J < S.size() && S[J] >= '0' && S[J] <= '9'; }
  // A left-associative level: operands read by Next, joined by either of
  // the two operators in Ops.
  bool Level(bool (Grammar::*Next)(), const char (&Ops)[3]) {
    if (!(this->*Next)()) return false;
    while (Peek(Ops[0]) || Peek(Ops[1])) {
      const std::string op(1, S[I++]);
      if (!(this->*Next)()) return false;
      Postfix.push_back(op);
    }
    return true;
  }
  bool Expr() { return Level(&Grammar::Term, "+-"); }
  bool Term() { return Level(&Grammar::Power, "*/"); }
  bool Power() {
    if (!Primary()) return false;
    if (!Peek('^')) return true;
    ++I;
    if (!Power()) return false;
    Postfix.push_back("^");
    return true;
  }
  bool Primary() {
    if (Peek('(')) {
      ++I;
      if (!Expr() || !Peek(')')) return false;
      ++I;
      return true;
    }
    const std::size_t start = I;
    if (!Digit(I) && !(I < S.size() && S[I] == '.' && Digit(I + 1))) return false;
    while (Digit(I)) ++I;
    if (I < S.size() && S[I] == '.') ++I;
    while (Digit(I)) ++I;
    Postfix.push_back(S.substr(start, I - start));
    return true;
  }
  // The postfix tokens of the whole line, or nothing when it is refused.
  std::optional<std::vector<std::string>> Read() {
    if (!Expr()) return std::nullopt;
    Blanks();
    if (I != S.size()) return std::nullopt;
    return Postfix;
  }
};

bool IsNumber(const std::string& T) { return T[0] == '.' || (T[0] >= '0' && T[0] <= '9'); }

// The value of a postfix list, or nothing on a division by zero or a
// number or result out of range.
std::optional<double> Evaluate(const std::vector<std::string>& Postfix) {
  std::vector<double> stack;
  for (const std::string& t : Postfix) {
    if (IsNumber(t)) {
      const double v = std::strtod(t.c_str(), nullptr);
      if (std::isinf(v)) return std::nullopt;
      stack.push_back(v);
      continue;
    }
    FUZZ_CHECK(stack.size() >= 2);
    const double b = stack.back();
    stack.pop_back();
    double& a = stack.back();
    switch (t[0]) {
      case '+':
        a += b;
        break;
      case '-':
        a -= b;
        break;
      case '*':
        a *= b;
        break;
      case '/':
        if (b == 0) return std::nullopt;
        a /= b;
        break;
      default:
        a = std::pow(a, b);
        break;
    }
  }
  FUZZ_CHECK(stack.size() == 1);
  if (!std::isfinite(stack.back())) return std::nullopt;
  return stack.back();
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* Data, std::size_t Size) {
  std::istringstream text(std::string(reinterpret_cast<const char*>(Data), Size));
  std::string input, raw;
  Expected value, postfix;
  for (int n = 0; n < 16 && std::getline(text, raw); ++n) {
    input += raw + '\n';
    // The command drops one carriage return that ends the line.
    const std::string line =
        !raw.empty() && raw.back() == '\r' ? raw.substr(0, raw.size() - 1) : raw;
    if (line.find_first_not_of(" \t") == std::string::npos) continue;
    Grammar grammar{line, 0, {}};
    const auto tokens = grammar.Read();
    if (!tokens) {
      value.Fail(line);
      postfix.Fail(line);
      continue;
    }
    std::string joined;
    int operands = 0;
    for (const std::string& t : *tokens) {
      joined += (joined.empty() ? "" : " ") + t;
      operands += IsNumber(t);
    }
    FUZZ_CHECK(static_cast<std::size_t>(operands) == tokens->size() - operands + 1);
    postfix.Out += joined + "\n";
    if (const auto v = Evaluate(*tokens))
      value.Out += pel::FloatToStr(*v) + "\n";
    else
      value.Fail(line);
  }
  Check(Calc(input, false), value);
  Check(Calc(input, true), postfix);
  return 0;
}
