// HelperFunctions: PostFix, a converter from infix to postfix order.
//
// PostFix knows nothing of the tokens it moves: each token is an interface,
// and the caller classifies and ranks them through five callbacks:
//   IsLeftParen, IsRightParen, IsOperand  what a token is (a token that is
//                                         none of them is an operator);
//   StackPrecedence                       the rank of the token on top of
//                                         the operator stack;
//   InputPrecedence                       the rank of the incoming token.
// A smaller rank binds more tightly: an incoming operator first moves to the
// output every stacked token whose stack rank is not above its own input
// rank, so operators of equal rank associate to the left, and a right
// associative operator gets an input rank below its stack rank. Whether a
// left parenthesis moves anything is the callbacks' choice too: give it an
// input rank below every stack rank and a stack rank above every input rank.
//
// One input may hold several expressions one after another: where two
// operands meet with no operator between them (a closed group counts as an
// operand), a new expression begins. The result holds one list per
// expression, each with its tokens in postfix order; the tokens are the
// input's own (shared, not copied). Parentheses do not appear in the output.
//
// An expression that ends with a group still open raises Exception
// "Missing close parenthesis" (at the end of the input, or where the next
// expression begins). Surplus right parentheses are not reported: they
// close nothing and conversion goes on.
#pragma once

#include <functional>

#include "platform/Classes.h"

namespace pel {

constexpr const char* SMissingCloseParen = "Missing close parenthesis";

using TPostFixBoolQueryMethod = std::function<bool(const IPtr<IInterface>& Value)>;
using TPostFixIntQueryMethod = std::function<int32_t(const IPtr<IInterface>& Value)>;

// A list of expressions, each an IInterfaceList of tokens in postfix order;
// an empty input gives one empty expression.
IPtr<IInterfaceList> PostFix(const IPtr<IInterfaceList>& Infix,
                             const TPostFixBoolQueryMethod& IsLeftParen,
                             const TPostFixBoolQueryMethod& IsRightParen,
                             const TPostFixBoolQueryMethod& IsOperand,
                             const TPostFixIntQueryMethod& StackPrecedence,
                             const TPostFixIntQueryMethod& InputPrecedence);

}  // namespace pel
