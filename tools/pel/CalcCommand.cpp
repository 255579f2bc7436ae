#include "pel/CalcCommand.h"

#include <cctype>
#include <cmath>
#include <istream>
#include <ostream>
#include <sstream>

#include "helpers/HelperFunctions.h"
#include "interfaces/InterfaceCollections.h"
#include "pel/Cli.h"
#include "platform/SysUtils.h"

namespace pel::cli {

namespace {

// A line that cannot be evaluated; the message names what went wrong.
struct CalcError {
  std::string Message;
};

enum class TokenKind { Number, Operator, LeftParen, RightParen };

class TCalcToken : public TInterfacedObject {
  PEL_CLASS(TCalcToken, TInterfacedObject)
 public:
  TCalcToken(TokenKind Kind, std::string Text) : FKind(Kind), FText(std::move(Text)) {}
  TokenKind Kind() const { return FKind; }
  const std::string& Text() const { return FText; }

 private:
  TokenKind FKind;
  std::string FText;
};

const TCalcToken& TokenOf(const IPtr<IInterface>& X) { return *dynamic_cast<TCalcToken*>(X.get()); }

// Numbers are digits with an optional fraction ("2", "2.5", ".5", "2.").
// The tokens must alternate as infix arithmetic does: an operand (a number
// or a group) where one is expected, an operator or ')' after one.
// Conversion would take "1 (+ 2)" for "1 2 +" and drop "()", so the
// calculator refuses such lines here.
IPtr<IInterfaceList> Tokenize(const std::string& Line) {
  IPtr<IInterfaceList> tokens(New<TInterfaceList>());
  int depth = 0;
  bool operandNext = true;
  std::string last;
  for (std::size_t i = 0; i < Line.size();) {
    char c = Line[i];
    auto isDigit = [&](std::size_t j) {
      return j < Line.size() && std::isdigit(static_cast<unsigned char>(Line[j]));
    };
    if (c == ' ' || c == '\t') {
      ++i;
      continue;
    }
    TokenKind kind;
    std::size_t start = i;
    if (isDigit(i) || (c == '.' && isDigit(i + 1))) {
      while (isDigit(i)) ++i;
      if (i < Line.size() && Line[i] == '.') ++i;
      while (isDigit(i)) ++i;
      kind = TokenKind::Number;
    } else {
      ++i;
      if (c == '(') {
        kind = TokenKind::LeftParen;
        ++depth;
      } else if (c == ')') {
        // Conversion passes over a surplus ')'; a calculator refuses it.
        if (--depth < 0) throw CalcError{"unmatched ')'"};
        kind = TokenKind::RightParen;
      } else if (std::string("+-*/^").find(c) != std::string::npos) {
        kind = TokenKind::Operator;
      } else {
        throw CalcError{"unknown token '" + std::string(1, c) + "'"};
      }
    }
    std::string text = Line.substr(start, i - start);
    const bool opens = kind == TokenKind::Number || kind == TokenKind::LeftParen;
    if (opens != operandNext) {
      if (opens) throw CalcError{"an operator is missing between two operands"};
      if (last == "(") throw CalcError{"empty parentheses"};
      throw CalcError{"operand missing before '" + text + "'"};
    }
    operandNext = kind == TokenKind::Operator || kind == TokenKind::LeftParen;
    last = text;
    tokens->Add(IPtr<IInterface>(New<TCalcToken>(kind, std::move(text))));
  }
  if (operandNext && !last.empty() && last != "(") throw CalcError{"operand missing for '" + last + "'"};
  return tokens;
}

// Ranks for PostFix (smaller binds tighter): ^ before * and / before + and
// -; ^ ranks lower as input than on the stack, so it associates to the
// right. A left parenthesis ranks below everything as input and above
// everything on the stack, so it neither moves nor is moved by operators.
int32_t Rank(const IPtr<IInterface>& X, bool OnStack) {
  const TCalcToken& t = TokenOf(X);
  if (t.Kind() == TokenKind::LeftParen) return OnStack ? 9 : 0;
  switch (t.Text()[0]) {
    case '^':
      return OnStack ? 2 : 1;
    case '*':
    case '/':
      return 3;
    default:
      return 4;
  }
}

IPtr<IInterfaceList> ToPostfix(const std::string& Line) {
  auto kindIs = [](TokenKind K) {
    return [K](const IPtr<IInterface>& X) { return TokenOf(X).Kind() == K; };
  };
  IPtr<IInterfaceList> expressions;
  try {
    expressions = PostFix(
        Tokenize(Line), kindIs(TokenKind::LeftParen), kindIs(TokenKind::RightParen),
        kindIs(TokenKind::Number), [](const IPtr<IInterface>& X) { return Rank(X, true); },
        [](const IPtr<IInterface>& X) { return Rank(X, false); });
  } catch (const Exception& e) {
    throw CalcError{e.Message()};
  }
  if (expressions->GetCount() > 1) throw CalcError{"an operator is missing between two operands"};
  IPtr<IInterfaceList> postfix = IntfCast<IInterfaceList>(expressions->First());
  // Each operator has its two operands and one value is left: Evaluate
  // relies on it.
  int32_t depth = 0;
  for (int32_t i = 0; i < postfix->GetCount(); ++i) {
    const TCalcToken& t = TokenOf(postfix->Get(i));
    if (t.Kind() == TokenKind::Number)
      ++depth;
    else if (depth-- < 2)
      throw CalcError{"operand missing for '" + t.Text() + "'"};
  }
  if (depth == 0) throw CalcError{"nothing to evaluate"};
  if (depth > 1) throw CalcError{"an operator is missing between two operands"};
  return postfix;
}

double Apply(char Op, double A, double B) {
  switch (Op) {
    case '+':
      return A + B;
    case '-':
      return A - B;
    case '*':
      return A * B;
    case '/':
      if (B == 0) throw CalcError{"division by zero"};
      return A / B;
    default:
      return std::pow(A, B);
  }
}

double Evaluate(const IPtr<IInterfaceList>& Postfix) {
  std::vector<double> stack;
  for (int32_t i = 0; i < Postfix->GetCount(); ++i) {
    const TCalcToken& t = TokenOf(Postfix->Get(i));
    if (t.Kind() == TokenKind::Number) {
      double v;
      if (!TryStrToFloat(t.Text(), v)) throw CalcError{"the number " + t.Text() + " is out of range"};
      stack.push_back(v);
      continue;
    }
    // Parentheses never reach the output, and ToPostfix saw that each
    // operator has its operands.
    double b = stack.back();
    stack.pop_back();
    stack.back() = Apply(t.Text()[0], stack.back(), b);
  }
  if (!std::isfinite(stack.back())) throw CalcError{"the result is out of range"};
  return stack.back();
}

std::string PostfixText(const IPtr<IInterfaceList>& Postfix) {
  std::string s;
  for (int32_t i = 0; i < Postfix->GetCount(); ++i)
    s += (i ? " " : "") + TokenOf(Postfix->Get(i)).Text();
  return s;
}

}  // namespace

int RunCalc(const std::vector<std::string>& args, std::istream& in, std::ostream& out,
            std::ostream& err) {
  bool postfix = false;
  std::vector<std::string> expressions;
  CLI::App app{
      "Evaluates infix arithmetic: numbers, + - * / ^ and parentheses, one expression "
      "per line (standard input when none is given). ^ binds tightest and to the "
      "right.",
      "pel calc"};
  app.add_flag("--postfix", postfix, "print each expression in postfix order instead");
  app.add_option("EXPRESSION", expressions, "expressions to evaluate");
  if (auto status = ParseArgs(app, args, out, err)) return *status;

  bool failed = false;
  auto run = [&](std::string line) {
    if (!line.empty() && line.back() == '\r') line.pop_back();
    if (line.find_first_not_of(" \t") == std::string::npos) return;
    try {
      IPtr<IInterfaceList> p = ToPostfix(line);
      if (postfix)
        out << PostfixText(p) << '\n';
      else
        out << FloatToStr(Evaluate(p)) << '\n';
    } catch (const CalcError& e) {
      err << "pel calc: " << e.Message << " in '" << line << "'\n";
      failed = true;
    }
  };
  std::string line;
  if (expressions.empty()) {
    while (std::getline(in, line)) run(line);
  } else {
    for (const std::string& arg : expressions) {
      std::istringstream lines(arg);
      while (std::getline(lines, line)) run(line);
    }
  }
  out.flush();
  return failed || !out ? 2 : 0;
}

}  // namespace pel::cli
