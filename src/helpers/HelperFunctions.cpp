#include "helpers/HelperFunctions.h"

#include "interfaces/InterfaceCollections.h"

namespace pel {

namespace {

class TPostFixConverter {
 public:
  TPostFixConverter(const TPostFixBoolQueryMethod& IsLeftParen,
                    const TPostFixBoolQueryMethod& IsRightParen,
                    const TPostFixBoolQueryMethod& IsOperand,
                    const TPostFixIntQueryMethod& StackPrecedence,
                    const TPostFixIntQueryMethod& InputPrecedence)
      : FIsLeftParen(IsLeftParen),
        FIsRightParen(IsRightParen),
        FIsOperand(IsOperand),
        FStackPrecedence(StackPrecedence),
        FInputPrecedence(InputPrecedence),
        FResult(New<TInterfaceList>()),
        FStack(Make<TIStack>()) {
    StartExpression();
  }

  IPtr<IInterfaceList> Run(const IPtr<IInterfaceList>& Infix) {
    const int32_t n = Infix ? Infix->GetCount() : 0;
    for (int32_t i = 0; i < n; ++i) Token(Infix->Get(i));
    FinishExpression();
    return FResult;
  }

 private:
  void Token(const IPtr<IInterface>& X) {
    if (FIsRightParen(X)) {
      --FDepth;
      while (!FStack->IsEmpty() && !FIsLeftParen(FStack->Peek())) FExpression->Add(FStack->Pop());
      if (!FStack->IsEmpty()) FStack->Pop();  // the left parenthesis goes
      FLastWasOperand = true;                 // a closed group is an operand
    } else if (FIsOperand(X)) {
      if (FLastWasOperand) {
        FinishExpression();
        StartExpression();
      }
      FExpression->Add(X);
      FLastWasOperand = true;
    } else {
      if (FIsLeftParen(X)) ++FDepth;
      while (!FStack->IsEmpty() && FStackPrecedence(FStack->Peek()) <= FInputPrecedence(X))
        FExpression->Add(FStack->Pop());
      FStack->Push(X);
      FLastWasOperand = false;
    }
  }

  void StartExpression() {
    FExpression = IPtr<IInterfaceList>(New<TInterfaceList>());
    FResult->Add(FExpression);
  }

  void FinishExpression() {
    if (FDepth > 0) throw Exception(SMissingCloseParen);
    while (!FStack->IsEmpty()) FExpression->Add(FStack->Pop());
  }

  const TPostFixBoolQueryMethod& FIsLeftParen;
  const TPostFixBoolQueryMethod& FIsRightParen;
  const TPostFixBoolQueryMethod& FIsOperand;
  const TPostFixIntQueryMethod& FStackPrecedence;
  const TPostFixIntQueryMethod& FInputPrecedence;
  IPtr<IInterfaceList> FResult;
  IPtr<IInterfaceList> FExpression;
  Owned<TIStack> FStack;
  int32_t FDepth = 0;
  bool FLastWasOperand = false;
};

}  // namespace

IPtr<IInterfaceList> PostFix(const IPtr<IInterfaceList>& Infix,
                             const TPostFixBoolQueryMethod& IsLeftParen,
                             const TPostFixBoolQueryMethod& IsRightParen,
                             const TPostFixBoolQueryMethod& IsOperand,
                             const TPostFixIntQueryMethod& StackPrecedence,
                             const TPostFixIntQueryMethod& InputPrecedence) {
  TPostFixConverter converter(IsLeftParen, IsRightParen, IsOperand, StackPrecedence,
                              InputPrecedence);
  return converter.Run(Infix);
}

}  // namespace pel
