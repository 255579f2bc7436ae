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
IPtr<IInterfaceList> Tokenize(const std::string& Line) {
  IPtr<IInterfaceList> tokens(New<TInterfaceList>());
  int depth = 0;
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
    tokens->Add(IPtr<IInterface>(New<TCalcToken>(kind, Line.substr(start, i - start))));
  }
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
  return IntfCast<IInterfaceList>(expressions->First());
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
      stack.push_back(StrToFloat(t.Text()));
      continue;
    }
    // Parentheses never reach the output; this is an operator.
    if (stack.size() < 2) throw CalcError{"operand missing for '" + t.Text() + "'"};
    double b = stack.back();
    stack.pop_back();
    stack.back() = Apply(t.Text()[0], stack.back(), b);
  }
  if (stack.empty()) throw CalcError{"nothing to evaluate"};
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
